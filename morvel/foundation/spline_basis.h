#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>
#include <vector>

#include "morvel/foundation/cubic_basis.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/tolerances.h"

namespace trova::foundation::nurbs {

/// A knot vector made ready for evaluation: what curves and surfaces hold. Allocates nothing per
/// parameter, finds the span of evenly spaced knots in O(1), and multiplies by reciprocals of the
/// knot differences that were taken once. The values are those of `evaluateAllBasisFunctions` and
/// `evaluateAllBasisDerivatives` to rounding, but a difference of zero counts as a term of zero, so
/// that no knot vector yields NaN at a finite parameter. At a NaN `span` answers the first span,
/// and the values are NaN.
///
/// Usable only where `isUsable()`: degree p >= 0, n > p control points, size n + p + 1, knots
/// finite and non-decreasing, their extent finite too. (Objects that are not so evaluate by
/// `evaluateBasisFunction`.) Of others, ask no more than `degree`, `count` and `knots`.
class MORVEL_API SplineBasis {
 public:
  SplineBasis() = default;
  SplineBasis(int degree, std::vector<double> knots);
  /// On the knots of `clampedUniformKnots(count, degree)`; spans are found without a search.
  static SplineBasis clampedUniform(int count, int degree);

  bool isUsable() const { return usable_; }
  int degree() const { return degree_; }
  /// n, the number of basis functions; 0 where the knots are too few for any.
  int count() const { return count_; }
  const std::vector<double>& knots() const { return knots_; }
  /// [U[p], U[n]].
  double start() const { return start_; }
  double end() const { return end_; }
  /// u brought into that range; a NaN stays one.
  double clamped(double u) const { return std::min(std::max(u, start_), end_); }

  /// As `findKnotSpan`, except that an empty last span gives way to the last non-empty one before
  /// it, and an empty first span to the first non-empty one behind it.
  int span(double u) const;

  /// out[r] = N(span - p + r)(u), r = 0 .. p. Exactly one entry is 1 within 1e-12 of an end knot.
  void values(double u, int span, double* out) const;

  /// out[j * (p + 1) + r] = j-th derivative of N(span - p + r), j = 0 .. order; row 0 as `values`.
  void derivatives(double u, int span, int order, double* out) const;

  /// `span(u)`, looked for at `near` and behind it first; near is in [p, n - 1].
  int spanNear(double u, int near) const;

  /// Answers `span(u)` and fills the rows 0 .. Order of `derivatives` as packs; of degree 3 only.
  template <int Order>
  int cubicRowsAt(double u, Quad* rows) const;
  /// The same; `near` is a span to begin with, for parameters that come in order.
  template <int Order>
  int cubicRowsAt(double u, int near, Quad* rows) const;

 private:
  // The shared inner functions take degree and level as int, or as a constant that lets the
  // compiler unroll: one source, one sequence of operations, the same bits.
  template <int Value>
  using Constant = std::integral_constant<int, Value>;

  template <class Degree, class Visit>
  static void forEachLevel(Degree p, Visit visit);
  template <class Degree, class Level>
  double reciprocal(Degree p, Level level, int i) const;
  template <class Degree, class Level>
  void raise(Degree p, Level level, double u, int span, const double* from, double* to) const;
  template <class Degree>
  void differentiate(Degree p, int level, int span, double* row) const;
  template <class Degree>
  void valuesBy(Degree p, double u, int span, double* out) const;
  template <class Degree>
  void derivativesBy(Degree p, double u, int span, int order, double* out) const;

  /// A difference whose reciprocal overflows counts as none.
  static double reciprocalOrZero(double difference) {
    return difference >= std::numeric_limits<double>::min() ? 1.0 / difference : 0.0;
  }
  bool isUsableNow() const;
  bool isEmptySpan(int k) const;
  void findEndSpans();
  void detectEvenSpacing();
  void findDirectRange();
  void tabulateReciprocals();
  void tabulateCubicPieces();

  template <int Order>
  void cubicRowsIn(int span, double u, Quad* rows) const;
  void recurredCubicRows(double u, int span, int order, double* out) const;
  template <int Order>
  [[gnu::noinline]] int cubicRowsAnywhere(double u, int near, Quad* rows) const;
  template <int Order>
  void cubicDerivatives(double u, int span, double* out) const;
  int searchedSpan(double u) const;
  int neighbourSpan(double u, int guess) const;
  bool valuesAtEnds(double u, double* out) const;
  void valuesOfAnyDegree(double u, int span, double* out) const;

