#pragma once

#include <Eigen/Core>

#include "morvel/nsided/internal/thin_plate_kernel.h"
#include "morvel/nsided/internal/thin_plate_system.h"
#include "morvel/nsided/rbf_thin_plate_spline.h"

namespace trova::geometry {

/// What a fit leaves behind: shared by copies of the spline.
struct RBFThinPlateSpline::Fitted {
  Fitted(const std::vector<foundation::Point2D>& centers, const Eigen::VectorXd& solution,
         double conditionNumber)
      : sum(centers, solution), condition(conditionNumber) {
    const auto count = static_cast<Eigen::Index>(centers.size());
    for (Eigen::Index k = count; k < solution.size(); ++k)
      polynomial[k - count] = solution[k];
  }

  internal::ThinPlateSums at(double u, double v, int order) const {
    internal::ThinPlateSums sums = sum.at(u, v, order);
    const auto& p = polynomial;
    sums.value += p[0] + u * (p[1] + u * p[3] + v * p[4]) + v * (p[2] + v * p[5]);
    if (order >= 1) {
      sums.u += p[1] + 2.0 * p[3] * u + p[4] * v;
      sums.v += p[2] + p[4] * u + 2.0 * p[5] * v;
    }
    if (order >= 2) {
      sums.uu += 2.0 * p[3];
      sums.uv += p[4];
      sums.vv += 2.0 * p[5];
    }
    return sums;
  }

  internal::ThinPlateSum sum;
  std::array<double, internal::kQuadraticTerms> polynomial{};
  double condition;
};

}  // namespace trova::geometry
