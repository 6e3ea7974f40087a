#include "morvel/foundation/status_line.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <iostream>
#include <limits>
#include <mutex>

#include "morvel/foundation/status_mute.h"

namespace trova::foundation::status {
namespace {

struct Host {
  Sink sink = nullptr;
  void* user = nullptr;
};

constinit std::mutex hostMutex;
constinit Host host;
constinit std::atomic<Level> shownFrom{Level::Info};
constinit std::atomic<int> mutes{0};

Host currentHost() {
  const std::lock_guard lock(hostMutex);
  return host;
}

// Keeps the signal of a write into a pipe without a reader away from the process. One that was
// pending before is the host's own and stays; errno stays as it was.
class BrokenPipeShield {
 public:
  BrokenPipeShield() {
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    sigemptyset(&brokenPipe_);
    sigaddset(&brokenPipe_, SIGPIPE);
    active_ = sigismember(&pending, SIGPIPE) == 0 &&
              pthread_sigmask(SIG_BLOCK, &brokenPipe_, &before_) == 0;
  }
  ~BrokenPipeShield() {
    if (active_) {
      const timespec noWait{};
      while (sigtimedwait(&brokenPipe_, nullptr, &noWait) == -1 && errno == EINTR) {
      }
      pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    errno = savedErrno_;
  }
  BrokenPipeShield(const BrokenPipeShield&) = delete;
  BrokenPipeShield& operator=(const BrokenPipeShield&) = delete;

 private:
  int savedErrno_ = errno;
  bool active_ = false;
  sigset_t brokenPipe_;
  sigset_t before_;
};

// Goes to the buffer behind the stream, so that neither its state, its pending width and fill, its
// exception mask nor the stream tied to it take part: a failed line leaves no trace.
void print(std::ostream& stream, const std::string& line) {
  if (!stream.good() || !stream.rdbuf()) return;
  const BrokenPipeShield shield;
  stream.rdbuf()->sputn(line.data(), std::streamsize(line.size()));
  stream.rdbuf()->pubsync();
}

}  // namespace

void setSink(Sink sink, void* user) noexcept {
  try {
    const std::lock_guard lock(hostMutex);
    host = {sink, user};
  } catch (...) {  // a lock that cannot be had leaves the old sink
  }
}

void setLevel(Level level) noexcept { shownFrom = level; }

bool isShown(Level level) noexcept { return level >= shownFrom && mutes == 0; }

int mute() noexcept {
  int before = mutes;
  while (before < std::numeric_limits<int>::max() &&
         !mutes.compare_exchange_weak(before, before + 1)) {
  }
  return mutes;
}

int unmute() noexcept {
  int before = mutes;
  while (before > 0 && !mutes.compare_exchange_weak(before, before - 1)) {
  }
  return before - 1;
}

std::string_view symbolText(Symbol symbol) noexcept {
  switch (symbol) {
    case Symbol::None:
      return "";
    case Symbol::Success:
      return "✅ ";
    case Symbol::Failure:
      return "❌ ";
    case Symbol::Warning:
      return "⚠️ ";
    case Symbol::Working:
      return "🔄 ";
    case Symbol::Check:
      return "🔍 ";
    case Symbol::Step:
      return "🔧 ";
    case Symbol::Chart:
      return "📊 ";
    case Symbol::Report:
      return "📋 ";
    case Symbol::Cleanup:
      return "🧹 ";
    case Symbol::Target:
      return "🎯 ";
  }
  return "";
}

void write(Level level, Stream stream, Symbol symbol, std::string_view text) noexcept {
  if (!isShown(level)) return;
  try {
    std::string line(symbolText(symbol));
    line += text;
    const Host current = currentHost();
    if (current.sink) {
      current.sink(level, line, current.user);
      return;
    }
    line += '\n';
    print(stream == Stream::Output ? std::cout : std::cerr, line);
  } catch (...) {  // neither a sink nor a stream may disturb the work that reports
  }
}

}  // namespace trova::foundation::status
