#pragma once

#include <string_view>

#include "morvel/api/exception_guard.h"
#include "morvel/api/handle_registry.h"
#include "morvel/api/nsided_registry.h"

// What the functions on N-sided patches share: their table, their curves, their error text.

namespace trova_internal::nsided {

using trova::geometry::BoundaryCurves;
using trova::geometry::NSidedPatchParameters;
using trova::geometry::RBFNSidedPatch;
using trova::geometry::ValidationResults;

inline constexpr int kBoundaryRefused = -2;
inline constexpr int kNoSurface = -5;
inline constexpr int kBufferTooSmall = -6;

/// Which handles may name a boundary curve.
enum class Kinds { Both, OnSurfaces };

HandleRegistry<decltype(g_nsided_patches)> patchTable();

bool isCurveCount(int count);
/// Above 0 and finite.
bool isLength(double value);

/// The curves behind handles; free ones are copied, those on surfaces shared. Returns 0, or the
/// index of a handle without a curve plus 1.
int findCurves(const int* handles, int count, Kinds kinds, BoundaryCurves& curves);

/// Stores the text of a failure as the last N-sided error and as the last error.
int refuseNSided(int code, std::string_view text) noexcept;

/// After an exception: takes over the text that the guard stored.
void rememberException() noexcept;

template <class Work>
int guardedNSided(const FailureTexts& texts, Work&& work) {
  const int result = guarded(kExceptionCaught, texts, std::forward<Work>(work));
  if (result == kExceptionCaught) rememberException();
  return result;
}

}  // namespace trova_internal::nsided
