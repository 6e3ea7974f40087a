// Each kind of work twice, by morvel through its exported functions and by SISL, on the same
// splines and parameters in one run. Compare medians: --benchmark_enable_random_interleaving=true
// --benchmark_repetitions=9
#include <benchmark/benchmark.h>
#include <morvel/morvel.h>
#include <sisl.h>
#include <morvel/morvel.hpp>

#include <memory>
#include <random>
#include <span>
#include <vector>

namespace {

using trova::geometry::BSplineCurve;

constexpr int kDegree = 3;
constexpr int kDim = 3;
constexpr int kPolynomial = 1;  // SISL's kind of a spline without weights
constexpr int kOwnCopy = 1;     // SISL copies the arrays
constexpr int kParameterCount = 1'000'000;
constexpr int kGridNet = 20;
constexpr int kGridResolution = 200;
constexpr int kMaxResults = 21;  // doubles a point at order 2

std::vector<double> randomNumbers(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> number(0.0, 1.0);
  std::vector<double> numbers(count);
  for (double& x : numbers)
    x = number(random);
  return numbers;
}

std::vector<double> evenNumbers(int count) {
  std::vector<double> numbers(count);
  for (int k = 0; k < count; ++k)
    numbers[k] = double(k) / (count - 1);
  return numbers;
}

const std::vector<double>& parameters() {
  static const std::vector<double> uv = randomNumbers(2 * kParameterCount, 1);
  return uv;
}

std::vector<double> clampedKnots(int count) {
  return BSplineCurve::generateClampedKnots(count, kDegree);
}

void countItems(benchmark::State& state, std::int64_t itemsPerIteration) {
  state.SetItemsProcessed(state.iterations() * itemsPerIteration);
}

// ---- a bicubic surface -------------------------------------------------------------------------

// One net of random points, by handle and as SISL's, which has u inner.
struct SurfacePair {
  explicit SurfacePair(int count) {
    std::vector<double> net = randomNumbers(std::size_t(count) * count * kDim, 2);
    std::vector<double> innerU;
    for (int j = 0; j < count; ++j)
      for (int i = 0; i < count; ++i) {
        const double* at = net.data() + (std::size_t(i) * count + j) * kDim;
        innerU.insert(innerU.end(), at, at + kDim);
      }
    std::vector<double> knots = clampedKnots(count);
    own = create_surface_bspline_clamped(net.data(), count, count, kDegree, kDegree);
    peer.reset(newSurf(count, count, kDegree + 1, kDegree + 1, knots.data(), knots.data(),
                       innerU.data(), kPolynomial, kDim, kOwnCopy));
  }
  ~SurfacePair() { delete_surface(own); }
  SurfacePair(const SurfacePair&) = delete;
  SurfacePair& operator=(const SurfacePair&) = delete;

