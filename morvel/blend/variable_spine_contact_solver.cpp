#include "morvel/blend/variable_spine_contact_solver.h"

#include <algorithm>
#include <cmath>

#include "morvel/blend/internal/offset_field.h"
#include "morvel/foundation/linear_solvers.h"

namespace trova::geometry::blend {
namespace {

using Eigen::Vector3d;
using internal::Jet;
using internal::OffsetField;

constexpr int kUnknowns = 7;
constexpr int kCentre = 4;  // where the centre begins among the unknowns

Jet offsetAt(const Surface& surface, double distance, double u, double v) {
  return OffsetField(surface, distance).at(u, v);
}

}  // namespace

bool VariableSpineConstraintSystem::evaluateConstraints(const SpineVector& x, SpineVector& residual,
                                                        SpineMatrix& jacobian) const {
  const Jet a = offsetAt(*sides_.surface1, sides_.side1 * radius_, x[0], x[1]);
  const Jet b = offsetAt(*sides_.surface2, sides_.side2 * radius_, x[2], x[3]);
  if (!a.usable || !b.usable) return false;
  const Vector3d centre = x.tail<3>();
  residual.segment<3>(0) = centre - a.point;
  residual.segment<3>(3) = centre - b.point;
  residual[6] = planeNormal_.eigen().dot(centre - planePoint_.eigen());
  jacobian.setZero();
  jacobian.block<3, 1>(0, 0) = -a.du;
  jacobian.block<3, 1>(0, 1) = -a.dv;
  jacobian.block<3, 1>(3, 2) = -b.du;
  jacobian.block<3, 1>(3, 3) = -b.dv;
  jacobian.block<3, 3>(0, kCentre).setIdentity();
  jacobian.block<3, 3>(3, kCentre).setIdentity();
  jacobian.block<1, 3>(6, kCentre) = planeNormal_.eigen().transpose();
  return residual.allFinite() && jacobian.allFinite();
}

SpineVector VariableSpineContactSolver::generateInitialGuess(
    double radius, const std::array<double, 4>& parameters) const {
  SpineVector x = SpineVector::Zero();
  for (int k = 0; k < kCentre; ++k)
    x[k] = parameters[std::size_t(k)];
  clampParameters(x);
  const Jet a = offsetAt(*sides_.surface1, sides_.side1 * radius, x[0], x[1]);
  const Jet b = offsetAt(*sides_.surface2, sides_.side2 * radius, x[2], x[3]);
  x.tail<3>() = (a.point + b.point) / 2;
  return x;
}

bool VariableSpineContactSolver::clampParameters(SpineVector& x) const {
  const ParameterRange* ranges[] = {&config_.u1, &config_.v1, &config_.u2, &config_.v2};
  bool wereInside = true;
  for (int k = 0; k < kCentre; ++k) {
    const double clamped = std::clamp(x[k], ranges[k]->low, ranges[k]->high);
    wereInside = wereInside && clamped == x[k];
    if (config_.clamp) x[k] = clamped;
  }
  return wereInside;
}

std::optional<SpineVector> VariableSpineContactSolver::solveLeastSquares(
    const SpineMatrix& jacobian, const SpineVector& residual) const {
  Eigen::MatrixXd A = Eigen::MatrixXd::Zero(2 * kUnknowns, kUnknowns);
  Eigen::MatrixXd b = Eigen::MatrixXd::Zero(2 * kUnknowns, 1);
  A.topRows(kUnknowns) = jacobian;
  A.bottomRows(kUnknowns).diagonal().setConstant(std::sqrt(config_.regularization));
  b.topRows(kUnknowns) = -residual;
  const SpineVector step = foundation::solveLeastSquares(A, b).col(0);
  if (!step.allFinite()) return std::nullopt;
  return step;
}

VariableSpineResult VariableSpineContactSolver::solve(double radius, const Point3D& planePoint,
                                                      const Vector3D& planeNormal,
                                                      const std::array<double, 4>& guess) const {
  const VariableSpineConstraintSystem system(sides_, radius, planePoint, planeNormal);
  SpineVector x = generateInitialGuess(radius, guess);
  SpineVector residual = SpineVector::Zero();
  SpineMatrix jacobian;
  double scale = config_.step_scale;
  double last = HUGE_VAL;
  for (int k = 0; k < config_.max_iterations; ++k) {
    if (!x.allFinite() || !system.evaluateConstraints(x, residual, jacobian)) break;
    const double size = residual.norm();
    if (size <= config_.tolerance) return createResult(sides_, radius, x, size, k + 1, true);
    const bool hasGained = size < last / 2;
    if (hasGained) scale = 1.0;
    last = size;
    const auto step = solveLeastSquares(jacobian, residual);
    if (!step || (!hasGained && step->norm() <= config_.step_tolerance * radius)) break;
    x += scale * *step;
    clampParameters(x);
  }
  return createResult(sides_, radius, x, residual.norm(), config_.max_iterations, false);
}

VariableSpineResult VariableSpineContactSolver::createResult(const BlendSides& sides, double radius,
                                                             const SpineVector& x, double residual,
                                                             int iterations, bool converged) {
  VariableSpineResult result;
  BallStation& at = result.station;
  const Jet a = offsetAt(*sides.surface1, 0.0, x[0], x[1]);
  const Jet b = offsetAt(*sides.surface2, 0.0, x[2], x[3]);
  at.centre = Point3D(Vector3d(x.tail<3>()));
  at.contact1 = Point3D(a.point);
  at.contact2 = Point3D(b.point);
  at.normal1 = Vector3D(a.normal);
  at.normal2 = Vector3D(b.normal);
  at.u1 = x[0];
  at.v1 = x[1];
  at.u2 = x[2];
  at.v2 = x[3];
  at.radius = radius;
  result.residual = residual;
  result.iterations = iterations;
  result.converged = converged;
  return result;
}

std::vector<VariableSpineResult> VariableSpineContactSolver::generateConstraintBasedSpine(
    const BallPath& guide, const RadiusLaw& law, const std::vector<double>& fractions) const {
  std::vector<VariableSpineResult> spine;
  for (const double t : fractions) {
    spine.emplace_back();
    const auto at = guide(t);
    if (!at) continue;
    spine.back() =
        solve(law.at(t), at->centre, at->along.normalized(), {at->u1, at->v1, at->u2, at->v2});
  }
  return spine;
}

}  // namespace trova::geometry::blend
