#pragma once

#include <cmath>
#include <memory>
#include <numbers>

#include "morvel/curves/circle_curve.h"
#include "morvel/curves/curve2d.h"
#include "morvel/curves/line_curve.h"
#include "morvel/nsided/boundary_constraints.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/curve_on_surface.h"

// Loops whose shape is known in closed form.

namespace morvel_test {

using namespace trova::geometry;
using trova::foundation::Point2D;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;

inline constexpr double kLoopRadius = 0.35;

/// z = a (x - 1/2)^2 + b (y - 1/2)^2 over the unit square, exactly, with u = x and v = y.
struct Bowl {
  double a;
  double b;

  double height(double x, double y) const {
    return a * (x - 0.5) * (x - 0.5) + b * (y - 0.5) * (y - 0.5);
  }
  Vector3D normal(double x, double y) const {
    return Vector3D(-2 * a * (x - 0.5), -2 * b * (y - 0.5), 1.0).normalized();
  }
  std::shared_ptr<const Surface> surface() const {
    const double square[3] = {0.25, -0.25, 0.25};  // of (t - 1/2)^2 on three Bernstein polynomials
    BSplineSurface::Net net(3, std::vector<Point3D>(3));
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j)
        net[i][j] = {i / 2.0, j / 2.0, a * square[i] + b * square[j]};
    return BSplineSurface::createClamped(net, 2, 2);
  }
};

inline Point2D onLoop(double angle) {
  return {0.5 + kLoopRadius * std::cos(angle), 0.5 + kLoopRadius * std::sin(angle)};
}

/// On a bowl, the circle about its middle cut into n arcs, or the n-gon inscribed in it.
inline BoundaryCurves loopOn(const Bowl& bowl, int n, bool isPolygon) {
  BoundaryCurves curves;
  const auto base = bowl.surface();
  for (int k = 0; k < n; ++k) {
    const double a = 2.0 * std::numbers::pi * k / n;
    const double b = 2.0 * std::numbers::pi * (k + 1) / n;
    std::unique_ptr<ParametricCurve2D> plane;
    if (isPolygon)
      plane = std::make_unique<LinearCurve2D>(onLoop(a), onLoop(b));
    else
      plane = std::make_unique<CircularCurve2D>(Point2D(0.5, 0.5), kLoopRadius, a, b);
    curves.push_back(std::make_shared<CurveOnSurface>(base, std::move(plane)));
  }
  return curves;
}

/// Straight lines from corner to corner and back to the first.
inline BoundaryCurves polygon(const std::vector<Point3D>& corners) {
  BoundaryCurves curves;
  for (std::size_t k = 0; k < corners.size(); ++k)
    curves.push_back(std::make_shared<LineCurve>(corners[k], corners[(k + 1) % corners.size()]));
  return curves;
}

inline std::vector<Point3D> unitSquare() { return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}; }

}  // namespace morvel_test
