#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "morvel/curves/curve2d.h"
#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/internal/derivative_order.h"

namespace {

namespace geometry = trova::geometry;
using trova::foundation::BoundingBox;
using trova::foundation::Point2D;

constexpr double kFullTurn = 2.0 * std::numbers::pi;
constexpr double kQuarterTurn = std::numbers::pi / 2.0;

// An arc this close to a full turn (radians) is closed.
constexpr double kFullTurnTolerance = 1e-6;

}  // namespace

CircularCurve2D::CircularCurve2D(const Point2D& center, double radius)
    : CircularCurve2D(center, radius, 0.0, kFullTurn) {}

CircularCurve2D::CircularCurve2D(const Point2D& center, double radius, double startAngle,
                                 double endAngle)
    : center_(center), radius_(radius), startAngle_(startAngle), endAngle_(endAngle) {
  const bool isFinite = center.isFinite() && std::isfinite(radius) && std::isfinite(startAngle) &&
                        std::isfinite(endAngle) && std::isfinite(endAngle - startAngle);
  if (!isFinite) throw std::invalid_argument("Arc must be finite");
}

std::unique_ptr<geometry::ParametricCurve2D> CircularCurve2D::clone() const {
  return std::make_unique<CircularCurve2D>(*this);
}

bool CircularCurve2D::isValid() const { return radius_ > 0.0 && startAngle_ != endAngle_; }

bool CircularCurve2D::isClosed(const trova::foundation::ToleranceContext& /*tolerance*/) const {
  return std::abs(endAngle_ - startAngle_ - kFullTurn) < kFullTurnTolerance;
}

bool CircularCurve2D::isPeriodic() const { return isClosed(); }

Point2D CircularCurve2D::evaluate(double t) const {
  const double angle = angleAt(t);
  return {center_.x() + radius_ * std::cos(angle), center_.y() + radius_ * std::sin(angle)};
}

// Every derivative turns the radius by a quarter and stretches it by the angle's speed.
std::vector<Point2D> CircularCurve2D::evaluateDerivatives(double t, int order) const {
  std::vector<Point2D> result(geometry::internal::zeroDerivatives(order).size());
  double factor = radius_;
  for (int k = 0; k <= order; ++k) {
    const double c = std::cos(angleAt(t)), s = std::sin(angleAt(t));
    const Point2D turned[] = {{c, s}, {-s, c}, {-c, -s}, {s, -c}};
    result[k] = turned[k % 4] * factor;
    factor *= endAngle_ - startAngle_;
  }
  if (order >= 0) result[0] = evaluate(t);
  return result;
}

double CircularCurve2D::lowAngle() const { return std::min(startAngle_, endAngle_); }
double CircularCurve2D::highAngle() const { return std::max(startAngle_, endAngle_); }

BoundingBox CircularCurve2D::getBoundingBox() const {
  BoundingBox box;
  const auto add = [&](double x, double y) {
    box.addPoint({center_.x() + radius_ * x, center_.y() + radius_ * y, 0.0});
  };
  add(std::cos(startAngle_), std::sin(startAngle_));
  add(std::cos(endAngle_), std::sin(endAngle_));
  const double axes[4][2] = {{1.0, 0.0}, {0.0, 1.0}, {-1.0, 0.0}, {0.0, -1.0}};
  for (int quarter = 0; quarter < 4; ++quarter) {
    const double angle = quarter * kQuarterTurn;
    const double first = angle + kFullTurn * std::ceil((lowAngle() - angle) / kFullTurn);
    if (first <= highAngle()) add(axes[quarter][0], axes[quarter][1]);
  }
  return box;
}

double CircularCurve2D::getClosestParameter(const Point2D& point) const {
  const double x = point.x() - center_.x(), y = point.y() - center_.y();
  geometry::internal::requireFinitePoint({x, y, 0.0});
  if ((x == 0.0 && y == 0.0) || startAngle_ == endAngle_) return 0.0;
  const double angle = std::atan2(y, x);
  const double onArc = angle + kFullTurn * std::ceil((lowAngle() - angle) / kFullTurn);
  if (onArc <= highAngle()) return (onArc - startAngle_) / (endAngle_ - startAngle_);
  return evaluate(0.0).squaredDistanceTo(point) <= evaluate(1.0).squaredDistanceTo(point) ? 0.0
                                                                                          : 1.0;
}

std::unique_ptr<geometry::ParametricCurve2D> CircularCurve2D::trim(double t0, double t1) const {
  geometry::internal::requireTrimRange(getParameterInterval(), t0, t1);
  return std::make_unique<CircularCurve2D>(center_, radius_, angleAt(t0),
                                           t1 == 1.0 ? endAngle_ : angleAt(t1));
}

std::unique_ptr<geometry::ParametricCurve2D> CircularCurve2D::reverse() const {
  return std::make_unique<CircularCurve2D>(center_, radius_, endAngle_, startAngle_);
}

// A chord over the angle h leaves its arc by 2 r sin^2(h / 4).
std::vector<Point2D> CircularCurve2D::adaptiveTessellate(double tolerance) const {
  geometry::internal::requireChordTolerance(tolerance);
  const double share = std::min(1.0, tolerance / (2.0 * std::abs(radius_)));
  const double step = std::min(4.0 * std::asin(std::sqrt(share)), kQuarterTurn);
  const double steps = std::ceil((highAngle() - lowAngle()) / step);
  const double most = geometry::kMaxAdaptivePoints;
  const double bounded = steps >= 1.0 ? std::min(steps, most) : 1.0;
  return tessellateUniform(1 + static_cast<int>(bounded));
}
