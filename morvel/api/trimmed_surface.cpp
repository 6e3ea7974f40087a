// Trimmed surfaces by handle: making them and asking them.

#include <string>

#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/trimmed_surface_lookup.h"
#include "morvel/api/last_error.h"
#include "morvel/trimmed_surface/trimmed_surface_factory.h"

using namespace trova_internal;
namespace ts = trova::geometry::trimmed_surface;

namespace {

using namespace trimmed_codes;
using ts::PointClassification;
using ts::TrimmedSurfaceFactory;

constexpr int kUnknownBase = -1;
constexpr int kInvalidU = -2;
constexpr int kInvalidV = -3;
constexpr int kNothingMade = -14;
constexpr int kInvalidRadius = -2;
constexpr int kHoleFailed = -3;
constexpr ExceptionCodes kInfoExceptions{-3, -4};
constexpr ExceptionCodes kBaseExceptions{-8, -9};

namespace base_codes {
constexpr int kUnknownHandle = -2;
constexpr int kEmptyEntry = -4;
constexpr int kNotRegistered = -5;
constexpr int kNoBase = -6;
constexpr int kNoCast = -7;
constexpr int kNotTrimmed = -8;
}  // namespace base_codes

/// The out values of the classifications: not those of the enumeration.
int outValue(PointClassification classification) {
  constexpr int kOut[] = {1, 0, 2};
  constexpr int kAnythingElse = 3;
  const auto index = static_cast<std::size_t>(classification);
  return index < std::size(kOut) ? kOut[index] : kAnythingElse;
}

int storeTrimmed(std::unique_ptr<TrimmedSurface> surface) {
  const int handle = storeSurface(std::move(surface));
  logSurfaceOperation("create_trimmed", handle);
  return handle;
}

int refuseBase() { return refuseTrimmed(kUnknownBase, "Invalid base surface handle"); }

template <class Value, class Result>
void write(Result* out, Value value) {
  if (out) *out = static_cast<Result>(value);
}

int handleOf(const trova::geometry::Surface* wanted) {
  for (const auto& [handle, surface] : surfaceTable().map()) {
    if (surface.get() == wanted) return handle;
  }
  return 0;
}

bool namesTrimmedSurface(const std::string& type) {
  return type.find("TrimmedSurface") != std::string::npos;
}

std::string numberedLines(const std::vector<std::string>& errors) {
  std::string text;
  for (std::size_t k = 0; k < errors.size(); ++k) {
    if (k > 0) text += '\n';
    text += "Error " + std::to_string(k + 1) + ": " + errors[k];
  }
  return text;
}

}  // namespace

int create_rectangular_trimmed_surface(int surface, double uMin, double uMax, double vMin,
                                       double vMax, int trimU, int trimV,
                                       const MorvelTrimOptions* options) {
  return guardedTrimmed(__func__, kExceptions, [&] {
    auto base = sharedSurface(surface);
    if (!base) return refuseBase();
    if (trimU != 0 && !(uMin < uMax))
      return refuseTrimmed(kInvalidU, "Invalid U bounds: u_min must be less than u_max");
    if (trimV != 0 && !(vMin < vMax))
      return refuseTrimmed(kInvalidV, "Invalid V bounds: v_min must be less than v_max");
    auto made = TrimmedSurfaceFactory::createRectangular(
        std::move(base), {uMin, uMax, vMin, vMax}, trimU != 0, trimV != 0, optionsOf(options));
    if (!made)
      return refuseTrimmed(kNothingMade, "TrimmedSurfaceFactory::createRectangular returned null");
    // By contract: its empty loop makes it invalid, and it is stored all the same.
    return storeTrimmed(std::move(made));
  });
}

int create_trimmed_surface_with_circular_hole(int surface, double centerU, double centerV,
                                              double radius, const MorvelTrimOptions* options) {
  return guardedTrimmed(__func__, kExceptions, [&] {
    auto base = sharedSurface(surface);
    if (!base) return refuseBase();
    if (!(radius > 0.0)) return refuseTrimmed(kInvalidRadius, "Hole radius must be positive");
    auto made = TrimmedSurfaceFactory::createWithCircularHole(std::move(base), {centerU, centerV},
                                                              radius, optionsOf(options));
    if (!made || !made->isValid())
      return refuseTrimmed(kHoleFailed, "Failed to create trimmed surface with circular hole");
    return storeTrimmed(std::move(made));
  });
}

