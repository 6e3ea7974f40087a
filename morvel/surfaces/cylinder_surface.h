#pragma once

#include "morvel/surfaces/round_surface.h"

namespace trova::geometry {

/// The side of a cylinder, without its ends: s once around the axis, t from the base to the top.
/// Su x Sv points outward.
class MORVEL_API CylinderSurface : public RoundSurface<CylinderSurface> {
 public:
  /// Sizes that are not above 0 make a surface that is not valid.
  /// @throws std::invalid_argument for numbers that are not finite or an axis of length zero
  CylinderSurface(const Point3D& baseCenter, const Vector3D& axis, double radius, double height);
  /// About the z axis of a frame. @throws as `requireFrame`, and for sizes that are not finite
  CylinderSurface(const AxisFrame& frame, double radius, double height);

  // The members describe the whole cylinder, whatever part of it a trim has left.
  const Point3D& getBaseCenter() const { return getFrame().origin; }
  double getRadius() const { return radius_; }
  double getHeight() const { return height_; }

  std::string getTypeIdentifier() const override { return "CylinderSurface"; }
  bool isValid() const override { return radius_ > 0.0 && height_ > 0.0; }
  BoundingBox getBoundingBox() const override;  ///< tight, also where trimmed

 private:
  friend class WindowedSurface<CylinderSurface, AnalyticSurface>;
  friend class RoundSurface<CylinderSurface>;

  Point3D naturalPoint(double s, double t) const;
  void naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  bool isNaturallyPeriodicS() const { return true; }
  bool isNaturallyPeriodicT() const { return false; }
  std::pair<int, int> naturalNurbsCounts() const;
  void scaleSizes(double factor);

  double radius_;
  double height_;
};

}  // namespace trova::geometry
