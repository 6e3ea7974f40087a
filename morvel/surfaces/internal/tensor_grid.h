#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "morvel/surfaces/internal/tensor_evaluate.h"

// Tensor-product evaluation at every (us[a], vs[b]), u outer: each direction's basis is taken once
// per parameter, and the sums over u once per us[a]. The operations on every number are those of
// `tensorPoint`, and so are the bits.
//
// Results go to a sink, up to four points at a time:
//   sink(a, b, size, results)   points (a, b) .. (a, b + size - 1), results[point][result] a pack

namespace trova::geometry::internal {

/// The basis tables of one direction at many parameters, `width` packs or doubles of each order.
template <int Order>
class BasisTables {
 public:
  BasisTables(const foundation::nurbs::SplineBasis& basis, std::span<const double> parameters)
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

/// As `contractRows`, of four rows.
template <int Order>
[[gnu::always_inline]] inline void contractCubicGridRows(const double* rows, std::size_t stride,
                                                         const double* table, double* sums) {
  for (int k = 0; k <= Order; ++k, table += kCubicWidth, sums += stride) {
    for (std::size_t x = 0; x < stride; ++x) {
      double sum = table[0] * rows[x];
      sum += table[1] * rows[stride + x];
      sum += table[2] * rows[2 * stride + x];
      sum += table[3] * rows[3 * stride + x];
      sums[x] = sum;
    }
  }
}

/// One row of a grid, cubic in v, from its sums over u; a double behind the sums is read too.
template <int Dim, int Order, class Sink>
[[gnu::always_inline]] inline void cubicGridRow(const double* sums, std::size_t stride,
                                                const BasisTables<Order>& inV, int a,
                                                const Sink& sink) {
  Quad results[kQuad][derivativeCount(Order)] = {};
  for (int b = 0; b < inV.count(); b += kQuad) {
    const int size = std::min(kQuad, inV.count() - b);
    for (int point = 0; point < size; ++point) {
      const double* columns = sums + std::size_t(inV.first(b + point)) * Dim;
      Quad points[Order + 1][kCubicWidth], rows[Order + 1];
      for (int k = 0; k <= Order; ++k) {
        foundation::load(inV.table(b + point) + k * kCubicWidth, rows[k]);
        for (int j = 0; j < kCubicWidth; ++j)
          foundation::load(columns + k * stride + j * Dim, points[k][j]);
      }
      contractCubicColumns<Order>(points, rows, results[point]);
    }
    sink(a, b, size, results);
  }
}

/// The same for any degree.
template <int Dim, int Order, class Sink>
void gridRow(const double* sums, std::size_t stride, const BasisTables<Order>& inV, int widthV,
             int a, const Sink& sink) {
  constexpr int kResults = derivativeCount(Order);
  Quad results[kQuad][kResults] = {};
  for (int b = 0; b < inV.count(); b += kQuad) {
    const int size = std::min(kQuad, inV.count() - b);
    for (int point = 0; point < size; ++point) {
      double flat[Dim * kResults + 1] = {};
      contractAllColumns<Dim, Order>(sums + std::size_t(inV.first(b + point)) * Dim, stride, widthV,
                                     inV.table(b + point), flat);
      for (int r = 0; r < kResults; ++r)
        foundation::load(flat + r * Dim, results[point][r]);
    }
    sink(a, b, size, results);
  }
}

template <int Dim, int Order, class Sink>
[[gnu::always_inline]] inline void cubicGrid(const double* net, std::size_t stride,
                                             const BasisTables<Order>& inU,
                                             const BasisTables<Order>& inV, double* sums,
                                             const Sink& sink) {
  for (int a = 0; a < inU.count(); ++a) {
    contractCubicGridRows<Order>(net + inU.first(a) * stride, stride, inU.table(a), sums);
    cubicGridRow<Dim, Order>(sums, stride, inV, a, sink);
  }
}

template <int Dim, int Order, class Sink>
MORVEL_WIDE void wideCubicGrid(const double* net, std::size_t stride, const BasisTables<Order>& inU,
                               const BasisTables<Order>& inV, double* sums, const Sink& sink) {
  cubicGrid<Dim, Order>(net, stride, inU, inV, sums, sink);
}

/// The whole grid.
template <int Dim, int Order, class Sink>
void tensorGridGroups(const double* net, const foundation::nurbs::SplineBasis& basisU,
                      const foundation::nurbs::SplineBasis& basisV, std::span<const double> us,
                      std::span<const double> vs, const Sink& sink) {
  using foundation::nurbs::kCubicDegree;
  const BasisTables<Order> inU(basisU, us);
  const BasisTables<Order> inV(basisV, vs);
  const std::size_t stride = std::size_t(basisV.count()) * Dim;
  std::vector<double> sums(stride * (Order + 1) + 1);
  const bool isCubic = basisU.degree() == kCubicDegree && basisV.degree() == kCubicDegree;
  if (isCubic && foundation::usesWideRegisters)
    return wideCubicGrid<Dim, Order>(net, stride, inU, inV, sums.data(), sink);
  if (isCubic) return cubicGrid<Dim, Order>(net, stride, inU, inV, sums.data(), sink);
  for (int a = 0; a < inU.count(); ++a) {
    contractRows<Order>(net + inU.first(a) * stride, stride, basisU.degree() + 1, inU.table(a),
                        int(stride), sums.data());
    gridRow<Dim, Order>(sums.data(), stride, inV, basisV.degree() + 1, a, sink);
  }
}

/// The whole grid; calls `visit(a, b, results)` for every point, the results as of `tensorPoint`.
template <int Dim, int Order, class Visit>
void tensorGrid(const double* net, const foundation::nurbs::SplineBasis& basisU,
                const foundation::nurbs::SplineBasis& basisV, std::span<const double> us,
                std::span<const double> vs, Visit visit) {
  constexpr int kResults = derivativeCount(Order);
  const auto each = [&](int a, int b, int size, const Quad(*results)[kResults]) {
    for (int point = 0; point < size; ++point) {
      double flat[Dim * kResults];
      for (int r = 0; r < kResults; ++r)
        foundation::store<Dim>(results[point][r], flat + r * Dim);
      visit(a, b + point, static_cast<const double*>(flat));
    }
  };
  tensorGridGroups<Dim, Order>(net, basisU, basisV, us, vs, each);
}

}  // namespace trova::geometry::internal
