#pragma once

#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/foundation/export.h"
#include "morvel/query/projection_records.h"
#include "morvel/query/surface_search.h"
#include "morvel/query/unified_projection_params.h"
#include "morvel/surfaces/surface.h"

// Projection of points and curves onto surfaces, in four ways, to curves on the surface and in
// space. All operations are static; searches are built per call and surface, and may be passed in.

namespace trova::projection {

using geometry::Curve;

class MORVEL_API UnifiedProjectionEngine {
 public:
  UnifiedProjectionEngine() = delete;

  /// Every curve onto every surface.
  /// @throws std::invalid_argument "Invalid projection parameters" where `validate` fails; for a
  ///         direction that is not finite
  static ProjectionReport project_geometry(std::span<const Curve* const> curves,
                                           std::span<const std::shared_ptr<const Surface>> surfaces,
                                           const UnifiedProjectionParams& params);

  /// The same as polylines of the projected samples, one per piece: no curve is made or measured.
  /// @throws as project_geometry
  static std::vector<std::vector<Point3D>> generate_preview(
      std::span<const Curve* const> curves,
      std::span<const std::shared_ptr<const Surface>> surfaces,
      const UnifiedProjectionParams& params);

  /// The unit vector along `direction`; (0, 0, -1) for "view" with a direction shorter than 1e-12.
  /// @throws std::invalid_argument for a direction that is not finite, and for a shorter one of
  ///         "custom_vector"
  static Vector3D resolve_projection_direction(const UnifiedProjectionParams& params);

  /// Newton's iteration on the foot-point equations, undamped and, by contract, not kept in the
  /// domain: at most 50 steps, ended by both gradients or both steps below `tolerance`, or by a
  /// determinant below 1e-12 (the start then stays as it is). With the true derivatives of rational
  /// surfaces.
  static std::pair<double, double> newton_raphson_surface_projection(const Point3D& point,
                                                                     const Surface& surface,
                                                                     double u, double v,
                                                                     double tolerance);

  /// Newton's iteration for a crossing with the line through `point`; the steps are halved where
  /// the surface does not come closer to the line, and end at the edges of the domain. Empty where
  /// no crossing is found within `tolerance` (model units) of the line.
  /// @param direction  unit
  static std::optional<ProjectedPoint> newton_directional_projection(
      const Point3D& point, const Vector3D& direction, const Surface& surface, double u, double v,
      double tolerance, int max_iterations);

  /// A start for the iterations: the foot of the best bounded cell.
  static std::pair<double, double> find_initial_uv_guess(const Point3D& point,
                                                         const Surface& surface);

  /// What a projection of one point gives, chosen by `multiple_intersections`; empty for a miss.
  /// @throws as resolve_projection_direction; std::invalid_argument for a point that is not finite
  static std::vector<ProjectedPoint> project_point(const Point3D& point,
                                                   const SurfaceSearch& search,
                                                   const UnifiedProjectionParams& params);

  /// Chooses among hits by ascending `along`: the nearest; all, nearest first; all as they are.
  static std::vector<ProjectedPoint> handle_multiple_intersections(std::vector<ProjectedPoint> hits,
                                                                   MultipleIntersections choice);

  /// The pieces of a curve's projection; none where it misses the surface.
  /// @throws as project_geometry; std::invalid_argument for a curve or surface that is not finite
  static std::vector<ProjectionResult> project_single_curve(
      const Curve& curve, const std::shared_ptr<const Surface>& surface,
      const UnifiedProjectionParams& params);

  /// The samples of those pieces. A piece ends where the curve leaves the surface, or where the
  /// foot jumps (also over the seam of a closed surface); its end is narrowed down to rounding.
  static std::vector<std::vector<SamplePoint>> sample_and_project_curve(
      const Curve& curve, const SurfaceSearch& search, const UnifiedProjectionParams& params);

  /// Gives every sample one tangent by parameter (that of the parabola through three neighbours).
  /// @param keepsCorners  where the samples turn by more than 30 degrees, a tangent for each side
  /// @param isClosed      the last sample continues at the first
  static void apply_tangent_continuity(std::vector<SamplePoint>& samples, bool keepsCorners,
                                       bool isClosed);

  /// The cubic through the samples with their tangents, over their parameters.
  /// @throws std::invalid_argument for fewer than two samples
  static std::unique_ptr<CurveOnSurface> create_curve_on_surface(
      const std::vector<SamplePoint>& samples, std::shared_ptr<const Surface> surface);

  /// A cubic in space along the curve on the surface: a least-squares fit with few points where
  /// that is within `tolerance`, else through all samples.
  /// @param deviation  written: measured at equal parameters, model units
  static std::unique_ptr<BSplineCurve> fit_3d_projected_curve(
      const CurveOnSurface& curve, const std::vector<SamplePoint>& samples, double tolerance,
      double& deviation);

  /// Measures a piece against true projections between its samples.
  static ProjectionQuality calculate_quality_metrics(const ProjectionResult& piece,
                                                     const Curve& curve,
                                                     const SurfaceSearch& search,
                                                     const UnifiedProjectionParams& params);

  /// Within the domain widened by `tolerance` (parameters).
  static bool is_within_surface_bounds(const Surface& surface, double u, double v,
                                       double tolerance = 0.0);

  /// The length of a curve by chords of `samples` equal parameter steps, at least 1.
  static double calculate_curve_length(const Curve& curve, int samples);

  static void clear_cache();
  static const ProjectionCache& cache();
};

/// The projection of a curve as one curve on the surface: null where it misses the surface, or
/// falls into several pieces.
/// @throws as UnifiedProjectionEngine::project_single_curve
MORVEL_API std::unique_ptr<CurveOnSurface> projectCurve(
    const Curve& curve, const std::shared_ptr<const Surface>& surface,
    const UnifiedProjectionParams& params = {});

}  // namespace trova::projection
