#pragma once

#include <stdexcept>
#include <string>

#include "morvel/curves/internal/curve_checks.h"
#include "morvel/curves/spline_curve.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::internal {

/// What is wrong with a curve that was put together; empty for nothing.
inline std::string faultOf(const SplineCurve& curve) {
  if (!curve.isValid()) return "control points, weights or knots do not fit together";
  for (const Point3D& point : curve.getControlPoints()) {
    if (!point.isFinite()) return "a control point is not finite";
  }
  return {};
}

/// Prints `text` and the fault of an invalid result, and throws std::runtime_error.
inline void requireValidResult(const SplineCurve& curve, const char* text) {
  const std::string fault = faultOf(curve);
  if (fault.empty()) return;
  foundation::status::failure(text, fault);
  throw std::runtime_error(text + fault);
}

}  // namespace trova::geometry::internal
