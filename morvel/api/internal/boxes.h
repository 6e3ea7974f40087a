#pragma once

#include <algorithm>
#include <vector>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/last_error.h"
#include "morvel/api/result_codes.h"
#include "morvel/foundation/bounding_box.h"

namespace trova_internal {

/// @throws std::runtime_error for a box that is not finite or holds nothing
inline void writeBox(const trova::foundation::BoundingBox& box, double* lower, double* upper) {
  requireFiniteResult(!box.isEmpty() && box.getMin().isFinite() && box.getMax().isFinite());
  writeTriple(box.getMin(), lower);
  writeTriple(box.getMax(), upper);
}

/// What was copied where there is room; `outCount` gets the number of values in any case.
inline int writeValues(const std::vector<double>& values, double* out, int capacity, int* outCount,
                       int tooSmall) {
  *outCount = static_cast<int>(values.size());
  if (*outCount > capacity) return refuse(tooSmall, "Buffer too small");
  std::copy(values.begin(), values.end(), out);
  return kSuccess;
}

}  // namespace trova_internal
