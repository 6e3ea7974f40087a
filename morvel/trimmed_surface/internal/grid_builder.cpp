#include "morvel/trimmed_surface/internal/grid_builder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "morvel/trimmed_surface/internal/polygon_winding.h"

namespace trova::geometry::trimmed_surface::internal {
namespace {

// Cells a side for each root of the number of edges: a cell that loops cross then has few edges.
constexpr double kCellsPerRoot = 10.0;
constexpr double kSmallestSize = 32.0;
constexpr double kLargestSize = 1024.0;
// More edges than this in all cells together: the grid becomes coarser.
constexpr std::size_t kMostEntries = std::size_t{1} << 22;

// Shares of the extent: how near to an edge one determinant is not trusted, and the tolerance from
// which on a grid does not pay.
constexpr double kNearness = 1e-10;
constexpr double kLargestTolerance = 1.0 / 64.0;
// Products of four coordinates must stay finite.
constexpr double kLargestCoordinate = 1e70;

// The gaps of a loop are seen under less than this part of half a turn beyond their reach, where
// the winding number of the closed ring therefore decides.
constexpr double kHarmlessTurn = 0.9 * std::numbers::pi;

// Where in its cell a reference point stands: off the middle, since loops like round numbers.
constexpr double kReferenceX = 0.4871;
constexpr double kReferenceY = 0.5129;
constexpr double kReferenceNearness = 8.0;  // times the nearness

double distanceBetween(const Point2D& a, const Point2D& b) { return a.distanceTo(b); }

}  // namespace

GridBuilder::GridBuilder(ClassificationGrid& grid, const std::vector<SampledLoop>& loops,
                         double tolerance)
    : grid_(grid), loops_(loops), tolerance_(tolerance) {}

void GridBuilder::build() {
  for (std::uint32_t k = 0; k < loops_.size(); ++k) {
    collectEdges(k);
    collectGaps(k);
  }
  if (edges_.empty() || !measure()) return;
  const double wanted = kCellsPerRoot * std::sqrt(double(edges_.size()));
  const double clamped = std::clamp(wanted, kSmallestSize, kLargestSize);
  int size = static_cast<int>(std::bit_ceil(static_cast<unsigned>(clamped)));
  for (layOut(size); !markEdges(); layOut(size /= 2)) {
    if (size <= static_cast<int>(kSmallestSize)) {
      withoutGrid();
      return;
    }
  }
  markGaps();
  distributeEdges();
  sweep();
}

void GridBuilder::withoutGrid() {
  grid_.last_ = 0.0;
  grid_.states_.assign(1, CellState::Undecided);
}

void GridBuilder::collectEdges(std::uint32_t loop) {
  const SampledLoop& sampled = loops_[loop];
  const auto collect = [&](const Polylines& lines, bool isWinding, bool isBoundary) {
    lines.forEachEdge([&](const Point2D& a, const Point2D& b) {
      edges_.push_back({a, b, distanceBetween(a, b), loop, isWinding, isBoundary});
    });
  };
  collect(sampled.boundary, sampled.sharesEdges, true);
  if (!sampled.sharesEdges) collect(sampled.winding, true, false);
}

void GridBuilder::collectGaps(std::uint32_t loop) {
  const Polylines& lines = loops_[loop].winding;
  const std::size_t firstGap = gaps_.size();
  double total = 0.0;
  for (std::size_t k = 0; k < lines.count(); ++k) {
    const Point2D a = lines.line(k).back();
    const Point2D b = lines.line((k + 1) % lines.count()).front();
    if (a.x() == b.x() && a.y() == b.y()) continue;
    const double length = distanceBetween(a, b);
    edges_.push_back({a, b, length, loop, true, false});
    gaps_.push_back({a, b, 0.0});
    total += length;
  }
  for (std::size_t k = firstGap; k < gaps_.size(); ++k)
    gaps_[k].reach = total / kHarmlessTurn;
}

// Whether the loops can have a grid; places it around them.
bool GridBuilder::measure() {
  BoundingBox box;
  for (const SampledLoop& loop : loops_)
    box.addBoundingBox(loop.box);
  if (box.isEmpty()) return false;
  const Point3D low = box.getMin(), high = box.getMax();
  const double largest =
      std::max(low.eigen().cwiseAbs().maxCoeff(), high.eigen().cwiseAbs().maxCoeff());
  const double extent = std::max(high.x() - low.x(), high.y() - low.y());
  const bool isUsable = extent > 0.0 && largest < kLargestCoordinate && tolerance_ >= 0.0 &&
                        tolerance_ <= kLargestTolerance * extent;
  if (!isUsable) return false;
  grid_.scale_ = {tolerance_ * tolerance_, kNearness * (extent + largest)};
  double margin = tolerance_ + 4.0 * grid_.scale_.nearness;
  for (const Gap& gap : gaps_)
    margin = std::max(margin, gap.reach + 4.0 * grid_.scale_.nearness);
  lowX_ = low.x() - margin;
  lowY_ = low.y() - margin;
  width_ = high.x() - low.x() + 2.0 * margin;
  height_ = high.y() - low.y() + 2.0 * margin;
  return true;
}

void GridBuilder::layOut(int size) {
  size_ = size;
  // The outermost cells stay empty.
  cellWidth_ = width_ / (size - 2);
  cellHeight_ = height_ / (size - 2);
  grid_.originX_ = lowX_ - cellWidth_;
  grid_.originY_ = lowY_ - cellHeight_;
  grid_.perCellX_ = 1.0 / cellWidth_;
  grid_.perCellY_ = 1.0 / cellHeight_;
  grid_.last_ = size - 1;
  grid_.stride_ = static_cast<std::size_t>(size);
  const std::size_t cells = grid_.stride_ * grid_.stride_;
  grid_.states_.assign(cells, CellState::Outside);
  grid_.numbers_ = std::make_unique_for_overwrite<std::uint32_t[]>(cells);
  grid_.mixed_.clear();
  entries_.clear();
}

int GridBuilder::clampedCell(double cells) const {
  return static_cast<int>(std::clamp(cells, 0.0, size_ - 1.0));
}

// Row for row the stretch of the edge in the row, everything widened by `reach`. The visit returns
// false to stop.
template <class Visit>
void GridBuilder::forEachTouchedCell(const Point2D& a, const Point2D& b, double reach,
                                     Visit&& visit) const {
  const double yLow = std::min(a.y(), b.y()) - reach, yHigh = std::max(a.y(), b.y()) + reach;
  const int firstRow = clampedCell((yLow - grid_.originY_) * grid_.perCellY_);
  const int lastRow = clampedCell((yHigh - grid_.originY_) * grid_.perCellY_);
  const double dy = b.y() - a.y(), dx = b.x() - a.x();
  for (int row = firstRow; row <= lastRow; ++row) {
    const double bottom = grid_.originY_ + row * cellHeight_ - reach;
    const double top = bottom + cellHeight_ + 2.0 * reach;
    double from = 0.0, to = 1.0;
    if (std::abs(dy) > reach) {
      from = std::clamp((bottom - a.y()) / dy, 0.0, 1.0);
      to = std::clamp((top - a.y()) / dy, 0.0, 1.0);
    }
    const double x0 = a.x() + from * dx, x1 = a.x() + to * dx;
    const int first = clampedCell((std::min(x0, x1) - reach - grid_.originX_) * grid_.perCellX_);
    const int last = clampedCell((std::max(x0, x1) + reach - grid_.originX_) * grid_.perCellX_);
    for (int column = first; column <= last; ++column) {
      if (!visit(row * grid_.stride_ + column)) return;
    }
  }
}

double GridBuilder::reachOf(const GridEdge& edge) const {
  return (edge.isBoundary ? tolerance_ : 0.0) + 2.0 * grid_.scale_.nearness;
}

// False where the cells would hold too many edges.
bool GridBuilder::markEdges() {
  for (std::uint32_t k = 0; k < edges_.size(); ++k) {
    const GridEdge& edge = edges_[k];
    forEachTouchedCell(edge.a, edge.b, reachOf(edge), [&](std::size_t cell) {
      if (grid_.states_[cell] != CellState::Mixed) {
        grid_.states_[cell] = CellState::Mixed;
        grid_.numbers_[cell] = static_cast<std::uint32_t>(grid_.mixed_.size());
        grid_.mixed_.emplace_back();
      }
      entries_.push_back({grid_.numbers_[cell], k});
      return entries_.size() <= kMostEntries;
    });
    if (entries_.size() > kMostEntries) return false;
  }
  return true;
}

void GridBuilder::markGaps() {
  for (const Gap& gap : gaps_) {
    if (gap.reach < grid_.scale_.nearness / 2.0) continue;
    forEachTouchedCell(gap.a, gap.b, gap.reach + 2.0 * grid_.scale_.nearness,
                       [&](std::size_t cell) {
                         grid_.states_[cell] = CellState::Undecided;
                         return true;
                       });
  }
}

// Counting sort by cell; within a cell edges stay in the order of their loops.
void GridBuilder::distributeEdges() {
  firstEdge_.assign(grid_.mixed_.size() + 1, 0);
  for (const Entry& entry : entries_)
    ++firstEdge_[entry.cell + 1];
  for (std::size_t k = 1; k < firstEdge_.size(); ++k)
    firstEdge_[k] += firstEdge_[k - 1];
  std::vector<std::uint32_t> next(firstEdge_.begin(), firstEdge_.end() - 1);
  grid_.edges_.resize(entries_.size());
  for (const Entry& entry : entries_)
    grid_.edges_[next[entry.cell]++] = edges_[entry.edge];
}

Point2D GridBuilder::reference(int row, int column) const {
  return {grid_.originX_ + (column + kReferenceX) * cellWidth_,
          grid_.originY_ + (row + kReferenceY) * cellHeight_};
}

std::vector<std::vector<GridBuilder::Crossing>> GridBuilder::crossingsByRow() const {
  std::vector<std::vector<Crossing>> rows(static_cast<std::size_t>(size_));
  for (const GridEdge& edge : edges_) {
    if (!edge.isWinding || edge.a.y() == edge.b.y()) continue;
    const bool isUp = edge.a.y() < edge.b.y();
    const Point2D& low = isUp ? edge.a : edge.b;
    const Point2D& high = isUp ? edge.b : edge.a;
    const int first = clampedCell((low.y() - grid_.originY_) * grid_.perCellY_ - 1.0);
    const int last = clampedCell((high.y() - grid_.originY_) * grid_.perCellY_ + 1.0);
    const double slope = (high.x() - low.x()) / (high.y() - low.y());
    for (int row = first; row <= last; ++row) {
      const double y = reference(row, 0).y();
      if (low.y() <= y && y < high.y())
        rows[row].push_back({low.x() + (y - low.y()) * slope, edge.loop, isUp ? -1 : 1});
    }
  }
  return rows;
}

void GridBuilder::sweep() {
  std::vector<std::vector<Crossing>> rows = crossingsByRow();
  winding_.assign(loops_.size(), 0);
  for (int row = 0; row < size_; ++row) {
    std::sort(rows[row].begin(), rows[row].end(),
              [](const Crossing& a, const Crossing& b) { return a.x < b.x; });
    sweepRow(row, rows[row]);
  }
}

void GridBuilder::sweepRow(int row, const std::vector<Crossing>& crossings) {
  std::fill(winding_.begin(), winding_.end(), 0);
  outerCount_ = holeCount_ = 0;
  std::size_t next = 0;
  for (int column = 0; column < size_; ++column) {
    const Point2D at = reference(row, column);
    while (next < crossings.size() && crossings[next].x < at.x())
      pass(crossings[next++]);
    CellState& state = grid_.states_[row * grid_.stride_ + column];
    if (state == CellState::Mixed)
      state = finishCell(row * grid_.stride_ + column, at);
    else if (state != CellState::Undecided && outerCount_ > 0 && holeCount_ == 0)
      state = CellState::Inside;
  }
}

void GridBuilder::pass(const Crossing& crossing) {
  const SampledLoop& loop = loops_[crossing.loop];
  const bool wasInside = winding_[crossing.loop] != 0;
  winding_[crossing.loop] += crossing.step;
  const int change = int(winding_[crossing.loop] != 0) - int(wasInside);
  if (loop.isOuterLike) outerCount_ += change;
  if (loop.isHoleLike) holeCount_ += change;
}

CellState GridBuilder::finishCell(std::size_t cellIndex, const Point2D& at) {
  const std::uint32_t number = grid_.numbers_[cellIndex];
  MixedCell& cell = grid_.mixed_[number];
  cell.reference = at;
  cell.firstLoop = static_cast<std::uint32_t>(grid_.touched_.size());
  int outers = outerCount_, holes = holeCount_;
  const double nearest = kReferenceNearness * grid_.scale_.nearness;
  for (std::uint32_t k = firstEdge_[number]; k < firstEdge_[number + 1]; ++k) {
    const GridEdge& edge = grid_.edges_[k];
    if (squaredEdgeDistance(edge.a, edge.b, at, 0.0) <= nearest * nearest)
      return CellState::Undecided;
    if (grid_.touched_.size() == cell.firstLoop || grid_.touched_.back().loop != edge.loop) {
      const int winding = winding_[edge.loop];
      grid_.touched_.push_back({edge.loop, winding, k, k});
      if (winding != 0 && loops_[edge.loop].isOuterLike) --outers;
      if (winding != 0 && loops_[edge.loop].isHoleLike) --holes;
    }
    grid_.touched_.back().endEdge = k + 1;
  }
  cell.endLoop = static_cast<std::uint32_t>(grid_.touched_.size());
  cell.isInOuter = outers > 0;
  cell.isInHole = holes > 0;
  return CellState::Mixed;
}

}  // namespace trova::geometry::trimmed_surface::internal
