// How well a fitted surface meets its points and constraints, and where points lie on it.

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <limits>
#include <span>
#include <stdexcept>

#include "morvel/fitting/internal/deviation.h"
#include "morvel/fitting/internal/scattered_parameters.h"
#include "morvel/fitting/surface_constrained_fitting_engine.h"
#include "morvel/foundation/progress.h"
#include "morvel/surfaces/surface_batch.h"

namespace trova::geometry {

using Method = SurfaceEngine3ParameterizationMethod;

namespace {

constexpr int kSecondOrder = 2;
constexpr std::size_t kPiece = 1024;  // points evaluated at a time
// Below this the first fundamental form has no inverse.
constexpr double kSmallestMetric = 1e-300;

Vector3D vectorAt(const double* values, int which) {
  const double* v = values + 3 * which;
  return {v[0], v[1], v[2]};
}

/// In the layout of surface_batch.h.
SurfaceEvaluation exactEvaluation(const BSplineSurface& surface, double u, double v) {
  const std::array<double, 2> uv{u, v};
  std::array<double, batchWidth(kSecondOrder)> values{};
  surface.evaluateExactBatch(uv, kSecondOrder, values.data());
  SurfaceEvaluation e;
  e.point = Point3D(values[0], values[1], values[2]);
  Vector3D* members[] = {&e.Su, &e.Sv, &e.normal, &e.Suu, &e.Suv, &e.Svv};
  for (int k = 0; k < 6; ++k)
    *members[k] = vectorAt(values.data(), k + 1);
  return e;
}

double meanCurvature(const SurfaceEvaluation& e) {
  const double E = e.Su.dot(e.Su), F = e.Su.dot(e.Sv), G = e.Sv.dot(e.Sv);
  const double L = e.Suu.dot(e.normal), M = e.Suv.dot(e.normal), N = e.Svv.dot(e.normal);
  const double metric = 2.0 * (E * G - F * F);
  if (!(metric > kSmallestMetric)) return std::numeric_limits<double>::infinity();
  return (E * N - 2.0 * F * M + G * L) / metric;
}

/// Distances of points from the surface at their parameters.
class Deviator {
 public:
  Deviator(const BSplineSurface& surface, foundation::progress::Stage& stage, double all)
      : surface_(surface), stage_(stage), all_(all) {}

  void add(const Point3D& point, double u, double v) {
    points_.push_back(&point);
    uv_.push_back(u);
    uv_.push_back(v);
    if (points_.size() == kPiece) flush();
  }

  const internal::Deviation& finished() {
    flush();
    return deviation_;
  }

 private:
  void flush() {
    stage_.report(double(deviation_.count()), all_);
    at_.resize(3 * points_.size());
    surface_.evaluateExactBatch(uv_, 0, at_.data());
    for (std::size_t k = 0; k < points_.size(); ++k)
      deviation_.add(points_[k]->distanceTo({at_[3 * k], at_[3 * k + 1], at_[3 * k + 2]}));
    points_.clear();
    uv_.clear();
  }

