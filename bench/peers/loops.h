#pragma once

#include <morvel/morvel.hpp>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

// The loops and points that classification is measured on.

namespace bench_loops {

constexpr int kOuterCorners = 400;
constexpr int kHoleCorners = 100;
constexpr int kHoles = 10;

/// u, v in turn.
using Ring = std::vector<double>;

inline Ring ring(double u, double v, double radius, double wave, int waves, int corners) {
  Ring points;
  for (int k = 0; k < corners; ++k) {
    const double angle = 2.0 * std::numbers::pi * k / corners;
    const double r = radius * (1.0 + wave * std::sin(waves * angle));
    points.insert(points.end(), {u + r * std::cos(angle), v + r * std::sin(angle)});
  }
  return points;
}

inline Ring outerRing() { return ring(0.5, 0.5, 0.4, 0.1, 9, kOuterCorners); }

inline std::vector<Ring> holes() {
  std::vector<Ring> result;
  for (int k = 0; k < kHoles; ++k) {
    const double angle = 2.0 * std::numbers::pi * k / kHoles;
    result.push_back(ring(0.5 + 0.24 * std::cos(angle), 0.5 + 0.24 * std::sin(angle), 0.05, 0.2, 5,
                          kHoleCorners));
  }
  return result;
}

inline std::vector<double> points(std::size_t count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> number(0.0, 1.0);
  std::vector<double> uv(2 * count);
  for (double& x : uv)
    x = number(random);
  return uv;
}

/// A base and its trimmed surfaces by handle.
struct Plate {
  Plate() {
    const double corner[3] = {0, 0, 0}, u[3] = {1, 0, 0}, v[3] = {0, 1, 0};
    base = create_surface_plane(corner, u, v);
  }

  /// With so many small holes more, in the corner of the domain.
  int trimmed(int further = 0) const {
    Ring uv = outerRing();
    std::vector<int> sizes{kOuterCorners}, types{0}, roles{1};
    const auto add = [&](const Ring& hole) {
      uv.insert(uv.end(), hole.begin(), hole.end());
      sizes.push_back(static_cast<int>(hole.size() / 2));
      types.push_back(1);
      roles.push_back(0);
    };
    for (const Ring& hole : holes())
      add(hole);
    for (int k = 0; k < further; ++k)
      add(ring(0.001 + 0.03 * (k % 40) / 40.0, 0.001 + 0.03 * (k / 40) / 40.0, 0.0003, 0, 1, 8));
    return create_trimmed_surface_from_polygons(base, uv.data(), static_cast<int>(uv.size() / 2),
                                                sizes.data(), types.data(), roles.data(),
                                                static_cast<int>(sizes.size()), nullptr);
  }

  int base = 0;
};

}  // namespace bench_loops
