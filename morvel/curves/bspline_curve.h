#pragma once

#include <optional>
#include <span>
#include <vector>

#include "morvel/curves/spline_curve.h"

namespace trova::geometry {

/// A polynomial spline curve. The constructor takes its members as given; `isValid` judges them. A
/// curve with fewer than degree + 1 points (a piece that `split` made) evaluates by the definition
/// of the basis functions.
class MORVEL_API BSplineCurve : public SplineCurve {
 public:
  BSplineCurve(std::vector<Point3D> controlPoints, std::vector<double> knots, int degree);

  /// Both makers give the same clamped uniform knots on [0, 1].
  static std::unique_ptr<BSplineCurve> createUniform(const std::vector<Point3D>& points,
                                                     int degree);
  static std::unique_ptr<BSplineCurve> createClamped(const std::vector<Point3D>& points,
                                                     int degree);
  /// By contract: a clamped curve with the points as its control points; it passes through the
  /// first and last only. (Interpolation proper belongs to the fitting engines.)
  /// @throws std::invalid_argument "Insufficient points for interpolation" below degree + 1 points
  static std::unique_ptr<BSplineCurve> interpolatePoints(const std::vector<Point3D>& points,
                                                         int degree);

  /// n + p + 1 knots: p + 1 zeros, j / (n - p), p + 1 ones. By contract: the two are the same.
  static std::vector<double> generateUniformKnots(int n, int p);
  static std::vector<double> generateClampedKnots(int n, int p);
  /// Cumulated distances over the total; NaN where all points coincide.
  static std::vector<double> generateChordLengthParameters(const std::vector<Point3D>& points);

  std::string getTypeIdentifier() const override { return "BSplineCurve"; }
  std::unique_ptr<Curve> clone() const override;
  bool isValid() const override;
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override { return false; }
  Point3D evaluate(double u) const override;
  std::vector<Vector3D> evaluateDerivatives(double u, int order) const override;
  BoundingBox getBoundingBox() const override;
  /// A local Newton search from the middle of the interval, by contract without global sampling.
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  /// Exact: the part between the parameters on its own stretch of the knots.
  std::unique_ptr<Curve> trim(double u0, double u1) const override;
  /// By contract: both pieces are re-parameterised over [0, 1] on fresh clamped uniform knots,
  /// and made with this class's own `insertKnot`, so they only approximate the halves. `trim` is
  /// exact.
  /// @throws std::invalid_argument for u outside the interval
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double u) const override;
  std::unique_ptr<Curve> reverse() const override;
  /// The old part stays as it is, on its own parameters; the new one is joined to it at a knot.
  /// Prints what it does.
  /// @throws std::invalid_argument where the end has no direction or the curve's own shape does not
  ///         reach so far; std::runtime_error where the result is not valid
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  void applyTransformToGeometry(const Transform3D& transform) override;

  int getControlPointCount() const override { return static_cast<int>(points_.size()); }
  Point3D getControlPoint(int i) const override;
  void setControlPoint(int i, const Point3D& point) override;
  std::vector<Point3D> getControlPoints() const override { return points_; }

  /// By contract: not the textbook scheme. Points after the span keep their places and the appended
  /// last point stays at the origin. Exact refinement is `foundation::nurbs::insertKnot`. A copy
  /// for times < 1.
  /// @throws std::invalid_argument for u outside the interval or more than 10,000 times
  std::unique_ptr<Curve> insertKnot(double u, int times) const override;
  /// By contract: an unchanged copy.
  std::unique_ptr<Curve> removeKnot(double u, int times) const override;
  /// The same curve on degree + times, exactly. Prints whether it went well.
  /// @throws as `foundation::nurbs::elevated`
  std::unique_ptr<Curve> elevateDegree(int times) const override;

  /// n over k as a double; 0 outside 0 <= k <= n.
  static double binomialCoeff(int n, int k);
  /// The sum of the non-zero basis values times their points, at any u.
  Point3D deBoor(double u) const;
  /// The same with the derivatives of the basis; zero vectors above the degree.
  std::vector<Vector3D> deBoorDerivatives(double u, int order) const;
  /// Many points at a time, as `evaluateCurveBatch` (curve_batch.h).
  void evaluateBatch(std::span<const double> t, int order, double* out) const;
  /// The box of the control points, computed anew.
  BoundingBox computeBoundingBox() const;
  /// Drops what was computed from the control points; every change of them does so.
  void invalidateCache();

 private:
  void batchOfAnyDegree(std::span<const double> t, int order, double* out) const;

  std::vector<Point3D> points_;
  std::optional<BoundingBox> box_;  // filled where the object is changed anyway, never on a query
};

}  // namespace trova::geometry
