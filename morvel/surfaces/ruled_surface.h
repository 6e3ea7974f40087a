#pragma once

#include "morvel/surfaces/placed_surface.h"
#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry {

/// Straight lines between points of equal parameter on two curves: (1 - t) first(s) + t second(s);
/// s runs over either curve's interval from start to end.
class MORVEL_API RuledSurface : public PlacedSurface<RuledSurface> {
 public:
  /// Copies the curves. @throws std::invalid_argument for a null curve
  RuledSurface(const std::shared_ptr<const Curve>& first,
               const std::shared_ptr<const Curve>& second);

  const Curve& getFirstCurve() const { return first_.curve(); }
  const Curve& getSecondCurve() const { return second_.curve(); }

  std::string getTypeIdentifier() const override { return "RuledSurface"; }
  bool isValid() const override { return first_.curve().isValid() && second_.curve().isValid(); }
  /// Exact where both curves are polynomials on uniform knots that have a common such form; else
  /// the curves are fitted within the tolerance. Linear along the rulings.
  /// @throws ToNurbsInvalidSurfaceException; ToNurbsConvergenceException where curves with sharp
  /// bends
  ///         away from uniform knots cannot be met
  std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const override;
  /// `toNurbs` at the default tolerance, owned by the caller.
  std::unique_ptr<BSplineSurface> toBSpline() const;

 private:
  friend class WindowedSurface<RuledSurface, Surface>;
  friend class PlacedSurface<RuledSurface>;

  Point3D localPoint(double s, double t) const;
  void localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  BoundingBox localBox() const;
  bool isNaturallyPeriodicS() const;
  bool isNaturallyPeriodicT() const { return false; }
  std::pair<int, int> naturalNurbsCounts() const;

  UnitCurve first_;
  UnitCurve second_;
};

}  // namespace trova::geometry
