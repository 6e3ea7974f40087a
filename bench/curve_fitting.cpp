// Curves through and near many points. Status lines are silenced; a point is an item.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include <cmath>
#include <vector>

namespace {

using trova::foundation::Point3D;
using trova::geometry::BSplineFittingEngine;
using trova::geometry::BSplineInterpolationEngine;
using trova::geometry::ConstrainedBSplineEngine;
namespace status = trova::foundation::status;

constexpr int kDegree = 3;
constexpr double kTurns = 40.0;

// A wavy helix with uneven steps.
std::vector<Point3D> wavyPoints(int count) {
  std::vector<Point3D> points;
  for (int i = 0; i < count; ++i) {
    const double t = kTurns * (i + 0.3 * std::sin(1.0 * i)) / count;
    points.emplace_back(std::cos(t), std::sin(t) + 0.1 * std::sin(7.0 * t), 0.2 * t);
  }
  return points;
}

void countPoints(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void interpolate(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const auto points = wavyPoints(static_cast<int>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(BSplineInterpolationEngine::interpolate_points(points, kDegree));
  countPoints(state);
}
BENCHMARK(interpolate)->RangeMultiplier(10)->Range(1000, 100'000);

void globalInterpolation(benchmark::State& state) {
  const auto points = wavyPoints(static_cast<int>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(trova::geometry::globalInterpolation(
        points, kDegree, trova::geometry::getChordParameterization(points)));
  countPoints(state);
}
BENCHMARK(globalInterpolation)->RangeMultiplier(10)->Range(1000, 100'000);

void fit(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const auto points = wavyPoints(static_cast<int>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(BSplineFittingEngine::fit_points(points, kDegree));
  countPoints(state);
}
BENCHMARK(fit)->RangeMultiplier(10)->Range(1000, 1'000'000);

// Some twenty of the points are interpolated, all at given parameters.
void fitConstrained(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  constexpr int kInterpolated = 20;
  const int count = static_cast<int>(state.range(0));
  const auto points = wavyPoints(count);
  auto constraints = ConstrainedBSplineEngine::create_mixed_constraints({}, points);
  for (int i = 0; i < count; ++i) {
    constraints[i].parameter = double(i) / count;
    if (i % (count / kInterpolated) == 0) constraints[i].type = 0;
  }
  ConstrainedBSplineEngine::ConstrainedFittingOptions options;
  options.auto_assign_parameters = false;
  for (auto _ : state)
    benchmark::DoNotOptimize(
        ConstrainedBSplineEngine::fit_constrained_detailed(constraints, options));
  countPoints(state);
}
BENCHMARK(fitConstrained)->Arg(1000)->Arg(100'000);

}  // namespace
