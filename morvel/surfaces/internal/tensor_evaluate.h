#pragma once

#include <Eigen/Core>
#include <algorithm>
#include <cstddef>
#include <vector>

#include "morvel/foundation/scratch_buffer.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/tolerances.h"
#include "morvel/surfaces/internal/bicubic_evaluate.h"

// The inner functions of every tensor-product evaluation, polynomial (Dim = 3: x, y, z) and
// rational (Dim = 4: wx, wy, wz, w), on any pair of bases. They sum only the non-zero products, u
// first and then v.
//
// A net is nU rows of nV points of Dim doubles, u outer. Results stand one behind the other, Dim
// doubles each: S; from order 1 on Su, Sv; at order 2 Suu, Suv, Svv.

namespace trova::geometry::internal {

/// Room for `Rows` basis or partial-sum rows of `width` entries of `Size` doubles, not initialised:
/// on the stack for degrees up to 29, else on the heap.
template <int Rows, int Size = 1>
class Table {
 public:
  explicit Table(int width) : buffer_(std::size_t(width) * Rows * Size) {}
  double* data() { return buffer_.data(); }

 private:
  foundation::ScratchBuffer<double, std::size_t(Rows) * Size*(foundation::kMaxStackDegree + 1)>
      buffer_;
};

/// t brought into [0, 1], without a branch; t is a number.
inline double clampedToUnit(double t) { return std::min(std::max(t, 0.0), 1.0); }

/// Fills `table` with the rows 0 .. Order of the non-zero basis functions at t and answers the
/// index of the first one.
template <int Order>
inline int basisTable(const foundation::nurbs::SplineBasis& basis, double t, double* table) {
  const int span = basis.span(t);
  if constexpr (Order == 0)
    basis.values(t, span, table);
  else
    basis.derivatives(t, span, Order, table);
  return span - basis.degree();
}

/// Sums over u: sums[k * length + x] = sum over i of table[k][i] * rows[i * stride + x].
template <int Order>
inline void contractRows(const double* rows, std::size_t stride, int width, const double* table,
                         int length, double* sums) {
  for (int k = 0; k <= Order; ++k) {
    const double* basis = table + k * width;
    Eigen::Map<Eigen::ArrayXd> out(sums + k * std::ptrdiff_t(length), length);
    out = basis[0] * Eigen::Map<const Eigen::ArrayXd>(rows, length);
    for (int i = 1; i < width; ++i)
      out += basis[i] * Eigen::Map<const Eigen::ArrayXd>(rows + i * stride, length);
  }
}

/// out[d] = sum over j of basis[j] * columns[j * Dim + d].
template <int Dim>
inline void contractColumns(const double* columns, int width, const double* basis, double* out) {
  using Point = Eigen::Array<double, Dim, 1>;
  Point sum = basis[0] * Eigen::Map<const Point>(columns);
  for (int j = 1; j < width; ++j)
    sum += basis[j] * Eigen::Map<const Point>(columns + j * Dim);
  Eigen::Map<Point> result(out);
  result = sum;
}

/// Sums over v, every derivative in the order stated above. Row k of the partial sums begins at
/// sums + k * stride.
template <int Dim, int Order>
inline void contractAllColumns(const double* sums, std::size_t stride, int width,
                               const double* table, double* out) {
  int result = 0;
  for (int total = 0; total <= Order; ++total) {
    for (int inV = 0; inV <= total; ++inV, ++result)
      contractColumns<Dim>(sums + (total - inV) * stride, width, table + inV * width,
                           out + result * Dim);
  }
}

/// Kept apart, so that the bicubic case does not carry the tables of all others.
template <int Dim, int Order>
[[gnu::noinline]] void tensorPointOfAnyDegree(const double* net,
                                              const foundation::nurbs::SplineBasis& basisU,
                                              const foundation::nurbs::SplineBasis& basisV,
                                              double u, double v, double* out) {
  const int widthU = basisU.degree() + 1;
  const int widthV = basisV.degree() + 1;
  Table<Order + 1> tableU(widthU);
  Table<Order + 1> tableV(widthV);
  const int firstU = basisTable<Order>(basisU, u, tableU.data());
  const int firstV = basisTable<Order>(basisV, v, tableV.data());
  Table<Order + 1, Dim> sums(widthV);
  const std::size_t stride = std::size_t(basisV.count()) * Dim;
  const double* corner = net + firstU * stride + std::size_t(firstV) * Dim;
  const int length = widthV * Dim;
  contractRows<Order>(corner, stride, widthU, tableU.data(), length, sums.data());
  contractAllColumns<Dim, Order>(sums.data(), length, widthV, tableV.data(), out);
}

/// One point and its derivatives up to `Order`. Both bases usable, their counts those of the net; u
/// and v are clamped by the caller.
template <int Dim, int Order>
inline void tensorPoint(const double* net, const foundation::nurbs::SplineBasis& basisU,
                        const foundation::nurbs::SplineBasis& basisV, double u, double v,
                        double* out) {
  using foundation::nurbs::kCubicDegree;
  if (basisU.degree() == kCubicDegree && basisV.degree() == kCubicDegree)
    bicubicPoint<Dim, Order>(net, basisU, basisV, u, v, out);
  else
    tensorPointOfAnyDegree<Dim, Order>(net, basisU, basisV, u, v, out);
}

}  // namespace trova::geometry::internal
