#pragma once

#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry::internal {

/// A curve as a polyline with the sag of each segment.
struct SampledCurve {
  const Curve* curve = nullptr;
  std::vector<double> parameters;
  std::vector<Point3D> points;
  std::vector<double> sags;  ///< how far the curve leaves each segment, a little overestimated
  double length = 0.0;

  explicit SampledCurve(const Curve& curve);
};

/// Whether the curves come closer than `tolerance` at a point that is further than `joint` from
/// every point of `joints`.
bool comeClose(const SampledCurve& a, const SampledCurve& b, double tolerance,
               const std::vector<Point3D>& joints, double joint);

}  // namespace trova::geometry::internal
