#include "morvel/query/internal/foot_newton.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace trova::projection::internal {
namespace {

using geometry::FootPointSystem;
using geometry::Surface;
using geometry::SurfaceEvaluation;

constexpr int kMostSteps = 30;
constexpr int kMostHalvings = 12;

/// A step shorter than this share of the domain changes nothing that matters.
constexpr double kSmallestStep = 1e-14;
/// The distance stands at right angles to the surface below this cosine.
constexpr double kNormalCosine = 1e-12;
/// Of the sizes of both points: rounding of their difference.
constexpr double kRounding = 1e-15;
/// A Hessian with a smaller determinant than this share of its diagonal's product is singular.
constexpr double kSingularShare = 1e-12;
/// A larger distance than this share above the one before is no descent.
constexpr double kDescentSlack = 1e-14;

/// Steps of the search without gradients, as shares of the domain.
constexpr double kFirstCompassStep = 1.0 / 64;
constexpr double kLastCompassStep = 1e-11;
constexpr int kMostCompassRounds = 1000;

bool isHeld(double t, double low, double high, double gradient) {
  return (t <= low && gradient > 0.0) || (t >= high && gradient < 0.0);
}

// One point of the iteration with what is known there.
struct State {
  double u;
  double v;
  SurfaceEvaluation at;
  FootPointSystem system;
  double distance;
  double lengthU;  // of Su
  double lengthV;

  State(const TrueDerivatives& derivatives, const Point3D& point, double inU, double inV)
      : u(inU),
        v(inV),
        at(derivatives(inU, inV, 2)),
        system(footPointSystem(at, point)),
        distance(std::sqrt(2 * system.value)),
        lengthU(at.Su.magnitude()),
        lengthV(at.Sv.magnitude()) {}

  bool isFinite() const {
    return std::isfinite(system.value) && std::isfinite(system.gradientU + system.gradientV) &&
           std::isfinite(system.hessianUU + system.hessianUV + system.hessianVV);
  }
};

ProjectedPoint projectedAt(const State& s, int iterations, bool converged) {
  return {s.u, s.v, s.at.point, s.distance, s.distance, iterations, converged};
}

class Iteration {
 public:
  Iteration(const TrueDerivatives& derivatives, const ParameterDomain& domain, const Point3D& point)
      : derivatives_(derivatives), domain_(domain), point_(point), size_(point.eigen().norm()) {}

  State stateAt(double u, double v) const { return {derivatives_, point_, u, v}; }

  bool holdsU(const State& s) const {
    return isHeld(s.u, domain_.uMin, domain_.uMax, s.system.gradientU);
  }
  bool holdsV(const State& s) const {
    return isHeld(s.v, domain_.vMin, domain_.vMax, s.system.gradientV);
  }

  // The distance is stationary, over the closed domain where the edge may hold it.
  bool isStationary(const State& s, bool mayBeHeld) const {
    // Where an edge is a single point, the derivative along it is rounding, and so is its gradient.
    const double rounding = kRounding * (size_ + s.at.point.eigen().norm());
    const double limit = kNormalCosine * s.distance + rounding;
    const double limitU = limit * s.lengthU + rounding * s.distance;
    const double limitV = limit * s.lengthV + rounding * s.distance;
    return ((mayBeHeld && holdsU(s)) || std::abs(s.system.gradientU) <= limitU) &&
           ((mayBeHeld && holdsV(s)) || std::abs(s.system.gradientV) <= limitV);
  }

  bool isTiny(const Parameters& step) const {
    return std::abs(step.u) <= kSmallestStep * (domain_.uMax - domain_.uMin) &&
           std::abs(step.v) <= kSmallestStep * (domain_.vMax - domain_.vMin);
  }

  Parameters clamped(double u, double v) const {
    return {std::clamp(u, domain_.uMin, domain_.uMax), std::clamp(v, domain_.vMin, domain_.vMax)};
  }

  // Newton's step over the parameters that the edge does not hold. Empty where the distance does
  // not bend upward.
  std::optional<Parameters> descentStep(const State& s) const {
    const FootPointSystem& h = s.system;
    const bool heldU = holdsU(s);
    const bool heldV = holdsV(s);
    if (heldU && heldV) return Parameters{};
    if (heldU) return along(h.hessianVV, Parameters{0.0, -h.gradientV});
    if (heldV) return along(h.hessianUU, Parameters{-h.gradientU, 0.0});
    const double determinant = h.hessianUU * h.hessianVV - h.hessianUV * h.hessianUV;
    if (!(h.hessianUU > 0.0 && determinant > kSingularShare * h.hessianUU * h.hessianVV))
      return std::nullopt;
    return Parameters{(h.gradientV * h.hessianUV - h.gradientU * h.hessianVV) / determinant,
                      (h.gradientU * h.hessianUV - h.gradientV * h.hessianUU) / determinant};
  }

