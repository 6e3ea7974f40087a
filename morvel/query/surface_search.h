#pragma once

#include <memory>
#include <span>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/query/projection_records.h"
#include "morvel/surfaces/surface.h"

// The global searches behind all projections: closest points, feet at right angles, crossings with
// a line. A search cuts the surface into nearly flat cells, each in a tight box, once; each query
// then looks only at the cells that its bounds leave. Build one per surface for many points.

namespace trova::projection {

using foundation::Vector3D;
using geometry::Surface;

inline constexpr int kLineIterations = 100;

/// Spline and Bezier surfaces with positive weights are bounded by the control points of their
/// pieces (of the surface as evaluated), so that the bounds are certain. Other surfaces are bounded
/// by samples with a margin: sure where the samples resolve the bends.
///
/// Holds a view of the surface, which must outlive the search and not change meanwhile.
class MORVEL_API SurfaceSearch {
 public:
  explicit SurfaceSearch(const Surface& surface);
  SurfaceSearch(const SurfaceSearch&) = delete;
  SurfaceSearch& operator=(const SurfaceSearch&) = delete;
  ~SurfaceSearch();

  /// The closest point of the closed domain. The distance is infinite, and `converged` false, for a
  /// point or a surface that is not finite. No allocation per point once warmed up.
  ProjectedPoint closest(const Point3D& point) const;

  /// The same for points x y z in turn; each output may be empty.
  /// @param uv         2 doubles a point
  /// @param points     3 doubles a point, on the surface
  /// @param distances  1 double a point
  /// @throws std::runtime_error where a result is not finite; some results are written then
  void closestBatch(std::span<const double> xyz, std::span<double> uv, std::span<double> points,
                    std::span<double> distances) const;

  /// The same for a point next to one whose foot is known: where both feet are equally close, the
  /// one that a descent from (u, v) reaches, so that feet of neighbouring points follow each other.
  ProjectedPoint closestFrom(const Point3D& point, double u, double v) const;

  /// Feet where the distance stands at right angles to the surface (the closest such among them),
  /// the nearest first; none where the nearest parts are edges.
  std::vector<ProjectedPoint> normalFeet(const Point3D& point) const;

  /// Every crossing with the line through `point`, by ascending `along`; points closer together
  /// than 1e-7 of the surface's size count as one.
  /// @param direction      unit
  /// @param maxIterations  steps from one start
  std::vector<ProjectedPoint> crossings(const Point3D& point, const Vector3D& direction,
                                        int maxIterations = kLineIterations) const;

  const Surface& surface() const;
  bool isFinite() const;  ///< the surface has no point that is not finite, as far as was seen
  double size() const;    ///< diagonal of the surface's box, model units

 private:
  class Impl;
  std::unique_ptr<const Impl> impl_;
};

}  // namespace trova::projection
