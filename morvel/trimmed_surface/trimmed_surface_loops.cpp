// The loops of a trimmed surface: adding, judging, finding.

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "morvel/trimmed_surface/internal/polygon_winding.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"
#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::geometry::trimmed_surface {
namespace {

constexpr std::size_t kLoopsThatPayForAnIndex = 3;

}  // namespace

void TrimmedSurface::addLoop(const TrimLoop& loop, bool asOuter) {
  TrimLoop copy = loop;
  copy.isOuter = asOuter;
  copy.boundsCacheValid = false;
  copy.ensureCorrectOrientation();
  trimLoops.push_back(std::move(copy));
  invalidateCache();
}

void TrimmedSurface::addOuterLoop(const TrimLoop& loop) { addLoop(loop, true); }
void TrimmedSurface::addInnerLoop(const TrimLoop& loop) { addLoop(loop, false); }

void TrimmedSurface::addMultipleInnerLoops(const std::vector<TrimLoop>& loops) {
  for (const TrimLoop& loop : loops)
    addInnerLoop(loop);
}

void TrimmedSurface::clearTrimLoops() {
  trimLoops.clear();
  invalidateCache();
}

void TrimmedSurface::setTrimLoops(std::vector<TrimLoop> loops) {
  trimLoops = std::move(loops);
  invalidateCache();
}

void TrimmedSurface::setOptions(const TrimmedSurfaceOptions& settings) {
  options = settings;
  invalidateCache();
}

void TrimmedSurface::invalidateCache() {
  isBoundsCacheValid_ = false;
  isAreaCacheValid_ = false;
  invalidateSpatialIndex();
  ++revision_;
}

const TrimLoop& TrimmedSurface::getTrimLoop(std::size_t index) const {
  if (index >= trimLoops.size()) throw std::out_of_range("Trim loop index out of range");
  return trimLoops[index];
}

std::size_t TrimmedSurface::getNumOuterLoops() const {
  return std::count_if(trimLoops.begin(), trimLoops.end(),
                       [](const TrimLoop& loop) { return loop.isOuter; });
}

std::size_t TrimmedSurface::getNumInnerLoops() const {
  return trimLoops.size() - getNumOuterLoops();
}

std::vector<TrimLoop> TrimmedSurface::loopsInRole(bool isOuter) const {
  std::vector<TrimLoop> found;
  std::copy_if(trimLoops.begin(), trimLoops.end(), std::back_inserter(found),
               [&](const TrimLoop& loop) { return loop.isOuter == isOuter; });
  return found;
}

std::vector<TrimLoop> TrimmedSurface::getOuterLoops() const { return loopsInRole(true); }
std::vector<TrimLoop> TrimmedSurface::getInnerLoops() const { return loopsInRole(false); }

bool TrimmedSurface::validateTrimLoops() const {
  return std::all_of(trimLoops.begin(), trimLoops.end(),
                     [](const TrimLoop& loop) { return loop.validate(); });
}

bool TrimmedSurface::validateLoopHierarchy() const {
  if (getNumOuterLoops() == 0) return true;
  const auto isHeld = [&](const TrimLoop& inner) {
    return std::any_of(trimLoops.begin(), trimLoops.end(), [&](const TrimLoop& outer) {
      return outer.isOuter && outer.containsLoop(inner, options.boundaryTolerance);
    });
  };
  return std::all_of(trimLoops.begin(), trimLoops.end(),
                     [&](const TrimLoop& loop) { return loop.isOuter || isHeld(loop); });
}

bool TrimmedSurface::hasIntersectingLoops() const { return !findIntersectingLoops().empty(); }

std::vector<std::pair<std::size_t, std::size_t>> TrimmedSurface::findIntersectingLoops() const {
  std::vector<std::pair<std::size_t, std::size_t>> found;
  for (std::size_t a = 0; a < trimLoops.size(); ++a) {
    for (std::size_t b = a + 1; b < trimLoops.size(); ++b) {
      if (trimLoops[a].intersectsWithLoop(trimLoops[b], options.boundaryTolerance))
        found.emplace_back(a, b);
    }
  }
  return found;
}

std::vector<std::string> TrimmedSurface::getValidationErrors() const {
  std::vector<std::string> errors;
  if (!baseSurface)
    errors.emplace_back("Base surface is null");
  else if (!baseSurface->isValid())
    errors.emplace_back("Base surface is invalid");
  for (std::size_t i = 0; i < trimLoops.size(); ++i) {
    if (!trimLoops[i].validate())
      errors.push_back("Trim loop " + std::to_string(i) + " is invalid");
  }
  return errors;
}

// ---- finding ----

bool TrimmedSurface::useSpatialOptimization() const {
  return trimLoops.size() >= kLoopsThatPayForAnIndex;
}

void TrimmedSurface::invalidateSpatialIndex() const { isIndexValid_ = false; }

void TrimmedSurface::buildSpatialIndex() const {
  index_.entries.clear();
  index_.byLowU.clear();
  for (std::size_t k = 0; k < trimLoops.size(); ++k) {
    const BoundingBox box = internal::SampledLoop(trimLoops[k]).box;
    if (box.isEmpty()) continue;
    index_.byLowU.emplace(box.getMin().x(), index_.entries.size());
    index_.entries.emplace_back(box, k);
  }
  isIndexValid_ = true;
}

std::vector<std::size_t> TrimmedSurface::findLoopsInRegion(double uMin, double uMax, double vMin,
                                                           double vMax) const {
  if (!isIndexValid_) buildSpatialIndex();
  std::vector<std::size_t> found;
  const auto behind = index_.byLowU.upper_bound(uMax);
  for (auto at = index_.byLowU.begin(); at != behind; ++at) {
    const auto& [box, loop] = index_.entries[at->second];
    if (box.getMax().x() >= uMin && box.getMin().y() <= vMax && box.getMax().y() >= vMin)
      found.push_back(loop);
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::vector<std::size_t> TrimmedSurface::findLoopsContainingPoint(double u, double v) const {
  std::vector<std::size_t> found = findLoopsInRegion(u, u, v, v);
  std::erase_if(found, [&](std::size_t k) {
    const double turns = internal::SampledLoop(trimLoops[k]).turnsAround({u, v});
    return !(std::abs(turns) > internal::kInsideTurns);
  });
  return found;
}

double TrimmedSurface::computeDistanceToNearestBoundary(double u, double v) const {
  double nearest = std::numeric_limits<double>::infinity();
  for (const TrimLoop& loop : trimLoops) {
    internal::SampledLoop(loop).boundary.forEachEdge([&](const Point2D& a, const Point2D& b) {
      nearest = std::min(nearest, internal::squaredEdgeDistance(a, b, {u, v}, 0.0));
    });
  }
  return std::sqrt(nearest);
}

}  // namespace trova::geometry::trimmed_surface
