#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "morvel/curves/curve2d.h"
#include "morvel/foundation/bounding_box.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/surfaces/curve_on_surface.h"

// The loops that say which part of a surface's parameter plane is material. Everything here is in
// parameters (u, v) unless it says "in space".

namespace trova::geometry::trimmed_surface {

using ::CircularCurve2D;
using foundation::BoundingBox;
using foundation::Point2D;
using foundation::Point3D;

/// Where a point of the parameter plane lies.
enum class PointClassification : std::int32_t { Inside = 0, Outside = 1, OnBoundary = 2 };

/// The values of `TrimLoop::type`.
inline constexpr std::int32_t kOuterBoundary = 0;
inline constexpr std::int32_t kInnerHole = 1;
inline constexpr std::int32_t kMaterialRegion = 2;

/// The distance at which a point counts as on a loop, and the gap allowed between two curves.
inline constexpr double kDefaultBoundaryTolerance = 1e-6;

/// One closed loop: curves on the surface, one behind the other, or a polygon, or both. A plain
/// record that surfaces copy.
struct MORVEL_API TrimLoop {
  /// May hold null, which `validate` refuses and everything else passes over.
  std::vector<std::shared_ptr<CurveOnSurface>> curves;
  std::int32_t type = kOuterBoundary;
  /// The role that a surface gave the loop; it may contradict `type`, and both are then asked.
  bool isOuter = true;
  /// `validate` also compares the end of the last curve with the start of the first.
  bool isClosed = false;
  double tolerance = kDefaultBoundaryTolerance;  ///< allowed gap in space between two curves
  std::string name;
  int id = 0;
  BoundingBox cachedBounds;
  bool boundsCacheValid = false;
  /// The last point connects back to the first, which is not repeated.
  std::vector<Point2D> polygon;

  bool isOuterBoundary() const { return type == kOuterBoundary; }
  bool isInnerHole() const { return type == kInnerHole; }

  /// There is a curve or a polygon; every curve is present and valid; each ends where the next one
  /// begins, and the last where the first does (in space, within `tolerance`).
  bool validate() const;
  /// With curves the union of their boxes in space, else that of the polygon at z = 0, else empty.
  /// The cached box where `updateBoundsCache` has filled it.
  BoundingBox getBoundingBox() const;
  void updateBoundsCache();
  /// By the sum of the angles under which the edges are seen from p; false for fewer than 3 points.
  bool isPointInPolygon(const Point2D& p) const;
  /// Shoelace; 0 for fewer than 3 points. The signed area is positive for counter-clockwise.
  double computePolygonArea() const;
  double computeSignedPolygonArea() const;
  /// Reverses the polygon where its direction is not the one of its role: counter-clockwise where
  /// `isOuter`, else clockwise. The curves stay as they are.
  void ensureCorrectOrientation();
  /// Whether two of 20 samples a curve come as near as `tolerance`. By contract polygons are not
  /// looked at (TopologyValidator does that).
  bool intersectsWithLoop(const TrimLoop& other, double tolerance) const;
  bool containsLoop(const TrimLoop& other, double tolerance) const;
  /// The polygon's perimeter; without a polygon that of the sampled curves. Both in (u, v).
  double computeLength() const;
};

}  // namespace trova::geometry::trimmed_surface
