#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "morvel/fitting/basis_derivative_evaluator.h"
#include "morvel/fitting/surface_constraint_set.h"
#include "morvel/fitting/surface_engine3_options.h"
#include "morvel/fitting/surface_engine3_parameters.h"
#include "morvel/foundation/export.h"
#include "morvel/surfaces/bspline_surface.h"

namespace trova::geometry {

/// Fits a tensor-product B-spline surface to points under constraints: near approximation points,
/// exactly through interpolation points, with given first derivatives at G1 constraints. The
/// conditions for a minimum under hard constraints are one saddle-point system with Lagrange
/// multipliers; without any they are normal equations.
///
/// Everything the engine says about its surface (evaluation, deviations, violations) is on the
/// knots that the system was solved with, which run over [0, 1] x [0, 1].
class MORVEL_API SurfaceConstrainedFittingEngine {
 public:
  SurfaceConstrainedFittingEngine() = default;
  explicit SurfaceConstrainedFittingEngine(std::vector<Point3D> points);

  /// The points become approximation points of weight 1, with parameters by the method of the
  /// options, beside what the constraints hold. No points are needed where the constraints hold at
  /// least 4.
  SurfaceEngine3Result create_constrained_surface(const std::vector<Point3D>& points,
                                                  const SurfaceConstraintSet& constraints,
                                                  const SurfaceEngine3Options& options = {});
  // The points are a square grid, row by row: their parameters are those of
  // `compute_square_lattice_parameters`, clamped to [0, 1].
  SurfaceEngine3Result fit_points_only(const std::vector<Point3D>& points,
                                       const SurfaceEngine3Options& options = {});
  /// Where counts are automatic the control grid grows until it can hold the points.
  SurfaceEngine3Result interpolate_points_only(const std::vector<Point3D>& points,
                                               const SurfaceEngine3Options& options = {});
  /// Each of the two lists is a grid of its own.
  SurfaceEngine3Result fit_with_interpolation(const std::vector<Point3D>& fit_points,
                                              const std::vector<Point3D>& interpolation_points,
                                              const SurfaceEngine3Options& options = {});
  /// The surface alone of the two above, with other options at their defaults; null on failure.
  static std::shared_ptr<BSplineSurface> fit_surface_points(const std::vector<Point3D>& points,
                                                            int degree_u = 3, int degree_v = 3);
  static std::shared_ptr<BSplineSurface> interpolate_surface_points(
      const std::vector<Point3D>& points, int degree_u = 3, int degree_v = 3);

  /// Fits what the engine holds.
  SurfaceEngine3Result fit();
  const std::vector<Point3D>& points() const { return points_; }
  SurfaceConstraintSet& constraints() { return constraints_; }
  const SurfaceConstraintSet& constraints() const { return constraints_; }
  SurfaceEngine3Options& options() { return options_; }
  const SurfaceEngine3Options& options() const { return options_; }
  /// Of the last fit.
  const SurfaceEngine3Result& result() const { return result_; }
  /// Points and active point constraints.
  int get_point_count() const;

  /// All throw std::logic_error "No surface was fitted" without a surface. Parameters are clamped.
  Point3D evaluate_surface(double u, double v) const;
  /// Unit; (0, 0, 1) where there is none.
  Vector3D evaluate_surface_normal(double u, double v) const;
  /// Up to the second order.
  SurfaceEvaluation evaluate_surface_derivatives(double u, double v) const;

  /// Every G1 constraint is valid by itself, no two contradict each other at one place, and, once
  /// knots are known, the control grid has the freedom for all hard constraints. `messages`, if
  /// given, gets what is wrong.
  bool validate_g1_constraint_compatibility(std::vector<std::string>* messages = nullptr) const;

  // Of the fitted surface; 0 (a score of 1) where there is nothing to measure.
  double compute_max_deviation() const;
  double compute_rms_deviation() const;
  /// One number for each constraint but the approximation points: active interpolation points
  /// (distance), tangents and G1 constraints (the length of the largest difference of derivatives),
  /// normals (sine of the angle), curvatures (difference of the mean curvatures without sign).
  std::vector<double> compute_constraint_violations() const;
  /// The mean over these of min(1, constraint tolerance / violation).
  double compute_constraint_satisfaction_score() const;
  double compute_point_distance(const Point3D& point, double u, double v) const;

  // Parameters for the engine's points. @throws std::invalid_argument where there are none
  SurfaceParameters compute_uniform_parameterization() const;
  SurfaceParameters compute_chord_length_parameterization() const;
  SurfaceParameters compute_centripetal_parameterization() const;
  SurfaceParameters compute_pca_parameterization() const;
  SurfaceParameters compute_least_squares_plane_parameterization() const;
  /// By the method of the options.
  SurfaceParameters compute_parameterization() const;
  /// What UNIVERSAL stands for with the engine's points.
  SurfaceEngine3ParameterizationMethod select_optimal_parameterization() const;
  /// Where a point lies among the engine's points: by the plane of the projection, or, for a grid,
  /// the parameters of the nearest point. In [0, 1]. @throws std::invalid_argument where the points
  /// have no parameters
  std::pair<double, double> project_point_to_parameter_space(const Point3D& point) const;
  /// Many at once: the projection is made once.
  SurfaceParameters project_points_to_parameter_space(const std::vector<Point3D>& points) const;
  /// A line "x y z u v" for each of the engine's points. False where the file cannot be written or
  /// there are no parameters.
  bool output_parameterization_to_file(const std::string& path) const;

 private:
  struct System;

  SurfaceEngine3Result run(std::vector<Point3D> points, SurfaceConstraintSet constraints,
                           const SurfaceEngine3Options& options);
  bool fail(std::string text);
  bool runSteps();

  bool validate_inputs();
  bool initialize_g1_constraint_processor();
  bool setup_parameterization();
  bool setup_degrees();
  bool setup_knot_vectors();
  bool setup_control_point_grid();
  bool build_constraint_system(System& system);
  bool build_enhanced_constraint_system(System& system);
  bool solve_constrained_system(System& system);
  bool assess_solution_quality();

  bool buildRows(System& system, bool withG1);
  bool hasG1() const;
  int hardRowCount() const;
  bool isAffordable() const;
  int automaticCount() const;
  SurfaceParameters parametersBy(SurfaceEngine3ParameterizationMethod method) const;
  bool makeSurface(const Eigen::MatrixXd& controlPoints);
  const BSplineSurface& surface() const;
  struct Deviations {
    double largest = 0.0;
    double rms = 0.0;
  };
  Deviations measuredDeviations() const;

  std::vector<Point3D> points_;
  SurfaceConstraintSet constraints_;
  SurfaceEngine3Options options_;
  SurfaceParameters parameters_;  // of points_
  std::shared_ptr<const BasisDerivativeEvaluator> basis_;
  SurfaceEngine3Result result_;
};

}  // namespace trova::geometry
