#include "morvel/fitting/surface_constraint_set.h"

#include <algorithm>
#include <cmath>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {

namespace status = foundation::status;

namespace {

constexpr double kCentre = 0.5;
// |normal . x| above this: the x axis is no good reference for a perpendicular.
constexpr double kAlongReference = 0.9;
constexpr int kCoordinates = 3;
constexpr int kPrincipalCurvatures = 2;
constexpr std::size_t kNoTangent = static_cast<std::size_t>(-1);

template <class List>
std::int64_t sizeOf(const List& list) {
  return static_cast<std::int64_t>(list.size());
}

int checkedTotal(std::int64_t count) { return static_cast<int>(foundation::checkedCount({count})); }

std::int64_t givenTangents(const std::vector<G1Constraint>& constraints) {
  std::int64_t count = 0;
  for (const G1Constraint& constraint : constraints)
    count += constraint.tangent_count();
  return count;
}

int activeCount(const std::vector<SurfacePointConstraint>& points, PointConstraintType type) {
  const auto isCounted = [&](const auto& point) { return point.is_active && point.type == type; };
  return checkedTotal(std::count_if(points.begin(), points.end(), isCounted));
}

/// The parameters at which an interpolation point is kept.
std::pair<double, double> mended(double u, double v) {
  if (std::isnan(u) || std::isnan(v)) {
    status::progress(status::Symbol::Step, "EMERGENCY FIX: Setting to center position (0.5, 0.5)");
    return {kCentre, kCentre};
  }
  const double insideU = std::clamp(u, 0.0, 1.0);
  const double insideV = std::clamp(v, 0.0, 1.0);
  if (insideU != u || insideV != v)
    status::progress(status::Symbol::Step, "FIXED: Clamped to u=", insideU, ", v=", insideV);
  return {insideU, insideV};
}

Vector3D unit(const Vector3D& v) {
  const double length = v.magnitude();
  return length > 0.0 ? v / length : Vector3D();
}

}  // namespace

void SurfaceConstraintSet::add_interpolation_point(const Point3D& point, double u, double v,
                                                   double weight) {
  const auto [atU, atV] = mended(u, v);
  points_.push_back({point, atU, atV, weight, PointConstraintType::Interpolation, true});
}

void SurfaceConstraintSet::add_approximation_point(const Point3D& point, double u, double v,
                                                   double weight) {
  points_.push_back({point, u, v, weight, PointConstraintType::Approximation, true});
}

void SurfaceConstraintSet::add_tangent_constraint(const Point3D& point, double u, double v,
                                                  const Vector3D& tangent_u,
                                                  const Vector3D& tangent_v, double weight) {
  tangents_.push_back({point, u, v, tangent_u, tangent_v, weight});
}

void SurfaceConstraintSet::add_curvature_constraint(const Point3D& point, double u, double v,
                                                    double curvature, double weight) {
  curvatures_.push_back({point, u, v, curvature, weight});
}

void SurfaceConstraintSet::add_normal_constraint(const Point3D& point, double u, double v,
                                                 const Vector3D& normal, double weight) {
  normals_.push_back({point, u, v, normal, weight});
}

void SurfaceConstraintSet::add_g1_tangent_constraint(const G1Constraint& constraint) {
  g1Tangents_.push_back(constraint);
}

void SurfaceConstraintSet::add_g1_tangent_constraint(const Point3D& point, double u, double v,
                                                     const Vector3D& tangent_u,
                                                     const Vector3D& tangent_v, double weight) {
  g1Tangents_.push_back({point, tangent_u, tangent_v, u, v, weight, true, true});
}

void SurfaceConstraintSet::add_g1_normal_constraint(const Point3D& point, double u, double v,
                                                    const Vector3D& normal, double weight) {
  const bool isAlongX = std::abs(normal.dot(Vector3D::unitX())) > kAlongReference;
  const Vector3D first = unit(normal.cross(isAlongX ? Vector3D::unitY() : Vector3D::unitX()));
  const Vector3D second = normal.cross(first);
  g1Normals_.push_back({point, u, v, normal, weight});
  derivedTangents_.push_back(g1Tangents_.size());
  g1Tangents_.push_back({point, first, second, u, v, 1.0, true, true});
}

