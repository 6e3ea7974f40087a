#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "morvel/foundation/point.h"

namespace trova::files::internal {

/// Polygons of more corners are refused: a search for ears takes the square of their number.
inline constexpr std::size_t kMaxPolygonCorners = 10'000;

/// Appends the triangles of a simple polygon in space, three of its corners each: n - 2 of them,
/// which turn as it does. It is cut as its projection along the normal (Newell's) by ears
/// (Meisters, "Polygons have ears", 1975); a convex quad (a, b, c, d) gives (a, b, c) and (a, c,
/// d). What is left of one that crosses itself becomes a fan.
void appendEars(std::span<const foundation::Point3D> vertices,
                std::span<const std::int32_t> corners, std::vector<std::int32_t>& triangles);

}  // namespace trova::files::internal
