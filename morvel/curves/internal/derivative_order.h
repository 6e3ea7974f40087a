#pragma once

#include <stdexcept>
#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry::internal {

/// Zero vectors for the point and the derivatives up to `order`; none for a negative order.
/// @throws std::invalid_argument for an order above kMaxDerivativeOrder
inline std::vector<Vector3D> zeroDerivatives(int order) {
  if (order > kMaxDerivativeOrder) throw std::invalid_argument("Derivative order out of range");
  return std::vector<Vector3D>(order < 0 ? 0 : static_cast<std::size_t>(order) + 1);
}

}  // namespace trova::geometry::internal
