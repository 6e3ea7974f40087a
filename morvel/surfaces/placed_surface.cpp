#include "morvel/surfaces/placed_surface.h"

#include <stdexcept>

namespace trova::geometry {

Transform3D composedPlacement(const Transform3D& matrix, const Transform3D& placement) {
  requireFinite(matrix);
  Eigen::Matrix4d composed = matrix.getMatrix() * placement.getMatrix();
  composed.row(3) = Eigen::RowVector4d(0.0, 0.0, 0.0, 1.0);  // transforms are affine
  return Transform3D(composed);
}

const Transform3D& requireAffine(const Transform3D& matrix) {
  requireFinite(matrix);
  if (matrix(3, 0) != 0.0 || matrix(3, 1) != 0.0 || matrix(3, 2) != 0.0 || matrix(3, 3) != 1.0)
    throw std::invalid_argument("Placement must have the last row 0 0 0 1");
  return matrix;
}

BoundingBox placedBox(const Transform3D& placement, const BoundingBox& box) {
  BoundingBox placed;
  if (box.isEmpty()) return placed;
  constexpr int kCorners = 8;
  for (int corner = 0; corner < kCorners; ++corner) {
    const Point3D at((corner & 1) ? box.max.x() : box.min.x(),
                     (corner & 2) ? box.max.y() : box.min.y(),
                     (corner & 4) ? box.max.z() : box.min.z());
    placed.addPoint(placement.transform(at));
  }
  return placed;
}

void placeEvaluation(const Transform3D& placement, int order, SurfaceEvaluation& evaluation) {
  evaluation.point = placement.transform(evaluation.point);
  if (order < 1) return;
  evaluation.Su = placement.transform(evaluation.Su);
  evaluation.Sv = placement.transform(evaluation.Sv);
  if (order < 2) return;
  evaluation.Suu = placement.transform(evaluation.Suu);
  evaluation.Suv = placement.transform(evaluation.Suv);
  evaluation.Svv = placement.transform(evaluation.Svv);
}

}  // namespace trova::geometry
