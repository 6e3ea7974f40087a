#include "morvel/surfaces/foot_point.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "morvel/surfaces/grid_sampling.h"

namespace trova::geometry {
namespace {

constexpr int kMaxIterations = 60;
constexpr int kMaxTrials = 30;  // growth of the damping within one iteration
constexpr int kMaxStarts = 6;

/// A step shorter than this share of the domain ends the iteration.
constexpr double kSmallestStep = 1e-14;
/// The residual counts as normal to the surface below this cosine.
constexpr double kNormalCosine = 1e-7;

constexpr double kFirstDamping = 1e-3;  // of the squared lengths of Su and Sv
constexpr double kDampingGrowth = 8.0;
/// Share of the curvature scale below which a Hessian counts as singular.
constexpr double kSingularShare = 1e-12;

constexpr int kMinSamples = 16;
constexpr int kMaxSamples = 128;

struct Step {
  double u = 0.0;
  double v = 0.0;
};

// One point of the iteration.
struct State {
  double u = 0.0;
  double v = 0.0;
  SurfaceEvaluation at;
  FootPointSystem system;
};

bool isFinite(const FootPointSystem& s) {
  return std::isfinite(s.value) && std::isfinite(s.gradientU) && std::isfinite(s.gradientV) &&
         std::isfinite(s.hessianUU) && std::isfinite(s.hessianUV) && std::isfinite(s.hessianVV);
}

// At a bound of the domain that the descent pushes outward.
bool isHeld(double t, double low, double high, double gradient) {
  return (t <= low && gradient > 0) || (t >= high && gradient < 0);
}

class Descent {
 public:
  Descent(const SurfaceDerivativeFunction& derivatives, const ParameterDomain& domain,
          const Point3D& target)
      : derivatives_(derivatives), domain_(domain), target_(target) {}

  FootPoint from(double u, double v) {
    State now = stateAt(u, v);
    if (!isFinite(now.system)) return {u, v, std::numeric_limits<double>::infinity(), false};
    for (int iteration = 0; iteration < kMaxIterations; ++iteration) {
      if (!advance(now)) break;
    }
    return {now.u, now.v, std::sqrt(2 * now.system.value), isStationary(now)};
  }

 private:
  State stateAt(double u, double v) const {
    State state{u, v, derivatives_(u, v), {}};
    state.system = footPointSystem(state.at, target_);
    return state;
  }

  bool holdsU(const State& s) const {
    return isHeld(s.u, domain_.uMin, domain_.uMax, s.system.gradientU);
  }
  bool holdsV(const State& s) const {
    return isHeld(s.v, domain_.vMin, domain_.vMax, s.system.gradientV);
  }

  // Moves to a closer point. False where there is none, or none that differs.
  bool advance(State& now) const {
    double damping = 0.0;
    for (int trial = 0; trial < kMaxTrials; ++trial) {
      const Step step = stepFrom(now, damping);
      const double u = std::clamp(now.u + step.u, domain_.uMin, domain_.uMax);
      const double v = std::clamp(now.v + step.v, domain_.vMin, domain_.vMax);
      if (isTiny(u - now.u, v - now.v)) return false;
      const State next = stateAt(u, v);
      if (isFinite(next.system) && next.system.value < now.system.value) {
        now = next;
        return true;
      }
      damping = damping > 0 ? damping * kDampingGrowth : kFirstDamping;
    }
    return false;
  }

  bool isTiny(double du, double dv) const {
    return !(std::abs(du) > kSmallestStep * (domain_.uMax - domain_.uMin) ||
             std::abs(dv) > kSmallestStep * (domain_.vMax - domain_.vMin));
  }

  // -(H + shift)^-1 g over the parameters that are not held; the shift grows where H is not
  // positive definite and is measured in the squared lengths of Su and Sv.
  Step stepFrom(const State& now, double damping) const {
    const FootPointSystem& s = now.system;
    const double scaleU = now.at.Su.squaredMagnitude();
    const double scaleV = now.at.Sv.squaredMagnitude();
    const double gu = holdsU(now) ? 0.0 : s.gradientU;
    const double gv = holdsV(now) ? 0.0 : s.gradientV;
    if (holdsU(now) || holdsV(now))
      return {-quotient(gu, s.hessianUU, scaleU, damping),
              -quotient(gv, s.hessianVV, scaleV, damping)};
    const double a = s.hessianUU + damping * scaleU;
    const double c = s.hessianVV + damping * scaleV;
    const double determinant = a * c - s.hessianUV * s.hessianUV;
    if (a > 0 && c > 0 && determinant > kSingularShare * a * c)
      return {(s.hessianUV * gv - c * gu) / determinant, (s.hessianUV * gu - a * gv) / determinant};
    return {-quotient(gu, s.hessianUU, scaleU, damping),
            -quotient(gv, s.hessianVV, scaleV, damping)};
  }

  // The step of one parameter alone, with |h| in place of a Hessian that bends the wrong way.
  static double quotient(double g, double h, double scale, double damping) {
    const double divisor = std::max(std::abs(h), kSingularShare * scale) + damping * scale;
    return divisor > 0 ? g / divisor : 0.0;
  }

