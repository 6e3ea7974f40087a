#include "morvel/fitting/internal/constrained_solver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

#include "morvel/fitting/internal/saddle_point.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::internal {

namespace status = foundation::status;
using Eigen::MatrixXd;
using Eigen::VectorXd;

namespace {

constexpr double kSmallestSingularValue = 1e-15;
// A hard row missed by more than this share of the largest target is not satisfied.
constexpr double kLargestMiss = 1e-9;
// Of the largest eigenvalue: a shift that makes any normal matrix safely positive definite, yet
// keeps its small eigenvalues readable.
constexpr double kReadableShift = 1e-10;
constexpr Eigen::Index kColumnsTogether = 256;

struct Stacked {
  MatrixXd x;  // control points
  MatrixXd multipliers;
};

bool writesOut(const SolverSettings& settings, Eigen::Index unknowns) {
  if (settings.route == SolverRoute::Auto) return unknowns <= kMostFullUnknowns;
  return settings.route == SolverRoute::Full;
}

double largestEntry(const MatrixXd& A) { return A.size() ? A.cwiseAbs().maxCoeff() : 0.0; }

MatrixXd withRidge(MatrixXd M, double ridge) {
  M.diagonal().array() += ridge;
  return M;
}

/// Finite, and the hard rows hold.
bool isAnswer(const MatrixXd& x, const HardRows& rows) {
  if (!x.allFinite()) return false;
  const MatrixXd d = rows.targetMatrix();
  const double scale = std::max(largestEntry(d), largestEntry(x));
  return largestEntry(rows.multiplied(x) - d) <= kLargestMiss * scale;
}

void accept(ConstrainedSolution& solution, MatrixXd x, const HardRows& rows) {
  if (isAnswer(x, rows))
    solution.controlPoints = std::move(x);
  else
    solution.warnings.push_back(
        "Hard constraints contradict each other or ask for more freedom than the control grid has");
}

/// The route by the Schur complement S = C H^-1 C^T of H in [[H, C^T], [C, 0]].
class SchurSystem {
 public:
  SchurSystem(const SurfaceNormalEquations& equations, double ridge, const HardRows& rows)
      : equations_(equations), ridge_(ridge), rows_(rows) {}

  /// False where H is not positive definite or S singular.
  bool factor() {
    factor_ = SurfaceNormalFactor::of(equations_, ridge_);
    if (!factor_) return false;
    if (!solveColumns()) return false;
    MatrixXd S = rows_.multiplied(columns_);
    S = (S + S.transpose()).eval() / 2.0;
    const auto inverse = foundation::solveSymmetric(S, MatrixXd::Identity(S.rows(), S.cols()));
    if (!inverse) return false;
    inverse_ = *inverse;
    return true;
  }

  /// Nothing where H^-1 f cannot be trusted.
  std::optional<Stacked> solve(const MatrixXd& f, const MatrixXd& g) const {
    Stacked zero{MatrixXd::Zero(f.rows(), f.cols()), MatrixXd::Zero(g.rows(), g.cols())};
    if (largestEntry(f) == 0.0 && largestEntry(g) == 0.0) return zero;
    std::optional<MatrixXd> y = zero.x;
    if (largestEntry(f) > 0.0) y = factor_->solve(f);
    if (!y) return std::nullopt;
    MatrixXd multipliers = inverse_ * (rows_.multiplied(*y) - g);
    MatrixXd x = *y - columns_ * multipliers;
    return Stacked{std::move(x), std::move(multipliers)};
  }

  /// The system times a vector.
  Stacked multiplied(const Stacked& z) const {
    return {equations_.multiplied(z.x, ridge_) + rows_.transposedMultiplied(z.multipliers),
            rows_.multiplied(z.x)};
  }

  int size() const { return equations_.size() + rows_.rows(); }
  Stacked split(const VectorXd& z) const {
    return {z.head(equations_.size()), z.tail(rows_.rows())};
  }
  static VectorXd joined(const Stacked& z) {
    VectorXd all(z.x.rows() + z.multipliers.rows());
    all << z.x, z.multipliers;
    return all;
  }

