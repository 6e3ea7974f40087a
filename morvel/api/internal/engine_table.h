#pragma once

#include <algorithm>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/handle_registry.h"
#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/last_error.h"
#include "morvel/surfaces/bspline_surface.h"

// What the surface engines share: tables of engines by id, look-up and guard, and results.

namespace trova_internal {

namespace engine_codes {
inline constexpr int kUnknownId = -1;
inline constexpr int kCaught = -2;
inline constexpr int kNoSurface = -2;
inline constexpr int kCreationCaught = -3;
inline constexpr int kBufferTooSmall = -5;
}  // namespace engine_codes

template <class Engine>
using EngineMap = std::unordered_map<int, std::unique_ptr<Engine>>;

/// work(engine) in the guard: `unknown` where there is no such engine, `caught` for an exception.
template <class Result, class Engine, class Work>
Result withEngine(const char* function, const EngineMap<Engine>& engines, int id, Result unknown,
                  Result caught, Work&& work) {
  return guarded(caught, FailureTexts{}, [&]() -> Result {
    const auto entry = engines.find(id);
    if (entry != engines.end()) return work(*entry->second);
    refuseHandle(function, "engine", id);
    return unknown;
  });
}

/// The same with the codes of the int functions.
template <class Engine, class Work>
int onEngine(const char* function, const EngineMap<Engine>& engines, int id, Work&& work) {
  return withEngine(function, engines, id, engine_codes::kUnknownId, engine_codes::kCaught,
                    std::forward<Work>(work));
}

/// Points as they are, finite or not: the engine judges them.
inline std::vector<trova::foundation::Point3D> pointsAsGiven(const double* points,
                                                             std::size_t count) {
  std::vector<trova::foundation::Point3D> copies;
  copies.reserve(count);
  for (std::size_t k = 0; k < count; ++k)
    copies.push_back(readPoint(points + kDoublesPerPoint * k));
  return copies;
}

/// Two whole numbers to the caller; 0.
inline int writePair(const char* function, int first, int second, int* firstOut, int* secondOut) {
  if (anyNull(firstOut, secondOut)) return refuseIn(function, "the outputs are null");
  *firstOut = first;
  *secondOut = second;
  return kSuccess;
}

/// Values to the caller's array; 0.
inline int writeValues(const char* function, std::span<const double> values, double* out,
                       int capacity, int* outCount) {
  if (anyNull(out, outCount)) return refuseIn(function, "the outputs are null");
  *outCount = int(values.size());
  if (capacity < *outCount)
    return refuseIn(function, "the buffer is too small", engine_codes::kBufferTooSmall);
  std::copy(values.begin(), values.end(), out);
  return kSuccess;
}

/// A copy of an engine's surface, null for none, into the surface registry.
inline int registerCopy(const char* function, const trova::geometry::BSplineSurface* surface,
                        const char* operation) {
  if (!surface) return refuseIn(function, "the engine has no surface", engine_codes::kNoSurface);
  return storeSound(surface->clone(), operation, engine_codes::kNoSurface,
                    "The engine's surface is not finite");
}

/// Destroys all engines of a table; how many there were.
template <class Engine>
int destroyAll(EngineMap<Engine>& engines) {
  return guarded(engine_codes::kCaught, FailureTexts{}, [&] {
    EngineMap<Engine> doomed;
    doomed.swap(engines);
    return int(doomed.size());
  });
}

}  // namespace trova_internal
