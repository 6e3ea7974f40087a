#pragma once

#include <algorithm>

#include "morvel/curves/internal/spline_point.h"
#include "morvel/foundation/nurbs_basis.h"

namespace trova::geometry::internal {

/// The k-th derivative at u by the definition of the basis functions, over the indices that have a
/// knot stretch and a row: for curves whose knots and points do not fit together. Zero for none.
template <class Row>
auto definitionPoint(const foundation::nurbs::SplineBasis& basis, const Row* rows,
                     std::size_t rowCount, double u, int k) {
  using Sum = std::remove_cvref_t<decltype(coordinates(*rows))>;
  Sum sum = Sum::Zero();
  const int count = static_cast<int>(std::min(rowCount, static_cast<std::size_t>(basis.count())));
  for (int i = 0; i < count; ++i)
    sum += foundation::nurbs::evaluateBasisDerivative(i, basis.degree(), u, basis.knots(), k) *
           coordinates(rows[i]);
  return sum;
}

}  // namespace trova::geometry::internal
