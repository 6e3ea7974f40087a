#include "morvel/nsided/boundary_loop.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

#include "morvel/foundation/status_line.h"
#include "morvel/nsided/internal/curve_approach.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;
using internal::SampledCurve;

constexpr double kShortestShare = 1e-9;    // of the loop's size; a shorter curve has no length
constexpr double kRelaxedGap = 1.1;        // over the largest gap
constexpr double kWidestGap = 10.0;        // model units
constexpr double kCrossingShare = 1e-3;    // of a curve's length
constexpr double kJointShare = 0.02;       // of the shorter curve's length, around a joint
constexpr double kJointTolerances = 10.0;  // around a joint, in tolerances
constexpr double kRelaxation = 10.0;       // of the tolerance, step by step
constexpr int kRelaxations = 2;
constexpr double kRelaxedShare = 0.1;  // of the shortest curve
constexpr long kMostSteps = 200'000;   // of the search for a loop

struct Ends {
  Point3D start;
  Point3D end;
};

Ends endsOf(const Curve& curve) {
  const ParameterInterval interval = curve.getParameterInterval();
  return {curve.evaluate(interval.start), curve.evaluate(interval.end)};
}

std::vector<Ends> allEnds(const BoundaryCurves& curves) {
  std::vector<Ends> ends;
  for (const auto& curve : curves)
    ends.push_back(endsOf(*curve));
  return ends;
}

/// The search for a loop: curves are appended as long as their ends fit.
class LoopSearch {
 public:
  LoopSearch(const std::vector<Ends>& ends, double tolerance)
      : ends_(ends), tolerance_(tolerance), isUsed_(ends.size(), false) {}

  bool run() {
    place(0, false);
    return extend();
  }
  const std::vector<int>& order() const { return order_; }
  const std::vector<bool>& isReversed() const { return isReversed_; }

  double maxGap() const {
    double largest = 0.0;
    for (std::size_t k = 0; k < order_.size(); ++k)
      largest = std::max(largest, endOf(k).distanceTo(startOf((k + 1) % order_.size())));
    return largest;
  }

 private:
  const Point3D& startOf(std::size_t k) const {
    return isReversed_[k] ? ends_[order_[k]].end : ends_[order_[k]].start;
  }
  const Point3D& endOf(std::size_t k) const {
    return isReversed_[k] ? ends_[order_[k]].start : ends_[order_[k]].end;
  }
  void place(int curve, bool reversed) {
    order_.push_back(curve);
    isReversed_.push_back(reversed);
    isUsed_[curve] = true;
  }
  void takeBack() {
    isUsed_[order_.back()] = false;
    order_.pop_back();
    isReversed_.pop_back();
  }
  // The nearest ends first.
  bool extend() {
    if (++steps_ > kMostSteps) return false;
    const Point3D end = endOf(order_.size() - 1);
    if (order_.size() == ends_.size()) return end.distanceTo(startOf(0)) <= tolerance_;
    struct Choice {
      double gap;
      int curve;
      bool reversed;
    };
    std::vector<Choice> choices;
    for (std::size_t c = 0; c < ends_.size(); ++c) {
      if (isUsed_[c]) continue;
      choices.push_back({end.distanceTo(ends_[c].start), int(c), false});
      choices.push_back({end.distanceTo(ends_[c].end), int(c), true});
    }
    std::erase_if(choices, [&](const Choice& choice) { return !(choice.gap <= tolerance_); });
    std::stable_sort(choices.begin(), choices.end(),
                     [](const Choice& a, const Choice& b) { return a.gap < b.gap; });
    for (const Choice& choice : choices) {
      place(choice.curve, choice.reversed);
      if (extend()) return true;
      takeBack();
    }
    return false;
  }

  const std::vector<Ends>& ends_;
  double tolerance_;
  std::vector<bool> isUsed_;
  std::vector<int> order_;
  std::vector<bool> isReversed_;
  long steps_ = 0;
};

