#include "morvel/surfaces/surface_refit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/surfaces/internal/tensor_grid.h"

namespace trova::geometry {
namespace {

using foundation::nurbs::SplineBasis;

constexpr int kDegree = 3;
constexpr int kDim = 3;
constexpr int kMinCount = kDegree + 1;
constexpr int kMaxCount = 400;
constexpr int kStartCount = 10;

constexpr std::int64_t kMaxEvaluations = 2'000'000;
constexpr int kMaxRounds = 24;
/// Lines on which the error of one direction alone is taken.
constexpr int kMaxErrorLines = 33;

/// A direction is refined until its own error is this share of the tolerance.
constexpr double kDirectionShare = 0.4;
/// The error of cubic interpolation falls with this power of the spacing.
constexpr double kConvergenceOrder = 4.0;
constexpr double kMinGrowth = 1.3;
constexpr double kMaxGrowth = 3.0;

// Where the i-th basis function is centred: the means of `kDegree` consecutive knots.
std::vector<double> grevilleAbscissae(const SplineBasis& basis) {
  std::vector<double> abscissae(basis.count());
  for (int i = 0; i < basis.count(); ++i) {
    const std::vector<double>& U = basis.knots();
    abscissae[i] = (U[i + 1] + U[i + 2] + U[i + 3]) / kDegree;
  }
  return abscissae;
}

std::vector<double> midpoints(const std::vector<double>& parameters) {
  std::vector<double> between(parameters.size() - 1);
  for (std::size_t k = 0; k < between.size(); ++k)
    between[k] = (parameters[k] + parameters[k + 1]) / 2;
  return between;
}

// At most kMaxErrorLines of them, first and last included.
std::vector<double> thinned(const std::vector<double>& parameters) {
  const std::size_t last = parameters.size() - 1;
  if (last < kMaxErrorLines) return parameters;
  std::vector<double> kept(kMaxErrorLines);
  for (std::size_t k = 0; k < kept.size(); ++k)
    kept[k] = parameters[k * last / (kMaxErrorLines - 1)];
  return kept;
}

// Turns rows of values at the abscissae into rows of control points. False for a singular system,
// which these abscissae do not give.
bool interpolate(const SplineBasis& basis, const std::vector<double>& abscissae,
                 std::vector<double>& rows, int width) {
  foundation::BandedSystem system(basis.count(), kDegree, kDegree);
  for (int row = 0; row < basis.count(); ++row) {
    double values[kDegree + 1];
    const int first = internal::basisTable<0>(basis, abscissae[row], values);
    for (int r = 0; r <= kDegree; ++r) {
      if (values[r] != 0.0) system.add(row, first + r, values[r]);
    }
  }
  if (!system.factor()) return false;
  system.solve(rows.data(), width);
  return true;
}

std::vector<double> transposed(const std::vector<double>& coordinates, int nU, int nV) {
  const ControlNet net = ControlNet(nU, nV, coordinates.data()).transposed();
  return {net.data(), net.data() + coordinates.size()};
}

// NaN is larger than everything, so that it is never taken for a small deviation.
double larger(double a, double b) { return std::isnan(a) || a >= b ? a : b; }

}  // namespace

// A net of the current counts and what it was made from.
struct SurfaceRefitEngine::Fit {
  Fit(int countU, int countV)
      : basisU(SplineBasis::clampedUniform(countU, kDegree)),
        basisV(SplineBasis::clampedUniform(countV, kDegree)),
        us(grevilleAbscissae(basisU)),
        vs(grevilleAbscissae(basisV)) {}

