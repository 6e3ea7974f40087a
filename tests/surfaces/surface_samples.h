#pragma once

#include <memory>
#include <vector>

#include "morvel/curves/bezier_curve.h"
#include "morvel/surfaces/cone_surface.h"
#include "morvel/surfaces/cylinder_surface.h"
#include "morvel/surfaces/extrude_surface.h"
#include "morvel/surfaces/loft_surface.h"
#include "morvel/surfaces/path_guided_sweep_surface.h"
#include "morvel/surfaces/pipe_surface.h"
#include "morvel/surfaces/plane_surface.h"
#include "morvel/surfaces/revolve_surface.h"
#include "morvel/surfaces/ruled_surface.h"
#include "morvel/surfaces/sphere_surface.h"
#include "morvel/surfaces/torus_surface.h"
#include "tests/support/shapes.h"

// One example of every surface class that is given by a formula or made from curves.

namespace morvel_test {

using SurfacePointer = std::shared_ptr<const Surface>;
using CurvePointer = std::shared_ptr<const Curve>;

template <class T>
CurvePointer shared(const T& curve) {
  return std::make_shared<T>(curve);
}

/// A cubic in space without inflection or cusp.
inline CurvePointer spaceCubic() {
  return shared(BezierCurve({{0, 0, 0}, {2, 0, 1}, {3, 3, 0}, {2, 4, 4}}));
}

inline const Point3D kCenter{1, -2, 0.5};
inline const Vector3D kTilted{1, 2, 2};

inline std::vector<SurfacePointer> roundSurfaces() {
  return {std::make_shared<SphereSurface>(kCenter, 1.5, kTilted),
          std::make_shared<CylinderSurface>(kCenter, kTilted, 0.75, 2.0),
          std::make_shared<ConeSurface>(kCenter, kTilted, 1.25, 2.5),
          std::make_shared<TorusSurface>(kCenter, kTilted, 2.0, 0.5)};
}

/// Those that hold every affine map.
inline std::vector<SurfacePointer> affineSurfaces() {
  return {std::make_shared<PlaneSurface>(kCenter, Vector3D(1, 2, 0), Vector3D(0, 1, 1), 3.0, 2.0),
          std::make_shared<ExtrudeSurface>(shared(tiltedArc()), Vector3D(0, 1, 2), 3.0),
          std::make_shared<RevolveSurface>(spaceCubic(), Point3D(-2, 0, 0), Vector3D(0, 1, 3), 0.5,
                                           4.5),
          std::make_shared<RuledSurface>(spaceCubic(), shared(halfEllipse())),
          std::make_shared<LoftSurface>(std::vector<CurvePointer>{
              spaceCubic(), shared(LineCurve({0, 0, 2}, {3, 3, 3})), shared(quarterCircle()),
              shared(LineCurve({1, 0, 6}, {2, 3, 5})), shared(tiltedArc())}),
          std::make_shared<PathGuidedSweepSurface>(shared(tiltedArc()), spaceCubic()),
          std::make_shared<PipeSurface>(spaceCubic(), 0.4)};
}

inline std::vector<SurfacePointer> allSurfaces() {
  std::vector<SurfacePointer> all = roundSurfaces();
  for (const SurfacePointer& surface : affineSurfaces())
    all.push_back(surface);
  return all;
}

}  // namespace morvel_test
