#pragma once

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/tolerance_context.h"
#include "morvel/foundation/vector.h"

namespace trova::foundation {

/// An axis-aligned box. The default box is empty, with both corners at the origin; an empty box
/// contains and intersects nothing, and `expand` leaves it empty.
class MORVEL_API BoundingBox {
 public:
  BoundingBox() = default;
  /// From any two opposite corners; the coordinates are sorted per axis.
  BoundingBox(const Point3D& a, const Point3D& b);

  const Point3D& getMin() const { return min; }
  const Point3D& getMax() const { return max; }
  bool isEmpty() const { return empty; }

  void addPoint(const Point3D& p);
  void addBoundingBox(const BoundingBox& other);
  /// Moves both corners outward by d (inward for a negative d; the corners are not sorted again).
  void expand(double d);

  /// Both tests are widened by the geometric tolerance on every side.
  bool contains(const Point3D& p, const ToleranceContext& tolerance = {}) const;
  bool intersects(const BoundingBox& other, const ToleranceContext& tolerance = {}) const;

  /// Zero vector, origin and 0 for an empty box.
  Vector3D diagonal() const;
  Point3D center() const;
  double volume() const;

  Point3D min;
  Point3D max;
  bool empty = true;
};

}  // namespace trova::foundation
