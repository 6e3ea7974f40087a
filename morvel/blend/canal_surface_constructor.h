#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "morvel/blend/ball_path.h"
#include "morvel/blend/blend_records.h"

// Cross-sections of the ball between its contacts, and the surface through them: the fourth stage
// of a rolling-ball blend.

namespace trova::geometry::blend {

/// A canal surface, or why there is none.
struct MORVEL_API CanalResult {
  std::unique_ptr<BSplineSurface> surface;
  double deviation = 0.0;  ///< from exact sections between those interpolated, model units
  std::string error;
};

class MORVEL_API CanalSurfaceConstructor {
 public:
  /// Through exact sections. Sections are added along the spine until those between are met within
  /// the position tolerance (at most 1000).
  ///
  /// Without `interpolate` SurfaceEngine1 fits the points of the sections, on parameters of its own
  /// (those of their plane); a surface further from them than ten tolerances is refused.
  static CanalResult constructCanalSurface(const BallPath& path, const CanalSurfaceConfig& config);

  /// Through given triplets of centre and contacts, spread by the distances of the centres; between
  /// them splines. For fewer than two triplets, or neighbours that coincide, an error.
  /// @param radii  one for all, or one a triplet: the distances of the contacts from the centres
  ///               are brought to them
  static CanalResult constructFromTriplets(std::span<const Point3D> centres,
                                           std::span<const Point3D> contacts1,
                                           std::span<const Point3D> contacts2,
                                           std::span<const double> radii,
                                           const CanalSurfaceConfig& config);

  /// Points at `shares` of the angle from contact 1 to contact 2 on the sphere about the centre, at
  /// equal angles of the circle through both contacts in the plane that contains the centre. Empty
  /// where the contacts lie opposite each other or in one direction.
  static std::vector<Point3D> generateCircularCrossSection(const BallStation& station,
                                                           std::span<const double> shares,
                                                           bool shorterArc = true);

  /// The arc in the plane at right angles to the path through the contacts, which need not contain
  /// the centre: the section of balls whose radius changes (Monge's canal surface).
  static std::vector<Point3D> generateArcCrossSection(const BallStation& station,
                                                      std::span<const double> shares);

  /// A cubic Bezier arc with the tangent directions of the ball at both contacts, of the handle
  /// length that is best for a circle.
  static std::vector<Point3D> generateConstrainedBSplineCrossSection(
      const BallStation& station, std::span<const double> shares);
};

}  // namespace trova::geometry::blend
