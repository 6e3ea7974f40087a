#include "morvel/blend/internal/cell_pairs.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace trova::geometry::blend::internal {
namespace {

struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
};

/// The cell along a direction, margin included.
Range extentAlong(const CellGrid& grid, const CellGrid::Node& cell, const Vector3d& direction) {
  Range range;
  for (int k = 0; k < 4; ++k) {
    const double t = direction.dot(grid.corner(cell.i + k / 2, cell.j + k % 2));
    range.low = std::min(range.low, t);
    range.high = std::max(range.high, t);
  }
  const double margin = direction.cwiseAbs().dot(grid.margin(cell));
  return {range.low - margin, range.high + margin};
}

class PairSearch {
 public:
  PairSearch(const CellGrid& a, const CellGrid& b) : a_(a), b_(b) {}

  void descend(const CellGrid::Node& a, const CellGrid::Node& b) {
    if (found_.size() >= kMostPairs || !a_.box(a).meets(b_.box(b))) return;
    if (a.level == 0 && b.level == 0) {
      if (!isSeparated(a, b)) found_.push_back({a, b});
    } else if (a.level >= b.level) {
      a_.forEachPart(a, [&](const CellGrid::Node& part) { descend(part, b); });
    } else {
      b_.forEachPart(b, [&](const CellGrid::Node& part) { descend(a, part); });
    }
  }

  std::vector<CellPair> found() && { return std::move(found_); }

 private:
  bool isSeparated(const CellGrid::Node& a, const CellGrid::Node& b) const {
    return isSeparatedAlong(a_.normal(a), a, b) || isSeparatedAlong(b_.normal(b), a, b);
  }

  bool isSeparatedAlong(const Vector3d& direction, const CellGrid::Node& a,
                        const CellGrid::Node& b) const {
    const Range first = extentAlong(a_, a, direction);
    const Range second = extentAlong(b_, b, direction);
    return first.high < second.low || second.high < first.low;
  }

  const CellGrid& a_;
  const CellGrid& b_;
  std::vector<CellPair> found_;
};

}  // namespace

std::vector<CellPair> meetingCells(const CellGrid& a, const CellGrid& b) {
  if (!a.isFinite() || !b.isFinite()) return {};
  PairSearch search(a, b);
  search.descend(a.root(), b.root());
  return std::move(search).found();
}

}  // namespace trova::geometry::blend::internal
