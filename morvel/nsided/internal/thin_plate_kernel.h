#pragma once

#include <Eigen/Core>
#include <cstddef>
#include <vector>

#include "morvel/foundation/point.h"

// The thin-plate kernel phi(r) = r^2 ln r and its sums over many centres. All three of phi, phi'
// and phi'' count as 0 for r < kSmallestRadius.
//
// The logarithm is a series of our own, so that it runs four centres at a time and gives the same
// bits on every machine: those of wide registers are the same (wide_registers.h).

namespace trova::geometry::internal {

inline constexpr double kSmallestRadius = 1e-15;

/// The sums and what they are made of; members above the order asked for stay 0.
struct ThinPlateSums {
  double value = 0.0;
  double u = 0.0;
  double v = 0.0;
  double uu = 0.0;
  double uv = 0.0;
  double vv = 0.0;
};

/// Centres with their weights, in columns whose length is a multiple of four; the surplus has
/// weight 0.
class ThinPlateSum {
 public:
  ThinPlateSum() = default;
  ThinPlateSum(const std::vector<foundation::Point2D>& centers, const Eigen::VectorXd& weights);

  bool isEmpty() const { return u_.empty(); }

  /// sum over j of w_j phi(|(u, v) - c_j|), and its derivatives up to order 0, 1 or 2.
  ThinPlateSums at(double u, double v, int order) const;

 private:
  std::vector<double> u_;
  std::vector<double> v_;
  std::vector<double> weights_;
};

/// phi(|c_i - c_j|) for all i and j; symmetric, with a diagonal of 0.
Eigen::MatrixXd thinPlateMatrix(const std::vector<foundation::Point2D>& centers);

/// phi and its derivatives at one offset (du, dv) from a centre.
ThinPlateSums thinPlateAt(double du, double dv);

}  // namespace trova::geometry::internal
