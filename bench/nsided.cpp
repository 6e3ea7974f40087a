// Thin plates through scattered positions, and holes filled in space.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include <cmath>
#include <numbers>
#include <random>

namespace {

using trova::geometry::NSidedPatchParameters;
using trova::geometry::RBFNSidedPatch;
using trova::geometry::RBFThinPlateSpline;

constexpr int kGrid = 50;

RBFThinPlateSpline scatteredPlate(int count) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  RBFThinPlateSpline plate;
  for (int k = 0; k < count; ++k) {
    const double u = unit(random);
    const double v = unit(random);
    plate.AddPositionConstraint(u, v, std::sin(3.0 * u) * v);
  }
  return plate;
}

void fitThinPlate(benchmark::State& state) {
  RBFThinPlateSpline plate = scatteredPlate(static_cast<int>(state.range(0)));
  for (auto _ : state)
    benchmark::DoNotOptimize(plate.Fit(false, 0.0));
}
BENCHMARK(fitThinPlate)
    ->ArgName("centres")
    ->Arg(100)
    ->Arg(400)
    ->Arg(1600)
    ->Unit(benchmark::kMillisecond);

void evaluateThinPlate(benchmark::State& state) {
  RBFThinPlateSpline plate = scatteredPlate(static_cast<int>(state.range(0)));
  plate.Fit(false, 0.0);
  std::vector<double> uv;
  for (int i = 0; i < kGrid; ++i)
    for (int j = 0; j < kGrid; ++j)
      uv.insert(uv.end(), {i / (kGrid - 1.0), j / (kGrid - 1.0)});
  std::vector<double> heights(uv.size() / 2);
  for (auto _ : state) {
    plate.EvaluateBatch(uv, heights.data());
    benchmark::DoNotOptimize(heights.data());
  }
  state.SetItemsProcessed(state.iterations() * kGrid * kGrid);
}
BENCHMARK(evaluateThinPlate)
    ->ArgName("centres")
    ->Arg(100)
    ->Arg(400)
    ->Arg(1600)
    ->Unit(benchmark::kMillisecond);

void fillInSpace(benchmark::State& state) {
  const int sides = static_cast<int>(state.range(0));
  trova::geometry::BoundaryCurves curves;
  const auto corner = [sides](int k) {
    const double angle = 2.0 * std::numbers::pi * k / sides;
    return trova::foundation::Point3D(std::cos(angle), std::sin(angle), 0.2 * (k % 2));
  };
  for (int k = 0; k < sides; ++k)
    curves.push_back(
        std::make_shared<trova::geometry::LineCurve>(corner(k), corner((k + 1) % sides)));
  NSidedPatchParameters parameters;
  parameters.continuityLevels.assign(curves.size(), 0);
  parameters.fillInSpace = true;
  for (auto _ : state)
    benchmark::DoNotOptimize(RBFNSidedPatch::createFromBoundaries(curves, parameters));
}
BENCHMARK(fillInSpace)->ArgName("sides")->Arg(4)->Arg(6)->Unit(benchmark::kMillisecond);

}  // namespace
