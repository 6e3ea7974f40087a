#pragma once

#include <Eigen/Core>
#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <vector>

#include "morvel/foundation/scratch_buffer.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/tolerances.h"

// The inner functions of every tensor-product evaluation: of one point and of grids, polynomial
// (Dim = 3: x, y, z) and rational (Dim = 4: wx, wy, wz, w), on any pair of bases. They sum only the
// non-zero products, u first and then v; a grid runs the same operations on the same numbers as a
// single point and so gives the same bits.
//
// A net is nU rows of nV points of Dim doubles, u outer. Results stand one behind the other, Dim
// doubles each: S; from order 1 on Su, Sv; at order 2 Suu, Suv, Svv.

namespace trova::geometry::internal {

/// How many results an evaluation of this order gives.
constexpr int derivativeCount(int order) { return (order + 1) * (order + 2) / 2; }

/// Degree + 1 as a number or, where loops are to be unrolled, as a constant.
using CubicWidth = std::integral_constant<int, 4>;

/// Room for `Rows` basis or partial-sum rows of `width` entries of `Size` doubles, not initialised:
/// on the stack for a constant width and for degrees up to 29, else on the heap.
template <class Width, int Rows, int Size = 1>
class Table {
 public:
  explicit Table(int width) : buffer_(std::size_t(width) * Rows * Size) {}
  double* data() { return buffer_.data(); }

 private:
  foundation::ScratchBuffer<double, std::size_t(Rows) * Size*(foundation::kMaxStackDegree + 1)>
      buffer_;
};

template <int Count, int Rows, int Size>
class Table<std::integral_constant<int, Count>, Rows, Size> {
 public:
  explicit Table(int) {}
  double* data() { return values_; }

