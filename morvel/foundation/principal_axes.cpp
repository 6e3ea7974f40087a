#include "morvel/foundation/principal_axes.h"

#include "morvel/foundation/linear_solvers.h"

namespace trova::foundation {
namespace {

Eigen::Vector3d centroidOf(std::span<const Point3D> points) {
  Eigen::Vector3d sum = Eigen::Vector3d::Zero();
  for (const Point3D& point : points)
    sum += point.eigen();
  return sum / double(points.size());
}

Eigen::Matrix3d covarianceOf(std::span<const Point3D> points, const Eigen::Vector3d& centroid) {
  Eigen::Matrix3d sum = Eigen::Matrix3d::Zero();
  for (const Point3D& point : points) {
    const Eigen::Vector3d offset = point.eigen() - centroid;
    sum += offset * offset.transpose();
  }
  return sum / double(points.size());
}

}  // namespace

std::optional<PrincipalAxes> principalAxes(std::span<const Point3D> points) {
  if (points.empty()) return std::nullopt;
  const Eigen::Vector3d centroid = centroidOf(points);
  const Eigen::Matrix3d covariance = covarianceOf(points, centroid);
  if (!covariance.allFinite()) return std::nullopt;
  const std::optional<SymmetricEigen3> eigen = symmetricEigen3(covariance);
  if (!eigen) return std::nullopt;
  PrincipalAxes result;
  result.centroid = Point3D(centroid);
  for (int k = 0; k < 3; ++k) {
    result.spread[k] = eigen->values[k];
    result.axes[k] = Vector3D(Eigen::Vector3d(eigen->vectors.col(k)));
  }
  return result;
}

}  // namespace trova::foundation
