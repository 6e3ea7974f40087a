#include "morvel/fitting/surface_engine1.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <optional>
#include <stdexcept>
#include <tuple>

#include "morvel/fitting/internal/deviation.h"
#include "morvel/fitting/internal/stopwatch.h"
#include "morvel/fitting/internal/surface_normal_solver.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using foundation::nurbs::SplineBasis;
using foundation::progress::Stage;
using Method = SurfaceParameterizationMethod;

constexpr int kLeastPoints = 4;
constexpr int kMostDegree = 22;
constexpr int kDefaultDegree = 3;
constexpr int kLeastFreedom = 4;
constexpr double kMillisecondsPerSecond = 1000.0;
constexpr std::size_t kDeviationBlock = 1024;

// Where the steps of a fit end, of its time for many points.
constexpr double kUntilProjected = 0.2;
constexpr double kUntilAssembled = 0.5;
constexpr double kUntilSolved = 0.85;

template <class... Parts>
void say(const Parts&... parts) {
  status::progress(status::Symbol::None, parts...);
}

void reportFailure(const std::string& text) {
  status::line(status::Level::Error, status::Stream::Output, status::Symbol::Failure, text);
}

int correctedDegree(int degree) {
  return degree >= 1 && degree <= kMostDegree ? degree : kDefaultDegree;
}

double milliseconds(const internal::Stopwatch& clock) {
  return clock.elapsed() * kMillisecondsPerSecond;
}

}  // namespace

SurfaceEngine1::SurfaceEngine1(std::vector<Point3D> points)
    : SurfaceEngine1(std::move(points), SurfaceEngine1Options{}) {}

SurfaceEngine1::SurfaceEngine1(std::vector<Point3D> points, int degree_u, int degree_v)
    : SurfaceEngine1(std::move(points), SurfaceEngine1Options{}) {
  options_.degree_u = degree_u;
  options_.degree_v = degree_v;
}

SurfaceEngine1::SurfaceEngine1(std::vector<Point3D> points, SurfaceEngine1Options options)
    : points_(std::move(points)), options_(std::move(options)) {}

bool SurfaceEngine1::failInitialisation(const char* message) {
  validation_message_ = message;
  reportFailure(validation_message_);
  return false;
}

bool SurfaceEngine1::initialize() {
  is_initialized_ = false;
  Stage stage("projecting points");
  if (!check_points()) return failInitialisation("Point validation failed");
  if (!validate_and_correct_degrees()) return failInitialisation("Degree validation failed");
  if (!compute_surface_parameterization())
    return failInitialisation("Failed to compute surface parameterization");
  stage.finish();
  validation_message_ = "Initialization completed successfully";
  is_initialized_ = true;
  return true;
}

bool SurfaceEngine1::check_points() {
  if (points_.size() < std::size_t(kLeastPoints)) return false;
  Eigen::Vector3d lower = points_.front().eigen();
  Eigen::Vector3d upper = lower;
  double notANumber = 0.0;  // 0 times any finite number; NaN once one was none
  for (const Point3D& point : points_) {
    lower = lower.cwiseMin(point.eigen());
    upper = upper.cwiseMax(point.eigen());
    notANumber += 0.0 * point.x() + 0.0 * point.y() + 0.0 * point.z();
  }
  if (!(notANumber == 0.0)) return false;
  box_ = foundation::BoundingBox(Point3D(lower), Point3D(upper));
  return true;
}

bool SurfaceEngine1::validate_and_correct_degrees() {
  options_.degree_u = correctedDegree(options_.degree_u);
  options_.degree_v = correctedDegree(options_.degree_v);
  const int m = get_point_count();
  const int stability = std::max(options_.degree_u, options_.degree_v) + 1;
  const int freedom = std::max(int(std::sqrt(double(m)) / stability), kLeastFreedom);
  say("   Freedom (Conservative Estimate): ", freedom, " ");
  say("   Sample points per grid cell: ~", m / (std::int64_t(freedom) * freedom));
  int& countU = options_.control_points_u;
  int& countV = options_.control_points_v;
  if (countU != 0 && countV != 0) {
    say("   User-specified control points: (", countU, ", ", countV, ")");
  } else {
    countU = countV = freedom;
    say("   Auto-estimated control points: (", countU, ", ", countV, ") based on freedom");
  }
  countU = std::min(countU, freedom);
  countV = std::min(countV, freedom);
  const auto capped = [](int degree, int count) {
    return int(std::min<std::int64_t>({degree, std::int64_t(count) - 1, kMostDegree}));
  };
  options_.degree_u = capped(options_.degree_u, countU);
  options_.degree_v = capped(options_.degree_v, countV);
  return options_.degree_u >= 1 && options_.degree_v >= 1;
}

