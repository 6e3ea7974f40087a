#include "morvel/blend/internal/uniform_interpolation.h"

#include <algorithm>
#include <cstddef>

#include "morvel/foundation/nurbs_basis.h"

namespace trova::geometry::blend::internal {

namespace nurbs = foundation::nurbs;

// The collocation matrix is totally positive: elimination needs no pivoting (de Boor and Pinkus,
// Backward error analysis for totally positive linear systems, 1977).
UniformInterpolation::UniformInterpolation(int count, int degree)
    : count_(count), degree_(degree), parameters_(std::size_t(count)) {
  const std::vector<double> knots = nurbs::generateUniformKnotVector(degree, count);
  const int width = 2 * degree + 1;
  band_.assign(std::size_t(count) * std::size_t(width), 0.0);
  const auto entry = [&](int i, int j) -> double& {
    return band_[std::size_t(i) * std::size_t(width) + std::size_t(j - i + degree)];
  };
  for (int i = 0; i < count; ++i) {
    double sum = 0.0;
    for (int k = 1; k <= degree; ++k)
      sum += knots[std::size_t(i) + std::size_t(k)];
    const double t = i == 0 ? 0.0 : i == count - 1 ? 1.0 : sum / degree;
    parameters_[std::size_t(i)] = t;
    const int span = nurbs::findKnotSpan(degree, t, knots);
    std::vector<double> basis(std::size_t(degree) + 1, 0.0);
    nurbs::evaluateAllBasisFunctions(degree, t, knots, span, basis);
    for (int r = 0; r <= degree; ++r) {
      const int j = span - degree + r;
      if (j >= i - degree && j <= i + degree) entry(i, j) = basis[std::size_t(r)];
    }
  }
  for (int k = 0; k < count; ++k)
    for (int i = k + 1; i <= std::min(k + degree, count - 1); ++i) {
      const double factor = entry(i, k) /= entry(k, k);
      for (int j = k + 1; j <= std::min(k + degree, count - 1); ++j)
        entry(i, j) -= factor * entry(k, j);
    }
}

void UniformInterpolation::solve(double* rows, int width) const {
  const auto entry = [&](int i, int j) {
    return band_[std::size_t(i) * std::size_t(2 * degree_ + 1) + std::size_t(j - i + degree_)];
  };
  const auto row = [&](int i) { return rows + std::ptrdiff_t(i) * width; };
  for (int i = 0; i < count_; ++i)
    for (int j = std::max(0, i - degree_); j < i; ++j)
      for (int c = 0; c < width; ++c)
        row(i)[c] -= entry(i, j) * row(j)[c];
  for (int i = count_ - 1; i >= 0; --i) {
    for (int j = i + 1; j <= std::min(i + degree_, count_ - 1); ++j)
      for (int c = 0; c < width; ++c)
        row(i)[c] -= entry(i, j) * row(j)[c];
    for (int c = 0; c < width; ++c)
      row(i)[c] /= entry(i, i);
  }
}

}  // namespace trova::geometry::blend::internal
