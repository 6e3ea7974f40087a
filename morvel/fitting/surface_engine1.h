#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "morvel/fitting/surface_parameterization.h"
#include "morvel/foundation/bounding_box.h"
#include "morvel/surfaces/bspline_surface.h"

// Least-squares fit of a B-spline surface to points in no order: the points are projected onto a
// plane, which gives their parameters; the net is sized by their number; the normal equations are
// judged, regularised where they must be, and solved. Points on a grid are interpolated by
// SurfaceEngine2 instead.

namespace trova::geometry {

enum class SurfaceFittingMode : int { FAST = 0, SMART = 1, EXPERT = 2 };

struct MORVEL_API SurfaceEngine1Options {
  int fitting_mode = int(SurfaceFittingMode::SMART);
  int degree_u = 3;
  int degree_v = 3;
  int control_points_u = 0;  ///< 0: estimated from the number of points
  int control_points_v = 0;
  double fitting_tolerance = 1e-6;
  double condition_threshold = 1e12;  ///< regularise above this condition number
  int parameterization_method = int(SurfaceParameterizationMethod::UNIVERSAL);
  std::vector<double> u_parameters;  ///< filled when the points are parameterised
  std::vector<double> v_parameters;
  double scale = 1.0;               ///< not read
  bool uses_scale = true;           ///< not read
  bool condition_analysis = false;  ///< compute the condition number; it is reported as 1e6 without
  bool force_regularization = false;
  double regularization_lambda = 1e-6;  ///< times the largest singular value; at least 0
  bool advanced_parameterization = false;
  bool shape_analysis = false;
  bool boundary_analysis = false;
  bool adaptive = true;  ///< not read

  /// Rewrites the options as a mode wants them and says so on standard output. EXPERT keeps them;
  /// a mode that is none of the three is SMART, with a warning.
  void configure_from_fitting_mode(int mode);
};

struct MORVEL_API SurfaceFittingResult {
  std::shared_ptr<BSplineSurface> surface;  ///< the caller's own; null where the fit failed
  double max_deviation = 0.0;  ///< distance of a point to the surface at the point's parameters
  double rms_deviation = 0.0;
  double condition_number = 0.0;
  double total_time_ms = 0.0;
  double parameterization_time_ms = 0.0;
  double solve_time_ms = 0.0;
  int degree_u = 0;
  int degree_v = 0;
  bool is_valid = false;
  std::vector<std::string> warnings;  ///< where the fit failed, the reason too
  std::string method_used;
  bool mathematical_tests_passed = false;  ///< net and deviations are finite, rms <= maximum
  int control_points_u = 0;
  int control_points_v = 0;
  double u_scale = 1.0;
  double v_scale = 1.0;
  int data_points = 0;

  /// Writes the record to standard output.
  void print_summary() const;
};

class MORVEL_API SurfaceEngine1 {
 public:
  explicit SurfaceEngine1(std::vector<Point3D> points);
  SurfaceEngine1(std::vector<Point3D> points, int degree_u, int degree_v);
  SurfaceEngine1(std::vector<Point3D> points, SurfaceEngine1Options options);

  /// Checks the points, sizes the net and parameterises by the least-squares plane, whatever the
  /// options' method. The outcome is the validation message.
  bool initialize();

  /// Fits with a method (SurfaceParameterizationMethod). Initialises first where that is still to
  /// be done. The surface of an earlier fit is gone, also where this one fails.
  SurfaceFittingResult fit_bspline_surface(int method);
  SurfaceFittingResult fit_bspline_surface(SurfaceParameterizationMethod method) {
    return fit_bspline_surface(int(method));
  }

  /// At least 4 points, all finite.
  bool check_points();
  /// The degrees and counts that the number of points allows.
  bool validate_and_correct_degrees();
  /// By the least-squares plane.
  bool compute_surface_parameterization();

  /// The knots of either direction: clamped on [0, 1], evenly spaced inside; empty for a count or
  /// degree below 0.
  static std::vector<double> generate_clamped_knot_vector(int control_points, int degree);

  // Other sizing rules; `initialize` uses neither.
  /// Degrees up to 3 and counts from floor(sqrt(m / s)), s being the larger degree plus 1.
  void auto_select_optimal_degrees();
  /// The count for either direction when sqrt(m) is divided by a factor that grows with the degree.
  int estimate_control_point_counts_freedom_over_degree() const;

  /// The method for UNIVERSAL: LEAST_SQUARES_PLANE, CONVEX_HULL_PROJECTION or PCA_PROJECTION. Says
  /// on standard output what it was chosen by.
  SurfaceParameterizationMethod select_optimal_method() const;

  // What it goes by. Distances to nearest neighbours are taken among at most 1024 of the points,
  // evenly picked from their order.
  /// The distances to nearest neighbours span less than twice their mean.
  bool check_point_distribution_advanced() const;
  /// Some point lies further than the tolerance (model units) from the least-squares plane.
  bool check_non_coplanarity(double tolerance) const;
  /// The larger over the smaller of the two largest sides of the points' box; 100 where the smaller
  /// one is not above 1e-12.
  double compute_aspect_ratio() const;
  /// Standard deviation over mean of the distances to nearest neighbours; 10 where the mean is 0.
  double compute_point_density_variation() const;
  /// Points within 1/20 of the sides of the parameter square are candidates: at least 4 of them,
  /// and between 0.2 and 0.7 of all points.
  bool estimate_boundary_structure() const;

  /// @throws std::runtime_error "No fitted surface"
  Point3D evaluate_surface(double u, double v) const;
  /// Not owned; null before a fit. Valid until the next fit or the end of the engine.
  const BSplineSurface* getBsplineSurface() const { return surface_.get(); }
  bool has_surface() const { return surface_ != nullptr; }
  /// Initialised with success.
  bool is_valid() const { return is_initialized_; }

  int get_point_count() const { return int(points_.size()); }
  int get_degree_u() const { return options_.degree_u; }
  int get_degree_v() const { return options_.degree_v; }
  int get_control_count_u() const { return options_.control_points_u; }
  int get_control_count_v() const { return options_.control_points_v; }
  const std::vector<double>& get_u_parameters() const { return options_.u_parameters; }
  const std::vector<double>& get_v_parameters() const { return options_.v_parameters; }
  const std::vector<Point3D>& get_points() const { return points_; }
  const SurfaceEngine1Options& get_options() const { return options_; }
  const std::string& get_validation_message() const { return validation_message_; }
  /// Of the last fit.
  const SurfaceFittingResult& get_last_result() const { return last_result_; }

 private:
  bool failInitialisation(const char* message);
  SurfaceFittingResult fitWith(SurfaceParameterizationMethod method);
  void fitInto(SurfaceFittingResult& result, SurfaceParameterizationMethod method);
  void parameterise(SurfaceParameterizationMethod method);
  void adopt(ParameterizationResult parameterization, SurfaceParameterizationMethod method);
  bool solve_control_points(SurfaceFittingResult& result);
  std::vector<double> nearestNeighbourDistances() const;
  void measureDeviations(SurfaceFittingResult& result) const;

  std::vector<Point3D> points_;
  SurfaceEngine1Options options_;
  foundation::BoundingBox box_;
  ParameterizationResult parameterization_;
  SurfaceParameterizationMethod parameterized_by_ = SurfaceParameterizationMethod::UNIVERSAL;
  SurfaceFittingResult last_result_;
  std::string validation_message_;
  bool is_initialized_ = false;
  std::unique_ptr<BSplineSurface> surface_;  // holds the fitted net and knots
};

}  // namespace trova::geometry
