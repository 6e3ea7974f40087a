#include "morvel/blend/internal/branch_tracer.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "morvel/foundation/progress.h"

namespace trova::geometry::blend::internal {
namespace {

constexpr double kTurnLimit = 0.35;  // radians a step
constexpr double kTurnGoal = 0.2;
constexpr double kShortestShare = 1e-7;  // of the size
constexpr double kTangentSine = 1e-3;
constexpr double kNearlyTangentSine = 0.05;  // a march that stalls there met a tangency
constexpr double kGrowth = 2.0;
constexpr int kClosingPoints = 3;  // before a branch may close
constexpr int kRefineDepth = 12;

}  // namespace

BranchTracer::BranchTracer(const SurfacePair& pair, const SurfaceIntersectionConfig& config,
                           double firstStep)
    : pair_(pair),
      config_(config),
      firstStep_(firstStep),
      longestStep_(std::max(config.step * pair.size(), firstStep)),
      shortestStep_(config.smallest_step > 0.0 ? config.smallest_step
                                               : kShortestShare * pair.size()),
      turnLimit_(config.turn_limit > 0.0 ? config.turn_limit : kTurnLimit),
      tangentSine_(config.tangent_sine > 0.0 ? config.tangent_sine : kTangentSine) {}

BranchTracer::Stepped BranchTracer::stepOn(const PairPoint& from, double sign, double h,
                                           PairPoint& next) const {
  const Vector3d direction = sign * from.tangent;
  const PairParameters steps = pair_.stepsAlong(from, direction);
  PairParameters p = from.p;
  for (int k = 0; k < 4; ++k)
    p[k] += h * steps[k];
  if (!pair_.contains(p)) return stepToEdge(from, sign, h, next);
  next.p = p;
  const auto outcome = pair_.correct(next, from.point + h * direction, direction);
  if (outcome == SurfacePair::Outcome::Left) return stepToEdge(from, sign, h, next);
  if (outcome == SurfacePair::Outcome::Failed)
    return next.a.folded || next.b.folded ? Stepped::Folded : Stepped::TooLong;
  if (next.sine < tangentSine_) return Stepped::Tangent;
  const double cosine = next.tangent.dot(from.tangent);
  return cosine >= std::cos(turnLimit_) ? Stepped::Ahead : Stepped::TooLong;
}

BranchTracer::Stepped BranchTracer::stepToEdge(const PairPoint& from, double sign, double h,
                                               PairPoint& next) const {
  const Vector3d direction = sign * from.tangent;
  const PairParameters steps = pair_.stepsAlong(from, direction);
  // The parameters in the order in which they reach their bounds along the direction.
  std::array<std::pair<double, int>, 4> reach;
  for (int k = 0; k < 4; ++k) {
    const double room = steps[k] > 0.0 ? pair_.high(k) - from.p[k] : pair_.low(k) - from.p[k];
    reach[k] = {steps[k] != 0.0 ? room / steps[k] : HUGE_VAL, k};
  }
  std::sort(reach.begin(), reach.end());
  constexpr double kAhead = 2.0;  // of the step: bounds further off are not met in it
  for (const auto& [distance, k] : reach) {
    if (!(distance <= kAhead * h)) break;
    PairParameters p = from.p;
    for (int m = 0; m < 4; ++m)
      p[m] += distance * steps[m];
    p[k] = steps[k] > 0.0 ? pair_.high(k) : pair_.low(k);
    next.p = pair_.clamped(p);
    if (pair_.correctOnEdge(next, k) != SurfacePair::Outcome::Settled) continue;
    const Vector3d moved = next.point - from.point;
    const bool isAhead = moved.dot(direction) >= -shortestStep_ && moved.norm() <= kAhead * h;
    if (!isAhead) continue;
    if (next.sine < tangentSine_) return Stepped::Tangent;
    return next.tangent.dot(from.tangent) >= std::cos(turnLimit_) ? Stepped::AtEdge
                                                                  : Stepped::TooLong;
  }
  return Stepped::TooLong;
}

bool BranchTracer::closes(const PairPoint& start, const PairPoint& from, const PairPoint& next,
                          double sign) const {
  const Vector3d toStart = start.point - from.point;
  const double step = (next.point - from.point).norm();
  constexpr double kNear = 1.05, kBesideShare = 0.1;
  if (sign * toStart.dot(from.tangent) <= 0.0 || toStart.norm() > kNear * step) return false;
  if (sign * (next.point - start.point).dot(start.tangent) < 0.0) return false;
  if (start.tangent.dot(next.tangent) < std::cos(2 * turnLimit_)) return false;
  const double t = toStart.norm() / step;
  for (int k = 0; k < 4; ++k) {
    const double there = from.p[k] + t * (next.p[k] - from.p[k]);
    if (std::abs(start.p[k] - there) > kBesideShare * (pair_.high(k) - pair_.low(k))) return false;
  }
  return (from.point + t * (next.point - from.point) - start.point).norm() <=
         kBesideShare * 2 * step;
}

BranchTracer::Half BranchTracer::walk(const PairPoint& start, double sign) const {
  Half half;
  PairPoint from = start;
  double h = firstStep_;
  const double sineFloor = kNearlyTangentSine;
  foundation::progress::Stage stage("marching");
  for (int k = 0; k < config_.max_iterations; ++k) {
    stage.report(0.0);  // nobody knows how far the branch goes
    PairPoint next;
    Stepped stepped = Stepped::TooLong;
    for (; h >= shortestStep_; h /= 2) {
      stepped = stepOn(from, sign, h, next);
      if (stepped == Stepped::Ahead || stepped == Stepped::AtEdge) break;
    }
    if (stepped == Stepped::AtEdge) {
      if ((next.point - from.point).norm() > shortestStep_)
        half.points.push_back(next);
      else if (!half.points.empty())
        half.points.back() = next;
      half.end = BranchEnd::Edge;
      return half;
    }
    if (stepped != Stepped::Ahead) {
      if (stepped == Stepped::Folded) half.end = BranchEnd::Fold;
      if (stepped == Stepped::Tangent || from.sine < sineFloor) half.end = BranchEnd::Tangency;
      return half;
    }
    if (static_cast<int>(half.points.size()) >= kClosingPoints && closes(start, from, next, sign)) {
      half.end = BranchEnd::Closed;
      return half;
    }
    half.points.push_back(next);
    const double turn = std::acos(std::clamp(next.tangent.dot(from.tangent), -1.0, 1.0));
    h = std::min(longestStep_, h * std::clamp(kTurnGoal / std::max(turn, 1e-6), 0.5, kGrowth));
    from = next;
  }
  return half;
}

TracedBranch BranchTracer::trace(const PairPoint& start) const {
  TracedBranch branch;
  Half ahead = walk(start, 1.0);
  branch.end = ahead.end;
  if (ahead.end == BranchEnd::Closed) {
    branch.isClosed = true;
    branch.start = BranchEnd::Closed;
    branch.points.push_back(start);
    std::move(ahead.points.begin(), ahead.points.end(), std::back_inserter(branch.points));
    branch.points.push_back(start);
    return branch;
  }
  Half back = walk(start, -1.0);
  branch.start = back.end;
  std::move(back.points.rbegin(), back.points.rend(), std::back_inserter(branch.points));
  branch.points.push_back(start);
  std::move(ahead.points.begin(), ahead.points.end(), std::back_inserter(branch.points));
  return branch;
}

Vector3d hermiteMiddle(const PairPoint& a, const PairPoint& b) {
  const double chord = (b.point - a.point).norm();
  return (a.point + b.point) / 2 + chord * (a.tangent - b.tangent) / 8;
}

// How far the cubic is from both surfaces half-way, to first order; a corrected point there.
double BranchTracer::midDeviation(const PairPoint& a, const PairPoint& b, PairPoint& middle) const {
  const Vector3d guess = hermiteMiddle(a, b);
  const double chord = (b.point - a.point).norm();
  const PairParameters fromA = pair_.stepsAlong(a, a.tangent);
  const PairParameters fromB = pair_.stepsAlong(b, b.tangent);
  PairParameters p{};
  for (int k = 0; k < 4; ++k)
    p[k] = (a.p[k] + b.p[k]) / 2 + chord * (fromA[k] - fromB[k]) / 8;
  middle = pair_.look(pair_.clamped(p));
  if (!middle.a.usable || !middle.b.usable) return 0.0;
  return std::max(std::abs(middle.a.normal.dot(guess - middle.a.point)),
                  std::abs(middle.b.normal.dot(guess - middle.b.point)));
}

double BranchTracer::refine(TracedBranch& branch) const {
  double largest = 0.0;
  foundation::progress::Stage stage("refining");
  for (int depth = 0; depth <= kRefineDepth; ++depth) {
    stage.report(0.0);
    std::vector<PairPoint> refined;
    refined.reserve(2 * branch.points.size());
    largest = 0.0;
    for (std::size_t k = 0; k + 1 < branch.points.size(); ++k) {
      const PairPoint& a = branch.points[k];
      const PairPoint& b = branch.points[k + 1];
      refined.push_back(a);
      PairPoint middle;
      const double deviation = midDeviation(a, b, middle);
      largest = std::max(largest, deviation);
      if (!(deviation > config_.tolerance) || depth == kRefineDepth) continue;
      const Vector3d chord = (b.point - a.point).normalized();
      if (pair_.correct(middle, hermiteMiddle(a, b), chord) == SurfacePair::Outcome::Settled)
        refined.push_back(middle);
    }
    if (!branch.points.empty()) refined.push_back(branch.points.back());
    if (refined.size() == branch.points.size()) break;
    branch.points = std::move(refined);
  }
  return largest;
}

}  // namespace trova::geometry::blend::internal
