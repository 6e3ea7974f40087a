#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "morvel/blend/blend_records.h"

// Surfaces at a distance from another, refitted as B-spline surfaces: the first stage of a
// rolling-ball blend. The spine itself is sought on the exact offsets; these are what a caller sees
// of them, and the place where a distance is found to be too large.

namespace trova::geometry::blend {

/// Samples of a surface, u outer.
struct MORVEL_API NormalSamples {
  int nU = 0;
  int nV = 0;
  std::vector<Point3D> points;
  std::vector<Vector3D> normals;  ///< unit; zero where the surface has none
  int without_normal = 0;
  int folded = 0;  ///< where the distance exceeds a radius of curvature
};

class MORVEL_API OffsetSurfaceGenerator {
 public:
  /// The signed distance at (u, v).
  using Distance = std::function<double(double u, double v)>;

  /// A bicubic surface (of lower degree below four samples) on clamped uniform knots through
  /// `resolution` x `resolution` points of the offset. Null where a sample has no normal or is not
  /// finite.
  /// @param resolution  at least 2
  static std::unique_ptr<BSplineSurface> createOffsetSurface(const Surface& surface,
                                                             double distance, int resolution);
  static std::unique_ptr<BSplineSurface> createOffsetSurface(const Surface& surface,
                                                             const Distance& distance,
                                                             int resolution);

  static NormalSamples sampleSurfaceWithNormals(const Surface& surface,
                                                const std::vector<double>& us,
                                                const std::vector<double>& vs,
                                                double distance = 0.0);

  /// The surface through points that belong to the parameters of `generateParameterGrid`.
  static std::unique_ptr<BSplineSurface> fitBSplineToOffsetPoints(
      const std::vector<Point3D>& points, int nU, int nV);

  /// The shares of a domain at which a direction is sampled: dense enough at the ends for the
  /// interpolation on uniform knots to be stable.
  static std::vector<double> generateParameterGrid(int count);
};

}  // namespace trova::geometry::blend
