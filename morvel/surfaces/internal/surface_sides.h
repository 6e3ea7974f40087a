#pragma once

#include "morvel/surfaces/bspline_surface.h"

namespace trova::geometry::internal {

inline bool isAcrossU(SurfaceSide side) {
  return side == SurfaceSide::UMin || side == SurfaceSide::UMax;
}
inline bool isAtMax(SurfaceSide side) {
  return side == SurfaceSide::UMax || side == SurfaceSide::VMax;
}

}  // namespace trova::geometry::internal
