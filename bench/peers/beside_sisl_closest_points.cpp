// Closest points of the same bicubic surface, by morvel and by SISL, in one run.
// Compare medians: --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
#include <benchmark/benchmark.h>
#include <sisl.h>

#include <cstdlib>

#include "bench/peers/wavy_patch.h"

namespace {

using namespace closest_points;
using trova::geometry::BSplineCurve;
using trova::projection::SurfaceSearch;

constexpr int kDim = 3;
constexpr int kPolynomial = 1;  // SISL's kind of a spline without weights
constexpr int kOwnCopy = 1;     // SISL copies the arrays
constexpr double kResolution = 1e-9;
constexpr int kPoints = 10000;
constexpr int kPeerPoints = 200;  // it takes its time

void closestPointsByMorvel(benchmark::State& state) {
  const auto surface = hillSurface();
  const std::vector<double> xyz = pointsAbout(kPoints);
  std::vector<double> uv(2 * kPoints), points(kDim * kPoints), distances(kPoints);
  for (auto _ : state) {
    const SurfaceSearch search(*surface);
    search.closestBatch(xyz, uv, points, distances);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kPoints);
}

void closestPointsBySisl(benchmark::State& state) {
  const auto net = hills();
  std::vector<double> innerU;
  for (int j = 0; j < kNet; ++j)
    for (int i = 0; i < kNet; ++i)
      innerU.insert(innerU.end(), {net(i, j).x(), net(i, j).y(), net(i, j).z()});
  std::vector<double> knots = BSplineCurve::generateClampedKnots(kNet, kDegree);
  SISLSurf* surface = newSurf(kNet, kNet, kDegree + 1, kDegree + 1, knots.data(), knots.data(),
                              innerU.data(), kPolynomial, kDim, kOwnCopy);
  std::vector<double> xyz = pointsAbout(kPeerPoints);
  for (auto _ : state)
    for (int k = 0; k < kPeerPoints; ++k) {
      int pointCount = 0, curveCount = 0, status = 0;
      double* parameters = nullptr;
      SISLIntcurve** curves = nullptr;
      s1954(surface, &xyz[kDim * k], kDim, 0.0, kResolution, &pointCount, &parameters, &curveCount,
            &curves, &status);
      if (status < 0) state.SkipWithError("s1954 failed");
      std::free(parameters);
      if (curves) freeIntcrvlist(curves, curveCount);
    }
  freeSurf(surface);
  state.SetItemsProcessed(state.iterations() * kPeerPoints);
}

BENCHMARK(closestPointsByMorvel);
BENCHMARK(closestPointsBySisl);

}  // namespace
