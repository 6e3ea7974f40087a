// The host's callback for lines.

#include "morvel/api/c/log.h"

#include <algorithm>
#include <string>

#include "morvel/api/last_error.h"
#include "morvel/api/result_codes.h"
#include "morvel/foundation/status_line.h"
#include "morvel/foundation/status_mute.h"

using namespace trova_internal;
namespace status = trova::foundation::status;

namespace {

struct Host {
  MorvelLogCallback callback = nullptr;
  void* user = nullptr;
};

Host host;

// A text from elsewhere (an exception's) may hold line feeds: each part is a line of its own. The
// callback may set another one.
void handOn(status::Level level, std::string_view line, void*) {
  const Host current = host;
  for (std::size_t start = 0; start <= line.size();) {
    const std::size_t end = std::min(line.find('\n', start), line.size());
    const std::string part(line.substr(start, end - start));
    current.callback(static_cast<int>(level), part.c_str(), current.user);
    start = end + 1;
  }
}

}  // namespace

void set_log_callback(MorvelLogCallback callback, void* user) {
  if (!callback) status::setSink(nullptr, nullptr);
  host = {callback, user};
  if (callback) status::setSink(handOn, nullptr);
}

int set_log_level(int level) {
  if (level < MORVEL_LOG_DEBUG || level > MORVEL_LOG_ERROR)
    return refuse(kBadArgument, "Log level must be 0, 1, 2 or 3");
  status::setLevel(static_cast<status::Level>(level));
  return kSuccess;
}

int mute_log() { return status::mute(); }

int unmute_log() {
  const int left = status::unmute();
  return left < 0 ? refuse(kBadArgument, "The log is not muted") : left;
}
