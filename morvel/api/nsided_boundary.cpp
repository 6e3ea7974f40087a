// Boundaries of N-sided patches by handle: checks, order, ends; and what all functions share.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "morvel/api/c/nsided_rbf.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/nsided_access.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/tables.h"
#include "morvel/api/last_error.h"
#include "morvel/foundation/status_line.h"

int g_next_nsided_patch_id = trova_internal::kFirstNSidedPatchHandle;

namespace trova_internal {

std::unordered_map<int, std::unique_ptr<trova::geometry::RBFNSidedPatch>> g_nsided_patches;

namespace nsided {
namespace {

constexpr int kMostCurves = 100;

std::string& lastText() {
  static std::string text;
  return text;
}

std::shared_ptr<const Curve> findCurve(int handle, Kinds kinds) {
  if (kinds == Kinds::Both) {
    if (const Curve* curve = curveTable().findAs<Curve>(handle)) return curve->clone();
  }
  const auto* found = curveOnSurfaceTable().find(handle);
  return found ? *found : nullptr;
}

}  // namespace

HandleRegistry<decltype(g_nsided_patches)> patchTable() {
  static int generation = 0;
  return {g_nsided_patches, g_next_nsided_patch_id, kFirstNSidedPatchHandle, generation};
}

bool isCurveCount(int count) { return count >= 1 && count <= kMostCurves; }

bool isLength(double value) { return value > 0.0 && std::isfinite(value); }

int findCurves(const int* handles, int count, Kinds kinds, BoundaryCurves& curves) {
  for (int k = 0; k < count; ++k) {
    curves.push_back(findCurve(handles[k], kinds));
    if (!curves.back()) return k + 1;
  }
  return 0;
}

int refuseNSided(int code, std::string_view text) noexcept {
  endsWell([&] { lastText().assign(text); });
  return refuse(code, text);
}

void rememberException() noexcept {
  endsWell([] { lastText() = g_last_error; });
}

}  // namespace nsided
}  // namespace trova_internal

using namespace trova_internal;
using namespace trova_internal::nsided;
using trova::geometry::SortedLoop;

namespace {

constexpr FailureTexts kValidation{"Exception during boundary validation: "};

/// The check of a boundary that asks for positions only; 0 or a code.
int check(const int* handles, int count, double tolerance, Kinds kinds,
          ValidationResults& results) {
  if (!handles || !isCurveCount(count) || !isLength(tolerance))
    return refuseNSided(kBadArgument, "Invalid validation parameters");
  BoundaryCurves curves;
  if (findCurves(handles, count, kinds, curves))
    return refuseNSided(kNotFound, "Invalid curve handle during validation");
  NSidedPatchParameters parameters;
  parameters.boundaryTolerance = tolerance;
  parameters.continuityLevels.assign(curves.size(), 0);
  RBFNSidedPatch(curves, parameters).validateBoundaryConfiguration(results);
  return kSuccess;
}

int answer(const ValidationResults& results) {
  return results.isValid ? 1 : refuseNSided(0, results.errors.front());
}

int checkLoop(const int* handles, int count, double tolerance, Kinds kinds, double* maxGap) {
  return guardedNSided(kValidation, [&] {
    if (!maxGap) return refuseNSided(kBadArgument, "Invalid validation parameters");
    ValidationResults results;
    if (const int code = check(handles, count, tolerance, kinds, results)) return code;
    *maxGap = finiteResult(results.maxGap);
    return answer(results);
  });
}

/// Copies that belong to a record until it is freed.
struct RecordArrays {
  std::unique_ptr<double[]> gaps;
  std::unique_ptr<char[]> message;

