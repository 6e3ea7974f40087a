#include "morvel/surfaces/to_nurbs.h"

#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/surface.h"
#include "morvel/surfaces/surface_refit.h"

namespace trova::geometry {

ToNurbsInvalidSurfaceException::ToNurbsInvalidSurfaceException(const std::string& type)
    : ToNurbsException("Surface of type " + type + " is invalid for ToNurbs conversion") {}

ToNurbsConvergenceException::ToNurbsConvergenceException(double achieved, double target)
    : ToNurbsException(foundation::status::join(
          "ToNurbs conversion failed to meet tolerance requirements: achieved ", achieved,
          ", target ", target)),
      achieved_(achieved),
      target_(target) {}

std::shared_ptr<BSplineSurface> defaultToNurbsImplementation(
    const Surface& surface, const std::pair<double, double>& tolerances,
    const std::pair<int, int>& parameters) {
  const std::string type = surface.getTypeIdentifier();
  if (!surface.isValid()) throw ToNurbsInvalidSurfaceException(type);
  foundation::progress::Stage stage("converting to spline form");
  SurfaceRefitEngine engine(surface, surface.getParameterDomain());
  engine.initialise(parameters, tolerances.first);
  engine.approximate();
  if (!engine.result())
    throw ToNurbsException("Failed to produce valid B-spline surface for " + type);
  const double achieved = engine.maximumDeviation();
  if (!(achieved <= tolerances.second))
    throw ToNurbsConvergenceException(achieved, tolerances.second);
  stage.finish();
  return engine.result();
}

}  // namespace trova::geometry
