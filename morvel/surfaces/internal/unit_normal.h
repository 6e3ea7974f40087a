#pragma once

#include <cmath>

#include "morvel/foundation/quad.h"
#include "morvel/foundation/vector.h"

// The two normals of a surface, of one point and of four at a time: the same operations on a double
// and on every lane of a pack.

namespace trova::geometry::internal {

/// Su x Sv over its length; (0, 0, fallbackZ) where that is no more than `minLength`.
struct NormalRule {
  double minLength;  // model units squared
  double fallbackZ;
};

// Their thresholds and fallbacks differ on purpose.
inline constexpr NormalRule kEvaluationNormal{1e-12, 1.0};  // of a SurfaceEvaluation
inline constexpr NormalRule kSurfaceNormal{1e-4, 0.0};      // of Surface::getNormal

[[gnu::always_inline]] inline void squareRoot(const double& square, double& root) {
  root = std::sqrt(square);
}

[[gnu::always_inline]] inline void squareRoot(const foundation::Quad& square,
                                              foundation::Quad& root) {
  for (int lane = 0; lane < foundation::kQuad; ++lane)
    root[lane] = std::sqrt(square[lane]);
}

/// The normal from the coordinates x, y, z of Su and Sv.
template <class Number>
[[gnu::always_inline]] inline void unitNormal(const NormalRule& rule, const Number* Su,
                                              const Number* Sv, Number* normal) {
  const Number x = Su[1] * Sv[2] - Su[2] * Sv[1];
  const Number y = Su[2] * Sv[0] - Su[0] * Sv[2];
  const Number z = Su[0] * Sv[1] - Su[1] * Sv[0];
  Number length;
  squareRoot(x * x + (y * y + z * z), length);
  const auto hasLength = length > rule.minLength;
  const Number zero{};
  const Number fallbackZ = zero + rule.fallbackZ;
  normal[0] = hasLength ? x / length : zero;
  normal[1] = hasLength ? y / length : zero;
  normal[2] = hasLength ? z / length : fallbackZ;
}

inline foundation::Vector3D unitNormal(const NormalRule& rule, const foundation::Vector3D& Su,
                                       const foundation::Vector3D& Sv) {
  double normal[3];
  unitNormal(rule, Su.eigen().data(), Sv.eigen().data(), normal);
  return {normal[0], normal[1], normal[2]};
}

/// Those of four points, each with its coordinates in the first lanes of a pack.
[[gnu::always_inline]] inline void unitNormals(const NormalRule& rule, const foundation::Quad* Su,
                                               const foundation::Quad* Sv,
                                               foundation::Quad* normals) {
  foundation::Quad bySu[foundation::kQuad], bySv[foundation::kQuad];
  foundation::Quad coordinates[foundation::kQuad] = {};
  foundation::transpose(Su, bySu);
  foundation::transpose(Sv, bySv);
  unitNormal(rule, bySu, bySv, coordinates);
  foundation::transpose(coordinates, normals);
}

inline foundation::Vector3D evaluationNormal(const foundation::Vector3D& Su,
                                             const foundation::Vector3D& Sv) {
  return unitNormal(kEvaluationNormal, Su, Sv);
}

inline foundation::Vector3D surfaceNormal(const foundation::Vector3D& Su,
                                          const foundation::Vector3D& Sv) {
  return unitNormal(kSurfaceNormal, Su, Sv);
}

}  // namespace trova::geometry::internal
