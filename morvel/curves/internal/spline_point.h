#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <type_traits>

#include "morvel/foundation/point.h"
#include "morvel/foundation/scratch_buffer.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/tolerances.h"

// The inner functions of spline evaluation. Single and batch calls go through them, so that they
// give the same bits. A row is a control point: Point3D, or a homogeneous point of four
// coordinates.

namespace trova::geometry::internal {

inline constexpr std::size_t kStackValues = foundation::kMaxStackDegree + 1;

/// Room for the basis values of one parameter.
using BasisValues = foundation::ScratchBuffer<double, kStackValues>;

inline const Eigen::Vector3d& coordinates(const foundation::Point3D& point) {
  return point.eigen();
}

template <class Row>
const Row& coordinates(const Row& row) {
  return row;
}

/// values[0] rows[0] + ... + values[count - 1] rows[count - 1], summed in this order; count >= 1.
/// `Count` is int, or a constant that lets the compiler unroll.
template <class Row, class Count>
auto combination(const double* values, const Row* rows, Count count) {
  using Sum = std::remove_cvref_t<decltype(coordinates(*rows))>;
  Sum sum = values[0] * coordinates(rows[0]);
  for (int r = 1; r < count; ++r)
    sum += values[r] * coordinates(rows[r]);
  return sum;
}

/// The spline's value at u. The basis is usable and its count is that of the rows; `values` has
/// room for degree + 1.
template <class Row>
auto splinePoint(const foundation::nurbs::SplineBasis& basis, const Row* rows, double u,
                 double* values) {
  const int span = basis.span(u);
  basis.values(u, span, values);
  using foundation::nurbs::kCubicDegree;
  using CubicWidth = std::integral_constant<int, foundation::nurbs::kCubicWidth>;
  if (basis.degree() == kCubicDegree)
    return combination(values, rows + (span - kCubicDegree), CubicWidth());
  return combination(values, rows + (span - basis.degree()), basis.degree() + 1);
}

}  // namespace trova::geometry::internal