  // The state on the edge or inside where Newton's steps end; empty where they do not settle.
  std::optional<std::pair<State, int>> settledFrom(double u, double v) const {
    State now = stateAt(u, v);
    for (int step = 0; step < kMostSteps && now.isFinite(); ++step) {
      if (isStationary(now, true)) return std::pair{now, step};
      const auto move = descentStep(now);
      if (!move) break;
      const Parameters to = clamped(now.u + move->u, now.v + move->v);
      if (isTiny({to.u - now.u, to.v - now.v})) return std::pair{now, step};
      const State next = stateAt(to.u, to.v);
      if (!(next.system.value <= now.system.value * (1.0 + kDescentSlack) + roundingOf(now))) break;
      now = next;
    }
    return std::nullopt;
  }

  ProjectedPoint damped(double u, double v) const {
    const geometry::FootPoint foot = geometry::refineFootPoint(
        [this](double s, double t) { return derivatives_(s, t, 2); }, domain_, point_, u, v);
    const State end = stateAt(foot.u, foot.v);
    if (foot.converged || !end.isFinite() || isStationary(end, true))
      return projectedAt(end, kMostSteps, end.isFinite());
    return compassFrom(end);
  }

 private:
  static std::optional<Parameters> along(double hessian, const Parameters& descent) {
    if (!(hessian > 0.0)) return std::nullopt;
    return Parameters{descent.u / hessian, descent.v / hessian};
  }

  // Where the surface has a crease (along u or v, as sweeps and splines have them), gradients lead
  // nowhere: goes to any closer point of eight around, in smaller and smaller steps.
  ProjectedPoint compassFrom(const State& start) const {
    Parameters now{start.u, start.v};
    double square = (start.at.point - point_).squaredMagnitude();
    const Surface& surface = derivatives_.surface();
    const auto isCloser = [&](double u, double v) {
      const Parameters to = clamped(u, v);
      const double there = (surface.evaluate(to.u, to.v) - point_).squaredMagnitude();
      if (!(there < square)) return false;
      square = there;
      now = to;
      return true;
    };
    double share = kFirstCompassStep;
    for (int round = 0; round < kMostCompassRounds && share > kLastCompassStep; ++round) {
      const double du = share * (domain_.uMax - domain_.uMin);
      const double dv = share * (domain_.vMax - domain_.vMin);
      const auto [u, v] = now;
      const bool moved = isCloser(u + du, v) || isCloser(u - du, v) || isCloser(u, v + dv) ||
                         isCloser(u, v - dv) || isCloser(u + du, v + dv) ||
                         isCloser(u - du, v - dv) || isCloser(u + du, v - dv) ||
                         isCloser(u - du, v + dv);
      if (!moved) share /= 2;
    }
    return projectedAt(stateAt(now.u, now.v), kMostSteps, share <= kLastCompassStep);
  }

  double roundingOf(const State& s) const {
    const double rounding = kRounding * (size_ + s.at.point.eigen().norm());
    return rounding * (rounding + s.distance);
  }

  const TrueDerivatives& derivatives_;
  const ParameterDomain& domain_;
  const Point3D& point_;
  double size_;
};

}  // namespace

std::optional<Parameters> footStep(const FootPointSystem& s) {
  constexpr double kSmallestDeterminant = 1e-12;
  const double determinant = s.hessianUU * s.hessianVV - s.hessianUV * s.hessianUV;
  if (!(std::abs(determinant) >= kSmallestDeterminant)) return std::nullopt;
  return Parameters{(-s.gradientU * s.hessianVV + s.gradientV * s.hessianUV) / determinant,
                    (s.gradientU * s.hessianUV - s.gradientV * s.hessianUU) / determinant};
}

ProjectedPoint descendToFoot(const TrueDerivatives& derivatives, const ParameterDomain& domain,
                             const Point3D& point, double u, double v) {
  const Iteration iteration(derivatives, domain, point);
  u = std::clamp(u, domain.uMin, domain.uMax);
  v = std::clamp(v, domain.vMin, domain.vMax);
  if (const auto settled = iteration.settledFrom(u, v))
    return projectedAt(settled->first, settled->second, true);
  return iteration.damped(u, v);
}

std::optional<ProjectedPoint> settledFoot(const TrueDerivatives& derivatives,
                                          const ParameterDomain& domain, const Point3D& point,
                                          double u, double v) {
  const auto settled = Iteration(derivatives, domain, point).settledFrom(u, v);
  if (!settled) return std::nullopt;
  return projectedAt(settled->first, settled->second, true);
}

