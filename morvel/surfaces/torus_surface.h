#pragma once

#include "morvel/surfaces/round_surface.h"

namespace trova::geometry {

/// A torus: s once around the axis, t once around the tube, from its outer equator up along the
/// axis. Su x Sv points out of the tube. A minor radius above the major one makes a torus that
/// passes through itself; it is valid.
class MORVEL_API TorusSurface : public RoundSurface<TorusSurface> {
 public:
  /// Radii that are not above 0 make a surface that is not valid.
  /// @throws std::invalid_argument for numbers that are not finite or an axis of length zero
  TorusSurface(const Point3D& center, const Vector3D& axis, double majorRadius, double minorRadius);
  /// About the z axis of a frame. @throws as `requireFrame`, and for sizes that are not finite
  TorusSurface(const AxisFrame& frame, double majorRadius, double minorRadius);

  const Point3D& getCenter() const { return getFrame().origin; }
  double getMajorRadius() const { return majorRadius_; }
  double getMinorRadius() const { return minorRadius_; }

  std::string getTypeIdentifier() const override { return "TorusSurface"; }
  bool isValid() const override { return majorRadius_ > 0.0 && minorRadius_ > 0.0; }
  bool isClosed() const override;               ///< the whole torus
  BoundingBox getBoundingBox() const override;  ///< tight, also where trimmed

 private:
  friend class WindowedSurface<TorusSurface, AnalyticSurface>;
  friend class RoundSurface<TorusSurface>;

  Point3D naturalPoint(double s, double t) const;
  void naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  bool isNaturallyPeriodicS() const { return true; }
  bool isNaturallyPeriodicT() const { return true; }
  std::pair<int, int> naturalNurbsCounts() const;
  void scaleSizes(double factor);

  double majorRadius_;
  double minorRadius_;
};

}  // namespace trova::geometry
