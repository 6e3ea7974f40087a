#pragma once

#include "morvel/surfaces/internal/bicubic_evaluate.h"
#include "morvel/surfaces/internal/unit_normal.h"
#include "morvel/surfaces/surface_batch.h"

// From the results of up to four points, a pack each, to their places.

namespace trova::geometry::internal {

/// Where the normal stands in a batch, and the second derivatives behind it.
inline constexpr int kNormalOffset = 9;
inline constexpr int kSecondOffset = 12;

/// The normals of four points by results[point][1] and results[point][2].
template <int Count>
[[gnu::always_inline]] inline void groupNormals(const NormalRule& rule,
                                                const Quad (*results)[Count], Quad* normals) {
  Quad Su[kQuad], Sv[kQuad];
  for (int k = 0; k < kQuad; ++k) {
    Su[k] = results[k][1];
    Sv[k] = results[k][2];
  }
  unitNormals(rule, Su, Sv, normals);
}

/// One point in the layout of a batch. Whole packs go where the lane too many is overwritten at
/// once; the last of a point ends with it.
template <int Order>
[[gnu::always_inline]] inline void writeInBatch(const Quad* results, const Quad& normal,
                                                double* out) {
  if constexpr (Order == 0) {
    foundation::store<3>(results[0], out);
  } else {
    for (int r = 0; r < derivativeCount(1); ++r)
      foundation::storeAll(results[r], out + 3 * r);
    foundation::store<3>(normal, out + kNormalOffset);
  }
  if constexpr (Order > 1) {
    foundation::storeAll(results[3], out + kSecondOffset);
    foundation::storeAll(results[4], out + kSecondOffset + 3);
    foundation::store<3>(results[5], out + kSecondOffset + 6);
  }
}

/// `size` points, from 1 to 4, in the layout of a batch.
template <int Order>
[[gnu::always_inline]] inline void writeGroup(const Quad (*results)[derivativeCount(Order)],
                                              int size, double* out) {
  Quad normals[kQuad] = {};
  if constexpr (Order > 0) groupNormals(kEvaluationNormal, results, normals);
  for (int k = 0; k < size; ++k)
    writeInBatch<Order>(results[k], normals[k], out + k * batchWidth(Order));
}

}  // namespace trova::geometry::internal
