#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "morvel/surfaces/surface.h"
#include "tests/support/near.h"

// Brute-force measurements of surfaces, independent of the classes' own formulas: everything rests
// on `evaluate` alone.

namespace morvel_test {

using trova::geometry::Surface;

/// The largest distance at equal parameters, on an n x n grid with both ends. Not a number counts
/// as infinitely far.
inline double largestGap(const Surface& a, const Surface& b, int n = 61) {
  double largest = 0.0;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const double u = static_cast<double>(i) / (n - 1);
      const double v = static_cast<double>(j) / (n - 1);
      const double gap = a.evaluate(u, v).distanceTo(b.evaluate(u, v));
      if (!std::isfinite(gap)) return HUGE_VAL;
      largest = std::max(largest, gap);
    }
  }
  return largest;
}

/// All derivatives up to order 2 against central differences of points; (u, v) inside the domain.
/// @param tolerance  relative to the size of the difference, plus 1
inline void expectTrueDerivatives(const Surface& surface, double u, double v, double tolerance) {
  constexpr double h = 1e-4;
  const auto p = [&](int i, int j) { return surface.evaluate(u + i * h, v + j * h); };
  const auto at = surface.evaluateDerivatives(u, v, 2);
  const auto expectNear = [&](const auto& actual, const auto& expected, const char* what) {
    EXPECT_THAT(actual, IsNear(expected, tolerance * (1.0 + expected.magnitude())))
        << what << " of " << surface.getTypeIdentifier() << " at " << u << ", " << v;
  };
  EXPECT_THAT(at.point, IsNear(surface.evaluate(u, v), 1e-12));
  expectNear(at.Su, (p(1, 0) - p(-1, 0)) / (2 * h), "Su");
  expectNear(at.Sv, (p(0, 1) - p(0, -1)) / (2 * h), "Sv");
  expectNear(at.Suu, ((p(1, 0) - p(0, 0)) - (p(0, 0) - p(-1, 0))) / (h * h), "Suu");
  expectNear(at.Svv, ((p(0, 1) - p(0, 0)) - (p(0, 0) - p(0, -1))) / (h * h), "Svv");
  expectNear(at.Suv, ((p(1, 1) - p(-1, 1)) - (p(1, -1) - p(-1, -1))) / (4 * h * h), "Suv");
}

/// The box of a dense grid of points.
inline trova::foundation::BoundingBox sampledBox(const Surface& surface, int n = 201) {
  trova::foundation::BoundingBox box;
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j)
      box.addPoint(surface.evaluate(i / (n - 1.0), j / (n - 1.0)));
  }
  return box;
}

/// How far `inner` reaches out of `outer`; not above 0 where it is contained.
inline double overhang(const trova::foundation::BoundingBox& inner,
                       const trova::foundation::BoundingBox& outer) {
  double worst = -HUGE_VAL;
  for (int k = 0; k < 3; ++k)
    worst = std::max({worst, outer.min[k] - inner.min[k], inner.max[k] - outer.max[k]});
  return worst;
}

}  // namespace morvel_test
