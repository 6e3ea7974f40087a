#pragma once

#include "morvel/curves/analytic_curve.h"
#include "morvel/foundation/as_stored.h"

namespace trova::geometry {

/// 2 pi, the number that closes circles and ellipses.
inline constexpr double kFullTurn = 6.283185307179586;

/// Arcs of more turns than this are refused: every quarter turn is a piece of the spline form.
inline constexpr double kMaxArcTurns = 1000.0;

/// A circle or arc: center + radius (cos a U + sin a V), the angle a running linearly from the
/// start to the end angle (radians, either order) while the parameter runs over [0, 1]. U is the
/// start axis, V = normal x U, so that growing angles turn about the normal by the right-hand rule.
class MORVEL_API CircleCurve : public AnalyticCurve {
 public:
  /// U is `foundation::anyPerpendicular` of the normal. A normal without direction (shorter than
  /// 1e-4) makes both axes zero: such a circle is not valid and evaluates to its center.
  /// @throws std::invalid_argument for numbers that are not finite or more than kMaxArcTurns turns
  CircleCurve(const Point3D& center, const Vector3D& normal, double radius, double startAngle = 0.0,
              double endAngle = kFullTurn);
  /// U is the part of `startAxis` perpendicular to the normal; where none is left, as above.
  CircleCurve(const Point3D& center, const Vector3D& normal, const Vector3D& startAxis,
              double radius, double startAngle = 0.0, double endAngle = kFullTurn);
  /// With both axes as another circle has them.
  /// @throws std::invalid_argument also where they are not the axes of such a circle
  CircleCurve(foundation::AsStored, const Point3D& center, const Vector3D& normal,
              const Vector3D& startAxis, const Vector3D& secondAxis, double radius,
              double startAngle, double endAngle);

  const Point3D& getCenter() const { return center_; }
  using AnalyticCurve::getNormal;
  /// The normal of the plane as given, not normalised; `getNormal(t)` is the curve's own at t.
  const Vector3D& getNormal() const { return normal_; }
  double getRadius() const { return radius_; }
  double getStartAngle() const { return startAngle_; }
  double getEndAngle() const { return endAngle_; }
  const Vector3D& getStartAxis() const { return startAxis_; }
  /// V, the unit axis at 90 degrees.
  const Vector3D& getSecondAxis() const { return secondAxis_; }
  /// |end - start - 2 pi| < 1e-6. By contract: a full turn the other way round (start above end) is
  /// none; `reverse` turns the normal over and keeps a full circle full.
  bool isFullCircle() const;

  std::string getTypeIdentifier() const override { return "CircleCurve"; }
  std::unique_ptr<Curve> clone() const override;
  /// The radius and the normal's length are above 1e-4.
  bool isValid() const override;
  ParameterInterval getParameterInterval() const override { return {0.0, 1.0}; }
  /// By contract: `isFullCircle`, whatever the tolerance.
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override { return isFullCircle(); }
  /// Parameters outside [0, 1] give the ends.
  Point3D evaluate(double t) const override;
  std::vector<Vector3D> evaluateDerivatives(double t, int order) const override;
  /// Tight.
  BoundingBox getBoundingBox() const override;
  /// The nearest point of the whole arc; the start for a point on the axis.
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  double getArcLength(double t0, double t1) const override;
  /// A circle where the map keeps circles of this plane circular; else the exact NurbsCurve of the
  /// image.
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  std::unique_ptr<Curve> trim(double t0, double t1) const override;
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double t) const override;
  /// The same points about the opposite normal: start -end, end -start, the same U.
  std::unique_ptr<Curve> reverse() const override;
  /// Natural: a longer arc, which may pass its own start. Linear: the spline form with a tangent
  /// segment.
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  /// A concentric circle where the plane normal is along the circle's; else an OffsetCurve.
  /// @throws std::invalid_argument where no circle of a radius above 1e-4 is left
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  /// @throws std::invalid_argument, before any change, where the image is not a circle
  void applyTransformToGeometry(const Transform3D& transform) override;

  /// Quadratic pieces of at most 90 degrees, equal in angle and in parameter.
  std::unique_ptr<NurbsCurve> toNurbs() const override;

 private:
  double angleAt(double t) const;
  double turningSense() const;
  std::unique_ptr<CircleCurve> withAngles(double start, double end) const;
  std::unique_ptr<CircleCurve> imageUnder(const Transform3D& transform) const;

  Point3D center_;
  Vector3D normal_;
  Vector3D startAxis_;
  Vector3D secondAxis_;
  double radius_;
  double startAngle_;
  double endAngle_;
};

}  // namespace trova::geometry
