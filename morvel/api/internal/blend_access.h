#pragma once

#include <cmath>
#include <memory>
#include <string>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/api/internal/trimmed_surface_lookup.h"

// What the blend functions share: their texts, their surfaces, their ranges.

namespace trova_internal::blends {

inline constexpr int kRoomTooSmall = -2;

/// work() in the guard; an exception's text follows the function's name.
template <class Work>
int guardedBlend(const char* function, Work&& work) {
  return guardedBy(
      [function](const char* what) noexcept {
        return refuseIn(function, what ? what : "unknown error", kExceptionCaught);
      },
      work);
}

inline bool isBetween(int value, int low, int high) { return value >= low && value <= high; }

/// The surface, of a trimmed one its base; empty for an unknown handle. It lives as long as it is
/// held.
inline std::shared_ptr<const Surface> blendSurface(int handle) {
  return untrimmed(std::shared_ptr<const Surface>(sharedSurface(handle)));
}

/// Both surfaces of a blend.
struct SurfacePairByHandle {
  std::shared_ptr<const Surface> first;
  std::shared_ptr<const Surface> second;

  /// 0, or -3 with a text.
  int find(const char* function, int handle1, int handle2) {
    first = blendSurface(handle1);
    if (!first) return refuseIn(function, "Surface 1 handle not found", kNotFound);
    second = blendSurface(handle2);
    if (!second) return refuseIn(function, "Surface 2 handle not found", kNotFound);
    return kSuccess;
  }
};

inline bool areRadii(const double* radii, int count) {
  for (int k = 0; k < count; ++k)
    if (!(radii[k] > 0.0) || !std::isfinite(radii[k])) return false;
  return true;
}

/// Rising within 0 .. 1.
inline bool areLawParameters(const double* parameters, int count) {
  for (int k = 0; k < count; ++k)
    if (!(parameters[k] >= 0.0 && parameters[k] <= 1.0) ||
        (k > 0 && !(parameters[k] > parameters[k - 1])))
      return false;
  return true;
}

template <class Value>
void writeUnlessNull(Value* out, Value value) {
  if (out) *out = value;
}

}  // namespace trova_internal::blends
