#pragma once

#include <cmath>
#include <stdexcept>
#include <string>

#include "morvel/foundation/vector.h"

namespace trova::foundation {

/// Marks constructors that take directions bit for bit where the others make unit vectors of them:
/// for an object that is to be made again from what another of its class hands out.
struct AsStored {};

/// How far directions that are taken as they are may be from unit length and from right angles.
inline constexpr double kStoredDirectionTolerance = 1e-9;

/// The vector itself. @throws std::invalid_argument unless its length is 1; `what` opens the
/// message
inline const Vector3D& requireUnit(const Vector3D& v, const char* what) {
  if (!(std::abs(v.magnitude() - 1.0) <= kStoredDirectionTolerance))
    throw std::invalid_argument(std::string(what) + " must be a unit vector");
  return v;
}

/// The vector itself. @throws std::invalid_argument unless its length is 1 or 0
inline const Vector3D& requireUnitOrZero(const Vector3D& v, const char* what) {
  return v.squaredMagnitude() == 0.0 ? v : requireUnit(v, what);
}

}  // namespace trova::foundation
