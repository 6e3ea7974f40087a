#include "morvel/trimmed_surface/wire_trimmed_surface.h"

#include <cmath>
#include <functional>

#include "morvel/trimmed_surface/internal/loop_classifier.h"
#include "morvel/trimmed_surface/internal/polygon_winding.h"

namespace trova::geometry::trimmed_surface {

using internal::CandidateRule;

std::size_t WireTrimmedSurface::ParametersHash::operator()(const Parameters& at) const {
  constexpr std::size_t kGoldenRatio = 0x9e3779b97f4a7c15;
  const std::hash<double> hash;
  const std::size_t first = hash(at.u);
  return first ^ (hash(at.v) + kGoldenRatio + (first << 6) + (first >> 2));
}

// ---- what was worked out from the loops ----

void WireTrimmedSurface::dropStale() const {
  if (classifiedRevision_ == revision()) return;
  classifier_.reset();
  classificationCache.clear();
  classifiedRevision_ = revision();
}

const internal::LoopClassifier& WireTrimmedSurface::classifier() const {
  dropStale();
  if (!classifier_)
    classifier_ = std::make_shared<internal::LoopClassifier>(trimLoops, options.boundaryTolerance);
  return *classifier_;
}

void WireTrimmedSurface::addToClassificationCache(double u, double v,
                                                  PointClassification result) const {
  if (classificationCache.size() >= maxCacheSize) classificationCache.clear();
  classificationCache.insert_or_assign(Parameters{u, v}, result);
}

double WireTrimmedSurface::getCacheHitRatio() const {
  return totalQueries == 0 ? 0.0 : double(cacheHits) / double(totalQueries);
}

// ---- classification ----

PointClassification WireTrimmedSurface::classifyPoint(double u, double v) const {
  if (shouldUseSpatialOptimization()) return classifyPointSpatiallyOptimized(u, v);
  dropStale();
  const auto known = classificationCache.find({u, v});
  if (known != classificationCache.end()) return known->second;
  const PointClassification result = classifyPointWindingNumber(u, v);
  if (classificationCache.size() < maxCacheSize)
    classificationCache.emplace(Parameters{u, v}, result);
  return result;
}

PointClassification WireTrimmedSurface::classifyPointWindingNumber(double u, double v) const {
  return classifier().classify({u, v}, CandidateRule::AllLoops);
}

PointClassification WireTrimmedSurface::classifyPointSpatiallyOptimized(double u, double v) const {
  dropStale();
  ++totalQueries;
  const auto known = classificationCache.find({u, v});
  if (known != classificationCache.end()) {
    ++cacheHits;
    return known->second;
  }
  if (trimLoops.empty()) return PointClassification::Inside;
  const CandidateRule rule =
      shouldUseSpatialOptimization() ? CandidateRule::ByBoxes : CandidateRule::AllLoops;
  const PointClassification result = classifier().classify({u, v}, rule);
  addToClassificationCache(u, v, result);
  return result;
}

void WireTrimmedSurface::classifyPoints(std::span<const double> uv,
                                        PointClassification* out) const {
  const CandidateRule rule =
      shouldUseSpatialOptimization() ? CandidateRule::ByBoxes : CandidateRule::AllLoops;
  classifier().classifyAll(uv, rule, out);
}

PointClassification WireTrimmedSurface::classifyPointInMaterialRegion(const TrimLoop&, double,
                                                                      double) const {
  return PointClassification::Inside;
}

bool WireTrimmedSurface::pointInLoop(const TrimLoop& loop, double u, double v) const {
  return std::abs(internal::SampledLoop(loop).turnsAround({u, v})) > internal::kInsideTurns;
}

bool WireTrimmedSurface::pointOnLoopBoundary(const TrimLoop& loop, double u, double v,
                                             double tolerance) const {
  return internal::SampledLoop(loop).isOnBoundary({u, v}, tolerance);
}

double WireTrimmedSurface::computeWindingNumberFromCurves(const TrimLoop& loop, double u,
                                                          double v) const {
  TrimLoop curvesOnly;
  curvesOnly.curves = loop.curves;
  return internal::SampledLoop(curvesOnly).turnsAround({u, v});
}

std::vector<std::size_t> WireTrimmedSurface::findCandidateLoops(double u, double v) const {
  if (shouldUseSpatialOptimization()) return classifier().candidates({u, v});
  std::vector<std::size_t> all(trimLoops.size());
  for (std::size_t k = 0; k < all.size(); ++k)
    all[k] = k;
  return all;
}

std::vector<std::pair<BoundingBox, std::size_t>> WireTrimmedSurface::buildSpatialLoopIndex() const {
  return classifier().loopIndex();
}

// ---- changed copies ----

std::unique_ptr<Surface> WireTrimmedSurface::clone() const {
  std::unique_ptr<WireTrimmedSurface> copy(new WireTrimmedSurface(*this));
  copy->classificationCache.clear();
  copy->totalQueries = copy->cacheHits = 0;
  return copy;
}

std::unique_ptr<Surface> WireTrimmedSurface::transform(const Transform3D& matrix) const {
  auto result = std::make_unique<WireTrimmedSurface>(baseSurface->transform(matrix), options);
  copyMappedLoops(*result, {});
  result->useSpatialIndex = useSpatialIndex;
  return result;
}

std::unique_ptr<Surface> WireTrimmedSurface::mapped(const ParameterMap& map) const {
  auto result = std::make_unique<WireTrimmedSurface>(mappedBase(map), options);
  copyMappedLoops(*result, map);
  result->useSpatialIndex = useSpatialIndex;
  return result;
}

std::unique_ptr<Surface> WireTrimmedSurface::reverseU() const {
  return mapped({.reversesU = true});
}
std::unique_ptr<Surface> WireTrimmedSurface::reverseV() const {
  return mapped({.reversesV = true});
}
std::unique_ptr<Surface> WireTrimmedSurface::swapUV() const { return mapped({.swaps = true}); }

// ---- any trimmed surface ----

void classifyPoints(const TrimmedSurface& surface, std::span<const double> uv,
                    PointClassification* out) {
  if (const auto* wire = dynamic_cast<const WireTrimmedSurface*>(&surface)) {
    wire->classifyPoints(uv, out);
    return;
  }
  for (std::size_t k = 0; 2 * k + 1 < uv.size(); ++k)
    out[k] = surface.classifyPoint(uv[2 * k], uv[2 * k + 1]);
}

}  // namespace trova::geometry::trimmed_surface
