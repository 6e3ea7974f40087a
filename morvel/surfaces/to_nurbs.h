#pragma once

#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "morvel/foundation/export.h"

// Conversion of any surface to a B-spline surface: the exceptions, and the default route, which
// interpolates ever finer grids of the surface until the measured deviation meets the tolerance.

namespace trova::geometry {

class BSplineSurface;
class Surface;

/// A conversion to NURBS failed.
class MORVEL_API ToNurbsException : public std::exception {
 public:
  explicit ToNurbsException(std::string message) : message_(std::move(message)) {}
  const char* what() const noexcept override { return message_.c_str(); }

 private:
  std::string message_;
};

/// The source surface is invalid.
class MORVEL_API ToNurbsInvalidSurfaceException : public ToNurbsException {
 public:
  /// "Surface of type " + type + " is invalid for ToNurbs conversion"
  explicit ToNurbsInvalidSurfaceException(const std::string& type);
};

/// The approximation did not meet the target tolerance.
class MORVEL_API ToNurbsConvergenceException : public ToNurbsException {
 public:
  /// "ToNurbs conversion failed to meet tolerance requirements: achieved " + achieved + ", target "
  /// + target
  ToNurbsConvergenceException(double achieved, double target);

  double getAchievedTolerance() const { return achieved_; }
  double getTargetTolerance() const { return target_; }

 private:
  double achieved_;
  double target_;
};

/// The default conversion.
/// @param tolerances  positional tolerance at which refinement stops, and target tolerance above
/// which
///                    the result is refused (model units)
/// @param parameters  control-point counts (u, v) to start from
/// @throws ToNurbsInvalidSurfaceException, ToNurbsConvergenceException; ToNurbsException
///         "Failed to produce valid B-spline surface for " + type
MORVEL_API std::shared_ptr<BSplineSurface> defaultToNurbsImplementation(
    const Surface& surface, const std::pair<double, double>& tolerances,
    const std::pair<int, int>& parameters);

}  // namespace trova::geometry
