// The stages of rolling-ball blends by handle.

#include <algorithm>
#include <cmath>

#include "morvel/api/c/rolling_ball.h"
#include "morvel/api/internal/blend_access.h"
#include "morvel/blend/canal_surface_constructor.h"
#include "morvel/blend/contact_point_solver.h"
#include "morvel/blend/offset_surface_generator.h"
#include "morvel/blend/radius_law.h"
#include "morvel/blend/surface_intersection_generator.h"
#include "morvel/blend/variable_spine_contact_solver.h"

using namespace trova_internal;
using namespace trova_internal::blends;
namespace tb = trova::geometry::blend;

using trova::foundation::Point3D;
using trova::foundation::Vector3D;
using trova::geometry::ParameterDomain;

namespace {

// ---- contacts -----------------------------------------------------------------------------------

/// Where contacts go; each may be null.
struct ContactOutput {
  double* points;
  double* uv;
  double* normals;
  double* residuals;
  int* converged;

  void write(const tb::ContactPoint& contact, std::ptrdiff_t k) const {
    if (points) writeTriple(contact.position, points + kDoublesPerPoint * k);
    if (uv) uv[2 * k] = contact.u, uv[2 * k + 1] = contact.v;
    if (normals) writeTriple(contact.normal, normals + kDoublesPerPoint * k);
    if (residuals) residuals[k] = contact.residual;
    if (converged) converged[k] = contact.converged ? 1 : 0;
  }
};

int writeContactsOf(const char* function, int surface1, int surface2, const double* centres,
                    int count, const std::vector<double>& radii, const ContactOutput& out) {
  SurfacePairByHandle pair;
  if (const int code = pair.find(function, surface1, surface2)) return code;
  const auto triplets = tb::ContactPointSolver::computeContactPoints(
      *pair.first, *pair.second, copyPoints(centres, count), radii);
  const auto isFinite = [](const tb::ContactPoint& contact) {
    return contact.position.isFinite() && contact.normal.isFinite() &&
           std::isfinite(contact.u + contact.v + contact.residual);
  };
  int settled = 0;
  for (const tb::ContactTriplet& at : triplets)
    requireFiniteResult(isFinite(at.first) && isFinite(at.second));
  for (std::size_t k = 0; k < triplets.size(); ++k) {
    out.write(triplets[k].first, std::ptrdiff_t(2 * k));
    out.write(triplets[k].second, std::ptrdiff_t(2 * k + 1));
    settled += triplets[k].first.converged && triplets[k].second.converged ? 1 : 0;
  }
  return settled;
}

// ---- intersections ------------------------------------------------------------------------------

/// Where the branches of an intersection go.
struct BranchOutput {
  double* points;
  double* uv1;
  double* uv2;
  int* ends;
  int* closed;
  int* endKinds;

  void write(const tb::SurfaceIntersection& met) const {
    std::ptrdiff_t at = 0;
    for (std::size_t b = 0; b < met.branches.size(); ++b) {
      for (const tb::IntersectionPoint& point : met.branches[b].points) {
        if (points) writeTriple(point.point, points + kDoublesPerPoint * at);
        if (uv1) uv1[2 * at] = point.u1, uv1[2 * at + 1] = point.v1;
        if (uv2) uv2[2 * at] = point.u2, uv2[2 * at + 1] = point.v2;
        ++at;
      }
      if (ends) ends[b] = static_cast<int>(at);
      if (closed) closed[b] = met.branches[b].is_closed ? 1 : 0;
      if (endKinds) {
        endKinds[2 * b] = static_cast<int>(met.branches[b].start);
        endKinds[2 * b + 1] = static_cast<int>(met.branches[b].end);
      }
    }
  }
};

// ---- canals -------------------------------------------------------------------------------------

int storeCanal(const char* function, const double* centres, const double* contacts1,
               const double* contacts2, int count, const std::vector<double>& radii,
               int samplesAlong, int samplesAcross) {
  tb::CanalSurfaceConfig config;
  config.samples_along = samplesAlong;
  config.samples_across = samplesAcross;
  constexpr double kShare = 1e-4;
  config.position_tolerance = kShare * *std::min_element(radii.begin(), radii.end());
  tb::CanalResult made = tb::CanalSurfaceConstructor::constructFromTriplets(
      copyPoints(centres, count), copyPoints(contacts1, count), copyPoints(contacts2, count), radii,
      config);
  if (!made.surface) return refuseIn(function, made.error.c_str(), kExceptionCaught);
  return storeSound(std::move(made.surface), function, kExceptionCaught,
                    std::string(function) + ": Constructed canal surface is invalid");
}

/// 0, or -1 with a text.
int checkCanal(const char* function, const double* centres, const double* contacts1,
               const double* contacts2, int count, int samplesAlong, int samplesAcross) {
  if (anyNull(centres, contacts1, contacts2)) return refuseIn(function, "Null input arrays");
  if (count < 2) return refuseIn(function, "Need at least 2 centres");
  if (!isBetween(samplesAlong, 3, 1000) || !isBetween(samplesAcross, 3, 100))
    return refuseIn(function, "Invalid sample counts");
  for (const double* points : {centres, contacts1, contacts2})
    if (const int code = checkPoints(function, points, count)) return code;
  return kSuccess;
}

}  // namespace

