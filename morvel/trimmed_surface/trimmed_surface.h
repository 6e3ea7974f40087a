#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "morvel/surfaces/surface.h"
#include "morvel/trimmed_surface/trimmed_surface_options.h"

// A surface of which only a part is material. Position, derivatives, closest points and periodicity
// are those of the base; the loops in its parameter plane say what is visible.

namespace trova::geometry::trimmed_surface {

/// A base surface with loops given as polygons, classified by crossing numbers. The base is shared
/// and kept alive. Not for two threads at once: caches are filled by operations that only ask.
class MORVEL_API TrimmedSurface : public Surface {
 public:
  /// @throws std::invalid_argument "Base surface cannot be null"
  explicit TrimmedSurface(std::shared_ptr<Surface> base,
                          const TrimmedSurfaceOptions& settings = {});

  std::string getTypeIdentifier() const override { return "TrimmedSurface"; }
  /// Shares the base; the loops are copied, their curves shared.
  std::unique_ptr<Surface> clone() const override;
  /// The base is valid and every loop passes `TrimLoop::validate`.
  bool isValid() const override;
  ParameterDomain getParameterDomain() const override;
  bool isClosed() const override;
  bool isPeriodicU() const override;
  bool isPeriodicV() const override;
  Point3D evaluate(double u, double v) const override;
  SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const override;
  BoundingBox getBoundingBox() const override;  ///< that of the base, computed once
  std::pair<double, double> getClosestParameter(const Point3D& point) const override;
  /// The same loops on the image of the base.
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  /// A RectangularTrimmedSurface on the same base, clamped to its domain; the loops are left out.
  /// @throws std::invalid_argument where nothing is left
  std::unique_ptr<Surface> trim(double uFrom, double uTo, double vFrom, double vTo) const override;
  std::unique_ptr<Surface> reverseU() const override;
  std::unique_ptr<Surface> reverseV() const override;
  std::unique_ptr<Surface> swapUV() const override;
  /// Replaces the base by its image; other owners of the base keep theirs.
  void applyTransformToGeometry(const Transform3D& matrix) override;

  /// Without loops every point is inside.
  virtual PointClassification classifyPoint(double u, double v) const;
  virtual bool isPointVisible(double u, double v) const;  ///< inside or on the boundary
  /// The area in space of the visible part (visible_region.h), computed once.
  virtual double computeArea() const;

  const std::shared_ptr<Surface>& getBaseSurface() const { return baseSurface; }
  const TrimmedSurfaceOptions& getOptions() const { return options; }
  void setOptions(const TrimmedSurfaceOptions& settings);

  /// Copy the loop, give it the role and the direction that goes with it.
  void addOuterLoop(const TrimLoop& loop);
  void addInnerLoop(const TrimLoop& loop);
  void addMultipleInnerLoops(const std::vector<TrimLoop>& loops);
  void clearTrimLoops();
  /// Replaces the loops by others that are taken as they are, in role and direction.
  void setTrimLoops(std::vector<TrimLoop> loops);
  const std::vector<TrimLoop>& getTrimLoops() const { return trimLoops; }
  /// @throws std::out_of_range "Trim loop index out of range"
  const TrimLoop& getTrimLoop(std::size_t index) const;
  /// Counted and selected by `isOuter`.
  std::size_t getNumTrimLoops() const { return trimLoops.size(); }
  std::size_t getNumOuterLoops() const;
  std::size_t getNumInnerLoops() const;
  std::vector<TrimLoop> getOuterLoops() const;
  std::vector<TrimLoop> getInnerLoops() const;

  bool validateTrimLoops() const;
  /// Every inner loop lies in an outer one, where there are outer ones.
  bool validateLoopHierarchy() const;
  bool hasIntersectingLoops() const;
  std::vector<std::pair<std::size_t, std::size_t>> findIntersectingLoops() const;
  std::vector<std::string> getValidationErrors() const;

  /// By the sum of the loops' crossing numbers, holes being clockwise; true without loops.
  bool isPointVisibleWindingNumber(double u, double v) const;
  int computeWindingNumberForLoop(const TrimLoop& loop, const Point2D& p) const;
  /// Above 0 where p is left of a -> b.
  static double isLeftOfEdge(const Point2D& a, const Point2D& b, const Point2D& p);

  /// Indices of the loops whose inside holds the point; whose boxes in (u, v) meet the rectangle.
  std::vector<std::size_t> findLoopsContainingPoint(double u, double v) const;
  std::vector<std::size_t> findLoopsInRegion(double uMin, double uMax, double vMin,
                                             double vMax) const;
  /// In parameters; infinite without loops.
  double computeDistanceToNearestBoundary(double u, double v) const;
  void buildSpatialIndex() const;
  void invalidateSpatialIndex() const;
  bool useSpatialOptimization() const;  ///< there are 3 or more loops

  /// Drops everything that was worked out from the loops, the options and the base.
  void invalidateCache();

 protected:
  /// A map of the parameter plane of the base onto that of a reversed or swapped base.
  struct ParameterMap {
    bool reversesU = false;
    bool reversesV = false;
    bool swaps = false;
  };

  TrimmedSurface(const TrimmedSurface&) = default;
  TrimmedSurface& operator=(const TrimmedSurface&) = default;

  /// Rises with every `invalidateCache`.
  std::uint64_t revision() const { return revision_; }
  std::unique_ptr<Surface> mappedBase(const ParameterMap& map) const;
  TrimLoop mappedLoop(const TrimLoop& loop, const std::shared_ptr<Surface>& base,
                      const ParameterMap& map) const;
  /// Into a surface without loops on the mapped base.
  void copyMappedLoops(TrimmedSurface& target, const ParameterMap& map) const;

  std::shared_ptr<Surface> baseSurface;
  std::vector<TrimLoop> trimLoops;
  TrimmedSurfaceOptions options;

 private:
  struct LoopBoxes {
    std::vector<std::pair<BoundingBox, std::size_t>> entries;
    std::multimap<double, std::size_t> byLowU;
  };

  std::unique_ptr<Surface> mapped(const ParameterMap& map) const;
  void addLoop(const TrimLoop& loop, bool asOuter);
  std::vector<TrimLoop> loopsInRole(bool isOuter) const;

  mutable bool isBoundsCacheValid_ = false;
  mutable BoundingBox cachedBounds_;
  mutable bool isAreaCacheValid_ = false;
  mutable double cachedArea_ = 0.0;
  mutable bool isIndexValid_ = false;
  mutable LoopBoxes index_;
  std::uint64_t revision_ = 0;
};

/// The classification of `uv.size() / 2` points u v by the rules of `classifyPoint`. No cache and
/// no counter of the surface is read or changed.
MORVEL_API void classifyPoints(const TrimmedSurface& surface, std::span<const double> uv,
                               PointClassification* out);

}  // namespace trova::geometry::trimmed_surface
