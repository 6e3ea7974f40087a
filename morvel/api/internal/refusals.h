#pragma once

#include <cstdint>
#include <initializer_list>

#include "morvel/api/result_codes.h"

// How exported functions say no. The text of a refusal is "function: what is wrong"; texts with a
// wording of their own go through `refuse` (last_error.h). Nothing here throws or allocates.

namespace trova_internal {

/// Stores "function: text" and hands on the code.
int refuseIn(const char* function, const char* text, int code = kBadArgument) noexcept;

/// Stores "function: no <kind> has the handle <handle>" and hands on the code.
int refuseHandle(const char* function, const char* kind, int handle, int code = kNotFound) noexcept;

/// Each 0, or -1 with a text. Sizes are judged before a value is read.
int checkFinite(const char* function, std::initializer_list<double> values) noexcept;
int checkFinite(const char* function, const double* values, std::int64_t count) noexcept;
/// Not null, `count` points of 3 doubles: a number that a 32-bit index can reach, all finite.
int checkPoints(const char* function, const double* points, int count) noexcept;

template <class... Pointers>
bool anyNull(const Pointers*... pointers) {
  return ((pointers == nullptr) || ...);
}

}  // namespace trova_internal
