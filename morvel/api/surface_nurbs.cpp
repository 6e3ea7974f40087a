// Rational spline surfaces.

#include <algorithm>
#include <stdexcept>

#include "morvel/api/c/surface_create.h"
#include "morvel/api/internal/net_arguments.h"
#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/surfaces/nurbs_surface.h"

using namespace trova_internal;
namespace tg = trova::geometry;

namespace {

constexpr FailureTexts kNurbs{.stored = "NURBS surface creation failed: ",
                              .unknown = "Unknown error in NURBS surface creation"};

/// The checks of create_curve_nurbs, in its order.
int checkArguments(const char* function, const SplineArguments& given, const double* weights) {
  if (!given.hasArrays() || !weights || !given.net.hasCounts() || given.uKnotCount < 1 ||
      given.vKnotCount < 1 || !given.hasDegrees())
    return refuse(kBadArgument, "Invalid input parameters for NURBS surface");
  if (!given.hasKnotCounts())
    return refuse(kBadArgument, "Invalid knot vector size for NURBS surface");
  const bool isFinite = given.net.hasFinitePoints() && allFinite(given.uKnots, given.uKnotCount) &&
                        allFinite(given.vKnots, given.vKnotCount);
  if (!isFinite) return refuseIn(function, "numbers must be finite");
  if (!given.hasOrderedKnots()) return refuse(kBadArgument, "Knot vector must be non-decreasing");
  const std::int64_t count = std::int64_t(given.net.nU) * given.net.nV;
  if (!std::all_of(weights, weights + count, [](double weight) { return weight > 0.0; }))
    return refuse(kBadArgument, "NURBS weights must be positive");
  return checkFinite(function, weights, count);
}

std::unique_ptr<tg::NurbsSurface> surfaceFrom(const SplineArguments& given, const double* weights) {
  if (!given.hasPointsForDegrees())
    throw std::invalid_argument("Degree must be less than control point count");
  tg::NurbsSurface::Weights rows;
  for (std::int64_t i = 0; i < given.net.nU; ++i)
    rows.emplace_back(weights + i * given.net.nV, weights + (i + 1) * given.net.nV);
  auto surface = std::make_unique<tg::NurbsSurface>(
      copyNet(given.net.points, given.net.nU, given.net.nV, NetOrder::UOuter), std::move(rows),
      copyValues(given.uKnots, given.uKnotCount), copyValues(given.vKnots, given.vKnotCount),
      given.degreeU, given.degreeV);
  if (!isSound(*surface)) throw std::invalid_argument("Created surface validation failed");
  return surface;
}

}  // namespace

int create_surface_nurbs(const double* points, int nU, int nV, const double* weights,
                         const double* uKnots, int uKnotCount, const double* vKnots, int vKnotCount,
                         int degreeU, int degreeV) {
  const SplineArguments given{{points, nU, nV}, degreeU, degreeV,   uKnots,
                              uKnotCount,       vKnots,  vKnotCount};
  if (const int refused = checkArguments(__func__, given, weights)) return refused;
  return guarded(kExceptionCaught, kNurbs,
                 [&] { return StoredSurface(surfaceFrom(given, weights), "create_nurbs").keep(); });
}
