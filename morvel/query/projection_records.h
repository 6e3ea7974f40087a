#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "morvel/curves/bspline_curve.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/surfaces/curve_on_surface.h"

// What projections hand back.

namespace trova::projection {

using foundation::Point3D;
using geometry::BSplineCurve;
using geometry::CurveOnSurface;

/// Where a point meets a surface.
struct MORVEL_API ProjectedPoint {
  double u = 0.0;
  double v = 0.0;
  Point3D point;          ///< on the surface
  double distance = 0.0;  ///< from the projected point, model units, never negative
  /// Along a direction: how far in units of length, negative behind the point. Else the distance.
  double along = 0.0;
  int iterations = 0;
  bool converged = false;  ///< settled to rounding
};

/// A parameter pair of the surface at a parameter of the projected curve.
struct MORVEL_API UVS {
  double u = 0.0;
  double v = 0.0;
  double s = 0.0;
};

/// A point of a curve with its projection.
struct MORVEL_API SamplePoint {
  double parameter = 0.0;  ///< of the curve
  Point3D source;          ///< on the curve
  ProjectedPoint hit;
  /// By parameter, set by `apply_tangent_continuity`: of u and v arriving here and leaving.
  double arrivingU = 0.0, arrivingV = 0.0;
  double leavingU = 0.0, leavingV = 0.0;
};

/// Measured on projections between the samples, model units.
struct MORVEL_API ProjectionQuality {
  double max_deviation = 0.0;      ///< curve on the surface from the true projection
  double mean_deviation = 0.0;     ///< likewise
  double max_fit_deviation = 0.0;  ///< 3D curve from the curve on the surface; 0 without one
  int sample_count = 0;
  int iterations = 0;         ///< of the searches of all samples
  double max_distance = 0.0;  ///< from a curve point to its projection
  /// 100 where the larger deviation is within the tolerance asked for, falling in proportion above.
  double quality_score = 0.0;
};

/// One piece of a projected curve: a stretch over which it stays on the surface without a jump.
struct MORVEL_API ProjectionResult {
  std::vector<SamplePoint> samples;  ///< ascending parameters, at least two
  std::unique_ptr<CurveOnSurface> curve_on_surface;
  std::unique_ptr<BSplineCurve> curve_3d;
  ProjectionQuality quality;
};

/// One curve on one surface.
struct MORVEL_API ProjectionOutcome {
  int curve = 0;    ///< index of the curve
  int surface = 0;  ///< index of the surface
  bool success = false;
  std::string message;  ///< why not
  std::vector<ProjectionResult> pieces;
};

/// The outcomes of all inputs: surfaces of the first curve, then those of the next.
struct MORVEL_API ProjectionReport {
  std::vector<ProjectionOutcome> outcomes;

  bool succeeded() const;  ///< any piece was made
  std::size_t pieceCount() const;
  /// Over all pieces: maxima, mean weighted by samples, sums; the least score.
  ProjectionQuality quality() const;
};

/// Projections by curve and surface. By contract no operation fills it.
using ProjectionCache = std::map<std::pair<int, int>, std::vector<UVS>>;

}  // namespace trova::projection
