#include "morvel/blend/surface_intersection_generator.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "morvel/blend/internal/branch_tracer.h"
#include "morvel/blend/internal/cell_pairs.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::blend {
namespace {

using Eigen::Vector3d;
using internal::BranchTracer;
using internal::CellGrid;
using internal::CellPair;
using internal::OffsetField;
using internal::PairParameters;
using internal::PairPoint;
using internal::SurfacePair;
using internal::TracedBranch;

namespace status = foundation::status;

constexpr int kMostBranches = 200;
constexpr std::size_t kMostTangencies = 24;  // places of contact; more: the surfaces coincide
constexpr double kReachCells = 1.5;          // how far from its cell's middle a start may lie
constexpr double kTangentDistance = 1e-6;  // share of the size within which tangent surfaces touch
constexpr double kFirstStepShare = 0.25;   // of a cell
constexpr double kKnownShare = 0.02;       // of a step: a place so near a branch is about on it
constexpr double kMaybeKnownShare = 0.1;   // of a step: a start so near a branch may lie on it
constexpr double kJoinShare = 1e-7;        // of the size

IntersectionPoint publicPoint(const PairPoint& at) {
  return {Point3D(at.point), at.p[0], at.p[1], at.p[2], at.p[3], Vector3D(at.tangent)};
}

/// A place in a cell.
struct Share {
  double across;
  double along;
};

const std::vector<Share> kOrdinaryStarts = {
    {0.5, 0.5}, {0.25, 0.25}, {0.75, 0.75}, {0.25, 0.75}, {0.75, 0.25}};
constexpr int kThoroughStarts = 4;  // per direction, where several branches may pass
constexpr int kMostStarts = 16;

/// The search for all branches of one pair of surfaces.
class Search {
 public:
  Search(const OffsetField& a, const OffsetField& b, const SurfaceIntersectionConfig& config)
      : config_(config),
        gridA_(a, config.fewest_cells, config.sampling_resolution),
        gridB_(b, config.fewest_cells, config.sampling_resolution),
        pair_(a, b, std::min(gridA_.size(), gridB_.size())),
        tracer_(pair_, config, kFirstStepShare * cellSize()) {}

  SurfaceIntersection run() {
    if (!(pair_.size() > 0.0)) return {};
    foundation::progress::Stage stage("searching for branches");
    const std::vector<CellPair> pairs = meetingCells(gridA_, gridB_);
    result_.meeting_cells = pairs.size();
    for (const CellPair& cells : pairs) {
      stage.report(double(&cells - pairs.data()), double(pairs.size()));
      if (static_cast<int>(traced_.size()) >= kMostBranches || isCoincident(pairs.size())) break;
      tryPair(cells);
    }
    if (isCoincident(pairs.size())) {
      result_.coincide = true;
    } else {
      if (config_.join_pieces) joinPieces();
      publish();
    }
    if (!config_.report_tangency) result_.tangencies.clear();
    if (config_.verbose) describe();
    return std::move(result_);
  }

 private:
  double cellSize() const {
    const auto share = [](const CellGrid& grid) {
      return grid.size() / std::max(1, std::max(grid.cellsU(), grid.cellsV()));
    };
    return std::min(share(gridA_), share(gridB_));
  }

  bool isCoincident(std::size_t pairs) const {
    return result_.tangencies.size() >= kMostTangencies && traced_.empty() &&
           pairs >= kMostTangencies;
  }

  PairParameters parametersAt(const CellPair& cells, double across, double along) const {
    return {gridA_.uAt(cells.a.i + across), gridA_.vAt(cells.a.j + along),
            gridB_.uAt(cells.b.i + across), gridB_.vAt(cells.b.j + along)};
  }

  bool isNearCell(const CellPair& cells, const PairPoint& at) const {
    const PairParameters middle = parametersAt(cells, 0.5, 0.5);
    const PairParameters corner = parametersAt(cells, 0.5 + kReachCells, 0.5 + kReachCells);
    for (int k = 0; k < 4; ++k)
      if (std::abs(at.p[k] - middle[k]) > std::abs(corner[k] - middle[k])) return false;
    return true;
  }

  // From the middle of flat cells that cross at an angle one step leads about to their only branch:
  // nothing is to be found where that is known, or far from the cells.
  bool holdsNothingNew(const CellPair& cells, const PairPoint& middle) const {
    constexpr double kCrossingSine = 0.1, kClearSine = 0.3, kBendShare = 0.1;
    if (!middle.a.usable || !middle.b.usable || !(middle.sine > kCrossingSine)) return false;
    Vector3d move;
    PairParameters steps;
    if (!pair_.step(middle, middle.point, middle.tangent, move, steps)) return false;
    PairPoint ahead;
    ahead.point = middle.a.point + move;
    for (int k = 0; k < 4; ++k)
      ahead.p[k] = middle.p[k] + steps[k];
    if (middle.sine > kClearSine && !isNearCell(cells, ahead)) return true;
    return isBesideKnown(ahead, kBendShare * move.norm());
  }

