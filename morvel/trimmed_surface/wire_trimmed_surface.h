#pragma once

#include <cstdint>
#include <unordered_map>

#include "morvel/trimmed_surface/trimmed_surface.h"

namespace trova::geometry::trimmed_surface {

namespace internal {
class LoopClassifier;
}

/// A hole of a pattern, in parameters.
struct MORVEL_API HoleDescription {
  enum class Shape { Circle, Rectangle, Ellipse };
  Shape shape = Shape::Circle;
  Point2D center;
  double radiusU = 0.0;  ///< radius, half the width, or first half axis
  double radiusV = 0.0;  ///< not used by circles
};

/// A surface whose loops are made of curves on it, or of polygons. Each curve is looked at through
/// 50 and 100 samples, taken once. Every answer is exact for those polylines; a grid over the loops
/// makes it cheap, whatever the number of loops.
///
/// `classifyPoint` remembers up to 500 answers under their exact parameters, and counts.
class MORVEL_API WireTrimmedSurface : public TrimmedSurface {
 public:
  using TrimmedSurface::TrimmedSurface;

  std::string getTypeIdentifier() const override { return "WireTrimmedSurface"; }
  /// With an empty cache and counters at 0.
  std::unique_ptr<Surface> clone() const override;
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  std::unique_ptr<Surface> reverseU() const override;
  std::unique_ptr<Surface> reverseV() const override;
  std::unique_ptr<Surface> swapUV() const override;

  /// From the cache, else by the rules. By contract a full cache takes nothing more while there are
  /// fewer than 3 loops, and is emptied and refilled from 3 loops on.
  PointClassification classifyPoint(double u, double v) const override;
  /// The rules over all loops: on the boundary of any; else in an outer-like loop and in no
  /// hole-like one.
  PointClassification classifyPointWindingNumber(double u, double v) const;
  /// The rules over `findCandidateLoops`; counts the query and fills the cache.
  PointClassification classifyPointSpatiallyOptimized(double u, double v) const;
  /// As `classifyPoint`, without cache and counters; point k is (uv[2 k], uv[2 k + 1]).
  void classifyPoints(std::span<const double> uv, PointClassification* out) const;
  /// By contract inside, wherever in its material region the point lies.
  PointClassification classifyPointInMaterialRegion(const TrimLoop& loop, double u, double v) const;

  bool pointInLoop(const TrimLoop& loop, double u, double v) const;
  bool pointOnLoopBoundary(const TrimLoop& loop, double u, double v, double tolerance) const;
  /// The turns that the loop's curves make around the point, each curve in 50 steps; whole only
  /// where consecutive curves meet.
  double computeWindingNumberFromCurves(const TrimLoop& loop, double u, double v) const;

  /// Outer-like loops whose boxes hold the point, and where one of them holds it, the hole-like
  /// ones whose boxes do; where there are none, the first five.
  std::vector<std::size_t> findCandidateLoops(double u, double v) const;
  /// Boxes in (u, v), in rising order of their left sides.
  std::vector<std::pair<BoundingBox, std::size_t>> buildSpatialLoopIndex() const;

  void setUseSpatialIndex(bool isOn) { useSpatialIndex = isOn; }
  bool getUseSpatialIndex() const { return useSpatialIndex; }
  bool shouldUseSpatialOptimization() const { return useSpatialIndex && useSpatialOptimization(); }

  void addToClassificationCache(double u, double v, PointClassification result) const;
  void clearClassificationCache() const { classificationCache.clear(); }
  std::size_t getCacheSize() const { return classificationCache.size(); }
  std::uint64_t getTotalQueries() const { return totalQueries; }
  std::uint64_t getCacheHits() const { return cacheHits; }
  double getCacheHitRatio() const;  ///< 0 without queries

  // Loops on this surface, not yet added. All in parameters; curves that leave the base's domain
  // run along its edge.
  TrimLoop createRectangularLoop(double uMin, double uMax, double vMin, double vMax) const;
  /// @throws std::invalid_argument for a radius that is not above 0 and finite
  TrimLoop createCircularLoop(const Point2D& center, double radius, bool asOuter = true) const;
  /// The half axes turned by `rotation` radians; a cubic spline within 1e-8 of the ellipse,
  /// relative to its longer axis. @throws as createCircularLoop
  TrimLoop createEllipticalLoop(const Point2D& center, double radiusU, double radiusV,
                                double rotation = 0.0, bool asOuter = true) const;

  void addCircularHole(const Point2D& center, double radius);
  void addRectangularHole(double uMin, double uMax, double vMin, double vMax);
  void addMultipleCircularHoles(const std::vector<std::pair<Point2D, double>>& holes);
  void addComplexMultiHolePattern(const std::vector<HoleDescription>& holes);
  /// The whole domain as the outer loop, and the holes. @throws as the loops' builders
  static std::unique_ptr<WireTrimmedSurface> createSurfaceWithMultipleHoles(
      std::shared_ptr<Surface> base, const std::vector<HoleDescription>& holes,
      const TrimmedSurfaceOptions& settings = {});

 private:
  struct Parameters {
    double u;
    double v;
    bool operator==(const Parameters&) const = default;
  };
  struct ParametersHash {
    std::size_t operator()(const Parameters& at) const;
  };

  WireTrimmedSurface(const WireTrimmedSurface&) = default;
  const internal::LoopClassifier& classifier() const;
  void dropStale() const;
  std::unique_ptr<Surface> mapped(const ParameterMap& map) const;
  TrimLoop loopOf(std::vector<std::unique_ptr<ParametricCurve2D>> curves, bool asOuter) const;
  TrimLoop loopOf(std::unique_ptr<ParametricCurve2D> curve, bool asOuter) const;

  mutable std::unordered_map<Parameters, PointClassification, ParametersHash> classificationCache;
  std::size_t maxCacheSize = 500;
  bool useSpatialIndex = true;
  mutable std::uint64_t totalQueries = 0;
  mutable std::uint64_t cacheHits = 0;
  mutable std::shared_ptr<const internal::LoopClassifier> classifier_;
  mutable std::uint64_t classifiedRevision_ = 0;
};

}  // namespace trova::geometry::trimmed_surface
