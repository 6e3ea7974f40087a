#include "morvel/foundation/spline_rows.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/tolerances.h"

namespace trova::foundation::nurbs {
namespace {

// Elevation of a spline with inner knots ends here: some ten seconds of work.
constexpr double kMaxElevationWork = 1e10;

void requireSpline(const SplineRows& spline) {
  const std::int64_t size = std::int64_t(spline.coords.size());
  const std::int64_t p = spline.degree;
  const bool hasRows = p >= 0 && spline.dim > 0 && size % spline.dim == 0;
  const std::int64_t n = hasRows ? size / spline.dim : 0;
  if (!hasRows || n <= p || n > std::numeric_limits<std::int32_t>::max() ||
      std::int64_t(spline.knots.size()) != knotCountFor(n, p) || !isNonDecreasing(spline.knots) ||
      !std::isfinite(spline.knots.back() - spline.knots.front()))
    throw std::invalid_argument("Invalid spline");
}

double domainStart(const SplineRows& spline) { return spline.knots[spline.degree]; }
double domainEnd(const SplineRows& spline) { return spline.knots[spline.count()]; }

double* row(SplineRows& spline, std::int64_t i) { return spline.coords.data() + i * spline.dim; }
const double* row(const SplineRows& spline, std::int64_t i) {
  return spline.coords.data() + i * spline.dim;
}

// The knots [first, last) that count as one knot at u.
struct KnotCluster {
  int first = 0;
  int last = 0;
  int multiplicity() const { return last - first; }
};

KnotCluster clusterAt(double u, const std::vector<double>& U, double tolerance) {
  const double reach = std::max(0.0, tolerance);
  const auto first = std::lower_bound(U.begin(), U.end(), u - reach);
  const auto last = std::upper_bound(first, U.end(), u + reach);
  return {int(first - U.begin()), int(last - U.begin())};
}

// The insertions in the middle of A5.1: k is the last knot not above u, s its multiplicity there.
void insertRows(SplineRows& spline, double u, int k, int s, int times) {
  const int p = spline.degree;
  const std::int64_t dim = spline.dim;
  const std::vector<double>& U = spline.knots;
  std::vector<double> R(row(spline, k - p), row(spline, k - s + 1));
  spline.coords.insert(spline.coords.begin() + (k - s) * dim, times * dim, 0.0);
  for (int j = 1; j <= times; ++j) {
    const int L = k - p + j;
    for (int i = 0; i <= p - j - s; ++i) {
      const double alpha = (u - U[L + i]) / (U[i + k + 1] - U[L + i]);
      double* at = R.data() + i * dim;
      for (std::int64_t d = 0; d < dim; ++d)
        at[d] = alpha * at[d + dim] + (1.0 - alpha) * at[d];
    }
    std::copy_n(R.data(), dim, row(spline, L));
    std::copy_n(R.data() + (p - j - s) * dim, dim, row(spline, k + times - j - s));
  }
  const int L = k - p + times;
  for (int i = L + 1; i < k - s; ++i)
    std::copy_n(R.data() + (i - L) * dim, dim, row(spline, i));
}

std::vector<double> elevatedKnots(const std::vector<double>& U, int times) {
  std::vector<double> result;
  for (std::size_t i = 0; i < U.size(); ++i) {
    result.push_back(U[i]);
    const bool endsRun = i + 1 == U.size() || U[i + 1] != U[i];
    if (endsRun) result.insert(result.end(), times, U[i]);
  }
  return result;
}

// One degree more, `times` over: each new point lies between two old ones.
void elevateBezierRows(SplineRows& bezier, int times) {
  const std::int64_t dim = bezier.dim;
  for (int step = 0; step < times; ++step) {
    const int q = ++bezier.degree;
    bezier.coords.resize((q + 1) * dim);
    std::copy_n(row(bezier, q - 1), dim, row(bezier, q));
    for (int i = q - 1; i > 0; --i) {
      const double share = double(i) / q;
      double* at = row(bezier, i);
      for (std::int64_t d = 0; d < dim; ++d)
        at[d] = share * at[d - dim] + (1.0 - share) * at[d];
    }
  }
}

// The weights of the old points in one new point. A row of k + 1 numbers per k: the average of the
// products of k levels of the basis triangle over all choices of k among the arguments so far.
class PolarWeights {
 public:
  PolarWeights(const SplineRows& spline, int newDegree)
      : U_(spline.knots),
        p_(spline.degree),
        q_(newDegree),
        rows_(std::size_t(p_ + 1) * (p_ + 2) / 2) {}

  // For the arguments v[0 .. q - 1], from the span J whose first knot is the one before them.
  const double* at(int J, const double* v) {
    *rowOf(0) = 1.0;
    for (int j = 1; j <= q_; ++j) {
      for (int k = std::min(j, p_); k >= std::max(1, p_ - (q_ - j)); --k)
        addLevel(k, double(k) / j, J, v[j - 1]);
    }
    return rowOf(p_);
  }

 private:
  double* rowOf(int k) { return rows_.data() + std::size_t(k) * (k + 1) / 2; }

