#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "morvel/trimmed_surface/internal/sampled_loop.h"

// A uniform grid over the loops of a surface: most points are answered by the cell they fall in.

namespace trova::geometry::trimmed_surface::internal {

/// The first two are the classifications of the same values.
enum class CellState : std::uint8_t {
  Inside = 0,
  Outside = 1,
  Mixed,     ///< edges pass within the tolerance; see its MixedCell
  Undecided  ///< near the gap of a loop that does not close: only the full rules answer
};

inline bool isDecided(CellState state) { return state <= CellState::Outside; }

/// An edge in a cell that it touches; loops of curves have other edges for the turns around a point
/// than for the distance from it.
struct GridEdge {
  Point2D a;
  Point2D b;
  double length;
  std::uint32_t loop;
  bool isWinding;
  bool isBoundary;
};

/// A loop with edges in a cell, and its winding number at the cell's reference point.
struct TouchedLoop {
  std::uint32_t loop;
  std::int32_t winding;
  std::uint32_t firstEdge;
  std::uint32_t endEdge;
};

struct MixedCell {
  Point2D reference;
  std::uint32_t firstLoop = 0;
  std::uint32_t endLoop = 0;
  /// Whether outer-like and hole-like loops hold the whole cell without touching it.
  bool isInOuter = false;
  bool isInHole = false;
};

struct GridScale {
  double squaredTolerance = 0.0;
  /// Nearer to an edge than this (in parameters) the side of the point is not told by one rounded
  /// determinant but by the angle sum.
  double nearness = 0.0;
};

class ClassificationGrid {
 public:
  /// Undecided everywhere for tolerances below 0 and for coordinates whose products overflow.
  ClassificationGrid(const std::vector<SampledLoop>& loops, double tolerance);

  CellState stateAt(const Point2D& p) const { return states_[cellOf(p)]; }

  /// For a point whose cell is mixed.
  const MixedCell& mixedCellAt(const Point2D& p) const { return mixed_[numbers_[cellOf(p)]]; }
  std::span<const TouchedLoop> touchedLoops(const MixedCell& cell) const {
    return std::span(touched_).subspan(cell.firstLoop, cell.endLoop - cell.firstLoop);
  }
  std::span<const GridEdge> edges(const TouchedLoop& touched) const {
    return std::span(edges_).subspan(touched.firstEdge, touched.endEdge - touched.firstEdge);
  }
  const GridScale& scale() const { return scale_; }

 private:
  friend class GridBuilder;

  /// The outermost cells hold no loop: they answer for all points beyond the grid, and for what is
  /// not a number, without a branch.
  std::size_t cellOf(const Point2D& p) const {
    return clamped((p.y() - originY_) * perCellY_) * stride_ +
           clamped((p.x() - originX_) * perCellX_);
  }
  std::size_t clamped(double cells) const {
    const double fromLow = cells > 0.0 ? cells : 0.0;
    return static_cast<std::size_t>(fromLow < last_ ? fromLow : last_);
  }

  double originX_ = 0.0, originY_ = 0.0;
  double perCellX_ = 0.0, perCellY_ = 0.0;
  double last_ = 0.0;  // row and column
  std::size_t stride_ = 1;
  GridScale scale_;
  std::vector<CellState> states_{CellState::Undecided};
  std::unique_ptr<std::uint32_t[]> numbers_;  // of the mixed cells; elsewhere not set
  std::vector<MixedCell> mixed_;
  std::vector<TouchedLoop> touched_;
  std::vector<GridEdge> edges_;
};

}  // namespace trova::geometry::trimmed_surface::internal
