#pragma once

#include "morvel/surfaces/round_surface.h"

namespace trova::geometry {

/// A sphere: s once around the axis, t from the south pole to the north pole in equal angles. Su x
/// Sv points outward; it vanishes at the poles.
class MORVEL_API SphereSurface : public RoundSurface<SphereSurface> {
 public:
  /// A radius that is not above 0 makes a surface that is not valid.
  /// @throws std::invalid_argument for numbers that are not finite or an axis of length zero
  SphereSurface(const Point3D& center, double radius, const Vector3D& axis = Vector3D::unitZ());
  /// About the z axis of a frame. @throws as `requireFrame`, and for sizes that are not finite
  SphereSurface(const AxisFrame& frame, double radius);

  const Point3D& getCenter() const { return getFrame().origin; }
  double getRadius() const { return radius_; }

  std::string getTypeIdentifier() const override { return "SphereSurface"; }
  bool isValid() const override { return radius_ > 0.0; }
  bool isClosed() const override;               ///< the whole sphere
  BoundingBox getBoundingBox() const override;  ///< tight, also where trimmed

 private:
  friend class WindowedSurface<SphereSurface, AnalyticSurface>;
  friend class RoundSurface<SphereSurface>;

  Point3D naturalPoint(double s, double t) const;
  void naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  bool isNaturallyPeriodicS() const { return true; }
  bool isNaturallyPeriodicT() const { return false; }
  std::pair<int, int> naturalNurbsCounts() const;
  void scaleSizes(double factor) { radius_ *= factor; }

  double radius_;
};

}  // namespace trova::geometry