  // The last argument is among the k chosen of j with probability k / j.
  void addLevel(int k, double chosen, int J, double v) {
    double* to = rowOf(k);
    const double* from = rowOf(k - 1);
    for (int r = 0; r <= k; ++r)
      to[r] = chosen < 1.0 ? (1.0 - chosen) * to[r] : 0.0;
    for (int r = 0; r < k; ++r) {
      const double left = U_[J + 1 - k + r], right = U_[J + 1 + r];
      const double share = chosen * from[r] / (right - left);
      to[r] += (right - v) * share;
      to[r + 1] += (v - left) * share;
    }
  }

  const std::vector<double>& U_;
  int p_;
  int q_;
  std::vector<double> rows_;
};

void requireElevationWork(const SplineRows& spline, std::int64_t newCount, int times) {
  const double p = spline.degree, q = p + times;
  const double perPoint = q * std::min(times + 1.0, p) * p + p * spline.dim;
  if (!(perPoint * double(newCount) <= kMaxElevationWork))
    throw std::length_error("Size out of range");
}

SplineRows elevatedByPolarValues(const SplineRows& spline, int times) {
  const int p = spline.degree;
  const std::int64_t dim = spline.dim;
  SplineRows result{p + times, spline.dim, elevatedKnots(spline.knots, times), {}};
  const std::int64_t count = std::int64_t(result.knots.size()) - result.degree - 1;
  requireElevationWork(spline, count, times);
  result.coords.assign(count * dim, 0.0);
  PolarWeights weights(spline, result.degree);
  for (std::int64_t i = 0; i < count; ++i) {
    const int J = clusterAt(result.knots[i], spline.knots, 0.0).last - 1;
    const double* w = weights.at(J, result.knots.data() + i + 1);
    double* to = row(result, i);
    for (int r = 0; r <= p; ++r) {
      const double* from = row(spline, J - p + r);
      for (std::int64_t d = 0; d < dim; ++d)
        to[d] += w[r] * from[d];
    }
  }
  return result;
}

}  // namespace

void insertKnot(SplineRows& spline, double u, int times, double tolerance) {
  requireSpline(spline);
  if (!(domainStart(spline) <= u && u <= domainEnd(spline)))
    throw std::invalid_argument("Knot to insert lies outside the spline");
  const KnotCluster cluster = clusterAt(u, spline.knots, tolerance);
  const int added = std::min(times, spline.degree - cluster.multiplicity());
  if (added <= 0) return;
  const int k = cluster.last - 1;
  const double knot = cluster.multiplicity() > 0 ? spline.knots[k] : u;
  insertRows(spline, knot, k, cluster.multiplicity(), added);
  spline.knots.insert(spline.knots.begin() + k + 1, added, knot);
}

SplineRows clamped(const SplineRows& spline) {
  requireSpline(spline);
  return trimmed(spline, domainStart(spline), domainEnd(spline));
}

SplineRows trimmed(const SplineRows& spline, double a, double b) {
  requireSpline(spline);
  const bool isInside = domainStart(spline) <= a && a < b && b <= domainEnd(spline);
  if (!isInside || !(b - a > 2 * kKnotTolerance))
    throw std::invalid_argument("Invalid trim parameters");
  const int p = spline.degree;
  SplineRows refined = spline;
  insertKnot(refined, a, p, kKnotTolerance);
  insertKnot(refined, b, p, kKnotTolerance);
  // With multiplicity p the last knot at a, less p, is the index of the point that lies on the
  // spline there; likewise the first knot at b, less 1.
  const int lastAtA = clusterAt(a, refined.knots, kKnotTolerance).last - 1;
  const int firstAtB = clusterAt(b, refined.knots, kKnotTolerance).first;
  SplineRows result{p, spline.dim, std::vector<double>(std::size_t(p) + 1, a), {}};
  result.knots.insert(result.knots.end(), refined.knots.begin() + lastAtA + 1,
                      refined.knots.begin() + firstAtB);
  result.knots.insert(result.knots.end(), std::size_t(p) + 1, b);
  result.coords.assign(row(refined, lastAtA - p), row(refined, firstAtB));
  return result;
}

SplineRows elevated(const SplineRows& spline, int times) {
  requireSpline(spline);
  if (times < 0 || times > kMaxElevatedDegree - spline.degree)
    throw std::invalid_argument("Degree out of range");
  SplineRows base = clamped(spline);
  if (times == 0) return base;
  if (base.count() > base.degree + 1) return elevatedByPolarValues(base, times);
  elevateBezierRows(base, times);
  base.knots = elevatedKnots(base.knots, times);
  return base;
}

SplineRows reversed(const SplineRows& spline) {
  requireSpline(spline);
  SplineRows result{spline.degree, spline.dim, reversedKnots(spline.knots), {}};
  result.coords.reserve(spline.coords.size());
  for (int i = spline.count() - 1; i >= 0; --i)
    result.coords.insert(result.coords.end(), row(spline, i), row(spline, i) + spline.dim);
  return result;
}

}  // namespace trova::foundation::nurbs
