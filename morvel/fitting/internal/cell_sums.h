#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "morvel/foundation/spline_basis.h"

// Sums over the points of one knot cell. On a cell each basis function is a polynomial in Bernstein
// form, and the product of two of them one of twice the degree. So the (p + 1)(p + 2) / 2 products
// of a direction are combinations of 2p + 1 Bernstein polynomials, with weights that are not
// negative: it is enough to sum these, four points at a time, and to combine the sums once a cell.

namespace trova::geometry::internal {

/// A point with its parameters.
struct FitSample {
  double u;
  double v;
  double point[3];
};

/// How the basis functions of one direction are made of Bernstein polynomials on one span.
struct SpanForm {
  SpanForm() = default;
  SpanForm(const foundation::nurbs::SplineBasis& basis, int span);

  double start = 0.0;
  double end = 1.0;
  double scale = 1.0;
  /// N(span - p + r) = sum over c of functions(r, c) x^c y^(p - c), x and y being the distances
  /// from either end over the length of the span.
  Eigen::MatrixXd functions;
  /// The same for N(span - p + r) N(span - p + r'), r' <= r, in row pairIndex(r, r').
  Eigen::MatrixXd products;

  static Eigen::Index pairIndex(int r, int s) {
    const Eigen::Index high = r > s ? r : s;
    return high * (high + 1) / 2 + (r > s ? s : r);
  }
};

class CellSums {
 public:
  CellSums(int degreeU, int degreeV);

  /// Forgets the sums before, and takes those of `count` samples, all in the cell of the two spans.
  void take(const FitSample* samples, std::ptrdiff_t count, const SpanForm& u, const SpanForm& v);

  /// The sum of N_r N_r' N_s N_s' at (pairIndex(r, r'), pairIndex(s, s')).
  const Eigen::MatrixXd& products() const { return products_; }
  /// The sum of N_r N_s times a coordinate at (r, s).
  const Eigen::MatrixXd& sides(int coordinate) const { return sides_[coordinate]; }

 private:
  int degreeU_;
  int degreeV_;
  std::vector<double> sums_;  // four lanes each: every fourth point
  Eigen::MatrixXd products_;
  Eigen::MatrixXd sides_[3];
};

}  // namespace trova::geometry::internal
