#pragma once

#include "morvel/surfaces/placed_surface.h"
#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry {

namespace internal {
class PathFrames;
}

/// A tube: circles of one radius around a path, each in the plane across it. s runs once around the
/// circle, t over the path; the circles' starting points follow the frame of
/// PathGuidedSweepSurface. Su x Sv points outward where the radius is below the path's radius of
/// curvature.
class MORVEL_API PipeSurface : public PlacedSurface<PipeSurface> {
 public:
  /// Copies the path. A radius that is not above 0 makes a surface that is not valid.
  /// @throws std::invalid_argument for a null path or a radius that is not finite
  PipeSurface(const std::shared_ptr<const Curve>& path, double radius);

  const Curve& getPath() const;
  double getRadius() const { return radius_; }

  std::string getTypeIdentifier() const override { return "PipeSurface"; }
  bool isValid() const override;   ///< the radius is above 0 and the path valid
  bool isClosed() const override;  ///< the path is closed and smooth there

 private:
  friend class WindowedSurface<PipeSurface, Surface>;
  friend class PlacedSurface<PipeSurface>;

  Point3D localPoint(double s, double t) const;
  void localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  BoundingBox localBox() const;
  bool isNaturallyPeriodicS() const { return true; }
  bool isNaturallyPeriodicT() const;
  std::pair<int, int> naturalNurbsCounts() const;

  double radius_;
  std::shared_ptr<const internal::PathFrames> frames_;  // never changes; copies share it
};

}  // namespace trova::geometry