 private:
  // A few columns at a time: there may be thousands.
  bool solveColumns() {
    foundation::progress::Stage stage("coupling constraints");
    const MatrixXd right = rows_.dense().transpose();
    columns_.resize(right.rows(), right.cols());
    for (Eigen::Index first = 0; first < right.cols(); first += kColumnsTogether) {
      stage.report(double(first), double(right.cols()));
      const Eigen::Index count = std::min(kColumnsTogether, right.cols() - first);
      const auto piece = factor_->solve(right.middleCols(first, count));
      if (!piece) return false;
      columns_.middleCols(first, count) = *piece;
    }
    return true;
  }

  const SurfaceNormalEquations& equations_;
  double ridge_;
  const HardRows& rows_;
  std::unique_ptr<SurfaceNormalFactor> factor_;
  MatrixXd columns_;  // H^-1 C^T
  MatrixXd inverse_;  // of S
};

/// Iterative refinement until the residual stops falling.
std::optional<Stacked> refined(const SchurSystem& system, const MatrixXd& f, const MatrixXd& g,
                               int maxRefinements) {
  std::optional<Stacked> z = system.solve(f, g);
  double last = std::numeric_limits<double>::infinity();
  foundation::progress::Stage stage("refining");
  for (int pass = 0; z && pass < maxRefinements; ++pass) {
    stage.report(pass, maxRefinements);
    const Stacked product = system.multiplied(*z);
    const MatrixXd overF = f - product.x;
    const MatrixXd overG = g - product.multipliers;
    const double now = std::max(largestEntry(overF) / std::max(largestEntry(f), 1e-300),
                                largestEntry(overG) / std::max(largestEntry(g), 1e-300));
    if (!(now < last / 2.0)) break;
    last = now;
    const std::optional<Stacked> step = system.solve(overF, overG);
    if (!step) break;
    z->x += step->x;
    z->multipliers += step->multipliers;
  }
  return z;
}

// The largest magnitude of an eigenvalue of a symmetric operator, by that of its square.
template <class Apply>
double largestMagnitude(const Apply& apply, int size) {
  foundation::progress::Stage stage("estimating the condition");
  return std::sqrt(foundation::largestEigenvalue(size, [&](const VectorXd& x, VectorXd& y) {
    stage.report(0.0);
    y = apply(apply(x));
  }));
}

double conditionOf(const SchurSystem& system) {
  const auto applied = [&](const VectorXd& z) {
    return SchurSystem::joined(system.multiplied(system.split(z)));
  };
  const auto inverted = [&](const VectorXd& z) -> VectorXd {
    const Stacked parts = system.split(z);
    const auto solution = system.solve(parts.x, parts.multipliers);
    return solution ? SchurSystem::joined(*solution)
                    : VectorXd::Constant(z.size(), std::numeric_limits<double>::quiet_NaN());
  };
  const double inverseOfSmallest = largestMagnitude(inverted, system.size());
  return conditionNumber(largestMagnitude(applied, system.size()),
                         inverseOfSmallest > 0.0 ? 1.0 / inverseOfSmallest : 0.0);
}

double fullCondition(const MatrixXd& A) {
  const VectorXd values = foundation::singularValues(A);
  return conditionNumber(values[0], values[values.size() - 1]);
}

void solveWrittenOut(const SurfaceNormalEquations& equations, const HardRows& rows,
                     const SolverSettings& settings, ConstrainedSolution& solution) {
  const MatrixXd H = withRidge(equations.dense(), solution.regularization);
  const MatrixXd system = saddlePointMatrix(H, rows.dense());
  const MatrixXd sides = saddlePointRightSide(equations.rightHandSide(), rows.targetMatrix());
  const bool isAffordable = system.rows() <= 2 * kMostFullUnknowns;
  if (settings.analyse)
    solution.condition = isAffordable ? fullCondition(system) : kSingularCondition;
  accept(solution, foundation::solveLeastSquares(system, sides).topRows(equations.size()), rows);
}

double largestSingularValue(const SurfaceNormalEquations& equations, bool isWrittenOut) {
  return isWrittenOut ? foundation::singularValues(equations.dense())[0]
                      : equations.largestEigenvalue();
}

/// Of the normal matrix: the smallest eigenvalue, also where the matrix is nearly singular.
double smallestEigenvalue(const SurfaceNormalEquations& equations, double largest) {
  if (const auto factor = SurfaceNormalFactor::of(equations)) return factor->smallestEigenvalue();
  const double shift = kReadableShift * largest;
  const auto shifted = SurfaceNormalFactor::of(equations, shift);
  return shifted ? shifted->smallestEigenvalue() - shift : 0.0;
}

double normalCondition(const SurfaceNormalEquations& equations, bool isWrittenOut) {
  if (isWrittenOut) return fullCondition(equations.dense());
  const double largest = equations.largestEigenvalue();
  return conditionNumber(largest, smallestEigenvalue(equations, largest));
}

void regularise(const SurfaceNormalEquations& equations, const SolverSettings& settings,
                bool isWrittenOut, ConstrainedSolution& solution) {
  solution.regularization = settings.lambda * largestSingularValue(equations, isWrittenOut);
  status::progress(status::Symbol::None,
                   "   Applied regularization: λ = ", solution.regularization);
}

std::optional<MatrixXd> solveLocally(const SurfaceNormalEquations& equations, double ridge) {
  const auto factor = SurfaceNormalFactor::of(equations, ridge);
  if (!factor) return std::nullopt;
  return factor->solve(equations.rightHandSide());
}

}  // namespace

