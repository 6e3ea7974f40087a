#pragma once

#include <Eigen/Core>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <stdexcept>
#include <vector>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/transform3d.h"
#include "morvel/foundation/vector.h"
#include "morvel/surfaces/control_net.h"

// Between the caller's flat arrays and the kernel's values: the only place that knows the layouts.

namespace trova_internal {

inline constexpr int kDoublesPerPoint = 3;
inline constexpr int kMatrixEntries = 16;

/// Which index of a flat net runs slowest.
enum class NetOrder { UOuter, VOuter };

bool allFinite(const double* values, std::int64_t count);

inline trova::foundation::Point3D readPoint(const double* p) { return {p[0], p[1], p[2]}; }
inline trova::foundation::Vector3D readVector(const double* p) { return {p[0], p[1], p[2]}; }

template <class Triple>
void writeTriple(const Triple& value, double* out) {
  out[0] = value.x();
  out[1] = value.y();
  out[2] = value.z();
}

/// Whether `checkedCount` accepts the factors.
bool countsFit(std::initializer_list<std::int64_t> factors) noexcept;

/// count points. @throws std::length_error for a size that cannot be, std::invalid_argument
/// "Coordinates must be finite"
std::vector<trova::foundation::Point3D> copyPoints(const double* points, int count);

/// count values, e.g. knots or weights. @throws as copyPoints, "Values must be finite"
std::vector<double> copyValues(const double* values, int count);

/// A net of nU x nV points in the given order. @throws as copyPoints
trova::geometry::ControlNet copyNet(const double* points, int nU, int nV, NetOrder order);

/// A matrix of 16 entries, row by row.
trova::foundation::Transform3D readTransform(const double* m);
void writeTransform(const trova::foundation::Transform3D& transform, double* out);

/// Writes points one after the other.
void writePoints(std::span<const trova::foundation::Point3D> points, double* out);

/// Knots never decrease.
bool isNonDecreasing(const double* knots, int count);

}  // namespace trova_internal
