#include "morvel/api/last_error.h"

#include <algorithm>

#include "morvel/api/c/registry.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/result_codes.h"

namespace {

// Room taken at load, so that an ordinary text needs no memory at the moment of failure.
constexpr std::size_t kReservedText = 1024;

std::string reservedText() {
  std::string text;
  text.reserve(kReservedText);
  return text;
}

}  // namespace

std::string g_last_error = reservedText();
std::string g_last_error_message;

namespace trova_internal {

void setLastErrorText(std::string_view prefix, std::string_view text) noexcept {
  const std::size_t needed = prefix.size() + text.size();
  if (needed > g_last_error.capacity()) endsWell([&] { g_last_error.reserve(needed); });
  const std::size_t room = g_last_error.capacity();
  if (prefix.empty()) {  // in one step: the text may be the stored one itself
    g_last_error.assign(text.substr(0, room));
    return;
  }
  g_last_error.assign(prefix.substr(0, room));
  g_last_error.append(text.substr(0, room - g_last_error.size()));
}

void setLastError(const std::string& text) noexcept { setLastErrorText({}, text); }

void setLastError(const char* text) noexcept { setLastErrorText({}, text ? text : ""); }

int copyText(std::string_view text, char* buffer, int size) noexcept {
  if (!buffer || size < 1) return kBadArgument;
  const std::size_t copied = std::min(text.size(), static_cast<std::size_t>(size) - 1);
  std::copy_n(text.data(), copied, buffer);
  buffer[copied] = '\0';
  return static_cast<int>(copied);
}

}  // namespace trova_internal

void clear_last_error(void) { g_last_error.clear(); }
