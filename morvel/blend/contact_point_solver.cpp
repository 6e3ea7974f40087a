#include "morvel/blend/contact_point_solver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "morvel/blend/internal/true_derivatives.h"
#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"

namespace trova::geometry::blend {
namespace {

using internal::TrueDerivatives;

constexpr double kZoneLow = 0.05, kZoneHigh = 0.95;
constexpr double kZoneThreshold = 1e-4, kZoneFactor = 10.0;
constexpr double kFirstDamping = 1e-3, kDampingFloor = 1e-12, kDampingCeiling = 1e6;
constexpr double kDampingRise = 10.0, kDampingFall = 0.8;
constexpr int kTries = 6;
constexpr double kSingular = 1e-14;
constexpr double kNewtonLow = 0.02, kNewtonHigh = 0.98;
constexpr double kShortestNormal = 1e-10;

constexpr double kStarts[][2] = {{0.25, 0.25}, {0.75, 0.25}, {0.25, 0.75}, {0.75, 0.75}, {0.5, 0.5},
                                 {0.1, 0.1},   {0.9, 0.9},   {0.1, 0.9},   {0.9, 0.1}};
constexpr int kGradientSteps = 10;
constexpr double kGradientStep = 0.01;
constexpr double kGradientLow = 0.05, kGradientHigh = 0.95;
constexpr double kLastResortGradient = 0.2;
constexpr int kLastResortIterations = 100;

bool isFinite(const SurfaceEvaluation& at) {
  return at.point.isFinite() && at.Su.isFinite() && at.Sv.isFinite() && at.Suu.isFinite() &&
         at.Suv.isFinite() && at.Svv.isFinite();
}

/// An evaluation with r = centre - S and g = (r.Su, r.Sv).
struct Look {
  double u = 0.0, v = 0.0;
  SurfaceEvaluation at;
  Vector3D r;
  double gu = 0.0, gv = 0.0;

  double gradientNorm() const { return std::hypot(gu, gv); }
};

class Search {
 public:
  Search(const Surface& surface, const Point3D& centre, double radius,
         const ContactPointConfig& config)
      : derivatives_(surface), centre_(centre), radius_(radius), config_(config) {}

  ContactPoint run(double u, double v) {
    if (newton(u, v)) return found_;
    if (config_.use_multi_start && fromFixedStarts()) return found_;
    if (last_ && last_->gradientNorm() < kLastResortGradient)
      return contact(*last_, config_.maxIterations + kLastResortIterations, true);
    if (last_) return contact(*last_, config_.maxIterations, false);
    return {};
  }

 private:
  std::optional<Look> lookAt(double u, double v) const {
    Look look{u, v, derivatives_(u, v, 2), {}, 0.0, 0.0};
    if (!isFinite(look.at)) return std::nullopt;
    look.r = centre_ - look.at.point;
    look.gu = look.r.dot(look.at.Su);
    look.gv = look.r.dot(look.at.Sv);
    return look;
  }

  ContactPoint contact(const Look& look, int iterations, bool converged) const {
    ContactPoint point;
    point.position = look.at.point;
    point.u = look.u;
    point.v = look.v;
    point.centre = centre_;
    const Vector3D cross = look.at.Su.cross(look.at.Sv);
    point.normal = unitOr(cross, std::nextafter(kShortestNormal, 1.0), cross);
    point.residual = std::abs(look.r.magnitude() - radius_);
    point.gradient_norm = look.gradientNorm();
    point.iterations = iterations;
    point.converged = converged;
    return point;
  }

  bool accept(const Look& look, int iterations) {
    found_ = contact(look, iterations, true);
    return true;
  }

  bool newton(double u, double v) {
    const bool isInZone = u < kZoneLow || u > kZoneHigh || v < kZoneLow || v > kZoneHigh;
    const double threshold = isInZone
                                 ? std::max(kZoneThreshold, kZoneFactor * config_.gradientTolerance)
                                 : config_.gradientTolerance;
    double damping = kFirstDamping;
    last_ = lookAt(u, v);
    for (int k = 0; k < config_.maxIterations && last_; ++k) {
      if (last_->gradientNorm() < threshold) return accept(*last_, k + 1);
      const auto next = dampedStep(*last_, damping);
      if (!next) return false;
      last_ = next;
    }
    return false;
  }

  /// The candidate that comes closer, or the last one; empty where none was accepted.
  std::optional<Look> dampedStep(const Look& now, double& damping) const {
    const SurfaceEvaluation& s = now.at;
    const double h11 = now.r.dot(s.Suu) - s.Su.dot(s.Su);
    const double h12 = now.r.dot(s.Suv) - s.Su.dot(s.Sv);
    const double h22 = now.r.dot(s.Svv) - s.Sv.dot(s.Sv);
    for (int attempt = 1; attempt <= kTries; ++attempt) {
      const double a11 = h11 + damping, a22 = h22 + damping;
      const double det = a11 * a22 - h12 * h12;
      if (!(std::abs(det) < kSingular)) {
        const double du = (now.gv * h12 - now.gu * a22) / det;
        const double dv = (now.gu * h12 - now.gv * a11) / det;
        auto next = lookAt(clampedStep(now.u, du), clampedStep(now.v, dv));
        if (next && (next->gradientNorm() < now.gradientNorm() || attempt == kTries)) {
          damping = std::max(kDampingFall * damping, kDampingFloor);
          return next;
        }
      }
      damping = std::min(kDampingRise * damping, kDampingCeiling);
    }
    return std::nullopt;
  }

