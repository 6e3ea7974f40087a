// Closest points of a bicubic 20 x 20 surface: batches, single points, and what a search costs to
// build. The answers of each run are compared with a dense search first.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "bench/peers/wavy_patch.h"

namespace {

using closest_points::hillSurface;
using closest_points::pointsAbout;
using trova::foundation::Point3D;
using trova::geometry::BSplineSurface;
using trova::projection::SurfaceSearch;

constexpr int kDim = 3;
constexpr int kChecked = 50;
constexpr int kDense = 1000;  // steps in either direction
constexpr double kSlack = 1e-12;

Point3D pointAt(const std::vector<double>& xyz, int k) {
  return {xyz[kDim * k], xyz[kDim * k + 1], xyz[kDim * k + 2]};
}

// No point of a dense grid is closer than the answers, and one is about as close.
bool agreesWithDenseSearch(const BSplineSurface& surface, const std::vector<double>& xyz,
                           const std::vector<double>& distances) {
  std::vector<double> steps(kDense + 1);
  for (int k = 0; k <= kDense; ++k)
    steps[k] = double(k) / kDense;
  std::vector<double> grid(steps.size() * steps.size() * kDim);
  surface.evaluateGrid(steps, steps, 0, grid.data());
  constexpr double kCell = 0.1;  // larger than the cells of the grid
  for (int k = 0; k < kChecked; ++k) {
    double least = HUGE_VAL;
    for (std::size_t at = 0; at < grid.size(); at += kDim)
      least = std::min(least, pointAt(xyz, k).distanceTo({grid[at], grid[at + 1], grid[at + 2]}));
    if (distances[k] > least + kSlack || distances[k] < least - kCell) return false;
  }
  return true;
}

void closestPoints(benchmark::State& state) {
  const auto surface = hillSurface();
  const int count = static_cast<int>(state.range(0));
  const std::vector<double> xyz = pointsAbout(count);
  std::vector<double> uv(2 * count), points(kDim * count), distances(count);
  for (auto _ : state) {
    const SurfaceSearch search(*surface);
    search.closestBatch(xyz, uv, points, distances);
    benchmark::ClobberMemory();
  }
  if (!agreesWithDenseSearch(*surface, xyz, distances)) state.SkipWithError("wrong answers");
  state.SetItemsProcessed(state.iterations() * count);
}

void crossings(benchmark::State& state) {
  const auto surface = hillSurface();
  const SurfaceSearch search(*surface);
  constexpr int kCount = 1000;
  const std::vector<double> xyz = pointsAbout(kCount);
  for (auto _ : state)
    for (int k = 0; k < kCount; ++k)
      benchmark::DoNotOptimize(search.crossings(pointAt(xyz, k), {0.6, 0.0, -0.8}));
  state.SetItemsProcessed(state.iterations() * kCount);
}

void build(benchmark::State& state) {
  const auto surface = hillSurface();
  for (auto _ : state)
    benchmark::DoNotOptimize(SurfaceSearch(*surface).size());
}

BENCHMARK(closestPoints)->ArgName("points")->Arg(10000);
BENCHMARK(crossings);
BENCHMARK(build);

}  // namespace
