#pragma once

#include <span>
#include <vector>

#include "morvel/curves/parametric_curve.h"

namespace trova::geometry {

/// A Bezier curve over [0, 1]; the degree is the number of control points minus one.
class MORVEL_API BezierCurve : public ParametricCurve {
 public:
  /// @throws std::invalid_argument "Invalid Bezier curve parameters" for no control points
  explicit BezierCurve(std::vector<Point3D> controlPoints);

  std::string getTypeIdentifier() const override { return "BezierCurve"; }
  std::unique_ptr<Curve> clone() const override;
  /// At least two points, all of them finite.
  bool isValid() const override;
  ParameterInterval getParameterInterval() const override { return {0.0, 1.0}; }
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override { return false; }
  Point3D evaluate(double u) const override;
  std::vector<Vector3D> evaluateDerivatives(double u, int order) const override;
  /// The nearest point as far as dense sampling and refinement can tell.
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  /// Exact, by de Casteljau subdivision; the result runs over [0, 1] again, as every Bezier curve.
  std::unique_ptr<Curve> trim(double u0, double u1) const override;
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double u) const override;
  std::unique_ptr<Curve> reverse() const override;
  /// Natural: the same polynomial over a longer interval, mapped back to [0, 1]. Linear: a
  /// BSplineCurve whose part over [0, 1] is this curve.
  /// @throws std::invalid_argument where the end has no direction
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  void applyTransformToGeometry(const Transform3D& transform) override;

  int getControlPointCount() const override { return static_cast<int>(points_.size()); }
  Point3D getControlPoint(int i) const override;
  void setControlPoint(int i, const Point3D& point) override;
  std::vector<Point3D> getControlPoints() const override { return points_; }
  int getDegree() const override { return getControlPointCount() - 1; }

  /// Many points at a time, as `evaluateCurveBatch` (curve_batch.h).
  void evaluateBatch(std::span<const double> t, int order, double* out) const;
  /// The same curve on degree + times; times >= 0, the degree at most kMaxElevatedDegree.
  std::unique_ptr<BezierCurve> elevateDegree(int times) const;

 private:
  template <class Write>
  void derivativesAt(double u, int order, double* values, Point3D* differences, Write write) const;

  std::vector<Point3D> points_;
};

}  // namespace trova::geometry
