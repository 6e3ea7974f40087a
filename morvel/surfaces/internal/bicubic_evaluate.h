#pragma once

#include <cstddef>

#include "morvel/foundation/cubic_basis.h"
#include "morvel/foundation/spline_basis.h"

// The inner functions of bicubic evaluation, on packs of doubles. A pack is arithmetic lane by
// lane: whatever registers the compiler puts it in, every number goes through the same operations
// in the same order as in the functions for any degree, and has the same bits.
//
// The functions are compiled twice, for the registers that every x86-64 machine has and for wide
// ones; packs are therefore passed by reference, and all but the two entries are always inlined.

#if defined(__x86_64__)
#define MORVEL_WIDE [[gnu::noinline, gnu::target("avx2")]]
#else
#define MORVEL_WIDE [[gnu::noinline]]
#endif

namespace trova::geometry::internal {

using foundation::nurbs::kCubicWidth;

using Pair = double __attribute__((vector_size(2 * sizeof(double))));
using Quad = double __attribute__((vector_size(4 * sizeof(double))));
inline constexpr int kQuad = 4;

/// Whether wide registers serve here; asked once.
inline bool hasWideRegisters() {
#if defined(__x86_64__)
  static const bool has = __builtin_cpu_supports("avx2");
  return has;
#else
  return false;
#endif
}

[[gnu::always_inline]] inline void load(const double* from, Quad& to) {
  __builtin_memcpy(&to, from, sizeof to);
}

/// The first Dim lanes.
template <int Dim>
[[gnu::always_inline]] inline void store(const Quad& from, double* to) {
  for (int d = 0; d < Dim; ++d)
    to[d] = from[d];
}

/// out[2 * (4 k + r)] and the entry behind it: k-th derivative of the r-th non-zero function of u
/// and of v, side by side. Both parameters inside their knots.
template <int Order>
[[gnu::always_inline]] inline void cubicRowsOfBoth(const foundation::nurbs::CubicPiece& inU,
                                                   const foundation::nurbs::CubicPiece& inV,
                                                   double u, double v, Pair* out) {
  foundation::nurbs::CubicPieceOf<Pair> both;
  for (std::size_t i = 0; i < inU.knots.size(); ++i) {
    both.knots[i] = Pair{inU.knots[i], inV.knots[i]};
    both.reciprocals[i] = Pair{inU.reciprocals[i], inV.reciprocals[i]};
  }
  foundation::nurbs::cubicRows<Order>(both, Pair{u, v}, out);
}

/// The four points of a row of sums: from Dim packs without gaps to one pack a point (for Dim = 3,
/// the last lane is of no meaning).
template <int Dim>
[[gnu::always_inline]] inline void pointsOf(const Quad* s, Quad* points) {
  if constexpr (Dim == kQuad) {
    for (int j = 0; j < kCubicWidth; ++j)
      points[j] = s[j];
  } else {
    points[0] = s[0];
    points[1] = __builtin_shufflevector(s[0], s[1], 3, 4, 5, 5);
    points[2] = __builtin_shufflevector(s[1], s[2], 2, 3, 4, 4);
    points[3] = __builtin_shufflevector(s[2], s[2], 1, 2, 3, 3);
  }
}

/// sum over j of basis[j * Step] * points[j].
template <int Step>
[[gnu::always_inline]] inline void sumOfFour(const Quad* points, const double* basis, Quad& sum) {
  sum = basis[0] * points[0];
  for (int j = 1; j < kCubicWidth; ++j)
    sum += basis[j * Step] * points[j];
}

/// The results of all derivatives from the points of the partial sums: 4 of each order in u.
template <int Dim, int Order, int Step>
[[gnu::always_inline]] inline void contractCubicColumns(const Quad (*points)[kCubicWidth],
                                                        const double* inV, double* out) {
  for (int total = 0; total <= Order; ++total) {
    for (int byV = 0; byV <= total; ++byV, out += Dim) {
      Quad result;
      sumOfFour<Step>(points[total - byV], inV + byV * kCubicWidth * Step, result);
      store<Dim>(result, out);
    }
  }
}

/// `corner` is the first of 4 x 4 points, `stride` doubles from row to row.
template <int Dim, int Order>
[[gnu::always_inline]] inline void bicubicSum(const double* corner, std::size_t stride,
                                              const Pair* rows, double* out) {
  const double* basis = reinterpret_cast<const double*>(rows);
  Quad sums[Order + 1][Dim];
  for (int i = 0; i < kCubicWidth; ++i) {
    for (int d = 0; d < Dim; ++d) {
      Quad net;
      load(corner + i * stride + d * kQuad, net);
      for (int k = 0; k <= Order; ++k) {
        const double share = basis[2 * (k * kCubicWidth + i)];
        if (i == 0)
          sums[k][d] = share * net;
        else
          sums[k][d] += share * net;
      }
    }
  }
  Quad points[Order + 1][kCubicWidth];
  for (int k = 0; k <= Order; ++k)
    pointsOf<Dim>(sums[k], points[k]);
  contractCubicColumns<Dim, Order, 2>(points, basis + 1, out);
}

/// What both entries below are.
template <int Dim, int Order>
[[gnu::always_inline]] inline void bicubicPointOf(const double* net,
                                                  const foundation::nurbs::SplineBasis& basisU,
                                                  const foundation::nurbs::SplineBasis& basisV,
                                                  double u, double v, double* out) {
  const int spanU = basisU.span(u);
  const int spanV = basisV.span(v);
  alignas(Quad) Pair rows[(Order + 1) * kCubicWidth];
  if (basisU.isInside(u) && basisV.isInside(v)) [[likely]] {
    cubicRowsOfBoth<Order>(basisU.cubicPiece(spanU), basisV.cubicPiece(spanV), u, v, rows);
  } else {
    double inU[(Order + 1) * kCubicWidth];
    double inV[(Order + 1) * kCubicWidth];
    basisU.derivatives(u, spanU, Order, inU);
    basisV.derivatives(v, spanV, Order, inV);
    for (int r = 0; r < (Order + 1) * kCubicWidth; ++r)
      rows[r] = Pair{inU[r], inV[r]};
  }
  const std::size_t stride = std::size_t(basisV.count()) * Dim;
  const double* corner = net + std::size_t(spanU - foundation::nurbs::kCubicDegree) * stride +
                         std::size_t(spanV - foundation::nurbs::kCubicDegree) * Dim;
  bicubicSum<Dim, Order>(corner, stride, rows, out);
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
  if (hasWideRegisters())
    wideBicubicPoint<Dim, Order>(net, basisU, basisV, u, v, out);
  else
    bicubicPointOf<Dim, Order>(net, basisU, basisV, u, v, out);
}

}  // namespace trova::geometry::internal
