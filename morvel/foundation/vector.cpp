#include "morvel/foundation/vector.h"

#include <algorithm>
#include <cmath>

namespace trova::foundation {
namespace {

constexpr double kNearlyParallelCosine = 0.9;

}  // namespace

Vector3D Vector3D::normalized() const { return unitOr(*this, kMinDirectionLength, zero()); }

double Vector3D::angleTo(const Vector3D& other) const {
  const double cosine = dot(other) / (magnitude() * other.magnitude());
  return std::acos(std::clamp(cosine, -1.0, 1.0));
}

Vector3D anyPerpendicular(const Vector3D& normal) {
  const bool farFromX = std::abs(normal.x()) < kNearlyParallelCosine;
  return normal.cross(farFromX ? Vector3D::unitX() : Vector3D::unitY()).normalized();
}

}  // namespace trova::foundation
