#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/spline_basis.h"

// Tensor-product basis functions and their derivatives at single parameters, kept once computed:
// what the constraints of a surface fit ask for again and again at the same few places. (Fits of
// many points accumulate their equations without it.)

namespace trova::geometry {

/// Where and what: parameters, and the order of the derivative in each direction.
struct MORVEL_API EvaluationKey {
  double u = 0.0;
  double v = 0.0;
  int derivative_u = 0;
  int derivative_v = 0;

  bool operator==(const EvaluationKey&) const = default;
};

struct MORVEL_API EvaluationKeyHash {
  std::size_t operator()(const EvaluationKey& key) const;
};

/// The non-zero values of one derivative of all tensor-product basis functions: the functions
/// (first_u + a, first_v + b), a < width_u, b < width_v, have values[b * width_u + a].
struct MORVEL_API TensorBasisValues {
  int first_u = 0;
  int first_v = 0;
  int width_u = 0;
  int width_v = 0;
  std::vector<double> values;

  /// visit(i, j, value) for each of them.
  template <class Visit>
  void forEach(Visit visit) const {
    for (int b = 0; b < width_v; ++b) {
      for (int a = 0; a < width_u; ++a)
        visit(first_u + a, first_v + b, values[static_cast<std::size_t>(b) * width_u + a]);
    }
  }
};

/// The flat index of control point (i, j) in the unknowns of a surface fit is j * n_u + i.
class MORVEL_API BasisDerivativeEvaluator {
 public:
  /// Each knot vector has more than 2 * degree + 1 knots, finite and never decreasing, with an
  /// interval of non-zero length.
  /// @throws std::invalid_argument "Invalid knot vector or degree: insufficient control points" for
  ///         a degree below 1 or too few knots; "Invalid U direction knot vector", "Invalid V
  ///         direction knot vector"
  BasisDerivativeEvaluator(std::vector<double> uKnots, std::vector<double> vKnots, int degreeU,
                           int degreeV);

  const foundation::nurbs::SplineBasis& uBasis() const { return u_; }
  const foundation::nurbs::SplineBasis& vBasis() const { return v_; }
  int control_point_count() const { return u_.count() * v_.count(); }

  /// Derivatives of order derivative_u in u and derivative_v in v, each 0 .. 2. The reference holds
  /// until the cache is trimmed or emptied. @throws std::invalid_argument for another order, or
  /// parameters that are not finite
  const TensorBasisValues& evaluate(double u, double v, int derivative_u, int derivative_v) const;
  /// The same for all control points, in the order of the unknowns.
  Eigen::VectorXd evaluate_all(double u, double v, int derivative_u, int derivative_v) const;

  std::size_t cache_size() const { return cache_.size(); }
  /// Drops the entries that were made first until at most `max_entries` are left.
  void cleanup_cache(std::size_t max_entries) const;
  void clear_cache() const { cache_.clear(); }

 private:
  struct Entry {
    TensorBasisValues values;
    std::uint64_t number = 0;  // counts the entries ever made
  };

  TensorBasisValues computed(const EvaluationKey& key) const;

  foundation::nurbs::SplineBasis u_;
  foundation::nurbs::SplineBasis v_;
  mutable std::uint64_t made_ = 0;
  mutable std::unordered_map<EvaluationKey, Entry, EvaluationKeyHash> cache_;
};

}  // namespace trova::geometry
