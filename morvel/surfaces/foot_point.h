#pragma once

#include <functional>

#include "morvel/foundation/export.h"
#include "morvel/surfaces/surface.h"

// The foot of a point on a surface: the (u, v) at which half the squared distance is least. Whoever
// projects points (closest parameters, projection engines, parameter correction) takes gradient and
// Hessian from here and keeps its own damping, clamping and stopping where those are prescribed.

namespace trova::geometry {

/// f = |S - target|^2 / 2 with its gradient and Hessian in (u, v) (model units squared).
struct MORVEL_API FootPointSystem {
  double value = 0.0;
  double gradientU = 0.0;
  double gradientV = 0.0;
  double hessianUU = 0.0;
  double hessianUV = 0.0;
  double hessianVV = 0.0;
};

/// @param at  the surface's evaluation of order 2
MORVEL_API FootPointSystem footPointSystem(const SurfaceEvaluation& at, const Point3D& target);

struct MORVEL_API FootPoint {
  double u = 0.0;
  double v = 0.0;
  double distance = 0.0;  ///< model units
  bool converged =
      false;  ///< a stationary point of the distance over the closed domain was reached
};

/// Point, and derivatives up to order 2, of what is projected on.
using SurfacePointFunction = std::function<Point3D(double u, double v)>;
using SurfaceDerivativeFunction = std::function<SurfaceEvaluation(double u, double v)>;

/// Newton's method from (u, v), damped (Levenberg and Marquardt: the Hessian is shifted until it is
/// positive definite and the step descends) and kept in the domain: a parameter at a bound that the
/// descent pushes outward is held there. Ends after a bounded number of steps and on a value that
/// is not finite; never further from the target than the start.
MORVEL_API FootPoint refineFootPoint(const SurfaceDerivativeFunction& derivatives,
                                     const ParameterDomain& domain, const Point3D& target, double u,
                                     double v);

/// Samples per direction that resolve the bends of a spline with this many control points.
MORVEL_API int footPointSamples(int controlPointCount);

/// The closest of the stationary points reached from the best samples of a regular grid. Global for
/// surfaces whose bends the grid resolves. A target or surface that is not finite gives the middle
/// of the domain, not converged.
/// @param samplesU, samplesV  grid size, each at least 2
MORVEL_API FootPoint closestFootPoint(const SurfacePointFunction& point,
                                      const SurfaceDerivativeFunction& derivatives,
                                      const ParameterDomain& domain, const Point3D& target,
                                      int samplesU, int samplesV);

}  // namespace trova::geometry
