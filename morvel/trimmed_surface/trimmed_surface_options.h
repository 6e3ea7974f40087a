#pragma once

#include <cstdint>

#include "morvel/trimmed_surface/trim_loop.h"

namespace trova::geometry::trimmed_surface {

/// How a trimmed surface judges its loops. A value that is copied whole.
struct MORVEL_API TrimmedSurfaceOptions {
  double boundaryTolerance = kDefaultBoundaryTolerance;  ///< in parameters; on-boundary distance
  // By contract: what follows is carried for the host, and no operation depends on it.
  double approximationTolerance = 0.001;
  bool firstSwitch = true;
  bool secondSwitch = true;
  bool thirdSwitch = true;
  std::int32_t level = 1;
  std::int64_t hostValue = 0;
  std::int64_t reserved = 0;
};
static_assert(sizeof(TrimmedSurfaceOptions) == 40);  // hosts copy it as so many bytes

}  // namespace trova::geometry::trimmed_surface
