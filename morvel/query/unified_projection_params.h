#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"

// What a projection is asked for, and the texts by which the interface asks.

namespace trova::projection {

/// Along which direction points move to the surface.
enum class ProjectionType : std::int32_t {
  View = 0,           ///< along `direction`, the line of sight
  SurfaceNormal = 1,  ///< to feet whose distance stands at right angles to the surface
  ClosestPoint = 2,
  CustomVector = 3,  ///< along `direction`
};

/// What is made of a projected curve.
enum class ProjectionResultType : std::int32_t { CurveOnSurface = 0, Curve3D = 1, Both = 2 };

/// How closely a projected curve is followed.
enum class ProjectionFitting : std::int32_t {
  Loose = 0,    ///< `sample_count` samples; the 3D curve within `fitting_tolerance`
  Tight = 1,    ///< the same samples; the 3D curve within `tolerance`
  Adaptive = 2  ///< samples are added until both curves are within `tolerance`
};

/// Which of several hits count.
enum class MultipleIntersections : std::int32_t {
  Nearest = 0,    ///< the one with the least distance
  All = 1,        ///< every one, the nearest first
  UserSelect = 2  ///< every one, in their order along the direction, for the caller to choose from
};

/// By contract the fields stand in this order.
struct MORVEL_API UnifiedProjectionParams {
  ProjectionType projection_type = ProjectionType::ClosestPoint;
  /// Of "custom_vector" and "view"; of any length.
  foundation::Point3D direction{0.0, 0.0, -1.0};
  ProjectionResultType result_type = ProjectionResultType::CurveOnSurface;
  ProjectionFitting fitting_method = ProjectionFitting::Loose;
  double tolerance = 0.001;  ///< model units
  /// Along a direction: hits behind the point do not count.
  bool forward_only = false;
  /// Of the pieces of one curve's projection, only the longest.
  bool longest_piece_only = false;
  MultipleIntersections multiple_intersections = MultipleIntersections::Nearest;
  /// One tangent at every sample, and where the ends of a closed projection meet; otherwise corners
  /// of the projected samples stay corners.
  bool tangent_continuity = false;
  std::int32_t sample_count = 50;
  double fitting_tolerance = 0.01;  ///< of the 3D curve of a loose fit, model units
  /// Steps of one iteration along a direction.
  std::int32_t max_iterations = 100;

  /// False for a tolerance that is not above 0, fewer than 5 samples, and for "custom_vector" with
  /// a direction shorter than 1e-12.
  bool validate() const;
};

namespace utils {

/// "view", "surface_normal", "closest_point", "custom_vector"; any other text is closest_point.
MORVEL_API ProjectionType string_to_projection_type(std::string_view text);
/// "closest_point" for an unknown value.
MORVEL_API std::string projection_type_to_string(ProjectionType type);
/// "curve_on_surface", "3d_curve", "both"; any other text is curve_on_surface.
MORVEL_API ProjectionResultType string_to_result_type(std::string_view text);
MORVEL_API std::string result_type_to_string(ProjectionResultType type);
/// "loose", "tight", "adaptive"; any other text is loose.
MORVEL_API ProjectionFitting string_to_fitting_method(std::string_view text);
MORVEL_API std::string fitting_method_to_string(ProjectionFitting method);
/// "nearest", "all", "user_select"; any other text leaves the default.
MORVEL_API MultipleIntersections string_to_multiple_intersections(
    std::string_view text, MultipleIntersections otherwise = MultipleIntersections::Nearest);

}  // namespace utils

}  // namespace trova::projection
