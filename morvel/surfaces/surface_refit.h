#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/surface.h"

namespace trova::geometry {

/// Approximates any surface by a bicubic B-spline surface on clamped uniform knots over [0, 1] x
/// [0, 1]: tensor-product interpolation at the Greville abscissae (de Boor, A Practical Guide to
/// Splines, chapter XIII and XVII), on grids that are refined in each direction by the error found
/// in it, at points that were not fitted. Construct, initialise, approximate, take the result.
///
/// Bounded: at most 400 control points a direction and about two million evaluations in all. Smooth
/// surfaces gain four digits for a tenfold grid; a crease that no grid line meets is not resolved.
class MORVEL_API SurfaceRefitEngine {
 public:
  /// @param surface  outlives the engine
  /// @param box      the part to approximate, in the surface's parameters
  SurfaceRefitEngine(const Surface& surface, const ParameterDomain& box);

  /// @param counts     control points (u, v) to start from; brought into 4 .. 400
  /// @param tolerance  largest deviation at which refinement stops (model units)
  void initialise(const std::pair<int, int>& counts, double tolerance);

  /// False, without a result, where the surface is not finite on the box.
  bool approximate();

  /// The best surface found; null before `approximate` or where it failed.
  std::shared_ptr<BSplineSurface> result() const { return best_; }
  /// The largest distance between result and surface at equal parameters, at the points midway
  /// between the fitted ones (model units); infinite without a result.
  double maximumDeviation() const { return deviation_; }

 private:
  struct Fit;
  struct Deviation;

  bool fit(Fit& fit);
  bool measure(const Fit& fit, Deviation& deviation);
  double largestDeviation(const Fit& fit, const std::vector<double>& us,
                          const std::vector<double>& vs);
  bool refine(const Deviation& deviation);
  std::int64_t nextCost() const;

  const Surface& surface_;
  ParameterDomain box_;
  int countU_;
  int countV_;
  double tolerance_;
  std::int64_t evaluations_ = 0;
  std::shared_ptr<BSplineSurface> best_;
  double deviation_;
};

}  // namespace trova::geometry
