#include "morvel/fitting/internal/hard_rows.h"

#include "morvel/fitting/g1_constraint_builder.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::internal {

namespace status = foundation::status;

namespace {

constexpr int kCoordinates = 3;

bool hasExpectedShape(const ConstraintMatrix& matrix, int columns, std::string& error) {
  if (matrix.columns != columns) {
    error = status::join("G1 matrix column count mismatch: expected ", columns, ", got ",
                         matrix.columns);
    return false;
  }
  for (const ConstraintMatrix::Entry& entry : matrix.entries) {
    if (entry.column >= 0 && entry.column < columns) continue;
    error = status::join("G1 matrix column index out of bounds: ", entry.column, " >= ", columns);
    return false;
  }
  return true;
}

void addInterpolationRows(const SurfaceConstraintSet& constraints,
                          const BasisDerivativeEvaluator& basis, HardRows& rows) {
  const int countU = basis.uBasis().count();
  for (const SurfacePointConstraint& point : constraints.point_constraints()) {
    if (!point.is_active || point.type != PointConstraintType::Interpolation) continue;
    rows.beginRow(point.position.eigen());
    basis.evaluate(point.u, point.v, 0, 0).forEach([&](int i, int j, double value) {
      rows.add(j * countU + i, value);
    });
  }
}

/// Of three rows, one per coordinate, the first; the targets of all three.
void addFirstCoordinate(const ConstraintMatrix& matrix, const Eigen::VectorXd& targets,
                        HardRows& rows) {
  int current = -1;
  for (const ConstraintMatrix::Entry& entry : matrix.entries) {
    if (entry.row % kCoordinates != 0) continue;
    if (entry.row != current) {
      current = entry.row;
      rows.beginRow(targets.segment<kCoordinates>(current));
    }
    rows.add(entry.column / kCoordinates, entry.value);
  }
}

}  // namespace

void HardRows::beginRow(const Eigen::Vector3d& target) {
  targets_.push_back(target);
  starts_.push_back(entries_.size());
}

void HardRows::add(int column, double value) {
  entries_.push_back({column, value});
  ++starts_.back();
}

template <class Visit>
void HardRows::forEach(Visit visit) const {
  for (int row = 0; row < rows(); ++row) {
    const auto r = static_cast<std::size_t>(row);
    for (std::size_t k = starts_[r]; k < starts_[r + 1]; ++k)
      visit(row, entries_[k].column, entries_[k].value);
  }
}

Eigen::MatrixXd HardRows::targetMatrix() const {
  Eigen::MatrixXd d(rows(), kCoordinates);
  for (int row = 0; row < rows(); ++row)
    d.row(row) = targets_[static_cast<std::size_t>(row)].transpose();
  return d;
}

Eigen::MatrixXd HardRows::dense() const {
  Eigen::MatrixXd C = Eigen::MatrixXd::Zero(rows(), columns_);
  forEach([&](int row, int column, double value) { C(row, column) = value; });
  return C;
}

Eigen::MatrixXd HardRows::multiplied(const Eigen::MatrixXd& X) const {
  Eigen::MatrixXd product = Eigen::MatrixXd::Zero(rows(), X.cols());
  for (Eigen::Index c = 0; c < X.cols(); ++c)
    forEach([&](int row, int column, double value) { product(row, c) += value * X(column, c); });
  return product;
}

Eigen::MatrixXd HardRows::transposedMultiplied(const Eigen::MatrixXd& Y) const {
  Eigen::MatrixXd product = Eigen::MatrixXd::Zero(columns_, Y.cols());
  for (Eigen::Index c = 0; c < Y.cols(); ++c)
    forEach([&](int row, int column, double value) { product(column, c) += value * Y(row, c); });
  return product;
}

std::optional<HardRows> hardRowsOf(const SurfaceConstraintSet& constraints,
                                   const std::shared_ptr<const BasisDerivativeEvaluator>& basis,
                                   bool withG1, std::string& error) {
  HardRows rows(basis->control_point_count());
  addInterpolationRows(constraints, *basis, rows);
  const std::vector<G1Constraint>& tangents = constraints.g1_tangent_constraints();
  if (!withG1 || tangents.empty()) return rows;
  status::progress(status::Symbol::Target,
                   "Adding G1 constraints using enhanced G1ConstraintBuilder starting at row ",
                   rows.rows());
  const G1ConstraintBuilder builder(basis);
  const MatrixAssemblyResult assembled = builder.build_g1_constraint_matrix(tangents);
  error = assembled.error;
  if (!assembled.success) return std::nullopt;
  if (!hasExpectedShape(assembled.matrix, kCoordinates * rows.columns(), error)) {
    status::failure(error);
    return std::nullopt;
  }
  addFirstCoordinate(assembled.matrix, builder.build_g1_right_hand_side(tangents), rows);
  return rows;
}

}  // namespace trova::geometry::internal
