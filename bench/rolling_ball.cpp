// Intersections of two bicubic patches, and whole blends with default settings.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include "bench/peers/crossing_patches.h"

namespace {

using namespace trova::geometry;
using namespace trova::geometry::blend;

void intersectPatches(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const auto first = BSplineSurface::createClamped(crossing_patches::lying(count), 3, 3);
  const auto second = BSplineSurface::createClamped(crossing_patches::standing(count), 3, 3);
  SurfaceIntersectionConfig config;
  config.tolerance = crossing_patches::kTolerance;
  for (auto _ : state) {
    const auto met = SurfaceIntersectionGenerator::computeIntersection(*first, *second, config);
    if (met.branches.empty()) state.SkipWithError("no intersection");
    benchmark::DoNotOptimize(met.branches.data());
  }
}
BENCHMARK(intersectPatches)
    ->ArgName("net")
    ->Arg(4)
    ->Arg(10)
    ->Arg(20)
    ->Unit(benchmark::kMicrosecond);

void blendPatches(benchmark::State& state) {
  constexpr double kRadius = 0.2;
  const int count = static_cast<int>(state.range(0));
  const auto first = BSplineSurface::createClamped(crossing_patches::lying(count), 3, 3);
  const auto second = BSplineSurface::createClamped(crossing_patches::standing(count), 3, 3);
  trova::foundation::status::setLevel(trova::foundation::status::Level::Error);
  for (auto _ : state) {
    const auto result =
        RollingBallBlendOrchestrator::createRollingBallBlend(*first, *second, kRadius);
    if (!result.success) state.SkipWithError(result.status.c_str());
    benchmark::DoNotOptimize(result.blend_surface.get());
  }
  trova::foundation::status::setLevel(trova::foundation::status::Level::Info);
}
BENCHMARK(blendPatches)->ArgName("net")->Arg(4)->Arg(10)->Arg(20)->Unit(benchmark::kMillisecond);

}  // namespace
