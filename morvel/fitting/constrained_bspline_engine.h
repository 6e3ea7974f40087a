#pragma once

#include <Eigen/Core>
#include <memory>
#include <string>
#include <vector>

#include "morvel/fitting/geometric_core.h"
#include "morvel/fitting/geometric_engine.h"

namespace trova::geometry {

/// A B-spline curve that passes through some points (interpolation) and comes near others
/// (approximation): least squares under linear constraints, solved as one saddle-point system. The
/// normal equations are gathered from local support; up to kMaxUnknowns unknowns (control points
/// and interpolation constraints) are solved by LU.
///
/// By contract, in the system: the regularisation lambda I is subtracted from A^T A, and the weight
/// of an approximation constraint multiplies its right-hand side only. With weights of 1 and a
/// small lambda neither shows much; other weights draw the curve towards scaled points.
class MORVEL_API ConstrainedBSplineEngine : public GeometricEngine {
 public:
  struct MORVEL_API ConstrainedFittingOptions {
    int degree = 3;
    int num_control_points = 0;       ///< below 1: by the number of constraints
    std::vector<double> knot_vector;  ///< empty: clamped and uniform
    GeometricCore::ParameterizationMethod parameterization =
        GeometricCore::ParameterizationMethod::CHORD_LENGTH;  ///< not read
    double regularization_weight = 0.001;                     ///< lambda
    double tolerance = 1e-6;                                  ///< model units; not read by the fit
    /// All parameters come from the positions (`compute_smart_parameters`); else all constraints
    /// carry theirs.
    bool auto_assign_parameters = true;
    double reserved = 0.01;     ///< not read
    bool reserved_flag = true;  ///< not read
  };

  static constexpr int kInterpolation = 0;
  static constexpr int kApproximation = 1;
  static constexpr int kMaxUnknowns = 2000;

  /// One point. Constraints of any other type count as points and take no part.
  struct MORVEL_API PointConstraint {
    Point3D position;
    double parameter = -1.0;  ///< negative: not yet assigned
    int type = kInterpolation;
    double weight = 1.0;          ///< of an approximation constraint: above 0
    Point3D reserved_point;       ///< not read
    double reserved_value = 0.0;  ///< not read
  };

  struct MORVEL_API ConstrainedFittingResult {
    std::unique_ptr<BSplineCurve> curve;   ///< null unless `success`
    double max_interpolation_error = 0.0;  ///< distance at equal parameters, model units
    double max_approximation_error = 0.0;
    int degree = 0;
    int num_control_points = 0;
    bool success = false;
    std::string error_message;
    double smoothness_energy = 0.0;  ///< `compute_smoothness_energy`
  };

  explicit ConstrainedBSplineEngine(std::vector<PointConstraint> constraints);
  ConstrainedBSplineEngine(std::vector<PointConstraint> constraints,
                           ConstrainedFittingOptions options);

  /// Null where a step fails.
  static std::unique_ptr<BSplineCurve> fit_constrained(
      const std::vector<Point3D>& interpolation_points,
      const std::vector<Point3D>& approximation_points, int degree = 3);
  static ConstrainedFittingResult fit_constrained_detailed(
      const std::vector<Point3D>& interpolation_points,
      const std::vector<Point3D>& approximation_points, const ConstrainedFittingOptions& options);
  static ConstrainedFittingResult fit_constrained_detailed(
      const std::vector<PointConstraint>& constraints, const ConstrainedFittingOptions& options);
  /// Interpolation points first, with weight 1e6, then approximation points with weight 1.
  static std::vector<PointConstraint> create_mixed_constraints(
      const std::vector<Point3D>& interpolation_points,
      const std::vector<Point3D>& approximation_points);

  ConstrainedFittingResult fit_with_detailed_info();
  std::unique_ptr<BSplineCurve> create_geometry() override;

  bool validate_inputs() override;

  /// The distance of the curve at the constraint's parameter from its position.
  /// @throws std::logic_error before a fit has succeeded
  double compute_constraint_error(const PointConstraint& constraint) const;
  /// The sum of the squared second differences of the control points. Throws likewise.
  double compute_smoothness_energy() const;
  std::vector<double> compute_chord_length_parameters() const;
  /// By x where the points run along it and rise or fall; else by chord length. Prints why.
  std::vector<double> compute_smart_parameters() const;

  /// As given, with the parameters that a fit has assigned.
  const std::vector<PointConstraint>& constraints() const { return constraints_; }

 private:
  bool run_steps(const char*& step);
  bool categorize_constraints();
  bool setup_curve_parameters();
  bool setup_constraint_parameters();
  bool solve_constrained_system();
  void compute_quality_metrics(ConstrainedFittingResult& result) const;
  Eigen::MatrixXd build_approximation_matrix() const;  // a row of basis values per constraint
  Eigen::MatrixXd build_interpolation_matrix() const;
  Eigen::MatrixXd build_regularization_matrix() const;  // lambda I
  bool assign_parameters_to_constraints();
  bool check_options();
  bool check_weights();
  bool solve_augmented_system(const Eigen::MatrixXd& H, const Eigen::MatrixXd& f);
  void build_normal_equations(Eigen::MatrixXd& H, Eigen::MatrixXd& f) const;
  Eigen::MatrixXd basis_rows(const std::vector<int>& indices) const;
  std::vector<Point3D> positions_of(const std::vector<int>& indices) const;
  const BSplineCurve& solved_curve() const;
  double largest_error(const std::vector<int>& indices) const;

  std::vector<PointConstraint> constraints_;
  ConstrainedFittingOptions options_;
  std::vector<int> interpolation_;  // indices, ascending
  std::vector<int> approximation_;
  int num_control_points_ = 0;
  std::vector<double> knots_;
  std::unique_ptr<BSplineCurve> curve_;
};

}  // namespace trova::geometry