 private:
  double values_[std::size_t(Count) * Rows * Size];
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

/// `length` doubles side by side, as operands of whole-row arithmetic: Eigen keeps rows of constant
/// length in wide registers, where the compiler's own choice is poor.
template <class Length>
struct RowsOf {
  using Row = Eigen::ArrayXd;
};
template <int Count>
struct RowsOf<std::integral_constant<int, Count>> {
  using Row = Eigen::Array<double, Count, 1>;
};

/// Sums over u: sums[k * length + x] = sum over i of table[k][i] * rows[i * stride + x].
template <int Order, class Width, class Length>
inline void contractRows(const double* rows, std::size_t stride, Width width, const double* table,
                         Length length, double* sums) {
  using Row = typename RowsOf<Length>::Row;
  for (int k = 0; k <= Order; ++k) {
    const double* basis = table + k * width;
    Eigen::Map<Row> out(sums + k * std::ptrdiff_t(length), length);
    if constexpr (std::is_same_v<Length, int>) {
      out = basis[0] * Eigen::Map<const Row>(rows, length);
      for (int i = 1; i < width; ++i)
        out += basis[i] * Eigen::Map<const Row>(rows + i * stride, length);
    } else {
      Row sum = basis[0] * Eigen::Map<const Row>(rows);
      for (int i = 1; i < width; ++i)
        sum += basis[i] * Eigen::Map<const Row>(rows + i * stride);
      out = sum;
    }
  }
}

/// out[d] = sum over j of basis[j] * columns[j * Dim + d].
template <int Dim, class Width>
inline void contractColumns(const double* columns, Width width, const double* basis, double* out) {
  using Point = Eigen::Array<double, Dim, 1>;
  Point sum = basis[0] * Eigen::Map<const Point>(columns);
  for (int j = 1; j < width; ++j)
    sum += basis[j] * Eigen::Map<const Point>(columns + j * Dim);
  Eigen::Map<Point> result(out);
  result = sum;
}

/// Sums over v, every derivative in the order stated above. Row k of the partial sums begins at
/// sums + k * stride.
template <int Dim, int Order, class Width>
inline void contractAllColumns(const double* sums, std::size_t stride, Width width,
                               const double* table, double* out) {
  int result = 0;
  for (int total = 0; total <= Order; ++total) {
    for (int inV = 0; inV <= total; ++inV, ++result)
      contractColumns<Dim>(sums + (total - inV) * stride, width, table + inV * width,
                           out + result * Dim);
  }
}

template <int Dim, int Order, class Width>
inline void tensorPointOf(const double* net, int nV, const foundation::nurbs::SplineBasis& basisU,
                          const foundation::nurbs::SplineBasis& basisV, double u, double v,
                          Width widthU, Width widthV, double* out) {
  Table<Width, Order + 1> tableU(widthU);
  Table<Width, Order + 1> tableV(widthV);
  const int firstU = basisTable<Order>(basisU, u, tableU.data());
  const int firstV = basisTable<Order>(basisV, v, tableV.data());
  Table<Width, Order + 1, Dim> sums(widthV);
  const std::size_t stride = std::size_t(nV) * Dim;
  const double* corner = net + firstU * stride + std::size_t(firstV) * Dim;
  const auto length = [&] {
    if constexpr (std::is_same_v<Width, int>)
      return widthV * Dim;
    else
      return std::integral_constant<int, Width::value * Dim>();
  }();
  contractRows<Order>(corner, stride, widthU, tableU.data(), length, sums.data());
  contractAllColumns<Dim, Order>(sums.data(), length, widthV, tableV.data(), out);
}

/// Kept apart, so that the bicubic case does not carry the tables of all others.
template <int Dim, int Order>
[[gnu::noinline]] void tensorPointOfAnyDegree(const double* net,
                                              const foundation::nurbs::SplineBasis& basisU,
                                              const foundation::nurbs::SplineBasis& basisV,
                                              double u, double v, double* out) {
  tensorPointOf<Dim, Order>(net, basisV.count(), basisU, basisV, u, v, basisU.degree() + 1,
                            basisV.degree() + 1, out);
}

/// One point and its derivatives up to `Order`. Both bases usable, their counts those of the net; u
/// and v are clamped by the caller.
template <int Dim, int Order>
inline void tensorPoint(const double* net, const foundation::nurbs::SplineBasis& basisU,
                        const foundation::nurbs::SplineBasis& basisV, double u, double v,
                        double* out) {
  constexpr int kCubic = CubicWidth::value - 1;
  if (basisU.degree() == kCubic && basisV.degree() == kCubic)
    tensorPointOf<Dim, Order>(net, basisV.count(), basisU, basisV, u, v, CubicWidth(), CubicWidth(),
                              out);
  else
    tensorPointOfAnyDegree<Dim, Order>(net, basisU, basisV, u, v, out);
}

/// The basis tables of one direction at many parameters.
template <int Order>
class BasisTables {
 public:
  BasisTables(const foundation::nurbs::SplineBasis& basis, const std::vector<double>& parameters)
      : size_((std::size_t(basis.degree()) + 1) * (Order + 1)),
        first_(parameters.size()),
        tables_(parameters.size() * size_) {
    for (std::size_t k = 0; k < parameters.size(); ++k)
      first_[k] = basisTable<Order>(basis, parameters[k], tables_.data() + k * size_);
  }

  int count() const { return static_cast<int>(first_.size()); }
  int first(int k) const { return first_[k]; }
  const double* table(int k) const { return tables_.data() + k * size_; }

 private:
  std::size_t size_;
  std::vector<int> first_;
  std::vector<double> tables_;
};

/// Every point (us[a], vs[b]), u outer; calls `visit(a, b, results)`. Each direction's basis is
/// taken once per parameter, and the sums over u once per us[a].
template <int Dim, int Order, class Visit>
void tensorGrid(const double* net, const foundation::nurbs::SplineBasis& basisU,
                const foundation::nurbs::SplineBasis& basisV, const std::vector<double>& us,
                const std::vector<double>& vs, Visit visit) {
  const BasisTables<Order> inU(basisU, us);
  const BasisTables<Order> inV(basisV, vs);
  const std::size_t stride = std::size_t(basisV.count()) * Dim;
  std::vector<double> sums(stride * (Order + 1));
  double results[Dim * derivativeCount(Order)];
  for (int a = 0; a < inU.count(); ++a) {
    contractRows<Order>(net + inU.first(a) * stride, stride, basisU.degree() + 1, inU.table(a),
                        int(stride), sums.data());
    for (int b = 0; b < inV.count(); ++b) {
      contractAllColumns<Dim, Order>(sums.data() + std::size_t(inV.first(b)) * Dim, stride,
                                     basisV.degree() + 1, inV.table(b), results);
      visit(a, b, static_cast<const double*>(results));
    }
  }
}

}  // namespace trova::geometry::internal
