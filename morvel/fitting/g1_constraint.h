#pragma once

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"

namespace trova::geometry {

using foundation::Point3D;
using foundation::Vector3D;

/// First derivatives that a surface shall have at (u, v): equal to the given tangents, in direction
/// and length (model units per unit of the parameter).
struct MORVEL_API G1Constraint {
  Point3D position;  ///< where the constraint was taken from; it imposes nothing by itself
  Vector3D tangent_u;
  Vector3D tangent_v;
  double u = 0.0;
  double v = 0.0;
  double weight = 1.0;  ///< scales the equations, both sides alike
  bool has_tangent_u = false;
  bool has_tangent_v = false;

  int tangent_count() const { return int(has_tangent_u) + int(has_tangent_v); }
};

}  // namespace trova::geometry
