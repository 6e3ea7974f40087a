#include "morvel/blend/internal/branch_path.h"

#include <algorithm>
#include <utility>

#include "morvel/blend/internal/branch_pace.h"
#include "morvel/blend/internal/pair_point.h"

namespace trova::geometry::blend::internal {
namespace {

class ConstantPath {
 public:
  ConstantPath(const Surface& surface1, double distance1, const Surface& surface2, double distance2,
               IntersectionBranch branch)
      : a_(surface1, distance1),
        b_(surface2, distance2),
        branch_(std::move(branch)),
        pace_(branch_),
        pair_(a_, b_, pace_.length()) {}

  std::optional<BallStation> at(double fraction) const {
    const double t = std::clamp(fraction, 0.0, 1.0);
    const IntersectionPoint near = t == 0.0   ? branch_.points.front()
                                   : t == 1.0 ? branch_.points.back()
                                              : pace_.at(t);
    PairPoint at;
    at.p = pair_.clamped({near.u1, near.v1, near.u2, near.v2});
    const auto outcome = pair_.correct(at, near.point.eigen(), near.tangent.eigen());
    if (outcome == SurfacePair::Outcome::Left) {
      if (!settleOnEdge(at)) return std::nullopt;
    } else if (outcome == SurfacePair::Outcome::Failed && !isOn(at)) {
      return std::nullopt;
    }
    return station(at, near.tangent);
  }

 private:
  bool isOn(const PairPoint& at) const {
    constexpr double kShare = 1e-8;
    return at.a.usable && at.b.usable && (at.a.point - at.b.point).norm() <= kShare * pair_.size();
  }

  bool settleOnEdge(PairPoint& at) const {
    const PairParameters outside = at.p;
    for (int k = 0; k < 4; ++k) {
      if (outside[k] >= pair_.low(k) && outside[k] <= pair_.high(k)) continue;
      at.p = pair_.clamped(outside);
      if (pair_.correctOnEdge(at, k) == SurfacePair::Outcome::Settled) return true;
    }
    return false;
  }

  BallStation station(const PairPoint& at, const Vector3D& tangent) const {
    BallStation ball;
    ball.centre = Point3D(at.point);
    ball.normal1 = Vector3D(at.a.normal);
    ball.normal2 = Vector3D(at.b.normal);
    ball.contact1 = Point3D(at.a.point) - ball.normal1 * a_.distance();
    ball.contact2 = Point3D(at.b.point) - ball.normal2 * b_.distance();
    ball.u1 = at.p[0];
    ball.v1 = at.p[1];
    ball.u2 = at.p[2];
    ball.v2 = at.p[3];
    ball.radius = std::abs(a_.distance());
    ball.along = at.sine > 0.0 ? Vector3D(at.tangent) : tangent;
    return ball;
  }

  OffsetField a_;
  OffsetField b_;
  IntersectionBranch branch_;
  BranchPace pace_;
  SurfacePair pair_;
};

class LawPath {
 public:
  LawPath(const BlendSides& sides, BallPath guide, RadiusLaw law)
      : guide_(std::move(guide)), law_(std::move(law)), solver_(sides, configFor(sides)) {}

  /// Whether the ball can stand on a stretch of the guide.
  bool findStretch() {
    if (!solve(0.5, law_.at(0.5))) return false;
    first_ = furthest(0.5, 0.0);
    last_ = furthest(0.5, 1.0);
    return last_ - first_ > kShortest;
  }

  std::optional<BallStation> at(double fraction) const {
    auto ball = solveAt(fraction);
    if (!ball) return std::nullopt;
    const auto before = solveAt(std::max(fraction - kNear, 0.0));
    const auto after = solveAt(std::min(fraction + kNear, 1.0));
    if (before && after) ball->along = after->centre - before->centre;
    return ball;
  }

 private:
  static constexpr double kNear = 1e-4;
  static constexpr double kShortest = 1e-3;

  static VariableSpineConfig configFor(const BlendSides& sides) {
    VariableSpineConfig config;
    const ParameterDomain d1 = sides.surface1->getParameterDomain();
    const ParameterDomain d2 = sides.surface2->getParameterDomain();
    config.u1 = {d1.uMin, d1.uMax};
    config.v1 = {d1.vMin, d1.vMax};
    config.u2 = {d2.uMin, d2.uMax};
    config.v2 = {d2.vMin, d2.vMax};
    config.tolerance = 1e-10;
    return config;
  }

  std::optional<BallStation> solve(double onGuide, double radius) const {
    const auto at = guide_(onGuide);
    if (!at || !(radius > 0.0)) return std::nullopt;
    const auto solved =
        solver_.solve(radius, at->centre, at->along.normalized(), {at->u1, at->v1, at->u2, at->v2});
    if (!solved.converged) return std::nullopt;
    return solved.station;
  }

  std::optional<BallStation> solveAt(double fraction) const {
    return solve(first_ + (last_ - first_) * fraction, law_.at(fraction));
  }

  // As far towards the end as a ball of the radius there can stand.
  double furthest(double from, double end) const {
    const double radius = law_.at(end);
    if (solve(end, radius)) return end;
    double good = from, bad = end;
    constexpr int kHalvings = 30;
    for (int k = 0; k < kHalvings; ++k) {
      const double middle = (good + bad) / 2;
      (solve(middle, radius) ? good : bad) = middle;
    }
    return good;
  }

  BallPath guide_;
  RadiusLaw law_;
  VariableSpineContactSolver solver_;
  double first_ = 0.0;
  double last_ = 1.0;
};

}  // namespace

BallPath pathAlong(const Surface& surface1, double distance1, const Surface& surface2,
                   double distance2, IntersectionBranch branch) {
  const auto path =
      std::make_shared<ConstantPath>(surface1, distance1, surface2, distance2, std::move(branch));
  return [path](double t) { return path->at(t); };
}

BallPath pathWithLaw(const BlendSides& sides, BallPath guide, RadiusLaw law) {
  const auto path = std::make_shared<LawPath>(sides, std::move(guide), std::move(law));
  if (!path->findStretch()) return {};
  return [path](double t) { return path->at(t); };
}

}  // namespace trova::geometry::blend::internal
