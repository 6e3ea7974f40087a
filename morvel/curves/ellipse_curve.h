#pragma once

#include "morvel/curves/analytic_curve.h"

namespace trova::geometry {

/// An ellipse or elliptic arc: center + a cos(w) M + b sin(w) N over the parameters w from start to
/// end (radians), M being the unit major axis.
///
/// By contract: N is (0, 0, 1) x M, normalised, whatever the stored normal says; an ellipse
/// therefore has a horizontal minor axis, and one with a vertical major axis has none (its points
/// lie on the major axis). By contract too: the interval is the angles themselves, not [0, 1] as
/// for the circle, and a reversed ellipse has start greater than end. Derivatives are those by w in
/// either case, the tangent points the way the curve runs.
class MORVEL_API EllipseCurve : public AnalyticCurve {
 public:
  /// @throws std::invalid_argument for numbers that are not finite or more than kMaxArcTurns turns
  EllipseCurve(const Point3D& center, const Vector3D& majorAxis, const Vector3D& normal,
               double semiMajor, double semiMinor, double startAngle, double endAngle);

  const Point3D& getCenter() const { return center_; }
  /// As given, not normalised.
  const Vector3D& getMajorAxis() const { return majorAxis_; }
  /// M above: the unit major axis, zero where the given one is shorter than 1e-4.
  const Vector3D& getMajorDirection() const { return majorUnit_; }
  /// N above: a unit vector, or zero where the major axis is vertical or has no direction.
  const Vector3D& getMinorAxis() const { return minorUnit_; }
  using AnalyticCurve::getNormal;
  /// The normal as given; `getNormal(w)` is the curve's own at w.
  const Vector3D& getNormal() const { return normal_; }
  double getSemiMajor() const { return semiMajor_; }
  double getSemiMinor() const { return semiMinor_; }
  double getStartAngle() const { return startAngle_; }
  double getEndAngle() const { return endAngle_; }

  std::string getTypeIdentifier() const override { return "EllipseCurve"; }
  std::unique_ptr<Curve> clone() const override;
  /// By contract: both semi-axes are above 0 itself, without a threshold.
  bool isValid() const override;
  ParameterInterval getParameterInterval() const override { return {startAngle_, endAngle_}; }
  /// Between start and end, in whichever order they stand.
  bool isValidParameter(double w) const override;
  /// |end - start - 2 pi| is below the geometric tolerance. By contract: a reversed ellipse is
  /// open.
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  /// `isClosed` under a default context.
  bool isPeriodic() const override;
  /// Not clamped to the interval.
  Point3D evaluate(double w) const override;
  std::vector<Vector3D> evaluateDerivatives(double w, int order) const override;
  Vector3D getTangent(double w) const override;
  /// Tight.
  BoundingBox getBoundingBox() const override;
  /// The nearest point of the whole arc.
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  /// An ellipse where the image has a horizontal minor axis again (translations, rotations about z,
  /// scaling along the axes, ...; a mirrored one has the negative angles); else the exact
  /// NurbsCurve of the image.
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  /// The parameters in the order in which the curve runs: w0 > w1 on a reversed ellipse.
  std::unique_ptr<Curve> trim(double w0, double w1) const override;
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double w) const override;
  std::unique_ptr<Curve> reverse() const override;
  /// Natural: a longer arc. Linear: the spline form with a tangent segment.
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  /// An OffsetCurve.
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  /// @throws std::invalid_argument, before any change, where `transform` gives no ellipse
  void applyTransformToGeometry(const Transform3D& transform) override;

  /// Quadratic pieces of at most 90 degrees, equal in w; the knots run upwards between the angles,
  /// also for a reversed ellipse.
  std::unique_ptr<NurbsCurve> toNurbs() const override;

 private:
  std::unique_ptr<EllipseCurve> withAngles(double start, double end) const;
  std::unique_ptr<EllipseCurve> imageUnder(const Transform3D& transform) const;

  Point3D center_;
  Vector3D majorAxis_;
  Vector3D normal_;
  Vector3D majorUnit_;
  Vector3D minorUnit_;
  double semiMajor_;
  double semiMinor_;
  double startAngle_;
  double endAngle_;
};

}  // namespace trova::geometry
