#pragma once

#include <memory>
#include <vector>

#include "morvel/nsided/internal/loop_layout.h"
#include "morvel/nsided/rbf_thin_plate_spline.h"
#include "morvel/surfaces/bspline_surface.h"

// A surface that fills a loop in space.

namespace trova::geometry::internal {

struct SpaceFillRequest {
  BoundaryCurves curves;
  std::vector<int> levels;      ///< continuity, one a curve
  std::vector<double> weights;  ///< one a curve, or none
  int spansU = 0;
  int spansV = 0;
  double boundaryTolerance = 0.0;
  double tangentFactor = 0.0;
  double plateFactor = 0.0;
};

/// How well a surface follows the loop that is laid around its domain.
struct BoundaryMeasure {
  double maxDeviation = 0.0;  ///< model units, at equal places: no less than the distance
  double rmsDeviation = 0.0;
  double maxAngle = 0.0;  ///< radians, to the tangent planes of neighbours that were asked for
};

struct SpaceFill {
  std::unique_ptr<BSplineSurface> surface;
  BoundaryMeasure measure;
  double conditionNumber = 0.0;
};

/// Lays the loop around the unit square, fits x, y and z by a thin plate each, and solves a bicubic
/// net on clamped uniform knots whose edges follow the loop; spans are doubled until the deviation
/// is below half the tolerance, or there are too many. Curves on surfaces have the tangent planes,
/// and where asked the curvatures, of their surfaces as demands on the rows beside the edges.
/// @throws std::invalid_argument, std::runtime_error where the loop cannot be laid or solved
SpaceFill fillLoopInSpace(const SpaceFillRequest& request);

/// At places between those that the net was solved for.
BoundaryMeasure measureBoundary(const BSplineSurface& surface, const LoopLayout& layout,
                                const SpaceFillRequest& request);

}  // namespace trova::geometry::internal
