#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <queue>
#include <utility>
#include <vector>

#include "morvel/foundation/bounding_box.h"
#include "morvel/trimmed_surface/trim_loop.h"

// An R-tree over boxes (Guttman, "R-trees: a dynamic index structure for spatial searching", 1984).
// Objects are views: they must outlive the index. Boxes of two dimensions have z = 0.

namespace trova::geometry::trimmed_surface {

struct MORVEL_API SpatialIndexStatistics {
  std::size_t objectCount = 0;
  std::size_t nodeCount = 0;
  std::size_t leafCount = 0;
  int height = 0;
};

template <class Object, int Dimension>
class MORVEL_API RTreeSpatialIndex {
 public:
  using Entry = std::pair<BoundingBox, const Object*>;
  static constexpr std::size_t kMostEntries = 16;

  struct Node {
    BoundingBox bounds;
    std::vector<Entry> objects;                   // of a leaf
    std::vector<std::unique_ptr<Node>> children;  // of any other node
    bool isLeaf = true;
    int level = 0;

    std::size_t size() const { return isLeaf ? objects.size() : children.size(); }
    bool needsSplit() const { return size() > kMostEntries; }
    void updateBounds() {
      bounds = BoundingBox();
      for (const Entry& entry : objects)
        bounds.addBoundingBox(entry.first);
      for (const auto& child : children)
        bounds.addBoundingBox(child->bounds);
    }
    /// The first half of the entries in stored order, rounded down, and the rest.
    std::pair<std::unique_ptr<Node>, std::unique_ptr<Node>> split() {
      std::pair<std::unique_ptr<Node>, std::unique_ptr<Node>> halves{std::make_unique<Node>(),
                                                                     std::make_unique<Node>()};
      const std::size_t half = size() / 2;
      for (std::size_t k = 0; k < size(); ++k) {
        Node& target = k < half ? *halves.first : *halves.second;
        isLeaf ? target.objects.push_back(objects[k])
               : target.children.push_back(std::move(children[k]));
      }
      for (Node* node : {halves.first.get(), halves.second.get()}) {
        node->isLeaf = isLeaf;
        node->level = level;
        node->updateBounds();
      }
      return halves;
    }
  };

  RTreeSpatialIndex() { clear(); }

  void clear() {
    root_ = std::make_unique<Node>();
    count_ = 0;
    height_ = 1;
  }

  /// An empty box is not stored.
  void insert(const BoundingBox& box, const Object* object) {
    if (box.isEmpty()) return;
    insertInto(*root_, {box, object});
    ++count_;
    if (!root_->needsSplit()) return;
    auto [first, second] = root_->split();
    auto above = std::make_unique<Node>();
    above->isLeaf = false;
    above->level = root_->level + 1;
    above->children.push_back(std::move(first));
    above->children.push_back(std::move(second));
    above->updateBounds();
    root_ = std::move(above);
    ++height_;
  }

  /// Removes one entry of the object; false where there is none.
  bool remove(const Object* object) {
    if (!removeFrom(*root_, object)) return false;
    --count_;
    while (!root_->isLeaf && root_->children.size() == 1) {
      root_ = std::unique_ptr<Node>(std::move(root_->children.front()));
      --height_;
    }
    if (count_ == 0) clear();
    return true;
  }

  /// The objects whose boxes overlap or touch the box.
  std::vector<const Object*> query(const BoundingBox& box) const {
    std::vector<const Object*> found;
    if (!box.isEmpty())
      collect(
          *root_, [&](const BoundingBox& b) { return overlaps(b, box); }, found);
    return found;
  }

  /// The objects whose boxes come as near to the point as the radius.
  std::vector<const Object*> radiusSearch(const Point3D& point, double radius) const {
    std::vector<const Object*> found;
    collect(
        *root_, [&](const BoundingBox& b) { return squaredDistance(b, point) <= radius * radius; },
        found);
    return found;
  }

  /// The object with the nearest box, best first; null for an empty index.
  const Object* nearestNeighbor(const Point3D& point) const {
    using Candidate = std::pair<double, const Node*>;
    const auto isFarther = [](const Candidate& a, const Candidate& b) { return a.first > b.first; };
    std::priority_queue<Candidate, std::vector<Candidate>, decltype(isFarther)> open(isFarther);
    open.emplace(0.0, root_.get());
    const Object* nearest = nullptr;
    double best = std::numeric_limits<double>::infinity();
    while (!open.empty() && open.top().first <= best) {
      const Node& node = *open.top().second;
      open.pop();
      for (const Entry& entry : node.objects) {
        const double distance = squaredDistance(entry.first, point);
        if (distance < best || !nearest) best = distance, nearest = entry.second;
      }
      for (const auto& child : node.children)
        open.emplace(squaredDistance(child->bounds, point), child.get());
    }
    return nearest;
  }

  std::size_t size() const { return count_; }
  int height() const { return height_; }
  const Node& root() const { return *root_; }

