#pragma once

#include <string>
#include <vector>

#include "morvel/nsided/boundary_constraints.h"

// Loops of boundary curves: whether curves form one, and how to turn curves into one.

namespace trova::geometry {

inline constexpr int kFewestBoundaryCurves = 3;
inline constexpr int kManyBoundaryCurves = 20;  ///< more are accepted with a warning

/// What a check of a boundary found.
struct MORVEL_API ValidationResults {
  bool isValid = false;
  bool isClosed = false;
  bool hasIntersections = false;
  int curveCount = 0;
  double maxGap = 0.0;       ///< model units; infinite where a curve cannot be evaluated
  double tolerance = 0.0;    ///< that gaps were compared with
  std::vector<double> gaps;  ///< gap k: from the end of curve k to the start of the next
  std::vector<std::string> errors;
  std::vector<std::string> warnings;
};

/// The curves all exist, are valid, finite and longer than a billionth of the loop's size.
MORVEL_API bool areUsableCurves(const BoundaryCurves& curves);

/// The distances from each curve's end to the start of the next; the last one's next is the first.
/// Infinite where a point is not finite. The curves exist.
MORVEL_API std::vector<double> boundaryGaps(const BoundaryCurves& curves);

/// The tolerance that gaps are compared with. By contract it is relaxed where any curve lies on a
/// surface: max(tolerance, min(1.1 maxGap, 10)), since such curves are seldom cut to length.
MORVEL_API double closureTolerance(const BoundaryCurves& curves, double maxGap, double tolerance);

/// Two curves come closer than the tolerance elsewhere than where they are joined. (A tolerance
/// above a thousandth of a curve's length counts as that.)
MORVEL_API bool boundaryCurvesCross(const BoundaryCurves& curves, double tolerance);

/// An order and directions in which curves form a loop.
struct MORVEL_API SortedLoop {
  bool isFound = false;
  std::vector<int> order;        ///< the curve that comes k-th
  std::vector<bool> isReversed;  ///< whether the k-th runs backwards
  double tolerance = 0.0;        ///< with which the loop closes
  double maxGap = 0.0;
};

/// Finds a loop through all curves that begins with the first in its own direction, by search with
/// backtracking; where gaps are wider than the tolerance, with ten and a hundred times of it, as
/// long as that is below a tenth of the shortest curve. Prints what it found. Cost grows with the
/// number of ways that the ends fit together; it is bounded.
MORVEL_API SortedLoop sortBoundaryLoop(const BoundaryCurves& curves, double tolerance);

}  // namespace trova::geometry