void SurfaceEngine1::auto_select_optimal_degrees() {
  const int stability = std::max(options_.degree_u, options_.degree_v) + 1;
  const double share = double(get_point_count()) / std::max(stability, 1);
  const int freedom = std::max(int(std::sqrt(share)), kLeastFreedom);
  const int degree = std::min({kDefaultDegree, freedom - 1, kMostDegree});
  options_.degree_u = options_.degree_v = degree;
  options_.control_points_u = options_.control_points_v = freedom;
}

int SurfaceEngine1::estimate_control_point_counts_freedom_over_degree() const {
  const double root = std::sqrt(double(get_point_count()));
  const int degree = std::max(options_.degree_u, options_.degree_v);
  const double factor = std::min(2.0 + (degree - 1) * 0.5, 4.0);
  // A degree far below 1 has no factor above 0.
  const double freedom = factor > 0 ? std::floor(root / factor) : root;
  return int(std::min(std::max(freedom, degree + 1.0), std::floor(root / 2)));
}

bool SurfaceEngine1::compute_surface_parameterization() {
  parameterise(Method::LEAST_SQUARES_PLANE);
  return parameterization_.is_valid();
}

void SurfaceEngine1::parameterise(Method method) {
  if (parameterized_by_ == method) return;  // the points never change
  switch (method) {
    case Method::PCA_PROJECTION:
      return adopt(compute_pca_projection(points_), method);
    case Method::CONVEX_HULL_PROJECTION:
      return adopt(compute_convex_hull_projection(points_), method);
    default:
      return adopt(compute_least_squares_plane_projection(points_), Method::LEAST_SQUARES_PLANE);
  }
}

void SurfaceEngine1::adopt(ParameterizationResult parameterization, Method method) {
  parameterization_ = std::move(parameterization);
  parameterized_by_ = method;
  const std::size_t count = parameterization_.parameters.size();
  options_.u_parameters.resize(count);
  options_.v_parameters.resize(count);
  for (std::size_t k = 0; k < count; ++k)
    std::tie(options_.u_parameters[k], options_.v_parameters[k]) = parameterization_.parameters[k];
}

SurfaceFittingResult SurfaceEngine1::fit_bspline_surface(int method) {
  switch (Method(method)) {
    case Method::UNIVERSAL:
      return fitWith(select_optimal_method());
    case Method::PCA_PROJECTION:
    case Method::CONVEX_HULL_PROJECTION:
      return fitWith(Method(method));
    default:
      return fitWith(Method::LEAST_SQUARES_PLANE);
  }
}

SurfaceFittingResult SurfaceEngine1::fitWith(Method method) {
  const internal::Stopwatch clock;
  SurfaceFittingResult result;
  surface_.reset();
  last_result_ = {};
  // Whatever happens inside becomes a text of the result, but for the host's cancelling.
  try {
    fitInto(result, method);
  } catch (const foundation::progress::Cancelled&) {
    surface_.reset();
    throw;
  } catch (const std::exception& fault) {
    result.warnings.emplace_back("Exception during surface fitting");
    result.warnings.emplace_back(fault.what());
  } catch (...) {
    result.warnings.emplace_back("Exception during surface fitting");
  }
  if (!result.is_valid) {
    result.surface.reset();
    surface_.reset();
    reportFailure(result.warnings.empty() ? "Surface fitting failed" : result.warnings.back());
  }
  result.total_time_ms = milliseconds(clock);
  last_result_ = result;
  return result;
}

