#pragma once

#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/curves/internal/adaptive_simpson.h"

namespace trova::geometry::internal {

inline constexpr double kArcLengthTolerance = 1e-8;  // model units
inline constexpr int kArcLengthRecursionLimit = 1000;

/// The length of the curve between two parameters, u0 <= u1, which may lie outside its interval.
inline double speedIntegral(const Curve& curve, double u0, double u1, double tolerance,
                            int panels) {
  const auto speed = [&curve](double t) {
    const std::vector<Vector3D> derivatives = curve.evaluateDerivatives(t, 1);
    return derivatives.size() > 1 ? derivatives[1].magnitude() : 0.0;
  };
  return adaptiveSimpson(speed, u0, u1, tolerance, kArcLengthRecursionLimit, panels);
}

}  // namespace trova::geometry::internal
