#include "morvel/curves/spline_curve.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "morvel/curves/internal/speed_integral.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

// Between two knots the speed is the root of a polynomial.
constexpr int kPanelsPerSpan = 2;

}  // namespace

SplineCurve::SplineCurve(std::vector<double> knots, int degree)
    : degree_(degree), basis_(degree, std::move(knots)) {}

ParameterInterval SplineCurve::getParameterInterval() const {
  const std::vector<double>& U = getKnotVector();
  const std::int64_t p = getDegree();
  const std::int64_t last = static_cast<std::int64_t>(U.size()) - p - 1;
  if (p < 0 || last < 0 || p >= static_cast<std::int64_t>(U.size())) return {};
  return {U[p], U[last]};
}

double SplineCurve::getArcLength(double u0, double u1) const {
  if (u0 > u1) std::swap(u0, u1);
  if (!basis_.isUsable() || !(u0 < u1)) return Curve::getArcLength(u0, u1);
  std::vector<double> stops{u0};
  for (const double knot : getBreaks()) {
    if (stops.back() < knot && knot < u1) stops.push_back(knot);
  }
  stops.push_back(u1);
  double length = 0.0;
  for (std::size_t i = 1; i < stops.size(); ++i) {
    const double start = stops[i - 1], end = stops[i];
    const double share = internal::kArcLengthTolerance * ((end - start) / (u1 - u0));
    // Short of the knot by one number: at the knot itself the next span's speed holds.
    const double shortOfEnd = std::nextafter(end, start);
    length += internal::speedIntegral(*this, start, shortOfEnd, share, kPanelsPerSpan);
  }
  return length;
}

int SplineCurve::findKnotSpan(double u) const {
  return basis_.isUsable() ? basis_.span(u)
                           : foundation::nurbs::findKnotSpan(degree_, u, getKnotVector());
}

bool SplineCurve::isValidKnotVector() const {
  return foundation::nurbs::isNonDecreasing(getKnotVector());
}

void SplineCurve::requireRoom(int span, std::int64_t order, std::size_t room) const {
  const bool isSpan = basis_.isUsable() && degree_ <= span && span < basis_.count();
  if (!isSpan) throw std::invalid_argument("Knot span out of range");
  const std::int64_t width = static_cast<std::int64_t>(degree_) + 1;
  if (order < 0 || order >= static_cast<std::int64_t>(room) / width)
    throw std::invalid_argument("Too little room for the basis values");
}

void SplineCurve::evaluateBasisFunctions(int span, double u, std::span<double> values) const {
  requireRoom(span, 0, values.size());
  basis_.values(u, span, values.data());
}

void SplineCurve::evaluateBasisDerivatives(int span, double u, int order,
                                           std::span<double> values) const {
  requireRoom(span, order, values.size());
  basis_.derivatives(u, span, order, values.data());
}

std::vector<double> SplineCurve::getBreaks() const {
  const ParameterInterval interval = getParameterInterval();
  if (!basis_.isUsable()) return {interval.start, interval.end};
  const std::vector<double>& U = getKnotVector();
  std::vector<double> breaks(U.begin() + degree_, U.begin() + basis_.count() + 1);
  breaks.erase(std::unique(breaks.begin(), breaks.end()), breaks.end());
  return breaks;
}

}  // namespace trova::geometry
