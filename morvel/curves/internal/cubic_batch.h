#pragma once

#include <span>

#include "morvel/foundation/quad.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/wide_registers.h"

// Many points of a cubic spline curve, on packs, with the bits of `combination` (spline_point.h).

namespace trova::geometry::internal {

/// The point and its derivatives up to `Order`, 3 doubles each. Whole packs go where the lane too
/// many is overwritten at once. `span` is where the parameter is looked for first, and then its
/// own.
template <int Order>
[[gnu::always_inline]] inline void cubicPointInto(const double* points,
                                                  const foundation::nurbs::SplineBasis& basis,
                                                  double u, int& span, double* out) {
  using namespace foundation;
  constexpr int kDim = 3;
  Quad rows[Order + 1];
  span = basis.cubicRowsAt<Order>(u, span, rows);
  const double* corner = points + std::size_t(span - nurbs::kCubicDegree) * kDim;
  Quad near[nurbs::kCubicWidth];
  for (int j = 0; j < kDim; ++j)
    load(corner + j * kDim, near[j]);
  // Nothing may stand behind the last point: it comes with the double before it.
  Quad last;
  load(corner + kDim * kDim - 1, last);
  near[kDim] = __builtin_shufflevector(last, last, 1, 2, 3, 3);
  for (int k = 0; k <= Order; ++k, out += kDim) {
    Quad sum;
    weightedSum(rows[k], near, sum);
    if (k < Order)
      storeAll(sum, out);
    else
      store<kDim>(sum, out);
  }
}

template <int Order>
[[gnu::always_inline]] inline void cubicBatchOf(const double* points,
                                                const foundation::nurbs::SplineBasis& basis,
                                                std::span<const double> t, double* out) {
  int span = foundation::nurbs::kCubicDegree;
  for (const double u : t) {
    cubicPointInto<Order>(points, basis, u, span, out);
    out += 3 * (Order + 1);
  }
}

template <int Order>
MORVEL_WIDE void wideCubicBatch(const double* points, const foundation::nurbs::SplineBasis& basis,
                                std::span<const double> t, double* out) {
  cubicBatchOf<Order>(points, basis, t, out);
}

/// Per parameter Order + 1 vectors; `points` are x, y, z of as many points as the basis has
/// functions.
template <int Order>
void cubicBatch(const double* points, const foundation::nurbs::SplineBasis& basis,
                std::span<const double> t, double* out) {
  if (foundation::usesWideRegisters)
    wideCubicBatch<Order>(points, basis, t, out);
  else
    cubicBatchOf<Order>(points, basis, t, out);
}

}  // namespace trova::geometry::internal
