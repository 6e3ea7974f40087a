#pragma once

#include <span>
#include <string>
#include <utility>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"

// Where unordered points lie in the (u, v) square of a surface that is to be fitted to them. The
// projections are all onto a plane; they differ in its axes and in what is mapped onto [0, 1].
//
// Shared rules: the axes are oriented so that their largest component is positive, u along the axis
// of the greater spread; every parameter lies in [0, 1]; points that are not finite, or too few,
// give a result that is not valid, with the reason among the warnings.

namespace trova::geometry {

using foundation::Point2D;
using foundation::Point3D;

/// How a surface fit finds the parameters of its points. Code 1 has no branch of its own: any code
/// but 2, 3, 4 and 5 is fitted as LEAST_SQUARES_PLANE.
enum class SurfaceParameterizationMethod : int {
  UNIFORM = 0,
  LEAST_SQUARES_PLANE = 2,
  CONVEX_HULL_PROJECTION = 3,
  PCA_PROJECTION = 4,
  UNIVERSAL = 5
};

/// A projection is of use where its quality exceeds this.
inline constexpr double kLeastProjectionQuality = 0.1;

struct MORVEL_API ParameterizationResult {
  std::vector<std::pair<double, double>> parameters;  ///< (u, v) of each point; empty on failure
  std::string method_name;
  std::vector<std::string> warnings;  ///< a reason for failure stands here too
  double quality = 0.0;               ///< in-plane share of the variance, in [0, 1]

  bool is_valid() const { return quality > kLeastProjectionQuality; }
};

/// Onto the plane through the centroid that is normal to the axis of least spread; each coordinate
/// is mapped from its own range onto [0, 1]. A range not above 1e-12 fails.
MORVEL_API ParameterizationResult
compute_least_squares_plane_projection(std::span<const Point3D> points);

/// Onto the two principal axes. At least 4 points; says in warnings where the spread is unfit:
/// nearly all along one axis, or much of it across the plane, or a long narrow shape.
MORVEL_API ParameterizationResult compute_pca_projection(std::span<const Point3D> points);

/// Onto the least-squares plane, there in the axes of the smallest rectangle about the points'
/// convex hull (one of its sides lies on a side of the hull: Freeman and Shapira, Determining the
/// minimum-area encasing rectangle for an arbitrary closed curve, 1975); the rectangle becomes the
/// unit square, u along its longer side.
MORVEL_API ParameterizationResult compute_convex_hull_projection(std::span<const Point3D> points);

/// The corners of the convex hull, counter-clockwise from the leftmost, without points on its sides
/// (Andrew, Another efficient algorithm for convex hulls in two dimensions, 1979). Fewer than three
/// where the points lie on a line. Points that are not finite are not allowed.
MORVEL_API std::vector<Point2D> convexHull(std::vector<Point2D> points);

}  // namespace trova::geometry
