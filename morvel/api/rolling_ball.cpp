// Rolling-ball blends by handle.

#include <algorithm>
#include <cmath>
#include <string>

#include "morvel/api/c/rolling_ball.h"
#include "morvel/api/internal/blend_access.h"
#include "morvel/api/last_error.h"
#include "morvel/blend/rolling_ball_blend_orchestrator.h"

using namespace trova_internal;
using namespace trova_internal::blends;
namespace tb = trova::geometry::blend;

using tb::BlendMethod;
using tb::RadiusInterpolation;
using tb::RadiusLaw;
using tb::RollingBallBlendConfig;
using tb::RollingBallBlendResult;
using Orchestrator = tb::RollingBallBlendOrchestrator;

namespace {

constexpr int kDoublesPerContact = 9;

/// The counts of a blend, and where its handles go.
struct BlendArguments {
  const char* function;
  int offsetResolution;
  int intersectionResolution;
  int samplesAlong;
  int samplesAcross;
  bool blendOnly;
  bool validate;
  int* offset1;
  int* offset2;
  int* spine;

  /// 0, or -1 with a text.
  int checkResolutions() const {
    if (!isBetween(offsetResolution, 3, 200))
      return refuseIn(function, "Invalid offset resolution (must be 3-200)");
    if (!isBetween(intersectionResolution, 5, 100))
      return refuseIn(function, "Invalid intersection resolution (must be 5-100)");
    return kSuccess;
  }

  RollingBallBlendConfig config() const {
    RollingBallBlendConfig config;
    config.offset_resolution = offsetResolution;
    config.intersection_resolution = intersectionResolution;
    config.intersection_sampling = 2 * intersectionResolution;
    config.canal_samples_along = samplesAlong;
    config.canal_samples_across = samplesAcross;
    config.blend_only = blendOnly;
    config.validate = validate;
    config.longest_branch = true;
    return config;
  }
};

std::string failureText(const RollingBallBlendResult& result) {
  if (result.errors.empty()) return "No blend surface created";
  std::string text = result.status + " | Errors: ";
  for (std::size_t k = 0; k < result.errors.size(); ++k)
    text += (k > 0 ? ", " : "") + result.errors[k];
  return text;
}

/// Stores what there is: the blend's handle, or -4 with the text of the failure.
int storeBlend(RollingBallBlendResult result, const BlendArguments& arguments) {
  const char* const function = arguments.function;
  if (!result.blend_surface || !isSound(*result.blend_surface))
    return refuse(kExceptionCaught, std::string(function) + ": " + failureText(result));
  writeUnlessNull(arguments.offset1, 0);
  writeUnlessNull(arguments.offset2, 0);
  writeUnlessNull(arguments.spine, 0);
  StoredSurface blend(std::move(result.blend_surface), function);
  if (!result.offset_surface1 || !result.offset_surface2) return blend.keep();
  StoredSurface first(std::move(result.offset_surface1), function);
  StoredSurface second(std::move(result.offset_surface2), function);
  if (arguments.spine && result.spine) *arguments.spine = storeFinite(std::move(result.spine));
  writeUnlessNull(arguments.offset1, first.keep());
  writeUnlessNull(arguments.offset2, second.keep());
  return blend.keep();
}

void writeSides(const RollingBallBlendResult& result, int* sides) {
  sides[0] = result.distance1 > 0.0 ? 1 : -1;
  sides[1] = result.distance2 > 0.0 ? 1 : -1;
}

// As many of the stations as there is room for, spread over all.
void writeContacts(const std::vector<tb::ContactTriplet>& contacts, double* out, int capacity,
                   int* count) {
  const int all = static_cast<int>(contacts.size());
  const int written = out ? std::min(capacity, all) : 0;
  writeUnlessNull(count, written);
  for (int k = 0; k < written; ++k) {
    const int from = written > 1 ? int(std::int64_t(k) * (all - 1) / (written - 1)) : 0;
    const tb::ContactTriplet& at = contacts[std::size_t(from)];
    double* const row = out + std::ptrdiff_t(k) * kDoublesPerContact;
    writeTriple(at.centre, row);
    writeTriple(at.first.position, row + kDoublesPerPoint);
    writeTriple(at.second.position, row + 2 * kDoublesPerPoint);
  }
}

/// One a line.
std::string warningText(const RollingBallBlendResult& result) {
  std::string text;
  for (const std::string& warning : result.warnings)
    text += (text.empty() ? "" : "\n") + warning;
  return text;
}

void writeWarnings(const std::string& text, char* out, int size) {
  if (out && size > 0) copyText(text, out, size);
}

bool isRadius(double radius) { return radius > 0.0 && std::isfinite(radius); }

}  // namespace

int create_rolling_ball_blend(int surface1, int surface2, double radius, int offsetResolution,
                              int intersectionResolution, int samplesAlong, int samplesAcross,
                              int blendOnly, int validate, int* offset1, int* offset2, int* spine) {
  const BlendArguments arguments{__func__,      offsetResolution, intersectionResolution,
                                 samplesAlong,  samplesAcross,    blendOnly != 0,
                                 validate != 0, offset1,          offset2,
                                 spine};
  return guardedBlend(__func__, [&] {
    if (!isRadius(radius)) return refuseIn(arguments.function, "Invalid radius (must be > 0)");
    if (const int code = arguments.checkResolutions()) return code;
    SurfacePairByHandle pair;
    if (const int code = pair.find(arguments.function, surface1, surface2)) return code;
    return storeBlend(
        Orchestrator::createRollingBallBlend(*pair.first, *pair.second, radius, arguments.config()),
        arguments);
  });
}

