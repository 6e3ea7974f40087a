#include "morvel/foundation/spline_basis.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/scratch_buffer.h"

namespace trova::foundation::nurbs {
namespace {

constexpr int kMaxTabulatedDegree = 5;

// Pieces of more spans would take longer to make, and to fetch, than the recurrence takes.
constexpr int kMaxCubicPieces = 1024;

// Knots within this share of a step of their evenly spaced places: a span guessed by division is
// then off by one at most.
constexpr double kEvenSpacingShare = 0.25;

// Where the values of a degree stand in a packed triangle, behind those of all lower degrees.
constexpr std::size_t triangleOffset(std::size_t degree) { return degree * (degree + 1) / 2; }

// From the Bernstein coefficients of the values to those of the derivatives, and the binomial
// factors into both.
void differentiateAndScale(CubicPiece& piece) {
  for (int r = 0; r < kCubicWidth; ++r) {
    for (int j = 0; j < 3; ++j)
      piece.first[j][r] = 3.0 * piece.scale * (piece.values[j + 1][r] - piece.values[j][r]);
    for (int j = 0; j < 2; ++j)
      piece.second[j][r] = 2.0 * piece.scale * (piece.first[j + 1][r] - piece.first[j][r]);
    piece.third[r] = piece.scale * (piece.second[1][r] - piece.second[0][r]);
    piece.values[1][r] *= 3.0;
    piece.values[2][r] *= 3.0;
    piece.first[1][r] *= 2.0;
  }
}

// Room for a triangle: no more than it takes where the degree is a constant.
template <class Degree>
struct TriangleRoom : std::integral_constant<std::size_t, triangleOffset(kMaxStackDegree + 1)> {};
template <int Degree>
struct TriangleRoom<std::integral_constant<int, Degree>>
    : std::integral_constant<std::size_t, triangleOffset(Degree + 1)> {};

// Calls `evaluate` with the degree, as a constant where reciprocals are kept.
template <class Evaluate>
void withDegree(int degree, Evaluate evaluate) {
  switch (degree) {
    case 1:
      return evaluate(std::integral_constant<int, 1>{});
    case 2:
      return evaluate(std::integral_constant<int, 2>{});
    case 3:
      return evaluate(std::integral_constant<int, 3>{});
    case 4:
      return evaluate(std::integral_constant<int, 4>{});
    case kMaxTabulatedDegree:
      return evaluate(std::integral_constant<int, kMaxTabulatedDegree>{});
    default:
      return evaluate(degree);
  }
}

}  // namespace

SplineBasis::SplineBasis(int degree, std::vector<double> knots)
    : degree_(degree), knots_(std::move(knots)) {
  const std::int64_t count = std::int64_t(knots_.size()) - degree - 1;
  count_ = int(std::clamp<std::int64_t>(count, 0, std::numeric_limits<int>::max()));
  usable_ = isUsableNow();
  if (!usable_) return;
  start_ = knots_[degree_];
  end_ = knots_[count_];
  findEndSpans();
  detectEvenSpacing();
  if (degree_ <= kMaxTabulatedDegree) tabulateReciprocals();
  if (degree_ == kCubicDegree && count_ <= kMaxCubicPieces) tabulateCubicPieces();
  if (spansPerUnit_ != 0.0 && !cubicPieces_.empty()) findDirectRange();
}

SplineBasis SplineBasis::clampedUniform(int count, int degree) {
  return {degree, clampedUniformKnots(count, degree)};
}

bool SplineBasis::isUsableNow() const {
  return degree_ >= 0 && count_ > degree_ && isNonDecreasing(knots_) &&
         std::isfinite(knots_.back() - knots_.front());
}

bool SplineBasis::isEmptySpan(int k) const {
  return reciprocalOrZero(knots_[k + 1] - knots_[k]) == 0.0;
}

void SplineBasis::findEndSpans() {
  firstSpan_ = degree_;
  lastSpan_ = count_ - 1;
  while (lastSpan_ > degree_ && isEmptySpan(lastSpan_))
    --lastSpan_;
  while (firstSpan_ < lastSpan_ && isEmptySpan(firstSpan_))
    ++firstSpan_;
}

void SplineBasis::detectEvenSpacing() {
  const int spans = count_ - degree_;
  const double spansPerUnit = spans * reciprocalOrZero(end_ - start_);
  if (!std::isfinite(spansPerUnit)) return;
  for (int j = 1; j < spans; ++j) {
    const double place = (knots_[degree_ + j] - start_) * spansPerUnit;
    if (!(std::abs(place - j) <= kEvenSpacingShare)) return;
  }
  spansPerUnit_ = spansPerUnit;
}

// A little short of where `valuesAtEnds` begins to answer: that is settled by its own differences.
void SplineBasis::findDirectRange() {
  constexpr double kMargin = 2 * kKnotTolerance;
  directStart_ = std::max(start_, knots_.front() + kMargin);
  directEnd_ = std::min(end_, knots_.back() - kMargin);
}

void SplineBasis::tabulateReciprocals() {
  reciprocals_.assign(knots_.size() * degree_, 0.0);
  for (std::size_t i = 0; i < knots_.size(); ++i) {
    for (std::size_t d = 1; d <= std::size_t(degree_) && i + d < knots_.size(); ++d)
      reciprocals_[i * degree_ + d - 1] = reciprocalOrZero(knots_[i + d] - knots_[i]);
  }
}

// The Bernstein coefficients of a polynomial are its blossom at the ends of the span; the
// recurrence with an argument of its own on every level gives the blossom of all four functions at
// once (Ramshaw, Blossoming: a connect-the-dots approach to splines).
void SplineBasis::tabulateCubicPieces() {
  // One too many: a span guessed by rounding may be behind the last. It holds no parameter.
  cubicPieces_.resize(std::size_t(count_) - kCubicDegree + 1);
  for (int k = kCubicDegree; k < count_; ++k) {
    CubicPiece& piece = cubicPieces_[k - kCubicDegree];
    piece.start = knots_[k];
    piece.end = knots_[k + 1];
    piece.scale = reciprocalOrZero(piece.end - piece.start);
    for (int j = 0; j < kCubicWidth; ++j) {
      double* row = piece.values[j];
      row[0] = 1.0;
      const auto raiseTo = [&](auto level) {
        raise(Constant<kCubicDegree>{}, level, level <= j ? piece.end : piece.start, k, row, row);
      };
      forEachLevel(Constant<kCubicDegree>{}, raiseTo);
    }
    differentiateAndScale(piece);
  }
}

void SplineBasis::recurredCubicRows(double u, int span, int order, double* out) const {
  if (order == 0)
    valuesBy(Constant<kCubicDegree>{}, u, span, out);
  else
    derivativesBy(Constant<kCubicDegree>{}, u, span, order, out);
}

int SplineBasis::searchedSpan(double u) const {
  const auto first = knots_.begin();
  return int(std::upper_bound(first + degree_ + 1, first + count_, u) - first) - 1;
}

// Out of line, so that the processor predicts a right guess and need not wait for the knots.
int SplineBasis::neighbourSpan(double u, int guess) const {
  return u < knots_[guess] ? guess - 1 : guess + 1;
}

bool SplineBasis::valuesAtEnds(double u, double* out) const {
  const bool atFront = std::abs(u - knots_.front()) < kKnotTolerance;
  const bool atBack = std::abs(u - knots_.back()) < kKnotTolerance;
  if (!atFront && !atBack) return false;
  std::fill_n(out, std::size_t(degree_) + 1, 0.0);
  out[atFront ? 0 : degree_] = 1.0;
  return true;
}

void SplineBasis::valuesOfAnyDegree(double u, int span, double* out) const {
  if (!valuesAtEnds(u, out)) withDegree(degree_, [&](auto p) { valuesBy(p, u, span, out); });
}

void SplineBasis::derivatives(double u, int span, int order, double* out) const {
  if (degree_ != kCubicDegree) {
    withDegree(degree_, [&](auto p) { derivativesBy(p, u, span, order, out); });
    valuesAtEnds(u, out);
  } else if (order == 0) {
    cubicDerivatives<0>(u, span, out);
  } else if (order == 1) {
    cubicDerivatives<1>(u, span, out);
  } else if (order == 2) {
    cubicDerivatives<2>(u, span, out);
  } else {
    cubicDerivatives<kCubicDegree>(u, span, out);
    std::fill_n(out + kCubicWidth * kCubicWidth, (order - kCubicDegree) * kCubicWidth, 0.0);
  }
}

// Order k: the values of degree p - k, differenced k times on the way up to degree p.
template <class Degree>
void SplineBasis::derivativesBy(Degree p, double u, int span, int order, double* out) const {
  ScratchBuffer<double, TriangleRoom<Degree>::value> triangle(triangleOffset(std::size_t(p) + 1));
  triangle[0] = 1.0;
  forEachLevel(p, [&](auto level) {
    const double* below = triangle.data() + triangleOffset(level - 1);
    raise(p, level, u, span, below, triangle.data() + triangleOffset(level));
  });
  const std::size_t width = std::size_t(p) + 1;
  for (int k = 0; k <= order; ++k) {
    double* row = out + k * width;
    if (k > p) {
      std::fill_n(row, width, 0.0);
      continue;
    }
    std::copy_n(triangle.data() + triangleOffset(p - k), width - k, row);
    for (int level = p - k + 1; level <= p; ++level)
      differentiate(p, level, span, row);
  }
}

// In place, from `level` coefficients of degree level - 1 to the derivative's, one degree up.
template <class Degree>
void SplineBasis::differentiate(Degree p, int level, int span, double* row) const {
  double saved = 0.0;
  for (int r = 0; r < level; ++r) {
    const double share = row[r] * reciprocal(p, level, span + 1 - level + r);
    row[r] = level * (saved - share);
    saved = share;
  }
  row[level] = level * saved;
}

}  // namespace trova::foundation::nurbs
