// Points in or out of a trimmed surface: an outer loop of 400 corners and 10 holes of 100.
#include <benchmark/benchmark.h>
#include <morvel/morvel.hpp>

#include "bench/peers/loops.h"

namespace {

using namespace bench_loops;

void ClassifyBatch(benchmark::State& state) {
  const std::vector<double> uv = points(static_cast<std::size_t>(state.range(0)));
  const int count = static_cast<int>(uv.size() / 2);
  std::vector<int> result(uv.size() / 2);
  const Plate plate;
  for (auto _ : state) {
    const int surface = plate.trimmed();  // the index is built anew with each surface
    classify_points_in_trimmed_surface(surface, uv.data(), count, result.data());
    benchmark::DoNotOptimize(result.data());
    state.PauseTiming();
    delete_surface(surface);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(ClassifyBatch)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);

// The argument is the number of further holes, away from where the points are.
void ClassifySingle(benchmark::State& state) {
  const std::vector<double> uv = points(100'000);
  const Plate plate;
  const int surface = plate.trimmed(static_cast<int>(state.range(0)));
  std::size_t k = 0;
  int result = 0;
  classify_point_in_trimmed_surface(surface, 0.5, 0.5, &result);
  for (auto _ : state) {
    classify_point_in_trimmed_surface(surface, uv[k], uv[k + 1], &result);
    benchmark::DoNotOptimize(result);
    k = k + 2 < uv.size() ? k + 2 : 0;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(ClassifySingle)->Arg(0)->Arg(100)->Arg(1000);

void TessellateVisibleRegion(benchmark::State& state) {
  const Plate plate;
  const int surface = plate.trimmed();
  const int resolution = static_cast<int>(state.range(0));
  std::vector<double> vertices(3 * 100'000);
  std::vector<int> indices(6 * 100'000);
  int vertexCount = 0, indexCount = 0;
  for (auto _ : state) {
    tessellate_trimmed_surface_visible_region(surface, resolution, resolution, vertices.data(),
                                              100'000, &vertexCount, indices.data(), 600'000,
                                              &indexCount);
    benchmark::DoNotOptimize(vertices.data());
  }
  state.SetItemsProcessed(state.iterations() * indexCount / 3);
}
BENCHMARK(TessellateVisibleRegion)->Arg(20)->Arg(200)->Unit(benchmark::kMillisecond);

}  // namespace
