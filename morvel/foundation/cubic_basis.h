#pragma once

#include "morvel/foundation/quad.h"

// The cubic basis functions of one span with their derivatives. On a span each of the four that are
// not zero there is a polynomial, kept in Bernstein form over the span: its values are then sums of
// products that are not negative, as accurate as the recurrence, at a third of its operations.

namespace trova::foundation::nurbs {

inline constexpr int kCubicDegree = 3;
inline constexpr int kCubicWidth = kCubicDegree + 1;
static_assert(kCubicWidth == kQuad);

/// The polynomials of span k: lane r of a pack belongs to N(k - 3 + r), pack j to y^(d - j) x^j of
/// degree d (d = 3 for the values, 2, 1, 0 for the derivatives), the binomial factors included.
struct CubicPiece {
  double start;  ///< U[k], where y = 1
  double end;    ///< U[k + 1], where x = 1
  double scale;  ///< 1 / (end - start); 0 for a difference of zero
  Quad values[4];
  Quad first[3];
  Quad second[2];
  Quad third;
};

/// Lane r of rows[j] = j-th derivative of N(k - 3 + r) at u, j = 0 .. Order.
template <int Order>
[[gnu::always_inline]] inline void cubicRows(const CubicPiece& piece, double u, Quad* rows) {
  static_assert(Order <= kCubicDegree);
  const double x = (u - piece.start) * piece.scale;
  const double y = (piece.end - u) * piece.scale;
  const double xx = x * x;
  const double yy = y * y;
  rows[0] = yy * y * piece.values[0];
  rows[0] += yy * x * piece.values[1];
  rows[0] += xx * y * piece.values[2];
  rows[0] += xx * x * piece.values[3];
  if constexpr (Order >= 1) {
    rows[1] = yy * piece.first[0];
    rows[1] += x * y * piece.first[1];
    rows[1] += xx * piece.first[2];
  }
  if constexpr (Order >= 2) {
    rows[2] = y * piece.second[0];
    rows[2] += x * piece.second[1];
  }
  if constexpr (Order >= 3) rows[3] = piece.third;
}

}  // namespace trova::foundation::nurbs
