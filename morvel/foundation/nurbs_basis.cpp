#include "morvel/foundation/nurbs_basis.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/scratch_buffer.h"
#include "morvel/foundation/tolerances.h"

namespace trova::foundation::nurbs {
namespace {

constexpr std::size_t kStackRow = kMaxStackDegree + 1;
constexpr std::size_t kStackTable = kStackRow * kStackRow;
using Row = ScratchBuffer<double, kStackRow>;

double snappedToEnds(double u, const std::vector<double>& U) {
  if (std::abs(u - U.front()) < kKnotTolerance) u = U.front();
  if (std::abs(u - U.back()) < kKnotTolerance) u = U.back();
  return u;
}

bool isInBasis(std::int64_t i, std::int64_t p, const std::vector<double>& U) {
  return p >= 0 && i >= 0 && i < std::int64_t(U.size()) - p - 1;
}

// The one function that is 1 at the last knot, by its index.
std::int64_t indexAtEnd(const std::vector<double>& U) {
  const auto trailing = std::find_if(U.rbegin(), U.rend(), [&](double knot) {
    return !(std::abs(knot - U.back()) < kKnotTolerance);
  });
  return std::int64_t(U.size()) - (trailing - U.rbegin()) - 1;
}

// factor * value over the knot difference, or 0 where that difference counts as none.
double overDifference(double factor, double difference, double value) {
  return difference < kKnotTolerance ? 0.0 : factor / difference * value;
}

// row[r] = N(first + r, p)(u) for r = 0 .. count - 1, every one in the basis; row has room for
// count + p values. The triangle runs upward from degree 0, with the operations of the recursion.
void basisRow(std::int64_t first, std::int64_t count, std::int64_t p, double u,
              const std::vector<double>& U, double* row) {
  u = snappedToEnds(u, U);
  if (std::abs(u - U.back()) < kKnotTolerance) {
    const std::int64_t one = indexAtEnd(U);
    for (std::int64_t r = 0; r < count; ++r)
      row[r] = first + r == one ? 1.0 : 0.0;
    return;
  }
  const double* knots = U.data() + first;
  for (std::int64_t r = 0; r < count + p; ++r) {
    const bool isEmpty = std::abs(knots[r + 1] - knots[r]) < kKnotTolerance;
    row[r] = !isEmpty && knots[r] <= u && u < knots[r + 1] ? 1.0 : 0.0;
  }
  for (std::int64_t d = 1; d <= p; ++d) {
    for (std::int64_t r = 0; r < count + p - d; ++r)
      row[r] = overDifference(u - knots[r], knots[r + d] - knots[r], row[r]) +
               overDifference(knots[r + d + 1] - u, knots[r + d + 1] - knots[r + 1], row[r + 1]);
  }
}

void requireSpan(int p, std::int64_t span, const std::vector<double>& U) {
  if (p < 0) throw std::invalid_argument("Negative degree");
  if (span < 0 || span - p + 1 < 0 || span + p >= std::int64_t(U.size()))
    throw std::out_of_range("Knot span does not lie in the knot vector");
}

// The table of A2.3 and the distances it is made of, p + 1 values a row: values on and above the
// diagonal, knot differences below.
class DerivativeTable {
 public:
  DerivativeTable(int p, double u, const double* knotsAtSpan)
      : width_(std::size_t(p) + 1), table_(width_ * width_) {
    Row left(width_), right(width_);
    at(0, 0) = 1.0;
    for (int j = 1; j <= p; ++j) {
      left[j] = u - knotsAtSpan[1 - j];
      right[j] = knotsAtSpan[j] - u;
      double saved = 0.0;
      for (int r = 0; r < j; ++r) {
        at(j, r) = right[r + 1] + left[j - r];
        const double temp = at(r, j - 1) / at(j, r);
        at(r, j) = saved + right[r + 1] * temp;
        saved = left[j - r] * temp;
      }
      at(j, j) = saved;
    }
  }

  double& at(int row, int column) { return table_[row * width_ + column]; }

