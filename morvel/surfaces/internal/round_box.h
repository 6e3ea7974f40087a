#pragma once

#include "morvel/surfaces/axis_frame.h"
#include "morvel/surfaces/parameter_window.h"

namespace trova::geometry::internal {

/// The box of a surface of revolution about the frame's axis, coordinate by coordinate.
/// @param around    the turns that it covers
/// @param ordinate  the range of one coordinate, measured from the frame's origin, as a function of
/// the
///                  range that a circle of radius 1 covers in it and of the axis' own component
template <class Ordinate>
BoundingBox roundBox(const AxisFrame& frame, const ParameterStretch& around,
                     const Ordinate& ordinate) {
  Point3D low = frame.origin;
  Point3D high = frame.origin;
  for (int k = 0; k < 3; ++k) {
    const ValueRange ring = sinusoidRange(frame.x[k], frame.y[k], around.from, around.to);
    const ValueRange range = ordinate(ring, frame.z[k]);
    low[k] += range.low;
    high[k] += range.high;
  }
  return {low, high};
}

}  // namespace trova::geometry::internal
