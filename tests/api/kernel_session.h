#pragma once

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

#include "morvel/morvel.h"
#include "tests/support/captured_streams.h"

namespace morvel_test {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr int kLargestInt = std::numeric_limits<int>::max();

/// The text of the last error, read as a caller reads it.
inline std::string lastError() {
  char text[1024];
  get_last_error(text, sizeof text);
  return text;
}

/// A caller's buffer with values behind it that no call may touch.
template <class T>
class Guarded {
 public:
  explicit Guarded(std::size_t size) : values_(size + kGuards, kGuard), size_(size) {}
  T* data() { return values_.data(); }
  T operator[](std::size_t i) const { return values_[i]; }
  bool isIntact() const { return onlyGuardsFrom(size_); }
  bool isUntouched() const { return onlyGuardsFrom(0); }

 private:
  static constexpr std::size_t kGuards = 8;
  static constexpr T kGuard = T(-77);
  bool onlyGuardsFrom(std::size_t first) const {
    for (std::size_t i = first; i < values_.size(); ++i)
      if (values_[i] != kGuard) return false;
    return true;
  }

  std::vector<T> values_;
  std::size_t size_;
};

/// What a call printed.
struct Printed {
  std::string out;
  std::string err;
};
template <class Call>
Printed printedBy(Call&& call) {
  const CapturedStreams streams;
  call();
  return {streams.out(), streams.err()};
}

/// Starts every test with empty registries that number from their first handles.
class KernelSession : public testing::Test {
 protected:
  void SetUp() override { empty(); }
  void TearDown() override { empty(); }

  static void empty() {
    printedBy([] {
      cleanup_kernel();
      clear_all_curves();
      cleanup_all_surfaces();
      clear_all_points();
    });
  }

  static int line() { return create_curve_line(0, 0, 0, 3, 4, 0); }
  static int unitCircle() { return create_curve_circle(0, 0, 0, 1, 0, 0, 1); }
  static int sphere() { return create_surface_sphere(0, 0, 0, 1); }
  static int plane() {
    constexpr double origin[] = {0, 0, 0}, u[] = {1, 0, 0}, v[] = {0, 1, 0};
    return create_surface_plane(origin, u, v);
  }
};

}  // namespace morvel_test
