#pragma once

#include "morvel/foundation/vector.h"

namespace trova::geometry::internal {

// The two normals of a surface. Their thresholds on |Su x Sv| (model units squared) and their
// fallbacks differ on purpose.
inline constexpr double kMinEvaluationNormal = 1e-12;
inline constexpr double kMinSurfaceNormal = 1e-4;

/// The normal of a SurfaceEvaluation: Su x Sv over its length, the unit z vector where that is too
/// short.
inline foundation::Vector3D evaluationNormal(const foundation::Vector3D& Su,
                                             const foundation::Vector3D& Sv) {
  const foundation::Vector3D normal = Su.cross(Sv);
  const double length = normal.magnitude();
  return length > kMinEvaluationNormal ? normal / length : foundation::Vector3D::unitZ();
}

/// What `Surface::getNormal` answers: Su x Sv over its length, the zero vector where that is too
/// short.
inline foundation::Vector3D surfaceNormal(const foundation::Vector3D& Su,
                                          const foundation::Vector3D& Sv) {
  const foundation::Vector3D normal = Su.cross(Sv);
  const double length = normal.magnitude();
  return length > kMinSurfaceNormal ? normal / length : foundation::Vector3D::zero();
}

}  // namespace trova::geometry::internal
