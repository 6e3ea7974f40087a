#include "morvel/fitting/internal/scattered_parameters.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/fitting/surface_engine3_parameters.h"
#include "morvel/foundation/linear_solvers.h"

namespace trova::geometry::internal {

using Method = SurfaceEngine3ParameterizationMethod;

namespace {

constexpr std::size_t kFewPoints = 9;
constexpr std::size_t kLeastForHull = 16;
constexpr std::size_t kMostForHull = 64;
constexpr double kCoplanarShare = 1e-12;  // of the largest variance
constexpr double kNarrowRatio = 25.0;     // of variances: 5 to 1 in length
constexpr std::size_t kMostMapSamples = 2000;

Method methodOf(const std::vector<Point3D>& points, Method method) {
  return method == Method::UNIVERSAL ? selectProjection(points) : method;
}

std::string lastOr(const std::vector<std::string>& texts, const char* fallback) {
  return texts.empty() ? fallback : texts.back();
}

std::size_t sideOfSquare(std::size_t count) {
  const auto side = static_cast<std::size_t>(std::llround(std::sqrt(double(count))));
  return side * side == count ? side : 0;
}

std::vector<std::pair<double, double>> clampedLattice(std::size_t count) {
  SurfaceParameters lattice = compute_square_lattice_parameters(count);
  for (auto& [u, v] : lattice) {
    u = std::min(u, 1.0);
    v = std::min(v, 1.0);
  }
  return lattice;
}

}  // namespace

Method selectProjection(const std::vector<Point3D>& points) {
  const auto axes = foundation::principalAxes(points);
  if (!axes || points.size() < kFewPoints) return Method::LEAST_SQUARES_PLANE;
  const auto [least, middle, most] = axes->spread;
  if (least <= kCoplanarShare * most) return Method::LEAST_SQUARES_PLANE;
  if (most > kNarrowRatio * middle) return Method::PCA_PROJECTION;
  const bool suitsHull = points.size() >= kLeastForHull && points.size() <= kMostForHull;
  return suitsHull ? Method::CONVEX_HULL_PROJECTION : Method::LEAST_SQUARES_PLANE;
}

ScatteredParameters projectedParameters(const std::vector<Point3D>& points, Method method) {
  const Method used = methodOf(points, method);
  ParameterizationResult projection =
      used == Method::PCA_PROJECTION           ? compute_pca_projection(points)
      : used == Method::CONVEX_HULL_PROJECTION ? compute_convex_hull_projection(points)
                                               : compute_least_squares_plane_projection(points);
  if (!projection.is_valid() || projection.parameters.size() != points.size()) {
    throw std::invalid_argument("Failed to compute surface parameterization: " +
                                lastOr(projection.warnings, "low projection quality"));
  }
  return {std::move(projection.parameters), std::move(projection.warnings), used};
}

ScatteredParameters scatteredParameters(const std::vector<Point3D>& points, Method method) {
  if (method > Method::CENTRIPETAL) return projectedParameters(points, method);
  if (const std::size_t side = sideOfSquare(points.size()); side > 1) {
    const int count = static_cast<int>(side);
    return {parameterize_point_grid(points, count, count, method), {}, method};
  }
  if (method == Method::UNIFORM) return {clampedLattice(points.size()), {}, method};
  ScatteredParameters result = projectedParameters(points, Method::LEAST_SQUARES_PLANE);
  result.warnings.push_back("The points are no square grid, using LEAST_SQUARES_PLANE");
  return result;
}

std::optional<PlanarMap> PlanarMap::of(const std::vector<Point3D>& points,
                                       const std::vector<std::pair<double, double>>& parameters) {
  const auto axes = foundation::principalAxes(points);
  if (!axes || !(axes->spread[1] > 0.0)) return std::nullopt;
  PlanarMap map;
  map.axes_ = *axes;
  map.scale_ = 1.0 / std::sqrt(axes->spread[2]);
  const std::size_t stride = points.size() / kMostMapSamples + 1;
  const auto samples = static_cast<Eigen::Index>((points.size() + stride - 1) / stride);
  Eigen::MatrixXd A(samples, 3), B(samples, 2);
  for (Eigen::Index row = 0; row < samples; ++row) {
    const std::size_t k = static_cast<std::size_t>(row) * stride;
    A.row(row) = map.inPlane(points[k]);
    B.row(row) << parameters[k].first, parameters[k].second;
  }
  map.map_ = foundation::solveLeastSquares(A, B);
  return map;
}

Eigen::RowVector3d PlanarMap::inPlane(const Point3D& point) const {
  const Vector3D from = point - axes_.centroid;
  return {scale_ * from.dot(axes_.axes[2]), scale_ * from.dot(axes_.axes[1]), 1.0};
}

std::pair<double, double> PlanarMap::operator()(const Point3D& point) const {
  const Eigen::RowVector2d uv = inPlane(point) * map_;
  return {uv[0], uv[1]};
}

}  // namespace trova::geometry::internal
