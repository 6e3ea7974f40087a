#pragma once

#include <memory>
#include <string>
#include <utility>

#include "morvel/foundation/bounding_box.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/pending_transform.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/tolerance_context.h"
#include "morvel/foundation/transform3d.h"
#include "morvel/foundation/vector.h"
#include "morvel/surfaces/surface_mesh.h"

// The root of all surfaces. Registries own surfaces as `Surface`; the interface calls only the
// virtual operations below.

namespace trova::geometry {

using foundation::BoundingBox;
using foundation::Point2D;
using foundation::Point3D;
using foundation::ToleranceContext;
using foundation::Transform3D;
using foundation::Vector3D;

class BSplineSurface;

inline constexpr double kDefaultToNurbsTolerance = 1e-6;  // model units

/// The rectangle of parameters over which a surface is evaluated.
struct MORVEL_API ParameterDomain {
  double uMin = 0.0;
  double uMax = 1.0;
  double vMin = 0.0;
  double vMax = 1.0;
};

/// What `evaluateDerivatives` gives; members above the order asked for stay zero.
struct MORVEL_API SurfaceEvaluation {
  Point3D point;
  Vector3D Su;
  Vector3D Sv;
  Vector3D normal;  ///< unit; (0, 0, 1) where |Su x Sv| is at most 1e-12
  Vector3D Suu;
  Vector3D Suv;
  Vector3D Svv;
};

/// A surface over [0, 1] x [0, 1].
///
/// Operations that change a surface return a new one and leave the receiver as it is; the
/// exceptions are `applyMatrix`, `applyTransformToGeometry` and `setControlPoint`. `clone` copies
/// the pending transform, the other operations start their results with none. The order of the
/// virtual operations is fixed: programs are linked against it.
class MORVEL_API Surface {
 public:
  virtual ~Surface();
  /// The class name, e.g. "BSplineSurface".
  virtual std::string getTypeIdentifier() const = 0;
  virtual std::unique_ptr<Surface> clone() const = 0;
  virtual bool isValid() const = 0;
  virtual ParameterDomain getParameterDomain() const;
  virtual bool isValidParameter(double u, double v) const;
  virtual bool isClosed() const;
  virtual bool isPeriodicU() const;
  virtual bool isPeriodicV() const;
  virtual Point3D evaluate(double u, double v) const = 0;
  /// order 0: the point; 1: also Su, Sv and the unit normal; 2: also Suu, Suv, Svv.
  virtual SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const = 0;
  /// Su x Sv normalised where it is longer than 1e-4, else the zero vector. (The threshold and the
  /// fallback differ from those of SurfaceEvaluation on purpose.)
  virtual Vector3D getNormal(double u, double v) const;
  virtual Vector3D getTangentU(double u, double v) const;
  virtual Vector3D getTangentV(double u, double v) const;
  virtual Vector3D derivative_u(double u, double v) const;
  virtual Vector3D derivative_v(double u, double v) const;
  virtual Vector3D second_derivative_uu(double u, double v) const;
  virtual Vector3D second_derivative_uv(double u, double v) const;
  virtual Vector3D second_derivative_vv(double u, double v) const;
  virtual std::pair<double, double> get_u_range() const;
  virtual std::pair<double, double> get_v_range() const;
  // By contract: the curvature operations of the root are placeholders: 0, 0, (0, 0), and the unit
  // x and y vectors.
  virtual double getGaussianCurvature(double u, double v) const;
  virtual double getMeanCurvature(double u, double v) const;
  virtual std::pair<double, double> getPrincipalCurvatures(double u, double v) const;
  virtual std::pair<Vector3D, Vector3D> getPrincipalDirections(double u, double v) const;
  virtual BoundingBox getBoundingBox() const = 0;
  /// The (u, v) of the closest point: sampled start, then damped Newton steps (`foot_point.h`).
  virtual std::pair<double, double> getClosestParameter(const Point3D& point) const;
  /// The area of the triangulated `tessellate` mesh, hence of a 20 x 20 polyhedron; the argument is
  /// handed on and has no effect there.
  virtual double getArea(double tolerance) const;
  virtual std::unique_ptr<Surface> transform(const Transform3D& matrix) const = 0;
  virtual std::unique_ptr<Surface> trim(double uStart, double uEnd, double vStart,
                                        double vEnd) const = 0;
  virtual std::unique_ptr<Surface> reverseU() const = 0;
  virtual std::unique_ptr<Surface> reverseV() const = 0;
  virtual std::unique_ptr<Surface> swapUV() const = 0;
  virtual bool isG0ContinuousWith(const Surface& other) const;
  virtual bool isG1ContinuousWith(const Surface& other) const;
  virtual bool isG2ContinuousWith(const Surface& other) const;
  /// By contract: the argument has no effect; always tessellateUniform(20, 20).
  virtual SurfaceMesh tessellate(double tolerance) const;
  /// uCount x vCount vertices, u outer, and quads; both counts at least 2 (std::invalid_argument).
  virtual SurfaceMesh tessellateUniform(int uCount, int vCount) const;
  /// By contract: the argument has no effect; always tessellateUniform(10, 10).
  virtual SurfaceMesh tessellateAdaptive(double tolerance) const;
  /// A B-spline surface within `tolerance` (model units) of this one, measured on evaluated points.
  /// @throws ToNurbsException and its children (to_nurbs.h)
  virtual std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const;
  virtual bool isNurbs() const;
  /// Control-point counts (u, v) at which a conversion may start.
  virtual std::pair<int, int> getRecommendedNurbsParameters() const;
  virtual void setMatrix(const Transform3D& matrix);
  virtual void applyMatrix();
  virtual const Transform3D& getMatrix() const;
  virtual bool hasPendingTransform() const;
  virtual void resetMatrix();
  virtual void applyTransformToGeometry(const Transform3D& matrix) = 0;

 protected:
  Surface() = default;
  Surface(const Surface&) = default;
  Surface& operator=(const Surface&) = default;

 private:
  foundation::PendingTransform pending_;
};

}  // namespace trova::geometry
