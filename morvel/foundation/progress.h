#pragma once

#include <atomic>
#include <memory>
#include <stdexcept>

#include "morvel/foundation/export.h"

// How far a long operation has come, told to a host that may cancel it. An operation opens a stage,
// its steps open stages inside that one, and loops report from time to time:
//
//   Stage stage("fitting a surface");
//   {
//     Stage step("assembling", 0.0, 0.6);  // a share of the enclosing stage
//     for (...) step.report(done, all);
//   }
//   stage.finish();  // before anything is stored
//
// The host sees one fraction that rises from 0 to 1 over the outermost stage of a thread. Without a
// callback a report is the reading of one flag; still, loops report by the piece, not by the point.

namespace trova::foundation::progress {

/// Gets a fraction in [0, 1], never below the one before it in the same operation, and the name of
/// the stage. Any answer but 0 cancels the operation.
using Callback = int (*)(double fraction, const char* stage, void* user);

/// From now on reports go to the callback, also those of operations under way; null turns them off.
MORVEL_API void setCallback(Callback callback, void* user) noexcept;

/// The host has cancelled: "Cancelled in stage 'assembling' at 40 %". Whoever catches exceptions of
/// other kinds lets this one pass. An operation that caught it all the same is told again at its
/// next report, and at its end.
class MORVEL_API Cancelled : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

namespace internal {
extern MORVEL_API std::atomic<bool> isOn;
extern MORVEL_API std::atomic<int> hostCalls;  // callbacks under way, in all threads
}  // namespace internal

/// A part of an operation, on the stack of the thread that makes it. Stages end in the reverse
/// order of their making. Inside the host's callback they tell nothing.
class MORVEL_API Stage {
 public:
  /// @param name  lives as long as the operation; null takes the name of the enclosing stage
  /// @param from  where the stage lies in the enclosing one, which runs from 0 to 1
  /// @param to    likewise
  /// @throws Cancelled, as do the reports
  explicit Stage(const char* name, double from = 0.0, double to = 1.0);
  ~Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  /// Tells the host where that is due: a percent or 20 ms after it was told last. A fraction that
  /// is not finite tells nothing; one outside [0, 1] is brought into it.
  void report(double fraction) {
    if (internal::isOn.load(std::memory_order_relaxed)) tell(fraction);
  }
  void report(double done, double all) { report(done / all); }

  /// The last report. That of an outermost stage says 1, which is said nowhere else, and must come
  /// before anything is stored.
  void finish();

 private:
  struct Opened {};
  Stage(Opened, const char* name, double from, double to) noexcept;
  void tell(double fraction);

  Stage* const outer_;
  const char* name_;
  double low_ = 0.0;
  double high_ = 1.0;
};

/// Whether a stage is open in this thread.
MORVEL_API bool isUnderWay() noexcept;

/// Whether this thread is inside the host's callback.
MORVEL_API bool isCallingHost() noexcept;

/// @throws std::logic_error inside the host's callback, where no operation may begin
void requireOutsideCallback();

/// Keeps an object that is deleted inside the host's callback until the operation has ended, which
/// may be at work on it; at any other time lets it go.
MORVEL_API void keepUntilEnd(std::shared_ptr<void> object);

namespace internal {
[[noreturn]] MORVEL_API void refuseInsideCallback();
}  // namespace internal

inline void requireOutsideCallback() {
  if (internal::hostCalls.load(std::memory_order_relaxed) != 0 && isCallingHost())
    internal::refuseInsideCallback();
}

}  // namespace trova::foundation::progress
