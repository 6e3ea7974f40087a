#pragma once

#include <chrono>

namespace trova::geometry::internal {

/// Time since it was made, by a clock that never goes back.
class Stopwatch {
 public:
  /// In seconds.
  double elapsed() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace trova::geometry::internal
