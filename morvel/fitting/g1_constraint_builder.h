#pragma once

#include <Eigen/Core>
#include <memory>
#include <string>
#include <vector>

#include "morvel/fitting/basis_derivative_evaluator.h"
#include "morvel/fitting/g1_constraint.h"
#include "morvel/foundation/export.h"

namespace trova::geometry {

/// A matrix with few entries a row.
struct MORVEL_API ConstraintMatrix {
  struct Entry {
    int row = 0;
    int column = 0;
    double value = 0.0;
  };

  int rows = 0;
  int columns = 0;
  std::vector<Entry> entries;  ///< row by row, no two at one place

  Eigen::MatrixXd dense() const;
};

struct MORVEL_API MatrixAssemblyResult {
  ConstraintMatrix matrix;
  bool success = false;
  std::string error;  ///< why there is no matrix, or the warnings about it
  double assembly_time_ms = 0.0;
};

/// What the singular values say about a matrix.
struct MORVEL_API MatrixValidation {
  bool is_valid = false;   ///< of full rank, and well conditioned
  std::string message;     ///< empty where it is valid
  double condition = 0.0;  ///< largest over smallest singular value
  int rank = 0;
  int expected_rank = 0;
};

/// Turns G1 constraints into rows over the interleaved unknowns x_0, y_0, z_0, x_1, ... of the
/// control points: column 3 j + c is coordinate c of control point j, j as in the evaluator.
///
/// A given u-tangent T is three rows, one per coordinate c: w dN_j/du in column 3 j + c, with the
/// right-hand side w T[c]; a given v-tangent three more behind them.
class MORVEL_API G1ConstraintBuilder {
 public:
  /// @throws std::invalid_argument for a null evaluator
  explicit G1ConstraintBuilder(std::shared_ptr<const BasisDerivativeEvaluator> evaluator);

  /// 3 rows per given tangent.
  static int count_constraint_equations(const std::vector<G1Constraint>& constraints);
  /// u and v in [0, 1]; at least one tangent; each given tangent finite and no shorter than 1e-12;
  /// the weight finite and above 0.
  static bool validate_individual_constraint(const G1Constraint& constraint);

  /// Fails with "No constraint equations to build", "Invalid constraint at index k" or "Matrix
  /// assembly exception: ...".
  MatrixAssemblyResult build_g1_constraint_matrix(
      const std::vector<G1Constraint>& constraints) const;
  /// The same; a matrix that is poorly conditioned or short of rank gets warnings in its text.
  /// Takes the singular values of the whole matrix: cubic in the number of rows.
  MatrixAssemblyResult build_g1_constraint_matrix_validated(
      const std::vector<G1Constraint>& constraints) const;
  /// One value per row of the matrix.
  Eigen::VectorXd build_g1_right_hand_side(const std::vector<G1Constraint>& constraints) const;

  /// @param tolerance  smallest singular value that counts as non-zero
  static MatrixValidation validate_constraint_matrix(const Eigen::MatrixXd& matrix,
                                                     double tolerance = 1e-12);

 private:
  void addRows(const G1Constraint& constraint, ConstraintMatrix& matrix) const;

  std::shared_ptr<const BasisDerivativeEvaluator> evaluator_;
};

}  // namespace trova::geometry
