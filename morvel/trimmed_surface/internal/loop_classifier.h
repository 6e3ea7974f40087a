#pragma once

#include <memory>
#include <span>
#include <vector>

#include "morvel/trimmed_surface/internal/classification_grid.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"

namespace trova::geometry::trimmed_surface::internal {

/// The two readings of a set of loops. They differ near the boundary of a hole that lies outside
/// of every outer loop.
enum class CandidateRule {
  AllLoops,  ///< every loop's boundary and inside are looked at
  ByBoxes    ///< only loops whose boxes hold the point; holes only inside of an outer loop
};

/// Classifies points against loops that do not change. The rules are worked out edge by edge only
/// near the loops; everywhere else the answer of a grid cell holds.
class LoopClassifier {
 public:
  LoopClassifier(const std::vector<TrimLoop>& loops, double tolerance);

  PointClassification classify(const Point2D& p, CandidateRule rule) const;
  /// The same for every pair u v.
  void classifyAll(std::span<const double> uv, CandidateRule rule, PointClassification* out) const;

  /// Loops in rising order of the left sides of their boxes.
  using LoopIndex = std::vector<std::pair<BoundingBox, std::size_t>>;
  const LoopIndex& loopIndex() const { return index_; }
  std::vector<std::size_t> candidates(const Point2D& p) const;

  const std::vector<SampledLoop>& loops() const { return loops_; }
  bool contains(std::size_t loop, const Point2D& p) const;
  bool isOnBoundary(std::size_t loop, const Point2D& p) const;

 private:
  PointClassification classifyNearLoops(const Point2D& p, CellState state,
                                        CandidateRule rule) const;
  PointClassification classifyByRules(const Point2D& p, CandidateRule rule) const;
  PointClassification classifyInCell(const MixedCell& cell, const Point2D& p,
                                     CandidateRule rule) const;
  bool isCandidateBox(std::size_t loop, const Point2D& p) const;

  std::vector<SampledLoop> loops_;
  double tolerance_;
  LoopIndex index_;
  ClassificationGrid grid_;
};

}  // namespace trova::geometry::trimmed_surface::internal
