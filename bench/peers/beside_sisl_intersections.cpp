// Intersections of two bicubic patches by morvel and by SISL (s1859 for the topology, s1310 for the
// points), at the same tolerance in one run.
#include <benchmark/benchmark.h>
#include <sisl.h>
#include <morvel/morvel.hpp>

#include <memory>

#include "bench/peers/crossing_patches.h"

namespace {

using namespace trova::geometry;
using namespace trova::geometry::blend;

constexpr int kDegree = 3;

void byMorvel(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const auto first =
      BSplineSurface::createClamped(crossing_patches::lying(count), kDegree, kDegree);
  const auto second =
      BSplineSurface::createClamped(crossing_patches::standing(count), kDegree, kDegree);
  SurfaceIntersectionConfig config;
  config.tolerance = crossing_patches::kTolerance;
  for (auto _ : state)
    benchmark::DoNotOptimize(
        SurfaceIntersectionGenerator::computeIntersection(*first, *second, config));
}

using Peer = std::unique_ptr<SISLSurf, void (*)(SISLSurf*)>;

// SISL has u inner.
Peer peerOf(const ControlNet& net) {
  const int count = net.uCount();
  std::vector<double> coordinates;
  for (int j = 0; j < count; ++j)
    for (int i = 0; i < count; ++i)
      for (int k = 0; k < 3; ++k)
        coordinates.push_back(net(i, j)[k]);
  std::vector<double> knots = BSplineCurve::generateClampedKnots(count, kDegree);
  return {newSurf(count, count, kDegree + 1, kDegree + 1, knots.data(), knots.data(),
                  coordinates.data(), 1, 3, 1),
          freeSurf};
}

void bySisl(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  const Peer first = peerOf(crossing_patches::lying(count));
  const Peer second = peerOf(crossing_patches::standing(count));
  const double tolerance = crossing_patches::kTolerance;
  for (auto _ : state) {
    int points = 0, curves = 0, status = 0;
    double *parameters1 = nullptr, *parameters2 = nullptr;
    SISLIntcurve** found = nullptr;
    s1859(first.get(), second.get(), 0.0, tolerance, &points, &parameters1, &parameters2, &curves,
          &found, &status);
    for (int k = 0; k < curves; ++k)
      s1310(first.get(), second.get(), found[k], tolerance, 0.0, 1, 0, &status);
    if (status < 0 || curves == 0) state.SkipWithError("no intersection");
    if (curves > 0) freeIntcrvlist(found, curves);
    free(parameters1);
    free(parameters2);
  }
}

BENCHMARK(byMorvel)->ArgName("net")->Arg(4)->Arg(10)->Arg(20)->Unit(benchmark::kMicrosecond);
BENCHMARK(bySisl)->ArgName("net")->Arg(4)->Arg(10)->Arg(20)->Unit(benchmark::kMicrosecond);

}  // namespace
