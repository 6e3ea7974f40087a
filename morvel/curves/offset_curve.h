#pragma once

#include "morvel/curves/curve.h"
#include "morvel/foundation/as_stored.h"

namespace trova::geometry {

/// A curve at a constant distance from a base: B(u) + d n x B'(u) / |n x B'(u)|, over the base's
/// interval, n being the unit plane normal. On a base whose interval runs downwards (a reversed
/// ellipse) the tangent is taken the way the curve runs, so that the side stays that of the travel.
///
/// The base is shared and never changed. Where the base has no tangent (or one along n), the side
/// is taken a millionth of the interval further inside.
class MORVEL_API OffsetCurve : public Curve {
 public:
  /// @throws std::invalid_argument for a null base, a distance that is not finite, or a normal
  /// shorter
  ///         than 1e-4
  OffsetCurve(std::shared_ptr<const Curve> base, double distance, const Vector3D& planeNormal);
  /// With the unit normal of another offset. @throws also where it is none
  OffsetCurve(foundation::AsStored, std::shared_ptr<const Curve> base, double distance,
              const Vector3D& unitNormal);

  const std::shared_ptr<const Curve>& getBaseCurve() const { return base_; }
  double getDistance() const { return distance_; }
  /// The unit normal.
  const Vector3D& getPlaneNormal() const { return planeNormal_; }

  std::string getTypeIdentifier() const override { return "OffsetCurve"; }
  std::unique_ptr<Curve> clone() const override;
  /// The base is valid and not parallel to the plane normal at its ends.
  bool isValid() const override;
  ParameterInterval getParameterInterval() const override;
  bool isValidParameter(double u) const override;
  bool isClosed(const ToleranceContext& tolerance = {}) const override;
  bool isPeriodic() const override;
  Point3D evaluate(double u) const override;
  /// True derivatives of any order, from those of the base up to order + 1.
  std::vector<Vector3D> evaluateDerivatives(double u, int order) const override;
  Vector3D getTangent(double u) const override;
  /// The base's box, wider by the distance on every side.
  BoundingBox getBoundingBox() const override;
  /// The nearest point as far as dense sampling and refinement can tell.
  /// @throws std::invalid_argument for a point that is not finite
  double getClosestParameter(const Point3D& point) const override;
  /// An OffsetCurve under a similarity; else a spline within 1e-5 (model units) of the image.
  std::unique_ptr<Curve> transform(const Transform3D& transform) const override;
  std::unique_ptr<Curve> trim(double u0, double u1) const override;
  /// Exact whatever the base's own `split` is: both parts are trimmed.
  std::pair<std::unique_ptr<Curve>, std::unique_ptr<Curve>> split(double u) const override;
  std::unique_ptr<Curve> reverse() const override;
  /// The extended spline form (curve_rebuild.h).
  std::unique_ptr<Curve> extend(double length, CurveEnd end, ExtensionMode mode) const override;
  /// An OffsetCurve of this one; beyond four of them on each other, of the spline form.
  std::unique_ptr<Curve> offset(double distance, const Vector3D& planeNormal) const override;
  std::vector<Point3D> adaptiveTessellate(double tolerance) const override;
  /// Replaces the base by its image.
  /// @throws std::invalid_argument, before any change, unless the map is a similarity
  void applyTransformToGeometry(const Transform3D& transform) override;

 private:
  double direction() const;
  bool hasSide(const Vector3D& derivative) const;
  std::vector<Vector3D> sidedDerivatives(double u, int order) const;
  std::unique_ptr<OffsetCurve> imageUnder(const Transform3D& transform) const;

  std::shared_ptr<const Curve> base_;
  double distance_;
  Vector3D planeNormal_;
};

}  // namespace trova::geometry