  int own = 0;
  std::unique_ptr<SISLSurf, void (*)(SISLSurf*)> peer{nullptr, freeSurf};
};

void surfacePointsByMorvel(benchmark::State& state) {
  const SurfacePair pair(static_cast<int>(state.range(0)));
  const int order = static_cast<int>(state.range(1));
  std::vector<double> out(std::size_t(kParameterCount) * kMaxResults);
  int status = 0;
  for (auto _ : state) {
    status |=
        evaluate_surface_batch(pair.own, parameters().data(), kParameterCount, order, out.data());
    benchmark::ClobberMemory();
  }
  if (status) state.SkipWithError("evaluate_surface_batch failed");
  countItems(state, kParameterCount);
}

void surfacePointsByMorvelSingly(benchmark::State& state) {
  const SurfacePair pair(static_cast<int>(state.range(0)));
  const double* uv = parameters().data();
  for (auto _ : state)
    for (int k = 0; k < kParameterCount; ++k)
      benchmark::DoNotOptimize(evaluate_surface_at_parameter(pair.own, uv[2 * k], uv[2 * k + 1]));
  countItems(state, kParameterCount);
}

void surfacePointsBySisl(benchmark::State& state) {
  const SurfacePair pair(static_cast<int>(state.range(0)));
  const int order = static_cast<int>(state.range(1));
  std::vector<double> uv = parameters();
  double results[(2 + 1) * (2 + 1) * kDim];
  double normal[kDim];
  int spanU = 0, spanV = 0, status = 0;
  for (auto _ : state)
    for (int k = 0; k < kParameterCount; ++k) {
      s1421(pair.peer.get(), order, &uv[2 * k], &spanU, &spanV, results, normal, &status);
      benchmark::DoNotOptimize(results);
    }
  if (status < 0) state.SkipWithError("s1421 failed");
  countItems(state, kParameterCount);
}

const std::vector<std::vector<std::int64_t>> kNetsAndOrders = {{10, 100}, {0, 1, 2}};
BENCHMARK(surfacePointsByMorvel)->ArgNames({"net", "order"})->ArgsProduct(kNetsAndOrders);
BENCHMARK(surfacePointsBySisl)->ArgNames({"net", "order"})->ArgsProduct(kNetsAndOrders);
BENCHMARK(surfacePointsByMorvelSingly)->ArgName("net")->Arg(10)->Arg(100);

// ---- a grid of points and normals ---------------------------------------------------------------

void gridByMorvel(benchmark::State& state) {
  const SurfacePair pair(kGridNet);
  const std::vector<double> t = evenNumbers(kGridResolution);
  std::vector<double> out(t.size() * t.size() * kMaxResults);
  int status = 0;
  for (auto _ : state) {
    status |= evaluate_surface_grid(pair.own, t.data(), kGridResolution, t.data(), kGridResolution,
                                    1, out.data());
    benchmark::ClobberMemory();
  }
  if (status) state.SkipWithError("evaluate_surface_grid failed");
  countItems(state, std::int64_t(kGridResolution) * kGridResolution);
}

void meshByMorvel(benchmark::State& state) {
  const SurfacePair pair(kGridNet);
  const trova::geometry::Surface* surface = get_surface_from_registry(pair.own);
  for (auto _ : state)
    benchmark::DoNotOptimize(surface->tessellateUniform(kGridResolution, kGridResolution));
  countItems(state, std::int64_t(kGridResolution) * kGridResolution);
}

void gridBySisl(benchmark::State& state) {
  const SurfacePair pair(kGridNet);
  std::vector<double> t = evenNumbers(kGridResolution);
  std::vector<double> results(t.size() * t.size() * kMaxResults);
  std::vector<double> normals(t.size() * t.size() * kDim);
  int status = 0;
  for (auto _ : state) {
    s1506(pair.peer.get(), 1, kGridResolution, t.data(), kGridResolution, t.data(), results.data(),
          normals.data(), &status);
    benchmark::ClobberMemory();
  }
  if (status < 0) state.SkipWithError("s1506 failed");
  countItems(state, std::int64_t(kGridResolution) * kGridResolution);
}

BENCHMARK(gridByMorvel);
BENCHMARK(meshByMorvel);
BENCHMARK(gridBySisl);

// ---- a cubic curve ------------------------------------------------------------------------------

struct CurvePair {
  explicit CurvePair(int count) {
    std::vector<double> points = randomNumbers(std::size_t(count) * kDim, 3);
    std::vector<double> knots = clampedKnots(count);
    own = create_curve_bspline_clamped(points.data(), count, kDegree);
    peer.reset(
        newCurve(count, kDegree + 1, knots.data(), points.data(), kPolynomial, kDim, kOwnCopy));
  }
  ~CurvePair() { delete_curve(own); }
  CurvePair(const CurvePair&) = delete;
  CurvePair& operator=(const CurvePair&) = delete;

  int own = 0;
  std::unique_ptr<SISLCurve, void (*)(SISLCurve*)> peer{nullptr, freeCurve};
};

std::span<const double> curveParameters() { return {parameters().data(), kParameterCount}; }

void curvePointsByMorvel(benchmark::State& state) {
  const CurvePair pair(static_cast<int>(state.range(0)));
  const int order = static_cast<int>(state.range(1));
  std::vector<double> out(std::size_t(kParameterCount) * (order + 1) * kDim);
  int status = 0;
  for (auto _ : state) {
    status |= evaluate_curve_batch(pair.own, curveParameters().data(), kParameterCount, order,
                                   out.data());
    benchmark::ClobberMemory();
  }
  if (status) state.SkipWithError("evaluate_curve_batch failed");
  countItems(state, kParameterCount);
}

void curvePointsByMorvelSingly(benchmark::State& state) {
  const CurvePair pair(static_cast<int>(state.range(0)));
  double point[kDim];
  for (auto _ : state)
    for (const double t : curveParameters())
      benchmark::DoNotOptimize(evaluate_curve_at_parameter(pair.own, t, point));
  countItems(state, kParameterCount);
}

void curvePointsBySisl(benchmark::State& state) {
  const CurvePair pair(static_cast<int>(state.range(0)));
  const int order = static_cast<int>(state.range(1));
  double results[(2 + 1) * kDim];
  int span = 0, status = 0;
  for (auto _ : state)
    for (const double t : curveParameters()) {
      s1221(pair.peer.get(), order, t, &span, results, &status);
      benchmark::DoNotOptimize(results);
    }
  if (status < 0) state.SkipWithError("s1221 failed");
  countItems(state, kParameterCount);
}

const std::vector<std::vector<std::int64_t>> kPointsAndOrders = {{50}, {0, 1, 2}};
BENCHMARK(curvePointsByMorvel)->ArgNames({"points", "order"})->ArgsProduct(kPointsAndOrders);
BENCHMARK(curvePointsBySisl)->ArgNames({"points", "order"})->ArgsProduct(kPointsAndOrders);
BENCHMARK(curvePointsByMorvelSingly)->ArgName("points")->Arg(50);

}  // namespace
