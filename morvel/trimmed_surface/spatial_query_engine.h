#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "morvel/trimmed_surface/kd_tree_point_locator.h"
#include "morvel/trimmed_surface/rtree_spatial_index.h"
#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::geometry::trimmed_surface {

/// Where a loop comes nearest to a point, in parameters.
struct MORVEL_API NearestBoundary {
  std::size_t loop = 0;
  Point2D point;
  double distance = 0.0;
};

struct MORVEL_API SpatialQueryStatistics {
  std::uint64_t queries = 0;
  std::uint64_t cacheHits = 0;
  std::size_t cachedQueries = 0;
  SpatialIndexStatistics index;
};

/// Questions about the loops of a trimmed surface as it was when the engine was made: an R-tree of
/// their boxes, a k-d tree of points along their curves, and a cache of answers. Loops are named by
/// their index. Not for two threads at once.
class MORVEL_API SpatialQueryEngine {
 public:
  static constexpr std::size_t kDefaultCacheSize = 1000;

  static std::unique_ptr<SpatialQueryEngine> createFromTrimmedSurface(
      const TrimmedSurface& surface);
  ~SpatialQueryEngine();

  /// The loops that hold the point inside, rising.
  std::vector<std::size_t> findContainingGeometry(double u, double v);
  /// The loops whose boxes meet the rectangle, rising.
  std::vector<std::size_t> findIntersectingGeometry(double uMin, double uMax, double vMin,
                                                    double vMax) const;
  /// Empty without loops.
  std::optional<NearestBoundary> findNearestBoundary(double u, double v);
  /// The loops whose boundary comes as near to the point as `distance`, rising.
  std::vector<std::size_t> findWithinDistance(double u, double v, double distance) const;
  /// The loops with a sample of their boundary in the polygon, rising.
  std::vector<std::size_t> findInPolygonRegion(const std::vector<Point2D>& polygon) const;
  /// The sampled point of a curve nearest to (u, v); null without curves.
  const KdTreePointLocator<CurveOnSurface, 2>::Entry* findNearestCurvePoint(double u,
                                                                            double v) const;

  /// A full cache is emptied. 0 switches it off.
  void setMaxCacheSize(std::size_t size);
  void clearCache();
  SpatialQueryStatistics getStatistics() const;
  void resetStatistics();

 private:
  struct Loops;

  explicit SpatialQueryEngine(const TrimmedSurface& surface);
  std::size_t indexOf(const TrimLoop* loop) const;
  std::vector<std::size_t> indicesOf(const std::vector<const TrimLoop*>& loops) const;
  double squaredDistanceTo(std::size_t loop, const Point2D& p, Point2D* foot) const;

  template <class Answer>
  using Cache = std::map<std::pair<double, double>, Answer>;
  template <class Answer, class Work>
  Answer cached(Cache<Answer>& cache, double u, double v, Work&& work);

  std::unique_ptr<Loops> loops_;
  RTreeSpatialIndex<TrimLoop, 2> boxes_;
  KdTreePointLocator<CurveOnSurface, 2> points_;
  Cache<std::vector<std::size_t>> containing_;
  Cache<std::optional<NearestBoundary>> nearest_;
  std::size_t maxCacheSize_ = kDefaultCacheSize;
  std::uint64_t queries_ = 0;
  std::uint64_t cacheHits_ = 0;
};

}  // namespace trova::geometry::trimmed_surface
