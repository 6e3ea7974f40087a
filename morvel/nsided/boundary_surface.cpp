#include "morvel/nsided/boundary_surface.h"

#include <utility>

namespace trova::geometry {

BoundarySurface::BoundarySurface(BoundaryCurves curves) : boundary_(std::move(curves)) {}

std::shared_ptr<const Curve> BoundarySurface::getBoundaryCurve(int index) const {
  return boundary_.at(static_cast<std::size_t>(index));
}

void BoundarySurface::transformBoundary(const Transform3D& matrix) {
  BoundaryCurves images;
  for (const auto& curve : boundary_)
    images.push_back(curve ? curve->transform(matrix) : nullptr);
  boundary_ = std::move(images);
}

}  // namespace trova::geometry
