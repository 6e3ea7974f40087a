#pragma once

#include <initializer_list>
#include <string_view>

#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/tables.h"
#include "morvel/api/last_error.h"
#include "morvel/api/result_codes.h"
#include "morvel/surfaces/surface.h"

// What the surface functions share: looking a surface up or refusing, and turning codes into texts.

namespace trova_internal {

/// Of the two twins of a function, one per parameter direction.
enum class Direction { U, V };

/// The texts of the surface functions: the exception's own message is the last error.
inline constexpr FailureTexts kOwnMessage{};
/// For an attempt inside a function that has an answer to its failure.
inline constexpr FailureTexts kNoMessage{.keepsText = false};

inline constexpr std::string_view kInvalidSurfaceHandle = "Invalid surface handle";

/// The registered surface, or null.
inline Surface* findSurface(int handle) { return surfaceTable().findAs<Surface>(handle); }

/// work(surface) in the guard, whose result for an exception is -4. A handle without a surface
/// stores `text` and gives `unknown`.
template <class Result, class Work>
Result withSurface(int handle, Result unknown, Work&& work,
                   std::string_view text = kInvalidSurfaceHandle) {
  return guarded(static_cast<Result>(kExceptionCaught), kOwnMessage, [&]() -> Result {
    Surface* surface = findSurface(handle);
    return surface ? work(*surface) : refuse(unknown, text);
  });
}

/// A failure code of a function and what it says.
struct CodeText {
  int code;
  std::string_view text;
};

/// Stores the text that belongs to `result`, if one does, and hands the result on.
inline int explained(int result, std::initializer_list<CodeText> texts) noexcept {
  for (const CodeText& entry : texts) {
    if (entry.code == result) return refuse(result, entry.text);
  }
  return result;
}

}  // namespace trova_internal
