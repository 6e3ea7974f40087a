#include "morvel/trimmed_surface/trimmed_surface_factory.h"

namespace trova::geometry::trimmed_surface {

std::unique_ptr<RectangularTrimmedSurface> TrimmedSurfaceFactory::createRectangular(
    std::shared_ptr<Surface> base, double uMin, double uMax, double vMin, double vMax,
    const TrimmedSurfaceOptions& settings) {
  return createRectangular(std::move(base), {uMin, uMax, vMin, vMax}, true, true, settings);
}

std::unique_ptr<RectangularTrimmedSurface> TrimmedSurfaceFactory::createRectangular(
    std::shared_ptr<Surface> base, const TrimBounds& bounds, bool boundedInU, bool boundedInV,
    const TrimmedSurfaceOptions& settings) {
  return std::make_unique<RectangularTrimmedSurface>(std::move(base), bounds, boundedInU,
                                                     boundedInV, settings);
}

std::unique_ptr<WireTrimmedSurface> TrimmedSurfaceFactory::createWireTrimmed(
    std::shared_ptr<Surface> base, const std::vector<TrimLoop>& loops,
    const TrimmedSurfaceOptions& settings) {
  auto surface = std::make_unique<WireTrimmedSurface>(std::move(base), settings);
  for (const TrimLoop& loop : loops) {
    if (loop.isOuter)
      surface->addOuterLoop(loop);
    else
      surface->addInnerLoop(loop);
  }
  return surface;
}

std::unique_ptr<WireTrimmedSurface> TrimmedSurfaceFactory::createWithCircularHole(
    std::shared_ptr<Surface> base, const Point2D& center, double radius,
    const TrimmedSurfaceOptions& settings) {
  HoleDescription hole;
  hole.center = center;
  hole.radiusU = radius;
  return WireTrimmedSurface::createSurfaceWithMultipleHoles(std::move(base), {hole}, settings);
}

bool TrimmedSurfaceFactory::validateTrimLoops(const std::vector<TrimLoop>& loops) {
  return getTrimLoopValidationErrors(loops).empty();
}

std::vector<std::string> TrimmedSurfaceFactory::getTrimLoopValidationErrors(
    const std::vector<TrimLoop>& loops) {
  std::vector<std::string> errors;
  for (std::size_t i = 0; i < loops.size(); ++i) {
    if (!loops[i].validate()) errors.push_back("Trim loop " + std::to_string(i) + " is invalid");
  }
  return errors;
}

}  // namespace trova::geometry::trimmed_surface
