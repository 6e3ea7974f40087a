// Points, derivatives and grids of bicubic B-spline surfaces.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include <cmath>
#include <random>

namespace {

using trova::geometry::BSplineSurface;

constexpr int kParameterCount = 4096;

std::unique_ptr<BSplineSurface> wavySurface(int count) {
  trova::geometry::ControlNet net(count, count);
  for (int i = 0; i < count; ++i)
    for (int j = 0; j < count; ++j)
      net(i, j) = {double(i), double(j), std::sin(i) * std::cos(j)};
  return BSplineSurface::createClamped(std::move(net), 3, 3);
}

std::vector<std::pair<double, double>> randomParameters() {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> parameter(0.0, 1.0);
  std::vector<std::pair<double, double>> parameters(kParameterCount);
  for (auto& [u, v] : parameters) {
    u = parameter(random);
    v = parameter(random);
  }
  return parameters;
}

void evaluateDerivatives(benchmark::State& state) {
  const auto surface = wavySurface(static_cast<int>(state.range(0)));
  const int order = static_cast<int>(state.range(1));
  const auto parameters = randomParameters();
  for (auto _ : state)
    for (const auto& [u, v] : parameters)
      benchmark::DoNotOptimize(surface->evaluateDerivatives(u, v, order));
  state.SetItemsProcessed(state.iterations() * kParameterCount);
}
BENCHMARK(evaluateDerivatives)->ArgNames({"net", "order"})->ArgsProduct({{10, 100}, {0, 1, 2}});

void evaluatePoint(benchmark::State& state) {
  const auto surface = wavySurface(static_cast<int>(state.range(0)));
  const auto parameters = randomParameters();
  for (auto _ : state)
    for (const auto& [u, v] : parameters)
      benchmark::DoNotOptimize(surface->evaluate(u, v));
  state.SetItemsProcessed(state.iterations() * kParameterCount);
}
BENCHMARK(evaluatePoint)->ArgName("net")->Arg(10)->Arg(100);

void tessellateUniform(benchmark::State& state) {
  const auto surface = wavySurface(20);
  const int resolution = static_cast<int>(state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(surface->tessellateUniform(resolution, resolution));
  state.SetItemsProcessed(state.iterations() * resolution * resolution);
}
BENCHMARK(tessellateUniform)->ArgName("resolution")->Arg(20)->Arg(200);

}  // namespace
