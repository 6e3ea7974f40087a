#pragma once

#include "morvel/trimmed_surface/trim_loop.h"

namespace trova::geometry::trimmed_surface {

/// The pieces of a wire as one closed loop. In chain order: where the end of a piece is nearer to
/// the end of the next one than to its start, and nearer than `joinDistance` (model units), the
/// next one is reversed. The polygon is the samples of the pieces.
/// @param pieces  none of them null
MORVEL_API TrimLoop chainedLoop(std::vector<std::shared_ptr<CurveOnSurface>> pieces,
                                double joinDistance);

}  // namespace trova::geometry::trimmed_surface
