#pragma once

#include "morvel/foundation/quad.h"

// The cubic basis functions of one span with their derivatives. On a span each of the four that are
// not zero there is a polynomial, kept in Bernstein form over the span: its values are then sums of
// products that are not negative, as accurate as the recurrence, at a third of its operations.

namespace trova::foundation::nurbs {

inline constexpr int kCubicDegree = 3;
inline constexpr int kCubicWidth = kCubicDegree + 1;
static_assert(kCubicWidth == kQuad);

/// The polynomials of span k: entry r of a row belongs to N(k - 3 + r), row j to y^(d - j) x^j of
/// degree d (d = 3 for the values, 2, 1, 0 for the derivatives), the binomial factors included.
/// (Not packs: their alignment depends on the registers that a function is compiled for.)
struct CubicPiece {
  double start;  ///< U[k], where y = 1
  double end;    ///< U[k + 1], where x = 1
  double scale;  ///< 1 / (end - start); 0 for a difference of zero
  double values[4][kCubicWidth];
  double first[3][kCubicWidth];
  double second[2][kCubicWidth];
  double third[kCubicWidth];
};

/// The sum over j of factors[j] times row j, from the first on.
template <int Count>
[[gnu::always_inline]] inline void combineRows(const double (&factors)[Count],
                                               const double (&table)[Count][kCubicWidth],
                                               Quad& sum) {
  Quad row;
  load(table[0], row);
  sum = factors[0] * row;
  for (int j = 1; j < Count; ++j) {
    load(table[j], row);
    sum += factors[j] * row;
  }
}

/// Lane r of rows[j] = j-th derivative of N(k - 3 + r) at u, j = 0 .. Order.
template <int Order>
[[gnu::always_inline]] inline void cubicRows(const CubicPiece& piece, double u, Quad* rows) {
  static_assert(Order <= kCubicDegree);
  const double x = (u - piece.start) * piece.scale;
  const double y = (piece.end - u) * piece.scale;
  const double xx = x * x;
  const double yy = y * y;
  combineRows({yy * y, yy * x, xx * y, xx * x}, piece.values, rows[0]);
  if constexpr (Order >= 1) combineRows({yy, x * y, xx}, piece.first, rows[1]);
  if constexpr (Order >= 2) combineRows({y, x}, piece.second, rows[2]);
  if constexpr (Order >= 3) load(piece.third, rows[3]);
}

}  // namespace trova::foundation::nurbs