void SurfaceEngine1::fitInto(SurfaceFittingResult& result, Method method) {
  result.data_points = get_point_count();
  Stage stage("fitting a surface");
  std::optional<Stage> projecting(std::in_place, "projecting points", 0.0, kUntilProjected);
  if (!is_initialized_ && !initialize()) {
    result.warnings.push_back(validation_message_);
    return;
  }
  const internal::Stopwatch clock;
  parameterise(method);
  projecting.reset();
  result.parameterization_time_ms = milliseconds(clock);
  result.method_used = parameterization_.method_name;
  result.warnings = parameterization_.warnings;
  if (!parameterization_.is_valid()) return;
  const internal::Stopwatch solveClock;
  const bool isSolved = solve_control_points(result);
  result.solve_time_ms = milliseconds(solveClock);
  if (!isSolved) {
    result.warnings.emplace_back("Control point solving failed");
    return;
  }
  measureDeviations(result);
  result.mathematical_tests_passed = std::isfinite(result.max_deviation) &&
                                     result.rms_deviation <= result.max_deviation * (1.0 + 1e-12);
  result.is_valid = std::isfinite(result.max_deviation);
  if (result.is_valid) stage.finish();
}

std::vector<double> SurfaceEngine1::generate_clamped_knot_vector(int control_points, int degree) {
  return foundation::nurbs::clampedUniformKnots(control_points, degree);
}

bool SurfaceEngine1::solve_control_points(SurfaceFittingResult& result) {
  const int countU = options_.control_points_u;
  const int countV = options_.control_points_v;
  const SplineBasis u(options_.degree_u, generate_clamped_knot_vector(countU, options_.degree_u));
  const SplineBasis v(options_.degree_v, generate_clamped_knot_vector(countV, options_.degree_v));
  internal::SurfaceNormalEquations equations(u, v);
  {
    const Stage stage("assembling", kUntilProjected, kUntilAssembled);
    equations.add(parameterization_.parameters, points_);
  }
  const Stage stage("solving", kUntilAssembled, kUntilSolved);
  const internal::NormalSolveOptions how{options_.condition_analysis, options_.condition_threshold,
                                         options_.force_regularization,
                                         options_.regularization_lambda};
  const auto solution = internal::solveNormalEquations(equations, how);
  if (!solution) return false;
  ControlNet net(countU, countV);
  for (int j = 0; j < countV; ++j)
    for (int i = 0; i < countU; ++i)
      net(i, j) = Point3D(
          Eigen::Vector3d(solution->points.row(std::ptrdiff_t(j) * countU + i).transpose()));
  surface_ = std::make_unique<BSplineSurface>(std::move(net), u.knots(), v.knots(),
                                              options_.degree_u, options_.degree_v);
  result.surface = std::make_shared<BSplineSurface>(*surface_);
  result.condition_number = solution->condition_number;
  result.warnings.insert(result.warnings.end(), solution->warnings.begin(),
                         solution->warnings.end());
  result.degree_u = options_.degree_u;
  result.degree_v = options_.degree_v;
  result.control_points_u = countU;
  result.control_points_v = countV;
  return true;
}

void SurfaceEngine1::measureDeviations(SurfaceFittingResult& result) const {
  internal::Deviation deviation;
  std::array<double, 2 * kDeviationBlock> uv;
  std::array<double, 3 * kDeviationBlock> on;
  Stage stage("measuring", kUntilSolved);
  for (std::size_t first = 0; first < points_.size(); first += kDeviationBlock) {
    stage.report(double(first), double(points_.size()));
    const std::size_t count = std::min(kDeviationBlock, points_.size() - first);
    for (std::size_t k = 0; k < count; ++k)
      std::tie(uv[2 * k], uv[2 * k + 1]) = parameterization_.parameters[first + k];
    surface_->evaluateBatch({uv.data(), 2 * count}, 0, on.data());
    for (std::size_t k = 0; k < count; ++k) {
      const Eigen::Vector3d point(on[3 * k], on[3 * k + 1], on[3 * k + 2]);
      deviation.addSquare((points_[first + k].eigen() - point).squaredNorm());
    }
  }
  result.max_deviation = deviation.maximum();
  result.rms_deviation = deviation.rms();
}

Point3D SurfaceEngine1::evaluate_surface(double u, double v) const {
  if (!surface_) throw std::runtime_error("No fitted surface");
  return surface_->evaluate(u, v);
}

}  // namespace trova::geometry