double shortestLength(const BoundaryCurves& curves) {
  double shortest = std::numeric_limits<double>::infinity();
  for (const auto& curve : curves)
    shortest = std::min(shortest, SampledCurve(*curve).length);
  return shortest;
}

void reportLoop(const SortedLoop& loop, bool isRelaxed) {
  std::array<char, 160> text{};
  if (isRelaxed)
    std::snprintf(text.data(), text.size(),
                  "Smart Loop Detection: Found closed loop with relaxed tolerance %.2f mm (gaps up "
                  "to %.3f mm)",
                  loop.tolerance, loop.maxGap);
  else
    std::snprintf(text.data(), text.size(),
                  "Smart Auto-Reverse: Found closed loop starting from curve %d with tolerance "
                  "%.2f mm",
                  loop.order.front(), loop.tolerance);
  status::progress(status::Symbol::Step, text.data());
}

}  // namespace

bool areUsableCurves(const BoundaryCurves& curves) {
  BoundingBox box;
  std::vector<double> lengths;
  for (const auto& curve : curves) {
    if (!curve || !curve->isValid()) return false;
    const SampledCurve sampled(*curve);
    if (!std::isfinite(sampled.length)) return false;
    for (const Point3D& point : sampled.points)
      box.addPoint(point);
    lengths.push_back(sampled.length);
  }
  if (curves.empty()) return false;
  const double shortest = kShortestShare * box.diagonal().magnitude();
  return std::all_of(lengths.begin(), lengths.end(),
                     [&](double length) { return length > shortest; });
}

std::vector<double> boundaryGaps(const BoundaryCurves& curves) {
  const std::vector<Ends> ends = allEnds(curves);
  std::vector<double> gaps;
  for (std::size_t k = 0; k < ends.size(); ++k) {
    const double gap = ends[k].end.distanceTo(ends[(k + 1) % ends.size()].start);
    gaps.push_back(std::isfinite(gap) ? gap : std::numeric_limits<double>::infinity());
  }
  return gaps;
}

double closureTolerance(const BoundaryCurves& curves, double maxGap, double tolerance) {
  const bool isRelaxed = std::any_of(curves.begin(), curves.end(),
                                     [](const auto& curve) { return isOnSurface(*curve); });
  return isRelaxed ? std::max(tolerance, std::min(kRelaxedGap * maxGap, kWidestGap)) : tolerance;
}

bool boundaryCurvesCross(const BoundaryCurves& curves, double tolerance) {
  std::vector<SampledCurve> sampled;
  for (const auto& curve : curves)
    sampled.emplace_back(*curve);
  const std::size_t count = sampled.size();
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = i + 1; j < count; ++j) {
      const double shorter = std::min(sampled[i].length, sampled[j].length);
      const double reach = std::min(tolerance, kCrossingShare * shorter);
      std::vector<Point3D> joints;
      if (j == i + 1) joints = {sampled[i].points.back(), sampled[j].points.front()};
      if (i == 0 && j + 1 == count) {
        joints.push_back(sampled[j].points.back());
        joints.push_back(sampled[i].points.front());
      }
      const double joint = std::max(kJointShare * shorter, kJointTolerances * reach);
      if (internal::comeClose(sampled[i], sampled[j], reach, joints, joint)) return true;
    }
  }
  return false;
}

SortedLoop sortBoundaryLoop(const BoundaryCurves& curves, double tolerance) {
  SortedLoop loop;
  if (curves.empty() || !areUsableCurves(curves)) return loop;
  const std::vector<Ends> ends = allEnds(curves);
  const double widest = std::max(tolerance, kRelaxedShare * shortestLength(curves));
  double relaxed = tolerance;
  for (int attempt = 0; attempt <= kRelaxations && relaxed <= widest; ++attempt) {
    LoopSearch search(ends, relaxed);
    if (search.run()) {
      loop = {true, search.order(), search.isReversed(), relaxed, search.maxGap()};
      reportLoop(loop, attempt > 0);
      return loop;
    }
    relaxed *= kRelaxation;
  }
  return loop;
}

}  // namespace trova::geometry
