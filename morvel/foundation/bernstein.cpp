#include "morvel/foundation/bernstein.h"

#include <algorithm>
#include <cmath>

#include "morvel/foundation/scratch_buffer.h"
#include "morvel/foundation/tolerances.h"

namespace trova::foundation::nurbs {
namespace {

bool isAtStart(double t) { return std::abs(t) < kKnotTolerance; }
bool isAtEnd(double t) { return std::abs(t - 1.0) < kKnotTolerance; }

// For degrees whose binomial coefficients overflow (above 1029); 0 < t < 1.
double bernsteinByLogarithms(double i, double n, double t) {
  const double logCoefficient = std::lgamma(n + 1) - std::lgamma(i + 1) - std::lgamma(n - i + 1);
  return std::exp(logCoefficient + i * std::log(t) + (n - i) * std::log1p(-t));
}

}  // namespace

double evaluateBernsteinBasis(int i, int n, double t) {
  if (i < 0 || i > n) return 0.0;
  if (isAtStart(t)) return i == 0 ? 1.0 : 0.0;
  if (isAtEnd(t)) return i == n ? 1.0 : 0.0;
  double coefficient = 1.0;
  for (int j = 1; j <= i && std::isfinite(coefficient); ++j)
    coefficient *= (double(n) - j + 1) / j;
  if (!std::isfinite(coefficient) && t > 0 && t < 1) return bernsteinByLogarithms(i, n, t);
  return coefficient * std::pow(t, i) * std::pow(1.0 - t, n - i);
}

void evaluateAllBernsteinBasis(int n, double t, std::vector<double>& out) {
  out.resize(n < 0 ? 0 : std::size_t(n) + 1);
  if (n >= 0) bernsteinValues(n, t, out.data());
}

void bernsteinValues(int n, double t, double* out) {
  if (isAtStart(t) || isAtEnd(t)) {
    std::fill_n(out, std::size_t(n) + 1, 0.0);
    out[isAtStart(t) ? 0 : n] = 1.0;
    return;
  }
  out[0] = 1.0;
  for (int j = 1; j <= n; ++j) {
    double saved = 0.0;
    for (int r = 0; r < j; ++r) {
      const double temp = out[r];
      out[r] = saved + (1.0 - t) * temp;
      saved = t * temp;
    }
    out[j] = saved;
  }
}

Point3D deCasteljauEvaluation(const std::vector<Point3D>& points, double t) {
  if (points.empty()) return Point3D::origin();
  if (points.size() == 1 || isAtStart(t)) return points.front();
  if (isAtEnd(t)) return points.back();
  ScratchBuffer<Point3D, kMaxStackDegree + 1> level(points.size());
  std::copy(points.begin(), points.end(), level.data());
  for (std::size_t remaining = points.size() - 1; remaining > 0; --remaining) {
    for (std::size_t j = 0; j < remaining; ++j)
      level[j] = Point3D(Eigen::Vector3d((1.0 - t) * level[j].eigen() + t * level[j + 1].eigen()));
  }
  return level[0];
}

}  // namespace trova::foundation::nurbs