  void tryPair(const CellPair& cells) {
    const PairPoint middle = pair_.look(parametersAt(cells, 0.5, 0.5));
    const bool maySeveral = mayHoldSeveral(cells, middle);
    if (!maySeveral && config_.starts_per_cell <= 1) {
      if (!holdsNothingNew(cells, middle)) tryStarts(cells, kOrdinaryStarts, true);
      return;
    }
    const int side = std::clamp(config_.starts_per_cell, 1, kMostStarts);
    tryStarts(cells, latticeOf(maySeveral ? kThoroughStarts * side : side), false);
  }

  /// Several branches pass through a pair of cells only where the surfaces can be parallel in it.
  bool mayHoldSeveral(const CellPair& cells, const PairPoint& middle) const {
    return !(middle.sine > gridA_.turn(cells.a) + gridB_.turn(cells.b));
  }

  static std::vector<Share> latticeOf(int side) {
    std::vector<Share> shares{{0.5, 0.5}};
    for (int i = 0; i < side; ++i)
      for (int j = 0; j < side; ++j)
        shares.push_back({(i + 0.5) / side, (j + 0.5) / side});
    return shares;
  }

  void tryStarts(const CellPair& cells, const std::vector<Share>& shares, bool isFirstEnough) {
    for (const Share& share : shares) {
      PairPoint at = beside(cells, share);
      if (approach(at) && isNearCell(cells, at)) {
        startAt(at);
        if (isFirstEnough) return;
      } else {
        at = pair_.look(pair_.clamped(at.p));
        if (isTangentContact(at)) {
          note(at);
          return;
        }
      }
      if (++retries_ > kMostRetries) return;
    }
  }

  // A place of the first cell, and the nearest one on the second cell's tangent plane.
  PairPoint beside(const CellPair& cells, const Share& share) const {
    const PairParameters middle = parametersAt(cells, 0.5, 0.5);
    PairPoint at = pair_.look({gridA_.uAt(cells.a.i + share.across),
                               gridA_.vAt(cells.a.j + share.along), middle[2], middle[3]});
    if (!at.a.usable || !at.b.usable) return at;
    const Vector3d apart = at.a.point - at.b.point;
    at.p[2] += at.b.alongU(apart);
    at.p[3] += at.b.alongV(apart);
    at.p = pair_.clamped(at.p);
    return at;
  }

  // To a point on both, on an edge where the way leads out of the domain.
  bool approach(PairPoint& at) const {
    auto outcome = pair_.approach(at);
    for (int k = 0; k < 4 && outcome == SurfacePair::Outcome::Left; ++k) {
      const bool isOut = at.p[k] < pair_.low(k) || at.p[k] > pair_.high(k);
      if (!isOut) continue;
      PairPoint edge;
      edge.p = pair_.clamped(at.p);
      if (pair_.correctOnEdge(edge, k) != SurfacePair::Outcome::Settled) continue;
      at = edge;
      outcome = SurfacePair::Outcome::Settled;
    }
    return outcome == SurfacePair::Outcome::Settled && at.sine >= tracer_.tangentSine();
  }

  // Where the surfaces are about parallel, the second point first goes below the first one.
  bool isTangentContact(PairPoint& at) const {
    constexpr double kNearlyParallel = 0.02;
    constexpr int kSteps = 4;
    const double touching = kTangentDistance * pair_.size();
    for (int k = 0; k <= kSteps; ++k) {
      if (!at.a.usable || !at.b.usable || !(at.sine < kNearlyParallel)) return false;
      const Vector3d apart = at.a.point - at.b.point;
      if (apart.norm() <= touching) return true;
      if (!(std::abs(at.b.normal.dot(apart)) <= touching + kNearlyParallel * apart.norm()))
        return false;
      PairParameters p = at.p;
      p[2] += at.b.alongU(apart);
      p[3] += at.b.alongV(apart);
      if (!pair_.contains(p)) return false;
      at = pair_.look(p);
    }
    return false;
  }

  void note(const PairPoint& at) {
    const double near = cellSize() / 2;
    for (const IntersectionPoint& known : result_.tangencies)
      if ((known.point.eigen() - at.point).norm() < near) return;
    if (result_.tangencies.size() < kMostTangencies) result_.tangencies.push_back(publicPoint(at));
  }

