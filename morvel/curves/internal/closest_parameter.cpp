#include "morvel/curves/internal/closest_parameter.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "morvel/curves/internal/curve_checks.h"

namespace trova::geometry::internal {
namespace {

constexpr int kMaxSamples = 100'000;
constexpr std::size_t kMaxCandidates = 8;
constexpr int kMaxIterations = 60;

// A step below this share of the bracket moves the point by less than rounding.
constexpr double kStepShare = 1e-15;

struct Sample {
  double u = 0.0;
  double squaredDistance = 0.0;
};

double squaredDistance(const Curve& curve, double u, const Point3D& point) {
  return (curve.evaluate(u) - point).squaredMagnitude();
}

std::vector<Sample> samplesOf(const Curve& curve, std::span<const double> breaks, int samples,
                              const Point3D& point) {
  const int stretches = std::max(1, static_cast<int>(breaks.size()) - 1);
  const int steps = std::clamp(kMaxSamples / stretches, 1, samples);
  std::vector<Sample> result;
  const auto add = [&](double u) { result.push_back({u, squaredDistance(curve, u, point)}); };
  for (std::size_t s = 1; s < breaks.size(); ++s) {
    for (int i = 0; i < steps; ++i)
      add(breaks[s - 1] + (breaks[s] - breaks[s - 1]) * i / steps);
  }
  add(breaks.back());
  return result;
}

// Indices of samples no farther than both neighbours, the nearest first.
std::vector<std::size_t> localMinima(const std::vector<Sample>& samples) {
  std::vector<std::size_t> minima;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double d = samples[i].squaredDistance;
    const bool belowLeft = i == 0 || !(samples[i - 1].squaredDistance < d);
    const bool belowRight = i + 1 == samples.size() || !(samples[i + 1].squaredDistance < d);
    if (belowLeft && belowRight && std::isfinite(d)) minima.push_back(i);
  }
  const std::size_t kept = std::min(minima.size(), kMaxCandidates);
  std::partial_sort(minima.begin(), minima.begin() + kept, minima.end(),
                    [&](std::size_t a, std::size_t b) {
                      return samples[a].squaredDistance < samples[b].squaredDistance;
                    });
  minima.resize(kept);
  return minima;
}

// Half the derivative of the squared distance, and its own derivative.
struct FootPoint {
  double f = 0.0;
  double slope = 0.0;

  FootPoint(const Curve& curve, double u, const Point3D& point) {
    const std::vector<Vector3D> c = curve.evaluateDerivatives(u, 2);
    const Vector3D d = c[0] - (point - Point3D::origin());
    f = d.dot(c[1]);
    slope = c[1].squaredMagnitude() + d.dot(c[2]);
  }
};

// Newton's method on f = 0, kept between low and high by bisection on the sign of f.
double refined(const Curve& curve, double low, double u, double high, const Point3D& point) {
  const double smallest = kStepShare * (high - low);
  for (int i = 0; i < kMaxIterations; ++i) {
    const FootPoint foot(curve, u, point);
    if (!std::isfinite(foot.f) || foot.f == 0.0) return u;
    (foot.f > 0.0 ? high : low) = u;
    double next = u - foot.f / foot.slope;
    if (!(low <= next && next <= high)) next = low + (high - low) / 2.0;
    if (!(std::abs(next - u) > smallest)) return next;
    u = next;
  }
  return u;
}

}  // namespace

double closestParameter(const Curve& curve, std::span<const double> breaks, int samples,
                        const Point3D& point) {
  requireFinitePoint(point);
  if (breaks.empty()) return 0.0;
  const std::vector<Sample> all = samplesOf(curve, breaks, samples, point);
  Sample best = all.front();
  for (const std::size_t i : localMinima(all)) {
    if (all[i].squaredDistance < best.squaredDistance) best = all[i];
    const double low = all[i == 0 ? 0 : i - 1].u;
    const double high = all[std::min(i + 1, all.size() - 1)].u;
    const double u = refined(curve, low, all[i].u, high, point);
    const double distance = squaredDistance(curve, u, point);
    if (distance < best.squaredDistance) best = {u, distance};
  }
  return best.u;
}

}  // namespace trova::geometry::internal
