#include "morvel/fitting/internal/cell_sums.h"

#include <algorithm>
#include <array>

#include "morvel/foundation/quad.h"
#include "morvel/foundation/tolerances.h"
#include "morvel/foundation/wide_registers.h"

namespace trova::geometry::internal {
namespace {

using foundation::kQuad;
using foundation::Quad;
using foundation::nurbs::SplineBasis;

constexpr int kAnyDegree = -1;
constexpr int kDimensions = 3;
constexpr int kCubic = 3;

// The weights of the p + 1 control points of a span in the polar form at p arguments: the triangle
// of the basis values with an argument of its own at each level (Ramshaw, Blossoms are polar forms,
// 1989). With arguments in the span none is negative.
void polarWeights(const SplineBasis& basis, int span, const double* arguments, double* weights) {
  const double* U = basis.knots().data() + span;
  weights[0] = 1.0;
  for (int level = 1; level <= basis.degree(); ++level) {
    const double t = arguments[level - 1];
    double saved = 0.0;
    for (int r = 0; r < level; ++r) {
      const double left = U[r + 1 - level];
      const double right = U[r + 1];
      const double share = weights[r] / (right - left);
      weights[r] = saved + (right - t) * share;
      saved = (t - left) * share;
    }
    weights[level] = saved;
  }
}

double binomial(int n, int k) {
  double value = 1.0;
  for (int i = 1; i <= k; ++i)
    value *= double(n - k + i) / i;
  return value;
}

// out[a] = x^a y^(degree - a).
[[gnu::always_inline]] inline void bernsteinPowers(const Quad& x, const Quad& y, int degree,
                                                   Quad* out) {
  out[0] = Quad{1.0, 1.0, 1.0, 1.0};
  for (int a = 1; a <= degree; ++a)
    out[a] = out[a - 1] * x;
  Quad power = y;
  for (int a = degree - 1; a >= 0; --a) {
    out[a] *= power;
    power *= y;
  }
}

// Four samples; lanes without one hold zeros, and so do all their products.
struct FourSamples {
  Quad x, y, s, t;
  Quad point[kDimensions];
};

[[gnu::always_inline]] inline void fillLanes(const FitSample* samples, std::ptrdiff_t count,
                                             const SpanForm& u, const SpanForm& v,
                                             FourSamples& lanes) {
  lanes = FourSamples{};
  const int used = int(std::min<std::ptrdiff_t>(count, kQuad));
  for (int k = 0; k < used; ++k) {
    const FitSample& sample = samples[k];
    lanes.x[k] = (sample.u - u.start) * u.scale;
    lanes.y[k] = (u.end - sample.u) * u.scale;
    lanes.s[k] = (sample.v - v.start) * v.scale;
    lanes.t[k] = (v.end - sample.v) * v.scale;
    for (int d = 0; d < kDimensions; ++d)
      lanes.point[d][k] = sample.point[d];
  }
}

// sum += a b. In memory a pack is four doubles without an alignment of its own: how a pack is
// aligned depends on the registers that a function is compiled for.
[[gnu::always_inline]] inline void addTo(double* sum, const Quad& a, const Quad& b) {
  Quad value;
  foundation::load(sum, value);
  value += a * b;
  foundation::storeAll(value, sum);
}

// P and Q are the degrees, or kAnyDegree where they are known only now.
template <int P, int Q>
[[gnu::always_inline]] inline void sumSamplesOf(const FitSample* samples, std::ptrdiff_t count,
                                                const SpanForm& u, const SpanForm& v, int degreeU,
                                                int degreeV, double* sums) {
  constexpr int kMost = 2 * foundation::kMaxStackDegree + 1;
  const int p = P == kAnyDegree ? degreeU : P;
  const int q = Q == kAnyDegree ? degreeV : Q;
  double* const sides = sums + kQuad * (2 * p + 1) * (2 * q + 1);
  Quad inU[P == kAnyDegree ? kMost : 2 * P + 1];
  Quad inV[Q == kAnyDegree ? kMost : 2 * Q + 1];
  for (std::ptrdiff_t k = 0; k < count; k += kQuad) {
    FourSamples lanes;
    fillLanes(samples + k, count - k, u, v, lanes);
    bernsteinPowers(lanes.x, lanes.y, 2 * p, inU);
    bernsteinPowers(lanes.s, lanes.t, 2 * q, inV);
    for (int b = 0; b <= 2 * q; ++b)
      for (int a = 0; a <= 2 * p; ++a)
        addTo(sums + kQuad * (b * (2 * p + 1) + a), inU[a], inV[b]);
    bernsteinPowers(lanes.x, lanes.y, p, inU);
    bernsteinPowers(lanes.s, lanes.t, q, inV);
    for (int d = 0; d < kDimensions; ++d) {
      for (int b = 0; b <= q; ++b) {
        const Quad share = inV[b] * lanes.point[d];
        for (int a = 0; a <= p; ++a)
          addTo(sides + kQuad * ((d * (q + 1) + b) * (p + 1) + a), inU[a], share);
      }
    }
  }
}

template <int P, int Q>
MORVEL_WIDE void wideSumSamples(const FitSample* samples, std::ptrdiff_t count, const SpanForm& u,
                                const SpanForm& v, int degreeU, int degreeV, double* sums) {
  sumSamplesOf<P, Q>(samples, count, u, v, degreeU, degreeV, sums);
}

template <int P, int Q>
void sumSamples(const FitSample* samples, std::ptrdiff_t count, const SpanForm& u,
                const SpanForm& v, int degreeU, int degreeV, double* sums) {
  if (foundation::usesWideRegisters)
    wideSumSamples<P, Q>(samples, count, u, v, degreeU, degreeV, sums);
  else
    sumSamplesOf<P, Q>(samples, count, u, v, degreeU, degreeV, sums);
}

// The lanes of rows x columns packs added up.
Eigen::MatrixXd totals(const double* sums, int rows, int columns) {
  return Eigen::MatrixXd::NullaryExpr(rows, columns, [&](Eigen::Index a, Eigen::Index b) {
    const double* sum = sums + kQuad * (b * rows + a);
    return (sum[0] + sum[1]) + (sum[2] + sum[3]);
  });
}

}  // namespace

SpanForm::SpanForm(const SplineBasis& basis, int span)
    : start(basis.knots()[span]), end(basis.knots()[span + 1]), scale(1.0 / (end - start)) {
  const int p = basis.degree();
  functions.resize(p + 1, p + 1);
  std::vector<double> arguments(p, start);
  for (int c = 0; c <= p; ++c) {
    if (c > 0) arguments[c - 1] = end;
    polarWeights(basis, span, arguments.data(), functions.col(c).data());
    functions.col(c) *= binomial(p, c);
  }
  products.setZero((p + 1) * (p + 2) / 2, 2 * p + 1);
  for (int r = 0; r <= p; ++r)
    for (int s = 0; s <= r; ++s)
      for (int c = 0; c <= p; ++c)
        products.row(pairIndex(r, s)).segment(c, p + 1) += functions(r, c) * functions.row(s);
}

CellSums::CellSums(int degreeU, int degreeV)
    : degreeU_(degreeU),
      degreeV_(degreeV),
      sums_(kQuad *
            ((2 * degreeU + 1) * (2 * degreeV + 1) + kDimensions * (degreeU + 1) * (degreeV + 1))) {
}

void CellSums::take(const FitSample* samples, std::ptrdiff_t count, const SpanForm& u,
                    const SpanForm& v) {
  std::fill(sums_.begin(), sums_.end(), 0.0);
  if (degreeU_ == kCubic && degreeV_ == kCubic)
    sumSamples<kCubic, kCubic>(samples, count, u, v, degreeU_, degreeV_, sums_.data());
  else
    sumSamples<kAnyDegree, kAnyDegree>(samples, count, u, v, degreeU_, degreeV_, sums_.data());
  const int rows = 2 * degreeU_ + 1;
  const int columns = 2 * degreeV_ + 1;
  products_ = u.products * totals(sums_.data(), rows, columns) * v.products.transpose();
  const double* sides = sums_.data() + kQuad * std::ptrdiff_t(rows) * columns;
  for (Eigen::MatrixXd& side : sides_) {
    side = u.functions * totals(sides, degreeU_ + 1, degreeV_ + 1) * v.functions.transpose();
    sides += kQuad * std::ptrdiff_t(degreeU_ + 1) * (degreeV_ + 1);
  }
}

}  // namespace trova::geometry::internal
