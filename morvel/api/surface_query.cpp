// Type, degrees, knots, nets, domain and area of surfaces.

#include "morvel/api/c/surface_query.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/internal/surface_lookup.h"
#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/loft_surface.h"
#include "morvel/surfaces/nurbs_surface.h"

using namespace trova_internal;
namespace tg = trova::geometry;

namespace {

constexpr int kInfoGiven = 1;
constexpr int kRangesGiven = 1;
constexpr int kRangesRefused = 0;
constexpr CodeText kUnknownHandle{kNotFound, kInvalidSurfaceHandle};

struct TypeName {
  std::string_view identifier;
  std::string_view name;
};

// Also of classes that other layers add.
constexpr std::array kTypeNames = {
    TypeName{"BSplineSurface", "bspline_surface"},
    TypeName{"BezierSurface", "bezier_surface"},
    TypeName{"NurbsSurface", "nurbs_surface"},
    TypeName{"PlaneSurface", "plane_surface"},
    TypeName{"SphereSurface", "sphere_surface"},
    TypeName{"CylinderSurface", "cylinder_surface"},
    TypeName{"ConeSurface", "cone_surface"},
    TypeName{"TorusSurface", "torus_surface"},
    TypeName{"ExtrudeSurface", "extrude_surface"},
    TypeName{"RevolveSurface", "revolve_surface"},
    TypeName{"LoftSurface", "loft_surface"},
    TypeName{"RuledSurface", "ruled_surface"},
    TypeName{"PathGuidedSweepSurface", "sweep_surface"},
    TypeName{"PipeSurface", "pipe_surface"},
    TypeName{"CoonsPatch", "coons_patch"},
    TypeName{"ThroughCurveNetworkSurface", "net_surface"},
    TypeName{"OffsetSurface", "offset_surface"},
};

std::string_view typeNameOf(const std::string& identifier) {
  const auto entry = std::find_if(kTypeNames.begin(), kTypeNames.end(), [&](const TypeName& type) {
    return type.identifier == identifier;
  });
  return entry == kTypeNames.end() ? "unknown_surface" : entry->name;
}

/// Asks a spline or Bezier surface; nothing for any other.
template <class Question>
std::optional<int> askNet(const Surface& surface, Question question) {
  if (const auto* spline = dynamic_cast<const tg::SplineSurface*>(&surface))
    return question(*spline);
  if (const auto* patch = dynamic_cast<const tg::BezierSurface*>(&surface)) return question(*patch);
  return std::nullopt;
}

std::optional<int> degreeOf(const Surface& surface, Direction direction) {
  return askNet(surface, [&](const auto& net) {
    return direction == Direction::U ? net.getUDegree() : net.getVDegree();
  });
}

std::optional<int> pointCountOf(const Surface& surface, Direction direction) {
  return askNet(surface, [&](const auto& net) {
    return direction == Direction::U ? net.getUControlPointCount() : net.getVControlPointCount();
  });
}

const tg::ControlNet* netOf(const Surface& surface) {
  const tg::ControlNet* net = nullptr;
  askNet(surface, [&](const auto& owner) {
    net = &owner.controlNet();
    return 0;
  });
  return net;
}

/// The stored knots, or null.
const std::vector<double>* knotsOf(const Surface& surface, Direction direction) {
  const auto* spline = dynamic_cast<const tg::SplineSurface*>(&surface);
  if (!spline) return nullptr;
  return direction == Direction::U ? &spline->getUKnotVector() : &spline->getVKnotVector();
}

int degree(int handle, Direction direction) {
  return withSurface(handle, kNotFound, [&](const Surface& surface) {
    const std::optional<int> degree = degreeOf(surface, direction);
    return degree ? *degree : refuse(kNoDegreeOrKnots, "Surface type does not have a degree");
  });
}

int pointCount(int handle, Direction direction) {
  return withSurface(handle, kNotFound, [&](const Surface& surface) {
    const std::optional<int> count = pointCountOf(surface, direction);
    return count ? *count : refuse(kNoDegreeOrKnots, "Surface type does not have control points");
  });
}

int knotCount(int handle, Direction direction) {
  return withSurface(handle, kNotFound, [&](const Surface& surface) {
    const std::vector<double>* knots = knotsOf(surface, direction);
    return knots ? static_cast<int>(knots->size()) : 0;
  });
}

/// Stores no text; the callers know whether there is to be one.
int copyKnots(int handle, Direction direction, double* out, int capacity, int* outCount) {
  if (anyNull(out, outCount)) return kBadArgument;
  const Surface* surface = findSurface(handle);
  if (!surface) return kNotFound;
  const std::vector<double>* knots = knotsOf(*surface, direction);
  if (!knots) return kNoDegreeOrKnots;
  *outCount = static_cast<int>(knots->size());
  if (*outCount > capacity) return surface_codes::kBufferTooSmall;
  std::copy(knots->begin(), knots->end(), out);
  return kSuccess;
}

int copyKnotsExplained(int result, std::string_view noKnots, std::string_view tooSmall) {
  return explained(result, {{kBadArgument, "Output buffers cannot be null"},
                            kUnknownHandle,
                            {kNoDegreeOrKnots, noKnots},
                            {surface_codes::kBufferTooSmall, tooSmall}});
}

/// Room for points; `count`, and `nU` and `nV` unless null, get the size of the net.
struct PointBuffer {
  double* out;
  int capacity;  // points
  int* count;
  int* nU = nullptr;
  int* nV = nullptr;
};

int copyNet(const tg::ControlNet& net, const PointBuffer& buffer) {
  *buffer.count = static_cast<int>(net.points().size());
  if (buffer.nU) *buffer.nU = net.uCount();
  if (buffer.nV) *buffer.nV = net.vCount();
  if (*buffer.count > buffer.capacity) return surface_codes::kPointBufferTooSmall;
  writePoints(net.points(), buffer.out);
  return kSuccess;
}

/// The loft's B-spline form is made for the call only: a question leaves the registry as it is.
int copyLoftNet(const tg::LoftSurface& loft, const PointBuffer& buffer) {
  const std::unique_ptr<tg::BSplineSurface> rebuilt =
      guarded(std::unique_ptr<tg::BSplineSurface>(), kNoMessage, [&] { return loft.toBSpline(); });
  if (!rebuilt) return refuse(kExceptionCaught, "Failed to rebuild LoftSurface for control points");
  return explained(copyNet(rebuilt->controlNet(), buffer),
                   {{surface_codes::kPointBufferTooSmall,
                     "Insufficient buffer size for rebuilt loft surface control points"}});
}

int copyControlPoints(const Surface& surface, const PointBuffer& buffer) {
  if (const auto* loft = dynamic_cast<const tg::LoftSurface*>(&surface))
    return copyLoftNet(*loft, buffer);
  const tg::ControlNet* net = netOf(surface);
  if (!net) return refuse(kUnsupported, "Surface type does not support control point access");
  return explained(copyNet(*net, buffer), {{surface_codes::kPointBufferTooSmall,
                                            "Insufficient buffer size for control points"}});
}

int writeDomain(int handle, double* uMin, double* uMax, double* vMin, double* vMax) {
  if (anyNull(uMin, uMax, vMin, vMax)) return refuse(kBadArgument, "Invalid output parameters");
  return withSurface(handle, kNotFound, [&](const Surface& surface) {
    const tg::ParameterDomain domain = surface.getParameterDomain();
    *uMin = domain.uMin;
    *uMax = domain.uMax;
    *vMin = domain.vMin;
    *vMax = domain.vMax;
    return kSuccess;
  });
}

}  // namespace

