#include "morvel/fitting/geometric_core.h"

#include <algorithm>
#include <cmath>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::GeometricCore {
namespace {

using foundation::status::join;

constexpr double kLowComplexity = 0.5;
constexpr double kHighComplexity = 2.0;
constexpr int kFewPoints = 4;
constexpr int kPointsPerDegree = 3;
constexpr int kHighestAdvisedDegree = 5;

// An invalid answer with its reason, or nothing in it.
KnotVectorInfo checkedCounts(int count, int degree) {
  KnotVectorInfo info;
  if (degree < 0 || count <= degree)
    info.error_message = join("Not enough control points for degree ", degree);
  return info;
}

DegreeRecommendation adviceForMany(int points, double hint) {
  if (hint < kLowComplexity) return {2, "Low complexity hint, using quadratic curves", {}};
  if (hint > kHighComplexity) {
    const int degree = std::min(points / kPointsPerDegree, kHighestAdvisedDegree);
    return {degree, join("High complexity hint, using degree ", degree), {3, 4}};
  }
  return {3, "Default cubic curves for good balance of smoothness and control", {2, 4}};
}

bool isSystem(const Eigen::MatrixXd& A, const Eigen::VectorXd& b) {
  return A.size() > 0 && A.rows() == b.rows() && A.allFinite() && b.allFinite();
}

bool accept(const std::optional<Eigen::MatrixXd>& solution, Eigen::VectorXd& x) {
  if (solution) x = solution->col(0);
  return solution.has_value();
}

}  // namespace

KnotVectorInfo create_clamped_knots(int num_control_points, int degree) {
  KnotVectorInfo info = checkedCounts(num_control_points, degree);
  if (!info.error_message.empty()) return info;
  info.knots = foundation::nurbs::clampedUniformKnots(num_control_points, degree);
  info.is_valid = info.is_clamped = true;
  return info;
}

KnotVectorInfo create_uniform_knots(int num_control_points, int degree) {
  KnotVectorInfo info = checkedCounts(num_control_points, degree);
  if (!info.error_message.empty()) return info;
  const std::int64_t last = foundation::knotCountFor(num_control_points, degree) - 1;
  for (std::int64_t k = 0; k <= last; ++k)
    info.knots.push_back(double(k) / double(last));
  info.is_valid = true;
  return info;
}

KnotVectorInfo validate_knot_vector(const std::vector<double>& knots, int num_control_points,
                                    int degree) {
  KnotVectorInfo info;
  info.knots = knots;
  const std::int64_t expected = foundation::knotCountFor(num_control_points, degree);
  const auto finite = [](double knot) { return std::isfinite(knot); };
  const auto fall = std::adjacent_find(knots.begin(), knots.end(),
                                       [](double before, double after) { return after < before; });
  if (fall != knots.end())
    info.error_message =
        join("Knot vector not in non-decreasing order at index ", fall - knots.begin() + 1);
  else if (std::int64_t(knots.size()) != expected)
    info.error_message =
        join("Knot vector size mismatch. Expected ", expected, ", got ", knots.size());
  else if (!std::all_of(knots.begin(), knots.end(), finite))
    info.error_message = "Knot vector holds a value that is not finite";
  info.is_valid = info.error_message.empty();
  return info;
}

DegreeRecommendation recommend_degree(int num_points, double complexity_hint) {
  if (num_points < 2) return {1, "Too few points, defaulting to linear", {}};
  const int highest = num_points - 1;
  if (num_points < kFewPoints) {
    const int degree = std::min(highest, 2);
    return {degree, join("Limited points, using degree ", degree), {}};
  }
  DegreeRecommendation advice = adviceForMany(num_points, complexity_hint);
  advice.degree = std::min(advice.degree, highest);
  return advice;
}

bool solve_least_squares(const Eigen::MatrixXd& A, const Eigen::VectorXd& b, Eigen::VectorXd& x) {
  if (!isSystem(A, b)) return false;
  const Eigen::MatrixXd normal = A.transpose() * A;
  const Eigen::VectorXd right = A.transpose() * b;
  if (!isSystem(normal, right)) return false;
  return accept(foundation::solveSymmetric(normal, right), x);
}

bool solve_linear_system(const Eigen::MatrixXd& A, const Eigen::VectorXd& b, Eigen::VectorXd& x) {
  if (!isSystem(A, b) || A.rows() != A.cols()) return false;
  return accept(foundation::solveSquare(A, b), x);
}

}  // namespace trova::geometry::GeometricCore
