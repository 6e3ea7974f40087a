#pragma once

#include <memory>

#include "morvel/blend/ball_path.h"
#include "morvel/blend/surface_intersection_generator.h"
#include "morvel/blend/variable_spine_contact_solver.h"

namespace trova::geometry::blend::internal {

/// Stations of a ball of constant radius along a branch of two offset surfaces' intersection, each
/// exact; `along` is the unit direction. Holds the branch; the surfaces must outlive it.
BallPath pathAlong(const Surface& surface1, double distance1, const Surface& surface2,
                   double distance2, IntersectionBranch branch);

/// Stations of a ball whose radius follows a law of the fraction of the path, on the planes of a
/// guide. The path runs over as much of the guide as the ball can stand on. Empty where it can
/// stand on none.
BallPath pathWithLaw(const BlendSides& sides, BallPath guide, RadiusLaw law);

}  // namespace trova::geometry::blend::internal
