#pragma once

#include <cmath>
#include <memory>
#include <numbers>
#include <vector>

#include "morvel/surfaces/plane_surface.h"
#include "morvel/surfaces/sphere_surface.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

// Bases and loops that the tests of this layer share.

namespace morvel_test {

using namespace trova::geometry;
using namespace trova::geometry::trimmed_surface;
using enum PointClassification;

/// 2 by 1 in space.
inline std::shared_ptr<Surface> plate() {
  return std::make_shared<PlaneSurface>(Point3D(0, 0, 0), Vector3D::unitX(), Vector3D::unitY(), 2.0,
                                        1.0);
}

inline TrimLoop polygonLoop(std::vector<Point2D> points, int type = kOuterBoundary,
                            bool isOuter = true) {
  TrimLoop loop;
  loop.polygon = std::move(points);
  loop.type = type;
  loop.isOuter = isOuter;
  return loop;
}

inline std::vector<Point2D> box(double uMin, double uMax, double vMin, double vMax) {
  return {{uMin, vMin}, {uMax, vMin}, {uMax, vMax}, {uMin, vMax}};
}

inline std::vector<Point2D> regularPolygon(const Point2D& center, double radius, int count) {
  std::vector<Point2D> points;
  for (int k = 0; k < count; ++k) {
    const double angle = 2.0 * std::numbers::pi * k / count;
    points.push_back(center + Point2D(std::cos(angle), std::sin(angle)) * radius);
  }
  return points;
}

/// A wire-trimmed plate; each loop goes into the role that its `isOuter` names.
inline std::unique_ptr<WireTrimmedSurface> trimmedPlate(const std::vector<TrimLoop>& loops,
                                                        TrimmedSurfaceOptions options = {}) {
  auto surface = std::make_unique<WireTrimmedSurface>(plate(), options);
  for (const TrimLoop& loop : loops)
    loop.isOuter ? surface->addOuterLoop(loop) : surface->addInnerLoop(loop);
  return surface;
}

}  // namespace morvel_test
