#pragma once

#include <Eigen/Core>
#include <array>
#include <optional>
#include <vector>

#include "morvel/blend/ball_path.h"
#include "morvel/blend/radius_law.h"

// Balls that touch two surfaces with their centres on given planes: the stations of a spine whose
// radius changes.

namespace trova::geometry::blend {

/// Unknowns: the contacts' parameters u1 v1 u2 v2 and the centre x y z.
using SpineVector = Eigen::Matrix<double, 7, 1>;
using SpineMatrix = Eigen::Matrix<double, 7, 7>;

/// Two surfaces with the sides on which the ball lies.
struct MORVEL_API BlendSides {
  const Surface* surface1 = nullptr;
  const Surface* surface2 = nullptr;
  double side1 = 1.0;  ///< 1 where the ball lies where the normal points, else -1
  double side2 = 1.0;
};

/// What a station must satisfy.
class MORVEL_API VariableSpineConstraintSystem {
 public:
  VariableSpineConstraintSystem(const BlendSides& sides, double radius, const Point3D& planePoint,
                                const Vector3D& planeNormal)
      : sides_(sides), radius_(radius), planePoint_(planePoint), planeNormal_(planeNormal) {}

  /// centre - S1 - side1 r n1 (three), the same of surface 2 (three), and the centre's distance
  /// from the plane (the normal being unit), with their derivatives. False where a surface has no
  /// normal or is not finite.
  bool evaluateConstraints(const SpineVector& x, SpineVector& residual,
                           SpineMatrix& jacobian) const;

 private:
  BlendSides sides_;
  double radius_;
  Point3D planePoint_;
  Vector3D planeNormal_;
};

struct MORVEL_API VariableSpineResult {
  BallStation station;
  double residual = 0.0;  ///< of the seven constraints, model units
  int iterations = 0;
  bool converged = false;
};

class MORVEL_API VariableSpineContactSolver {
 public:
  explicit VariableSpineContactSolver(const BlendSides& sides, VariableSpineConfig config = {})
      : sides_(sides), config_(config) {}

  /// The ball of a radius whose centre lies on the plane, from near parameters u1 v1 u2 v2.
  /// @param planeNormal  unit
  VariableSpineResult solve(double radius, const Point3D& planePoint, const Vector3D& planeNormal,
                            const std::array<double, 4>& guess) const;

  /// Parameters with the centre half-way between those that both surfaces ask for.
  SpineVector generateInitialGuess(double radius, const std::array<double, 4>& parameters) const;

  /// The step that reduces the residual, by least squares with a regularisation.
  std::optional<SpineVector> solveLeastSquares(const SpineMatrix& jacobian,
                                               const SpineVector& residual) const;

  /// Keeps the parameters in their ranges. Whether they were there.
  bool clampParameters(SpineVector& x) const;

  /// Stations of the law along a guide: at each fraction the centre lies in the guide's plane
  /// there. Empty entries where the ball cannot stand.
  std::vector<VariableSpineResult> generateConstraintBasedSpine(
      const BallPath& guide, const RadiusLaw& law, const std::vector<double>& fractions) const;

  static VariableSpineResult createResult(const BlendSides& sides, double radius,
                                          const SpineVector& x, double residual, int iterations,
                                          bool converged);

 private:
  BlendSides sides_;
  VariableSpineConfig config_;
};

}  // namespace trova::geometry::blend