int compute_contact_points(int surface1, int surface2, const double* centres, int count,
                           double radius, double* points, double* uv, double* normals,
                           double* residuals, int* converged) {
  const char* const function = __func__;
  return guardedBlend(function, [&] {
    if (const int code = checkPoints(function, centres, count)) return code;
    if (!areRadii(&radius, 1)) return refuseIn(function, "Invalid radius (must be > 0)");
    return writeContactsOf(function, surface1, surface2, centres, count, {radius},
                           {points, uv, normals, residuals, converged});
  });
}

int compute_variable_contact_points(int surface1, int surface2, const double* centres,
                                    const double* radii, int count, double* points, double* uv,
                                    double* normals, double* residuals, int* converged) {
  const char* const function = __func__;
  return guardedBlend(function, [&] {
    if (const int code = checkPoints(function, centres, count)) return code;
    if (!radii) return refuseIn(function, "Null input arrays");
    if (!areRadii(radii, count)) return refuseIn(function, "Invalid radius value");
    return writeContactsOf(function, surface1, surface2, centres, count, copyValues(radii, count),
                           {points, uv, normals, residuals, converged});
  });
}

int solve_variable_spine_contact(int surface1, int surface2, double distance1, double distance2,
                                 const double* plane, const double* guess, double* centre,
                                 double* uv, double* contacts, double* residual, int* iterations) {
  const char* const function = __func__;
  return guardedBlend(function, [&] {
    if (anyNull(plane, guess)) return refuseIn(function, "Null input arrays");
    if (const int code = checkFinite(function, plane, 2 * kDoublesPerPoint)) return code;
    if (const int code = checkFinite(function, guess, 4)) return code;
    const double radius = std::abs(distance1);
    constexpr double kSameShare = 1e-9;
    if (!areRadii(&radius, 1) || !(std::abs(radius - std::abs(distance2)) <= kSameShare * radius))
      return refuseIn(function, "Offset distances must be non-zero and equal in size");
    const Vector3D normal = readVector(plane + kDoublesPerPoint);
    if (!(normal.magnitude() > 0.0) || !std::isfinite(normal.magnitude()))
      return refuseIn(function, "The plane has no normal");
    SurfacePairByHandle pair;
    if (const int code = pair.find(function, surface1, surface2)) return code;
    if (!pair.first->isValid() || !pair.second->isValid())
      return refuseIn(function, "One or both input surfaces are invalid", kExceptionCaught);
    tb::VariableSpineConfig config;
    const ParameterDomain d1 = pair.first->getParameterDomain();
    const ParameterDomain d2 = pair.second->getParameterDomain();
    config.u1 = {d1.uMin, d1.uMax};
    config.v1 = {d1.vMin, d1.vMax};
    config.u2 = {d2.uMin, d2.uMax};
    config.v2 = {d2.vMin, d2.vMax};
    const tb::BlendSides sides{pair.first.get(), pair.second.get(), distance1 > 0.0 ? 1.0 : -1.0,
                               distance2 > 0.0 ? 1.0 : -1.0};
    const auto found = tb::VariableSpineContactSolver(sides, config)
                           .solve(radius, readPoint(plane), normal / normal.magnitude(),
                                  {guess[0], guess[1], guess[2], guess[3]});
    if (!found.converged)
      return refuseIn(function, "No ball touches both surfaces on the plane", kExceptionCaught);
    const tb::BallStation& at = found.station;
    requireFiniteResult(at.centre.isFinite() && at.contact1.isFinite() && at.contact2.isFinite());
    if (centre) writeTriple(at.centre, centre);
    if (uv) uv[0] = at.u1, uv[1] = at.v1, uv[2] = at.u2, uv[3] = at.v2;
    if (contacts) {
      writeTriple(at.contact1, contacts);
      writeTriple(at.contact2, contacts + kDoublesPerPoint);
    }
    writeUnlessNull(residual, found.residual);
    writeUnlessNull(iterations, found.iterations);
    return kSuccess;
  });
}

