#pragma once

#include <algorithm>
#include <span>
#include <stdexcept>

#include "morvel/curves/curve.h"
#include "morvel/curves/internal/spline_point.h"

// What evaluations of points with their derivatives share, one at a time and many.

namespace trova::geometry::internal {

/// Derivatives up to the third of a curve of degree 29 fit on the stack.
inline constexpr std::size_t kStackDerivativeRows = 4;
using BasisDerivatives = foundation::ScratchBuffer<double, kStackDerivativeRows * kStackValues>;

inline constexpr int kDoublesPerVector = 3;

template <class Triple>
void writeTriple(const Triple& value, double* out) {
  for (int axis = 0; axis < kDoublesPerVector; ++axis)
    out[axis] = value[axis];
}

/// visit(k, the k-th derivative of the sum) for k = 0 .. highest, which is at most the degree. The
/// basis is usable and its count is that of the rows; `table` has room for (highest + 1) (degree +
/// 1) values.
template <class Row, class Visit>
void splineDerivatives(const foundation::nurbs::SplineBasis& basis, const Row* rows, double u,
                       int highest, double* table, Visit visit) {
  const int span = basis.span(u);
  const int width = basis.degree() + 1;
  basis.derivatives(u, span, highest, table);
  for (int k = 0; k <= highest; ++k)
    visit(k, combination(table + std::ptrdiff_t(k) * width, rows + (span - basis.degree()), width));
}

inline void requireOrder(int order) {
  if (order < 0 || order > kMaxDerivativeOrder)
    throw std::invalid_argument("Derivative order out of range");
}

/// By the curve's virtual operations.
inline void evaluateOneByOne(const Curve& curve, std::span<const double> t, int order,
                             double* out) {
  requireOrder(order);
  for (const double u : t) {
    if (order == 0) {
      writeTriple(curve.evaluate(u), out);
      out += kDoublesPerVector;
      continue;
    }
    for (const Vector3D& derivative : curve.evaluateDerivatives(u, order)) {
      writeTriple(derivative, out);
      out += kDoublesPerVector;
    }
  }
}

}  // namespace trova::geometry::internal
