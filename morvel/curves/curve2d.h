#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/curve.h"
#include "morvel/foundation/point.h"

// Curves in a parameter plane, where x is u and y is v: the loops of trimmed surfaces, the carriers
// of curves on surfaces. They have a root of their own beside `Curve`.

namespace trova::geometry {

using foundation::Point2D;

/// A curve in a parameter plane over one closed interval of its own parameter t. Operations that
/// change a curve return a new one. Lengths and tolerances are in units of the plane.
class MORVEL_API ParametricCurve2D {
 public:
  virtual ~ParametricCurve2D();
  virtual std::string getTypeIdentifier() const = 0;
  virtual std::unique_ptr<ParametricCurve2D> clone() const = 0;
  virtual bool isValid() const = 0;
  virtual ParameterInterval getParameterInterval() const { return {0.0, 1.0}; }
  /// The two ends are equal under the tolerance.
  virtual bool isClosed(const ToleranceContext& tolerance = {}) const;
  virtual bool isPeriodic() const { return false; }
  virtual Point2D evaluate(double t) const = 0;
  /// Index 0 holds the point, index k the components of the k-th derivative; `order` + 1 entries,
  /// none for order < 0.
  /// @throws std::invalid_argument for an order above kMaxDerivativeOrder
  virtual std::vector<Point2D> evaluateDerivatives(double t, int order) const = 0;
  /// In the plane z = 0.
  virtual BoundingBox getBoundingBox() const = 0;
  /// The parameter of the nearest point.
  /// @throws std::invalid_argument for a point that is not finite
  virtual double getClosestParameter(const Point2D& point) const = 0;
  /// The part between two parameters (t0 < t1, both in the interval; else std::invalid_argument).
  virtual std::unique_ptr<ParametricCurve2D> trim(double t0, double t1) const = 0;
  /// The parts before and behind t, which lies inside the interval, else std::invalid_argument.
  virtual std::pair<std::unique_ptr<ParametricCurve2D>, std::unique_ptr<ParametricCurve2D>> split(
      double t) const;
  virtual std::unique_ptr<ParametricCurve2D> reverse() const = 0;
  /// A polyline whose chords stay within `tolerance` (above 0, else std::invalid_argument).
  virtual std::vector<Point2D> adaptiveTessellate(double tolerance) const = 0;

  bool isValidParameter(double t) const { return getParameterInterval().contains(t); }
  Point2D evaluateFirstDerivative(double t) const { return evaluateDerivatives(t, 1)[1]; }
  Point2D evaluateSecondDerivative(double t) const { return evaluateDerivatives(t, 2)[2]; }
  /// `count` points at equal parameter steps, both ends included; 2 <= count <= kMaxUniformPoints,
  /// else std::invalid_argument.
  std::vector<Point2D> tessellateUniform(int count) const;

 protected:
  ParametricCurve2D() = default;
  ParametricCurve2D(const ParametricCurve2D&) = default;
  ParametricCurve2D& operator=(const ParametricCurve2D&) = default;
};

/// A polynomial spline curve in the plane, on its own knots. It is a BSplineCurve at z = 0 and
/// shares all of that class's behaviour, `trim` and `split` being exact, and the closest parameter
/// global.
class MORVEL_API BSplineCurve2D : public ParametricCurve2D {
 public:
  BSplineCurve2D(const std::vector<Point2D>& controlPoints, std::vector<double> knots, int degree);

  std::string getTypeIdentifier() const override { return "BSplineCurve2D"; }
  std::unique_ptr<ParametricCurve2D> clone() const override;
  bool isValid() const override { return curve_.isValid(); }
  ParameterInterval getParameterInterval() const override;
  Point2D evaluate(double t) const override;
  std::vector<Point2D> evaluateDerivatives(double t, int order) const override;
  BoundingBox getBoundingBox() const override { return curve_.getBoundingBox(); }
  double getClosestParameter(const Point2D& point) const override;
  std::unique_ptr<ParametricCurve2D> trim(double t0, double t1) const override;
  std::unique_ptr<ParametricCurve2D> reverse() const override;
  std::vector<Point2D> adaptiveTessellate(double tolerance) const override;

  int getDegree() const { return curve_.getDegree(); }
  const std::vector<double>& getKnotVector() const { return curve_.getKnotVector(); }
  int getControlPointCount() const { return curve_.getControlPointCount(); }
  std::vector<Point2D> getControlPoints() const;

 private:
  explicit BSplineCurve2D(const Curve& curve);

  BSplineCurve curve_;
};

/// A straight segment over [0, 1]; `trim` gives a segment over [0, 1] again.
class MORVEL_API LinearCurve2D : public ParametricCurve2D {
 public:
  /// @throws std::invalid_argument for points that are not finite
  LinearCurve2D(const Point2D& start, const Point2D& end);

