#include "morvel/fitting/constrained_bspline_engine.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <stdexcept>
#include <utility>

#include "morvel/fitting/internal/control_point_count.h"
#include "morvel/fitting/internal/curve_points.h"
#include "morvel/fitting/internal/near_duplicates.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using status::join;

constexpr double kInterpolationWeight = 1e6;
constexpr double kApproximationWeight = 1.0;
constexpr double kUntilSolved = 0.8;  // of the time

}  // namespace

ConstrainedBSplineEngine::ConstrainedBSplineEngine(std::vector<PointConstraint> constraints)
    : ConstrainedBSplineEngine(std::move(constraints), ConstrainedFittingOptions()) {}

ConstrainedBSplineEngine::ConstrainedBSplineEngine(std::vector<PointConstraint> constraints,
                                                   ConstrainedFittingOptions options)
    : GeometricEngine([&] {
        std::vector<Point3D> positions;
        positions.reserve(constraints.size());
        for (const PointConstraint& constraint : constraints)
          positions.push_back(constraint.position);
        return positions;
      }()),
      constraints_(std::move(constraints)),
      options_(std::move(options)) {}

std::unique_ptr<BSplineCurve> ConstrainedBSplineEngine::fit_constrained(
    const std::vector<Point3D>& interpolation_points,
    const std::vector<Point3D>& approximation_points, int degree) {
  ConstrainedFittingOptions options;
  options.degree = degree;
  return fit_constrained_detailed(interpolation_points, approximation_points, options).curve;
}

ConstrainedBSplineEngine::ConstrainedFittingResult
ConstrainedBSplineEngine::fit_constrained_detailed(const std::vector<Point3D>& interpolation_points,
                                                   const std::vector<Point3D>& approximation_points,
                                                   const ConstrainedFittingOptions& options) {
  return fit_constrained_detailed(
      create_mixed_constraints(interpolation_points, approximation_points), options);
}

ConstrainedBSplineEngine::ConstrainedFittingResult
ConstrainedBSplineEngine::fit_constrained_detailed(const std::vector<PointConstraint>& constraints,
                                                   const ConstrainedFittingOptions& options) {
  return ConstrainedBSplineEngine(constraints, options).fit_with_detailed_info();
}

std::vector<ConstrainedBSplineEngine::PointConstraint>
ConstrainedBSplineEngine::create_mixed_constraints(
    const std::vector<Point3D>& interpolation_points,
    const std::vector<Point3D>& approximation_points) {
  std::vector<PointConstraint> constraints;
  const auto append = [&](const std::vector<Point3D>& points, int type, double weight) {
    PointConstraint constraint;
    constraint.type = type;
    constraint.weight = weight;
    for (const Point3D& point : points) {
      constraint.position = point;
      constraints.push_back(constraint);
    }
  };
  append(interpolation_points, kInterpolation, kInterpolationWeight);
  append(approximation_points, kApproximation, kApproximationWeight);
  return constraints;
}

ConstrainedBSplineEngine::ConstrainedFittingResult
ConstrainedBSplineEngine::fit_with_detailed_info() {
  foundation::progress::Stage stage("fitting a constrained curve");
  ConstrainedFittingResult result;
  const char* step = "";
  try {
    result.success = run_steps(step);
    if (result.success) compute_quality_metrics(result);
  } catch (const foundation::progress::Cancelled&) {
    throw;
  } catch (const std::exception& fault) {
    step = "";
    result.success = set_error(join("Exception during constrained fitting: ", fault.what()));
  }
  result.degree = options_.degree;
  result.num_control_points = num_control_points_;
  if (result.success) {
    stage.finish();
    result.curve = std::make_unique<BSplineCurve>(*curve_);
  } else {
    result.error_message = last_error();
    status::failure("ENGINE3: ", step, last_error());
  }
  return result;
}

// `step` is what to print before the error.
bool ConstrainedBSplineEngine::run_steps(const char*& step) {
  step = "Input validation failed: ";
  if (!validate_inputs()) return false;
  step = "Constraint categorization failed: ";
  if (!categorize_constraints()) return false;
  step = "Curve parameter setup failed: ";
  if (!setup_curve_parameters()) return false;
  step = "Parameter assignment failed: ";
  if (!setup_constraint_parameters()) return false;
  step = "Constrained system solving failed: ";
  return solve_constrained_system();
}

std::unique_ptr<BSplineCurve> ConstrainedBSplineEngine::create_geometry() {
  return fit_with_detailed_info().curve;
}

