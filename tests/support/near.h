#pragma once

#include <gmock/gmock.h>

#include <ostream>

#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"

// Matchers for points and vectors, and their print form in failure messages.

namespace trova::foundation {

inline void PrintTo(const Point2D& p, std::ostream* out) {
  *out << "(" << p.x() << ", " << p.y() << ")";
}
inline void PrintTo(const Point3D& p, std::ostream* out) {
  *out << "(" << p.x() << ", " << p.y() << ", " << p.z() << ")";
}
inline void PrintTo(const Vector3D& v, std::ostream* out) {
  *out << "<" << v.x() << ", " << v.y() << ", " << v.z() << ">";
}

}  // namespace trova::foundation

namespace morvel_test {

/// A point or vector of `expected`'s type within `tolerance` of it (Euclidean, inclusive).
MATCHER_P2(IsNear, expected, tolerance,
           "is within " + testing::PrintToString(tolerance) + " of " +
               testing::PrintToString(expected)) {
  const double distance = (arg.eigen() - expected.eigen()).norm();
  *result_listener << "at distance " << distance;
  return distance <= tolerance;
}

}  // namespace morvel_test
