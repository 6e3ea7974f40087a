#include "morvel/nsided/internal/loop_layout.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace trova::geometry::internal {
namespace {

constexpr int kLengthSteps = 64;
constexpr int kNewtonSteps = 5;
constexpr double kKinkAngle = 1e-3;  // radians; less is no corner
constexpr double kNearCut = 0.12;    // of a quarter of the loop
constexpr double kSamePlace = 1e-9;  // shares of an edge
constexpr int kRampSpans = 2;        // in which a stretch comes to rest

// Gauss and Legendre's five points on [-1, 1].
constexpr std::array<double, 5> kNodes = {-0.9061798459386640, -0.5384693101056831, 0.0,
                                          0.5384693101056831, 0.9061798459386640};
constexpr std::array<double, 5> kNodeWeights = {0.2369268850561891, 0.4786286704993665,
                                                0.5688888888888889, 0.4786286704993665,
                                                0.2369268850561891};

Vector3D tangentAt(const Curve& curve, double t) { return curve.evaluateDerivatives(t, 1)[1]; }

/// Sets out from rest, and moves at speed 1 from 2 on: its derivatives up to the second are 0 at 0,
/// and it is a cubic spline on whole knots.
double ramp(double x) {
  if (x >= kRampSpans) return x - 1.0;
  const double missing = kRampSpans - x;
  return x <= 1.0 ? x * x * x / 6.0 : x - 1.0 + missing * missing * missing / 6.0;
}

}  // namespace

SquarePlace squarePlace(int edge, double x) {
  switch (edge) {
    case 0:
      return {x, 0.0, 0.0, 1.0};
    case 1:
      return {1.0, x, -1.0, 0.0};
    case 2:
      return {1.0 - x, 1.0, 0.0, -1.0};
    default:
      return {0.0, 1.0 - x, 1.0, 0.0};
  }
}

ArcLengthTable::ArcLengthTable(const Curve& curve) : curve_(&curve), lengths_{0.0} {
  const ParameterInterval interval = curve.getParameterInterval();
  parameters_.push_back(interval.start);
  for (int k = 1; k <= kLengthSteps; ++k) {
    parameters_.push_back(std::lerp(interval.start, interval.end, double(k) / kLengthSteps));
    lengths_.push_back(lengths_.back() + lengthBetween(parameters_[k - 1], parameters_[k]));
  }
  if (!(lengths_.back() > 0.0) || !std::isfinite(lengths_.back()))
    throw std::invalid_argument("A boundary curve has no length");
}

double ArcLengthTable::lengthBetween(double t0, double t1) const {
  double sum = 0.0;
  for (std::size_t k = 0; k < kNodes.size(); ++k) {
    const double t = 0.5 * ((t1 - t0) * kNodes[k] + t0 + t1);
    sum += kNodeWeights[k] * tangentAt(*curve_, t).magnitude();
  }
  return 0.5 * (t1 - t0) * sum;
}

double ArcLengthTable::parameterAt(double length) const {
  if (!(length > 0.0)) return parameters_.front();
  if (length >= total()) return parameters_.back();
  const auto above = std::upper_bound(lengths_.begin(), lengths_.end(), length);
  const auto k = static_cast<std::size_t>(above - lengths_.begin()) - 1;
  const double t0 = parameters_[k];
  const double t1 = parameters_[k + 1];
  const double share = (length - lengths_[k]) / (lengths_[k + 1] - lengths_[k]);
  double t = std::lerp(t0, t1, share);
  for (int step = 0; step < kNewtonSteps; ++step) {
    const double speed = tangentAt(*curve_, t).magnitude();
    if (!(speed > 0.0)) break;
    t = std::clamp(t - (lengths_[k] + lengthBetween(t0, t) - length) / speed, t0, t1);
  }
  return t;
}

LoopLayout::LoopLayout(const BoundaryCurves& curves, int spansU, int spansV) : curves_(curves) {
  starts_.push_back(0.0);
  for (const auto& curve : curves_) {
    tables_.emplace_back(*curve);
    starts_.push_back(starts_.back() + tables_.back().total());
  }
  for (std::size_t k = 0; k < curves_.size(); ++k)
    kinks_.push_back(isKink(k));
  cutLoop();
  for (int edge = 0; edge < kSquareEdges; ++edge)
    layEdge(edge, edge % 2 == 0 ? spansU : spansV);
}

