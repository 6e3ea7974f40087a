#pragma once

#include <algorithm>
#include <cstdint>

namespace trova::geometry::internal {

/// By contract: no approximation gets more control points than this, whatever the number of points.
inline constexpr std::int64_t kMaxApproximationControlPoints = 50;

/// How many control points approximate `points` points with degree p: about half as many, above a
/// hundred points a quarter.
inline int approximationControlPointCount(std::int64_t points, std::int64_t p) {
  constexpr std::int64_t kManyPoints = 100;
  if (points <= p + 1) return int(std::max<std::int64_t>(2, p + 1));
  std::int64_t count = std::min(points, points / 2 + p);
  if (points > kManyPoints) count = std::min(count, points / 4 + p);
  return int(std::min(std::max(p + 1, count), kMaxApproximationControlPoints));
}

}  // namespace trova::geometry::internal
