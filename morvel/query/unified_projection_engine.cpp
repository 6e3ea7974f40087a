#include "morvel/query/unified_projection_engine.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/query/internal/cell_tree.h"
#include "morvel/query/internal/foot_newton.h"
#include "morvel/query/internal/projected_samples.h"
#include "morvel/surfaces/foot_point.h"

namespace trova::projection {
namespace {

constexpr int kNewtonSteps = 50;
constexpr double kShortestDirection = 1e-12;

ProjectionCache& sharedCache() {
  static ProjectionCache cache;
  return cache;
}

}  // namespace

Vector3D UnifiedProjectionEngine::resolve_projection_direction(
    const UnifiedProjectionParams& params) {
  const Eigen::Vector3d& given = params.direction.eigen();
  if (!given.allFinite()) throw std::invalid_argument("Projection direction must be finite");
  // Scaled first, so that neither long nor short vectors leave the range of numbers.
  const double scale = given.cwiseAbs().maxCoeff();
  if (scale >= kShortestDirection || given.norm() >= kShortestDirection)
    return Vector3D(Eigen::Vector3d((given / scale).normalized()));
  if (params.projection_type == ProjectionType::CustomVector)
    throw std::invalid_argument("Projection direction must not be zero");
  return -Vector3D::unitZ();
}

std::pair<double, double> UnifiedProjectionEngine::newton_raphson_surface_projection(
    const Point3D& point, const Surface& surface, double u, double v, double tolerance) {
  const internal::TrueDerivatives derivatives(surface);
  for (int step = 0; step < kNewtonSteps; ++step) {
    const geometry::FootPointSystem system = footPointSystem(derivatives(u, v, 2), point);
    if (std::abs(system.gradientU) < tolerance && std::abs(system.gradientV) < tolerance) break;
    const auto move = internal::footStep(system);
    if (!move) break;
    u += move->u;
    v += move->v;
    if (std::abs(move->u) < tolerance && std::abs(move->v) < tolerance) break;
  }
  return {u, v};
}

std::optional<ProjectedPoint> UnifiedProjectionEngine::newton_directional_projection(
    const Point3D& point, const Vector3D& direction, const Surface& surface, double u, double v,
    double tolerance, int max_iterations) {
  if (!point.isFinite() || !direction.isFinite()) return std::nullopt;
  return internal::crossingFrom(internal::TrueDerivatives(surface), surface.getParameterDomain(),
                                point, direction, u, v, tolerance, max_iterations);
}

std::pair<double, double> UnifiedProjectionEngine::find_initial_uv_guess(const Point3D& point,
                                                                         const Surface& surface) {
  const internal::CellTree tree(internal::cellsOf(surface));
  const geometry::ParameterDomain domain = surface.getParameterDomain();
  std::vector<internal::CellTree::Candidate> near;
  if (point.isFinite()) tree.nearCells(point.eigen(), near);
  if (near.empty()) return {(domain.uMin + domain.uMax) / 2, (domain.vMin + domain.vMax) / 2};
  return near.front().cell->startFor(point.eigen());
}

std::vector<ProjectedPoint> UnifiedProjectionEngine::project_point(
    const Point3D& point, const SurfaceSearch& search, const UnifiedProjectionParams& params) {
  if (!point.isFinite()) throw std::invalid_argument("Point must be finite");
  return internal::PointProjector(search, params).hitsOf(point, nullptr);
}

std::vector<ProjectedPoint> UnifiedProjectionEngine::handle_multiple_intersections(
    std::vector<ProjectedPoint> hits, MultipleIntersections choice) {
  if (choice == MultipleIntersections::UserSelect || hits.size() < 2) return hits;
  std::stable_sort(hits.begin(), hits.end(), [](const ProjectedPoint& a, const ProjectedPoint& b) {
    return a.distance < b.distance;
  });
  if (choice == MultipleIntersections::Nearest) hits.resize(1);
  return hits;
}

bool UnifiedProjectionEngine::is_within_surface_bounds(const Surface& surface, double u, double v,
                                                       double tolerance) {
  const geometry::ParameterDomain d = surface.getParameterDomain();
  return u >= d.uMin - tolerance && u <= d.uMax + tolerance && v >= d.vMin - tolerance &&
         v <= d.vMax + tolerance;
}

void UnifiedProjectionEngine::clear_cache() { sharedCache().clear(); }
const ProjectionCache& UnifiedProjectionEngine::cache() { return sharedCache(); }

}  // namespace trova::projection
