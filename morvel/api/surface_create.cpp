// Surfaces from control nets.

#include "morvel/api/c/surface_create.h"

#include "morvel/api/internal/net_arguments.h"
#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/bezier_surface.h"

using namespace trova_internal;
namespace tg = trova::geometry;
namespace status = trova::foundation::status;

namespace {

constexpr const char* kValidationFailed = "Created surface validation failed";
constexpr const char* kDegreeTooHigh = "Degree must be less than control point count";
constexpr const char* kNotFinite = "control points must be finite";

/// Writes values one behind the other, each after a blank.
struct Listed {
  const double* values;
  int count;
};

std::ostream& operator<<(std::ostream& out, const Listed& listed) {
  for (int i = 0; i < listed.count; ++i)
    out << ' ' << listed.values[i];
  return out;
}

void dump(const SplineArguments& given) {
  status::debug("create_surface_bspline: grid ", given.net.nU, " x ", given.net.nV, ", degrees ",
                given.degreeU, ", ", given.degreeV);
  status::debug("  u knots:", Listed{given.uKnots, given.uKnotCount});
  status::debug("  v knots:", Listed{given.vKnots, given.vKnotCount});
}

/// A refusal of create_surface_bspline_clamped, which is also an entry of the operation log.
int refuseClamped(const char* text) {
  status::debug("create_surface_bspline_clamped: ", text);
  return refuse(kBadArgument, text);
}

}  // namespace

int create_bspline_surface(const double* points, int nU, int nV, int degreeU, int degreeV,
                           const double* uKnots, int uKnotCount, const double* vKnots,
                           int vKnotCount) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const SplineArguments given{{points, nU, nV}, degreeU, degreeV,   uKnots,
                                uKnotCount,       vKnots,  vKnotCount};
    if (!given.hasArrays()) return refuseIn(function, "Null pointer inputs");
    if (!given.net.hasCounts() || !given.hasDegrees() || !given.hasPointsForDegrees())
      return refuseIn(function, "Invalid control points or degrees");
    if (!given.hasKnotCounts()) return refuseIn(function, "Invalid knot vector sizes");
    if (!given.net.hasFinitePoints()) return refuseIn(function, kNotFinite);
    return storeSound(given.surface(NetOrder::UOuter), "create_bspline", kBadArgument,
                      "create_bspline_surface: Created surface validation failed");
  });
}

int create_surface_bspline(const double* points, int nU, int nV, const double* uKnots,
                           int uKnotCount, const double* vKnots, int vKnotCount, int degreeU,
                           int degreeV) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const SplineArguments given{{points, nU, nV}, degreeU, degreeV,   uKnots,
                                uKnotCount,       vKnots,  vKnotCount};
    if (!given.hasArrays()) return refuse(kBadArgument, "Invalid input arrays");
    if (!given.net.hasCounts() || !given.hasDegrees())
      return refuse(kBadArgument, "Invalid surface parameters");
    if (!given.hasPointsForDegrees()) return refuseIn(function, kDegreeTooHigh);
    if (!given.hasKnotCounts())
      return refuseIn(function, "knot counts must be control point count + degree + 1");
    if (!given.net.hasFinitePoints()) return refuseIn(function, kNotFinite);
    if (!given.hasOrderedKnots())
      return refuseIn(function, "knots must be finite and never decrease");
    dump(given);
    return storeSound(given.surface(NetOrder::VOuter), "create_bspline", kBadArgument,
                      kValidationFailed);
  });
}

int create_surface_bspline_clamped(const double* points, int nU, int nV, int degreeU, int degreeV) {
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const NetArguments given{points, nU, nV};
    if (!points) return refuseClamped("Null control points array");
    if (!given.hasCounts() || degreeU < 1 || degreeV < 1)
      return refuseClamped("Invalid control points count or degrees");
    if (degreeU >= nU || degreeV >= nV) return refuseClamped(kDegreeTooHigh);
    if (!given.hasFinitePoints()) return refuseClamped("Control points must be finite");
    auto surface = tg::BSplineSurface::createClamped(copyNet(points, nU, nV, NetOrder::UOuter),
                                                     degreeU, degreeV);
    if (!isSound(*surface)) return refuseClamped(kValidationFailed);
    return StoredSurface(std::move(surface), "create_bspline_clamped").keep();
  });
}

int create_surface_bezier(const double* points, int nU, int nV) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const NetArguments given{points, nU, nV};
    if (!points || !given.hasCounts())
      return refuse(kBadArgument, "Invalid Bezier surface parameters");
    if (!given.hasFinitePoints()) return refuseIn(function, kNotFinite);
    return storeSound(
        std::make_unique<tg::BezierSurface>(copyNet(points, nU, nV, NetOrder::VOuter)),
        "create_bezier", kBadArgument, kValidationFailed);
  });
}
