// The same points against the same loops, by morvel and by GEOS in one run. Both build their index
// inside the timed loop; GEOS is given its points ready-made.
#include <benchmark/benchmark.h>
#include <geos_c.h>
#include <morvel/morvel.hpp>

#include "bench/peers/loops.h"

namespace {

using namespace bench_loops;

constexpr int kPoints = 1'000'000;

const std::vector<double>& measuredPoints() {
  static const std::vector<double> uv = points(kPoints);
  return uv;
}

void MorvelClassify(benchmark::State& state) {
  const Plate plate;
  std::vector<int> result(kPoints);
  for (auto _ : state) {
    const int surface = plate.trimmed();
    classify_points_in_trimmed_surface(surface, measuredPoints().data(), kPoints, result.data());
    delete_surface(surface);
    benchmark::DoNotOptimize(result.data());
  }
  long inside = 0;
  for (const int code : result)
    inside += code == 1;
  state.counters["inside"] = double(inside);
  state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(MorvelClassify)->Unit(benchmark::kMillisecond);

GEOSGeometry* linearRing(GEOSContextHandle_t geos, const Ring& uv) {
  const auto count = static_cast<unsigned>(uv.size() / 2);
  GEOSCoordSequence* sequence = GEOSCoordSeq_create_r(geos, count + 1, 2);
  for (unsigned k = 0; k <= count; ++k)
    GEOSCoordSeq_setXY_r(geos, sequence, k, uv[2 * (k % count)], uv[2 * (k % count) + 1]);
  return GEOSGeom_createLinearRing_r(geos, sequence);
}

void GeosPreparedContains(benchmark::State& state) {
  GEOSContextHandle_t geos = GEOS_init_r();
  std::vector<GEOSGeometry*> rings;
  for (const Ring& hole : holes())
    rings.push_back(linearRing(geos, hole));
  GEOSGeometry* polygon = GEOSGeom_createPolygon_r(geos, linearRing(geos, outerRing()),
                                                   rings.data(), unsigned(rings.size()));
  std::vector<GEOSGeometry*> at;
  for (int k = 0; k < kPoints; ++k)
    at.push_back(
        GEOSGeom_createPointFromXY_r(geos, measuredPoints()[2 * k], measuredPoints()[2 * k + 1]));
  long inside = 0;
  for (auto _ : state) {
    const GEOSPreparedGeometry* prepared = GEOSPrepare_r(geos, polygon);
    inside = 0;
    for (const GEOSGeometry* point : at)
      inside += GEOSPreparedContains_r(geos, prepared, point);
    GEOSPreparedGeom_destroy_r(geos, prepared);
    benchmark::DoNotOptimize(inside);
  }
  for (GEOSGeometry* point : at)
    GEOSGeom_destroy_r(geos, point);
  GEOSGeom_destroy_r(geos, polygon);
  GEOS_finish_r(geos);
  state.counters["inside"] = double(inside);
  state.SetItemsProcessed(state.iterations() * kPoints);
}
BENCHMARK(GeosPreparedContains)->Unit(benchmark::kMillisecond);

}  // namespace
