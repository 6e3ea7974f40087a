#include "morvel/trimmed_surface/trimmed_surface.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/trimmed_surface/internal/loop_mapping.h"
#include "morvel/trimmed_surface/internal/polygon_winding.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"
#include "morvel/trimmed_surface/rectangular_trimmed_surface.h"
#include "morvel/trimmed_surface/visible_region.h"

namespace trova::geometry::trimmed_surface {

TrimmedSurface::TrimmedSurface(std::shared_ptr<Surface> base, const TrimmedSurfaceOptions& settings)
    : baseSurface(std::move(base)), options(settings) {
  if (!baseSurface) throw std::invalid_argument("Base surface cannot be null");
}

std::unique_ptr<Surface> TrimmedSurface::clone() const {
  return std::unique_ptr<Surface>(new TrimmedSurface(*this));
}

bool TrimmedSurface::isValid() const {
  return baseSurface && baseSurface->isValid() && validateTrimLoops();
}

ParameterDomain TrimmedSurface::getParameterDomain() const {
  return baseSurface->getParameterDomain();
}
bool TrimmedSurface::isClosed() const { return baseSurface->isClosed(); }
bool TrimmedSurface::isPeriodicU() const { return baseSurface->isPeriodicU(); }
bool TrimmedSurface::isPeriodicV() const { return baseSurface->isPeriodicV(); }

Point3D TrimmedSurface::evaluate(double u, double v) const { return baseSurface->evaluate(u, v); }

SurfaceEvaluation TrimmedSurface::evaluateDerivatives(double u, double v, int order) const {
  return baseSurface->evaluateDerivatives(u, v, order);
}

std::pair<double, double> TrimmedSurface::getClosestParameter(const Point3D& point) const {
  return baseSurface->getClosestParameter(point);
}

BoundingBox TrimmedSurface::getBoundingBox() const {
  if (!isBoundsCacheValid_) {
    cachedBounds_ = baseSurface->getBoundingBox();
    isBoundsCacheValid_ = true;
  }
  return cachedBounds_;
}

// ---- changed copies ----

std::unique_ptr<Surface> TrimmedSurface::transform(const Transform3D& matrix) const {
  auto result = std::make_unique<TrimmedSurface>(baseSurface->transform(matrix), options);
  copyMappedLoops(*result, {});
  return result;
}

std::unique_ptr<Surface> TrimmedSurface::trim(double uFrom, double uTo, double vFrom,
                                              double vTo) const {
  const ParameterDomain domain = getParameterDomain();
  const TrimBounds bounds{
      std::max(domain.uMin, std::min(uFrom, uTo)), std::min(domain.uMax, std::max(uFrom, uTo)),
      std::max(domain.vMin, std::min(vFrom, vTo)), std::min(domain.vMax, std::max(vFrom, vTo))};
  return std::make_unique<RectangularTrimmedSurface>(baseSurface, bounds, true, true, options);
}

std::unique_ptr<Surface> TrimmedSurface::mapped(const ParameterMap& map) const {
  auto result = std::make_unique<TrimmedSurface>(mappedBase(map), options);
  copyMappedLoops(*result, map);
  return result;
}

std::unique_ptr<Surface> TrimmedSurface::reverseU() const { return mapped({.reversesU = true}); }
std::unique_ptr<Surface> TrimmedSurface::reverseV() const { return mapped({.reversesV = true}); }
std::unique_ptr<Surface> TrimmedSurface::swapUV() const { return mapped({.swaps = true}); }

std::unique_ptr<Surface> TrimmedSurface::mappedBase(const ParameterMap& map) const {
  if (map.reversesU) return baseSurface->reverseU();
  if (map.reversesV) return baseSurface->reverseV();
  return map.swaps ? baseSurface->swapUV() : baseSurface->clone();
}

TrimLoop TrimmedSurface::mappedLoop(const TrimLoop& loop, const std::shared_ptr<Surface>& base,
                                    const ParameterMap& map) const {
  const internal::PlaneMap plane(getParameterDomain(), map.reversesU, map.reversesV, map.swaps);
  TrimLoop result = loop;
  result.boundsCacheValid = false;
  for (auto& curve : result.curves) {
    if (curve)
      curve = std::make_shared<CurveOnSurface>(base, plane.image(curve->getParameterCurve()));
  }
  for (Point2D& p : result.polygon)
    p = plane.image(p);
  return result;
}

void TrimmedSurface::copyMappedLoops(TrimmedSurface& target, const ParameterMap& map) const {
  for (const TrimLoop& loop : trimLoops) {
    const TrimLoop image = mappedLoop(loop, target.baseSurface, map);
    target.addLoop(image, loop.isOuter);
  }
}

void TrimmedSurface::applyTransformToGeometry(const Transform3D& matrix) {
  std::shared_ptr<Surface> image = baseSurface->transform(matrix);
  std::vector<TrimLoop> loops;
  for (const TrimLoop& loop : trimLoops)
    loops.push_back(mappedLoop(loop, image, {}));
  baseSurface = std::move(image);
  trimLoops = std::move(loops);
  invalidateCache();
}

// ---- what is visible ----

PointClassification TrimmedSurface::classifyPoint(double u, double v) const {
  using enum PointClassification;
  const double squared = options.boundaryTolerance * options.boundaryTolerance;
  const Point2D p(u, v);
  for (const TrimLoop& loop : trimLoops) {
    const std::size_t count = loop.polygon.size();
    for (std::size_t k = 0; count > 1 && k < count; ++k) {
      if (internal::isOnEdge(loop.polygon[k], loop.polygon[(k + 1) % count], p, squared))
        return OnBoundary;
    }
  }
  return isPointVisibleWindingNumber(u, v) ? Inside : Outside;
}

bool TrimmedSurface::isPointVisible(double u, double v) const {
  return classifyPoint(u, v) != PointClassification::Outside;
}

double TrimmedSurface::computeArea() const {
  if (!isAreaCacheValid_) {
    cachedArea_ = visibleArea(*this);
    isAreaCacheValid_ = true;
  }
  return cachedArea_;
}

bool TrimmedSurface::isPointVisibleWindingNumber(double u, double v) const {
  if (trimLoops.empty()) return true;
  int winding = 0;
  for (const TrimLoop& loop : trimLoops)
    winding += computeWindingNumberForLoop(loop, {u, v});
  return winding != 0;
}

int TrimmedSurface::computeWindingNumberForLoop(const TrimLoop& loop, const Point2D& p) const {
  return internal::windingNumber(loop.polygon, p);
}

double TrimmedSurface::isLeftOfEdge(const Point2D& a, const Point2D& b, const Point2D& p) {
  return internal::side(a, b, p);
}

}  // namespace trova::geometry::trimmed_surface
