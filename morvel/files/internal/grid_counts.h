#pragma once

#include <utility>

#include "morvel/surfaces/surface.h"

namespace trova::files::internal {

/// The numbers of samples along u and v of a grid whose chords, along both and across its cells,
/// pass within `tolerance` (model units, above 0) of the surface midway between samples.
/// @throws std::invalid_argument where that takes more than kMaxSurfaceSamples a side, or where the
///   surface is not finite
std::pair<int, int> gridCountsWithin(const geometry::Surface& surface, double tolerance);

}  // namespace trova::files::internal
