#pragma once

#include "morvel/foundation/as_stored.h"
#include "morvel/surfaces/placed_surface.h"
#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry {

/// A profile moved along a straight line: profile(s) + t distance direction; s runs over the
/// profile's interval from start to end.
class MORVEL_API ExtrudeSurface : public PlacedSurface<ExtrudeSurface> {
 public:
  /// Copies the profile. A distance that is not above 0 makes a surface that is not valid.
  /// @throws std::invalid_argument for a null profile, numbers that are not finite, or a direction
  /// of
  ///         length zero
  ExtrudeSurface(const std::shared_ptr<const Curve>& profile, const Vector3D& direction,
                 double distance);
  /// With the unit direction of another such surface. @throws also where it is none
  ExtrudeSurface(foundation::AsStored, const std::shared_ptr<const Curve>& profile,
                 const Vector3D& unitDirection, double distance);

  const Curve& getProfile() const { return profile_.curve(); }
  const Vector3D& getDirection() const { return direction_; }  ///< unit vector
  double getDistance() const { return distance_; }

  std::string getTypeIdentifier() const override { return "ExtrudeSurface"; }
  bool isValid() const override { return distance_ > 0.0 && profile_.curve().isValid(); }
  /// Exact for a polynomial profile whose knots are uniform (a line, a Bezier curve, such a
  /// B-spline curve); else the profile is fitted within the tolerance. Linear along the direction.
  /// @throws as RuledSurface::toNurbs
  std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const override;

 private:
  friend class WindowedSurface<ExtrudeSurface, Surface>;
  friend class PlacedSurface<ExtrudeSurface>;

  Point3D localPoint(double s, double t) const;
  void localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  BoundingBox localBox() const;
  bool isNaturallyPeriodicS() const { return profile_.curve().isPeriodic(); }
  bool isNaturallyPeriodicT() const { return false; }
  std::pair<int, int> naturalNurbsCounts() const;

  UnitCurve profile_;
  Vector3D direction_;
  double distance_;
};

}  // namespace trova::geometry
