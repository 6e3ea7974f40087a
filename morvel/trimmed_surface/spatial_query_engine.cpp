#include "morvel/trimmed_surface/spatial_query_engine.h"

#include <cmath>

#include "morvel/trimmed_surface/internal/polygon_winding.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"

namespace trova::geometry::trimmed_surface {

template class RTreeSpatialIndex<TrimLoop, 2>;
template class KdTreePointLocator<CurveOnSurface, 2>;

using internal::SampledLoop;

struct SpatialQueryEngine::Loops {
  std::vector<TrimLoop> loops;
  std::vector<SampledLoop> sampled;
};

SpatialQueryEngine::~SpatialQueryEngine() = default;

std::unique_ptr<SpatialQueryEngine> SpatialQueryEngine::createFromTrimmedSurface(
    const TrimmedSurface& surface) {
  return std::unique_ptr<SpatialQueryEngine>(new SpatialQueryEngine(surface));
}

SpatialQueryEngine::SpatialQueryEngine(const TrimmedSurface& surface)
    : loops_(std::make_unique<Loops>()) {
  loops_->loops = surface.getTrimLoops();
  std::vector<KdTreePointLocator<CurveOnSurface, 2>::Entry> points;
  for (const TrimLoop& loop : loops_->loops) {
    const SampledLoop& sampled = loops_->sampled.emplace_back(loop);
    boxes_.insert(sampled.box, &loop);
    for (const auto& curve : loop.curves) {
      if (!curve) continue;
      const auto interval = curve->getParameterInterval();
      for (int k = 0; k <= internal::kBoundarySteps; ++k) {
        const double t = interval.start + interval.length() * k / internal::kBoundarySteps;
        const Point2D p = curve->getUVCoordinates(t);
        points.push_back({{p.x(), p.y()}, curve.get(), t});
      }
    }
  }
  points_.build(std::move(points));
}

std::size_t SpatialQueryEngine::indexOf(const TrimLoop* loop) const {
  return static_cast<std::size_t>(loop - loops_->loops.data());
}

std::vector<std::size_t> SpatialQueryEngine::indicesOf(
    const std::vector<const TrimLoop*>& loops) const {
  std::vector<std::size_t> indices;
  indices.reserve(loops.size());
  for (const TrimLoop* loop : loops)
    indices.push_back(indexOf(loop));
  std::sort(indices.begin(), indices.end());
  return indices;
}

template <class Answer, class Work>
Answer SpatialQueryEngine::cached(Cache<Answer>& cache, double u, double v, Work&& work) {
  ++queries_;
  // Not a number would spoil the order of the keys.
  const bool isKept = maxCacheSize_ > 0 && !std::isnan(u) && !std::isnan(v);
  if (isKept) {
    const auto known = cache.find({u, v});
    if (known != cache.end()) {
      ++cacheHits_;
      return known->second;
    }
  }
  Answer answer = work();
  if (!isKept) return answer;
  if (containing_.size() + nearest_.size() >= maxCacheSize_) clearCache();
  cache.emplace(std::pair(u, v), answer);
  return answer;
}

std::vector<std::size_t> SpatialQueryEngine::findContainingGeometry(double u, double v) {
  return cached(containing_, u, v, [&] {
    std::vector<std::size_t> found = findIntersectingGeometry(u, u, v, v);
    std::erase_if(found, [&](std::size_t k) {
      return !(std::abs(loops_->sampled[k].turnsAround({u, v})) > internal::kInsideTurns);
    });
    return found;
  });
}

std::vector<std::size_t> SpatialQueryEngine::findIntersectingGeometry(double uMin, double uMax,
                                                                      double vMin,
                                                                      double vMax) const {
  return indicesOf(boxes_.query(BoundingBox({uMin, vMin, 0.0}, {uMax, vMax, 0.0})));
}

double SpatialQueryEngine::squaredDistanceTo(std::size_t loop, const Point2D& p,
                                             Point2D* foot) const {
  double nearest = std::numeric_limits<double>::infinity();
  loops_->sampled[loop].boundary.forEachEdge([&](const Point2D& a, const Point2D& b) {
    const double squared = internal::squaredEdgeDistance(a, b, p, 0.0);
    if (!(squared < nearest)) return;
    nearest = squared;
    const Point2D along = b - a;
    const double length = along.x() * along.x() + along.y() * along.y();
    const double share =
        length > 0.0 ? ((p - a).x() * along.x() + (p - a).y() * along.y()) / length : 0.0;
    *foot = a + along * std::clamp(share, 0.0, 1.0);
  });
  return nearest;
}

std::optional<NearestBoundary> SpatialQueryEngine::findNearestBoundary(double u, double v) {
  return cached(nearest_, u, v, [&]() -> std::optional<NearestBoundary> {
    std::optional<NearestBoundary> nearest;
    for (std::size_t k = 0; k < loops_->loops.size(); ++k) {
      Point2D foot;
      const double distance = std::sqrt(squaredDistanceTo(k, {u, v}, &foot));
      if (!std::isfinite(distance) || (nearest && !(distance < nearest->distance))) continue;
      nearest = NearestBoundary{k, foot, distance};
    }
    return nearest;
  });
}

std::vector<std::size_t> SpatialQueryEngine::findWithinDistance(double u, double v,
                                                                double distance) const {
  std::vector<std::size_t> found = indicesOf(boxes_.radiusSearch({u, v, 0.0}, distance));
  std::erase_if(found, [&](std::size_t k) {
    Point2D foot;
    return !(squaredDistanceTo(k, {u, v}, &foot) <= distance * distance);
  });
  return found;
}

std::vector<std::size_t> SpatialQueryEngine::findInPolygonRegion(
    const std::vector<Point2D>& polygon) const {
  BoundingBox box;
  for (const Point2D& p : polygon)
    box.addPoint({p.x(), p.y(), 0.0});
  std::vector<std::size_t> found = indicesOf(boxes_.query(box));
  std::erase_if(found, [&](std::size_t k) {
    const std::vector<Point2D>& samples = loops_->sampled[k].boundary.points();
    return std::none_of(samples.begin(), samples.end(),
                        [&](const Point2D& p) { return internal::windingNumber(polygon, p) != 0; });
  });
  return found;
}

const KdTreePointLocator<CurveOnSurface, 2>::Entry* SpatialQueryEngine::findNearestCurvePoint(
    double u, double v) const {
  return points_.findNearest({u, v});
}

void SpatialQueryEngine::setMaxCacheSize(std::size_t size) {
  maxCacheSize_ = size;
  if (containing_.size() + nearest_.size() > size) clearCache();
}

void SpatialQueryEngine::clearCache() {
  containing_.clear();
  nearest_.clear();
}

SpatialQueryStatistics SpatialQueryEngine::getStatistics() const {
  return {queries_, cacheHits_, containing_.size() + nearest_.size(), boxes_.getPerformanceStats()};
}

void SpatialQueryEngine::resetStatistics() { queries_ = cacheHits_ = 0; }

}  // namespace trova::geometry::trimmed_surface
