#pragma once

#include "morvel/surfaces/placed_surface.h"
#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry {

namespace internal {
class PathFrames;
}

/// A profile carried rigidly along a path by a frame that turns with the tangent and not about it
/// (rotation-minimising; double reflection method, Wang, Juettler, Zheng and Liu, Computation of
/// Rotation Minimizing Frames, 2008). At the path's start the profile is where it was given. s runs
/// over the profile, t over the path. Along a closed smooth path the remaining twist is spread
/// evenly over t, so that the surface closes. The path should have a continuous tangent.
///
/// Points are exact to the error of the frame, about 1e-8 rad. Derivatives are those
/// of the true rotation-minimising frame, in closed form.
class MORVEL_API PathGuidedSweepSurface : public PlacedSurface<PathGuidedSweepSurface> {
 public:
  /// Copies both curves. @throws std::invalid_argument for a null curve
  PathGuidedSweepSurface(const std::shared_ptr<const Curve>& profile,
                         const std::shared_ptr<const Curve>& path);

  const Curve& getProfile() const { return profile_.curve(); }
  const Curve& getPath() const;

  std::string getTypeIdentifier() const override { return "PathGuidedSweepSurface"; }
  bool isValid() const override;   ///< profile and path are
  bool isClosed() const override;  ///< both curves are, the path smoothly

 private:
  friend class WindowedSurface<PathGuidedSweepSurface, Surface>;
  friend class PlacedSurface<PathGuidedSweepSurface>;

  Point3D localPoint(double s, double t) const;
  void localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  BoundingBox localBox() const;
  bool isNaturallyPeriodicS() const { return profile_.curve().isPeriodic(); }
  bool isNaturallyPeriodicT() const;
  std::pair<int, int> naturalNurbsCounts() const;

  UnitCurve profile_;
  std::shared_ptr<const internal::PathFrames> frames_;  // never changes; copies share it
};

}  // namespace trova::geometry
