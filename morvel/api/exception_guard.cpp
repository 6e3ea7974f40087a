#include "morvel/api/exception_guard.h"

#include "morvel/api/last_error.h"
#include "morvel/foundation/status_line.h"

namespace trova_internal {
namespace {

constexpr const char* kUnknownError = "unknown error";

}  // namespace

void reportException(const FailureTexts& texts, const char* what) noexcept {
  const char* text = what ? what : kUnknownError;
  if (texts.keepsText && !what && texts.unknown)
    setLastError(texts.unknown);
  else if (texts.keepsText)
    setLastErrorText(texts.stored, text);
  if (texts.printed) trova::foundation::status::failure(texts.printed, text);
}

}  // namespace trova_internal
