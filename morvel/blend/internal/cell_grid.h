#pragma once

#include <cstdint>
#include <vector>

#include "morvel/blend/internal/offset_field.h"

// A surface cut into a regular grid of cells, each in a box, with coarser grids of boxes above it.

namespace trova::geometry::blend::internal {

struct Box {
  Vector3d low;
  Vector3d high;

  bool meets(const Box& other) const {
    return (low.array() <= other.high.array()).all() && (other.low.array() <= high.array()).all();
  }
  void add(const Box& other) {
    low = low.cwiseMin(other.low);
    high = high.cwiseMax(other.high);
  }
};

/// What a grid is made in. Kept for the next grids of the thread: to hand it back to the system and
/// to get it again took as long as the rest of a search.
struct GridMemory {
  std::vector<Vector3d> samples;
  std::vector<Vector3d> bends;
  std::vector<Vector3d> margins;
  std::vector<Box> boxes;
};

/// The boxes hold the samples with a margin from their second differences: sure where the samples
/// resolve the bends.
class CellGrid {
 public:
  /// @param fewestCells, mostCells  per direction; the fewest below 1: the grid's own
  CellGrid(const OffsetField& field, int fewestCells, int mostCells);
  ~CellGrid();
  CellGrid(const CellGrid&) = delete;
  CellGrid& operator=(const CellGrid&) = delete;

  bool isFinite() const { return isFinite_; }
  double size() const { return size_; }  ///< diagonal of the whole's box
  int cellsU() const { return cellsU_; }
  int cellsV() const { return cellsV_; }

  /// A box of a coarser grid: cells (i << level, j << level) and on.
  struct Node {
    int level;
    int i;
    int j;
  };
  Node root() const { return {static_cast<int>(levels_.size()) - 1, 0, 0}; }
  const Box& box(const Node& node) const;
  /// The up to four parts of a node above level 0.
  template <class Visit>
  void forEachPart(const Node& node, Visit visit) const {
    const Level& below = levels_[std::size_t(node.level - 1)];
    for (int i = 2 * node.i; i < 2 * node.i + 2 && i < below.nU; ++i)
      for (int j = 2 * node.j; j < 2 * node.j + 2 && j < below.nV; ++j)
        visit(Node{node.level - 1, i, j});
  }

  /// The parameter at a share (0 .. cells) of the grid.
  double uAt(double i) const;
  double vAt(double j) const;

  /// Corners of a cell, and how far the surface may leave them.
  const Vector3d& corner(int i, int j) const { return memory_.samples[sampleIndex(i, j)]; }
  const Vector3d& margin(const Node& cell) const {
    return memory_.margins[cellIndex(cell.i, cell.j)];
  }
  /// Across both diagonals, of any length.
  Vector3d normal(const Node& cell) const;
  /// About the angle (radians) by which the normals of a cell differ.
  double turn(const Node& cell) const;

 private:
  struct Level {
    int nU;
    int nV;
    std::size_t first;  // of its boxes, row by row

    std::size_t index(int i, int j) const {
      return first + std::size_t(i) * std::size_t(nV) + std::size_t(j);
    }
  };

  std::size_t sampleIndex(int i, int j) const {
    return std::size_t(i) * std::size_t(cellsV_ + 1) + std::size_t(j);
  }
  std::size_t cellIndex(int i, int j) const {
    return std::size_t(i) * std::size_t(cellsV_) + std::size_t(j);
  }
  void sample(const OffsetField& field);
  Vector3d bend(int i, int j) const;
  void makeCells();
  void makeLevels();

  ParameterDomain domain_;
  int cellsU_ = 0;
  int cellsV_ = 0;
  bool isFinite_ = true;
  double size_ = 0.0;
  GridMemory memory_;
  std::vector<Level> levels_;
};

}  // namespace trova::geometry::blend::internal
