#pragma once

#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/tables.h"

// Work on one registered curve: look-up, refusal of an unknown handle, exception guard.

namespace trova_internal {

/// Runs `work` on the registered curve in the guard and returns its result; -3 where there is none.
template <class Work>
int onCurve(const char* function, int handle, Work&& work) {
  return guarded(kExceptionCaught, {}, [&]() -> int {
    Curve* curve = curveTable().findAs<Curve>(handle);
    return curve ? work(*curve) : refuseHandle(function, "curve", handle);
  });
}

}  // namespace trova_internal