int get_surface_type(int surface, char* buffer, int size) {
  if (!buffer || size <= 0) return refuse(kBadArgument, "Invalid output buffer");
  return withSurface(surface, kBadArgument, [&](const Surface& found) {
    const std::string_view name = typeNameOf(found.getTypeIdentifier());
    if (name.size() >= static_cast<std::size_t>(size))
      return refuse(surface_codes::kBufferTooSmall, "Buffer too small for surface type string");
    copyText(name, buffer, size);
    return kSuccess;
  });
}

int get_surface_type_c(int surface, char* buffer, int size) {
  return get_surface_type(surface, buffer, size);
}

int get_surface_info(int surface, char* buffer, int size) {
  return guarded(kExceptionCaught, kNoMessage, [&] {
    if (!buffer || size <= 0) return kBadArgument;
    const Surface* found = findSurface(surface);
    if (!found) return kNotFound;
    const std::string identifier = found->getTypeIdentifier();
    if (identifier.size() >= static_cast<std::size_t>(size)) return kBadArgument;
    copyText(identifier, buffer, size);
    return kInfoGiven;
  });
}

int get_surface_u_degree(int surface) { return degree(surface, Direction::U); }
int get_surface_v_degree(int surface) { return degree(surface, Direction::V); }

int get_surface_u_control_points_count(int surface) { return pointCount(surface, Direction::U); }
int get_surface_v_control_points_count(int surface) { return pointCount(surface, Direction::V); }