int compute_surface_intersection(int surface1, int surface2, double tolerance, int resolution,
                                 double* points, double* uv1, double* uv2, int capacity,
                                 int* branchEnds, int* closed, int* endKinds, int branchCapacity,
                                 double* tangencies, int tangencyCapacity, int* pointCount,
                                 int* branchCount, int* tangencyCount, int* coincide) {
  const char* const function = __func__;
  return guardedBlend(function, [&] {
    if (!areRadii(&tolerance, 1)) return refuseIn(function, "Invalid tolerance (must be > 0)");
    if (!isBetween(resolution, 5, 100))
      return refuseIn(function, "Invalid intersection resolution (must be 5-100)");
    if (capacity < 0 || branchCapacity < 0 || tangencyCapacity < 0)
      return refuseIn(function, "Invalid capacity");
    SurfacePairByHandle pair;
    if (const int code = pair.find(function, surface1, surface2)) return code;
    if (!pair.first->isValid() || !pair.second->isValid())
      return refuseIn(function, "One or both input surfaces are invalid", kExceptionCaught);
    tb::SurfaceIntersectionConfig config;
    config.tolerance = tolerance;
    config.sampling_resolution = resolution;
    const auto met =
        tb::SurfaceIntersectionGenerator::computeIntersection(*pair.first, *pair.second, config);
    std::size_t count = 0;
    for (const tb::IntersectionBranch& branch : met.branches)
      count += branch.points.size();
    for (const tb::IntersectionBranch& branch : met.branches)
      for (const tb::IntersectionPoint& at : branch.points)
        requireFiniteResult(at.point.isFinite());
    writeUnlessNull(pointCount, static_cast<int>(count));
    writeUnlessNull(branchCount, static_cast<int>(met.branches.size()));
    writeUnlessNull(tangencyCount, static_cast<int>(met.tangencies.size()));
    writeUnlessNull(coincide, met.coincide ? 1 : 0);
    const bool wantsPoints = points || uv1 || uv2;
    const bool wantsBranches = branchEnds || closed || endKinds;
    if ((wantsPoints && count > std::size_t(capacity)) ||
        (wantsBranches && met.branches.size() > std::size_t(branchCapacity)))
      return refuseIn(function, "Buffer too small", kRoomTooSmall);
    BranchOutput{points, uv1, uv2, branchEnds, closed, endKinds}.write(met);
    for (int k = 0; tangencies && k < tangencyCapacity && k < int(met.tangencies.size()); ++k)
      writeTriple(finiteResult(met.tangencies[std::size_t(k)].point),
                  tangencies + std::ptrdiff_t(kDoublesPerPoint) * k);
    return kSuccess;
  });
}

int create_canal_surface(const double* centres, const double* contacts1, const double* contacts2,
                         int count, double radius, int samplesAlong, int samplesAcross) {
  const char* const function = __func__;
  return guardedBlend(function, [&] {
    if (!areRadii(&radius, 1)) return refuseIn(function, "Invalid radius (must be > 0)");
    if (const int code =
            checkCanal(function, centres, contacts1, contacts2, count, samplesAlong, samplesAcross))
      return code;
    return storeCanal(function, centres, contacts1, contacts2, count, {radius}, samplesAlong,
                      samplesAcross);
  });
}

int create_variable_canal_surface(const double* centres, const double* contacts1,
                                  const double* contacts2, const double* radii, int count,
                                  int samplesAlong, int samplesAcross) {
  const char* const function = __func__;
  return guardedBlend(function, [&] {
    if (!radii) return refuseIn(function, "Null input arrays");
    if (const int code =
            checkCanal(function, centres, contacts1, contacts2, count, samplesAlong, samplesAcross))
      return code;
    if (!areRadii(radii, count)) return refuseIn(function, "Invalid radius value");
    return storeCanal(function, centres, contacts1, contacts2, count, copyValues(radii, count),
                      samplesAlong, samplesAcross);
  });
}

int create_variable_offset_surface(int surface, const double* parameters, const double* radii,
                                   int count, int interpolation, int direction, int resolution) {
  const char* const function = __func__;
  return guardedBlend(function, [&] {
    if (count < 2) return refuseIn(function, "Need at least 2 control points");
    if (anyNull(parameters, radii)) return refuseIn(function, "Null input arrays");
    if (!isBetween(interpolation, 0, 1)) return refuseIn(function, "Invalid interpolation type");
    if (!isBetween(direction, 0, 1)) return refuseIn(function, "Invalid parameter direction");
    if (!isBetween(resolution, 3, 200)) return refuseIn(function, "Invalid resolution");
    const auto base = blendSurface(surface);
    if (!base) return refuseIn(function, "Surface not found", kNotFound);
    if (!countsFit({count}) || !areLawParameters(parameters, count))
      return refuseIn(function, "Parameter out of range");
    for (int k = 0; k < count; ++k)
      if (!(radii[k] * radii[0] > 0.0) || !std::isfinite(radii[k]))
        return refuseIn(function, "Invalid radius value");
    const tb::RadiusLaw law(copyValues(parameters, count), copyValues(radii, count),
                            static_cast<tb::RadiusInterpolation>(interpolation));
    const ParameterDomain domain = base->getParameterDomain();
    const auto distance = [&](double u, double v) {
      return law.at(direction == 0 ? (u - domain.uMin) / (domain.uMax - domain.uMin)
                                   : (v - domain.vMin) / (domain.vMax - domain.vMin));
    };
    return storeSound(tb::OffsetSurfaceGenerator::createOffsetSurface(*base, distance, resolution),
                      function, kExceptionCaught,
                      std::string(function) + ": B-spline creation failed");
  });
}
