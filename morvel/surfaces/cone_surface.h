#pragma once

#include "morvel/surfaces/round_surface.h"

namespace trova::geometry {

/// The side of a cone, without its base: s once around the axis, t from the base to the apex, which
/// lies at baseCenter + height axis. Su x Sv points outward; it vanishes at the apex.
class MORVEL_API ConeSurface : public RoundSurface<ConeSurface> {
 public:
  /// Sizes that are not above 0 make a surface that is not valid.
  /// @throws std::invalid_argument for numbers that are not finite or an axis of length zero
  ConeSurface(const Point3D& baseCenter, const Vector3D& axis, double baseRadius, double height);
  /// About the z axis of a frame. @throws as `requireFrame`, and for sizes that are not finite
  ConeSurface(const AxisFrame& frame, double baseRadius, double height);

  // The members describe the whole cone, whatever part of it a trim has left.
  const Point3D& getBaseCenter() const { return getFrame().origin; }
  double getBaseRadius() const { return baseRadius_; }
  double getHeight() const { return height_; }
  Point3D getApex() const { return getFrame().place(0.0, 0.0, height_); }

  std::string getTypeIdentifier() const override { return "ConeSurface"; }
  bool isValid() const override { return baseRadius_ > 0.0 && height_ > 0.0; }
  BoundingBox getBoundingBox() const override;  ///< tight, also where trimmed

 private:
  friend class WindowedSurface<ConeSurface, AnalyticSurface>;
  friend class RoundSurface<ConeSurface>;

  Point3D naturalPoint(double s, double t) const;
  void naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  bool isNaturallyPeriodicS() const { return true; }
  bool isNaturallyPeriodicT() const { return false; }
  std::pair<int, int> naturalNurbsCounts() const;
  void scaleSizes(double factor);

  double baseRadius_;
  double height_;
};

}  // namespace trova::geometry
