#pragma once

#include <cmath>
#include <morvel/morvel.hpp>

// Two wavy bicubic patches that cross in one branch.

namespace crossing_patches {

constexpr double kTolerance = 1e-3;
constexpr double kExtent = 4.0;

inline trova::geometry::ControlNet lying(int count) {
  trova::geometry::ControlNet net(count, count);
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < count; ++j) {
      const double x = kExtent * i / (count - 1), y = kExtent * j / (count - 1);
      net(i, j) = {x, y, 0.15 * std::sin(1.7 * x) * std::cos(1.3 * y)};
    }
  return net;
}

inline trova::geometry::ControlNet standing(int count) {
  trova::geometry::ControlNet net(count, count);
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < count; ++j) {
      const double y = kExtent * i / (count - 1), z = kExtent * j / (count - 1) - kExtent / 2;
      net(i, j) = {kExtent / 2 + 0.2 * std::sin(1.9 * y) * std::cos(z), y, z};
    }
  return net;
}

}  // namespace crossing_patches
