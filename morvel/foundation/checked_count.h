#pragma once

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <stdexcept>

namespace trova::foundation {

/// The product of counts, in 64 bits. Every factor must be at least 0 and the product at most
/// `limit` (2^31 - 1 unless given: what a 32-bit index can reach).
/// @throws std::length_error "Size out of range" otherwise, before anything was allocated
inline std::int64_t checkedCount(std::initializer_list<std::int64_t> factors,
                                 std::int64_t limit = std::numeric_limits<std::int32_t>::max()) {
  std::int64_t product = 1;
  bool hasZero = false;
  for (const std::int64_t factor : factors) {
    if (factor < 0) throw std::length_error("Size out of range");
    hasZero = hasZero || factor == 0;
  }
  if (hasZero) return 0;
  for (const std::int64_t factor : factors) {
    if (factor > limit / product) throw std::length_error("Size out of range");
    product *= factor;
  }
  return product;
}

/// count + degree + 1 in 64 bits.
inline std::int64_t knotCountFor(std::int64_t count, std::int64_t degree) {
  return count + degree + 1;
}

}  // namespace trova::foundation
