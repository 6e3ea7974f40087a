#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <vector>

#include "morvel/trimmed_surface/trim_loop.h"

// A k-d tree of points (Bentley, "Multidimensional binary search trees used for associative
// searching", 1975), each referring to an object that must outlive the tree.

namespace trova::geometry::trimmed_surface {

template <class Object, int Dimension>
class MORVEL_API KdTreePointLocator {
 public:
  using Position = std::array<double, Dimension>;
  struct Entry {
    Position position{};
    const Object* object = nullptr;
    double parameter = 0.0;  ///< on the object
  };

  void build(std::vector<Entry> entries) {
    entries_ = std::move(entries);
    rebuild();
  }

  /// Makes the tree balanced again.
  void rebuild() {
    arrange(0, entries_.size(), 0);
    ordered_ = entries_.size();
  }

  /// Searched one by one until there are as many such entries as in the tree; then it is rebuilt.
  void insert(const Entry& entry) {
    entries_.push_back(entry);
    if (entries_.size() - ordered_ > ordered_) rebuild();
  }

  void clear() {
    entries_.clear();
    ordered_ = 0;
  }

  std::size_t size() const { return entries_.size(); }

  /// Null for an empty tree.
  const Entry* findNearest(const Position& at) const {
    Nearest nearest;
    search(0, ordered_, 0, at, nearest);
    for (std::size_t k = ordered_; k < entries_.size(); ++k)
      nearest.offer(entries_[k], squaredDistance(entries_[k].position, at));
    return nearest.entry;
  }

  std::vector<const Entry*> findWithinRadius(const Position& at, double radius) const {
    Position low = at, high = at;
    for (int axis = 0; axis < Dimension; ++axis) {
      low[axis] -= radius;
      high[axis] += radius;
    }
    std::vector<const Entry*> found = findInRegion(low, high);
    std::erase_if(found, [&](const Entry* entry) {
      return !(squaredDistance(entry->position, at) <= radius * radius);
    });
    return found;
  }

  /// Bounds included.
  std::vector<const Entry*> findInRegion(const Position& low, const Position& high) const {
    std::vector<const Entry*> found;
    collect(0, ordered_, 0, low, high, found);
    for (std::size_t k = ordered_; k < entries_.size(); ++k) {
      if (isWithin(entries_[k].position, low, high)) found.push_back(&entries_[k]);
    }
    return found;
  }

 private:
  struct Nearest {
    const Entry* entry = nullptr;
    double squared = std::numeric_limits<double>::infinity();

    void offer(const Entry& candidate, double distance) {
      if (entry && !(distance < squared)) return;
      entry = &candidate;
      squared = distance;
    }
  };

  static double squaredDistance(const Position& a, const Position& b) {
    double squared = 0.0;
    for (int axis = 0; axis < Dimension; ++axis)
      squared += (a[axis] - b[axis]) * (a[axis] - b[axis]);
    return squared;
  }

  static bool isWithin(const Position& p, const Position& low, const Position& high) {
    for (int axis = 0; axis < Dimension; ++axis) {
      if (!(low[axis] <= p[axis] && p[axis] <= high[axis])) return false;
    }
    return true;
  }

  /// The middle of a stretch is its root; what is left of it lies before it.
  void arrange(std::size_t begin, std::size_t end, int axis) {
    if (end - begin < 2) return;
    const std::size_t middle = begin + (end - begin) / 2;
    std::nth_element(
        entries_.begin() + begin, entries_.begin() + middle, entries_.begin() + end,
        [axis](const Entry& a, const Entry& b) { return a.position[axis] < b.position[axis]; });
    arrange(begin, middle, (axis + 1) % Dimension);
    arrange(middle + 1, end, (axis + 1) % Dimension);
  }

  void search(std::size_t begin, std::size_t end, int axis, const Position& at,
              Nearest& nearest) const {
    if (begin >= end) return;
    const std::size_t middle = begin + (end - begin) / 2;
    const Entry& entry = entries_[middle];
    nearest.offer(entry, squaredDistance(entry.position, at));
    const double beyond = at[axis] - entry.position[axis];
    const int next = (axis + 1) % Dimension;
    const bool isLeft = beyond < 0.0;
    isLeft ? search(begin, middle, next, at, nearest) : search(middle + 1, end, next, at, nearest);
    if (beyond * beyond > nearest.squared) return;
    isLeft ? search(middle + 1, end, next, at, nearest) : search(begin, middle, next, at, nearest);
  }

  void collect(std::size_t begin, std::size_t end, int axis, const Position& low,
               const Position& high, std::vector<const Entry*>& found) const {
    if (begin >= end) return;
    const std::size_t middle = begin + (end - begin) / 2;
    const Entry& entry = entries_[middle];
    const int next = (axis + 1) % Dimension;
    if (low[axis] <= entry.position[axis]) collect(begin, middle, next, low, high, found);
    if (isWithin(entry.position, low, high)) found.push_back(&entry);
    if (high[axis] >= entry.position[axis]) collect(middle + 1, end, next, low, high, found);
  }

  std::vector<Entry> entries_;
  std::size_t ordered_ = 0;  // of them are in the tree
};

extern template class KdTreePointLocator<CurveOnSurface, 2>;

}  // namespace trova::geometry::trimmed_surface
