#pragma once

#include <string>
#include <string_view>

#include "morvel/foundation/export.h"

// The two last-error texts. They are independent: `get_last_error` never returns what
// `set_last_error_message` stored.

// Strings in the global namespace get a tag of the standard library in their symbols; like this
// they have their plain names, as the other registry globals.
extern "C" {
/// Text of the last error of the registry, curve and surface functions.
extern MORVEL_API std::string g_last_error;
/// A second text, which belongs to the host.
extern MORVEL_API std::string g_last_error_message;
}

namespace trova_internal {

/// Replace `g_last_error`; null stores the empty text. Never throw: a text for which there is no
/// memory is cut to the room that the string already has.
MORVEL_API void setLastError(const std::string& text) noexcept;
MORVEL_API void setLastError(const char* text) noexcept;

/// prefix + text, by the same rule.
void setLastErrorText(std::string_view prefix, std::string_view text) noexcept;

/// Stores the text of a refusal and hands on the result of the function that refuses.
template <class Result>
Result refuse(Result result, std::string_view text) noexcept {
  setLastErrorText({}, text);
  return result;
}

/// min(text length, size - 1) characters and a terminating zero; returns the number of characters,
/// -1 for a null buffer or size < 1.
int copyText(std::string_view text, char* buffer, int size) noexcept;

}  // namespace trova_internal
