// The two last-error texts as exported functions.

#include "morvel/api/c/registry.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/last_error.h"

using namespace trova_internal;

namespace {

// The two texts are independent, even where one cannot be stored.
constexpr FailureTexts kSilent{.keepsText = false};

}  // namespace

int get_last_error(char* buffer, int size) { return copyText(g_last_error, buffer, size); }

void set_last_error_message(const char* message) {
  guardedVoid(kSilent, [&] { g_last_error_message.assign(message ? message : ""); });
}

const char* get_last_error_message() { return g_last_error_message.c_str(); }
