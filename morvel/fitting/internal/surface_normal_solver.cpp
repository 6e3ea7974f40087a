#include "morvel/fitting/internal/surface_normal_solver.h"

#include <memory>
#include <utility>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::internal {
namespace {

using foundation::status::join;

// Regularises a net that the data leave undetermined, where the caller asks for none.
constexpr double kDefaultLambda = 1e-6;

double conditionOf(double largest, double smallest) {
  return smallest > kLeastSingularValue ? largest / smallest : kSingularCondition;
}

bool needsRidge(double condition, const NormalSolveOptions& options) {
  return options.force_regularization || condition > options.condition_threshold;
}

void warnOfCondition(double condition, const NormalSolveOptions& options,
                     NormalSolution& solution) {
  if (condition > options.condition_threshold)
    solution.warnings.push_back(
        join("Condition number ", condition, " above threshold - regularized"));
}

std::optional<NormalSolution> finite(NormalSolution solution) {
  if (!solution.points.allFinite()) return std::nullopt;
  return solution;
}

// The matrix in full, with the singular values taken where they are asked for.
class DenseEquations {
 public:
  explicit DenseEquations(const SurfaceNormalEquations& equations) : matrix_(equations.dense()) {}

  double condition() {
    const Eigen::VectorXd values = foundation::singularValues(matrix_);
    largest_ = values[0];
    return conditionOf(values[0], values[values.size() - 1]);
  }
  void addRidge(double lambda) {
    if (largest_ < 0) largest_ = foundation::singularValues(matrix_)[0];
    matrix_.diagonal().array() += lambda * largest_;
  }
  const Eigen::MatrixXd& matrix() const { return matrix_; }

 private:
  Eigen::MatrixXd matrix_;
  double largest_ = -1.0;
};

// The matrix in its band, factored anew for each ridge.
class BandEquations {
 public:
  explicit BandEquations(const SurfaceNormalEquations& equations) : equations_(equations) {
    factor_ = SurfaceNormalFactor::of(equations_);
  }

  double largest() {
    if (largest_ < 0) largest_ = equations_.largestEigenvalue();
    return largest_;
  }
  double condition() {
    if (!factor_) return kSingularCondition;
    return conditionOf(largest() + ridge_, factor_->smallestEigenvalue());
  }
  void addRidge(double lambda) {
    ridge_ += lambda * largest();
    factor_.reset();
    factor_ = SurfaceNormalFactor::of(equations_, ridge_);
  }
  double ridge() const { return ridge_; }
  std::optional<Eigen::MatrixXd> solution() const {
    return factor_ ? factor_->solve(equations_.rightHandSide()) : std::nullopt;
  }

 private:
  const SurfaceNormalEquations& equations_;
  double largest_ = -1.0;
  double ridge_ = 0.0;
  std::unique_ptr<SurfaceNormalFactor> factor_;
};

// Judges the matrix and adds the ridge that the options ask for.
template <class Equations>
void regularise(Equations& matrix, const NormalSolveOptions& options, NormalSolution& solution) {
  const bool isAnalysed = options.condition_analysis;
  if (isAnalysed) solution.condition_number = matrix.condition();
  if (!needsRidge(solution.condition_number, options)) return;
  warnOfCondition(solution.condition_number, options, solution);
  matrix.addRidge(options.regularization_lambda);
  if (isAnalysed) solution.condition_number = matrix.condition();
}

}  // namespace

std::optional<NormalSolution> solveNormalEquations(const SurfaceNormalEquations& equations,
                                                   const NormalSolveOptions& options) {
  return equations.size() <= kMostDecomposedUnknowns ? solveByDecompositions(equations, options)
                                                     : solveInBand(equations, options);
}

std::optional<NormalSolution> solveByDecompositions(const SurfaceNormalEquations& equations,
                                                    const NormalSolveOptions& options) {
  NormalSolution solution;
  DenseEquations matrix(equations);
  regularise(matrix, options, solution);
  solution.points = foundation::solveLeastSquares(matrix.matrix(), equations.rightHandSide());
  return finite(std::move(solution));
}

std::optional<NormalSolution> solveInBand(const SurfaceNormalEquations& equations,
                                          const NormalSolveOptions& options) {
  NormalSolution solution;
  BandEquations matrix(equations);
  regularise(matrix, options, solution);
  std::optional<Eigen::MatrixXd> points = matrix.solution();
  if (!points && equations.size() <= kMostDenseUnknowns) {
    Eigen::MatrixXd dense = equations.dense();
    dense.diagonal().array() += matrix.ridge();
    points = foundation::solveLeastSquares(dense, equations.rightHandSide());
    solution.warnings.emplace_back("Normal equations are nearly singular");
  } else if (!points) {
    matrix.addRidge(kDefaultLambda);
    points = matrix.solution();
    solution.warnings.emplace_back("Normal equations are nearly singular - regularized");
    if (options.condition_analysis) solution.condition_number = matrix.condition();
  }
  if (!points) return std::nullopt;
  solution.points = std::move(*points);
  return finite(std::move(solution));
}

}  // namespace trova::geometry::internal
