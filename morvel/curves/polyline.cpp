#include "morvel/curves/polyline.h"

#include <algorithm>

#include "morvel/curves/internal/curve_checks.h"

namespace trova::geometry {
namespace {

// Halved this often, a stretch is down to the spacing of doubles.
constexpr int kMaxDepth = 52;

// More probes a chord cost more than they find: beyond this degree the halving finds the rest.
constexpr int kMaxProbedDegree = 15;

// Between the probes a curve may be a little farther from its chord than at them.
constexpr double kProbeShare = 0.9;

class PolylineBuilder {
 public:
  PolylineBuilder(const Curve& curve, int degree, double tolerance)
      : curve_(curve),
        probes_(2 * std::clamp(degree, 1, kMaxProbedDegree) + 1),
        tolerance_(kProbeShare * tolerance) {}

  std::vector<Point3D> through(std::span<const double> breaks) {
    if (breaks.empty()) return {};
    double start = breaks.front();
    points_.push_back(curve_.evaluate(start));
    const int stretches = static_cast<int>(breaks.size()) - 1;
    for (const double end : breaks.subspan(1)) {
      left_ = kMaxAdaptivePoints / stretches;
      const Point3D first = points_.back();
      addStretch(start, first, end, curve_.evaluate(end), 0);
      start = end;
    }
    return std::move(points_);
  }

 private:
  bool isStraight(double u0, const Point3D& p0, double u1, const Point3D& p1) const {
    for (int i = 1; i <= probes_; ++i) {
      const Point3D probe = curve_.evaluate(u0 + (u1 - u0) * i / (probes_ + 1));
      if (distanceToSegment(probe, p0, p1) > tolerance_) return false;
    }
    return true;
  }

  void addStretch(double u0, const Point3D& p0, double u1, const Point3D& p1, int depth) {
    if (depth < kMaxDepth && left_ > 0 && !isStraight(u0, p0, u1, p1)) {
      --left_;
      const double middle = u0 + (u1 - u0) / 2.0;
      const Point3D point = curve_.evaluate(middle);
      addStretch(u0, p0, middle, point, depth + 1);
      addStretch(middle, point, u1, p1, depth + 1);
    } else {
      points_.push_back(p1);
    }
  }

  const Curve& curve_;
  int probes_;
  double tolerance_;
  int left_ = 0;
  std::vector<Point3D> points_;
};

}  // namespace

double distanceToSegment(const Point3D& p, const Point3D& a, const Point3D& b) {
  const Vector3D along = b - a;
  const double squaredLength = along.squaredMagnitude();
  if (!(squaredLength > 0.0)) return p.distanceTo(a);
  const double share = std::clamp((p - a).dot(along) / squaredLength, 0.0, 1.0);
  return p.distanceTo(a + along * share);
}

std::vector<Point3D> adaptivePolyline(const Curve& curve, std::span<const double> breaks,
                                      int degree, double tolerance) {
  internal::requireChordTolerance(tolerance);
  return PolylineBuilder(curve, degree, tolerance).through(breaks);
}

}  // namespace trova::geometry
