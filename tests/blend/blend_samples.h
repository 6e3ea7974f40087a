#pragma once

#include <cmath>
#include <memory>

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/cylinder_surface.h"
#include "morvel/surfaces/plane_surface.h"
#include "morvel/surfaces/sphere_surface.h"

// Pairs of surfaces that meet.

namespace morvel_test {

using namespace trova::geometry;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;

/// The parallelogram at a corner with two sides.
inline PlaneSurface rectangle(const Point3D& corner, const Vector3D& u, const Vector3D& v) {
  return {corner, u, v, u.magnitude(), v.magnitude()};
}

/// A bicubic height field over [0, 4] x [0, 4], waving by `height`.
inline std::unique_ptr<BSplineSurface> wavyField(double height, double phase, int count = 10) {
  ControlNet net(count, count);
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < count; ++j) {
      const double x = 4.0 * i / (count - 1), y = 4.0 * j / (count - 1);
      net(i, j) = {x, y, height * std::sin(1.7 * x + phase) * std::cos(1.3 * y - phase)};
    }
  return BSplineSurface::createClamped(std::move(net), 3, 3);
}

/// The same standing up: a wall about x = 2 whose normal points to +x.
inline std::unique_ptr<BSplineSurface> wavyWall(double height, double phase, int count = 10) {
  ControlNet net(count, count);
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < count; ++j) {
      const double y = 4.0 * i / (count - 1), z = -2.0 + 4.0 * j / (count - 1);
      net(i, j) = {2.0 + height * std::sin(1.9 * y + phase) * std::cos(z), y, z};
    }
  return BSplineSurface::createClamped(std::move(net), 3, 3);
}

}  // namespace morvel_test
