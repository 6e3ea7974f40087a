#include "morvel/foundation/knot_vector.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/tolerances.h"

namespace trova::foundation::nurbs {

int findKnotSpan(int p, double u, const std::vector<double>& U) {
  const std::int64_t n = std::int64_t(U.size()) - p - 1;
  if (p < 0 || n < 1) throw std::invalid_argument("Too few knots for a span search");
  if (u >= U[n]) return int(n - 1);
  if (u <= U[p]) return p;
  std::int64_t low = p, high = n;
  while (high - low > 1) {
    const std::int64_t mid = (low + high) / 2;
    (u < U[mid] ? high : low) = mid;
  }
  return int(low);
}

std::vector<double> generateUniformKnotVector(int p, int numControlPoints) {
  if (p < 0 || numControlPoints <= p)
    throw std::invalid_argument("Invalid degree or control point count for knot vector generation");
  return clampedUniformKnots(numControlPoints, p);
}

std::vector<double> clampedUniformKnots(int numControlPoints, int p) {
  if (numControlPoints < 0 || p < 0) return {};
  const std::int64_t n = numControlPoints;
  std::vector<double> U(checkedCount({knotCountFor(n, p)}), 0.0);
  const std::int64_t segments = n - p;
  for (std::int64_t k = 1; k < segments; ++k)
    U[p + k] = double(k) / double(segments);
  std::fill(U.begin() + n, U.end(), 1.0);
  return U;
}

bool validateKnotVector(const std::vector<double>& U, int p, int numControlPoints) {
  if (std::int64_t(U.size()) != knotCountFor(numControlPoints, p)) return false;
  if (!isNonDecreasing(U)) return false;
  std::int64_t run = 0;
  for (std::size_t i = 0; i < U.size(); ++i) {
    const bool sameAsBefore = i > 0 && U[i] - U[i - 1] < kKnotTolerance;
    run = sameAsBefore ? run + 1 : 1;
    if (run > std::int64_t(p) + 1) return false;
  }
  return true;
}

bool isNonDecreasing(const std::vector<double>& U) {
  const bool finite =
      std::all_of(U.begin(), U.end(), [](double knot) { return std::isfinite(knot); });
  return finite && std::is_sorted(U.begin(), U.end());
}

void normalizeKnotVector(std::vector<double>& U) {
  if (U.empty()) return;
  const double first = U.front();
  const double length = U.back() - first;
  const bool isPoint = std::abs(length) < kKnotTolerance;
  for (double& knot : U)
    knot = isPoint ? 0.0 : (knot - first) / length;
}

std::pair<double, double> getDomainFromKnotVector(const std::vector<double>& U) {
  if (U.empty()) return {0.0, 1.0};
  return {U.front(), U.back()};
}

bool isWithinDomain(double u, const std::vector<double>& U, double tolerance) {
  return !U.empty() && u >= U.front() - tolerance && u <= U.back() + tolerance;
}

bool isAtDomainBoundary(double u, const std::vector<double>& U, double tolerance) {
  return !U.empty() && (std::abs(u - U.front()) < tolerance || std::abs(u - U.back()) < tolerance);
}

std::vector<double> reversedKnots(const std::vector<double>& U) {
  if (U.empty()) return {};
  const double ends = U.front() + U.back();
  std::vector<double> reversed(U.rbegin(), U.rend());
  for (double& knot : reversed)
    knot = ends - knot;
  return reversed;
}

int knotMultiplicity(double u, const std::vector<double>& U, double tolerance) {
  return int(std::count_if(U.begin(), U.end(),
                           [&](double knot) { return std::abs(knot - u) < tolerance; }));
}

double insertionCoefficient(double u, const std::vector<double>& U, int i, int p) {
  const double difference = U[i + p] - U[i];
  return difference == 0 ? 0.0 : (u - U[i]) / difference;
}

}  // namespace trova::foundation::nurbs
