// Bicubic interpolation of a grid of points, by morvel and by SISL, in one run. morvel also chooses
// the parameters; SISL is given them.
// Compare medians: --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
#include <benchmark/benchmark.h>
#include <sisl.h>
#include <morvel/morvel.hpp>

#include <cmath>
#include <vector>

namespace {

using trova::foundation::Point3D;
using trova::geometry::SurfaceEngine2;
namespace status = trova::foundation::status;

constexpr int kOrder = 4;
constexpr int kDim = 3;
constexpr int kOpen = 1;
constexpr int kNoEndCondition = 0;

std::vector<std::vector<Point3D>> wavyGrid(int size) {
  std::vector<std::vector<Point3D>> grid(size, std::vector<Point3D>(size));
  for (int i = 0; i < size; ++i)
    for (int j = 0; j < size; ++j)
      grid[i][j] = {i + 0.2 * std::sin(j), j + 0.2 * std::cos(i),
                    3.0 * std::sin(0.1 * i) * std::cos(0.2 * j)};
  return grid;
}

void interpolateByMorvel(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const int size = static_cast<int>(state.range(0));
  const auto grid = wavyGrid(size);
  for (auto _ : state) {
    SurfaceEngine2 engine(grid, size, size, kOrder - 1, kOrder - 1);
    if (!engine.initialize() || !engine.create_interpolated_surface())
      state.SkipWithError("no surface");
  }
  state.SetItemsProcessed(state.iterations() * size * size);
}

void interpolateBySisl(benchmark::State& state) {
  const int size = static_cast<int>(state.range(0));
  std::vector<double> flat;
  for (const auto& row : wavyGrid(size))
    for (const Point3D& point : row)
      flat.insert(flat.end(), {point.x(), point.y(), point.z()});
  std::vector<double> parameters(size);
  for (int k = 0; k < size; ++k)
    parameters[k] = k / (size - 1.0);
  for (auto _ : state) {
    SISLSurf* surface = nullptr;
    int outcome = 0;
    s1537(flat.data(), size, size, kDim, parameters.data(), parameters.data(), kNoEndCondition,
          kNoEndCondition, kNoEndCondition, kNoEndCondition, kOrder, kOrder, kOpen, kOpen, &surface,
          &outcome);
    if (outcome < 0 || !surface) state.SkipWithError("s1537 failed");
    if (surface) freeSurf(surface);
  }
  state.SetItemsProcessed(state.iterations() * size * size);
}

BENCHMARK(interpolateByMorvel)->Unit(benchmark::kMillisecond)->Arg(100)->Arg(500);
BENCHMARK(interpolateBySisl)->Unit(benchmark::kMillisecond)->Arg(100)->Arg(500);

}  // namespace