  double clampedStep(double from, double step) const {
    return std::max(kNewtonLow, std::min(from + config_.stepScale * step, kNewtonHigh));
  }

  bool fromFixedStarts() {
    for (const auto& start : kStarts) {
      double u = start[0], v = start[1];
      for (int k = 0; k < kGradientSteps; ++k) {
        const auto look = lookAt(u, v);
        if (!look) break;
        last_ = look;
        if (look->gradientNorm() < config_.gradientTolerance)
          return accept(*look, config_.maxIterations + k + 1);
        // By contract: the gradient is subtracted, which leads away from the foot.
        u = std::clamp(u - kGradientStep * look->gu, kGradientLow, kGradientHigh);
        v = std::clamp(v - kGradientStep * look->gv, kGradientLow, kGradientHigh);
      }
    }
    return false;
  }

  TrueDerivatives derivatives_;
  Point3D centre_;
  double radius_;
  const ContactPointConfig& config_;
  std::optional<Look> last_;
  ContactPoint found_;
};

}  // namespace

std::optional<Eigen::Vector4d> solve4x4System(const Eigen::Matrix4d& A, const Eigen::Vector4d& b) {
  if (!A.allFinite() || !b.allFinite()) return std::nullopt;
  const auto solution = foundation::solveSquare(A, b);
  if (!solution) return std::nullopt;
  return Eigen::Vector4d(solution->col(0));
}

ContactPoint ContactPointSolver::solveSingleContactPoint(const Surface& surface,
                                                         const Point3D& centre, double radius,
                                                         std::pair<double, double> guess,
                                                         const ContactPointConfig& config) {
  if (!surface.isValid() || !centre.isFinite()) {
    ContactPoint none;
    none.centre = centre;
    return none;
  }
  ContactPoint result = Search(surface, centre, radius, config).run(guess.first, guess.second);
  result.centre = centre;
  return result;
}

std::pair<double, double> ContactPointSolver::generateInitialGuess(const Surface& surface,
                                                                   const Point3D& centre) {
  constexpr int kSteps = 12;
  std::pair<double, double> best{0.5, 0.5};
  double least = std::numeric_limits<double>::infinity();
  for (int i = 0; i <= kSteps; ++i)
    for (int j = 0; j <= kSteps; ++j) {
      const double u = kNewtonLow + (kNewtonHigh - kNewtonLow) * i / kSteps;
      const double v = kNewtonLow + (kNewtonHigh - kNewtonLow) * j / kSteps;
      const double distance = surface.evaluate(u, v).distanceTo(centre);
      if (!(distance < least)) continue;
      least = distance;
      best = {u, v};
    }
  return best;
}

std::vector<ContactTriplet> ContactPointSolver::computeContactPoints(
    const Surface& surface1, const Surface& surface2, std::span<const Point3D> centres,
    std::span<const double> radii, const ContactPointConfig& config) {
  if (radii.size() != 1 && radii.size() != centres.size())
    throw std::invalid_argument("Contact points need one radius for all centres or one for each");
  foundation::progress::Stage stage("solving contacts");
  std::vector<ContactTriplet> triplets;
  triplets.reserve(centres.size());
  const auto solve = [&](const Surface& surface, const ContactPoint* before, std::size_t k) {
    const bool isNear = before && before->converged;
    const auto guess =
        isNear ? std::pair(before->u, before->v) : generateInitialGuess(surface, centres[k]);
    const double radius = radii[radii.size() == 1 ? 0 : k];
    return solveSingleContactPoint(surface, centres[k], radius, guess, config);
  };
  for (std::size_t k = 0; k < centres.size(); ++k) {
    stage.report(double(k), double(centres.size()));
    const ContactTriplet* before = k > 0 ? &triplets.back() : nullptr;
    triplets.push_back({centres[k], solve(surface1, before ? &before->first : nullptr, k),
                        solve(surface2, before ? &before->second : nullptr, k)});
  }
  stage.finish();
  return triplets;
}

Point3D ContactPointSolver::computeSphereCenterFromContacts(const ContactPoint& first,
                                                            const ContactPoint& second,
                                                            double radius) {
  Point3D best;
  double least = std::numeric_limits<double>::infinity();
  for (const double side1 : {1.0, -1.0})
    for (const double side2 : {1.0, -1.0}) {
      const Point3D a = first.position + first.normal * (side1 * radius);
      const Point3D b = second.position + second.normal * (side2 * radius);
      if (!(a.distanceTo(b) < least)) continue;
      least = a.distanceTo(b);
      best = a.midpoint(b);
    }
  return best;
}

}  // namespace trova::geometry::blend