  const BSplineSurface& surface_;
  foundation::progress::Stage& stage_;
  double all_;
  std::vector<const Point3D*> points_;
  std::vector<double> uv_;
  std::vector<double> at_;
  internal::Deviation deviation_;
};

double tangentMiss(const SurfaceEvaluation& e, const Vector3D* inU, const Vector3D* inV) {
  const double missU = inU ? (e.Su - *inU).magnitude() : 0.0;
  const double missV = inV ? (e.Sv - *inV).magnitude() : 0.0;
  return std::max(missU, missV);
}

double normalMiss(const SurfaceEvaluation& e, const Vector3D& normal) {
  return e.normal.cross(normal).magnitude() / normal.magnitude();
}

// Normals have no agreed side, so neither has the sign of a mean curvature.
double curvatureMiss(const SurfaceEvaluation& e, double curvature) {
  return std::abs(std::abs(meanCurvature(e)) - std::abs(curvature));
}

std::size_t nearestTo(const std::vector<Point3D>& points, const Point3D& point) {
  const auto squared = [&](const Point3D& p) { return (p - point).squaredMagnitude(); };
  const auto isNearer = [&](const Point3D& a, const Point3D& b) { return squared(a) < squared(b); };
  return static_cast<std::size_t>(std::min_element(points.begin(), points.end(), isNearer) -
                                  points.begin());
}

}  // namespace

const BSplineSurface& SurfaceConstrainedFittingEngine::surface() const {
  if (!result_.surface) throw std::logic_error("No surface was fitted");
  return *result_.surface;
}

Point3D SurfaceConstrainedFittingEngine::evaluate_surface(double u, double v) const {
  const std::array<double, 2> uv{u, v};
  std::array<double, 3> at{};
  surface().evaluateExactBatch(uv, 0, at.data());
  return {at[0], at[1], at[2]};
}

Vector3D SurfaceConstrainedFittingEngine::evaluate_surface_normal(double u, double v) const {
  return exactEvaluation(surface(), u, v).normal;
}

SurfaceEvaluation SurfaceConstrainedFittingEngine::evaluate_surface_derivatives(double u,
                                                                                double v) const {
  return exactEvaluation(surface(), u, v);
}

double SurfaceConstrainedFittingEngine::compute_point_distance(const Point3D& point, double u,
                                                               double v) const {
  return point.distanceTo(evaluate_surface(u, v));
}

SurfaceConstrainedFittingEngine::Deviations SurfaceConstrainedFittingEngine::measuredDeviations()
    const {
  if (!result_.surface) return {};
  foundation::progress::Stage stage("measuring");
  Deviator deviator(surface(), stage, double(points_.size()));
  for (std::size_t k = 0; k < parameters_.size(); ++k)
    deviator.add(points_[k], parameters_[k].first, parameters_[k].second);
  for (const SurfacePointConstraint& point : constraints_.point_constraints()) {
    if (point.is_active && point.type == PointConstraintType::Approximation)
      deviator.add(point.position, point.u, point.v);
  }
  const internal::Deviation& deviation = deviator.finished();
  return {deviation.maximum(), deviation.rms()};
}

double SurfaceConstrainedFittingEngine::compute_max_deviation() const {
  return measuredDeviations().largest;
}

double SurfaceConstrainedFittingEngine::compute_rms_deviation() const {
  return measuredDeviations().rms;
}

std::vector<double> SurfaceConstrainedFittingEngine::compute_constraint_violations() const {
  std::vector<double> misses;
  if (!result_.surface) return misses;
  const auto at = [&](const auto& c) { return exactEvaluation(surface(), c.u, c.v); };
  for (const SurfacePointConstraint& point : constraints_.point_constraints()) {
    if (point.is_active && point.type == PointConstraintType::Interpolation)
      misses.push_back(compute_point_distance(point.position, point.u, point.v));
  }
  for (const SurfaceTangentConstraint& t : constraints_.tangent_constraints())
    misses.push_back(tangentMiss(at(t), &t.tangent_u, &t.tangent_v));
  for (const G1Constraint& g1 : constraints_.g1_tangent_constraints()) {
    misses.push_back(tangentMiss(at(g1), g1.has_tangent_u ? &g1.tangent_u : nullptr,
                                 g1.has_tangent_v ? &g1.tangent_v : nullptr));
  }
  for (const SurfaceNormalConstraint& n : constraints_.normal_constraints())
    misses.push_back(normalMiss(at(n), n.normal));
  for (const auto* list :
       {&constraints_.curvature_constraints(), &constraints_.g2_curvature_constraints()}) {
    for (const SurfaceCurvatureConstraint& c : *list)
      misses.push_back(curvatureMiss(at(c), c.curvature));
  }
  for (const PrincipalCurvatureConstraint& c : constraints_.g2_principal_curvature_constraints())
    misses.push_back(curvatureMiss(at(c.mean), c.mean.curvature));
  return misses;
}

double SurfaceConstrainedFittingEngine::compute_constraint_satisfaction_score() const {
  const std::vector<double> misses = compute_constraint_violations();
  if (misses.empty()) return 1.0;
  double sum = 0.0;
  for (const double miss : misses)
    sum += miss <= options_.constraint_tolerance ? 1.0 : options_.constraint_tolerance / miss;
  const double score = sum / double(misses.size());
  return std::isfinite(score) ? score : 0.0;
}

SurfaceParameters SurfaceConstrainedFittingEngine::parametersBy(Method method) const {
  return internal::scatteredParameters(points_, method).parameters;
}

SurfaceParameters SurfaceConstrainedFittingEngine::compute_uniform_parameterization() const {
  return parametersBy(Method::UNIFORM);
}

SurfaceParameters SurfaceConstrainedFittingEngine::compute_chord_length_parameterization() const {
  return parametersBy(Method::CHORD_LENGTH);
}

SurfaceParameters SurfaceConstrainedFittingEngine::compute_centripetal_parameterization() const {
  return parametersBy(Method::CENTRIPETAL);
}

SurfaceParameters SurfaceConstrainedFittingEngine::compute_pca_parameterization() const {
  return parametersBy(Method::PCA_PROJECTION);
}

SurfaceParameters SurfaceConstrainedFittingEngine::compute_least_squares_plane_parameterization()
    const {
  return parametersBy(Method::LEAST_SQUARES_PLANE);
}

SurfaceParameters SurfaceConstrainedFittingEngine::compute_parameterization() const {
  return parametersBy(int_to_param_method(options_.parameterization_method));
}

Method SurfaceConstrainedFittingEngine::select_optimal_parameterization() const {
  return internal::selectProjection(points_);
}

std::pair<double, double> SurfaceConstrainedFittingEngine::project_point_to_parameter_space(
    const Point3D& point) const {
  return project_points_to_parameter_space({point}).front();
}

SurfaceParameters SurfaceConstrainedFittingEngine::project_points_to_parameter_space(
    const std::vector<Point3D>& points) const {
  const bool areFinite =
      std::all_of(points.begin(), points.end(), [](const Point3D& p) { return p.isFinite(); });
  if (points_.empty() || !areFinite)
    throw std::invalid_argument("There is nothing to project, or nothing to project it onto");
  const internal::ScatteredParameters found =
      internal::scatteredParameters(points_, int_to_param_method(options_.parameterization_method));
  const std::optional<internal::PlanarMap> map =
      found.method > Method::CENTRIPETAL ? internal::PlanarMap::of(points_, found.parameters)
                                         : std::nullopt;
  SurfaceParameters projected;
  for (const Point3D& point : points) {
    const auto [u, v] = map ? (*map)(point) : found.parameters[nearestTo(points_, point)];
    projected.emplace_back(std::clamp(u, 0.0, 1.0), std::clamp(v, 0.0, 1.0));
  }
  return projected;
}

bool SurfaceConstrainedFittingEngine::output_parameterization_to_file(
    const std::string& path) const {
  SurfaceParameters parameters = parameters_;
  if (parameters.size() != points_.size()) {
    try {
      parameters = parametersBy(int_to_param_method(options_.parameterization_method));
    } catch (const std::invalid_argument&) {
      return false;
    }
  }
  std::ofstream file(path);
  file.precision(std::numeric_limits<double>::max_digits10);
  for (std::size_t k = 0; k < points_.size(); ++k) {
    const Point3D& p = points_[k];
    file << p.x() << ' ' << p.y() << ' ' << p.z() << ' ' << parameters[k].first << ' '
         << parameters[k].second << '\n';
  }
  file.close();
  return !file.fail() && !points_.empty();
}

}  // namespace trova::geometry