  template <class IsIt>
  bool isAnySegment(const IsIt& isIt) const {
    for (const TracedBranch& branch : traced_)
      for (std::size_t k = 0; k + 1 < branch.points.size(); ++k)
        if (isIt(branch.points[k], branch.points[k + 1])) return true;
    return false;
  }

  /// Whether a point near both surfaces lies about on a branch.
  bool isBesideKnown(const PairPoint& at, double slack) const {
    return isAnySegment([&](const PairPoint& from, const PairPoint& to) {
      return isBeside(at, from, to, kKnownShare, slack) && isWithinCell(at, from, to);
    });
  }

  /// Whether a point of the intersection is one of a branch, which others may pass closely.
  bool isKnown(const PairPoint& at) const {
    return isAnySegment([&](const PairPoint& from, const PairPoint& to) {
      return isBeside(at, from, to, kMaybeKnownShare, 0.0) && isSamePlace(at, from, to);
    });
  }

  static double shareAlong(const PairPoint& at, const PairPoint& from, const PairPoint& to) {
    const Vector3d chord = to.point - from.point;
    return (at.point - from.point).dot(chord) / chord.squaredNorm();
  }

  // Against the cubic with both directions (Hermite's).
  bool isBeside(const PairPoint& at, const PairPoint& from, const PairPoint& to, double share,
                double slack) const {
    const double t = shareAlong(at, from, to), s = 1.0 - t;
    if (!(t >= -share && t <= 1.0 + share)) return false;
    const double length = (to.point - from.point).norm();
    const Vector3d cubic = from.point * (s * s * (1 + 2 * t)) + to.point * (t * t * (1 + 2 * s)) +
                           length * (s * s * t * from.tangent - t * t * s * to.tangent);
    return (cubic - at.point).norm() <= share * (length + config_.tolerance) + slack;
  }

  // Sheets of one surface that lie close have other parameters.
  bool isWithinCell(const PairPoint& at, const PairPoint& from, const PairPoint& to) const {
    const double t = shareAlong(at, from, to);
    const int cells[4] = {gridA_.cellsU(), gridA_.cellsV(), gridB_.cellsU(), gridB_.cellsV()};
    for (int k = 0; k < 4; ++k) {
      const double there = from.p[k] + t * (to.p[k] - from.p[k]);
      if (std::abs(at.p[k] - there) * cells[k] > pair_.high(k) - pair_.low(k)) return false;
    }
    return true;
  }

  // The branch's own point in the plane across it through the point.
  bool isSamePlace(const PairPoint& at, const PairPoint& from, const PairPoint& to) const {
    const double t = std::clamp(shareAlong(at, from, to), 0.0, 1.0);
    PairPoint there;
    for (int k = 0; k < 4; ++k)
      there.p[k] = from.p[k] + t * (to.p[k] - from.p[k]);
    const Vector3d along = ((1.0 - t) * from.tangent + t * to.tangent).normalized();
    if (pair_.correct(there, at.point, along) != SurfacePair::Outcome::Settled)
      return isWithinCell(at, from, to);
    constexpr double kSameParameters = 1e-3;  // of the ranges; sheets may cross
    for (int k = 0; k < 4; ++k)
      if (std::abs(there.p[k] - at.p[k]) > kSameParameters * (pair_.high(k) - pair_.low(k)))
        return false;
    return (there.point - at.point).norm() <= kJoinShare * pair_.size();
  }

  void startAt(const PairPoint& at) {
    if (isKnown(at)) return;
    TracedBranch branch = tracer_.trace(at);
    for (const auto& [end, point] : {std::pair(branch.start, &branch.points.front()),
                                     std::pair(branch.end, &branch.points.back())})
      if (end == BranchEnd::Tangency) note(*point);
    if (branch.points.size() < 2) return;
    result_.deviation = std::max(result_.deviation, config_.refine ? tracer_.refine(branch) : 0.0);
    traced_.push_back(std::move(branch));
  }

  // At the seam of a closed surface one piece ends where the next begins.
  void joinPieces() {
    for (std::size_t i = 0; i < traced_.size(); ++i) {
      bool hasGrown = true;
      while (hasGrown && !traced_[i].isClosed) {
        hasGrown = false;
        if (continues(traced_[i], traced_[i]) && traced_[i].points.size() > 2) {
          traced_[i].isClosed = true;
          traced_[i].start = traced_[i].end = BranchEnd::Closed;
          break;
        }
        for (std::size_t j = i + 1; j < traced_.size() && !hasGrown; ++j)
          hasGrown = attach(i, j);
      }
    }
  }

