#include "morvel/fitting/bspline_fitting_engine.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "morvel/fitting/internal/collocation.h"
#include "morvel/fitting/internal/control_point_count.h"
#include "morvel/fitting/internal/curve_normal_equations.h"
#include "morvel/fitting/internal/curve_points.h"
#include "morvel/fitting/internal/stopwatch.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using foundation::nurbs::SplineBasis;
using foundation::progress::Stage;
using internal::CurveNormalEquations;
using status::join;

constexpr double kOrdinaryComplexity = 1.0;
constexpr int kLeastKnotCheckDegree = 3;
constexpr int kDim = 3;

// Shares of a fit, by the times that they take for many points.
constexpr double kUntilSolved = 0.7;

// Systems up to this size are written out and solved by the dense solvers.
constexpr std::int64_t kMaxDenseEntries = 10'000;

// Degree squared times points: the work of gathering, or of evaluating the fit.
constexpr double kMaxWork = 1e9;

// Column by column, by one of the two dense solvers.
template <class Solve>
bool solveColumns(Solve solve, const Eigen::MatrixXd& A, const Eigen::MatrixXd& right,
                  Eigen::Ref<Eigen::MatrixXd>& out) {
  for (Eigen::Index c = 0; c < right.cols(); ++c) {
    Eigen::VectorXd x;
    if (!solve(A, right.col(c), x)) return false;
    out.col(c) = x;
  }
  return true;
}

bool solveDenseSystem(const Eigen::MatrixXd& A, const Eigen::MatrixXd& right,
                      Eigen::Ref<Eigen::MatrixXd> out) {
  if (A.cols() == 0) return true;
  return A.rows() == A.cols() ? solveColumns(GeometricCore::solve_linear_system, A, right, out)
                              : solveColumns(GeometricCore::solve_least_squares, A, right, out);
}

}  // namespace

BSplineFittingEngine::BSplineFittingEngine(std::vector<Point3D> points)
    : BSplineFittingEngine(std::move(points), FittingOptions()) {}

BSplineFittingEngine::BSplineFittingEngine(std::vector<Point3D> points, FittingOptions options)
    : GeometricEngine(std::move(points)), options_(std::move(options)) {}

std::unique_ptr<BSplineCurve> BSplineFittingEngine::fit_points(const std::vector<Point3D>& points,
                                                               int degree,
                                                               const std::vector<double>& knots) {
  FittingOptions options;
  options.degree = degree;
  options.knot_vector = knots;
  return fit_points_detailed(points, options).curve;
}

BSplineFittingEngine::FittingResult BSplineFittingEngine::fit_points_detailed(
    const std::vector<Point3D>& points, const FittingOptions& options) {
  return BSplineFittingEngine(points, options).fit_with_detailed_info();
}

BSplineFittingEngine::FittingResult BSplineFittingEngine::fit_points_detailed(
    const std::vector<Point3D>& points) {
  return fit_points_detailed(points, FittingOptions());
}

BSplineFittingEngine::FittingResult BSplineFittingEngine::fit_with_detailed_info() {
  const internal::Stopwatch clock;
  Stage stage("fitting a curve");
  FittingResult result;
  result.success = validate_inputs() && setup_parameterization() && setup_degree() &&
                   setup_knot_vector() && solve_fitting_system() && make_curve();
  result.degree = degree_;
  result.num_control_points = num_control_points_;
  if (result.success) {
    compute_fitting_error(result);
    stage.finish();
    result.curve = std::move(curve_);
  } else {
    result.error_message = last_error();
    status::failure("Engine 1: ", last_error());
  }
  result.knot_vector = std::move(knots_);
  result.parameters = std::move(parameters_);
  result.warning = warning_;
  result.elapsed_time = clock.elapsed();
  return result;
}

std::unique_ptr<BSplineCurve> BSplineFittingEngine::create_geometry() {
  return fit_with_detailed_info().curve;
}