  /// Boxes hold what is below them, levels fall by one, no node is overfull, the count is right.
  bool validate() const { return isSound(*root_) && countBelow(*root_) == count_; }

  SpatialIndexStatistics getPerformanceStats() const {
    SpatialIndexStatistics statistics{count_, 0, 0, height_};
    measure(*root_, statistics);
    return statistics;
  }

  std::size_t estimateMemoryUsage() const {
    const SpatialIndexStatistics statistics = getPerformanceStats();
    return sizeof(*this) + statistics.nodeCount * (sizeof(Node) + sizeof(std::unique_ptr<Node>)) +
           count_ * sizeof(Entry);
  }

  /// What the measure (area, or volume in three dimensions) of `box` grows by to take in `added`.
  static double getEnlargement(const BoundingBox& box, const BoundingBox& added) {
    BoundingBox joined = box;
    joined.addBoundingBox(added);
    return measureOf(joined) - measureOf(box);
  }

 private:
  static double measureOf(const BoundingBox& box) {
    double measure = box.isEmpty() ? 0.0 : 1.0;
    for (int axis = 0; axis < Dimension; ++axis)
      measure *= box.getMax()[axis] - box.getMin()[axis];
    return measure;
  }

  static bool overlaps(const BoundingBox& a, const BoundingBox& b) {
    if (a.isEmpty()) return false;
    for (int axis = 0; axis < Dimension; ++axis) {
      if (a.getMin()[axis] > b.getMax()[axis] || b.getMin()[axis] > a.getMax()[axis]) return false;
    }
    return true;
  }

  static double squaredDistance(const BoundingBox& box, const Point3D& p) {
    if (box.isEmpty()) return std::numeric_limits<double>::infinity();
    double squared = 0.0;
    for (int axis = 0; axis < Dimension; ++axis) {
      const double beyond =
          std::max({box.getMin()[axis] - p[axis], 0.0, p[axis] - box.getMax()[axis]});
      squared += beyond * beyond;
    }
    return squared;
  }

  void insertInto(Node& node, const Entry& entry) {
    node.bounds.addBoundingBox(entry.first);
    if (node.isLeaf) {
      node.objects.push_back(entry);
      return;
    }
    const auto grows = [&](const auto& a, const auto& b) {
      return getEnlargement(a->bounds, entry.first) < getEnlargement(b->bounds, entry.first);
    };
    auto best = std::min_element(node.children.begin(), node.children.end(), grows);
    insertInto(**best, entry);
    if (!(*best)->needsSplit()) return;
    auto [first, second] = (*best)->split();
    *best = std::move(first);
    node.children.insert(best + 1, std::move(second));
  }

  static bool removeFrom(Node& node, const Object* object) {
    const auto isIt = [&](const Entry& entry) { return entry.second == object; };
    const auto entry = std::find_if(node.objects.begin(), node.objects.end(), isIt);
    bool isRemoved = entry != node.objects.end();
    if (isRemoved) node.objects.erase(entry);
    for (auto child = node.children.begin(); !isRemoved && child != node.children.end(); ++child) {
      isRemoved = removeFrom(**child, object);
      if (!isRemoved || (*child)->size() > 0) continue;
      node.children.erase(child);
      break;
    }
    if (isRemoved) node.updateBounds();
    return isRemoved;
  }

  template <class Accepts>
  static void collect(const Node& node, const Accepts& accepts, std::vector<const Object*>& found) {
    if (!accepts(node.bounds)) return;
    for (const Entry& entry : node.objects) {
      if (accepts(entry.first)) found.push_back(entry.second);
    }
    for (const auto& child : node.children)
      collect(*child, accepts, found);
  }

  static bool holds(const BoundingBox& outer, const BoundingBox& inner) {
    for (int axis = 0; axis < Dimension; ++axis) {
      if (inner.getMin()[axis] < outer.getMin()[axis] ||
          inner.getMax()[axis] > outer.getMax()[axis])
        return false;
    }
    return true;
  }

  static bool isSound(const Node& node) {
    if (node.needsSplit() || (node.isLeaf ? !node.children.empty() : !node.objects.empty()))
      return false;
    for (const Entry& entry : node.objects) {
      if (!holds(node.bounds, entry.first)) return false;
    }
    for (const auto& child : node.children) {
      if (child->level != node.level - 1 || !holds(node.bounds, child->bounds) || !isSound(*child))
        return false;
    }
    return true;
  }

  static std::size_t countBelow(const Node& node) {
    std::size_t count = node.objects.size();
    for (const auto& child : node.children)
      count += countBelow(*child);
    return count;
  }

  static void measure(const Node& node, SpatialIndexStatistics& statistics) {
    ++statistics.nodeCount;
    statistics.leafCount += node.isLeaf ? 1 : 0;
    for (const auto& child : node.children)
      measure(*child, statistics);
  }

  std::unique_ptr<Node> root_;
  std::size_t count_ = 0;
  int height_ = 1;
};

extern template class RTreeSpatialIndex<TrimLoop, 2>;

}  // namespace trova::geometry::trimmed_surface