std::optional<ProjectedPoint> stationaryFoot(const TrueDerivatives& derivatives,
                                             const ParameterDomain& domain, const Point3D& point,
                                             double u, double v) {
  const Iteration iteration(derivatives, domain, point);
  State now = iteration.stateAt(u, v);
  for (int step = 0; step < kMostSteps && now.isFinite(); ++step) {
    if (iteration.isStationary(now, false)) return projectedAt(now, step, true);
    const auto move = footStep(now.system);
    if (!move) return std::nullopt;
    const Parameters to = iteration.clamped(now.u + move->u, now.v + move->v);
    if (iteration.isTiny({to.u - now.u, to.v - now.v})) {
      const bool isStill = iteration.isTiny(*move);
      return isStill ? std::optional(projectedAt(now, step, true)) : std::nullopt;
    }
    now = iteration.stateAt(to.u, to.v);
  }
  return std::nullopt;
}

namespace {

// Where the surface stands from a line: two coordinates across it, with their derivatives.
struct LineState {
  double u;
  double v;
  SurfaceEvaluation at;
  Eigen::Vector2d across;
  Eigen::Matrix2d slope;

  bool isFinite() const { return across.allFinite() && slope.allFinite(); }
};

class LineIteration {
 public:
  LineIteration(const TrueDerivatives& derivatives, const Point3D& point, const Vector3D& direction)
      : derivatives_(derivatives),
        point_(point),
        first_(foundation::anyPerpendicular(direction)),
        second_(direction.cross(first_)) {}

  LineState stateAt(double u, double v) const {
    LineState state{u, v, derivatives_(u, v, 1), {}, {}};
    const Vector3D d = state.at.point - point_;
    state.across = {d.dot(first_), d.dot(second_)};
    state.slope << state.at.Su.dot(first_), state.at.Sv.dot(first_), state.at.Su.dot(second_),
        state.at.Sv.dot(second_);
    return state;
  }

  // Newton's step; where the surface runs along the line, the shortest step that helps most.
  static Parameters step(const LineState& s) {
    const double determinant = s.slope(0, 0) * s.slope(1, 1) - s.slope(0, 1) * s.slope(1, 0);
    if (std::abs(determinant) > kSingularShare * s.slope.squaredNorm()) {
      return {(s.slope(0, 1) * s.across[1] - s.slope(1, 1) * s.across[0]) / determinant,
              (s.slope(1, 0) * s.across[0] - s.slope(0, 0) * s.across[1]) / determinant};
    }
    const double scale = s.slope.squaredNorm();
    if (!(scale > 0.0)) return {};
    const Eigen::Vector2d move = s.slope.transpose() * -s.across / scale;
    return {move[0], move[1]};
  }

 private:
  const TrueDerivatives& derivatives_;
  const Point3D& point_;
  Vector3D first_;
  Vector3D second_;
};

// The state behind a step that is halved until the line comes closer; empty where it never does.
std::optional<LineState> closerState(const LineIteration& iteration, const ParameterDomain& domain,
                                     const LineState& now, const Parameters& step) {
  double share = 1.0;
  for (int halving = 0; halving < kMostHalvings; ++halving, share /= 2) {
    const LineState next =
        iteration.stateAt(std::clamp(now.u + share * step.u, domain.uMin, domain.uMax),
                          std::clamp(now.v + share * step.v, domain.vMin, domain.vMax));
    if (next.isFinite() && next.across.squaredNorm() < now.across.squaredNorm()) return next;
  }
  return std::nullopt;
}

}  // namespace

std::optional<ProjectedPoint> crossingFrom(const TrueDerivatives& derivatives,
                                           const ParameterDomain& domain, const Point3D& point,
                                           const Vector3D& direction, double u, double v,
                                           double tolerance, int maxIterations) {
  const LineIteration iteration(derivatives, point, direction);
  LineState now = iteration.stateAt(std::clamp(u, domain.uMin, domain.uMax),
                                    std::clamp(v, domain.vMin, domain.vMax));
  if (!now.isFinite()) return std::nullopt;
  int used = 0;
  for (; used < maxIterations; ++used) {
    const auto next = closerState(iteration, domain, now, LineIteration::step(now));
    if (!next) break;
    now = *next;
  }
  if (!(now.across.norm() <= tolerance)) return std::nullopt;
  const double along = (now.at.point - point).dot(direction);
  return ProjectedPoint{now.u, now.v, now.at.point, std::abs(along), along, used, true};
}

}  // namespace trova::projection::internal
