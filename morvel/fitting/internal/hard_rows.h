#pragma once

#include <Eigen/Core>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "morvel/fitting/basis_derivative_evaluator.h"
#include "morvel/fitting/surface_constraint_set.h"

namespace trova::geometry::internal {

/// The conditions C X = d that the control points of a surface satisfy exactly, one row for all
/// three coordinates. A row has (p + 1)(q + 1) entries that are not zero.
class HardRows {
 public:
  explicit HardRows(int columns) : columns_(columns) {}

  int rows() const { return static_cast<int>(starts_.size()) - 1; }
  int columns() const { return columns_; }
  const std::vector<Eigen::Vector3d>& targets() const { return targets_; }
  Eigen::MatrixXd targetMatrix() const;  ///< d, rows() x 3

  /// Begins a row.
  void beginRow(const Eigen::Vector3d& target);
  /// Adds to the last row; no two entries in one column.
  void add(int column, double value);

  Eigen::MatrixXd dense() const;
  Eigen::MatrixXd multiplied(const Eigen::MatrixXd& X) const;            ///< C X
  Eigen::MatrixXd transposedMultiplied(const Eigen::MatrixXd& Y) const;  ///< C^T Y

 private:
  struct Entry {
    int column;
    double value;
  };

  template <class Visit>
  void forEach(Visit visit) const;

  int columns_;
  std::vector<std::size_t> starts_{0};  // of each row among the entries, and their end
  std::vector<Entry> entries_;
  std::vector<Eigen::Vector3d> targets_;
};

/// Active interpolation points, then, where `withG1` is set, one row per given G1 tangent: the rows
/// and columns of one coordinate in the builder's matrix, which are the same for all three. Nothing
/// where the builder refuses; `error` says why.
std::optional<HardRows> hardRowsOf(const SurfaceConstraintSet& constraints,
                                   const std::shared_ptr<const BasisDerivativeEvaluator>& basis,
                                   bool withG1, std::string& error);

}  // namespace trova::geometry::internal
