#include "morvel/fitting/internal/near_duplicates.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace trova::geometry::internal {
namespace {

using foundation::Point3D;
using Pair = std::pair<int, int>;

constexpr int kAxes = 3;

class DuplicateSearch {
 public:
  DuplicateSearch(std::span<const Point3D> points, double distance)
      : points_(points), distance_(distance) {}

  std::optional<Pair> first() {
    std::vector<int> all(points_.size());
    std::iota(all.begin(), all.end(), 0);
    searchRuns(all, 0);
    return best_;
  }

 private:
  void searchRuns(std::span<int> indices, int axis) {
    if (indices.size() < 2) return;
    if (axis == kAxes) return searchPairs(indices);
    std::sort(indices.begin(), indices.end(),
              [&](int a, int b) { return points_[a][axis] < points_[b][axis]; });
    std::size_t start = 0;
    for (std::size_t k = 1; k <= indices.size(); ++k) {
      const bool isEnd = k == indices.size() ||
                         points_[indices[k]][axis] - points_[indices[k - 1]][axis] > distance_;
      if (!isEnd) continue;
      searchRuns(indices.subspan(start, k - start), axis + 1);
      start = k;
    }
  }

  // The run's own first pair; of many equal points that is found at once.
  void searchPairs(std::span<int> indices) {
    std::sort(indices.begin(), indices.end());
    for (std::size_t a = 0; a + 1 < indices.size(); ++a) {
      if (best_ && best_->first < indices[a]) return;
      for (std::size_t b = a + 1; b < indices.size(); ++b) {
        if (points_[indices[a]].distanceTo(points_[indices[b]]) > distance_) continue;
        const Pair found{indices[a], indices[b]};
        best_ = best_ ? std::min(*best_, found) : found;
        return;
      }
    }
  }

  std::span<const Point3D> points_;
  double distance_;
  std::optional<Pair> best_;
};

}  // namespace

std::optional<Pair> firstNearDuplicates(std::span<const Point3D> points, double distance) {
  return DuplicateSearch(points, distance).first();
}

}  // namespace trova::geometry::internal