// A degree that the points are too few for is refused by `setup_degree`.
bool BSplineFittingEngine::validate_inputs() {
  if (points().size() < 2) return set_error("At least 2 points required for curve fitting");
  if (!internal::areFinite(points())) return set_error("Points must be finite");
  if (auto text = internal::consecutiveDuplicates(points())) return set_error(*std::move(text));
  if (options_.knot_vector.empty()) return true;
  const int p = std::max(options_.degree, kLeastKnotCheckDegree);
  const int count = int(std::int64_t(options_.knot_vector.size()) - p - 1);
  const auto info = GeometricCore::validate_knot_vector(options_.knot_vector, count, p);
  return info.is_valid || set_error("Invalid knot vector: " + info.error_message);
}

bool BSplineFittingEngine::setup_parameterization() {
  parameters_ = GeometricCore::parameterize_points(points(), options_.parameterization);
  return !parameters_.empty() || set_error("Failed to generate parameter values");
}

bool BSplineFittingEngine::setup_degree() {
  const int m = int(points().size());
  degree_ = options_.degree >= 1 ? options_.degree
                                 : GeometricCore::recommend_degree(m, kOrdinaryComplexity).degree;
  if (degree_ >= m)
    return set_error(join("Final degree ", degree_, " too high for ", m, " points"));
  const bool isFeasible = double(degree_) * degree_ * m <= kMaxWork;
  return isFeasible || set_error(join("Degree ", degree_, " takes too much work"));
}

bool BSplineFittingEngine::setup_knot_vector() {
  if (options_.knot_vector.empty()) return generate_knot_vector();
  const std::int64_t count = std::int64_t(options_.knot_vector.size()) - degree_ - 1;
  num_control_points_ = int(std::max<std::int64_t>(count, degree_ + 1));
  const auto info =
      GeometricCore::validate_knot_vector(options_.knot_vector, num_control_points_, degree_);
  if (!info.is_valid) return set_error("Provided knot vector invalid: " + info.error_message);
  knots_ = options_.knot_vector;
  const bool hasExtent = knots_[degree_] < knots_[num_control_points_];
  return hasExtent || set_error("Provided knot vector invalid: Knot vector has no extent");
}

bool BSplineFittingEngine::generate_knot_vector() {
  num_control_points_ =
      internal::approximationControlPointCount(std::int64_t(points().size()), degree_);
  auto info = GeometricCore::create_clamped_knots(num_control_points_, degree_);
  if (!info.is_valid) return set_error("Failed to generate knot vector: " + info.error_message);
  knots_ = std::move(info.knots);
  return true;
}

bool BSplineFittingEngine::solve_fitting_system() {
  Stage stage("solving", 0.0, kUntilSolved);
  const std::int64_t m = std::int64_t(points().size()), n = num_control_points_;
  status::progress(status::Symbol::None, "   ", status::symbolText(status::Symbol::Chart),
                   "Control Point Optimization: ", m, " input points → ", n,
                   " control points (degree=", degree_, ")");
  const SplineBasis basis(degree_, knots_);
  controls_.resize(n, kDim);
  const bool isSmall = m * n <= kMaxDenseEntries;
  if (isSmall) return solve_densely(basis);
  return m == n ? solve_square_system() : solve_by_span(basis);
}

bool BSplineFittingEngine::solve_densely(const SplineBasis& basis) {
  Eigen::MatrixXd matrix = build_basis_matrix(basis);
  Eigen::MatrixXd right = internal::coordinatesOf(points());
  const Eigen::Index m = right.rows(), n = num_control_points_;
  if (matrix.rows() != m || matrix.cols() != n) return set_error("Basis matrix size mismatch");
  bool isSolved = false;
  if (options_.end_point_constraint) {
    apply_end_constraints(matrix, right);
    controls_.row(0) = right.row(0);
    controls_.row(n - 1) = right.row(m - 1);
    const Eigen::MatrixXd left = right.middleRows(1, m - 2) -
                                 matrix.col(0).segment(1, m - 2) * right.row(0) -
                                 matrix.col(n - 1).segment(1, m - 2) * right.row(m - 1);
    isSolved =
        solveDenseSystem(matrix.block(1, 1, m - 2, n - 2), left, controls_.middleRows(1, n - 2));
  } else {
    isSolved = solveDenseSystem(matrix, right, controls_);
  }
  return isSolved || set_error("Failed to solve linear system for control points");
}