  bool isStationary(const State& s) const {
    const double distance = std::sqrt(2 * s.system.value);
    const double limitU = kNormalCosine * distance * s.at.Su.magnitude();
    const double limitV = kNormalCosine * distance * s.at.Sv.magnitude();
    return (holdsU(s) || std::abs(s.system.gradientU) <= limitU || isOnTarget(s)) &&
           (holdsV(s) || std::abs(s.system.gradientV) <= limitV || isOnTarget(s));
  }

  // Where the target lies on the surface the residual is rounding, of no direction.
  bool isOnTarget(const State& s) const {
    const double size = target_.eigen().norm() + s.at.point.eigen().norm();
    return std::sqrt(2 * s.system.value) <= kNormalCosine * kNormalCosine * size;
  }

  const SurfaceDerivativeFunction& derivatives_;
  const ParameterDomain& domain_;
  const Point3D& target_;
};

// Squared distances of a grid's samples.
class DistanceGrid {
 public:
  DistanceGrid(const SurfacePointFunction& point, const ParameterDomain& domain,
               const Point3D& target, int nU, int nV)
      : domain_(domain), nU_(nU), nV_(nV) {
    requireGrid(nU, nV);
    squares_.reserve(std::size_t(nU) * nV);
    for (int a = 0; a < nU; ++a) {
      for (int b = 0; b < nV; ++b)
        squares_.push_back((point(uOf(a), vOf(b)) - target).squaredMagnitude());
    }
  }

  double uOf(int a) const { return gridParameter(domain_.uMin, domain_.uMax, a, nU_); }
  double vOf(int b) const { return gridParameter(domain_.vMin, domain_.vMax, b, nV_); }

  struct Sample {
    double square;
    int a;
    int b;
  };

  /// Samples with no closer neighbour, the closest first, at most kMaxStarts.
  std::vector<Sample> minima() const {
    std::vector<Sample> found;
    for (int a = 0; a < nU_; ++a) {
      for (int b = 0; b < nV_; ++b) {
        if (isMinimum(a, b)) found.push_back({at(a, b), a, b});
      }
    }
    const std::size_t kept = std::min<std::size_t>(found.size(), kMaxStarts);
    std::partial_sort(found.begin(), found.begin() + kept, found.end(),
                      [](const Sample& s, const Sample& t) { return s.square < t.square; });
    found.resize(kept);
    return found;
  }

 private:
  double at(int a, int b) const { return squares_[std::size_t(a) * nV_ + b]; }

  bool isMinimum(int a, int b) const {
    if (!std::isfinite(at(a, b))) return false;
    for (int i = std::max(0, a - 1); i <= std::min(nU_ - 1, a + 1); ++i) {
      for (int j = std::max(0, b - 1); j <= std::min(nV_ - 1, b + 1); ++j) {
        if (at(i, j) < at(a, b)) return false;
      }
    }
    return true;
  }

  const ParameterDomain& domain_;
  int nU_;
  int nV_;
  std::vector<double> squares_;
};

}  // namespace

FootPointSystem footPointSystem(const SurfaceEvaluation& at, const Point3D& target) {
  const Vector3D residual = at.point - target;
  FootPointSystem system;
  system.value = residual.squaredMagnitude() / 2;
  system.gradientU = residual.dot(at.Su);
  system.gradientV = residual.dot(at.Sv);
  system.hessianUU = at.Su.dot(at.Su) + residual.dot(at.Suu);
  system.hessianUV = at.Su.dot(at.Sv) + residual.dot(at.Suv);
  system.hessianVV = at.Sv.dot(at.Sv) + residual.dot(at.Svv);
  return system;
}

FootPoint refineFootPoint(const SurfaceDerivativeFunction& derivatives,
                          const ParameterDomain& domain, const Point3D& target, double u,
                          double v) {
  return Descent(derivatives, domain, target)
      .from(std::clamp(u, domain.uMin, domain.uMax), std::clamp(v, domain.vMin, domain.vMax));
}

int footPointSamples(int controlPointCount) {
  return int(
      std::clamp<std::int64_t>(2 * std::int64_t(controlPointCount), kMinSamples, kMaxSamples));
}

FootPoint closestFootPoint(const SurfacePointFunction& point,
                           const SurfaceDerivativeFunction& derivatives,
                           const ParameterDomain& domain, const Point3D& target, int samplesU,
                           int samplesV) {
  FootPoint best{(domain.uMin + domain.uMax) / 2, (domain.vMin + domain.vMax) / 2,
                 std::numeric_limits<double>::infinity(), false};
  const DistanceGrid grid(point, domain, target, samplesU, samplesV);
  for (const DistanceGrid::Sample& start : grid.minima()) {
    const FootPoint foot =
        refineFootPoint(derivatives, domain, target, grid.uOf(start.a), grid.vOf(start.b));
    if (foot.distance < best.distance) best = foot;
  }
  return best;
}

}  // namespace trova::geometry