  SplineBasis basisU;
  SplineBasis basisV;
  std::vector<double> us;
  std::vector<double> vs;
  std::vector<double> net;
};

// The largest deviations midway between fitted parameters of u, of v, and of both.
struct SurfaceRefitEngine::Deviation {
  double inU = 0.0;
  double inV = 0.0;
  double overall = 0.0;
};

SurfaceRefitEngine::SurfaceRefitEngine(const Surface& surface, const ParameterDomain& box)
    : surface_(surface),
      box_(box),
      countU_(kStartCount),
      countV_(kStartCount),
      tolerance_(kDefaultToNurbsTolerance),
      deviation_(std::numeric_limits<double>::infinity()) {}

void SurfaceRefitEngine::initialise(const std::pair<int, int>& counts, double tolerance) {
  countU_ = std::clamp(counts.first, kMinCount, kMaxCount);
  countV_ = std::clamp(counts.second, kMinCount, kMaxCount);
  tolerance_ = tolerance;
  evaluations_ = 0;
  best_ = nullptr;
  deviation_ = std::numeric_limits<double>::infinity();
}

bool SurfaceRefitEngine::approximate() {
  foundation::progress::Stage stage("converting to spline form");
  for (int round = 0; round < kMaxRounds; ++round) {
    stage.report(double(evaluations_), kMaxEvaluations);
    Fit current(countU_, countV_);
    Deviation deviation;
    if (!fit(current) || !measure(current, deviation)) {
      best_ = nullptr;
      deviation_ = std::numeric_limits<double>::infinity();
      return false;
    }
    if (deviation.overall < deviation_) {
      ControlNet net(countU_, countV_, current.net.data());
      best_ = BSplineSurface::createClamped(std::move(net), kDegree, kDegree);
      deviation_ = deviation.overall;
    }
    if (deviation_ <= tolerance_ || !refine(deviation)) break;
  }
  return best_ != nullptr;
}

bool SurfaceRefitEngine::fit(Fit& fit) {
  fit.net.reserve(std::size_t(countU_) * countV_ * kDim);
  foundation::progress::Stage stage(nullptr);
  for (const double s : fit.us) {
    stage.report(0.0);
    for (const double t : fit.vs) {
      const Point3D point = surface_.evaluate(box_.uMin + (box_.uMax - box_.uMin) * s,
                                              box_.vMin + (box_.vMax - box_.vMin) * t);
      if (!point.isFinite()) return false;
      fit.net.insert(fit.net.end(), {point.x(), point.y(), point.z()});
    }
  }
  evaluations_ += std::int64_t(countU_) * countV_;
  if (!interpolate(fit.basisU, fit.us, fit.net, countV_ * kDim)) return false;
  fit.net = transposed(fit.net, countU_, countV_);
  if (!interpolate(fit.basisV, fit.vs, fit.net, countU_ * kDim)) return false;
  fit.net = transposed(fit.net, countV_, countU_);
  return true;
}

// False for a surface that is not finite between the fitted points.
bool SurfaceRefitEngine::measure(const Fit& fit, Deviation& deviation) {
  const std::vector<double> betweenU = midpoints(fit.us);
  const std::vector<double> betweenV = midpoints(fit.vs);
  deviation.inU = largestDeviation(fit, betweenU, thinned(fit.vs));
  deviation.inV = largestDeviation(fit, thinned(fit.us), betweenV);
  deviation.overall =
      larger(larger(deviation.inU, deviation.inV), largestDeviation(fit, betweenU, betweenV));
  return std::isfinite(deviation.overall);
}

double SurfaceRefitEngine::largestDeviation(const Fit& fit, const std::vector<double>& us,
                                            const std::vector<double>& vs) {
  double largest = 0.0;
  foundation::progress::Stage stage(nullptr);
  internal::tensorGrid<kDim, 0>(
      fit.net.data(), fit.basisU, fit.basisV, us, vs, [&](int a, int b, const double* at) {
        if (b == 0) stage.report(0.0);
        const Point3D target = surface_.evaluate(box_.uMin + (box_.uMax - box_.uMin) * us[a],
                                                 box_.vMin + (box_.vMax - box_.vMin) * vs[b]);
        largest = larger(largest, target.distanceTo({at[0], at[1], at[2]}));
      });
  evaluations_ += std::int64_t(us.size()) * std::int64_t(vs.size());
  return largest;
}

std::int64_t SurfaceRefitEngine::nextCost() const {
  return 2 * std::int64_t(countU_) * countV_ + kMaxErrorLines * (countU_ + countV_);
}

// Chooses the next counts. False where they could not grow or their cost would pass the bound.
bool SurfaceRefitEngine::refine(const Deviation& deviation) {
  // A tolerance of zero, or none, is met nowhere.
  const double goal = tolerance_ > 0 ? kDirectionShare * tolerance_ : 0.0;
  const auto grown = [&](int count, double error, bool mustGrow) {
    if (!(error > goal) && !mustGrow) return count;
    const double factor =
        goal > 0 ? std::clamp(std::pow(error / goal, 1 / kConvergenceOrder), kMinGrowth, kMaxGrowth)
                 : kMaxGrowth;
    return std::min(kMaxCount, int(std::ceil((count - kDegree) * factor)) + kDegree);
  };
  const bool neitherShows = !(deviation.inU > goal) && !(deviation.inV > goal);
  const int nextU = grown(countU_, deviation.inU, neitherShows);
  const int nextV = grown(countV_, deviation.inV, neitherShows);
  const bool grew = nextU > countU_ || nextV > countV_;
  countU_ = nextU;
  countV_ = nextV;
  return grew && evaluations_ + nextCost() <= kMaxEvaluations;
}

}  // namespace trova::geometry
