#pragma once

// The int results of the exported functions, by meaning. A family whose table differs has a
// namespace of its own here.

namespace trova_internal {

inline constexpr int kSuccess = 0;
inline constexpr int kBadArgument = -1;      ///< null pointer, count, size or value out of range
inline constexpr int kTooFewPoints = -2;     ///< the simple curve makers
inline constexpr int kNotFound = -3;         ///< unknown handle
inline constexpr int kExceptionCaught = -4;  ///< the text is the last error
inline constexpr int kNullObject = -5;       ///< a null object was offered for storage
inline constexpr int kUnsupported = -6;      ///< the type of the object does not support it
inline constexpr int kNoDegreeOrKnots = -7;  ///< the type has no degree, knots or control points

namespace matrix_codes {
inline constexpr int kNotFound = -2;
inline constexpr int kEmptyEntry = -3;
inline constexpr int kCurveSuccess = 0;
inline constexpr int kSurfaceSuccess = 1;  ///< callers test surfaces for a positive result
}  // namespace matrix_codes

namespace curve_codes {
inline constexpr int kBufferTooSmall = -5;  ///< the number needed was written
}  // namespace curve_codes

namespace surface_codes {
inline constexpr int kBufferTooSmall = -2;
inline constexpr int kPointBufferTooSmall = -5;
inline constexpr int kElevationFailed = -5;
inline constexpr int kEmptyAngleRange = -3;
}  // namespace surface_codes

}  // namespace trova_internal
