#pragma once

#include "morvel/trimmed_surface/rectangular_trimmed_surface.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

namespace trova::geometry::trimmed_surface {

/// Makes trimmed surfaces of every kind. All throw std::invalid_argument for a null base, and what
/// the constructors and loop builders throw.
class MORVEL_API TrimmedSurfaceFactory {
 public:
  /// Bounded in both directions.
  static std::unique_ptr<RectangularTrimmedSurface> createRectangular(
      std::shared_ptr<Surface> base, double uMin, double uMax, double vMin, double vMax,
      const TrimmedSurfaceOptions& settings = {});
  static std::unique_ptr<RectangularTrimmedSurface> createRectangular(
      std::shared_ptr<Surface> base, const TrimBounds& bounds, bool boundedInU, bool boundedInV,
      const TrimmedSurfaceOptions& settings = {});
  /// Each loop in the role that its `isOuter` names.
  static std::unique_ptr<WireTrimmedSurface> createWireTrimmed(
      std::shared_ptr<Surface> base, const std::vector<TrimLoop>& loops,
      const TrimmedSurfaceOptions& settings = {});
  /// The whole domain with a hole.
  static std::unique_ptr<WireTrimmedSurface> createWithCircularHole(
      std::shared_ptr<Surface> base, const Point2D& center, double radius,
      const TrimmedSurfaceOptions& settings = {});

  static bool validateTrimLoops(const std::vector<TrimLoop>& loops);
  /// "Trim loop ", its number from 0, " is invalid" for each loop that is.
  static std::vector<std::string> getTrimLoopValidationErrors(const std::vector<TrimLoop>& loops);
};

}  // namespace trova::geometry::trimmed_surface
