#pragma once

#include "morvel/foundation/as_stored.h"
#include "morvel/surfaces/analytic_surface.h"
#include "morvel/surfaces/windowed_surface.h"

namespace trova::geometry {

/// A parallelogram: origin + s uExtent uDirection + t vExtent vDirection, s and t over [0, 1]. The
/// directions need not be perpendicular.
class MORVEL_API PlaneSurface : public WindowedSurface<PlaneSurface, AnalyticSurface> {
 public:
  /// The directions are normalised; one of length zero stays zero, and the plane is not valid.
  /// @throws std::invalid_argument for numbers that are not finite
  PlaneSurface(const Point3D& origin, const Vector3D& uDirection, const Vector3D& vDirection,
               double uExtent, double vExtent);
  /// With the directions of another plane. @throws also where they are neither unit vectors nor
  /// zero
  PlaneSurface(foundation::AsStored, const Point3D& origin, const Vector3D& uDirection,
               const Vector3D& vDirection, double uExtent, double vExtent);

  // The members describe the whole plane, whatever part of it a trim has left.
  const Point3D& getOrigin() const { return origin_; }
  const Vector3D& getUDirection() const { return uDirection_; }
  const Vector3D& getVDirection() const { return vDirection_; }
  double getUExtent() const { return uExtent_; }
  double getVExtent() const { return vExtent_; }

  std::string getTypeIdentifier() const override { return "PlaneSurface"; }
  /// Both extents are above 0 and the directions differ.
  bool isValid() const override;
  BoundingBox getBoundingBox() const override;  ///< tight
  /// A plane, for every affine map. @throws std::invalid_argument for one that is not finite
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  void applyTransformToGeometry(const Transform3D& matrix) override;
  /// Exact: the four corners on degree 1.
  std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const override;

 private:
  friend class WindowedSurface<PlaneSurface, AnalyticSurface>;

  Point3D naturalPoint(double s, double t) const;
  void naturalDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  bool isNaturallyPeriodicS() const { return false; }
  bool isNaturallyPeriodicT() const { return false; }
  std::pair<int, int> naturalNurbsCounts() const { return {2, 2}; }

  Point3D origin_;
  Vector3D uDirection_;
  Vector3D vDirection_;
  double uExtent_;
  double vExtent_;
};

}  // namespace trova::geometry
