#pragma once

#include "morvel/curves/analytic_curve.h"

namespace trova::geometry {

/// A straight segment over [0, 1]. Parameters outside the interval give the end points, never a
/// point beyond them; derivatives are constant throughout.
class MORVEL_API LineCurve : public AnalyticCurve {
 public:
  /// @throws std::invalid_argument for coordinates that are not finite
  LineCurve(const Point3D& start, const Point3D& end);

  const Point3D& getStartPoint() const { return start_; }
  const Point3D& getEndPoint() const { return end_; }
  /// end - start, not normalised.
  Vector3D getDirection() const { return end_ - start_; }

  std::string getTypeIdentifier() const override { return "LineCurve"; }
  std::unique_ptr<Curve> clone() const override;
  /// The ends are more than 1e-4 apart, whatever tolerances a caller uses elsewhere.
  bool isValid() const override;
  ParameterInterval getParameterInterval() const override { return {0.0, 1.0}; }
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override { return false; }
  Point3D evaluate(double t) const override;
  std::vector<Vector3D> evaluateDerivatives(double t, int order) const override;
  BoundingBox getBoundingBox() const override;
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  double getArcLength(double t0, double t1) const override;
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  /// A line over [0, 1] again, as the pieces of `split`.
  std::unique_ptr<Curve> trim(double t0, double t1) const override;
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double t) const override;
  std::unique_ptr<Curve> reverse() const override;
  /// A line; the two modes are the same.
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  /// A parallel line.
  /// @throws std::invalid_argument where the plane normal is parallel to the line
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  /// The two ends.
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  void applyTransformToGeometry(const Transform3D& transform) override;

  std::unique_ptr<NurbsCurve> toNurbs() const override;

 private:
  Point3D start_;
  Point3D end_;
};

}  // namespace trova::geometry