  bool continues(const TracedBranch& first, const TracedBranch& second) const {
    const PairPoint& end = first.points.back();
    const PairPoint& begin = second.points.front();
    constexpr double kSameDirection = 0.99;
    return first.end == BranchEnd::Edge && second.start == BranchEnd::Edge &&
           (end.point - begin.point).norm() <= kJoinShare * pair_.size() &&
           end.tangent.dot(begin.tangent) > kSameDirection;
  }

  bool attach(std::size_t i, std::size_t j) {
    TracedBranch& first = traced_[i];
    TracedBranch& second = traced_[j];
    if (second.isClosed) return false;
    if (!continues(first, second)) {
      if (!continues(second, first)) return false;
      std::swap(first, second);
    }
    first.points.insert(first.points.end(), second.points.begin(), second.points.end());
    first.end = second.end;
    traced_.erase(traced_.begin() + std::ptrdiff_t(j));
    return true;
  }

  void publish() {
    for (const TracedBranch& traced : traced_) {
      IntersectionBranch branch = published(traced);
      const bool isLong = branch.length() > config_.tolerance * kKnownShare;
      const bool isFolded = branch.start == BranchEnd::Fold || branch.end == BranchEnd::Fold;
      if ((config_.keep_short || isLong) && (config_.keep_folded || !isFolded))
        result_.branches.push_back(std::move(branch));
    }
    if (config_.sort_by_length)
      std::stable_sort(result_.branches.begin(), result_.branches.end(),
                       [](const IntersectionBranch& a, const IntersectionBranch& b) {
                         return a.length() > b.length();
                       });
    const auto only = static_cast<std::size_t>(config_.only_branch);
    if (config_.only_branch >= 0 && only < result_.branches.size())
      result_.branches = {result_.branches[only]};
  }

  IntersectionBranch published(const TracedBranch& traced) {
    IntersectionBranch branch;
    branch.is_closed = traced.isClosed;
    branch.start = traced.start;
    branch.end = traced.end;
    for (const PairPoint& at : traced.points) {
      branch.points.push_back(publicPoint(at));
      result_.residual = std::max(result_.residual, (at.a.point - at.b.point).norm() / 2);
    }
    if (!config_.reverse) return branch;
    std::swap(branch.start, branch.end);
    std::reverse(branch.points.begin(), branch.points.end());
    for (IntersectionPoint& at : branch.points)
      at.tangent = -at.tangent;
    return branch;
  }

  void describe() const {
    for (const IntersectionBranch& branch : result_.branches)
      status::progress(status::Symbol::None, "[INFO] Branch of ", branch.points.size(),
                       " points, length ", branch.length(), ", from ", nameOf(branch.start), " to ",
                       nameOf(branch.end));
    status::progress(status::Symbol::None, "[INFO] ", result_.branches.size(), " branches, ",
                     result_.tangencies.size(), " tangencies",
                     result_.coincide ? ", the surfaces coincide" : "");
  }

  static constexpr int kMostRetries = 4000;

  SurfaceIntersectionConfig config_;
  CellGrid gridA_;
  CellGrid gridB_;
  SurfacePair pair_;
  BranchTracer tracer_;
  std::vector<TracedBranch> traced_;
  SurfaceIntersection result_;
  int retries_ = 0;
};

}  // namespace

const char* nameOf(BranchEnd end) {
  switch (end) {
    case BranchEnd::Edge:
      return "an edge";
    case BranchEnd::Tangency:
      return "a tangency";
    case BranchEnd::Fold:
      return "a fold of an offset";
    case BranchEnd::Stalled:
      return "where the search stopped";
    case BranchEnd::Closed:
      break;
  }
  return "its start";
}

double IntersectionBranch::length() const {
  double sum = 0.0;
  for (std::size_t k = 0; k + 1 < points.size(); ++k)
    sum += points[k].point.distanceTo(points[k + 1].point);
  return sum;
}

SurfaceIntersection SurfaceIntersectionGenerator::computeIntersection(
    const Surface& surface1, const Surface& surface2, const SurfaceIntersectionConfig& config) {
  return computeOffsetIntersection(surface1, 0.0, surface2, 0.0, config);
}

SurfaceIntersection SurfaceIntersectionGenerator::computeOffsetIntersection(
    const Surface& surface1, double distance1, const Surface& surface2, double distance2,
    const SurfaceIntersectionConfig& config) {
  const bool isUsable = surface1.isValid() && surface2.isValid() && std::isfinite(distance1) &&
                        std::isfinite(distance2) && config.tolerance > 0.0;
  if (!isUsable) return {};
  foundation::progress::Stage stage("intersecting surfaces");
  const OffsetField a(surface1, distance1), b(surface2, distance2);
  SurfaceIntersection met = Search(a, b, config).run();
  stage.finish();
  return met;
}

}  // namespace trova::geometry::blend
