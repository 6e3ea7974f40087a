#pragma once

#include <memory>

#include "morvel/api/copy_arrays.h"
#include "morvel/surfaces/bspline_surface.h"

// The flat arrays that describe a net or a spline surface, as callers hand them over. Each question
// can be asked once those before it were answered with yes; nothing is copied or allocated by
// asking.

namespace trova_internal {

/// nU x nV points.
struct NetArguments {
  const double* points;
  int nU;
  int nV;

  /// At least two points both ways, and no more doubles than a 32-bit index reaches.
  bool hasCounts() const;
  bool hasFinitePoints() const;
};

struct SplineArguments {
  NetArguments net;
  int degreeU;
  int degreeV;
  const double* uKnots;
  int uKnotCount;
  const double* vKnots;
  int vKnotCount;

  bool hasArrays() const { return net.points && uKnots && vKnots; }
  bool hasDegrees() const { return degreeU >= 1 && degreeV >= 1; }
  /// Either degree is below its count.
  bool hasPointsForDegrees() const { return degreeU < net.nU && degreeV < net.nV; }
  /// count + degree + 1 knots both ways.
  bool hasKnotCounts() const;
  /// Finite, and never decreasing.
  bool hasOrderedKnots() const;

  /// Requires all of the above but ordered knots, which the surface's `isValid` judges too.
  std::unique_ptr<trova::geometry::BSplineSurface> surface(NetOrder order) const;
};

}  // namespace trova_internal
