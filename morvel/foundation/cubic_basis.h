#pragma once

#include <array>

// The cubic basis functions of one span with their derivatives, written out: the recurrence of
// Piegl and Tiller, The NURBS Book, A2.2, without its loops.

namespace trova::foundation::nurbs {

inline constexpr int kCubicDegree = 3;
inline constexpr int kCubicWidth = kCubicDegree + 1;

/// What the recurrence needs on span k, side by side: the knots U[k - 2 .. k + 3], and the
/// reciprocals of U[k + 1] - U[k]; U[k + 1] - U[k - 1], U[k + 2] - U[k]; U[k + 1] - U[k - 2],
/// U[k + 2] - U[k - 1], U[k + 3] - U[k], in this order (0 for a difference of zero).
template <class Number>
struct CubicPieceOf {
  std::array<Number, 6> knots;
  std::array<Number, 6> reciprocals;
};
using CubicPiece = CubicPieceOf<double>;

/// out[j * 4 + r] = j-th derivative of N(k - 3 + r) at u, j = 0 .. Order. `Number` is a double, or
/// a pack of doubles: each lane goes through the same operations and gets the same bits.
template <int Order, class Number>
[[gnu::always_inline]] inline void cubicRows(const CubicPieceOf<Number>& piece, const Number& u,
                                             Number* out) {
  static_assert(Order <= 2);
  const auto& U = piece.knots;
  const auto& R = piece.reciprocals;
  const Number left0 = u - U[2], left1 = u - U[1], left2 = u - U[0];
  const Number right0 = U[3] - u, right1 = U[4] - u, right2 = U[5] - u;
  // Each share is a value of one degree over the length of its support.
  const Number s0 = right0 * R[0] * R[1];
  const Number s1 = left0 * R[0] * R[2];
  const Number t0 = right0 * s0 * R[3];
  const Number t1 = (left1 * s0 + right1 * s1) * R[4];
  const Number t2 = left0 * s1 * R[5];
  out[0] = right0 * t0;
  out[1] = left2 * t0 + right1 * t1;
  out[2] = left1 * t1 + right2 * t2;
  out[3] = left0 * t2;
  if constexpr (Order >= 1) {
    out[4] = 3.0 * (0.0 - t0);
    out[5] = 3.0 * (t0 - t1);
    out[6] = 3.0 * (t1 - t2);
    out[7] = 3.0 * t2;
  }
  if constexpr (Order >= 2) {
    const Number q0 = 2.0 * (0.0 - s0) * R[3];
    const Number q1 = 2.0 * (s0 - s1) * R[4];
    const Number q2 = 2.0 * s1 * R[5];
    out[8] = 3.0 * (0.0 - q0);
    out[9] = 3.0 * (q0 - q1);
    out[10] = 3.0 * (q1 - q2);
    out[11] = 3.0 * q2;
  }
}

}  // namespace trova::foundation::nurbs
