#pragma once

#include <functional>
#include <optional>

#include "morvel/blend/blend_records.h"

namespace trova::geometry::blend {

/// The ball at one place of its path.
struct MORVEL_API BallStation {
  Point3D centre;
  Point3D contact1;
  Point3D contact2;
  Vector3D normal1;  ///< unit, of the surfaces at their contacts
  Vector3D normal2;
  double u1 = 0.0, v1 = 0.0, u2 = 0.0, v2 = 0.0;
  double radius = 0.0;
  Vector3D
      along;  ///< the direction of the path, of any length; zero: at right angles to both contacts
};

/// The exact station at a fraction 0 .. 1 of the path; empty where the ball cannot stand.
using BallPath = std::function<std::optional<BallStation>(double fraction)>;

}  // namespace trova::geometry::blend
