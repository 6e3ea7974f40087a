#pragma once

#include <array>
#include <memory>
#include <vector>

#include "morvel/blend/blend_records.h"

// Where two surfaces meet: every branch, closed ones too, as ordered points on both. Starts come
// from the cells of both surfaces that meet (boxes of boxes), the branches from marching with
// Newton corrections (Patrikalakis and Maekawa, Shape Interrogation, chapter 5).

namespace trova::geometry::blend {

struct MORVEL_API IntersectionPoint {
  Point3D point;
  double u1 = 0.0, v1 = 0.0;
  double u2 = 0.0, v2 = 0.0;
  Vector3D tangent;  ///< unit, along the branch
};

/// How a branch ends.
enum class BranchEnd : int {
  Edge = 0,      ///< of either surface
  Tangency = 1,  ///< the surfaces become parallel
  Fold = 2,      ///< an offset surface turns over
  Stalled = 3,   ///< the limit of steps, or no step settles: the branch may go on
  Closed = 4
};
MORVEL_API const char* nameOf(BranchEnd end);

struct MORVEL_API IntersectionBranch {
  std::vector<IntersectionPoint> points;  ///< of a closed branch the last one repeats the first
  bool is_closed = false;
  BranchEnd start = BranchEnd::Edge;
  BranchEnd end = BranchEnd::Edge;

  double length() const;  ///< of the polyline
};

struct MORVEL_API SurfaceIntersection {
  std::vector<IntersectionBranch> branches;
  /// Places where the surfaces touch without crossing, or where a branch ends for that.
  std::vector<IntersectionPoint> tangencies;
  std::size_t meeting_cells = 0;  ///< pairs of cells in which branches were sought
  bool coincide = false;   ///< the surfaces lie on each other over an area; no branches are sought
  double residual = 0.0;   ///< largest distance of a point from either surface
  double deviation = 0.0;  ///< the same between the points, of the cubic through two neighbours
};

class MORVEL_API SurfaceIntersectionGenerator {
 public:
  /// Surfaces as they are evaluated; a rational one with its true derivatives. No branches for
  /// surfaces that are not valid or not finite.
  static SurfaceIntersection computeIntersection(const Surface& surface1, const Surface& surface2,
                                                 const SurfaceIntersectionConfig& config = {});

  /// Of the exact offsets at signed distances along the unit normals; parameters are those of the
  /// surfaces, points the centres of balls that touch both.
  static SurfaceIntersection computeOffsetIntersection(
      const Surface& surface1, double distance1, const Surface& surface2, double distance2,
      const SurfaceIntersectionConfig& config = {});

  /// A cubic along a branch on clamped uniform knots, evenly paced along its length, with as many
  /// points as keep it within `tolerance` (at most 1000 of them). Null for a branch of one point.
  /// @param fewest  points, at least 4
  static std::unique_ptr<BSplineCurve> fitBranch(const IntersectionBranch& branch, double tolerance,
                                                 int fewest = 16);
};

}  // namespace trova::geometry::blend
