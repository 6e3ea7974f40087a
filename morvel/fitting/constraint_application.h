#pragma once

#include <Eigen/Core>
#include <string>
#include <vector>

#include "morvel/fitting/g1_constraint.h"
#include "morvel/foundation/export.h"
#include "morvel/surfaces/bspline_surface.h"

// Makes an existing surface meet another one: in position and tangent plane (G1), and in curvature
// (G2), at chosen parameters, by moving those of its control points that a mask lets move.

namespace trova::geometry {

/// What kind of surface is to be adjusted; it decides which control points may move.
enum class AdjustedSurfaceType { CoonsPatch = 0, GordonSurface = 1, NSidedPatch = 2, BSpline = 3 };

/// By contract a control point is counted as row * 10 + column on a fixed grid of 10 x 10, whatever
/// the surface's own: row is its index in u, column in v. Entries that the surface does not have
/// are passed over where a mask is applied.
struct MORVEL_API MaskEntry {
  int index = 0;
  double weight = 0.0;  ///< how readily it moves, above 0; 0 does not
};

/// Rows 1..8 x columns 1..8 of weight 0.8; rows 1, 2, 7, 8 of 0.3; rows and columns 2..7 of 0.6;
/// or, for any other type, all of weight 0.9. At most `capacity` entries. Prints what it does.
MORVEL_API std::vector<MaskEntry> constraintMask(int surface_type, std::size_t capacity);

/// What one place of the surface shall be like.
struct MORVEL_API JoinConstraint {
  double u = 0.0;  ///< in [0, 1], of the surface that is adjusted
  double v = 0.0;
  Point3D position;
  Vector3D normal;  ///< unit, of either sign
  /// a^T K b is the second fundamental form of tangent vectors a, b; 1 / model units.
  Eigen::Matrix3d curvature = Eigen::Matrix3d::Zero();
};

/// As another surface is at (u, v).
/// @throws std::invalid_argument where that surface has no tangent plane there, or is not finite
MORVEL_API JoinConstraint joinConstraintAt(const Surface& other, double otherU, double otherV,
                                           double u, double v);

/// Largest over all constraints.
struct MORVEL_API JoinErrors {
  double position = 0.0;   ///< model units
  double angle = 0.0;      ///< between tangent planes, radians
  double curvature = 0.0;  ///< largest difference of normal curvatures, 1 / model units
};

struct MORVEL_API JoinReport {
  JoinErrors before;
  JoinErrors after;
  int satisfied = 0;  ///< constraints within the tolerances below
};

inline constexpr double kJoinPositionTolerance = 1e-6;   // model units
inline constexpr double kJoinAngleTolerance = 1e-6;      // radians
inline constexpr double kJoinCurvatureTolerance = 0.01;  // 1 / model units

/// Moves control points, each in proportion to its weight, as little as possible: first so that
/// positions meet the constraints and the tangents lie in their planes; then, for level 2, the
/// curvature. By contract a curvature error above 0.01 is corrected by the error over 10 at a time,
/// until it is no longer above, or the corrections no longer help. Along a side with n control
/// points a surface can meet about n / 2 places at level 1 and n / 3 at level 2.
///
/// Where the mask leaves too little freedom, what can be met is met in the least-squares sense. The
/// surface is on its ordinary evaluation, over clamped uniform knots. Changed only on success.
/// @param level  1 or 2
/// @param mask   null: every control point may move, of weight 1
/// @throws std::invalid_argument for another level, a surface that is not valid, no constraints or
///         more than 200, values that are not finite; std::runtime_error where no finite
///         adjustment is found
MORVEL_API JoinReport applyJoinConstraints(BSplineSurface& surface,
                                           const std::vector<JoinConstraint>& constraints,
                                           int level, const std::vector<MaskEntry>* mask);

/// What is left to meet, without changing anything; `satisfied` counts as above.
MORVEL_API JoinReport measureJoin(const BSplineSurface& surface,
                                  const std::vector<JoinConstraint>& constraints, int level);

/// A place on the side of one surface and where it lies on the side of another.
struct MORVEL_API SidePair {
  double otherU = 0.0;
  double otherV = 0.0;
  double u = 0.0;
  double v = 0.0;
  bool runsAgainst = false;  ///< the two sides run opposite ways
};

/// `samples` evenly spaced pairs, ends included, along a side of each surface. They run the way in
/// which the ends lie nearer to each other.
/// @throws std::invalid_argument for fewer than 2 samples
MORVEL_API std::vector<SidePair> pairSides(const Surface& other, SurfaceSide otherSide,
                                           const Surface& surface, SurfaceSide side, int samples);

/// What a surface must satisfy along `side` to continue `other` across `otherSide` with the same
/// first derivatives: along the side, and from the one surface into the other across it. Positions
/// are those of `other`. @throws as pairSides; for values that are not finite
MORVEL_API std::vector<G1Constraint> boundaryG1Constraints(const Surface& other,
                                                           SurfaceSide otherSide,
                                                           const Surface& surface, SurfaceSide side,
                                                           int samples);

}  // namespace trova::geometry