void SurfaceConstraintSet::add_g2_curvature_constraint(const Point3D& point, double u, double v,
                                                       double curvature, double weight) {
  g2Curvatures_.push_back({point, u, v, curvature, weight});
}

void SurfaceConstraintSet::add_g2_principal_curvature_constraint(const Point3D& point, double u,
                                                                 double v, double first,
                                                                 double second, double weight) {
  g2Principals_.push_back({{point, u, v, (first + second) / 2.0, weight}, first, second});
}

void SurfaceConstraintSet::add_continuity_requirement(double u, double v, int level) {
  requirements_.push_back({u, v, level});
}

int SurfaceConstraintSet::get_interpolation_constraint_count() const {
  return activeCount(points_, PointConstraintType::Interpolation);
}

int SurfaceConstraintSet::get_approximation_constraint_count() const {
  return activeCount(points_, PointConstraintType::Approximation);
}

int SurfaceConstraintSet::get_derivative_constraint_count() const {
  return checkedTotal(sizeOf(tangents_) + sizeOf(curvatures_) + sizeOf(normals_) +
                      sizeOf(g1Tangents_) + sizeOf(g2Curvatures_) + sizeOf(g2Principals_));
}

int SurfaceConstraintSet::get_total_constraint_count() const {
  return checkedTotal(std::int64_t{get_interpolation_constraint_count()} +
                      get_approximation_constraint_count() + get_derivative_constraint_count() +
                      sizeOf(requirements_));
}

int SurfaceConstraintSet::get_total_equation_count() const {
  const std::int64_t points =
      std::int64_t{get_interpolation_constraint_count()} + get_approximation_constraint_count();
  const std::int64_t tangents = 2 * sizeOf(tangents_) + givenTangents(g1Tangents_);
  return checkedTotal(kCoordinates * (points + tangents) + sizeOf(curvatures_) + sizeOf(normals_) +
                      sizeOf(g2Curvatures_) + kPrincipalCurvatures * sizeOf(g2Principals_));
}

int SurfaceConstraintSet::count_hard_constraints() const {
  return checkedTotal(get_interpolation_constraint_count() + givenTangents(g1Tangents_));
}

int SurfaceConstraintSet::get_max_continuity_level() const {
  int highest = 0;
  for (const ContinuityRequirement& requirement : requirements_)
    highest = std::max(highest, requirement.level);
  return highest;
}

bool SurfaceConstraintSet::set_constraint_active(std::size_t index, bool is_active) {
  if (index >= points_.size()) return false;
  points_[index].is_active = is_active;
  return true;
}

void SurfaceConstraintSet::clear_constraint_type(SurfaceConstraintType type) {
  const auto erasePoints = [&](PointConstraintType which) {
    std::erase_if(points_, [&](const auto& point) { return point.type == which; });
  };
  const auto eraseTangents = [&](bool derivedOnes) {
    std::vector<G1Constraint> kept;
    std::vector<std::size_t> derived;
    for (std::size_t k = 0, next = 0; k < g1Tangents_.size(); ++k) {
      const bool isDerived =
          (next < derivedTangents_.size() ? derivedTangents_[next] : kNoTangent) == k;
      next += isDerived;
      if (isDerived == derivedOnes) continue;
      if (isDerived) derived.push_back(kept.size());
      kept.push_back(g1Tangents_[k]);
    }
    g1Tangents_ = std::move(kept);
    derivedTangents_ = std::move(derived);
  };
  switch (type) {
    case SurfaceConstraintType::Interpolation:
      return erasePoints(PointConstraintType::Interpolation);
    case SurfaceConstraintType::Approximation:
      return erasePoints(PointConstraintType::Approximation);
    case SurfaceConstraintType::Tangent:
      return tangents_.clear();
    case SurfaceConstraintType::Curvature:
      return curvatures_.clear();
    case SurfaceConstraintType::Normal:
      return normals_.clear();
    case SurfaceConstraintType::G1Tangent:
      return eraseTangents(false);
    case SurfaceConstraintType::G1Normal:
      g1Normals_.clear();
      return eraseTangents(true);
    case SurfaceConstraintType::G2Curvature:
      return g2Curvatures_.clear();
    case SurfaceConstraintType::G2PrincipalCurvature:
      return g2Principals_.clear();
    case SurfaceConstraintType::Continuity:
      return requirements_.clear();
  }
}

}  // namespace trova::geometry
