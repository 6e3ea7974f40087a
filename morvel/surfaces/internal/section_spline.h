#pragma once

#include <memory>
#include <vector>

#include "morvel/foundation/transform3d.h"
#include "morvel/surfaces/parameter_window.h"
#include "morvel/surfaces/unit_curve.h"

// B-spline surfaces through section curves. B-spline surfaces are evaluated on clamped uniform
// knots, so the sections are brought into a common form on such knots: exactly where there is one,
// else by interpolation on ever more knots.

namespace trova::geometry {
class BSplineSurface;
}

namespace trova::geometry::internal {

/// A curve where the surface has it.
struct Section {
  const UnitCurve* curve;
  Transform3D placement;
};

/// How a surface runs across its sections, along t.
struct AcrossSections {
  int degree = 1;
  /// Row j: what each section adds to control point j of the spline in t, on clamped uniform knots.
  /// Null where the sections are the control points.
  const double* toControls = nullptr;
  /// The largest sum of the sections' absolute weights at any t: a deviation of the sections
  /// becomes at most this many times larger.
  double amplification = 1.0;
};

/// The part of the surface that `window` shows, within `tolerance` of it; null where its spline in
/// t has no form on uniform knots.
/// @param surface  the surface itself, for its validity and name
/// @throws ToNurbsInvalidSurfaceException, ToNurbsConvergenceException
std::shared_ptr<BSplineSurface> surfaceThroughSections(const Surface& surface,
                                                       const std::vector<Section>& sections,
                                                       const AcrossSections& across,
                                                       const ParameterWindow& window,
                                                       double tolerance);

}  // namespace trova::geometry::internal
