// Many points of one surface.

#include "morvel/surfaces/surface_batch.h"

#include "morvel/api/c/batch.h"
#include "morvel/api/internal/batches.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/api/internal/trimmed_surface_lookup.h"

using namespace trova_internal;
namespace tg = trova::geometry;

namespace {

constexpr int kHighestOrder = 2;
constexpr int kPair = 2;  // u v

int checkOrder(const char* function, int order) {
  const bool isOrder = order >= 0 && order <= kHighestOrder;
  return isOrder ? kSuccess : refuseIn(function, "the order must be 0, 1 or 2");
}

/// One of the two evaluations at pairs of parameters.
using Evaluator = void (*)(const Surface& surface, std::span<const double> uv, int order,
                           double* out);

int evaluatePairs(const char* function, int handle, const double* uv, int count, int order,
                  double* out, Evaluator evaluate) {
  if (const int refused = checkOrder(function, order)) return refused;
  const Batch batch{uv, count, kPair, out, tg::batchWidth(order)};
  if (const int refused = batch.check(function)) return refused;
  return withSurface(handle, kNotFound, [&](const Surface& surface) {
    batch.inPieces([&](const double* pairs, std::size_t size, double* results) {
      evaluate(surface, {pairs, kPair * size}, order, results);
    });
    return kSuccess;
  });
}

/// evaluate(surface, item, result) for each item.
template <class Evaluate>
int forEachItem(const char* function, int handle, const Batch& batch, Evaluate evaluate) {
  if (const int refused = batch.check(function)) return refused;
  return withSurface(handle, kNotFound, [&](const Surface& surface) {
    batch.oneByOne([&](const double* item, double* result) { evaluate(surface, item, result); });
    return kSuccess;
  });
}

}  // namespace

int evaluate_surface_batch(int surface, const double* uv, int count, int order, double* out) {
  return evaluatePairs(__func__, surface, uv, count, order, out, tg::evaluateSurfaceBatch);
}

int evaluate_surface_exact_batch(int surface, const double* uv, int count, int order, double* out) {
  return evaluatePairs(__func__, surface, uv, count, order, out,
                       [](const Surface& found, std::span<const double> pairs, int o, double* at) {
                         tg::evaluateSurfaceExactBatch(untrimmed(found), pairs, o, at);
                       });
}

int evaluate_surface_grid(int surface, const double* u, int nU, const double* v, int nV, int order,
                          double* out) {
  if (anyNull(u, v, out)) return refuseIn(__func__, "u, v and out must not be null");
  if (const int refused = checkOrder(__func__, order)) return refused;
  if (!countsFit({nU}) || !countsFit({nV}) || !countsFit({nU, nV, tg::batchWidth(order)}))
    return refuseIn(__func__, "count out of range");
  if (const int refused = checkFinite(__func__, u, nU)) return refused;
  if (const int refused = checkFinite(__func__, v, nV)) return refused;
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    if (nU == 0 || nV == 0) return kSuccess;
    tg::evaluateSurfaceGrid(found, {u, std::size_t(nU)}, {v, std::size_t(nV)}, order, out);
    requireFiniteResult(allFinite(out, std::int64_t(nU) * nV * tg::batchWidth(order)));
    return kSuccess;
  });
}

int get_surface_normal_batch(int surface, const double* uv, int count, double* out) {
  return forEachItem(__func__, surface, {uv, count, kPair, out, kDoublesPerPoint},
                     [](const Surface& found, const double* pair, double* normal) {
                       writeTriple(found.getNormal(pair[0], pair[1]), normal);
                     });
}

int get_surface_closest_parameter_batch(int surface, const double* points, int count, double* uv) {
  return forEachItem(__func__, surface, {points, count, kDoublesPerPoint, uv, kPair},
                     [](const Surface& found, const double* point, double* pair) {
                       const auto [u, v] = found.getClosestParameter(readPoint(point));
                       pair[0] = u;
                       pair[1] = v;
                     });
}
