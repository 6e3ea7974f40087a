// Constrained surface fits beside the unconstrained engine on the same points. Status lines are
// silenced; a point is an item.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include <cmath>
#include <random>
#include <vector>

namespace {

using namespace trova::geometry;
namespace status = trova::foundation::status;

constexpr int kSide = 30;
constexpr int kInterpolated = 100;

std::vector<Point3D> scattered(std::int64_t count) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> in(0.0, 1.0);
  std::vector<Point3D> points;
  for (std::int64_t k = 0; k < count; ++k) {
    const double x = in(random), y = in(random);
    points.push_back({x, y, 0.3 * std::sin(6 * x) * std::cos(5 * y)});
  }
  return points;
}

void engine1(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const auto points = scattered(state.range(0));
  SurfaceEngine1Options options;
  options.control_points_u = options.control_points_v = kSide;
  for (auto _ : state) {
    SurfaceEngine1 engine(points, options);
    engine.initialize();
    benchmark::DoNotOptimize(engine.fit_bspline_surface(
        static_cast<int>(SurfaceParameterizationMethod::LEAST_SQUARES_PLANE)));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(engine1)->Arg(100'000)->Unit(benchmark::kMillisecond);

// range(1): whether the condition number is asked for.
void engine3(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const auto points = scattered(state.range(0));
  SurfaceEngine3Options options;
  options.control_points_u = options.control_points_v = kSide;
  options.condition_analysis = state.range(1) != 0;
  SurfaceConstraintSet constraints;
  for (int k = 0; k < kInterpolated; ++k) {
    const double u = (k % 10 + 0.5) / 10, v = (k / 10 + 0.5) / 10;
    constraints.add_interpolation_point({u, v, 0.3 * std::sin(6 * u) * std::cos(5 * v)}, u, v);
  }
  SurfaceConstrainedFittingEngine engine;
  for (auto _ : state) {
    const SurfaceEngine3Result result =
        engine.create_constrained_surface(points, constraints, options);
    if (!result.success) state.SkipWithError(result.error_message.c_str());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(engine3)->Args({100'000, 1})->Args({100'000, 0})->Unit(benchmark::kMillisecond);

}  // namespace
