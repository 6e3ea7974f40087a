#include "morvel/api/internal/net_arguments.h"

#include "morvel/api/exception_guard.h"
#include "morvel/foundation/knot_vector.h"

namespace trova_internal {

using trova::foundation::knotCountFor;

bool NetArguments::hasCounts() const {
  return nU >= 2 && nV >= 2 && countsFit({nU, nV, kDoublesPerPoint});
}

bool NetArguments::hasFinitePoints() const {
  return allFinite(points, std::int64_t{kDoublesPerPoint} * nU * nV);
}

bool SplineArguments::hasKnotCounts() const {
  return uKnotCount == knotCountFor(net.nU, degreeU) && vKnotCount == knotCountFor(net.nV, degreeV);
}

bool SplineArguments::hasOrderedKnots() const {
  return allFinite(uKnots, uKnotCount) && allFinite(vKnots, vKnotCount) &&
         isNonDecreasing(uKnots, uKnotCount) && isNonDecreasing(vKnots, vKnotCount);
}

std::unique_ptr<trova::geometry::BSplineSurface> SplineArguments::surface(NetOrder order) const {
  return std::make_unique<trova::geometry::BSplineSurface>(
      copyNet(net.points, net.nU, net.nV, order), std::vector<double>(uKnots, uKnots + uKnotCount),
      std::vector<double>(vKnots, vKnots + vKnotCount), degreeU, degreeV);
}

}  // namespace trova_internal
