#include "morvel/fitting/g1_constraint_builder.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "morvel/fitting/internal/stopwatch.h"
#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {

namespace {

constexpr int kCoordinates = 3;
constexpr double kShortestTangent = 1e-12;
constexpr double kPoorCondition = 1e12;

double milliseconds(const internal::Stopwatch& clock) {
  constexpr double kPerSecond = 1000.0;
  return kPerSecond * clock.elapsed();
}

bool isUnitParameter(double t) { return t >= 0.0 && t <= 1.0; }

bool isUsableTangent(const Vector3D& tangent) {
  return tangent.isFinite() && tangent.magnitude() >= kShortestTangent;
}

MatrixAssemblyResult failed(std::string error) {
  MatrixAssemblyResult result;
  result.error = std::move(error);
  return result;
}

/// Each given tangent with the orders of its derivative.
template <class Visit>
void forEachTangent(const G1Constraint& constraint, Visit visit) {
  if (constraint.has_tangent_u) visit(constraint.tangent_u, 1, 0);
  if (constraint.has_tangent_v) visit(constraint.tangent_v, 0, 1);
}

std::string rankText(const MatrixValidation& found) {
  return foundation::status::join("Matrix does not have full rank (rank = ", found.rank,
                                  ", expected = ", found.expected_rank, ")");
}

void append(std::string& text, const std::string& sentence) {
  if (!text.empty()) text += "; ";
  text += sentence;
}

}  // namespace

Eigen::MatrixXd ConstraintMatrix::dense() const {
  Eigen::MatrixXd full = Eigen::MatrixXd::Zero(rows, columns);
  for (const Entry& entry : entries)
    full(entry.row, entry.column) = entry.value;
  return full;
}

G1ConstraintBuilder::G1ConstraintBuilder(std::shared_ptr<const BasisDerivativeEvaluator> evaluator)
    : evaluator_(std::move(evaluator)) {
  if (!evaluator_) throw std::invalid_argument("G1 constraints need a basis evaluator");
}

int G1ConstraintBuilder::count_constraint_equations(const std::vector<G1Constraint>& constraints) {
  std::int64_t tangents = 0;
  for (const G1Constraint& constraint : constraints)
    tangents += constraint.tangent_count();
  return static_cast<int>(foundation::checkedCount({kCoordinates, tangents}));
}

bool G1ConstraintBuilder::validate_individual_constraint(const G1Constraint& constraint) {
  const bool hasWeight = std::isfinite(constraint.weight) && constraint.weight > 0.0;
  return hasWeight && isUnitParameter(constraint.u) && isUnitParameter(constraint.v) &&
         constraint.tangent_count() > 0 &&
         (!constraint.has_tangent_u || isUsableTangent(constraint.tangent_u)) &&
         (!constraint.has_tangent_v || isUsableTangent(constraint.tangent_v));
}

void G1ConstraintBuilder::addRows(const G1Constraint& constraint, ConstraintMatrix& matrix) const {
  const int countU = evaluator_->uBasis().count();
  forEachTangent(constraint, [&](const Vector3D&, int inU, int inV) {
    const TensorBasisValues& basis = evaluator_->evaluate(constraint.u, constraint.v, inU, inV);
    for (int c = 0; c < kCoordinates; ++c) {
      basis.forEach([&](int i, int j, double value) {
        const int column = kCoordinates * (j * countU + i) + c;
        matrix.entries.push_back({matrix.rows, column, constraint.weight * value});
      });
      ++matrix.rows;
    }
  });
}

MatrixAssemblyResult G1ConstraintBuilder::build_g1_constraint_matrix(
    const std::vector<G1Constraint>& constraints) const {
  const internal::Stopwatch clock;
  MatrixAssemblyResult result;
  try {
    if (count_constraint_equations(constraints) == 0)
      return failed("No constraint equations to build");
    result.matrix.columns = static_cast<int>(
        foundation::checkedCount({kCoordinates, evaluator_->control_point_count()}));
    for (std::size_t k = 0; k < constraints.size(); ++k) {
      if (!validate_individual_constraint(constraints[k]))
        return failed("Invalid constraint at index " + std::to_string(k));
      addRows(constraints[k], result.matrix);
    }
  } catch (const std::exception& e) {
    return failed(std::string("Matrix assembly exception: ") + e.what());
  }
  result.success = true;
  result.assembly_time_ms = milliseconds(clock);
  return result;
}

MatrixAssemblyResult G1ConstraintBuilder::build_g1_constraint_matrix_validated(
    const std::vector<G1Constraint>& constraints) const {
  const internal::Stopwatch clock;
  MatrixAssemblyResult result = build_g1_constraint_matrix(constraints);
  if (!result.success) return result;
  const MatrixValidation found = validate_constraint_matrix(result.matrix.dense());
  if (!(found.condition <= kPoorCondition)) {
    result.error += foundation::status::join(
        " Warning: Matrix is poorly conditioned (condition number = ", found.condition, ")");
  }
  if (found.rank < found.expected_rank) result.error += " Warning: Matrix does not have full rank";
  result.assembly_time_ms = milliseconds(clock);
  return result;
}

Eigen::VectorXd G1ConstraintBuilder::build_g1_right_hand_side(
    const std::vector<G1Constraint>& constraints) const {
  Eigen::VectorXd targets(count_constraint_equations(constraints));
  Eigen::Index row = 0;
  for (const G1Constraint& constraint : constraints) {
    forEachTangent(constraint, [&](const Vector3D& tangent, int, int) {
      targets.segment<kCoordinates>(row) = constraint.weight * tangent.eigen();
      row += kCoordinates;
    });
  }
  return targets;
}

MatrixValidation G1ConstraintBuilder::validate_constraint_matrix(const Eigen::MatrixXd& matrix,
                                                                 double tolerance) {
  MatrixValidation found;
  if (matrix.size() == 0 || !matrix.allFinite()) {
    found.message = "SVD computation failed";
    return found;
  }
  const Eigen::VectorXd values = foundation::singularValues(matrix);
  if (!values.allFinite()) {
    found.message = "SVD computation failed";
    return found;
  }
  found.expected_rank = static_cast<int>(values.size());
  found.rank = static_cast<int>((values.array() > tolerance).count());
  const double smallest = values[values.size() - 1];
  found.condition = smallest > 0.0 ? values[0] / smallest : std::numeric_limits<double>::infinity();
  if (!(smallest > tolerance)) append(found.message, "Matrix is singular or near-singular");
  if (found.rank < found.expected_rank) append(found.message, rankText(found));
  if (!(found.condition <= kPoorCondition))
    append(found.message, "Poor conditioning may cause numerical instability");
  found.is_valid = found.message.empty();
  return found;
}

}  // namespace trova::geometry