int get_surface_u_knots_count(int surface) { return knotCount(surface, Direction::U); }
int get_surface_v_knots_count(int surface) { return knotCount(surface, Direction::V); }

int get_surface_u_knot_vector(int surface, double* out, int capacity, int* outCount) {
  return copyKnotsExplained(copyKnots(surface, Direction::U, out, capacity, outCount),
                            "Surface type does not have a U knot vector",
                            "Buffer too small for U knot vector");
}

int get_surface_v_knot_vector(int surface, double* out, int capacity, int* outCount) {
  return copyKnotsExplained(copyKnots(surface, Direction::V, out, capacity, outCount),
                            "Surface type does not have a V knot vector",
                            "Buffer too small for V knot vector");
}

int get_surface_u_knot_vector_ex(int surface, double* out, int capacity, int* outCount) {
  return copyKnots(surface, Direction::U, out, capacity, outCount);
}

int get_surface_v_knot_vector_ex(int surface, double* out, int capacity, int* outCount) {
  return copyKnots(surface, Direction::V, out, capacity, outCount);
}

int get_surface_degrees_ex(int surface, int* degreeU, int* degreeV) {
  if (anyNull(degreeU, degreeV)) return kBadArgument;
  const Surface* found = findSurface(surface);
  if (!found) return kNotFound;
  const std::optional<int> u = degreeOf(*found, Direction::U);
  const std::optional<int> v = degreeOf(*found, Direction::V);
  if (!u || !v) return kNoDegreeOrKnots;
  *degreeU = *u;
  *degreeV = *v;
  return kSuccess;
}

int get_surface_control_points_ex(int surface, double* out, int capacityInPoints, int* outCount) {
  if (anyNull(out, outCount)) return refuse(kBadArgument, "Invalid output parameters");
  const int result = withSurface(surface, kNotFound, [&](const Surface& found) {
    return copyControlPoints(found, {out, capacityInPoints, outCount});
  });
  return result == surface_codes::kPointBufferTooSmall ? surface_codes::kBufferTooSmall : result;
}

int get_surface_control_points(int surface, double* out, int capacityInPoints, int* outCount,
                               int* nU, int* nV) {
  if (anyNull(out, outCount)) return refuse(kBadArgument, "Invalid output parameters");
  return withSurface(surface, kNotFound, [&](const Surface& found) {
    return copyControlPoints(found, {out, capacityInPoints, outCount, nU, nV});
  });
}

int is_surface_rational(int surface) {
  return withSurface(surface, kNotFound, [](const Surface& found) {
    const auto* rational = dynamic_cast<const tg::NurbsSurface*>(&found);
    return static_cast<int>(rational && rational->isRational());
  });
}

int get_surface_parameter_domain(int surface, double* uMin, double* uMax, double* vMin,
                                 double* vMax) {
  return writeDomain(surface, uMin, uMax, vMin, vMax);
}

int get_surface_parameter_ranges(int surface, double* uMin, double* uMax, double* vMin,
                                 double* vMax) {
  const int result = writeDomain(surface, uMin, uMax, vMin, vMax);
  return result == kSuccess ? kRangesGiven : kRangesRefused;
}

double get_surface_area(int surface, double tolerance) {
  const double unknown = kBadArgument;
  return withSurface(surface, unknown,
                     [&](const Surface& found) { return finiteResult(found.getArea(tolerance)); });
}
