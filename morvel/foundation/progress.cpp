#include "morvel/foundation/progress.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>
#include <vector>

#include "morvel/foundation/status_line.h"

namespace trova::foundation::progress {

namespace internal {
constinit std::atomic<bool> isOn{false};
constinit std::atomic<int> hostCalls{0};
}  // namespace internal

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kStep = 0.01;
constexpr auto kPause = std::chrono::milliseconds(20);
constexpr double kBeforeEnd = 0.999;  // what an unfinished operation has reached at most
constexpr double kPercent = 100.0;
constexpr const char* kUnnamed = "working";

struct Host {
  Callback callback = nullptr;
  void* user = nullptr;
};

constinit std::mutex hostMutex;
constinit Host host;

Host currentHost() {
  const std::lock_guard lock(hostMutex);
  return host;
}

using Kept = std::vector<std::shared_ptr<void>>;

// What an operation has told. Without a destructor, which would keep the library loaded until the
// thread ends.
struct Operation {
  Stage* innermost;
  bool wasTold;
  bool isCancelled;
  bool isCallingHost;
  double last;
  Clock::rep lastTime;
  const char* cancelledStage;
  Kept* kept;
};

constinit thread_local Operation operation{};

[[noreturn]] void throwCancelled() {
  throw Cancelled(status::join("Cancelled in stage '", operation.cancelledStage, "' at ",
                               std::floor(kPercent * operation.last), " %"));
}

// An exception of the callback passes on, and cancels as well.
class HostCall {
 public:
  explicit HostCall(const char* stage) {
    operation.isCallingHost = operation.isCancelled = true;
    operation.cancelledStage = stage;
    ++internal::hostCalls;
  }
  ~HostCall() {
    operation.isCallingHost = false;
    --internal::hostCalls;
  }
  HostCall(const HostCall&) = delete;
  HostCall& operator=(const HostCall&) = delete;

  int answer(double fraction, void* user, Callback callback) const {
    const int answered = callback(fraction, operation.cancelledStage, user);
    operation.isCancelled = answered != 0;
    return answered;
  }
};

void tellHost(double fraction, const char* stage) {
  const Host current = currentHost();
  if (!current.callback) return;
  operation.wasTold = true;
  operation.last = fraction;
  const int answer = HostCall(stage).answer(fraction, current.user, current.callback);
  operation.lastTime = Clock::now().time_since_epoch().count();
  if (answer != 0) throwCancelled();
}

bool isDue(double fraction) {
  if (!operation.wasTold || fraction >= operation.last + kStep) return true;
  const Clock::duration last(operation.lastTime);
  return Clock::now().time_since_epoch() - last >= kPause;
}

}  // namespace

void setCallback(Callback callback, void* user) noexcept {
  try {
    const std::lock_guard lock(hostMutex);
    host = {callback, user};
    internal::isOn = callback != nullptr;
  } catch (...) {  // a lock that cannot be had leaves the old callback
  }
}

Stage::Stage(Opened, const char* name, double from, double to) noexcept
    : outer_(operation.innermost), name_(name) {
  if (outer_) {
    const double extent = outer_->high_ - outer_->low_;
    low_ = outer_->low_ + from * extent;
    high_ = outer_->low_ + to * extent;
    if (!name_) name_ = outer_->name_;
  } else {
    operation = {};
  }
  if (!name_) name_ = kUnnamed;
  operation.innermost = this;
}

// The destructor runs for one that was opened, also where the first report throws.
Stage::Stage(const char* name, double from, double to) : Stage(Opened{}, name, from, to) {
  report(0.0);
}

Stage::~Stage() {
  operation.innermost = outer_;
  if (outer_) return;
  const std::unique_ptr<Kept> kept(operation.kept);
  operation.kept = nullptr;
}

void Stage::tell(double fraction) {
  if (operation.isCallingHost || !std::isfinite(fraction)) return;
  if (operation.isCancelled) throwCancelled();
  const double reached = low_ + std::clamp(fraction, 0.0, 1.0) * (high_ - low_);
  const double shown = std::max(std::clamp(reached, 0.0, kBeforeEnd), operation.last);
  if (isDue(shown)) tellHost(shown, name_);
}

void Stage::finish() {
  if (operation.isCallingHost) return;
  if (operation.isCancelled) throwCancelled();
  if (outer_)
    report(1.0);
  else if (internal::isOn)
    tellHost(1.0, name_);
}

bool isUnderWay() noexcept { return operation.innermost != nullptr; }

bool isCallingHost() noexcept { return operation.isCallingHost; }

void keepUntilEnd(std::shared_ptr<void> object) {
  if (!operation.isCallingHost) return;
  if (!operation.kept) operation.kept = new Kept;
  operation.kept->push_back(std::move(object));
}

void internal::refuseInsideCallback() {
  throw std::logic_error("The progress callback must not begin an operation of the kernel");
}

}  // namespace trova::foundation::progress
