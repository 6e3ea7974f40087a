// The parameters of the constrained engine and its linear system.

#include <algorithm>
#include <array>
#include <cmath>

#include "morvel/fitting/constrained_bspline_engine.h"
#include "morvel/fitting/internal/curve_normal_equations.h"
#include "morvel/fitting/internal/curve_points.h"
#include "morvel/fitting/internal/saddle_point.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using foundation::nurbs::SplineBasis;
using status::join;

constexpr double kSmallestRange = 1e-6;            // model units
constexpr double kCurveLikeShare = 0.1;            // of the x range, by which y or z must vary
constexpr std::int64_t kMaxDenseEntries = 10'000;  // a matrix up to this size is written out
constexpr double kAssembling = 0.3;                // of the time of a fit
constexpr double kUntilSolved = 0.8;

// The extent of the points along each axis, and whether x never decreases.
struct Ranges {
  explicit Ranges(const std::vector<Point3D>& points) {
    Eigen::Vector3d low = points.front().eigen(), high = low;
    for (std::size_t i = 1; i < points.size(); ++i) {
      low = low.cwiseMin(points[i].eigen());
      high = high.cwiseMax(points[i].eigen());
      isMonotonic = isMonotonic && !(points[i].x() < points[i - 1].x());
    }
    least = low.x();
    extent = high - low;
  }

  bool isCurveLike() const {
    return isMonotonic && extent.x() > kSmallestRange && std::isfinite(extent.x()) &&
           std::max(extent.y(), extent.z()) > kCurveLikeShare * extent.x();
  }

  bool isMonotonic = true;
  double least = 0.0;
  Eigen::Vector3d extent;
};

}  // namespace

std::vector<double> ConstrainedBSplineEngine::compute_chord_length_parameters() const {
  return GeometricCore::parameterize_points(points(),
                                            GeometricCore::ParameterizationMethod::CHORD_LENGTH);
}

std::vector<double> ConstrainedBSplineEngine::compute_smart_parameters() const {
  if (points().empty()) return {};
  const Ranges ranges(points());
  status::progress(status::Symbol::Check,
                   "SMART PARAMETERIZATION: X-monotonic=", ranges.isMonotonic ? "YES" : "NO",
                   ", X-range=", ranges.extent.x(), ", Y-range=", ranges.extent.y(),
                   ", Z-range=", ranges.extent.z());
  if (!ranges.isCurveLike()) {
    status::progress(status::Symbol::Target,
                     "Using chord length parameterization for general data");
    return compute_chord_length_parameters();
  }
  status::progress(status::Symbol::Target,
                   "Using X-coordinate parameterization for curve-like data");
  std::vector<double> params;
  for (const Point3D& point : points())
    params.push_back((point.x() - ranges.least) / ranges.extent.x());
  return params;
}

bool ConstrainedBSplineEngine::setup_constraint_parameters() {
  if (options_.auto_assign_parameters) return assign_parameters_to_constraints();
  const bool areAssigned =
      std::all_of(constraints_.begin(), constraints_.end(), [](const PointConstraint& constraint) {
        return constraint.parameter >= 0.0 && std::isfinite(constraint.parameter);
      });
  return areAssigned ||
         set_error("Parameter assignment required but constraint has invalid parameter");
}

bool ConstrainedBSplineEngine::assign_parameters_to_constraints() {
  const std::vector<double> params = compute_smart_parameters();
  for (std::size_t i = 0; i < params.size(); ++i)
    constraints_[i].parameter = params[i];
  return true;
}

Eigen::MatrixXd ConstrainedBSplineEngine::basis_rows(const std::vector<int>& indices) const {
  const int p = options_.degree;
  const SplineBasis basis(p, knots_);
  Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(Eigen::Index(indices.size()), num_control_points_);
  std::vector<double> values(std::size_t(p) + 1);
  for (Eigen::Index row = 0; row < matrix.rows(); ++row) {
    const double t = constraints_[indices[row]].parameter;
    const int span = basis.span(t);
    basis.values(t, span, values.data());
    for (int r = 0; r <= p; ++r)
      matrix(row, span - p + r) = values[r];
  }
  return matrix;
}

Eigen::MatrixXd ConstrainedBSplineEngine::build_approximation_matrix() const {
  return basis_rows(approximation_);
}

Eigen::MatrixXd ConstrainedBSplineEngine::build_interpolation_matrix() const {
  return basis_rows(interpolation_);
}

Eigen::MatrixXd ConstrainedBSplineEngine::build_regularization_matrix() const {
  return options_.regularization_weight *
         Eigen::MatrixXd::Identity(num_control_points_, num_control_points_);
}

std::vector<Point3D> ConstrainedBSplineEngine::positions_of(const std::vector<int>& indices) const {
  std::vector<Point3D> positions;
  positions.reserve(indices.size());
  for (const int i : indices)
    positions.push_back(constraints_[i].position);
  return positions;
}

// A^T A - R and A^T (w b), of which the weights touch the latter only.
void ConstrainedBSplineEngine::build_normal_equations(Eigen::MatrixXd& H,
                                                      Eigen::MatrixXd& f) const {
  const std::vector<Point3D> positions = positions_of(approximation_);
  std::vector<double> weights;
  for (const int i : approximation_)
    weights.push_back(constraints_[i].weight);
  if (std::int64_t(positions.size()) * num_control_points_ <= kMaxDenseEntries) {
    const Eigen::MatrixXd A = build_approximation_matrix();
    const Eigen::Map<const Eigen::VectorXd> w(weights.data(), Eigen::Index(weights.size()));
    H = A.transpose() * A;
    f = A.transpose() * (w.asDiagonal() * internal::coordinatesOf(positions));
  } else {
    std::vector<double> params;
    for (const int i : approximation_)
      params.push_back(constraints_[i].parameter);
    const SplineBasis basis(options_.degree, knots_);
    internal::CurveNormalEquations equations(basis);
    equations.add(params, positions, weights);
    H = equations.matrix();
    f = equations.rightHandSide();
  }
  // By contract: subtracted.
  H -= build_regularization_matrix();
}

bool ConstrainedBSplineEngine::solve_constrained_system() {
  const std::int64_t n = num_control_points_, k = std::int64_t(interpolation_.size());
  // More conditions than unknowns: singular, whatever the points.
  if (k > n || n + k > kMaxUnknowns)
    return set_error("Failed to solve constrained system for coordinate 0");
  Eigen::MatrixXd H, f;
  {
    const foundation::progress::Stage stage("assembling", 0.0, kAssembling);
    build_normal_equations(H, f);
  }
  const foundation::progress::Stage stage("solving", kAssembling, kUntilSolved);
  return solve_augmented_system(H, f);
}

bool ConstrainedBSplineEngine::solve_augmented_system(const Eigen::MatrixXd& H,
                                                      const Eigen::MatrixXd& f) {
  const Eigen::MatrixXd matrix = internal::saddlePointMatrix(H, build_interpolation_matrix());
  const Eigen::MatrixXd right =
      internal::saddlePointRightSide(f, internal::coordinatesOf(positions_of(interpolation_)));
  const auto solution = foundation::solveSquare(matrix, right);
  if (!solution) {
    Eigen::Index failed = 0;
    while (failed + 1 < right.cols() && foundation::solveSquare(matrix, right.col(failed)))
      ++failed;
    return set_error(join("Failed to solve constrained system for coordinate ", failed));
  }
  curve_ = internal::curveFrom(solution->topRows(num_control_points_), knots_, options_.degree);
  return curve_ || set_error("Generated constrained curve is invalid");
}

}  // namespace trova::geometry