/// Whether the loop has a corner at the start of a curve.
bool LoopLayout::isKink(std::size_t joint) const {
  const Curve& before = *curves_[(joint + curves_.size() - 1) % curves_.size()];
  const Curve& behind = *curves_[joint];
  const Vector3D in = tangentAt(before, before.getParameterInterval().end);
  const Vector3D out = tangentAt(behind, behind.getParameterInterval().start);
  return !(std::atan2(in.cross(out).magnitude(), in.dot(out)) <= kKinkAngle);
}

void LoopLayout::cutLoop() {
  const bool isFourSided = curves_.size() == kSquareEdges;
  const double quarter = length() / kSquareEdges;
  for (int edge = 0; edge <= kSquareEdges; ++edge) {
    cuts_[edge] = isFourSided ? starts_[edge] : edge * quarter;
    if (isFourSided) continue;
    double nearest = kNearCut * quarter;
    for (std::size_t k = 1; k < curves_.size(); ++k) {
      const double distance = std::abs(starts_[k] - edge * quarter);
      if (!kinks_[k] || !(distance < nearest)) continue;
      nearest = distance;
      cuts_[edge] = starts_[k];
    }
  }
}

void LoopLayout::layEdge(int edge, int spans) {
  const double s0 = cuts_[edge];
  const double s1 = cuts_[edge + 1];
  std::vector<double> corners;  // on the loop
  for (std::size_t k = 1; k < curves_.size(); ++k) {
    const double share = (starts_[k] - s0) / (s1 - s0);
    if (kinks_[k] && share > kSamePlace && share < 1.0 - kSamePlace) corners.push_back(starts_[k]);
  }
  const int count = static_cast<int>(corners.size());
  Piece piece{0, spans, s0, s1, false, false};
  for (int c = 0; c < count; ++c) {
    const int room = 2 * kRampSpans * (count - c) - kRampSpans;  // for the corners that follow
    const int first = piece.knot0 + (c == 0 ? kRampSpans : 2 * kRampSpans);
    const auto near = std::lround((corners[c] - s0) / (s1 - s0) * spans);
    piece.knot1 = std::clamp(static_cast<int>(near), first, std::max(first, spans - room));
    piece.s1 = corners[c];
    piece.stopsAtEnd = true;
    pieces_[edge].push_back(piece);
    piece = {piece.knot1, spans, piece.s1, s1, true, false};
  }
  pieces_[edge].push_back(piece);
}

int LoopLayout::spansFor(int curveCount) {
  // A quarter of the loop has at most as many corners, and one more where a cut was moved.
  return 2 * kRampSpans * (curveCount / kSquareEdges + 2);
}

LoopPoint LoopLayout::at(int edge, double x) const {
  const std::vector<Piece>& pieces = pieces_[edge];
  const int spans = pieces.back().knot1;
  const double knot = x * spans;
  const auto found = std::find_if(pieces.begin(), pieces.end() - 1,
                                  [&](const Piece& piece) { return knot <= piece.knot1; });
  const Piece& piece = *found;
  const double length = piece.knot1 - piece.knot0;
  const double way = length - int(piece.stopsAtStart) - int(piece.stopsAtEnd);
  const double here = std::clamp(knot - piece.knot0, 0.0, length);
  const bool isNearEnd = piece.stopsAtEnd && (!piece.stopsAtStart || 2.0 * here > length);
  double gone = piece.stopsAtStart ? ramp(here) : here;
  if (isNearEnd) gone = way - ramp(length - here);
  const double moved = gone / way;
  const double s = std::lerp(piece.s0, piece.s1, moved);
  const auto above = std::upper_bound(starts_.begin(), starts_.end() - 1, s);
  auto curve = static_cast<std::size_t>(above - starts_.begin());
  curve = std::clamp<std::size_t>(curve, 1, curves_.size()) - 1;
  LoopPoint point;
  point.curve = static_cast<int>(curve);
  point.t = tables_[curve].parameterAt(s - starts_[curve]);
  point.point = curves_[curve]->evaluate(point.t);
  return point;
}

}  // namespace trova::geometry::internal
