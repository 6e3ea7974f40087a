#pragma once

// Fixed thresholds shared by several modules. A threshold of one algorithm stands at the top of its
// own file; a tolerance that a caller may choose is a field of ToleranceContext.

namespace trova::foundation {

/// Two knots, or a knot and a parameter, closer than this are the same (parameter units).
inline constexpr double kKnotTolerance = 1e-12;

/// A vector shorter than this has no direction: `Vector3D::normalized` gives the zero vector.
inline constexpr double kMinDirectionLength = 1e-4;

/// The highest degree whose basis tables fit on the stack; also the cap of degree elevation.
inline constexpr int kMaxStackDegree = 29;

}  // namespace trova::foundation
