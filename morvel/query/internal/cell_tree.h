#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "morvel/query/internal/surface_cell.h"

namespace trova::projection::internal {

/// The cells of a surface in a tree of boxes.
class CellTree {
 public:
  explicit CellTree(std::vector<SurfaceCell> cells);

  const std::vector<SurfaceCell>& cells() const { return cells_; }
  bool isEmpty() const { return cells_.empty(); }
  const AxisBox& box() const { return nodes_.front().box; }  ///< of a tree that is not empty

  /// A cell that may hold the closest point.
  struct Candidate {
    double bound;  ///< squared distance to the cell's box
    const SurfaceCell* cell;
    bool operator<(const Candidate& other) const { return bound < other.bound; }
  };

  /// The cells whose boxes are as close as the closest middle of a cell, the closest box first.
  /// @param found  emptied first
  void nearCells(const Vector3d& point, std::vector<Candidate>& found) const;

  /// Calls visit(cell) for every cell whose box, widened by `margin`, the line meets.
  template <class Visit>
  void forEachMetBy(const Vector3d& point, const Vector3d& direction, double margin,
                    Visit visit) const {
    const auto enter = [&](const AxisBox& box) { return box.isMetBy(point, direction, margin); };
    const auto meet = [&](const SurfaceCell& cell) {
      if (cell.isMetBy(point, direction, margin)) visit(cell);
    };
    if (!isEmpty()) forEach(0, enter, meet);
  }

 private:
  // The halves of an inner node stand at `first` and `first` + 1; a leaf has `count` cells.
  struct Node {
    AxisBox box;
    std::int32_t first = 0;
    std::int32_t count = 0;
  };

  void split(std::int32_t node, std::int32_t from, std::int32_t to,
             const std::vector<AxisBox>& boxes, std::vector<std::int32_t>& order);

  template <class Enter, class Visit>
  void forEach(std::int32_t index, const Enter& enter, const Visit& visit) const {
    const Node& node = nodes_[std::size_t(index)];
    if (!enter(node.box)) return;
    for (std::int32_t k = 0; k < node.count; ++k)
      visit(cells_[std::size_t(node.first) + std::size_t(k)]);
    if (node.count > 0) return;
    forEach(node.first, enter, visit);
    forEach(node.first + 1, enter, visit);
  }

  std::vector<SurfaceCell> cells_;
  std::vector<Node> nodes_;
};

}  // namespace trova::projection::internal
