#pragma once

#include <cxxabi.h>

#include <exception>

#include "morvel/api/result_codes.h"
#include "morvel/foundation/progress.h"

// The only place that catches. An exported function is its checks and its one line of work inside
// `guarded`; what varies between families is data. Inside the host's progress callback every
// guarded function refuses, since an operation is at work on the objects.

namespace trova_internal {

/// What happens to an exception.
struct FailureTexts {
  /// Before the exception's text in the last error.
  const char* stored = "";
  /// Printed before the exception's text on standard error ("Error creating line: "); null: no
  /// line.
  const char* printed = nullptr;
  /// The whole stored text for something that is no std::exception; null: stored + "unknown error".
  const char* unknown = nullptr;
  /// Families that keep no text.
  bool keepsText = true;
};

/// Stores and prints the texts. `what` is null for something that is no std::exception.
void reportException(const FailureTexts& texts, const char* what) noexcept;

/// Runs `work` and returns its result; any exception becomes the texts and `failed`. The unwinding
/// of a cancelled thread is no failure and passes through, and so does the cancelling of a stage
/// that was opened outside.
template <class Result, class Work>
Result guarded(Result failed, const FailureTexts& texts, Work&& work) {
  try {
    trova::foundation::progress::requireOutsideCallback();
    return work();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (const trova::foundation::progress::Cancelled& e) {
    if (trova::foundation::progress::isUnderWay()) throw;
    reportException(texts, e.what());
  } catch (const std::exception& e) {
    reportException(texts, e.what());
  } catch (...) {
    reportException(texts, nullptr);
  }
  return failed;
}

/// For families whose code or text depends on the kind of exception: the result is that of
/// report(what), which must not throw; `what` is null for something that is no std::exception.
template <class Report, class Work>
auto guardedBy(Report&& report, Work&& work) -> decltype(work()) {
  try {
    trova::foundation::progress::requireOutsideCallback();
    return work();
  } catch (const abi::__forced_unwind&) {
    throw;
  } catch (const trova::foundation::progress::Cancelled& e) {
    if (trova::foundation::progress::isUnderWay()) throw;
    return report(e.what());
  } catch (const std::exception& e) {
    return report(e.what());
  } catch (...) {
    return report(nullptr);
  }
}

/// The same for exceptions of one type that have an answer of their own; any other passes on to the
/// guard around it.
template <class Exception, class Result, class Work>
Result guardedAgainst(Result failed, const FailureTexts& texts, Work&& work) {
  try {
    return work();
  } catch (const Exception& e) {
    reportException(texts, e.what());
  }
  return failed;
}

/// For functions without a result.
template <class Work>
void guardedVoid(const FailureTexts& texts, Work&& work) {
  guarded(kSuccess, texts, [&] {
    work();
    return kSuccess;
  });
}

/// Runs work that is allowed to fail; whether it came to its end.
template <class Work>
bool endsWell(Work&& work) noexcept {
  try {
    work();
  } catch (...) {
    return false;
  }
  return true;
}

}  // namespace trova_internal