int create_rolling_ball_blend_manual_directions(int surface1, int surface2, double distance1,
                                                double distance2, int offsetResolution,
                                                int intersectionResolution, int samplesAlong,
                                                int samplesAcross, int blendOnly, int validate,
                                                int* offset1, int* offset2, int* spine) {
  const BlendArguments arguments{__func__,      offsetResolution, intersectionResolution,
                                 samplesAlong,  samplesAcross,    blendOnly != 0,
                                 validate != 0, offset1,          offset2,
                                 spine};
  return guardedBlend(__func__, [&] {
    if (!isRadius(std::abs(distance1)) || !isRadius(std::abs(distance2)))
      return refuseIn(arguments.function, "Invalid offset distances (must be non-zero)");
    if (const int code = arguments.checkResolutions()) return code;
    constexpr double kSameShare = 1e-9;
    if (!(std::abs(std::abs(distance1) - std::abs(distance2)) <= kSameShare * std::abs(distance1)))
      return refuseIn(arguments.function, "Offset distances must be equal in size");
    SurfacePairByHandle pair;
    if (const int code = pair.find(arguments.function, surface1, surface2)) return code;
    return storeBlend(Orchestrator::createWithDistances(*pair.first, *pair.second, distance1,
                                                        distance2, arguments.config()),
                      arguments);
  });
}

int create_rolling_ball_blend_with_method(int surface1, int surface2, double radius, int method,
                                          double tolerance, int offsetResolution,
                                          int intersectionResolution, int samplesAlong,
                                          int samplesAcross, int blendOnly, int validate,
                                          int* sides, int* offset1, int* offset2, int* spine,
                                          double* contacts, int capacity, int* contactCount,
                                          char* warnings, int warningsSize) {
  const BlendArguments arguments{__func__,      offsetResolution, intersectionResolution,
                                 samplesAlong,  samplesAcross,    blendOnly != 0,
                                 validate != 0, offset1,          offset2,
                                 spine};
  return guardedBlend(__func__, [&] {
    if (!isRadius(radius)) return refuseIn(arguments.function, "Invalid radius (must be > 0)");
    if (!isBetween(method, 0, tb::kBlendMethods - 1))
      return refuseIn(arguments.function, "Invalid method (must be 0-4)");
    if (!isRadius(tolerance))
      return refuseIn(arguments.function, "Invalid tolerance (must be > 0)");
    if (const int code = arguments.checkResolutions()) return code;
    if (capacity < 0 || warningsSize < 0) return refuseIn(arguments.function, "Invalid capacity");
    SurfacePairByHandle pair;
    if (const int code = pair.find(arguments.function, surface1, surface2)) return code;
    RollingBallBlendConfig config = arguments.config();
    config.intersection_tolerance = tolerance;
    RollingBallBlendResult result = Orchestrator::createWithMethod(
        *pair.first, *pair.second, radius, static_cast<BlendMethod>(method), config);
    const std::vector<tb::ContactTriplet> stations = result.contacts;
    const std::string warned = warningText(result);
    int taken[2];
    writeSides(result, taken);
    const int handle = storeBlend(std::move(result), arguments);
    if (handle < 0) return handle;
    if (sides) std::copy(taken, taken + 2, sides);
    writeContacts(stations, contacts, capacity, contactCount);
    writeWarnings(warned, warnings, warningsSize);
    return handle;
  });
}

int create_variable_rolling_ball_blend(int surface1, int surface2, const double* parameters,
                                       const double* radii, int count, int interpolation,
                                       int method, int intersectionResolution, int samplesAlong,
                                       int samplesAcross, int* sides, int* spine, char* warnings,
                                       int warningsSize) {
  constexpr int kOffsetSamples = 3;  // those surfaces are not handed out
  BlendArguments arguments{__func__,     kOffsetSamples, intersectionResolution,
                           samplesAlong, samplesAcross,  false,
                           true,         nullptr,        nullptr,
                           nullptr};
  return guardedBlend(__func__, [&] {
    const char* const function = arguments.function;
    if (count < 2) return refuseIn(function, "Need at least 2 control points");
    if (anyNull(parameters, radii)) return refuseIn(function, "Null input arrays");
    if (!isBetween(interpolation, 0, 1)) return refuseIn(function, "Invalid interpolation type");
    if (!isBetween(method, 0, tb::kBlendMethods - 1))
      return refuseIn(function, "Invalid method (must be 0-4)");
    if (const int code = arguments.checkResolutions()) return code;
    if (!countsFit({count})) return refuseIn(function, "count out of range");
    if (warningsSize < 0) return refuseIn(function, "Invalid capacity");
    if (!areLawParameters(parameters, count)) return refuseIn(function, "Parameter out of range");
    if (!areRadii(radii, count)) return refuseIn(function, "Invalid radius value");
    SurfacePairByHandle pair;
    if (const int code = pair.find(function, surface1, surface2)) return code;
    const RadiusLaw law(copyValues(parameters, count), copyValues(radii, count),
                        static_cast<RadiusInterpolation>(interpolation));
    RollingBallBlendResult result = Orchestrator::createWithLaw(
        *pair.first, *pair.second, law, static_cast<BlendMethod>(method), arguments.config());
    result.offset_surface1.reset();
    std::unique_ptr<trova::geometry::BSplineCurve> path = std::move(result.spine);
    int taken[2] = {0, 0};
    writeSides(result, taken);
    if (!result.blend_surface || !isSound(*result.blend_surface))
      return refuse(kExceptionCaught, std::string(function) + ": " + failureText(result));
    const std::string warned = warningText(result);
    StoredSurface blend(std::move(result.blend_surface), function);
    const int stored = spine && path ? storeFinite(std::move(path)) : 0;
    writeUnlessNull(spine, stored);
    if (sides) std::copy(taken, taken + 2, sides);
    writeWarnings(warned, warnings, warningsSize);
    return blend.keep();
  });
}
