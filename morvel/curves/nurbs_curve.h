#pragma once

#include <Eigen/Core>
#include <algorithm>
#include <span>
#include <vector>

#include "morvel/curves/spline_curve.h"

namespace trova::geometry {

/// (w x, w y, w z, w). Not aligned, so that its layout does not depend on a program's compiler
/// flags.
using HomogeneousPoint = Eigen::Matrix<double, 4, 1, Eigen::DontAlign>;

/// A rational spline curve: control points with one weight each. All its refinements are exact.
/// Where the weighted basis values sum to zero the curve has no point; the sum of the weighted
/// points stands in for it.
class MORVEL_API NurbsCurve : public SplineCurve {
 public:
  NurbsCurve(std::vector<Point3D> controlPoints, std::vector<double> weights,
             std::vector<double> knots, int degree);

  std::string getTypeIdentifier() const override { return "NurbsCurve"; }
  std::unique_ptr<Curve> clone() const override;
  /// As BSplineCurve; and one weight per point, each finite and above 0.
  bool isValid() const override;
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override { return false; }
  Point3D evaluate(double u) const override;
  /// By the quotient rule on the weighted sums (Piegl and Tiller, The NURBS Book, A4.2).
  std::vector<Vector3D> evaluateDerivatives(double u, int order) const override;
  /// The nearest point as far as dense sampling and refinement can tell.
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  std::unique_ptr<Curve> trim(double u0, double u1) const override;
  /// The two exact parts on their own stretches of the knots; u inside the interval, else
  /// std::invalid_argument.
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double u) const override;
  std::unique_ptr<Curve> reverse() const override;
  /// As BSplineCurve; the natural extension of a conic ends where its weights do.
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  void applyTransformToGeometry(const Transform3D& transform) override;

  int getControlPointCount() const override { return static_cast<int>(points_.size()); }
  Point3D getControlPoint(int i) const override;
  void setControlPoint(int i, const Point3D& point) override;
  std::vector<Point3D> getControlPoints() const override { return points_; }
  /// (w x, w y, w z, w) per control point.
  const std::vector<HomogeneousPoint>& getHomogeneousPoints() const { return homogeneous_; }

  /// Many points at a time, as `evaluateCurveBatch` (curve_batch.h).
  void evaluateBatch(std::span<const double> t, int order, double* out) const;
  double getWeight(int i) const;
  const std::vector<double>& getWeights() const { return weights_; }
  /// Any weight differs from the others by more than 1e-12.
  bool isRational() const;

  /// Exact; stops at multiplicity degree. A copy for times < 1.
  /// @throws std::invalid_argument for u outside the interval
  std::unique_ptr<Curve> insertKnot(double u, int times) const override;
  /// An unchanged copy, as BSplineCurve.
  std::unique_ptr<Curve> removeKnot(double u, int times) const override;
  std::unique_ptr<Curve> elevateDegree(int times) const override;

 private:
  void updateHomogeneousPoints();
  int highestDerivative(int order) const { return std::max(0, std::min(order, getDegree())); }
  void homogeneousDerivatives(double u, int highest, double* table, HomogeneousPoint* sums) const;
  void derivativesInto(std::span<const double> t, int order, double* out) const;

  std::vector<Point3D> points_;
  std::vector<double> weights_;
  std::vector<HomogeneousPoint> homogeneous_;  // of the points that have a weight
};

}  // namespace trova::geometry
