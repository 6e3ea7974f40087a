#include "morvel/query/internal/cell_tree.h"

#include <algorithm>
#include <array>
#include <limits>
#include <numeric>

namespace trova::projection::internal {
namespace {

constexpr std::int32_t kLeafCells = 4;
/// Halving the cells ends the tree long before this depth.
constexpr std::size_t kDeepest = 64;

}  // namespace

CellTree::CellTree(std::vector<SurfaceCell> cells) : cells_(std::move(cells)) {
  if (cells_.empty()) return;
  std::vector<AxisBox> boxes;
  boxes.reserve(cells_.size());
  for (const SurfaceCell& cell : cells_)
    boxes.push_back(axisBoxOf(cell));
  std::vector<std::int32_t> order(cells_.size());
  std::iota(order.begin(), order.end(), 0);
  nodes_.emplace_back();
  split(0, 0, static_cast<std::int32_t>(cells_.size()), boxes, order);
  std::vector<SurfaceCell> sorted;  // into the order of the leaves
  sorted.reserve(cells_.size());
  for (const std::int32_t k : order)
    sorted.push_back(cells_[std::size_t(k)]);
  cells_ = std::move(sorted);
}

void CellTree::split(std::int32_t node, std::int32_t from, std::int32_t to,
                     const std::vector<AxisBox>& boxes, std::vector<std::int32_t>& order) {
  const auto boxAt = [&](std::int32_t k) -> const AxisBox& {
    return boxes[std::size_t(order[std::size_t(k)])];
  };
  AxisBox box = boxAt(from);
  for (std::int32_t k = from + 1; k < to; ++k)
    box.add(boxAt(k));
  nodes_[std::size_t(node)] = {box, from, to - from};
  if (to - from <= kLeafCells) return;
  int axis = 0;
  (box.high - box.low).maxCoeff(&axis);
  const std::int32_t middle = from + (to - from) / 2;
  std::nth_element(order.begin() + from, order.begin() + middle, order.begin() + to,
                   [&](std::int32_t a, std::int32_t b) {
                     return boxes[std::size_t(a)].center()[axis] <
                            boxes[std::size_t(b)].center()[axis];
                   });
  const auto first = static_cast<std::int32_t>(nodes_.size());
  nodes_[std::size_t(node)].first = first;
  nodes_[std::size_t(node)].count = 0;
  nodes_.resize(nodes_.size() + 2);
  split(first, from, middle, boxes, order);
  split(first + 1, middle, to, boxes, order);
}

void CellTree::nearCells(const Vector3d& point, std::vector<Candidate>& found) const {
  found.clear();
  if (isEmpty()) return;
  using Entry = std::pair<double, std::int32_t>;
  std::array<Entry, kDeepest> stack;
  std::size_t depth = 0;
  double reach = std::numeric_limits<double>::infinity();
  stack[depth++] = {0.0, 0};
  while (depth > 0) {
    const auto [bound, index] = stack[--depth];
    if (bound > reach) continue;
    const Node& node = nodes_[std::size_t(index)];
    for (std::int32_t k = 0; k < node.count; ++k) {
      const SurfaceCell& cell = cells_[std::size_t(node.first) + std::size_t(k)];
      reach = std::min(reach, (cell.middle - point).squaredNorm());
      const double toCell = cell.squaredDistance(point);
      if (toCell <= reach) found.push_back({toCell, &cell});
    }
    if (node.count > 0) continue;
    Entry nearer{nodes_[std::size_t(node.first)].box.squaredDistance(point), node.first};
    Entry farther{nodes_[std::size_t(node.first) + 1].box.squaredDistance(point), node.first + 1};
    if (farther.first < nearer.first) std::swap(nearer, farther);
    if (farther.first <= reach) stack[depth++] = farther;
    if (nearer.first <= reach) stack[depth++] = nearer;  // looked at first
  }
  std::erase_if(found, [reach](const Candidate& c) { return c.bound > reach; });
  std::sort(found.begin(), found.end());
}

}  // namespace trova::projection::internal
