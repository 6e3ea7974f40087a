#pragma once

#include <memory>

#include "morvel/curves/curve.h"
#include "morvel/surfaces/surface.h"

namespace trova::geometry {

class ParametricCurve2D;

/// A curve in the parameter plane of a surface, seen as a curve in space: S(u(t), v(t)) over the
/// plane curve's interval. The surface is shared and kept alive, and never changed from here; if an
/// owner changes it, the curve follows. Where the plane curve leaves the surface's domain, it is
/// taken to the domain's edge.
class MORVEL_API CurveOnSurface : public Curve {
 public:
  /// @throws std::invalid_argument for a null surface or plane curve
  CurveOnSurface(std::shared_ptr<const Surface> base, std::unique_ptr<ParametricCurve2D> curve);
  CurveOnSurface(const CurveOnSurface& other);
  CurveOnSurface& operator=(const CurveOnSurface& other);
  ~CurveOnSurface() override;

  const std::shared_ptr<const Surface>& getBaseSurface() const { return base_; }
  const ParametricCurve2D& getParameterCurve() const { return *curve_; }
  /// The parameters (u, v) on the base surface at t, inside its domain.
  foundation::Point2D getUVCoordinates(double t) const;

  std::string getTypeIdentifier() const override { return "CurveOnSurface"; }
  /// The base is shared with the copy.
  std::unique_ptr<Curve> clone() const override;
  bool isValid() const override;  ///< base and plane curve are
  ParameterInterval getParameterInterval() const override;
  /// Start and end coincide in space (not necessarily in the parameter plane).
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override;
  Point3D evaluate(double t) const override;
  /// By the chain rule up to order 2, with the true derivatives of rational surfaces; above that by
  /// central differences of the second derivative.
  std::vector<Vector3D> evaluateDerivatives(double t, int order) const override;
  /// That of a polyline within a thousandth of its diagonal, wider by as much.
  BoundingBox getBoundingBox() const override;
  /// The nearest point as far as dense sampling and refinement can tell.
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  /// The same plane curve on the image of the base.
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  std::unique_ptr<Curve> trim(double t0, double t1) const override;
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double t) const override;
  std::unique_ptr<Curve> reverse() const override;
  /// The extension leaves the surface: that of the spline form in space (curve_rebuild.h).
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  /// An OffsetCurve of this one.
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  /// Replaces the base by its image; other owners of the base keep theirs as it is.
  void applyTransformToGeometry(const Transform3D& transform) override;

 private:
  std::shared_ptr<const Surface> base_;
  std::unique_ptr<ParametricCurve2D> curve_;
};

}  // namespace trova::geometry
