// What is wrong with a set of constraints.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>

#include "morvel/fitting/g1_constraint_builder.h"
#include "morvel/fitting/surface_constraint_set.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {

namespace {

constexpr double kParameterSlack = 1e-12;
// Parameters closer than this are one place.
constexpr double kSamePlace = 1e-9;

using foundation::status::join;

std::string pointFault(const SurfacePointConstraint& point) {
  std::string fault;
  if (!point.position.isFinite()) return "Position must be finite";
  if (!SurfaceConstraintSet::validate_parameter_range(point.u, point.v, &fault)) return fault;
  if (!(std::isfinite(point.weight) && point.weight > 0.0))
    return "Weight must be finite and above 0";
  return {};
}

/// The fault of what a constraint of any other kind has in common with the rest.
template <class Constraint>
std::string placeFault(const Constraint& constraint, bool isFinite) {
  std::string fault;
  if (!SurfaceConstraintSet::validate_parameter_range(constraint.u, constraint.v, &fault))
    return fault;
  if (!isFinite) return "Values must be finite";
  if (!(std::isfinite(constraint.weight) && constraint.weight > 0.0))
    return "Weight must be finite and above 0";
  return {};
}

std::string faultOf(const SurfaceTangentConstraint& t) {
  return placeFault(t, t.tangent_u.isFinite() && t.tangent_v.isFinite());
}

std::string faultOf(const SurfaceCurvatureConstraint& c) {
  return placeFault(c, std::isfinite(c.curvature));
}

std::string faultOf(const PrincipalCurvatureConstraint& c) {
  return placeFault(c.mean, std::isfinite(c.first) && std::isfinite(c.second));
}

std::string faultOf(const SurfaceNormalConstraint& n) {
  const std::string fault = placeFault(n, n.normal.isFinite());
  return fault.empty() && !(n.normal.magnitude() > 0.0) ? "Normal must not be zero" : fault;
}

std::string faultOf(const G1Constraint& g1) {
  std::string fault = placeFault(g1, g1.tangent_u.isFinite() && g1.tangent_v.isFinite());
  if (!fault.empty()) return fault;
  return G1ConstraintBuilder::validate_individual_constraint(g1)
             ? std::string()
             : "Needs u and v in [0, 1] and a tangent of non-zero length";
}

template <class List>
void collect(const char* kind, const List& list, std::vector<std::string>& messages) {
  for (std::size_t k = 0; k < list.size(); ++k) {
    const std::string fault = faultOf(list[k]);
    if (!fault.empty()) messages.push_back(join(kind, " constraint ", k, ": ", fault));
  }
}

template <class List>
bool allSound(const List& list) {
  return std::all_of(list.begin(), list.end(),
                     [](const auto& constraint) { return faultOf(constraint).empty(); });
}

bool differs(const Eigen::Vector3d& a, const Eigen::Vector3d& b, double tolerance) {
  return !((a - b).norm() <= tolerance * std::max(1.0, std::max(a.norm(), b.norm())));
}

bool conflict(const SurfacePointConstraint& a, const SurfacePointConstraint& b, double tolerance) {
  return differs(a.position.eigen(), b.position.eigen(), tolerance);
}

bool conflict(const G1Constraint& a, const G1Constraint& b, double tolerance) {
  const bool inU = a.has_tangent_u && b.has_tangent_u &&
                   differs(a.tangent_u.eigen(), b.tangent_u.eigen(), tolerance);
  const bool inV = a.has_tangent_v && b.has_tangent_v &&
                   differs(a.tangent_v.eigen(), b.tangent_v.eigen(), tolerance);
  return inU || inV;
}

std::pair<std::int64_t, std::int64_t> placeOf(double u, double v) {
  const auto cell = [](double t) {
    return static_cast<std::int64_t>(std::llround(std::clamp(t, -1.0, 2.0) / kSamePlace));
  };
  return {cell(u), cell(v)};
}

/// Whether neighbours in the order of their places share one and conflict.
template <class Constraint>
bool anyConflict(std::vector<const Constraint*> constraints, double tolerance) {
  const auto place = [](const Constraint* c) { return placeOf(c->u, c->v); };
  std::stable_sort(constraints.begin(), constraints.end(),
                   [&](const auto* a, const auto* b) { return place(a) < place(b); });
  for (std::size_t k = 1; k < constraints.size(); ++k) {
    const Constraint* before = constraints[k - 1];
    const Constraint* here = constraints[k];
    if (place(before) == place(here) && conflict(*before, *here, tolerance)) return true;
  }
  return false;
}

}  // namespace

bool SurfaceConstraintSet::validate_parameter_range(double u, double v, std::string* message) {
  const auto isInside = [](double t) {
    return t >= -kParameterSlack && t <= 1.0 + kParameterSlack;
  };
  const bool areInside = isInside(u) && isInside(v);
  if (!areInside && message)
    *message = join("Invalid parameters (u=", u, ", v=", v, ") - outside [0,1] range");
  return areInside;
}

bool SurfaceConstraintSet::validate_point_constraints() const {
  return std::all_of(points_.begin(), points_.end(), [](const auto& point) {
    return !point.is_active || pointFault(point).empty();
  });
}

bool SurfaceConstraintSet::validate_derivative_constraints() const {
  return allSound(tangents_) && allSound(curvatures_) && allSound(normals_) &&
         allSound(g1Tangents_) && allSound(g1Normals_) && allSound(g2Curvatures_) &&
         allSound(g2Principals_);
}

bool SurfaceConstraintSet::validate_all_constraints() const {
  return validate_point_constraints() && validate_derivative_constraints();
}

std::vector<std::string> SurfaceConstraintSet::get_validation_warnings() const {
  std::vector<std::string> warnings;
  if (!validate_point_constraints())
    warnings.push_back("Point constraints contain invalid parameter values");
  if (!validate_derivative_constraints())
    warnings.push_back("Derivative constraints contain invalid configurations");
  if (get_total_constraint_count() == 0)
    warnings.push_back("No constraints defined - consider adding approximation points");
  return warnings;
}

std::vector<std::string> SurfaceConstraintSet::get_validation_messages() const {
  std::vector<std::string> messages;
  for (std::size_t k = 0; k < points_.size(); ++k) {
    const std::string fault = points_[k].is_active ? pointFault(points_[k]) : std::string();
    if (!fault.empty()) messages.push_back(join("G0 constraint ", k, ": ", fault));
  }
  collect("G1", tangents_, messages);
  collect("G1", normals_, messages);
  collect("G1", g1Tangents_, messages);
  collect("G1", g1Normals_, messages);
  collect("G2", curvatures_, messages);
  collect("G2", g2Curvatures_, messages);
  collect("G2", g2Principals_, messages);
  return messages;
}

bool SurfaceConstraintSet::has_conflicting_constraints(double tolerance) const {
  std::vector<const SurfacePointConstraint*> points;
  for (const SurfacePointConstraint& point : points_) {
    if (point.is_active && point.type == PointConstraintType::Interpolation)
      points.push_back(&point);
  }
  std::vector<const G1Constraint*> tangents;
  for (const G1Constraint& g1 : g1Tangents_)
    tangents.push_back(&g1);
  return anyConflict(std::move(points), tolerance) || anyConflict(std::move(tangents), tolerance);
}

}  // namespace trova::geometry
