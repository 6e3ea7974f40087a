#include "morvel/files/internal/near_points.h"

#include <Eigen/Core>
#include <bit>
#include <cmath>

namespace trova::files::internal {
namespace {

using Cell = Eigen::Matrix<std::int64_t, 3, 1>;

constexpr std::int32_t kNone = -1;
constexpr double kCellSize = 8.0;  // tolerances; most points then look into one cell only
// Odd multipliers that spread neighbouring cells (Teschner et al., "Optimized spatial hashing for
// collision detection of deformable objects", 2003).
constexpr std::uint64_t kSpread[] = {73856093, 19349663, 83492791};

/// Points by the cell that they lie in, in chains from a table of buckets.
class CellTable {
 public:
  CellTable(const std::vector<foundation::Point3D>& points, double tolerance)
      : points_(points), tolerance_(tolerance), nextInBucket_(points.size(), kNone) {
    const std::size_t buckets = std::bit_ceil(2 * points.size() + 1);
    mask_ = buckets - 1;
    firstInBucket_.assign(buckets, kNone);
  }

  /// The number of a point within the tolerance that was taken before, or kNone.
  std::int32_t near(const Eigen::Vector3d& at) const {
    const Cell low = cellOf(at.array() - tolerance_), high = cellOf(at.array() + tolerance_);
    Cell cell = low;
    for (cell[0] = low[0]; cell[0] <= high[0]; ++cell[0])
      for (cell[1] = low[1]; cell[1] <= high[1]; ++cell[1])
        for (cell[2] = low[2]; cell[2] <= high[2]; ++cell[2])
          if (const std::int32_t found = nearInBucket(bucketOf(cell), at); found != kNone)
            return found;
    return kNone;
  }

  void take(std::int32_t point) {
    const std::size_t bucket = bucketOf(cellOf(position(point).array()));
    nextInBucket_[static_cast<std::size_t>(point)] = firstInBucket_[bucket];
    firstInBucket_[bucket] = point;
  }

 private:
  const Eigen::Vector3d& position(std::int32_t point) const {
    return points_[static_cast<std::size_t>(point)].eigen();
  }

  Cell cellOf(const Eigen::Array3d& at) const {
    const Eigen::Array3d steps = (at - points_[0].eigen().array()) / (kCellSize * tolerance_);
    return steps.floor().cast<std::int64_t>();
  }

  std::size_t bucketOf(const Cell& cell) const {
    std::uint64_t mixed = 0;
    for (int axis = 0; axis < 3; ++axis)
      mixed ^= static_cast<std::uint64_t>(cell[axis]) * kSpread[axis];
    return (mixed ^ (mixed >> 32)) & mask_;
  }

  std::int32_t nearInBucket(std::size_t bucket, const Eigen::Vector3d& at) const {
    std::int32_t point = firstInBucket_[bucket];
    while (point != kNone && !((position(point) - at).norm() <= tolerance_))
      point = nextInBucket_[static_cast<std::size_t>(point)];
    return point;
  }

  const std::vector<foundation::Point3D>& points_;
  double tolerance_;
  std::size_t mask_ = 0;
  std::vector<std::int32_t> firstInBucket_;
  std::vector<std::int32_t> nextInBucket_;
};

}  // namespace

std::vector<std::int32_t> firstNear(const std::vector<foundation::Point3D>& points,
                                    double tolerance) {
  std::vector<std::int32_t> firsts(points.size());
  if (points.empty()) return firsts;
  CellTable table(points, tolerance);
  for (std::size_t k = 0; k < points.size(); ++k) {
    const auto self = static_cast<std::int32_t>(k);
    firsts[k] = table.near(points[k].eigen());
    if (firsts[k] != kNone) continue;
    firsts[k] = self;
    table.take(self);
  }
  return firsts;
}

}  // namespace trova::files::internal
