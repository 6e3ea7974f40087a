// The systems of a constraint set, written out.

#include <memory>
#include <optional>
#include <stdexcept>

#include "morvel/fitting/internal/constrained_solver.h"
#include "morvel/fitting/internal/hard_rows.h"
#include "morvel/fitting/internal/saddle_point.h"
#include "morvel/fitting/internal/surface_normal_equations.h"
#include "morvel/fitting/surface_constraint_set.h"
#include "morvel/foundation/checked_count.h"

namespace trova::geometry {

using foundation::nurbs::SplineBasis;
using internal::HardRows;
using internal::SurfaceNormalEquations;

namespace {

constexpr std::int64_t kMostEntries = std::int64_t{1} << 27;

SurfaceConstraintSystem refused(std::string error) {
  SurfaceConstraintSystem system;
  system.error = std::move(error);
  return system;
}

/// What a system is made of, or why there is none.
struct Parts {
  std::optional<SurfaceNormalEquations> equations;
  std::optional<HardRows> rows;
  std::string error;
};

Parts partsOf(const SurfaceConstraintSet& constraints, const SplineBasis& u, const SplineBasis& v) {
  Parts parts;
  if (!constraints.validate_all_constraints()) {
    parts.error = "Invalid constraints";
    return parts;
  }
  try {
    const auto basis = std::make_shared<const BasisDerivativeEvaluator>(u.knots(), v.knots(),
                                                                        u.degree(), v.degree());
    const std::int64_t side =
        std::int64_t{basis->control_point_count()} + constraints.count_hard_constraints();
    foundation::checkedCount({side, side}, kMostEntries);
    parts.rows = internal::hardRowsOf(constraints, basis, true, parts.error);
    if (!parts.rows) return parts;
    parts.equations.emplace(u, v);
  } catch (const std::invalid_argument& e) {
    parts.error = e.what();
    return parts;
  }
  for (const SurfacePointConstraint& point : constraints.point_constraints()) {
    if (point.is_active && point.type == PointConstraintType::Approximation)
      parts.equations->add(point.u, point.v, point.position, point.weight);
  }
  return parts;
}

SurfaceConstraintSystem system(Eigen::MatrixXd matrix, Eigen::MatrixXd side, const Parts& parts) {
  SurfaceConstraintSystem made;
  made.matrix = std::move(matrix);
  made.right_hand_side = std::move(side);
  made.control_points = parts.equations->size();
  made.success = true;
  return made;
}

}  // namespace

SurfaceConstraintSystem SurfaceConstraintSet::build_constraint_system(const SplineBasis& u,
                                                                      const SplineBasis& v) const {
  const Parts parts = partsOf(*this, u, v);
  if (!parts.equations) return refused(parts.error);
  SurfaceConstraintSystem made = system(parts.rows->dense(), parts.rows->targetMatrix(), parts);
  made.hard_constraints = parts.rows->rows();
  return made;
}

SurfaceConstraintSystem SurfaceConstraintSet::build_least_squares_system(
    const SplineBasis& u, const SplineBasis& v) const {
  const Parts parts = partsOf(*this, u, v);
  if (!parts.equations) return refused(parts.error);
  return system(parts.equations->dense(), parts.equations->rightHandSide(), parts);
}

SurfaceConstraintSystem SurfaceConstraintSet::build_lagrange_multiplier_system(
    const SplineBasis& u, const SplineBasis& v, double weight, bool isAdaptive) const {
  const Parts parts = partsOf(*this, u, v);
  if (!parts.equations) return refused(parts.error);
  internal::SolverSettings settings;
  settings.lambda = weight;
  settings.isAdaptive = isAdaptive;
  const double ridge = internal::augmentedRidge(*parts.equations, *parts.rows, settings);
  Eigen::MatrixXd H = parts.equations->dense();
  H.diagonal().array() += ridge;
  SurfaceConstraintSystem made = system(
      internal::saddlePointMatrix(H, parts.rows->dense()),
      internal::saddlePointRightSide(parts.equations->rightHandSide(), parts.rows->targetMatrix()),
      parts);
  made.hard_constraints = parts.rows->rows();
  made.regularization = ridge;
  return made;
}

}  // namespace trova::geometry
