#include "morvel/trimmed_surface/rectangular_trimmed_surface.h"

#include <cmath>
#include <stdexcept>

namespace trova::geometry::trimmed_surface {

RectangularTrimmedSurface::RectangularTrimmedSurface(std::shared_ptr<Surface> base,
                                                     const TrimBounds& bounds, bool boundedInU,
                                                     bool boundedInV,
                                                     const TrimmedSurfaceOptions& settings)
    : TrimmedSurface(std::move(base), settings),
      bounds_(bounds),
      trimU_(boundedInU),
      trimV_(boundedInV) {
  validateTrimBounds();
  createRectangularTrimLoops();
}

void RectangularTrimmedSurface::validateTrimBounds() const {
  if (trimU_ && !(bounds_.uMin < bounds_.uMax))
    throw std::invalid_argument("Invalid U bounds: u_min must be less than u_max");
  if (trimV_ && !(bounds_.vMin < bounds_.vMax))
    throw std::invalid_argument("Invalid V bounds: v_min must be less than v_max");
  if (!baseSurface) return;
  const ParameterDomain domain = baseSurface->getParameterDomain();
  if (trimU_ && (bounds_.uMin < domain.uMin || bounds_.uMax > domain.uMax))
    throw std::out_of_range("U trim bounds exceed base surface domain");
  if (trimV_ && (bounds_.vMin < domain.vMin || bounds_.vMax > domain.vMax))
    throw std::out_of_range("V trim bounds exceed base surface domain");
}

void RectangularTrimmedSurface::createRectangularTrimLoops() {
  clearTrimLoops();
  if (!trimU_ && !trimV_) return;
  TrimLoop loop;
  loop.type = kOuterBoundary;
  loop.tolerance = options.boundaryTolerance;
  addOuterLoop(loop);
}

void RectangularTrimmedSurface::setTrimBounds(const TrimBounds& bounds) {
  RectangularTrimmedSurface(baseSurface, bounds, trimU_, trimV_, options);  // judges them
  bounds_ = bounds;
  createRectangularTrimLoops();
}

bool RectangularTrimmedSurface::areBoundsSound() const {
  const ParameterDomain domain = baseSurface->getParameterDomain();
  const bool isSoundU = !trimU_ || (domain.uMin <= bounds_.uMin && bounds_.uMin < bounds_.uMax &&
                                    bounds_.uMax <= domain.uMax);
  const bool isSoundV = !trimV_ || (domain.vMin <= bounds_.vMin && bounds_.vMin < bounds_.vMax &&
                                    bounds_.vMax <= domain.vMax);
  return isSoundU && isSoundV;
}

bool RectangularTrimmedSurface::isValid() const {
  return TrimmedSurface::isValid() && areBoundsSound();
}

PointClassification RectangularTrimmedSurface::classifyPoint(double u, double v) const {
  using enum PointClassification;
  const double t = options.boundaryTolerance;
  const bool isNearU = std::abs(u - bounds_.uMin) <= t || std::abs(u - bounds_.uMax) <= t;
  const bool isNearV = std::abs(v - bounds_.vMin) <= t || std::abs(v - bounds_.vMax) <= t;
  const bool isInVSpan = v >= bounds_.vMin - t && v <= bounds_.vMax + t;
  // By contract: the u span is tested against vMin, not uMin.
  const bool isInUSpan = u >= bounds_.vMin - t && u <= bounds_.uMax + t;
  // By contract: also in a direction that is not trimmed.
  if ((isNearU && isInVSpan) || (isNearV && isInUSpan)) return OnBoundary;
  const bool isInU = !trimU_ || (bounds_.uMin <= u && u <= bounds_.uMax);
  const bool isInV = !trimV_ || (bounds_.vMin <= v && v <= bounds_.vMax);
  return isInU && isInV ? Inside : Outside;
}

// ---- changed copies ----

std::unique_ptr<Surface> RectangularTrimmedSurface::clone() const {
  return std::unique_ptr<Surface>(new RectangularTrimmedSurface(*this));
}

std::unique_ptr<Surface> RectangularTrimmedSurface::transform(const Transform3D& matrix) const {
  return std::make_unique<RectangularTrimmedSurface>(baseSurface->transform(matrix), bounds_,
                                                     trimU_, trimV_, options);
}

std::unique_ptr<Surface> RectangularTrimmedSurface::reverseU() const {
  const ParameterDomain domain = getParameterDomain();
  const double sum = domain.uMin + domain.uMax;
  const TrimBounds image{sum - bounds_.uMax, sum - bounds_.uMin, bounds_.vMin, bounds_.vMax};
  return std::make_unique<RectangularTrimmedSurface>(baseSurface->reverseU(), image, trimU_, trimV_,
                                                     options);
}

std::unique_ptr<Surface> RectangularTrimmedSurface::reverseV() const {
  const ParameterDomain domain = getParameterDomain();
  const double sum = domain.vMin + domain.vMax;
  const TrimBounds image{bounds_.uMin, bounds_.uMax, sum - bounds_.vMax, sum - bounds_.vMin};
  return std::make_unique<RectangularTrimmedSurface>(baseSurface->reverseV(), image, trimU_, trimV_,
                                                     options);
}

std::unique_ptr<Surface> RectangularTrimmedSurface::swapUV() const {
  const TrimBounds image{bounds_.vMin, bounds_.vMax, bounds_.uMin, bounds_.uMax};
  return std::make_unique<RectangularTrimmedSurface>(baseSurface->swapUV(), image, trimV_, trimU_,
                                                     options);
}

}  // namespace trova::geometry::trimmed_surface
