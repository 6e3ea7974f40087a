#include "morvel/fitting/internal/collocation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "morvel/fitting/global_interpolation.h"
#include "morvel/foundation/cubic_basis.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/tolerances.h"
#include "morvel/foundation/wide_registers.h"

namespace trova::geometry::internal {
namespace {

// Basis functions sum to 1: a pivot below this cannot be told from rounding.
constexpr double kSmallestPivot = 1e-15;

// Right-hand sides are solved this many at a time, so that a block stays in the cache.
constexpr int kBlockWidth = 64;

template <int Value>
using Constant = std::integral_constant<int, Value>;

constexpr int kPointWidth = 3;

// Calls `work` with the number, as a constant where loops over it are worth unrolling.
template <class Work>
auto withHalf(int half, Work work) {
  switch (half) {
    case 1:
      return work(Constant<1>());
    case 2:
      return work(Constant<2>());
    default:
      return work(half);
  }
}

template <class Work>
void withWidth(int width, Work work) {
  if (width == kPointWidth)
    work(Constant<kPointWidth>());
  else
    work(width);
}

template <class Width>
[[gnu::always_inline]] inline void subtractRow(double* target, const double* source, double factor,
                                               Width width) {
  for (int c = 0; c < width; ++c)
    target[c] -= factor * source[c];
}

// The degree + 1 functions that are not zero on the span (Piegl and Tiller, The NURBS Book, A2.2);
// within kKnotTolerance of an end knot one of them is 1.
template <class Degree>
void basisValues(Degree p, double t, int span, const std::vector<double>& knots, double* out) {
  const bool atFront = std::abs(t - knots.front()) < foundation::kKnotTolerance;
  const bool atBack = std::abs(t - knots.back()) < foundation::kKnotTolerance;
  if (atFront || atBack) {
    std::fill_n(out, p + 1, 0.0);
    out[atFront ? 0 : static_cast<int>(p)] = 1.0;
    return;
  }
  const double* U = knots.data() + span;
  out[0] = 1.0;
  for (int level = 1; level <= p; ++level) {
    double saved = 0.0;
    for (int r = 0; r < level; ++r) {
      const double left = U[r + 1 - level], right = U[r + 1];
      const double share = right > left ? out[r] / (right - left) : 0.0;
      out[r] = saved + (right - t) * share;
      saved = (t - left) * share;
    }
    out[level] = saved;
  }
}

void requireWork(double size, double lower, double upper) {
  if (size * std::max(lower, 1.0) * std::max(upper, 1.0) > Collocation::kMaxWork)
    throw std::length_error("Interpolation of this degree takes too much work");
}

}  // namespace

Collocation::Collocation(const std::vector<double>& params, int degree)
    : Collocation(params, generateAverageKnotVector(params, degree), degree) {}

Collocation::Collocation(const std::vector<double>& params, std::vector<double> knots, int degree)
    : size_(static_cast<int>(params.size())), degree_(degree), knots_(std::move(knots)) {
  const auto isFinite = [](double t) { return std::isfinite(t); };
  if (!std::all_of(params.begin(), params.end(), isFinite))
    throw std::invalid_argument("Parameters must be finite");
  requireWork(size_, degree, degree);
  if (!std::is_sorted(params.begin(), params.end())) {
    order_.resize(params.size());
    std::iota(order_.begin(), order_.end(), 0);
    std::stable_sort(order_.begin(), order_.end(),
                     [&](int a, int b) { return params[a] < params[b]; });
  }
  if (hasUsableKnots()) fillRows(params);
}

bool Collocation::hasUsableKnots() const {
  const std::size_t size = static_cast<std::size_t>(size_), p = static_cast<std::size_t>(degree_);
  return degree_ >= 1 && size > p && knots_.size() == size + p + 1 &&
         foundation::nurbs::isNonDecreasing(knots_) && knots_[p] < knots_[size];
}

// Parameters come in ascending order, so that the span moves on with them. A basis object would
// cost more than all its values: each is used once.
void Collocation::fillRows(const std::vector<double>& params) {
  const std::size_t width = static_cast<std::size_t>(degree_) + 1;
  firstColumns_.resize(params.size());
  entries_.resize(params.size() * width);
  const auto fill = [&](auto degree) {
    int span = degree;
    for (std::size_t i = 0; i < params.size(); ++i) {
      const double t = order_.empty() ? params[i] : params[order_[i]];
      while (span + 1 < size_ && (knots_[span + 1] <= t || knots_[span] == knots_[span + 1]))
        ++span;
      firstColumns_[i] = span - degree;
      basisValues(degree, t, span, knots_, entries_.data() + i * width);
    }
  };
  if (degree_ == foundation::nurbs::kCubicDegree)
    fill(Constant<foundation::nurbs::kCubicDegree>());
  else
    fill(degree_);
}

bool Collocation::factor() {
  if (isFactored_ || firstColumns_.empty()) return isSolvable_;
  isFactored_ = true;
  if (!order_.empty() || !isBanded(half())) {
    isSolvable_ = factorWithPivoting();
    return isSolvable_;
  }
  fillBand(half());
  isSolvable_ = withHalf(half(), [&](auto half) { return eliminate(half); });
  return isSolvable_;
}

// All entries outside the band are 0.
bool Collocation::isBanded(int half) const {
  const double* entry = entries_.data();
  for (int i = 0; i < size_; ++i) {
    for (int r = 0; r <= degree_; ++r, ++entry)
      if (std::abs(firstColumns_[i] + r - i) > half && *entry != 0.0) return false;
  }
  return true;
}

void Collocation::fillBand(int half) {
  band_.assign(static_cast<std::size_t>(size_) * (2 * static_cast<std::size_t>(half) + 1), 0.0);
  const double* entry = entries_.data();
  for (int i = 0; i < size_; ++i) {
    double* diagonal = bandRow(i) + half;
    for (int r = 0; r <= degree_; ++r, ++entry)
      if (const int offset = firstColumns_[i] + r - i; std::abs(offset) <= half)
        diagonal[offset] = *entry;
  }
}

template <class Half>
bool Collocation::eliminate(Half half) {
  reciprocals_.resize(static_cast<std::size_t>(size_));
  for (int k = 0; k < size_; ++k) {
    const double* source = bandRow(k) + half;
    if (!(*source > kSmallestPivot)) return false;
    reciprocals_[k] = 1.0 / *source;
    const int below = std::min<int>(half, size_ - 1 - k);
    for (int d = 1; d <= below; ++d) {
      double* target = bandRow(k + d) + half - d;
      *target *= reciprocals_[k];
      subtractRow(target + 1, source + 1, *target, half);
    }
  }
  return true;
}

bool Collocation::factorWithPivoting() {
  int lower = 0, upper = 0;
  for (int i = 0; i < size_; ++i) {
    lower = std::max(lower, i - firstColumns_[i]);
    upper = std::max(upper, firstColumns_[i] + degree_ - i);
  }
  requireWork(size_, lower, double(lower) + upper);
  pivoted_ = std::make_unique<foundation::BandedSystem>(size_, lower, upper);
  const double* entry = entries_.data();
  for (int i = 0; i < size_; ++i)
    for (int r = 0; r <= degree_; ++r)
      pivoted_->add(i, firstColumns_[i] + r, *entry++);
  return pivoted_->factor();
}

bool Collocation::solve(double* rows, int width, foundation::progress::Stage* stage) const {
  if (!isSolvable_ || width < 0) return false;
  std::vector<double> data(static_cast<std::size_t>(size_) * std::min(width, kBlockWidth));
  bool isSolved = true;
  for (int c = 0; c < width && isSolved; c += kBlockWidth) {
    if (stage) stage->report(c, width);
    isSolved = solveBlock(rows + c, width, std::min(kBlockWidth, width - c), data.data());
  }
  return isSolved;
}

// `data` is room for a copy of the block, its conditions in ascending order.
bool Collocation::solveBlock(double* rows, std::ptrdiff_t stride, int width, double* data) const {
  for (std::ptrdiff_t i = 0; i < size_; ++i)
    std::copy_n(rows + (order_.empty() ? i : order_[i]) * stride, width, data + i * width);
  const double* end = data + static_cast<std::ptrdiff_t>(size_) * width;
  if (!std::all_of(data, data + (end - data), [](double x) { return std::isfinite(x); }))
    return false;
  if (pivoted_) {
    std::vector<double> solution(data, data + (end - data));
    pivoted_->solve(solution.data(), width);
    for (std::ptrdiff_t i = 0; i < size_; ++i)
      std::copy_n(solution.data() + i * width, width, rows + i * stride);
  } else {
    solveWithoutPivoting(rows, stride, width);
  }
  return isSolution(rows, stride, data, width);
}

void Collocation::solveWithoutPivoting(double* rows, std::ptrdiff_t stride, int width) const {
  withHalf(half(), [&](auto half) {
    withWidth(width, [&](auto columns) {
      if (foundation::usesWideRegisters)
        wideSubstitute(half, rows, stride, columns);
      else
        substitute(half, rows, stride, columns);
    });
  });
}

template <class Half, class Width>
MORVEL_WIDE void Collocation::wideSubstitute(Half half, double* rows, std::ptrdiff_t stride,
                                             Width width) const {
  substitute(half, rows, stride, width);
}

template <class Half, class Width>
[[gnu::always_inline]] inline void Collocation::substitute(Half half, double* rows,
                                                           std::ptrdiff_t stride,
                                                           Width width) const {
  for (std::ptrdiff_t i = 1; i < size_; ++i) {
    const double* diagonal = bandRow(i) + half;
    for (std::ptrdiff_t d = std::min<std::ptrdiff_t>(half, i); d >= 1; --d)
      subtractRow(rows + i * stride, rows + (i - d) * stride, diagonal[-d], width);
  }
  for (std::ptrdiff_t i = size_ - 1; i >= 0; --i) {
    const double* diagonal = bandRow(i) + half;
    double* row = rows + i * stride;
    for (std::ptrdiff_t d = std::min<std::ptrdiff_t>(half, size_ - 1 - i); d >= 1; --d)
      subtractRow(row, rows + (i + d) * stride, diagonal[d], width);
    for (int c = 0; c < width; ++c)
      row[c] *= reciprocals_[i];
  }
}

bool Collocation::isSolution(const double* solution, std::ptrdiff_t stride, const double* data,
                             int width) const {
  return foundation::usesWideRegisters ? isSolutionByWide(solution, stride, data, width)
                                       : isSolutionBy(solution, stride, data, width);
}

MORVEL_WIDE bool Collocation::isSolutionByWide(const double* solution, std::ptrdiff_t stride,
                                               const double* data, int width) const {
  return isSolutionBy(solution, stride, data, width);
}

// Column by column, as the dense solvers judge their answers.
[[gnu::always_inline]] inline bool Collocation::isSolutionBy(const double* solution,
                                                             std::ptrdiff_t stride,
                                                             const double* data, int width) const {
  std::array<double, kBlockWidth> sums, residuals{}, largest{}, notFinite{};
  for (std::ptrdiff_t i = 0; i < size_; ++i) {
    const double* entries = entries_.data() + i * (degree_ + 1);
    const double* row = data + i * width;
    for (int c = 0; c < width; ++c)
      sums[c] = -row[c];
    for (int r = 0; r <= degree_; ++r)
      subtractRow(sums.data(), solution + (firstColumns_[i] + r) * stride, -entries[r], width);
    for (int c = 0; c < width; ++c) {
      residuals[c] = std::max(residuals[c], std::abs(sums[c]));
      largest[c] = std::max(largest[c], std::abs(row[c]));
      notFinite[c] += sums[c] * 0.0;
    }
  }
  for (int c = 0; c < width; ++c)
    if (notFinite[c] != 0.0 || !(residuals[c] <= foundation::kLargestResidual * largest[c]))
      return false;
  return true;
}

}  // namespace trova::geometry::internal
