#pragma once

#include <algorithm>
#include <cstddef>

#include "morvel/foundation/quad.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/wide_registers.h"

// The inner functions of bicubic evaluation, on packs: a point of the net is a pack, its last lane
// of no meaning where Dim = 3. Each entry chooses between the two compilations of what it is; all
// else is always inlined.

namespace trova::geometry::internal {

using foundation::kQuad;
using foundation::Quad;
using foundation::nurbs::kCubicWidth;

/// How many results an evaluation of this order gives.
constexpr int derivativeCount(int order) { return (order + 1) * (order + 2) / 2; }

/// The results of all derivatives from the points of the partial sums: 4 of each order in u.
template <int Order>
[[gnu::always_inline]] inline void contractCubicColumns(const Quad (*points)[kCubicWidth],
                                                        const Quad* inV, Quad* results) {
  for (int total = 0; total <= Order; ++total)
    for (int byV = 0; byV <= total; ++byV)
      foundation::weightedSum(inV[byV], points[total - byV], *results++);
}

/// Sums over u of 4 x 4 points that begin at `corner`, `stride` doubles from row to row.
template <int Dim, int Order>
[[gnu::always_inline]] inline void contractCubicRows(const double* corner, std::size_t stride,
                                                     const Quad* inU, Quad (*points)[kCubicWidth]) {
  Quad sums[Order + 1][Dim];
  for (int i = 0; i < kCubicWidth; ++i) {
    for (int d = 0; d < Dim; ++d) {
      Quad net;
      foundation::load(corner + i * stride + d * kQuad, net);
      for (int k = 0; k <= Order; ++k) {
        if (i == 0)
          sums[k][d] = inU[k][i] * net;
        else
          sums[k][d] += inU[k][i] * net;
      }
    }
  }
  for (int k = 0; k <= Order; ++k)
    foundation::unpackPoints<Dim>(sums[k], points[k]);
}

/// All results at one point, a pack each.
template <int Dim, int Order>
[[gnu::always_inline]] inline void bicubicResults(const double* net,
                                                  const foundation::nurbs::SplineBasis& basisU,
                                                  const foundation::nurbs::SplineBasis& basisV,
                                                  double u, double v, Quad* results) {
  Quad inU[Order + 1], inV[Order + 1];
  const int spanU = basisU.cubicRowsAt<Order>(u, inU);
  const int spanV = basisV.cubicRowsAt<Order>(v, inV);
  const std::size_t stride = std::size_t(basisV.count()) * Dim;
  const double* corner = net + std::size_t(spanU - foundation::nurbs::kCubicDegree) * stride +
                         std::size_t(spanV - foundation::nurbs::kCubicDegree) * Dim;
  Quad points[Order + 1][kCubicWidth];
  contractCubicRows<Dim, Order>(corner, stride, inU, points);
  contractCubicColumns<Order>(points, inV, results);
}

template <int Dim, int Order>
[[gnu::always_inline]] inline void bicubicPointOf(const double* net,
                                                  const foundation::nurbs::SplineBasis& basisU,
                                                  const foundation::nurbs::SplineBasis& basisV,
                                                  double u, double v, double* out) {
  Quad results[derivativeCount(Order)];
  bicubicResults<Dim, Order>(net, basisU, basisV, u, v, results);
  for (int r = 0; r < derivativeCount(Order); ++r)
    foundation::store<Dim>(results[r], out + r * Dim);
}

template <int Dim, int Order>
MORVEL_WIDE void wideBicubicPoint(const double* net, const foundation::nurbs::SplineBasis& basisU,
                                  const foundation::nurbs::SplineBasis& basisV, double u, double v,
                                  double* out) {
  bicubicPointOf<Dim, Order>(net, basisU, basisV, u, v, out);
}

/// As `tensorPoint`, both degrees 3.
template <int Dim, int Order>
inline void bicubicPoint(const double* net, const foundation::nurbs::SplineBasis& basisU,
                         const foundation::nurbs::SplineBasis& basisV, double u, double v,
                         double* out) {
  if (foundation::usesWideRegisters)
    wideBicubicPoint<Dim, Order>(net, basisU, basisV, u, v, out);
  else
    bicubicPointOf<Dim, Order>(net, basisU, basisV, u, v, out);
}

}  // namespace trova::geometry::internal
