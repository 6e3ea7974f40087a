#pragma once

#include <cmath>
#include <cstdint>

namespace trova::geometry::internal {

/// The largest and the root mean square of distances, taken one by one; 0 where there were none,
/// not a number once one of them was none.
class Deviation {
 public:
  void add(double distance) { addSquare(distance * distance); }
  void addSquare(double squaredDistance) {
    if (!(squaredDistance <= largestSquare_) && !std::isnan(largestSquare_))
      largestSquare_ = squaredDistance;
    sumOfSquares_ += squaredDistance;
    ++count_;
  }

  std::int64_t count() const { return count_; }
  double maximum() const { return std::sqrt(largestSquare_); }
  double rms() const { return count_ > 0 ? std::sqrt(sumOfSquares_ / double(count_)) : 0.0; }

 private:
  double largestSquare_ = 0.0;
  double sumOfSquares_ = 0.0;
  std::int64_t count_ = 0;
};

}  // namespace trova::geometry::internal
