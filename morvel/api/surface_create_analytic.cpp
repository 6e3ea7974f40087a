// Planes, spheres, cylinders, cones, tori, and cubes of planes.

#include <algorithm>
#include <array>

#include "morvel/api/c/surface_create.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/surface_making.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/surface_factory.h"

using namespace trova_internal;
namespace status = trova::foundation::status;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;
using trova::geometry::SurfaceFactory;

namespace {

constexpr int kCubeFaces = 6;
constexpr int kCubeMade = 1;

/// Prints as "(x, y, z)".
struct Triple {
  double x, y, z;
};

std::ostream& operator<<(std::ostream& out, const Triple& t) {
  return out << '(' << t.x << ", " << t.y << ", " << t.z << ')';
}

template <class Value>
Triple shown(const Value& value) {
  return {value.x(), value.y(), value.z()};
}

void logPlane(const Point3D& origin, const Vector3D& u, const Vector3D& v) {
  status::debug("create_surface_plane: origin ", shown(origin));
  for (const Vector3D* vector : {&u, &v}) {
    status::debug("  ", vector == &u ? 'u' : 'v', " direction ", shown(*vector), ", magnitude ",
                  vector->magnitude(), ", extent ", vector->magnitude());
  }
}

/// The face of the cube whose outward normal is the given axis, or its opposite: origin and edges.
int createFace(const double* center, double side, int axis, bool isFar) {
  const double half = side / 2.0;
  double origin[kDoublesPerPoint] = {center[0] - half, center[1] - half, center[2] - half};
  double first[kDoublesPerPoint] = {};
  double second[kDoublesPerPoint] = {};
  first[(axis + 1) % kDoublesPerPoint] = side;
  second[(axis + 2) % kDoublesPerPoint] = side;
  if (isFar) origin[axis] = center[axis] + half;
  return isFar ? create_surface_plane(origin, first, second)
               : create_surface_plane(origin, second, first);
}

}  // namespace

int create_surface_plane(const double* origin, const double* uVector, const double* vVector) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (anyNull(origin, uVector, vVector))
      return refuseIn(function, "origin and vectors must not be null");
    const Point3D corner = readPoint(origin);
    const Vector3D u = readVector(uVector);
    const Vector3D v = readVector(vVector);
    if (!corner.isFinite() || !u.isFinite() || !v.isFinite())
      return refuseIn(function, "coordinates must be finite");
    if (!hasDirection(u) || !hasDirection(v))
      return refuseIn(function, "u and v vectors must be longer than 1e-10");
    logPlane(corner, u, v);
    return storeMade(SurfaceFactory::createPlane(corner, u, v, u.magnitude(), v.magnitude()),
                     "create_plane", "Plane creation failed in SurfaceFactory");
  });
}

int create_surface_sphere(double x, double y, double z, double radius) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (!(radius > 0.0)) return refuse(kBadArgument, "Sphere radius must be positive");
    if (const int code = checkFinite(function, {x, y, z, radius})) return code;
    return storeMade(SurfaceFactory::createSphere({x, y, z}, radius), "create_sphere",
                     "Sphere creation failed in SurfaceFactory");
  });
}

int create_surface_cylinder(double x, double y, double z, double radius, double ax, double ay,
                            double az, double height) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (!(radius > 0.0) || !(height > 0.0))
      return refuse(kBadArgument, "Cylinder radius and height must be positive");
    if (const int code = checkFinite(function, {x, y, z, radius, ax, ay, az, height})) return code;
    if (!hasDirection({ax, ay, az}))
      return refuse(kBadArgument, "Cylinder axis vector cannot be zero");
    return storeMade(SurfaceFactory::createCylinder({x, y, z}, {ax, ay, az}, radius, height),
                     "create_cylinder", "Cylinder creation failed in SurfaceFactory");
  });
}

int create_surface_cone(double x, double y, double z, double ax, double ay, double az,
                        double baseRadius, double height) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (!(baseRadius > 0.0)) return refuse(kBadArgument, "Cone base radius must be positive");
    if (!(height > 0.0)) return refuse(kBadArgument, "Cone height must be positive");
    if (const int code = checkFinite(function, {x, y, z, ax, ay, az, baseRadius, height}))
      return code;
    if (!hasDirection({ax, ay, az})) return refuse(kBadArgument, "Cone axis vector cannot be zero");
    const int handle =
        storeMade(SurfaceFactory::createCone({x, y, z}, {ax, ay, az}, baseRadius, height),
                  "create_cone", "Cone creation failed in SurfaceFactory");
    if (handle > 0) status::success("Cone surface created with handle: ", handle);
    return handle;
  });
}

int create_surface_torus(double x, double y, double z, double ax, double ay, double az,
                         double majorRadius, double minorRadius) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (!(majorRadius > 0.0) || !(minorRadius > 0.0))
      return refuse(kBadArgument, "Torus major and minor radii must be positive");
    if (const int code = checkFinite(function, {x, y, z, ax, ay, az, majorRadius, minorRadius}))
      return code;
    if (!hasDirection({ax, ay, az}))
      return refuse(kBadArgument, "Torus axis vector cannot be zero");
    return storeMade(SurfaceFactory::createTorus({x, y, z}, {ax, ay, az}, majorRadius, minorRadius),
                     "create_torus", "Torus creation failed in SurfaceFactory");
  });
}

int create_cube(const double* center, double side, int* faces) {
  const char* function = __func__;
  return guarded(kExceptionCaught, kOwnMessage, [&] {
    if (!faces) return refuse(kBadArgument, "Output face handles array cannot be NULL");
    if (!(side > 0.0)) return refuse(kBadArgument, "Cube side length must be positive");
    if (!center) return refuseIn(function, "center must not be null");
    if (const int code = checkFinite(function, {center[0], center[1], center[2], side}))
      return code;
    std::fill_n(faces, kCubeFaces, -1);
    std::array<int, kCubeFaces> made;
    for (int face = 0; face < kCubeFaces; ++face)
      made[face] = createFace(center, side, face / 2, face % 2 != 0);
    if (*std::min_element(made.begin(), made.end()) > 0) {
      std::copy(made.begin(), made.end(), faces);
      return kCubeMade;
    }
    // A cube that lacks a face is no cube: the registry stays as it was.
    for (const int handle : made)
      surfaceTable().erase(handle);
    return refuse(kExceptionCaught, "Failed to create all cube faces");
  });
}
