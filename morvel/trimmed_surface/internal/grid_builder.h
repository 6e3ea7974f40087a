#pragma once

#include "morvel/trimmed_surface/internal/classification_grid.h"

namespace trova::geometry::trimmed_surface::internal {

/// Fills a ClassificationGrid: edges into the cells they touch, then one sweep a row that carries
/// the winding numbers of all loops from cell to cell.
class GridBuilder {
 public:
  GridBuilder(ClassificationGrid& grid, const std::vector<SampledLoop>& loops, double tolerance);
  void build();

 private:
  /// A stretch between the end of one curve and the start of the next, around which the angle sum
  /// is not told by the winding number.
  struct Gap {
    Point2D a;
    Point2D b;
    double reach;
  };
  struct Entry {
    std::uint32_t cell;  // number of the mixed cell
    std::uint32_t edge;
  };
  struct Crossing {
    double x;
    std::uint32_t loop;
    int step;  // what the winding number changes by, from left to right
  };

  void collectEdges(std::uint32_t loop);
  void collectGaps(std::uint32_t loop);
  bool measure();
  void withoutGrid();
  void layOut(int size);
  bool markEdges();
  void markGaps();
  void distributeEdges();
  void sweep();
  std::vector<std::vector<Crossing>> crossingsByRow() const;
  void sweepRow(int row, const std::vector<Crossing>& crossings);
  void pass(const Crossing& crossing);
  CellState finishCell(std::size_t cell, const Point2D& reference);
  double reachOf(const GridEdge& edge) const;
  Point2D reference(int row, int column) const;
  int clampedCell(double cells) const;
  template <class Visit>
  void forEachTouchedCell(const Point2D& a, const Point2D& b, double reach, Visit&& visit) const;

  ClassificationGrid& grid_;
  const std::vector<SampledLoop>& loops_;
  double tolerance_;
  std::vector<GridEdge> edges_;
  std::vector<Gap> gaps_;
  int size_ = 0;
  double cellWidth_ = 0.0, cellHeight_ = 0.0;
  double lowX_ = 0.0, lowY_ = 0.0;
  double width_ = 0.0, height_ = 0.0;
  std::vector<Entry> entries_;
  std::vector<std::uint32_t> firstEdge_;  // by mixed cell
  std::vector<int> winding_;              // by loop, where the sweep stands
  int outerCount_ = 0;                    // outer-like loops that hold that place
  int holeCount_ = 0;
};

}  // namespace trova::geometry::trimmed_surface::internal
