#pragma once

#include <algorithm>
#include <cstdint>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/refusals.h"

// What the functions share that work through arrays of parameters or points.

namespace trova_internal {

/// The input and output of a batch: `count` items of `inputs` doubles, and as many of `results`.
struct Batch {
  const double* in;
  int count;
  int inputs;
  double* out;
  int results;

  /// 0, or -1 with a text.
  int check(const char* function) const noexcept {
    if (anyNull(in, out)) return refuseIn(function, "input and output must not be null");
    if (!countsFit({count, inputs}) || !countsFit({count, results}))
      return refuseIn(function, "count out of range");
    return checkFinite(function, in, std::int64_t(inputs) * count);
  }

  /// evaluate(items, how many, results) in pieces whose results are still at hand when they are
  /// judged. @throws std::runtime_error where one is not finite
  template <class Evaluate>
  void inPieces(Evaluate&& evaluate) const {
    constexpr std::int64_t kPiece = 128;
    for (std::int64_t first = 0; first < count; first += kPiece) {
      const std::int64_t size = std::min(kPiece, count - first);
      double* at = out + first * results;
      evaluate(in + first * inputs, static_cast<std::size_t>(size), at);
      requireFiniteResult(allFinite(at, size * results));
    }
  }

  /// evaluate(item, result) one by one.
  template <class Evaluate>
  void oneByOne(Evaluate&& evaluate) const {
    inPieces([&](const double* item, std::size_t size, double* result) {
      for (std::size_t k = 0; k < size; ++k, item += inputs, result += results)
        evaluate(item, result);
    });
  }
};

}  // namespace trova_internal
