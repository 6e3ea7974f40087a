#include "morvel/nsided/internal/curve_approach.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace trova::geometry::internal {
namespace {

constexpr int kSegments = 64;
constexpr int kPieces = 8;       // into which a close pair of segments is cut, again and again
constexpr int kRefinements = 3;  // until the sag is a rounding of the segment
constexpr double kSagAllowance = 2.0;  // over the sag at the middle
constexpr int kMostRefined = 4000;  // close pairs looked at; more are of curves that run together

struct Approach {
  double distance;
  double s;  // shares of the segments
  double t;
};

/// The closest points of two segments (Eberly's cases reduced to clamping: the free minimum, then
/// each segment's foot of the other's end).
Approach closest(const Point3D& a0, const Point3D& a1, const Point3D& b0, const Point3D& b1) {
  const Vector3D d1 = a1 - a0;
  const Vector3D d2 = b1 - b0;
  const Vector3D r = a0 - b0;
  const double a = d1.dot(d1);
  const double e = d2.dot(d2);
  const double b = d1.dot(d2);
  const double c = d1.dot(r);
  const double f = d2.dot(r);
  const double determinant = a * e - b * b;
  const auto share = [](double x) { return x > 0.0 ? std::min(x, 1.0) : 0.0; };
  double s = determinant > 0.0 ? share((b * f - c * e) / determinant) : 0.0;
  const double t = e > 0.0 ? share((b * s + f) / e) : 0.0;
  s = a > 0.0 ? share((b * t - c) / a) : 0.0;
  return {(a0 + d1 * s).distanceTo(b0 + d2 * t), s, t};
}

double boxDistance(const Point3D& a0, const Point3D& a1, const Point3D& b0, const Point3D& b1) {
  double square = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    const double gap = std::max(std::min(a0[axis], a1[axis]) - std::max(b0[axis], b1[axis]),
                                std::min(b0[axis], b1[axis]) - std::max(a0[axis], a1[axis]));
    if (gap > 0.0) square += gap * gap;
  }
  return std::sqrt(square);
}

struct Stretch {
  double start;
  double end;
};

/// Looks closer: cuts both stretches into pieces and goes on with the closest pair of them.
double refinedDistance(const Curve& a, Stretch s, const Curve& b, Stretch t, Point3D& where) {
  double distance = std::numeric_limits<double>::infinity();
  for (int round = 0; round < kRefinements; ++round) {
    const auto at = [](const Curve& curve, const Stretch& piece, int k) {
      return curve.evaluate(std::lerp(piece.start, piece.end, double(k) / kPieces));
    };
    std::vector<Point3D> p, q;
    for (int k = 0; k <= kPieces; ++k) {
      p.push_back(at(a, s, k));
      q.push_back(at(b, t, k));
    }
    int bestI = 0, bestJ = 0;
    distance = std::numeric_limits<double>::infinity();
    for (int i = 0; i < kPieces; ++i) {
      for (int j = 0; j < kPieces; ++j) {
        const Approach found = closest(p[i], p[i + 1], q[j], q[j + 1]);
        if (!(found.distance < distance)) continue;
        distance = found.distance;
        where = p[i] + (p[i + 1] - p[i]) * found.s;
        bestI = i;
        bestJ = j;
      }
    }
    const auto piece = [](const Stretch& whole, int k) {
      return Stretch{std::lerp(whole.start, whole.end, double(k) / kPieces),
                     std::lerp(whole.start, whole.end, double(k + 1) / kPieces)};
    };
    s = piece(s, bestI);
    t = piece(t, bestJ);
  }
  return distance;
}

}  // namespace

SampledCurve::SampledCurve(const Curve& sampled) : curve(&sampled) {
  const ParameterInterval interval = sampled.getParameterInterval();
  for (int k = 0; k <= kSegments; ++k) {
    parameters.push_back(std::lerp(interval.start, interval.end, double(k) / kSegments));
    points.push_back(sampled.evaluate(parameters.back()));
    if (k == 0) continue;
    length += points[k].distanceTo(points[k - 1]);
    const Point3D middle = sampled.evaluate(std::midpoint(parameters[k - 1], parameters[k]));
    sags.push_back(kSagAllowance * middle.distanceTo(points[k].midpoint(points[k - 1])));
  }
}

bool comeClose(const SampledCurve& a, const SampledCurve& b, double tolerance,
               const std::vector<Point3D>& joints, double joint) {
  int refined = 0;
  for (int i = 0; i < kSegments; ++i) {
    for (int j = 0; j < kSegments; ++j) {
      const double reach = tolerance + a.sags[i] + b.sags[j];
      const Point3D& a0 = a.points[i];
      const Point3D& b0 = b.points[j];
      if (boxDistance(a0, a.points[i + 1], b0, b.points[j + 1]) > reach) continue;
      if (closest(a0, a.points[i + 1], b0, b.points[j + 1]).distance > reach) continue;
      if (++refined > kMostRefined) return true;
      Point3D where;
      const double distance =
          refinedDistance(*a.curve, {a.parameters[i], a.parameters[i + 1]}, *b.curve,
                          {b.parameters[j], b.parameters[j + 1]}, where);
      const bool isAtJoint = std::any_of(joints.begin(), joints.end(), [&](const Point3D& p) {
        return p.distanceTo(where) <= joint;
      });
      if (distance <= tolerance && !isAtJoint) return true;
    }
  }
  return false;
}

}  // namespace trova::geometry::internal
