#include "morvel/surfaces/surface_factory.h"

#include <stdexcept>

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

namespace trova::geometry {
namespace {

/// The surface that the arguments make, or null where its constructor refuses them or it is not
/// valid. Lack of memory is not an answer and passes through.
template <class Made, class... Arguments>
std::unique_ptr<Surface> validOrNull(const Arguments&... arguments) {
  try {
    auto surface = std::make_unique<Made>(arguments...);
    if (surface->isValid()) return surface;
  } catch (const std::invalid_argument&) {
  }
  return nullptr;
}

}  // namespace

std::unique_ptr<Surface> SurfaceFactory::createPlane(const Point3D& origin,
                                                     const Vector3D& uDirection,
                                                     const Vector3D& vDirection, double uExtent,
                                                     double vExtent) {
  return validOrNull<PlaneSurface>(origin, uDirection, vDirection, uExtent, vExtent);
}

std::unique_ptr<Surface> SurfaceFactory::createSphere(const Point3D& center, double radius,
                                                      const Vector3D& axis) {
  return validOrNull<SphereSurface>(center, radius, axis);
}

std::unique_ptr<Surface> SurfaceFactory::createCylinder(const Point3D& baseCenter,
                                                        const Vector3D& axis, double radius,
                                                        double height) {
  return validOrNull<CylinderSurface>(baseCenter, axis, radius, height);
}

std::unique_ptr<Surface> SurfaceFactory::createCone(const Point3D& baseCenter, const Vector3D& axis,
                                                    double baseRadius, double height) {
  return validOrNull<ConeSurface>(baseCenter, axis, baseRadius, height);
}

std::unique_ptr<Surface> SurfaceFactory::createTorus(const Point3D& center, const Vector3D& axis,
                                                     double majorRadius, double minorRadius) {
  return validOrNull<TorusSurface>(center, axis, majorRadius, minorRadius);
}

std::unique_ptr<Surface> SurfaceFactory::createExtrude(const CurvePointer& profile,
                                                       const Vector3D& direction, double distance) {
  return validOrNull<ExtrudeSurface>(profile, direction, distance);
}

std::unique_ptr<Surface> SurfaceFactory::createRevolve(const CurvePointer& profile,
                                                       const Point3D& axisPoint,
                                                       const Vector3D& axisDirection,
                                                       double startAngle, double endAngle) {
  return validOrNull<RevolveSurface>(profile, axisPoint, axisDirection, startAngle, endAngle);
}

std::unique_ptr<Surface> SurfaceFactory::createRuled(const CurvePointer& first,
                                                     const CurvePointer& second) {
  return validOrNull<RuledSurface>(first, second);
}

std::unique_ptr<Surface> SurfaceFactory::createLoft(const std::vector<CurvePointer>& sections,
                                                    int degreeV) {
  return validOrNull<LoftSurface>(sections, degreeV);
}

std::unique_ptr<Surface> SurfaceFactory::createSweep(const CurvePointer& profile,
                                                     const CurvePointer& path) {
  return validOrNull<PathGuidedSweepSurface>(profile, path);
}

std::unique_ptr<Surface> SurfaceFactory::createPipe(const CurvePointer& path, double radius) {
  return validOrNull<PipeSurface>(path, radius);
}

}  // namespace trova::geometry
