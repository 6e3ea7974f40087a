#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/foundation/status_line.h"
#include "tests/support/near.h"

// Brute-force measurements of curves, independent of the classes' own formulas: everything rests on
// `evaluate` alone.

namespace morvel_test {

/// Keeps progress lines out of a test's output while it lives.
struct QuietStatus {
  QuietStatus() { trova::foundation::status::setLevel(trova::foundation::status::Level::Warning); }
  ~QuietStatus() { trova::foundation::status::setLevel(trova::foundation::status::Level::Info); }
};

/// The point at a share of the interval, 0 at the curve's start and 1 at its end.
inline trova::foundation::Point3D pointAt(const trova::geometry::Curve& curve, double share) {
  const auto interval = curve.getParameterInterval();
  return curve.evaluate(interval.start + share * interval.length());
}

inline double sampledLength(const trova::geometry::Curve& curve, int steps) {
  double length = 0.0;
  for (int i = 0; i < steps; ++i)
    length += pointAt(curve, double(i) / steps).distanceTo(pointAt(curve, double(i + 1) / steps));
  return length;
}

inline double sampledDistance(const trova::geometry::Curve& curve,
                              const trova::foundation::Point3D& point, int steps = 20000) {
  double nearest = std::numeric_limits<double>::infinity();
  for (int i = 0; i <= steps; ++i)
    nearest = std::min(nearest, point.distanceTo(pointAt(curve, double(i) / steps)));
  return nearest;
}

inline double distanceToPolyline(const trova::foundation::Point3D& p,
                                 const std::vector<trova::foundation::Point3D>& line) {
  double nearest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 1; i < line.size(); ++i) {
    const auto along = line[i] - line[i - 1];
    const double share =
        std::clamp((p - line[i - 1]).dot(along) / along.squaredMagnitude(), 0.0, 1.0);
    nearest = std::min(nearest, p.distanceTo(line[i - 1] + along * share));
  }
  return nearest;
}

/// Derivative k against the central difference of derivative k - 1, k = 1 .. order.
inline void expectTrueDerivatives(const trova::geometry::Curve& curve, double u, int order,
                                  double tolerance) {
  constexpr double h = 1e-5;
  const auto at = curve.evaluateDerivatives(u, order);
  ASSERT_EQ(at.size(), static_cast<std::size_t>(order) + 1);
  EXPECT_THAT(at[0], IsNear(curve.evaluate(u) - trova::foundation::Point3D::origin(), 0.0));
  const auto before = curve.evaluateDerivatives(u - h, order);
  const auto after = curve.evaluateDerivatives(u + h, order);
  for (int k = 1; k <= order; ++k) {
    const auto difference = (after[k - 1] - before[k - 1]) / (2.0 * h);
    EXPECT_THAT(at[k], IsNear(difference, tolerance * (1.0 + difference.magnitude())))
        << "derivative " << k << " at " << u;
  }
}

}  // namespace morvel_test
