#pragma once

#include "morvel/blend/internal/cell_grid.h"

namespace trova::geometry::blend::internal {

/// A cell of either surface that may meet.
struct CellPair {
  CellGrid::Node a;
  CellGrid::Node b;
};

/// Surfaces with more pairs than this lie on each other for the most part.
inline constexpr std::size_t kMostPairs = 1 << 15;

/// The pairs of cells whose boxes meet and which no plane along either cell separates; at most
/// kMostPairs of them.
std::vector<CellPair> meetingCells(const CellGrid& a, const CellGrid& b);

}  // namespace trova::geometry::blend::internal
