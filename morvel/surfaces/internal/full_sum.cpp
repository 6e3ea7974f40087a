#include "morvel/surfaces/internal/full_sum.h"

#include <algorithm>
#include <stdexcept>

#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/spline_rows.h"
#include "morvel/surfaces/internal/tensor_evaluate.h"

namespace trova::geometry::internal {
namespace {

// Adds the whole net, weighted by products of one row of values per direction.
void addWeighted(const double* net, int dim, const double* inU, int nU, const double* inV, int nV,
                 double* out) {
  for (int i = 0; i < nU; ++i) {
    for (int j = 0; j < nV; ++j, net += dim) {
      const double weight = inU[i] * inV[j];
      for (int d = 0; d < dim; ++d)
        out[d] += weight * net[d];
    }
  }
}

}  // namespace

// With no more points than the degree the knots are `count` zeros and degree + 1 ones: the
// functions are the last `count` of the Bezier basis of that degree.
std::vector<double> allUniformDerivatives(const NetDirection& direction, double t, int order) {
  const auto [count, degree] = direction;
  std::vector<double> rows((order + std::size_t(1)) * count);
  if (degree < 0) return rows;
  if (degree > foundation::nurbs::kMaxElevatedDegree)
    throw std::length_error("Degree too high for evaluation");
  const int whole = std::max(count, degree + 1);
  const auto basis = foundation::nurbs::SplineBasis::clampedUniform(whole, degree);
  const int span = basis.span(t);
  const std::size_t width = std::size_t(degree) + 1;
  std::vector<double> table((order + std::size_t(1)) * width);
  basis.derivatives(t, span, order, table.data());
  const int first = span - degree - (whole - count);
  const int skipped = std::max(0, -first);
  for (int k = 0; k <= order; ++k)
    std::copy_n(table.data() + k * width + skipped, width - skipped,
                rows.data() + std::size_t(k) * count + (first + skipped));
  return rows;
}

void fullSum(const double* net, int dim, const NetDirection& inU, const NetDirection& inV, double u,
             double v, int order, double* out) {
  const std::vector<double> rowsU = allUniformDerivatives(inU, u, order);
  const std::vector<double> rowsV = allUniformDerivatives(inV, v, order);
  std::fill_n(out, dim * derivativeCount(order), 0.0);
  for (int total = 0; total <= order; ++total) {
    for (int k = 0; k <= total; ++k, out += dim)
      addWeighted(net, dim, rowsU.data() + std::size_t(total - k) * inU.count, inU.count,
                  rowsV.data() + std::size_t(k) * inV.count, inV.count, out);
  }
}

}  // namespace trova::geometry::internal