bool BSplineFittingEngine::solve_by_span(const SplineBasis& basis) {
  CurveNormalEquations equations(basis);
  const std::span<const double> params = parameters_;
  const std::span<const Point3D> all = points();
  const bool isPinned = options_.end_point_constraint;
  const std::size_t skipped = isPinned ? 1 : 0;
  equations.add(params.subspan(skipped, params.size() - 2 * skipped),
                all.subspan(skipped, all.size() - 2 * skipped));
  const auto solution =
      isPinned ? equations.solveBetween(all.front(), all.back()) : equations.solve();
  if (!solution) return set_error("Failed to solve linear system for control points");
  controls_ = solution->rows;
  if (solution->ridge > 0.0)
    warning_ = "The points do not determine all control points; a small ridge was added";
  return true;
}

// As many points as control points: the curve interpolates.
bool BSplineFittingEngine::solve_square_system() {
  internal::Collocation collocation(constrained_parameters(), knots_, degree_);
  std::vector<Point3D> rows = points();
  if (!collocation.factor() || !collocation.solve(rows.front().eigen().data(), kDim))
    return set_error("Failed to solve linear system for control points");
  controls_ = internal::coordinatesOf(rows);
  return true;
}

// At an end knot exactly one basis function is 1: the condition there is the end constraint.
std::vector<double> BSplineFittingEngine::constrained_parameters() const {
  std::vector<double> params = parameters_;
  if (options_.end_point_constraint) {
    params.front() = knots_.front();
    params.back() = knots_.back();
  }
  return params;
}

bool BSplineFittingEngine::make_curve() {
  curve_ = internal::curveFrom(controls_, knots_, degree_);
  return curve_ || set_error("Generated curve failed validation");
}

void BSplineFittingEngine::compute_fitting_error(FittingResult& result) const {
  const Stage stage("measuring", kUntilSolved);
  const internal::Deviation deviation = internal::deviationOf(*curve_, parameters_, points());
  result.max_error = deviation.maximum();
  result.rms_error = deviation.rms();
}

Eigen::MatrixXd BSplineFittingEngine::build_basis_matrix(const SplineBasis& basis) const {
  Eigen::MatrixXd matrix =
      Eigen::MatrixXd::Zero(Eigen::Index(parameters_.size()), num_control_points_);
  std::vector<double> values(std::size_t(degree_) + 1);
  for (Eigen::Index i = 0; i < matrix.rows(); ++i) {
    const int span = basis.span(parameters_[i]);
    basis.values(parameters_[i], span, values.data());
    for (int r = 0; r <= degree_; ++r)
      matrix(i, span - degree_ + r) = values[r];
  }
  return matrix;
}

// The first and the last condition name a control point each, with the point as its place.
void BSplineFittingEngine::apply_end_constraints(Eigen::MatrixXd& matrix,
                                                 Eigen::MatrixXd& right) const {
  const Eigen::Index lastRow = matrix.rows() - 1, lastColumn = matrix.cols() - 1;
  matrix.row(0).setZero();
  matrix(0, 0) = 1.0;
  right.row(0) = points().front().eigen().transpose();
  matrix.row(lastRow).setZero();
  matrix(lastRow, lastColumn) = 1.0;
  right.row(lastRow) = points().back().eigen().transpose();
}

}  // namespace trova::geometry