  int degree_ = 0;
  int count_ = 0;
  int firstSpan_ = 0;
  int lastSpan_ = 0;
  bool usable_ = false;
  double start_ = 0.0;
  double end_ = 0.0;
  double spansPerUnit_ = 0.0;  // 0 where the knots are not evenly spaced
  // Between these a span is guessed by division and no value is rounded to that of an end.
  double directStart_ = std::numeric_limits<double>::infinity();
  double directEnd_ = -std::numeric_limits<double>::infinity();
  std::vector<double> knots_;
  std::vector<double> reciprocals_;  // [i p + d - 1] of U[i + d] - U[i]; empty for a high degree
  std::vector<CubicPiece> cubicPieces_;  // [span - 3]; of degree 3 only, empty for many spans
};

inline int SplineBasis::span(double u) const {
  if (!(u > start_)) return firstSpan_;
  if (u >= end_) return lastSpan_;
  if (spansPerUnit_ == 0.0) return searchedSpan(u);
  // Off by one span at most; the stored knots decide. A guess of n reads no further than U[n].
  const int guess = degree_ + static_cast<int>((u - start_) * spansPerUnit_);
  if (knots_[guess] <= u && u < knots_[guess + 1]) [[likely]]
    return guess;
  return neighbourSpan(u, guess);
}

inline int SplineBasis::spanNear(double u, int near) const {
  if (!(start_ < u && u < end_)) return span(u);
  for (int k = near; k <= near + 1 && k < count_; ++k) {
    if (knots_[k] <= u && u < knots_[k + 1]) return k;
  }
  return span(u);
}

template <int Order>
[[gnu::always_inline]] inline int SplineBasis::cubicRowsAt(double u, Quad* rows) const {
  return cubicRowsAt<Order>(u, kCubicDegree, rows);
}

template <int Order>
[[gnu::always_inline]] inline int SplineBasis::cubicRowsAt(double u, int near, Quad* rows) const {
  if (directStart_ < u && u < directEnd_) [[likely]] {
    const int guess = static_cast<int>((u - start_) * spansPerUnit_);
    const CubicPiece& piece = cubicPieces_[guess];
    if (piece.start <= u && u < piece.end) [[likely]] {
      cubicRows<Order>(piece, u, rows);
      return guess + kCubicDegree;
    }
  }
  return cubicRowsAnywhere<Order>(u, near, rows);
}

template <int Order>
int SplineBasis::cubicRowsAnywhere(double u, int near, Quad* rows) const {
  const int found = spanNear(u, near);
  cubicRowsIn<Order>(found, u, rows);
  return found;
}

template <int Order>
inline void SplineBasis::cubicRowsIn(int span, double u, Quad* rows) const {
  if (cubicPieces_.empty()) [[unlikely]] {
    double flat[(Order + 1) * kCubicWidth];
    recurredCubicRows(u, span, Order, flat);
    for (int k = 0; k <= Order; ++k)
      load(flat + k * kCubicWidth, rows[k]);
  } else {
    cubicRows<Order>(cubicPieces_[span - kCubicDegree], u, rows);
  }
  double atEnd[kCubicWidth];
  if (valuesAtEnds(u, atEnd)) load(atEnd, rows[0]);
}

template <int Order>
inline void SplineBasis::cubicDerivatives(double u, int span, double* out) const {
  Quad rows[Order + 1];
  cubicRowsIn<Order>(span, u, rows);
  for (int k = 0; k <= Order; ++k)
    storeAll(rows[k], out + k * kCubicWidth);
}

inline void SplineBasis::values(double u, int span, double* out) const {
  if (degree_ == kCubicDegree)
    cubicDerivatives<0>(u, span, out);
  else
    valuesOfAnyDegree(u, span, out);
}

template <class Degree>
inline void SplineBasis::valuesBy(Degree p, double u, int span, double* out) const {
  if constexpr (std::is_same_v<Degree, int>) {
    out[0] = 1.0;
    for (int level = 1; level <= p; ++level)
      raise(p, level, u, span, out, out);
  } else {
    // The last level goes straight to `out`: a copy of the row would wait for its stores.
    double row[p] = {1.0};
    forEachLevel(p, [&](auto level) { raise(p, level, u, span, row, level == p ? out : row); });
  }
}

template <class Degree, class Visit>
inline void SplineBasis::forEachLevel(Degree p, Visit visit) {
  if constexpr (std::is_same_v<Degree, int>) {
    for (int level = 1; level <= p; ++level)
      visit(level);
  } else {
    [&]<int... I>(std::integer_sequence<int, I...>) { (visit(Constant<I + 1>{}), ...); }
    (std::make_integer_sequence<int, Degree::value>{});
  }
}

// That of U[i + level] - U[i].
template <class Degree, class Level>
inline double SplineBasis::reciprocal(Degree p, Level level, int i) const {
  if constexpr (std::is_same_v<Degree, int>)
    return reciprocalOrZero(knots_[i + level] - knots_[i]);
  else
    return reciprocals_[static_cast<std::size_t>(i) * p + level - 1];
}

// One level of the triangle (Piegl and Tiller, The NURBS Book, A2.2): from the `level` values of
// degree level - 1 to those of degree `level`. `to` may be `from`.
template <class Degree, class Level>
inline void SplineBasis::raise(Degree p, Level level, double u, int span, const double* from,
                               double* to) const {
  const int first = span + 1 - level;
  const double* knots = knots_.data() + first;
  double saved = 0.0;
  for (int r = 0; r < level; ++r) {
    const double share = from[r] * reciprocal(p, level, first + r);
    to[r] = saved + (knots[level + r] - u) * share;
    saved = (u - knots[r]) * share;
  }
  to[level] = saved;
}

}  // namespace trova::foundation::nurbs
