#pragma once

#include <optional>

#include "morvel/foundation/export.h"
#include "morvel/foundation/transform3d.h"

// What geometry asks of a transform before it takes one.

namespace trova::foundation {

/// The ratio of a similarity (a rigid motion or reflection times a scale above 0), none for any
/// other map or one that is not finite. Lengths and right angles may be off by 1e-9, relatively.
MORVEL_API std::optional<double> similarityRatio(const Transform3D& transform);

/// @throws std::invalid_argument "Transform must be finite"; the fourth row is not looked at
MORVEL_API void requireFinite(const Transform3D& transform);

}  // namespace trova::foundation
