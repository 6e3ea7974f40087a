#pragma once

#include <cstddef>
#include <span>

#include "morvel/surfaces/internal/bicubic_evaluate.h"
#include "morvel/surfaces/internal/group_results.h"

// Bicubic evaluation of many points, four at a time from the results on: their normals take one
// pass through the slow square root and divisions instead of four.

namespace trova::geometry::internal {

template <int Order>
[[gnu::always_inline]] inline void bicubicBatchOf(const double* net,
                                                  const foundation::nurbs::SplineBasis& basisU,
                                                  const foundation::nurbs::SplineBasis& basisV,
                                                  std::span<const double> uv, double* out) {
  const std::size_t count = uv.size() / 2;
  if constexpr (Order == 0) {  // nothing to wait for: straight to their places
    for (std::size_t k = 0; k < count; ++k) {
      Quad point;
      bicubicResults<3, 0>(net, basisU, basisV, basisU.clamped(uv[2 * k]),
                           basisV.clamped(uv[2 * k + 1]), &point);
      foundation::store<3>(point, out + 3 * k);
    }
    return;
  }
  Quad results[kQuad][derivativeCount(Order)] = {};
  for (std::size_t first = 0; first < count; first += kQuad) {
    const int size = static_cast<int>(std::min<std::size_t>(kQuad, count - first));
    for (int k = 0; k < size; ++k) {
      const double* at = uv.data() + 2 * (first + k);
      bicubicResults<3, Order>(net, basisU, basisV, basisU.clamped(at[0]), basisV.clamped(at[1]),
                               results[k]);
    }
    writeGroup<Order>(results, size, out + first * batchWidth(Order));
  }
}

template <int Order>
MORVEL_WIDE void wideBicubicBatch(const double* net, const foundation::nurbs::SplineBasis& basisU,
                                  const foundation::nurbs::SplineBasis& basisV,
                                  std::span<const double> uv, double* out) {
  bicubicBatchOf<Order>(net, basisU, basisV, uv, out);
}

/// Points of a net of points x, y, z at pairs u, v, clamped to the range of the bases, in the
/// layout of a batch.
template <int Order>
void bicubicBatch(const double* net, const foundation::nurbs::SplineBasis& basisU,
                  const foundation::nurbs::SplineBasis& basisV, std::span<const double> uv,
                  double* out) {
  if (foundation::usesWideRegisters)
    wideBicubicBatch<Order>(net, basisU, basisV, uv, out);
  else
    bicubicBatchOf<Order>(net, basisU, basisV, uv, out);
}

}  // namespace trova::geometry::internal
