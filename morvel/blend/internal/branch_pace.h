#pragma once

#include <vector>

#include "morvel/blend/surface_intersection_generator.h"

namespace trova::geometry::blend::internal {

/// A branch by the fraction of its length: cubic pieces through its points with their directions.
class BranchPace {
 public:
  explicit BranchPace(const IntersectionBranch& branch);

  double length() const { return lengths_.back(); }

  /// A point near the branch, with near parameters and direction.
  IntersectionPoint at(double fraction) const;

 private:
  const std::vector<IntersectionPoint>& points_;
  std::vector<double> lengths_;
};

}  // namespace trova::geometry::blend::internal
