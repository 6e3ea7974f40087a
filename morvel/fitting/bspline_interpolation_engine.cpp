#include "morvel/fitting/bspline_interpolation_engine.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "morvel/fitting/global_interpolation.h"
#include "morvel/fitting/internal/curve_points.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using enum GeometricCore::ParameterizationMethod;
using status::join;

constexpr int kUsualDegree = 3;
constexpr double kUntilSolved = 0.7;  // of the time, for many points

}  // namespace

BSplineInterpolationEngine::BSplineInterpolationEngine(std::vector<Point3D> points)
    : BSplineInterpolationEngine(std::move(points), InterpolationOptions()) {}

BSplineInterpolationEngine::BSplineInterpolationEngine(std::vector<Point3D> points,
                                                       InterpolationOptions options)
    : GeometricEngine(std::move(points)), options_(std::move(options)) {}

std::unique_ptr<BSplineCurve> BSplineInterpolationEngine::interpolate_points(
    const std::vector<Point3D>& points, int degree) {
  InterpolationOptions options;
  options.degree = degree;
  return interpolate_points_detailed(points, options).curve;
}

BSplineInterpolationEngine::InterpolationResult
BSplineInterpolationEngine::interpolate_points_detailed(const std::vector<Point3D>& points,
                                                        const InterpolationOptions& options) {
  return BSplineInterpolationEngine(points, options).interpolate_with_detailed_info();
}

BSplineInterpolationEngine::InterpolationResult
BSplineInterpolationEngine::interpolate_points_detailed(const std::vector<Point3D>& points) {
  return interpolate_points_detailed(points, InterpolationOptions());
}

BSplineInterpolationEngine::InterpolationResult
BSplineInterpolationEngine::interpolate_with_detailed_info() {
  foundation::progress::Stage stage("interpolating");
  InterpolationResult result;
  const auto failedIn = [&](const char* step) {
    status::failure("ENGINE2: ", step, last_error());
    result.error_message = last_error();
    return std::move(result);
  };
  if (!validate_inputs()) return failedIn("Input validation failed: ");
  if (!setup_degree_for_interpolation()) return failedIn("Degree setup failed: ");
  if (!call_global_interpolation()) return failedIn("Interpolation failed: ");
  result.degree = degree_;
  result.num_control_points = curve_->getControlPointCount();
  {
    const foundation::progress::Stage step("measuring", kUntilSolved);
    compute_interpolation_error(result);
  }
  stage.finish();
  result.curve = std::move(curve_);
  result.success = true;
  return result;
}

std::unique_ptr<BSplineCurve> BSplineInterpolationEngine::create_geometry() {
  return interpolate_with_detailed_info().curve;
}

int BSplineInterpolationEngine::requested_degree() const {
  if (options_.degree > 0) return options_.degree;
  const int m = int(points().size());
  return m > kUsualDegree ? kUsualDegree : std::min(m - 1, 2);
}

bool BSplineInterpolationEngine::validate_inputs() {
  if (points().size() < 2) return set_error("At least 2 points required for curve interpolation");
  const int m = int(points().size()), p = requested_degree();
  if (m <= p)
    return set_error(
        join("Need at least ", std::int64_t(p) + 1, " points for degree ", p, " interpolation"));
  if (!internal::areFinite(points())) return set_error("Points must be finite");
  if (!options_.knot_vector.empty()) {
    const auto info = GeometricCore::validate_knot_vector(options_.knot_vector, m, p);
    if (!info.is_valid)
      return set_error("Invalid knot vector for interpolation: " + info.error_message);
  }
  if (auto text = internal::consecutiveDuplicates(points()))
    return set_error(*text + " - interpolation matrix would be singular");
  return true;
}

bool BSplineInterpolationEngine::setup_degree_for_interpolation() {
  const int m = int(points().size());
  degree_ = requested_degree();
  return (degree_ >= 1 && degree_ < m) ||
         set_error(join("Degree ", degree_, " too high for interpolation through ", m,
                        " points (max degree = ", m - 1, ")"));
}

std::vector<double> BSplineInterpolationEngine::chosen_parameters() const {
  const auto method = GeometricCore::ParameterizationMethod(options_.parameterization);
  return method == CHORD_LENGTH ? getChordParameterization(points())
                                : GeometricCore::parameterize_points(points(), method);
}

bool BSplineInterpolationEngine::call_global_interpolation() {
  const bool byChords = options_.parameterization == int(CHORD_LENGTH);
  foundation::progress::Stage stage("solving", 0.0, kUntilSolved);
  parameters_ = chosen_parameters();
  status::progress(status::Symbol::None, "   ", status::symbolText(status::Symbol::Chart),
                   "ENGINE2: Using ", byChords ? "chord length" : "alternative",
                   " parameterization");
  try {
    curve_ = globalInterpolation(points(), degree_, parameters_);
  } catch (const std::length_error& fault) {
    return set_error(fault.what());
  }
  if (!curve_) return set_error("Global interpolation function returned null curve");
  return curve_->isValid() || set_error("Generated interpolation curve failed validation");
}

void BSplineInterpolationEngine::compute_interpolation_error(InterpolationResult& result) const {
  internal::Deviation deviation;
  const double square = options_.tolerance * options_.tolerance;
  internal::forEachSquaredDistance(
      *curve_, parameters_, points(), [&](std::size_t i, double distance) {
        deviation.addSquare(distance);
        if (distance > square)
          status::line(status::Level::Warning, status::Stream::Output, status::Symbol::Warning,
                       "Point ", i, " error ", std::sqrt(distance), " exceeds tolerance ",
                       options_.tolerance);
      });
  result.max_error = deviation.maximum();
  result.rms_error = deviation.rms();
}

}  // namespace trova::geometry
