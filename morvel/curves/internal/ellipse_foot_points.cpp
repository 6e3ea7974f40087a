#include "morvel/curves/internal/ellipse_foot_points.h"

#include <cmath>
#include <numbers>

namespace trova::geometry::internal {
namespace {

constexpr double kQuarterTurn = std::numbers::pi / 2.0;

// Halvings that take a quarter turn below the spacing of doubles near it.
constexpr int kHalvings = 60;

// One quadrant, mirrored into the first: the point's coordinates may then be negative.
struct Quadrant {
  double a;
  double b;
  double x;
  double y;

  // Half the derivative of the squared distance over sin w cos w, which is positive between the
  // axes: (b^2 - a^2) + a x / cos w - b y / sin w. The second term is monotone in w and convex for
  // x > 0, the third for y < 0.
  double slope(double w) const { return b * b - a * a + a * x / std::cos(w) - b * y / std::sin(w); }

  // Where the slope turns from negative to positive in (low, high), by halving; an end of the range
  // where it does not.
  double minimum(double low, double high) const {
    for (int i = 0; i < kHalvings; ++i) {
      const double middle = (low + high) / 2.0;
      (slope(middle) < 0.0 ? low : high) = middle;
    }
    return (low + high) / 2.0;
  }

  // With x and y of one sign the slope is monotone. With different signs it has one extreme, at
  // tan^3 w = |b y| / |a x|: a minimum for x > 0, behind which it rises once more, else a maximum,
  // before which it rises.
  double minimum() const {
    if (x >= 0.0 && y >= 0.0) return minimum(0.0, kQuarterTurn);
    const double turning = std::atan2(std::cbrt(std::abs(b * y)), std::cbrt(std::abs(a * x)));
    return x >= 0.0 ? minimum(turning, kQuarterTurn) : minimum(0.0, turning);
  }
};

}  // namespace

std::array<double, 4> ellipseFootPoints(double a, double b, double x, double y) {
  const double first = Quadrant{a, b, x, y}.minimum();
  const double second = Quadrant{a, b, -x, y}.minimum();
  const double third = Quadrant{a, b, -x, -y}.minimum();
  const double fourth = Quadrant{a, b, x, -y}.minimum();
  return {first, std::numbers::pi - second, third - std::numbers::pi, -fourth};
}

}  // namespace trova::geometry::internal