int classify_point_in_trimmed_surface(int surface, double u, double v, int* classification) {
  if (!classification) return refuseTrimmed(kBadArgument, "classification_result cannot be NULL");
  return onTrimmedSurface(__func__, surface, kInvalidHandle, kNullSurface, kExceptions,
                          [&](const TrimmedSurface& found) {
                            *classification = outValue(found.classifyPoint(u, v));
                            return kSuccess;
                          });
}

int is_point_visible_in_trimmed_surface(int surface, double u, double v, int* isVisible) {
  if (!isVisible) return refuseTrimmed(kBadArgument, "is_visible cannot be NULL");
  return onTrimmedSurface(__func__, surface, kInvalidHandle, kNullSurface, kExceptions,
                          [&](const TrimmedSurface& found) {
                            *isVisible = found.isPointVisible(u, v) ? 1 : 0;
                            return kSuccess;
                          });
}

int get_trimmed_surface_info(int surface, double* area, int* loopCount, int* outerCount,
                             int* innerCount, int* isValid) {
  return onTrimmedSurface(__func__, surface, -1, -2, kInfoExceptions,
                          [&](const TrimmedSurface& found) {
                            // First, so that nothing is written where it fails.
                            if (area) *area = finiteResult(found.computeArea());
                            write(loopCount, found.getNumTrimLoops());
                            write(outerCount, found.getNumOuterLoops());
                            write(innerCount, found.getNumInnerLoops());
                            if (isValid) *isValid = found.isValid() ? 1 : 0;
                            return kSuccess;
                          });
}

int get_trimmed_surface_parameter_domain(int surface, double* uMin, double* uMax, double* vMin,
                                         double* vMax) {
  return onTrimmedSurface(__func__, surface, -1, -2, kInfoExceptions,
                          [&](const TrimmedSurface& found) {
                            const auto domain = found.getParameterDomain();
                            write(uMin, domain.uMin);
                            write(uMax, domain.uMax);
                            write(vMin, domain.vMin);
                            write(vMax, domain.vMax);
                            return kSuccess;
                          });
}

int get_trimmed_surface_base_surface(int surface, int* baseSurface) {
  using namespace base_codes;
  if (!baseSurface) return refuseTrimmed(kBadArgument, "base_surface_handle_out cannot be NULL");
  return guardedTrimmed(__func__, kBaseExceptions, [&] {
    const auto* entry = surfaceTable().find(surface);
    if (!entry) return refuseTrimmed(kUnknownHandle, "Invalid surface handle");
    if (!*entry) return refuseTrimmed(kEmptyEntry, "Surface is NULL");
    if (!namesTrimmedSurface((*entry)->getTypeIdentifier()))
      return refuseTrimmed(kNotTrimmed, "Handle is not a trimmed surface");
    const auto* trimmed = dynamic_cast<const TrimmedSurface*>(entry->get());
    if (!trimmed) return refuseTrimmed(kNoCast, "Failed to cast to TrimmedSurface");
    if (!trimmed->getBaseSurface()) return refuseTrimmed(kNoBase, "Base surface is NULL");
    const int handle = handleOf(trimmed->getBaseSurface().get());
    if (handle == 0) return refuseTrimmed(kNotRegistered, "Base surface not found in registry");
    *baseSurface = handle;
    return kSuccess;
  });
}

int validate_trimmed_surface(int surface, char* buffer, int size, int* errorCount) {
  return onTrimmedSurface(__func__, surface, -1, -2, kInfoExceptions,
                          [&](const TrimmedSurface& found) {
                            const std::vector<std::string> errors = found.getValidationErrors();
                            const std::string text = numberedLines(errors);
                            copyText(text, buffer, size);
                            write(errorCount, errors.size());
                            return static_cast<int>(errors.size());
                          });
}
