#pragma once

#include <algorithm>
#include <cmath>
#include <span>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include "morvel/foundation/spline_basis.h"
#include "morvel/surfaces/internal/group_results.h"
#include "morvel/surfaces/internal/tensor_evaluate.h"
#include "morvel/surfaces/internal/unit_normal.h"
#include "morvel/surfaces/surface_batch.h"

// From the results of an evaluation to the layout of a batch (surface_batch.h).

namespace trova::geometry::internal {

/// work(order as a constant). @throws std::invalid_argument for an order outside 0 .. 2
template <class Work>
void withConstantOrder(int order, Work&& work) {
  switch (order) {
    case 0:
      return work(std::integral_constant<int, 0>());
    case 1:
      return work(std::integral_constant<int, 1>());
    case 2:
      return work(std::integral_constant<int, 2>());
    default:
      throw std::invalid_argument("Order must be 0, 1 or 2");
  }
}

inline bool areNumbers(std::span<const double> values) {
  return std::none_of(values.begin(), values.end(), [](double t) { return std::isnan(t); });
}

inline std::vector<double> clampedToUnit(std::span<const double> values) {
  std::vector<double> clamped(values.size());
  std::transform(values.begin(), values.end(), clamped.begin(),
                 [](double t) { return clampedToUnit(t); });
  return clamped;
}

/// The results of `tensorPoint` with Dim = 3, and their normal.
template <int Order>
inline void writeResults(const double* results, double* out) {
  std::copy_n(results, Order == 0 ? 3 : kNormalOffset, out);
  if constexpr (Order > 0) {
    const foundation::Vector3D normal = evaluationNormal({results[3], results[4], results[5]},
                                                         {results[6], results[7], results[8]});
    for (int axis = 0; axis < 3; ++axis)
      out[kNormalOffset + axis] = normal[axis];
  }
  if constexpr (Order > 1)
    std::copy_n(results + kNormalOffset, batchWidth(2) - kSecondOffset, out + kSecondOffset);
}

inline void writeEvaluation(const SurfaceEvaluation& at, int order, double* out) {
  const auto write = [&](const auto& triple) {
    for (int axis = 0; axis < 3; ++axis)
      *out++ = triple[axis];
  };
  write(at.point);
  if (order == 0) return;
  write(at.Su);
  write(at.Sv);
  write(at.normal);
  if (order == 1) return;
  write(at.Suu);
  write(at.Suv);
  write(at.Svv);
}

}  // namespace trova::geometry::internal