double conditionNumber(double largest, double smallest) {
  return smallest > kSmallestSingularValue ? largest / smallest : kSingularCondition;
}

double augmentedRidge(const SurfaceNormalEquations& equations, const HardRows& rows,
                      const SolverSettings& settings) {
  double ridge = settings.lambda;
  if (settings.isAdaptive) {
    const bool isWrittenOut = writesOut(settings, equations.size() + rows.rows());
    const double largest = largestSingularValue(equations, isWrittenOut);
    if (largest > 0.0) ridge *= largest;
  }
  status::progress(status::Symbol::Step, "Added regularization factor: ", ridge);
  status::progress(status::Symbol::None, "   📊 System breakdown: ", equations.size(),
                   " control points + ", rows.rows(),
                   " hard constraints = ", equations.size() + rows.rows(), " total variables");
  return ridge;
}

ConstrainedSolution solveAugmented(const SurfaceNormalEquations& equations, const HardRows& rows,
                                   double ridge, const SolverSettings& settings) {
  ConstrainedSolution solution;
  const int unknowns = equations.size() + rows.rows();
  const bool isWrittenOut = writesOut(settings, unknowns);
  solution.regularization = ridge;
  if (!isWrittenOut) {
    SchurSystem system(equations, solution.regularization, rows);
    if (system.factor()) {
      if (settings.analyse) solution.condition = conditionOf(system);
      const auto z =
          refined(system, equations.rightHandSide(), rows.targetMatrix(), settings.maxRefinements);
      if (z && isAnswer(z->x, rows)) {
        solution.controlPoints = z->x;
        return solution;
      }
    }
    if (unknowns > kMostRescuedUnknowns) {
      solution.warnings.push_back(
          "The system is too large and too nearly singular to be solved: hard constraints "
          "contradict each other, or the regularisation is too small");
      return solution;
    }
  }
  solveWrittenOut(equations, rows, settings, solution);
  return solution;
}

ConstrainedSolution solveLeastSquaresFit(const SurfaceNormalEquations& equations,
                                         const SolverSettings& settings) {
  ConstrainedSolution solution;
  const bool isWrittenOut = writesOut(settings, equations.size());
  if (settings.analyse) solution.condition = normalCondition(equations, isWrittenOut);
  if (solution.condition > settings.conditionThreshold) {
    status::progress(status::Symbol::None, "System is ill-conditioned, applying regularization");
    regularise(equations, settings, isWrittenOut, solution);
  }
  if (!isWrittenOut) {
    solution.controlPoints = solveLocally(equations, solution.regularization);
    if (solution.controlPoints) return solution;
  }
  if (equations.size() > kMostRescuedUnknowns) {
    solution.warnings.push_back("The system is deficient; it was regularised");
    regularise(equations, settings, isWrittenOut, solution);
    solution.controlPoints = solveLocally(equations, solution.regularization);
    return solution;
  }
  solution.controlPoints = foundation::solveSymmetric(
      withRidge(equations.dense(), solution.regularization), equations.rightHandSide());
  return solution;
}

}  // namespace trova::geometry::internal