bool ConstrainedBSplineEngine::validate_inputs() {
  if (constraints_.empty()) return set_error("No constraints provided");
  if (constraints_.size() < 2) return set_error("At least 2 constraint points required");
  const bool hasKnownType =
      std::any_of(constraints_.begin(), constraints_.end(), [](const PointConstraint& constraint) {
        return constraint.type == kInterpolation || constraint.type == kApproximation;
      });
  if (!hasKnownType) return set_error("No interpolation or approximation constraints found");
  if (!check_options() || !check_weights()) return false;
  if (!internal::areFinite(points())) return set_error("Constraint points must be finite");
  if (const auto pair = internal::firstNearDuplicates(points(), internal::kDuplicateDistance))
    return set_error(join("Duplicate constraint points detected at indices ", pair->first, " and ",
                          pair->second));
  return true;
}

bool ConstrainedBSplineEngine::check_options() {
  if (options_.degree < 1) return set_error("Degree must be at least 1");
  if (std::size_t(options_.degree) >= constraints_.size())
    return set_error(
        join("Degree ", options_.degree, " too high for ", constraints_.size(), " constraints"));
  return std::isfinite(options_.regularization_weight) ||
         set_error("Regularization weight must be finite");
}

bool ConstrainedBSplineEngine::check_weights() {
  for (std::size_t i = 0; i < constraints_.size(); ++i) {
    const PointConstraint& constraint = constraints_[i];
    if (constraint.type != kApproximation) continue;
    if (!(constraint.weight > 0.0) || !std::isfinite(constraint.weight))
      return set_error(join("Weight of approximation constraint ", i, " must be above 0"));
  }
  return true;
}

bool ConstrainedBSplineEngine::categorize_constraints() {
  interpolation_.clear();
  approximation_.clear();
  for (std::size_t i = 0; i < constraints_.size(); ++i) {
    if (constraints_[i].type == kInterpolation) interpolation_.push_back(int(i));
    if (constraints_[i].type == kApproximation) approximation_.push_back(int(i));
  }
  status::progress(status::Symbol::None, "   ", status::symbolText(status::Symbol::Chart),
                   "ENGINE3: ", interpolation_.size(), " interpolation, ", approximation_.size(),
                   " approximation constraints");
  return true;
}

bool ConstrainedBSplineEngine::setup_curve_parameters() {
  const int p = options_.degree;
  const std::int64_t knots = std::int64_t(options_.knot_vector.size());
  num_control_points_ = options_.num_control_points;
  if (num_control_points_ < 1)
    num_control_points_ =
        knots > 0 ? int(std::max<std::int64_t>(knots - p - 1, p + 1))
                  : internal::approximationControlPointCount(std::int64_t(constraints_.size()), p);
  if (num_control_points_ > kMaxUnknowns)
    return set_error(join("More than ", kMaxUnknowns, " control points"));
  auto info =
      knots > 0 ? GeometricCore::validate_knot_vector(options_.knot_vector, num_control_points_, p)
                : GeometricCore::create_clamped_knots(num_control_points_, p);
  if (info.is_valid && !(info.knots[p] < info.knots[num_control_points_])) {
    info.is_valid = false;
    info.error_message = "Knot vector has no extent";
  }
  if (!info.is_valid)
    return set_error(
        (knots > 0 ? "Invalid provided knot vector: " : "Failed to generate knot vector: ") +
        info.error_message);
  knots_ = std::move(info.knots);
  status::progress(status::Symbol::None, "   🎲 ENGINE3: Degree ", p, ", ", num_control_points_,
                   " control points, ", knots_.size(), " knots");
  return true;
}

void ConstrainedBSplineEngine::compute_quality_metrics(ConstrainedFittingResult& result) const {
  result.max_interpolation_error = largest_error(interpolation_);
  result.max_approximation_error = largest_error(approximation_);
  result.smoothness_energy = compute_smoothness_energy();
}

const BSplineCurve& ConstrainedBSplineEngine::solved_curve() const {
  if (!curve_) throw std::logic_error("No curve was fitted");
  return *curve_;
}

double ConstrainedBSplineEngine::largest_error(const std::vector<int>& indices) const {
  foundation::progress::Stage stage("measuring", kUntilSolved);
  internal::Deviation deviation;
  for (std::size_t k = 0; k < indices.size(); ++k) {
    stage.report(double(k), double(indices.size()));
    deviation.add(compute_constraint_error(constraints_[indices[k]]));
  }
  return deviation.maximum();
}

double ConstrainedBSplineEngine::compute_constraint_error(const PointConstraint& constraint) const {
  return solved_curve().evaluate(constraint.parameter).distanceTo(constraint.position);
}

double ConstrainedBSplineEngine::compute_smoothness_energy() const {
  const std::vector<Point3D> controls = solved_curve().getControlPoints();
  double energy = 0.0;
  for (std::size_t i = 2; i < controls.size(); ++i)
    energy += (controls[i].eigen() - 2.0 * controls[i - 1].eigen() + controls[i - 2].eigen())
                  .squaredNorm();
  return energy;
}

}  // namespace trova::geometry
