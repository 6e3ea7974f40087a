// Surfaces near many points and through grids, from the points to the finished surface with its
// deviations. Status lines are silenced; a point is an item.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include <cmath>
#include <random>
#include <vector>

namespace {

using trova::foundation::Point3D;
using trova::geometry::SurfaceEngine1;
using trova::geometry::SurfaceEngine1Options;
using trova::geometry::SurfaceEngine2;
using trova::geometry::SurfaceParameterizationMethod;
namespace status = trova::foundation::status;

double height(double x, double y) { return 0.2 * std::sin(6.0 * x) * std::cos(5.0 * y); }

std::vector<Point3D> scatteredPoints(int count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  std::vector<Point3D> points;
  for (int k = 0; k < count; ++k) {
    const double x = 2.0 * unit(random);
    const double y = unit(random);
    points.emplace_back(x, y, height(x, y));
  }
  return points;
}

void fit(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const std::vector<Point3D> points = scatteredPoints(static_cast<int>(state.range(0)));
  SurfaceEngine1Options options;
  options.control_points_u = options.control_points_v = static_cast<int>(state.range(1));
  options.condition_analysis = state.range(2) != 0;
  for (auto _ : state) {
    SurfaceEngine1 engine(points, options);
    engine.initialize();
    if (!engine.fit_bspline_surface(SurfaceParameterizationMethod::LEAST_SQUARES_PLANE).is_valid)
      state.SkipWithError("no surface");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(fit)
    ->ArgNames({"points", "net", "condition"})
    ->Unit(benchmark::kMillisecond)
    ->ArgsProduct({{10'000, 100'000, 1'000'000}, {25}, {0, 1}})
    ->ArgsProduct({{100'000, 1'000'000}, {79}, {0, 1}});

void interpolate(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const int size = static_cast<int>(state.range(0));
  std::vector<std::vector<Point3D>> grid(size, std::vector<Point3D>(size));
  for (int i = 0; i < size; ++i)
    for (int j = 0; j < size; ++j)
      grid[i][j] = {i + 0.2 * std::sin(j), j + 0.2 * std::cos(i), height(0.1 * i, 0.1 * j)};
  for (auto _ : state) {
    SurfaceEngine2 engine(grid, size, size, 3, 3);
    if (!engine.initialize() || !engine.create_interpolated_surface())
      state.SkipWithError("no surface");
  }
  state.SetItemsProcessed(state.iterations() * size * size);
}
BENCHMARK(interpolate)->ArgName("grid")->Unit(benchmark::kMillisecond)->Arg(100)->Arg(500);

}  // namespace
