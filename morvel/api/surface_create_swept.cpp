// Surfaces from curves: extruded, revolved, ruled, lofted, swept, and pipes.

#include <numbers>

#include "morvel/api/c/surface_create.h"
#include "morvel/api/internal/surface_making.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/loft_surface.h"
#include "morvel/surfaces/surface_factory.h"

using namespace trova_internal;
namespace tg = trova::geometry;
using tg::SurfaceFactory;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;
using CurvePointer = SurfaceFactory::CurvePointer;

namespace {

/// The registered curve, not owned (the surfaces copy their curves). Empty, with the text "Invalid
/// <role> curve ID", where there is none.
CurvePointer findCurve(int handle, const char* role) {
  const tg::Curve* curve = curveTable().findAs<tg::Curve>(handle);
  if (!curve) setLastError(trova::foundation::status::join("Invalid ", role, " curve ID"));
  return CurvePointer(CurvePointer(), curve);
}

/// Stores a surface together with the record of how it was made; both or neither.
template <class Records, class Parameters>
int storeRecorded(std::unique_ptr<Surface> surface, const char* operation, std::string_view refusal,
                  Records& records, Parameters parameters) {
  if (!surface) return refuse(kBadArgument, refusal);
  if (!isSound(*surface)) return refuse(kBadArgument, "Created surface validation failed");
  StoredSurface stored(std::move(surface), operation);
  records.insert_or_assign(stored.handle(), std::move(parameters));
  return stored.keep();
}

}  // namespace

int create_surface_extrude(int curve, double dx, double dy, double dz, double distance) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const CurvePointer profile = findCurve(curve, "profile");
    if (!profile) return kBadArgument;
    const Vector3D direction(dx, dy, dz);
    if (direction.magnitude() < kMinVectorLength)
      return refuse(kBadArgument, "Direction vector must be non-zero");
    if (!(distance > 0.0)) return refuse(kBadArgument, "Extrude distance must be positive");
    if (const int code = checkFinite(function, {dx, dy, dz, distance})) return code;
    return storeMade(SurfaceFactory::createExtrude(profile, direction, distance),
                     "create_extrude_surface", "Extrude creation failed in SurfaceFactory");
  });
}

int create_surface_revolve(int curve, double px, double py, double pz, double ax, double ay,
                           double az, double startAngle, double endAngle) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const CurvePointer profile = findCurve(curve, "profile");
    if (!profile) return kBadArgument;
    const Vector3D axis(ax, ay, az);
    if (axis.magnitude() < kMinVectorLength)
      return refuse(kBadArgument, "Axis direction vector must be non-zero");
    if (!(endAngle > startAngle))
      return refuse(surface_codes::kEmptyAngleRange, "End angle must be greater than start angle");
    if (const int code = checkFinite(function, {px, py, pz, ax, ay, az, startAngle, endAngle}))
      return code;
    const Point3D point(px, py, pz);
    return storeRecorded(SurfaceFactory::createRevolve(profile, point, axis, startAngle, endAngle),
                         "create_revolve_surface", "Revolve creation failed in SurfaceFactory",
                         g_revolve_params,
                         RevolveParameters{curve, point, axis, startAngle, endAngle});
  });
}

int create_surface_revolve_full(int curve, double px, double py, double pz, double ax, double ay,
                                double az) {
  return create_surface_revolve(curve, px, py, pz, ax, ay, az, 0.0, 2.0 * std::numbers::pi);
}

int create_surface_ruled(int curve1, int curve2) {
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const CurvePointer first = findCurve(curve1, "first");
    const CurvePointer second = first ? findCurve(curve2, "second") : nullptr;
    if (!second) return kBadArgument;
    return storeMade(SurfaceFactory::createRuled(first, second), "create_ruled_surface",
                     "Ruled surface creation failed in SurfaceFactory");
  });
}

int create_surface_loft(const int* curves, int count, int degreeV) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (!curves) return refuseIn(function, "section curves must not be null");
    if (count < 2 || count > tg::LoftSurface::kMaxSections)
      return refuseIn(function, "section count must be from 2 to 1000");
    if (degreeV < 1) return refuseIn(function, "degree must be at least 1");
    std::vector<CurvePointer> sections;
    for (int k = 0; k < count; ++k) {
      sections.push_back(findCurve(curves[k], "section"));
      if (!sections.back()) return kBadArgument;
    }
    return storeRecorded(SurfaceFactory::createLoft(sections, degreeV), "create_loft_surface",
                         "Loft creation failed in SurfaceFactory", g_loft_params,
                         LoftParameters{{curves, curves + count}, degreeV});
  });
}

int create_surface_sweep(int profileCurve, int pathCurve) {
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const CurvePointer profile = findCurve(profileCurve, "profile");
    const CurvePointer path = profile ? findCurve(pathCurve, "path") : nullptr;
    if (!path) return kBadArgument;
    return storeRecorded(SurfaceFactory::createSweep(profile, path), "create_sweep_surface",
                         "Sweep creation failed in SurfaceFactory", g_sweep_params,
                         SweepParameters{profileCurve, pathCurve});
  });
}

int create_surface_pipe(int pathCurve, double radius) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    const CurvePointer path = findCurve(pathCurve, "path");
    if (!path) return kBadArgument;
    if (!(radius > 0.0)) return refuse(kBadArgument, "Pipe radius must be positive");
    if (const int code = checkFinite(function, {radius})) return code;
    return storeRecorded(SurfaceFactory::createPipe(path, radius), "create_pipe_surface",
                         "Pipe creation failed in SurfaceFactory", g_pipe_params,
                         PipeParameters{pathCurve, radius});
  });
}
