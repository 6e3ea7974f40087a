#include "morvel/trimmed_surface/internal/loop_classifier.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "morvel/trimmed_surface/internal/polygon_winding.h"

namespace trova::geometry::trimmed_surface::internal {
namespace {

constexpr std::size_t kFallbackCandidates = 5;
constexpr double kBoxTolerances = 2.0;  // the boxes of outer loops grow by so many tolerances

std::vector<SampledLoop> sampled(const std::vector<TrimLoop>& loops) {
  std::vector<SampledLoop> result;
  result.reserve(loops.size());
  for (const TrimLoop& loop : loops)
    result.emplace_back(loop);
  return result;
}

LoopClassifier::LoopIndex indexOf(const std::vector<SampledLoop>& loops) {
  LoopClassifier::LoopIndex index;
  for (std::size_t k = 0; k < loops.size(); ++k)
    index.emplace_back(loops[k].box, k);
  std::stable_sort(index.begin(), index.end(), [](const auto& a, const auto& b) {
    return a.first.getMin().x() < b.first.getMin().x();
  });
  return index;
}

Point3D inSpace(const Point2D& p) { return {p.x(), p.y(), 0.0}; }

bool isInBoxOf(const GridEdge& edge, const Point2D& p, double reach) {
  const auto isBetween = [&](double a, double b, double x) {
    return std::min(a, b) - reach <= x && x <= std::max(a, b) + reach;
  };
  return isBetween(edge.a.x(), edge.b.x(), p.x()) && isBetween(edge.a.y(), edge.b.y(), p.y());
}

/// What a cell's edges say about one loop.
struct Near {
  bool isOnBoundary = false;
  bool isInside = false;
};

Near lookAt(const MixedCell& cell, const TouchedLoop& touched, const SampledLoop& loop,
            std::span<const GridEdge> edges, const Point2D& p, const GridScale& scale) {
  Near near;
  int winding = touched.winding;
  bool isNearEdge = false;
  for (const GridEdge& edge : edges) {
    if (edge.isBoundary && isOnEdge(edge.a, edge.b, p, scale.squaredTolerance)) {
      near.isOnBoundary = true;
      return near;  // its inside is asked for only where it is not on the boundary
    }
    if (!edge.isWinding) continue;
    const double of = side(edge.a, edge.b, p);
    isNearEdge = isNearEdge || (std::abs(of) <= scale.nearness * edge.length &&
                                isInBoxOf(edge, p, scale.nearness));
    const bool isApart = (of < 0.0) != (side(edge.a, edge.b, cell.reference) < 0.0);
    const bool isCut = isApart && (side(p, cell.reference, edge.a) < 0.0) !=
                                      (side(p, cell.reference, edge.b) < 0.0);
    if (isCut) winding += of < 0.0 ? -1 : 1;
  }
  near.isInside = isNearEdge ? std::abs(loop.turnsAround(p)) > kInsideTurns : winding != 0;
  return near;
}

}  // namespace

LoopClassifier::LoopClassifier(const std::vector<TrimLoop>& loops, double tolerance)
    : loops_(sampled(loops)),
      tolerance_(tolerance),
      index_(indexOf(loops_)),
      grid_(loops_, tolerance) {}

bool LoopClassifier::contains(std::size_t loop, const Point2D& p) const {
  return std::abs(loops_[loop].turnsAround(p)) > kInsideTurns;
}

bool LoopClassifier::isOnBoundary(std::size_t loop, const Point2D& p) const {
  return loops_[loop].isOnBoundary(p, tolerance_);
}

bool LoopClassifier::isCandidateBox(std::size_t loop, const Point2D& p) const {
  BoundingBox box = loops_[loop].box;
  if (!box.contains(inSpace(p))) return false;
  box.expand(kBoxTolerances * tolerance_);
  return box.contains(inSpace(p));
}

std::vector<std::size_t> LoopClassifier::candidates(const Point2D& p) const {
  std::vector<std::size_t> found, holes;
  bool isInOuter = false;
  for (const auto& [box, k] : index_) {
    if (!box.contains(inSpace(p))) continue;
    if (loops_[k].isOuterLike && isCandidateBox(k, p)) {
      found.push_back(k);
      isInOuter = isInOuter || contains(k, p);
    }
    if (loops_[k].isHoleLike) holes.push_back(k);
  }
  if (isInOuter) found.insert(found.end(), holes.begin(), holes.end());
  if (found.empty()) {
    found.resize(std::min(kFallbackCandidates, loops_.size()));
    std::iota(found.begin(), found.end(), std::size_t{0});
  }
  return found;
}

PointClassification LoopClassifier::classifyNearLoops(const Point2D& p, CellState state,
                                                      CandidateRule rule) const {
  return state == CellState::Mixed ? classifyInCell(grid_.mixedCellAt(p), p, rule)
                                   : classifyByRules(p, rule);
}

// Inside or outside is the toss of a coin for a processor that guesses: the common answers are
// handed on without a branch between them.
PointClassification LoopClassifier::classify(const Point2D& p, CandidateRule rule) const {
  const CellState state = grid_.stateAt(p);
  if (isDecided(state)) [[likely]]
    return static_cast<PointClassification>(state);
  return classifyNearLoops(p, state, rule);
}

void LoopClassifier::classifyAll(std::span<const double> uv, CandidateRule rule,
                                 PointClassification* out) const {
  for (std::size_t k = 0; 2 * k + 1 < uv.size(); ++k)
    out[k] = classify({uv[2 * k], uv[2 * k + 1]}, rule);
}

PointClassification LoopClassifier::classifyByRules(const Point2D& p, CandidateRule rule) const {
  using enum PointClassification;
  if (loops_.empty()) return Inside;
  std::vector<std::size_t> asked(loops_.size());
  std::iota(asked.begin(), asked.end(), std::size_t{0});
  if (rule == CandidateRule::ByBoxes) asked = candidates(p);
  const auto any = [&](auto&& holds) { return std::any_of(asked.begin(), asked.end(), holds); };
  if (any([&](std::size_t k) { return isOnBoundary(k, p); })) return OnBoundary;
  if (!any([&](std::size_t k) { return loops_[k].isOuterLike && contains(k, p); })) return Outside;
  const bool isInHole = any([&](std::size_t k) { return loops_[k].isHoleLike && contains(k, p); });
  return isInHole ? Outside : Inside;
}

// Loops that do not touch the cell are summed up in it: none of them has the point on its boundary.
PointClassification LoopClassifier::classifyInCell(const MixedCell& cell, const Point2D& p,
                                                   CandidateRule rule) const {
  using enum PointClassification;
  const bool isByBoxes = rule == CandidateRule::ByBoxes;
  bool isInOuter = cell.isInOuter, isInHole = cell.isInHole;
  bool isOnHole = false, isOnOther = false;
  for (const TouchedLoop& touched : grid_.touchedLoops(cell)) {
    const SampledLoop& loop = loops_[touched.loop];
    const bool hasBox = !isByBoxes || isCandidateBox(touched.loop, p);
    const Near near = lookAt(cell, touched, loop, grid_.edges(touched), p, grid_.scale());
    const bool isOuterCandidate = loop.isOuterLike && hasBox;
    if (near.isOnBoundary && !isByBoxes) return OnBoundary;
    // A point on an outer loop is on the boundary whatever the holes say.
    if (near.isOnBoundary && isOuterCandidate) return OnBoundary;
    isOnHole = isOnHole || (near.isOnBoundary && loop.isHoleLike && hasBox);
    isOnOther = isOnOther || (near.isOnBoundary && touched.loop < kFallbackCandidates);
    isInOuter = isInOuter || (isOuterCandidate && near.isInside);
    isInHole = isInHole || (loop.isHoleLike && near.isInside);
  }
  if (isInOuter && isOnHole) return OnBoundary;
  // Whether the first loops stand in as candidates depends on boxes that the cell does not know.
  if (!isInOuter && isOnOther) return classifyByRules(p, rule);
  return isInOuter && !isInHole ? Inside : Outside;
}

}  // namespace trova::geometry::trimmed_surface::internal
