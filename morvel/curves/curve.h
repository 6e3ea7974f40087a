#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "morvel/foundation/bounding_box.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/pending_transform.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/tolerance_context.h"
#include "morvel/foundation/transform3d.h"
#include "morvel/foundation/vector.h"

// The root of all curves in space. Registries own curves as `Curve`; all work goes through its
// virtual operations. Parameter-plane curves have a root of their own (curve2d.h).

namespace trova::geometry {

using foundation::BoundingBox;
using foundation::Point3D;
using foundation::ToleranceContext;
using foundation::Transform3D;
using foundation::Vector3D;

/// A closed interval of curve parameters.
struct MORVEL_API ParameterInterval {
  double start = 0.0;
  double end = 1.0;

  bool contains(double u) const { return start <= u && u <= end; }
  double length() const { return end - start; }
};

/// Higher derivatives are refused: the cost of the rational ones grows with the square of the
/// order.
inline constexpr int kMaxDerivativeOrder = 1000;

/// More points than this in one polyline are refused where the caller sets the number, and not made
/// where a tolerance does: such a polyline ends coarser than asked.
inline constexpr int kMaxUniformPoints = 10'000'000;
inline constexpr int kMaxAdaptivePoints = 100'000;

/// Where a curve is extended.
enum class CurveEnd { Start = 0, End = 1 };

/// How: straight on along the end tangent, or by the curve's own shape continued.
enum class ExtensionMode { Linear = 0, Natural = 1 };

/// A curve in space over one closed interval of parameters.
///
/// Operations that change a curve return a new one and leave the receiver as it is; the exceptions
/// are `applyTransformToGeometry`, `applyMatrix` and `ParametricCurve::setControlPoint`. `clone`
/// copies the pending transform, the other operations start their results with none. The order of
/// the virtual operations is fixed: programs are linked against it.
class MORVEL_API Curve {
 public:
  virtual ~Curve();
  /// The class name, e.g. "BSplineCurve".
  virtual std::string getTypeIdentifier() const = 0;
  virtual std::unique_ptr<Curve> clone() const = 0;
  virtual bool isValid() const = 0;
  virtual ParameterInterval getParameterInterval() const = 0;
  virtual bool isValidParameter(double u) const;
  virtual bool isClosed(const ToleranceContext& tolerance = {}) const = 0;
  virtual bool isPeriodic() const = 0;
  virtual Point3D evaluate(double u) const = 0;
  /// Index 0 holds the point, index k the k-th derivative; `order` + 1 entries, none for order < 0.
  /// @throws std::invalid_argument for an order above kMaxDerivativeOrder
  virtual std::vector<Vector3D> evaluateDerivatives(double u, int order) const = 0;
  /// Unit tangent; the zero vector where the first derivative is shorter than 1e-4.
  virtual Vector3D getTangent(double u) const;
  /// Unit principal normal; where the curvature vanishes a unit vector perpendicular to the
  /// tangent; the zero vector where the first derivative vanishes.
  virtual Vector3D getNormal(double u) const;
  /// |C' x C''| / |C'|^3, in 1 / model units; 0 where the first derivative vanishes (below 1e-12).
  virtual double getCurvature(double u) const;
  virtual BoundingBox getBoundingBox() const = 0;
  virtual double getClosestParameter(const Point3D& point) const = 0;
  /// Length between two parameters in either order, by adaptive Simpson integration to 1e-8 (on
  /// long curves to rounding); not a number where the speed is not finite.
  virtual double getArcLength(double u0, double u1) const;
  virtual double getTotalLength() const;
  virtual std::unique_ptr<Curve> transform(const Transform3D& transform) const = 0;
  /// The part between two parameters (start < end, both in the interval; else
  /// std::invalid_argument).
  virtual std::unique_ptr<Curve> trim(double u0, double u1) const = 0;
  virtual std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double u) const = 0;
  virtual std::unique_ptr<Curve> reverse() const = 0;
  /// Longer by `length` (model units, above 0; else std::invalid_argument) at one end.
  virtual std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const = 0;
  /// Offset by `distance` (signed, model units) to the side `planeNormal` x tangent.
  virtual std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const = 0;
  /// The curves meet end to start (this one's end, the other's start).
  virtual bool isG0ContinuousWith(const Curve& other, const ToleranceContext& tolerance = {}) const;
  /// G0, and the tangents there are parallel and point the same way within the angular tolerance.
  virtual bool isG1ContinuousWith(const Curve& other, const ToleranceContext& tolerance = {}) const;
  /// G1, and the curvature vectors there agree within the curve tolerance, relative to the larger;
  /// curvatures below 1e-9 count as none.
  virtual bool isG2ContinuousWith(const Curve& other, const ToleranceContext& tolerance = {}) const;
  /// A polyline whose chords stay within `tolerance` of the curve (model units, above 0; else
  /// std::invalid_argument): equal parameter steps where 4096 of them do, else
  /// `adaptiveTessellate`.
  virtual std::vector<Point3D> tessellate(double tolerance) const;
  /// The same by recursive halving where the curve bends, with no more points than it needs.
  virtual std::vector<Point3D> adaptiveTessellate(double tolerance) const = 0;
  /// `count` points at equal parameter steps, both ends included; 2 <= count <= kMaxUniformPoints,
  /// else std::invalid_argument.
  virtual std::vector<Point3D> tessellateUniform(int count) const;
  virtual void setMatrix(const Transform3D& matrix);
  virtual const Transform3D& getMatrix() const;
  /// Where the pending transform is not the identity: applies it to the geometry and resets it.
  virtual void applyMatrix();
  virtual bool hasPendingTransform() const;
  virtual void resetMatrix();
  virtual void applyTransformToGeometry(const Transform3D& transform) = 0;

 protected:
  Curve() = default;
  Curve(const Curve&) = default;
  Curve& operator=(const Curve&) = default;

 private:
  foundation::PendingTransform pending_;
};

}  // namespace trova::geometry
