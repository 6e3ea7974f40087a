#pragma once

#include <vector>

#include "morvel/blend/internal/pair_point.h"
#include "morvel/blend/surface_intersection_generator.h"

namespace trova::geometry::blend::internal {

struct TracedBranch {
  std::vector<PairPoint> points;
  bool isClosed = false;
  BranchEnd start = BranchEnd::Edge;
  BranchEnd end = BranchEnd::Edge;
};

/// Follows a branch both ways from a point on it.
class BranchTracer {
 public:
  BranchTracer(const SurfacePair& pair, const SurfaceIntersectionConfig& config, double firstStep);

  TracedBranch trace(const PairPoint& start) const;

  double tangentSine() const { return tangentSine_; }

  /// Adds points until the cubic between neighbours (points and directions) is within the tolerance
  /// of both surfaces half-way. Returns its largest distance there.
  double refine(TracedBranch& branch) const;

 private:
  struct Half {
    std::vector<PairPoint> points;  // without the start
    BranchEnd end = BranchEnd::Stalled;
  };
  Half walk(const PairPoint& start, double sign) const;
  /// A step of the length h; empty where it must be shorter.
  enum class Stepped { Ahead, AtEdge, TooLong, Tangent, Folded };
  Stepped stepOn(const PairPoint& from, double sign, double h, PairPoint& next) const;
  Stepped stepToEdge(const PairPoint& from, double sign, double h, PairPoint& next) const;
  bool closes(const PairPoint& start, const PairPoint& from, const PairPoint& next,
              double sign) const;
  double midDeviation(const PairPoint& a, const PairPoint& b, PairPoint& middle) const;

  const SurfacePair& pair_;
  const SurfaceIntersectionConfig& config_;
  double firstStep_;
  double longestStep_;
  double shortestStep_;
  double turnLimit_;
  double tangentSine_;
};

/// The cubic between two points of a branch with their directions, half-way.
Vector3d hermiteMiddle(const PairPoint& a, const PairPoint& b);

}  // namespace trova::geometry::blend::internal
