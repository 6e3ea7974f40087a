#pragma once

#include "morvel/nsided/boundary_constraints.h"
#include "morvel/surfaces/surface.h"

namespace trova::geometry {

/// A surface that is given by the curves around it. The curves are shared and never changed.
class MORVEL_API BoundarySurface : public Surface {
 public:
  const BoundaryCurves& getBoundaryCurves() const { return boundary_; }
  int getBoundaryCurveCount() const { return static_cast<int>(boundary_.size()); }
  std::shared_ptr<const Curve> getBoundaryCurve(int index) const;  ///< @throws std::out_of_range

 protected:
  BoundarySurface() = default;
  explicit BoundarySurface(BoundaryCurves curves);
  /// Replaces the curves by their images.
  void transformBoundary(const Transform3D& matrix);

 private:
  BoundaryCurves boundary_;
};

}  // namespace trova::geometry
