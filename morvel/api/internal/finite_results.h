#pragma once

#include <cmath>
#include <memory>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/vector.h"
#include "morvel/surfaces/surface.h"

// No result that is not finite leaves as a success. Each function hands its argument on; the guard
// of the exported function turns its exception into -4.

namespace trova_internal {

/// @throws std::runtime_error "Result is not finite"
void requireFiniteResult(bool isFinite);

inline double finiteResult(double value) {
  requireFiniteResult(std::isfinite(value));
  return value;
}

template <class Triple>
Triple finiteResult(const Triple& value) {
  requireFiniteResult(value.isFinite());
  return value;
}

template <class Triple>
std::vector<Triple> finiteResult(std::vector<Triple> values) {
  for (const Triple& value : values)
    requireFiniteResult(value.isFinite());
  return values;
}

/// Judged by the control points where there are any, else by the ends (corners) and the middle.
bool isFiniteCurve(const trova::geometry::Curve& curve);
bool isFiniteSurface(const trova::geometry::Surface& surface);

/// Stores the outcome of an operation on a curve. @throws as above; else as `storeCurve`
int storeFinite(std::unique_ptr<trova::geometry::Curve> curve);

}  // namespace trova_internal
