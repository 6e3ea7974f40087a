#include "morvel/api/internal/refusals.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/last_error.h"

namespace trova_internal {
namespace {

constexpr std::size_t kLongestText = 256;

}  // namespace

int refuseIn(const char* function, const char* text, int code) noexcept {
  char full[kLongestText];
  std::snprintf(full, sizeof full, "%s: %s", function, text);
  return refuse(code, full);
}

int refuseHandle(const char* function, const char* kind, int handle, int code) noexcept {
  char text[kLongestText];
  std::snprintf(text, sizeof text, "no %s has the handle %d", kind, handle);
  return refuseIn(function, text, code);
}

// A few numbers: the single calls' way.
int checkFinite(const char* function, std::initializer_list<double> values) noexcept {
  const bool areFinite = std::ranges::all_of(values, [](double x) { return std::isfinite(x); });
  return areFinite ? kSuccess : refuseIn(function, "numbers must be finite");
}

int checkFinite(const char* function, const double* values, std::int64_t count) noexcept {
  return allFinite(values, count) ? kSuccess : refuseIn(function, "numbers must be finite");
}

int checkPoints(const char* function, const double* points, int count) noexcept {
  if (!points) return refuseIn(function, "the points are null");
  if (!countsFit({count, kDoublesPerPoint})) return refuseIn(function, "point count out of range");
  return checkFinite(function, points, std::int64_t(kDoublesPerPoint) * count);
}

}  // namespace trova_internal
