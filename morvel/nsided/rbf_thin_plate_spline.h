#pragma once

#include <array>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "morvel/foundation/point.h"
#include "morvel/nsided/boundary_constraints.h"
#include "morvel/surfaces/bspline_surface.h"

namespace trova::geometry {

/// A height h(u, v) through scattered constraints: a thin plate with the radial function
/// phi(r) = r^2 ln r around every position constraint, and a quadratic polynomial (Duchon, Splines
/// minimizing rotation-invariant semi-norms in Sobolev spaces, 1977; here without side conditions:
/// the solution of least norm is taken).
///
/// Add constraints, `Fit`, evaluate. Evaluation costs one logarithm a centre.
class MORVEL_API RBFThinPlateSpline {
 public:
  enum class ConstraintType { Position = 0, Tangent = 1, Normal = 2, Curvature = 3 };

  struct Constraint {
    ConstraintType type = ConstraintType::Position;
    double u = 0.0;
    double v = 0.0;
    std::array<double, 3> target{};  ///< as many of them as the type has targets
    double weight = 1.0;
  };

  struct DomainBounds {
    double uMin = 0.0;
    double uMax = 1.0;
    double vMin = 0.0;
    double vMax = 1.0;
  };

  /// How well a fit meets its position constraints.
  struct FittingQuality {
    double maxDeviation = 0.0;
    double rmsDeviation = 0.0;
    double conditionNumber = 0.0;
  };

  // Each throws std::invalid_argument for numbers that are not finite, a weight not above 0, or a
  // normal of length 0; a fit made before is void.

  void AddPositionConstraint(double u, double v, double height, double weight = 1.0);
  /// The slopes dh/du and dh/dv: two rows.
  void AddTangentConstraint(double u, double v, double slopeU, double slopeV, double weight = 1.0);
  /// The surface (u, v, h) has this normal n, of any length and orientation: two rows,
  /// n_h dh/du = -n_u and n_h dh/dv = -n_v for the unit normal.
  void AddNormalConstraint(double u, double v, const Vector3D& normal, double weight = 1.0);
  /// The second derivatives: three rows.
  void AddCurvatureConstraint(double u, double v, double bendUU, double bendUV, double bendVV,
                              double weight = 1.0);
  /// Positions by their heights; tangent planes with a normal as normal constraints, others as
  /// tangent constraints; curvatures.
  void AddBoundaryConstraints(const BoundaryConstraints& constraints);
  void ClearConstraints();

  /// Fits all constraints in the least-squares sense, of all best solutions the one of least norm.
  /// Where the condition number exceeds its maximum, lambda is multiplied by ten and added to the
  /// diagonal once more; by contract this happens once, not in a loop.
  /// @param use_regularization  adds lambda to every diagonal entry
  /// @param regularization      above 0: replaces lambda
  /// @return false without constraints, without a position constraint, or where the solution is
  ///         not finite
  bool Fit(bool use_regularization, double regularization);

  bool IsFitted() const { return fitted_; }
  /// @throws std::runtime_error "RBF surface not fitted yet"; so do the next two
  double EvaluateAt(double u, double v) const;
  void EvaluateWithDerivatives(double u, double v, double& height, double& slopeU,
                               double& slopeV) const;
  void EvaluateWithSecondDerivatives(double u, double v, double& height, double& slopeU,
                                     double& slopeV, double& bendUU, double& bendUV,
                                     double& bendVV) const;
  /// Heights at pairs u v, with the bits of EvaluateAt.
  void EvaluateBatch(std::span<const double> uv, double* heights) const;

  /// A clamped surface whose control net is the points (u, v, h) on a resolution x resolution grid
  /// over the domain. By contract the grid is the net itself, it is not interpolated; the counts
  /// asked for have no say where they differ from it.
  /// @throws std::runtime_error "RBF surface must be fitted before B-spline conversion", or
  ///         "B-spline conversion failed: " with the reason
  void ConvertToBSpline(std::unique_ptr<BSplineSurface>& surface, int degree_u, int degree_v,
                        int control_u, int control_v, int resolution) const;

  /// Replaces all constraints by those of a boundary and fits them with regularisation.
  /// @throws as BoundaryConstraintExtractor::extractFromCurves
  bool FillNSidedBoundary(const BoundaryCurves& curves, const std::vector<int>& continuityLevels,
                          int samplesPerCurve);

  /// Whether a fit makes sense: positions that do not lie on one line. `message` gets the reason.
  bool ValidateConstraintSystem(std::string* message = nullptr) const;
  /// Zeros before a fit.
  FittingQuality GetFittingQuality() const;
  /// How many constraints of each type, in the order of ConstraintType.
  std::array<int, 4> GetConstraintCounts() const;
  const std::vector<Constraint>& GetConstraints() const { return constraints_; }

  void SetUsePolynomialTerms(bool use);
  /// @throws std::invalid_argument unless regularization >= 0 and maxConditionNumber > 1
  void SetNumericalParameters(double regularization, double maxConditionNumber);
  double GetRegularization() const { return lambda_; }
  double GetMaxConditionNumber() const { return maxCondition_; }
  DomainBounds GetDomainBounds() const { return domain_; }
  /// @throws std::invalid_argument for empty or infinite bounds
  void SetDomainBounds(double uMin, double uMax, double vMin, double vMax);
  /// Of the constraints as they stand with lambda on the diagonal: exact for small and for
  /// ill-conditioned systems, else an estimate that may fall short by a small factor. 0 without
  /// position constraints.
  double ComputeConditionNumber() const;

 private:
  struct System;
  struct Solution;

  void add(const Constraint& constraint);
  void requireFitted() const;
  bool hasPositionsOnly() const;
  std::vector<foundation::Point2D> centers() const;
  System BuildConstraintSystem(double lambda) const;
  bool solveQuickly(double lambda, Solution& solution) const;
  Solution solve(double lambda) const;

  std::vector<Constraint> constraints_;
  bool fitted_ = false;
  DomainBounds domain_;
  double lambda_ = 1e-8;
  double maxCondition_ = 1e12;
  bool usePolynomialTerms_ = true;

  struct Fitted;
  std::shared_ptr<const Fitted> fit_;
};

/// A fitted thin plate over the x and y of points at heights z; its domain is their box.
/// @throws std::invalid_argument for fewer than 3 points, points that are not finite, or a box
///         without width
MORVEL_API std::unique_ptr<RBFThinPlateSpline> CreateRBFFromPoints(
    const std::vector<Point3D>& points, double regularization);

/// A thin plate fitted to a boundary (`FillNSidedBoundary`), or null where the fit fails.
MORVEL_API std::unique_ptr<RBFThinPlateSpline> CreateRBFForNSidedPatch(
    const BoundaryCurves& curves, const std::vector<int>& continuityLevels, int samplesPerCurve);

}  // namespace trova::geometry