  explicit RecordArrays(const ValidationResults& results) {
    const std::string text = !results.errors.empty()     ? results.errors.front()
                             : !results.warnings.empty() ? results.warnings.front()
                                                         : std::string();
    gaps = std::make_unique<double[]>(results.gaps.size() + 1);
    std::copy(results.gaps.begin(), results.gaps.end(), gaps.get());
    message = std::make_unique<char[]>(text.size() + 1);
    std::memcpy(message.get(), text.c_str(), text.size() + 1);
  }
};

/// Stores the reverse of a curve under a new handle of its kind.
int storeReversed(const Curve& curve) {
  std::unique_ptr<Curve> turned = curve.reverse();
  if (!dynamic_cast<const CurveOnSurface*>(turned.get())) return storeCurve(std::move(turned));
  return storeCurveOnSurface(
      std::unique_ptr<CurveOnSurface>(static_cast<CurveOnSurface*>(turned.release())));
}

}  // namespace

int validate_nsided_boundary_rbf(const int* curves, int count, double tolerance,
                                 MorvelNSidedValidation* results) {
  return guardedNSided(kValidation, [&] {
    if (!results) return refuseNSided(kBadArgument, "Invalid validation parameters");
    ValidationResults found;
    if (const int code = check(curves, count, tolerance, Kinds::Both, found)) return code;
    RecordArrays arrays(found);
    *results = {found.isValid,
                found.isClosed,
                found.hasIntersections,
                found.curveCount,
                finiteResult(found.maxGap),
                found.tolerance,
                arrays.gaps.release(),
                static_cast<int32_t>(found.gaps.size()),
                arrays.message.release()};
    return answer(found);
  });
}

void free_nsided_validation_results(MorvelNSidedValidation* results) {
  if (!results) return;
  const std::unique_ptr<double[]> gaps(results->gaps);
  const std::unique_ptr<char[]> message(results->message);
  *results = {};
}

int validate_nsided_boundary_loop(const int* curves, int count, double tolerance, double* maxGap) {
  return checkLoop(curves, count, tolerance, Kinds::Both, maxGap);
}

int validate_cos_boundary_loop(const int* curvesOnSurfaces, int count, double tolerance,
                               double* maxGap) {
  return checkLoop(curvesOnSurfaces, count, tolerance, Kinds::OnSurfaces, maxGap);
}

int auto_sort_boundary_curves_rbf(const int* curves, int count, double tolerance, int* sorted,
                                  int* reversed) {
  return guardedNSided(kValidation, [&] {
    if (anyNull(curves, sorted, reversed) || !isCurveCount(count) || !isLength(tolerance))
      return refuseNSided(kBadArgument, "Invalid input parameters");
    BoundaryCurves found;
    if (const int bad = findCurves(curves, count, Kinds::Both, found))
      return refuseNSided(
          kNotFound, trova::foundation::status::join("Invalid curve handle at index ", bad - 1));
    if (count < trova::geometry::kFewestBoundaryCurves)
      return refuseNSided(kBoundaryRefused, "Minimum 3 boundary curves required");
    if (!trova::geometry::areUsableCurves(found))
      return refuseNSided(kBoundaryRefused, "Invalid boundary curves detected");
    const SortedLoop loop = trova::geometry::sortBoundaryLoop(found, tolerance);
    if (!loop.isFound)
      return refuseNSided(kBoundaryRefused, "Boundary curves do not form a closed loop");
    for (int k = 0; k < count; ++k) {
      const int place = loop.order[k];
      sorted[k] = loop.isReversed[k] ? storeReversed(*found[place]) : curves[place];
      reversed[k] = loop.isReversed[k];
    }
    return kSuccess;
  });
}

int get_curve_endpoint_rbf(int curve, int end, double* point) {
  return guardedNSided(kValidation, [&] {
    if (!point || (end != 0 && end != 1))
      return refuseNSided(kBadArgument, "Invalid input parameters");
    BoundaryCurves found;
    if (findCurves(&curve, 1, Kinds::Both, found))
      return refuseNSided(kNotFound, "Invalid curve handle at index 0");
    const RBFNSidedPatch ends(found, {});
    writeTriple(finiteResult(ends.getCurveEndpoint(0, end == 1)), point);
    return kSuccess;
  });
}

int get_last_nsided_error(char* buffer, int size) { return copyText(lastText(), buffer, size); }
