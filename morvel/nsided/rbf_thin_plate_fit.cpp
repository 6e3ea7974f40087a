// The linear system of a thin plate, and its solution.

#include <Eigen/Core>
#include <cmath>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"
#include "morvel/nsided/internal/fitted_thin_plate.h"
#include "morvel/nsided/internal/thin_plate_system.h"

namespace trova::geometry {
namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::RowVectorXd;
using Eigen::VectorXd;
using foundation::Point2D;
using internal::kQuadraticTerms;
using internal::thinPlateAt;
using internal::ThinPlateSums;
using internal::ThinPlateSystem;
using Type = RBFThinPlateSpline::ConstraintType;

constexpr std::size_t kSmallSystem = 24;   // positions, up to which the decomposition is quick
constexpr double kDecisionMargin = 100.0;  // how far the estimated condition may fall short
constexpr double kLambdaGrowth = 10.0;

int rowCount(Type type) {
  switch (type) {
    case Type::Position:
      return 1;
    case Type::Curvature:
      return 3;
    default:
      return 2;
  }
}

/// Rows of one constraint: the values and derivatives of every basis function at its place.
struct BasisRows {
  RowVectorXd value, u, v, uu, uv, vv;
};

BasisRows basisRows(const std::vector<Point2D>& centers, bool hasPolynomial, double u, double v) {
  const auto count = static_cast<Index>(centers.size());
  const Index columns = count + (hasPolynomial ? kQuadraticTerms : 0);
  BasisRows rows;
  for (RowVectorXd* row : {&rows.value, &rows.u, &rows.v, &rows.uu, &rows.uv, &rows.vv})
    row->setZero(columns);
  for (Index j = 0; j < count; ++j) {
    const ThinPlateSums phi = thinPlateAt(u - centers[j].x(), v - centers[j].y());
    rows.value[j] = phi.value;
    rows.u[j] = phi.u;
    rows.v[j] = phi.v;
    rows.uu[j] = phi.uu;
    rows.uv[j] = phi.uv;
    rows.vv[j] = phi.vv;
  }
  if (!hasPolynomial) return rows;
  rows.value.tail(kQuadraticTerms) = internal::quadraticTerms(u, v);
  rows.u.tail(kQuadraticTerms) << 0.0, 1.0, 0.0, 2.0 * u, v, 0.0;
  rows.v.tail(kQuadraticTerms) << 0.0, 0.0, 1.0, 0.0, u, 2.0 * v;
  rows.uu.tail(kQuadraticTerms) << 0.0, 0.0, 0.0, 2.0, 0.0, 0.0;
  rows.uv.tail(kQuadraticTerms) << 0.0, 0.0, 0.0, 0.0, 1.0, 0.0;
  rows.vv.tail(kQuadraticTerms) << 0.0, 0.0, 0.0, 0.0, 0.0, 2.0;
  return rows;
}

}  // namespace

struct RBFThinPlateSpline::System {
  MatrixXd matrix;
  VectorXd right;
};

struct RBFThinPlateSpline::Solution {
  VectorXd values;
  double condition = 0.0;
};

RBFThinPlateSpline::System RBFThinPlateSpline::BuildConstraintSystem(double lambda) const {
  const std::vector<Point2D> at = centers();
  Index height = 0;
  for (const Constraint& constraint : constraints_)
    height += rowCount(constraint.type);
  System system{MatrixXd(height, Index(at.size()) + (usePolynomialTerms_ ? kQuadraticTerms : 0)),
                VectorXd(height)};
  Index row = 0;
  foundation::progress::Stage stage("assembling");
  for (const Constraint& c : constraints_) {
    stage.report(0.0);
    const BasisRows rows = basisRows(at, usePolynomialTerms_, c.u, c.v);
    const auto put = [&](const RowVectorXd& values, double target) {
      system.matrix.row(row) = c.weight * values;
      system.right[row++] = c.weight * target;
    };
    if (c.type == Type::Position) put(rows.value, c.target[0]);
    if (c.type == Type::Tangent) {
      put(rows.u, c.target[0]);
      put(rows.v, c.target[1]);
    }
    if (c.type == Type::Normal) {
      put(c.target[2] * rows.u, -c.target[0]);
      put(c.target[2] * rows.v, -c.target[1]);
    }
    if (c.type == Type::Curvature) {
      put(rows.uu, c.target[0]);
      put(rows.uv, c.target[1]);
      put(rows.vv, c.target[2]);
    }
  }
  system.matrix.diagonal().array() += lambda;
  return system;
}

// The quick route: positions only, many of them, and a condition number that is clearly in range.
bool RBFThinPlateSpline::solveQuickly(double lambda, Solution& solution) const {
  if (constraints_.size() <= kSmallSystem || !hasPositionsOnly()) return false;
  const auto count = static_cast<Index>(constraints_.size());
  VectorXd weights(count);
  VectorXd heights(count);
  for (Index i = 0; i < count; ++i) {
    weights[i] = constraints_[i].weight;
    heights[i] = constraints_[i].target[0];
  }
  const auto system = ThinPlateSystem::factored(centers(), weights, lambda, usePolynomialTerms_);
  if (!system) return false;
  solution.condition = system->conditionEstimate();
  if (!(solution.condition * kDecisionMargin < maxCondition_)) return false;
  const auto values = system->solve(heights);
  if (values) solution.values = *values;
  return values.has_value();
}

RBFThinPlateSpline::Solution RBFThinPlateSpline::solve(double lambda) const {
  Solution quick;
  if (solveQuickly(lambda, quick)) return quick;
  const System system = BuildConstraintSystem(lambda);
  const auto exact = foundation::solveBySingularValues(system.matrix, system.right);
  return {exact.x.col(0), exact.condition};
}

bool RBFThinPlateSpline::Fit(bool use_regularization, double regularization) {
  fit_.reset();
  fitted_ = false;
  if (constraints_.empty() || centers().empty()) return false;
  if (regularization > 0.0 && std::isfinite(regularization)) lambda_ = regularization;
  const double first = use_regularization ? lambda_ : 0.0;
  Solution solution = solve(first);
  const double condition = solution.condition;
  if (!(condition <= maxCondition_)) {
    lambda_ *= kLambdaGrowth;
    solution = solve(first + lambda_);
  }
  if (!solution.values.allFinite()) return false;
  fit_ = std::make_shared<const Fitted>(centers(), solution.values, condition);
  fitted_ = true;
  return true;
}

double RBFThinPlateSpline::ComputeConditionNumber() const {
  return centers().empty() ? 0.0 : solve(lambda_).condition;
}

}  // namespace trova::geometry
