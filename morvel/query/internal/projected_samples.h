#pragma once

#include <optional>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/query/surface_search.h"
#include "morvel/query/unified_projection_params.h"

// From a curve to the samples of its projection's pieces.

namespace trova::projection::internal {

/// The hits of points, by the kind of projection.
class PointProjector {
 public:
  /// @throws as UnifiedProjectionEngine::resolve_projection_direction
  PointProjector(const SurfaceSearch& search, const UnifiedProjectionParams& params);

  /// @param neighbour  the hit of a point close by, or null
  std::vector<ProjectedPoint> hitsOf(const Point3D& point, const ProjectedPoint* neighbour) const;

  const SurfaceSearch& search() const { return search_; }

 private:
  std::vector<ProjectedPoint> feetOf(const Point3D& point, const ProjectedPoint& closest) const;
  std::vector<ProjectedPoint> crossingsOf(const Point3D& point) const;

  const SurfaceSearch& search_;
  const UnifiedProjectionParams& params_;
  std::optional<Vector3D> direction_;  // of the kinds along one
};

/// The pieces of a curve's projection, each of two samples or more.
/// @throws std::invalid_argument for a curve that is not finite
std::vector<std::vector<SamplePoint>> projectedPieces(const geometry::Curve& curve,
                                                      const PointProjector& projector,
                                                      const UnifiedProjectionParams& params);

/// The projection of the curve at t that belongs to a piece which runs near (u, v) there. Empty
/// where the piece has none.
std::optional<SamplePoint> sampleNear(const geometry::Curve& curve, const PointProjector& projector,
                                      double t, double u, double v);

}  // namespace trova::projection::internal
