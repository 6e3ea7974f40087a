#pragma once

#include <cmath>
#include <memory>
#include <morvel/morvel.hpp>
#include <random>
#include <vector>

// What the benchmarks of closest points share: a bicubic surface of rolling hills, and points about
// it.

namespace closest_points {

constexpr int kNet = 20;
constexpr int kDegree = 3;
constexpr double kExtent = 10.0;

inline trova::geometry::ControlNet hills() {
  constexpr double kHeight = 1.5, kWavesU = 9.0, kWavesV = 8.0;
  trova::geometry::ControlNet net(kNet, kNet);
  for (int i = 0; i < kNet; ++i)
    for (int j = 0; j < kNet; ++j) {
      const double u = double(i) / (kNet - 1), v = double(j) / (kNet - 1);
      net(i, j) = {kExtent * u, kExtent * v,
                   kHeight * std::sin(kWavesU * u) * std::cos(kWavesV * v)};
    }
  return net;
}

inline std::unique_ptr<trova::geometry::BSplineSurface> hillSurface() {
  return trova::geometry::BSplineSurface::createClamped(hills(), kDegree, kDegree);
}

/// x y z in a box about the surface, wider than it by half its extent on every side.
inline std::vector<double> pointsAbout(int count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> across(-kExtent / 2, 1.5 * kExtent);
  std::uniform_real_distribution<double> along(-0.8 * kExtent, 0.8 * kExtent);
  std::vector<double> xyz;
  for (int k = 0; k < count; ++k)
    xyz.insert(xyz.end(), {across(random), across(random), along(random)});
  return xyz;
}

}  // namespace closest_points
