#pragma once

#include <cmath>
#include <memory>

#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"

// What the makers of analytic and of swept surfaces share.

namespace trova_internal {

/// A direction shorter than this (model units) counts as none.
inline constexpr double kMinVectorLength = 1e-10;

inline bool hasDirection(const trova::foundation::Vector3D& v) {
  return v.magnitude() >= kMinVectorLength;
}

/// What SurfaceFactory answered, stored under a new handle; null stores `refusal` and gives -1.
inline int storeMade(std::unique_ptr<Surface> surface, const char* operation,
                     std::string_view refusal) {
  if (!surface) return refuse(kBadArgument, refusal);
  return storeSound(std::move(surface), operation, kBadArgument,
                    "Created surface validation failed");
}

}  // namespace trova_internal
