#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "morvel/fitting/geometric_core.h"
#include "morvel/fitting/geometric_engine.h"

namespace trova::geometry {

/// Least-squares approximation of a sequence of points by a B-spline curve, at parameters that are
/// chosen beforehand (Piegl and Tiller, The NURBS Book, section 9.4.1).
///
/// The normal equations are gathered from the degree + 1 functions that are not zero at a point, so
/// that the cost grows with the number of points alone. By contract: knots that are not given are
/// evenly spaced, whatever the parameters; a stretch of parameters without points may so leave
/// control points undetermined, and those come out as the decomposition leaves them.
class MORVEL_API BSplineFittingEngine : public GeometricEngine {
 public:
  struct MORVEL_API FittingOptions {
    std::int32_t degree = -1;         ///< below 1: `recommend_degree`
    std::vector<double> knot_vector;  ///< for parameters in [0, 1]; empty: clamped and uniform
    GeometricCore::ParameterizationMethod parameterization =
        GeometricCore::ParameterizationMethod::CHORD_LENGTH;
    std::int32_t reserved = 0;  ///< not read
    double tolerance = 1e-6;    ///< model units; not read by the fit
    /// The first and the last control point are the first and the last point. On clamped knots the
    /// curve then starts and ends there.
    bool end_point_constraint = false;
    bool reserved_flag = true;  ///< not read
  };

  struct MORVEL_API FittingResult {
    std::unique_ptr<BSplineCurve> curve;  ///< null unless `success`
    double max_error = 0.0;               ///< distance at equal parameters, model units
    int degree = 0;
    int num_control_points = 0;
    std::vector<double> knot_vector;
    std::vector<double> parameters;  ///< one for each point
    double rms_error = 0.0;          ///< model units
    bool success = false;
    std::string error_message;
    double elapsed_time = 0.0;  ///< seconds
    std::string warning;        ///< what was done to a system that does not determine the curve
  };

  explicit BSplineFittingEngine(std::vector<Point3D> points);
  BSplineFittingEngine(std::vector<Point3D> points, FittingOptions options);

  /// Null where a step fails.
  static std::unique_ptr<BSplineCurve> fit_points(const std::vector<Point3D>& points,
                                                  int degree = -1,
                                                  const std::vector<double>& knots = {});
  static FittingResult fit_points_detailed(const std::vector<Point3D>& points,
                                           const FittingOptions& options);
  static FittingResult fit_points_detailed(const std::vector<Point3D>& points);

  FittingResult fit_with_detailed_info();
  std::unique_ptr<BSplineCurve> create_geometry() override;
  bool validate_inputs() override;

 private:
  bool setup_parameterization();
  bool setup_degree();
  bool setup_knot_vector();
  bool generate_knot_vector();
  bool solve_fitting_system();
  bool solve_densely(const foundation::nurbs::SplineBasis& basis);
  bool solve_by_span(const foundation::nurbs::SplineBasis& basis);
  bool solve_square_system();
  bool make_curve();
  void compute_fitting_error(FittingResult& result) const;
  Eigen::MatrixXd build_basis_matrix(const foundation::nurbs::SplineBasis& basis) const;
  void apply_end_constraints(Eigen::MatrixXd& matrix, Eigen::MatrixXd& right) const;
  std::vector<double> constrained_parameters() const;

  FittingOptions options_;
  int degree_ = 0;
  int num_control_points_ = 0;
  std::vector<double> knots_;
  std::vector<double> parameters_;
  Eigen::MatrixXd controls_;  // n x 3
  std::unique_ptr<BSplineCurve> curve_;
  std::string warning_;
};

}  // namespace trova::geometry
