#pragma once

#include "morvel/foundation/as_stored.h"
#include "morvel/surfaces/placed_surface.h"
#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry {

/// A profile turned about an axis by the right-hand rule: s runs over the profile's interval from
/// start to end, t over the angles from the start angle to the end angle.
class MORVEL_API RevolveSurface : public PlacedSurface<RevolveSurface> {
 public:
  /// Copies the profile. Angles are in radians; an end angle that is not above the start angle
  /// makes a surface that is not valid.
  /// @throws std::invalid_argument for a null profile, numbers that are not finite, or an axis of
  ///         length zero
  RevolveSurface(const std::shared_ptr<const Curve>& profile, const Point3D& axisPoint,
                 const Vector3D& axisDirection, double startAngle, double endAngle);
  /// With the unit axis of another such surface. @throws also where it is none
  RevolveSurface(foundation::AsStored, const std::shared_ptr<const Curve>& profile,
                 const Point3D& axisPoint, const Vector3D& unitAxis, double startAngle,
                 double endAngle);

  const Curve& getProfile() const { return profile_.curve(); }
  const Point3D& getAxisPoint() const { return axisPoint_; }
  const Vector3D& getAxisDirection() const { return axis_; }  ///< unit vector
  double getStartAngle() const { return startAngle_; }
  double getEndAngle() const { return endAngle_; }
  /// |end - start - 2 pi| < 1e-6.
  bool isFullTurn() const;

  std::string getTypeIdentifier() const override { return "RevolveSurface"; }
  bool isValid() const override { return endAngle_ > startAngle_ && profile_.curve().isValid(); }
  /// A full turn of a profile that is closed or has both ends on the axis.
  bool isClosed() const override;

 private:
  friend class WindowedSurface<RevolveSurface, Surface>;
  friend class PlacedSurface<RevolveSurface>;

  Point3D localPoint(double s, double t) const;
  void localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  BoundingBox localBox() const;
  bool isNaturallyPeriodicS() const { return profile_.curve().isPeriodic(); }
  bool isNaturallyPeriodicT() const { return isFullTurn(); }
  std::pair<int, int> naturalNurbsCounts() const;
  double turnsAt(double t) const;
  Vector3D alongAxis(const Vector3D& v) const { return axis_ * v.dot(axis_); }
  double distanceToAxis(const Point3D& point) const;

  UnitCurve profile_;
  Point3D axisPoint_;
  Vector3D axis_;
  double startAngle_;
  double endAngle_;
};

}  // namespace trova::geometry
