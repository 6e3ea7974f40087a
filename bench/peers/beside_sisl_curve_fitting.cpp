// Global interpolation of many points by a cubic, by morvel and by SISL, in one run: both choose
// chord-length parameters and knots and solve for all points.
// Compare medians: --benchmark_enable_random_interleaving=true --benchmark_repetitions=9
#include <benchmark/benchmark.h>
#include <sisl.h>
#include <morvel/morvel.hpp>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace {

using trova::foundation::Point3D;
using trova::geometry::BSplineInterpolationEngine;
namespace status = trova::foundation::status;

constexpr int kOrder = 4;
constexpr int kDim = 3;
constexpr int kOrdinaryPoint = 1;  // SISL's kind of a point that is met
constexpr int kOpen = 1;
constexpr int kNoEndCondition = 0;
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

void interpolateByMorvel(benchmark::State& state) {
  status::setLevel(status::Level::Error);
  const auto points = wavyPoints(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const auto curve = BSplineInterpolationEngine::interpolate_points(points, kOrder - 1);
    if (!curve) state.SkipWithError("no curve");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void interpolateBySisl(benchmark::State& state) {
  const int count = static_cast<int>(state.range(0));
  std::vector<double> flat;
  for (const Point3D& point : wavyPoints(count))
    flat.insert(flat.end(), {point.x(), point.y(), point.z()});
  std::vector<int> kinds(count, kOrdinaryPoint);
  for (auto _ : state) {
    SISLCurve* curve = nullptr;
    double *parameters = nullptr, end = 0.0;
    int parameterCount = 0, outcome = 0;
    s1356(flat.data(), count, kDim, kinds.data(), kNoEndCondition, kNoEndCondition, kOpen, kOrder,
          0.0, &end, &curve, &parameters, &parameterCount, &outcome);
    if (outcome < 0 || !curve) state.SkipWithError("s1356 failed");
    if (curve) freeCurve(curve);
    std::free(parameters);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(interpolateByMorvel)->RangeMultiplier(10)->Range(1000, 100'000);
BENCHMARK(interpolateBySisl)->RangeMultiplier(10)->Range(1000, 100'000);

}  // namespace
