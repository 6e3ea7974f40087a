#pragma once

#include <string_view>

#include "morvel/api/c/trimmed_surface.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/tables.h"
#include "morvel/api/trimmed_surface_errors.h"

// What the functions of trimmed surfaces share: their own error text, look-up, options.

namespace trova_internal {

using trova::geometry::trimmed_surface::TrimmedSurface;
using trova::geometry::trimmed_surface::TrimmedSurfaceOptions;

/// The codes of an exception with a text, and of any other.
struct ExceptionCodes {
  int withText;
  int other;
};

namespace trimmed_codes {
inline constexpr int kInvalidHandle = -2;
inline constexpr int kNullSurface = -3;
inline constexpr ExceptionCodes kExceptions{-4, -5};
}  // namespace trimmed_codes

/// Stores the family's text and hands the code on. Never throws.
int refuseTrimmed(int code, std::string_view text) noexcept;

/// "Exception in <function>: <what>", or "Unknown exception in <function>" where `what` is null.
int reportTrimmed(const char* function, const char* what, ExceptionCodes codes) noexcept;

template <class Work>
int guardedTrimmed(const char* function, ExceptionCodes codes, Work&& work) {
  return guardedBy([&](const char* what) { return reportTrimmed(function, what, codes); }, work);
}

/// work(surface) on an entry of the trimmed table, in the guard.
template <class Work>
int onTrimmedSurface(const char* function, int handle, int absent, int empty, ExceptionCodes codes,
                     Work&& work) {
  return guardedTrimmed(function, codes, [&]() -> int {
    const auto* entry = trimmedSurfaceTable().find(handle);
    if (!entry) return refuseTrimmed(absent, "Invalid trimmed surface handle");
    return *entry ? work(**entry) : refuseTrimmed(empty, "Trimmed surface is NULL");
  });
}

/// The registered surface with its ownership, or null.
std::shared_ptr<trova::geometry::Surface> sharedSurface(int handle);

/// Null stands for the defaults.
TrimmedSurfaceOptions optionsOf(const MorvelTrimOptions* options);

/// A base for a surface that is not trimmed itself; else the base under all trims.
const trova::geometry::Surface& untrimmed(const trova::geometry::Surface& surface);
/// The same for who holds on to it; null for null.
std::shared_ptr<const trova::geometry::Surface> untrimmed(
    std::shared_ptr<const trova::geometry::Surface> surface);

}  // namespace trova_internal