  const Point2D& getStartPoint() const { return start_; }
  const Point2D& getEndPoint() const { return end_; }

  std::string getTypeIdentifier() const override { return "LinearCurve2D"; }
  std::unique_ptr<ParametricCurve2D> clone() const override;
  /// The ends differ.
  bool isValid() const override;
  Point2D evaluate(double t) const override;
  std::vector<Point2D> evaluateDerivatives(double t, int order) const override;
  BoundingBox getBoundingBox() const override;
  double getClosestParameter(const Point2D& point) const override;
  std::unique_ptr<ParametricCurve2D> trim(double t0, double t1) const override;
  std::unique_ptr<ParametricCurve2D> reverse() const override;
  std::vector<Point2D> adaptiveTessellate(double tolerance) const override;

 private:
  Point2D start_;
  Point2D end_;
};

/// Which parameter of the surface an iso-curve holds constant.
enum class IsoDirection { ConstantU = 0, ConstantV = 1 };

/// A line of constant u or of constant v: the other parameter runs from `start` to `end` (in either
/// direction) while t runs over [0, 1].
class MORVEL_API IsoCurve2D : public ParametricCurve2D {
 public:
  /// @throws std::invalid_argument for numbers that are not finite
  IsoCurve2D(IsoDirection direction, double value, double start = 0.0, double end = 1.0);

  IsoDirection getDirection() const { return direction_; }
  double getValue() const { return value_; }
  double getStart() const { return start_; }
  double getEnd() const { return end_; }

  /// "IsoCurve2D_u" for a line of constant u, "IsoCurve2D_v" for one of constant v.
  std::string getTypeIdentifier() const override;
  std::unique_ptr<ParametricCurve2D> clone() const override;
  /// The ends differ.
  bool isValid() const override;
  Point2D evaluate(double t) const override;
  std::vector<Point2D> evaluateDerivatives(double t, int order) const override;
  BoundingBox getBoundingBox() const override;
  double getClosestParameter(const Point2D& point) const override;
  std::unique_ptr<ParametricCurve2D> trim(double t0, double t1) const override;
  std::unique_ptr<ParametricCurve2D> reverse() const override;
  std::vector<Point2D> adaptiveTessellate(double tolerance) const override;

 private:
  Point2D inPlane(double constant, double varying) const;
  LinearCurve2D asLine() const { return {evaluate(0.0), evaluate(1.0)}; }

  IsoDirection direction_;
  double value_;
  double start_;
  double end_;
};

}  // namespace trova::geometry

/// A circle or arc in a parameter plane: center + radius (cos a, sin a), the angle a running
/// linearly from the start to the end angle (radians, either order) while t runs over [0, 1]. By
/// contract outside of the namespaces.
class MORVEL_API CircularCurve2D : public trova::geometry::ParametricCurve2D {
 public:
  using Point2D = trova::foundation::Point2D;

  /// The whole circle, counter-clockwise, unless angles are given.
  /// @throws std::invalid_argument for numbers that are not finite
  CircularCurve2D(const Point2D& center, double radius);
  CircularCurve2D(const Point2D& center, double radius, double startAngle, double endAngle);

  const Point2D& getCenter() const { return center_; }
  double getRadius() const { return radius_; }
  double getStartAngle() const { return startAngle_; }
  double getEndAngle() const { return endAngle_; }

  std::string getTypeIdentifier() const override { return "CircularCurve2D"; }
  std::unique_ptr<ParametricCurve2D> clone() const override;
  /// The radius is above 0 and the angles differ.
  bool isValid() const override;
  /// By contract: |end angle - start angle - 2 pi| < 1e-6, whatever the tolerance; a full circle
  /// the other way round is not closed.
  bool isClosed(const trova::foundation::ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override;
  Point2D evaluate(double t) const override;
  std::vector<Point2D> evaluateDerivatives(double t, int order) const override;
  /// Tight.
  trova::foundation::BoundingBox getBoundingBox() const override;
  /// The start for the center.
  double getClosestParameter(const Point2D& point) const override;
  std::unique_ptr<ParametricCurve2D> trim(double t0, double t1) const override;
  std::unique_ptr<ParametricCurve2D> reverse() const override;
  std::vector<Point2D> adaptiveTessellate(double tolerance) const override;

 private:
  double angleAt(double t) const { return startAngle_ + t * (endAngle_ - startAngle_); }
  double lowAngle() const;
  double highAngle() const;

  Point2D center_;
  double radius_;
  double startAngle_;
  double endAngle_;
};
