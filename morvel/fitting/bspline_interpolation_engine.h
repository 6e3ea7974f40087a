#pragma once

#include <memory>
#include <string>
#include <vector>

#include "morvel/fitting/geometric_core.h"
#include "morvel/fitting/geometric_engine.h"

namespace trova::geometry {

/// A B-spline curve through all points of a sequence, on averaged knots (`globalInterpolation`).
class MORVEL_API BSplineInterpolationEngine : public GeometricEngine {
 public:
  struct MORVEL_API InterpolationOptions {
    int degree = -1;  ///< below 1: 3, or less where there are fewer than 4 points
    /// Checked where there is one; the curve's own knots always come from the parameters.
    std::vector<double> knot_vector;
    int parameterization = int(GeometricCore::ParameterizationMethod::CHORD_LENGTH);
    bool reserved_flag = false;        ///< not read
    double tolerance = 1e-6;           ///< model units; a point further from the curve is reported
    bool second_reserved_flag = true;  ///< not read
  };

  struct MORVEL_API InterpolationResult {
    std::unique_ptr<BSplineCurve> curve;  ///< null unless `success`
    double max_error = 0.0;               ///< distance at equal parameters, model units
    double rms_error = 0.0;
    int degree = 0;
    int num_control_points = 0;
    bool success = false;
    std::string error_message;
  };

  explicit BSplineInterpolationEngine(std::vector<Point3D> points);
  BSplineInterpolationEngine(std::vector<Point3D> points, InterpolationOptions options);

  /// Null where a step fails.
  static std::unique_ptr<BSplineCurve> interpolate_points(const std::vector<Point3D>& points,
                                                          int degree = -1);
  static InterpolationResult interpolate_points_detailed(const std::vector<Point3D>& points,
                                                         const InterpolationOptions& options);
  static InterpolationResult interpolate_points_detailed(const std::vector<Point3D>& points);

  InterpolationResult interpolate_with_detailed_info();
  std::unique_ptr<BSplineCurve> create_geometry() override;
  bool validate_inputs() override;

 private:
  bool setup_degree_for_interpolation();
  bool call_global_interpolation();
  void compute_interpolation_error(InterpolationResult& result) const;
  int requested_degree() const;
  std::vector<double> chosen_parameters() const;

  InterpolationOptions options_;
  int degree_ = 0;
  std::vector<double> parameters_;
  std::unique_ptr<BSplineCurve> curve_;
};

}  // namespace trova::geometry