 private:
  std::size_t width_;
  ScratchBuffer<double, kStackTable> table_;
};

// One order of A2.3 for the function r: the coefficients from those of the order before, and the
// derivative that they sum to.
double nextDerivative(DerivativeTable& ndu, int p, int r, int order, const double* previous,
                      double* next) {
  const int rk = r - order, pk = p - order;
  double sum = 0.0;
  if (r >= order) {
    next[0] = previous[0] / ndu.at(pk + 1, rk);
    sum = next[0] * ndu.at(rk, pk);
  }
  const int last = r - 1 <= pk ? order - 1 : p - r;
  for (int j = std::max(1, -rk); j <= last; ++j) {
    next[j] = (previous[j] - previous[j - 1]) / ndu.at(pk + 1, rk + j);
    sum += next[j] * ndu.at(rk + j, pk);
  }
  if (r <= pk) {
    next[order] = -previous[order - 1] / ndu.at(pk + 1, r);
    sum += next[order] * ndu.at(r, pk);
  }
  return sum;
}

}  // namespace

double evaluateBasisFunction(int i, int p, double u, const std::vector<double>& U) {
  if (!isInBasis(i, p, U)) return 0.0;
  Row row(std::size_t(p) + 1);
  basisRow(i, 1, p, u, U, row.data());
  return row[0];
}

void evaluateAllBasisFunctions(int p, double u, const std::vector<double>& U, int span,
                               std::vector<double>& out) {
  requireSpan(p, span, U);
  out.resize(std::size_t(p) + 1);
  if (isAtDomainBoundary(u, U, kKnotTolerance)) {
    const bool atFront = std::abs(u - U.front()) < kKnotTolerance;
    out[atFront ? 0 : p] = 1.0;
    return;
  }
  Row left(out.size()), right(out.size());
  out[0] = 1.0;
  for (int j = 1; j <= p; ++j) {
    left[j] = u - U[span + 1 - j];
    right[j] = U[span + j] - u;
    double saved = 0.0;
    for (int r = 0; r < j; ++r) {
      const double temp = out[r] / (right[r + 1] + left[j - r]);
      out[r] = saved + right[r + 1] * temp;
      saved = left[j - r] * temp;
    }
    out[j] = saved;
  }
}

double evaluateBasisDerivative(int i, int p, double u, const std::vector<double>& U, int k) {
  if (k < 0 || k > p || !isInBasis(i, p, U)) return 0.0;
  Row row(std::size_t(p) + 1);
  basisRow(i, std::int64_t(k) + 1, p - k, u, U, row.data());
  const double* knots = U.data() + i;
  for (int d = p - k + 1; d <= p; ++d) {
    for (int r = 0; r <= p - d; ++r)
      row[r] = overDifference(d, knots[r + d] - knots[r], row[r]) -
               overDifference(d, knots[r + d + 1] - knots[r + 1], row[r + 1]);
  }
  return row[0];
}

void evaluateAllBasisDerivatives(int p, double u, const std::vector<double>& U, int span, int k,
                                 std::vector<std::vector<double>>& out) {
  requireSpan(p, span, U);
  if (k < 0) throw std::invalid_argument("Negative derivative order");
  checkedCount({std::int64_t(k) + 1, std::int64_t(p) + 1});
  const std::size_t width = std::size_t(p) + 1;
  out.assign(std::size_t(k) + 1, std::vector<double>(width, 0.0));

  DerivativeTable ndu(p, u, U.data() + span);
  Row rowA(width), rowB(width);
  for (int r = 0; r <= p; ++r) {
    out[0][r] = ndu.at(r, p);
    double *previous = rowA.data(), *next = rowB.data();
    previous[0] = 1.0;
    for (int order = 1; order <= std::min(k, p); ++order) {
      out[order][r] = nextDerivative(ndu, p, r, order, previous, next);
      std::swap(previous, next);
    }
  }
  double factor = p;
  for (int order = 1; order <= std::min(k, p); ++order) {
    for (double& value : out[order])
      value *= factor;
    factor *= p - order;
  }
}

}  // namespace trova::foundation::nurbs
