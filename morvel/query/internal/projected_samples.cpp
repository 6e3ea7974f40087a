#include "morvel/query/internal/projected_samples.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/curves/spline_curve.h"
#include "morvel/foundation/progress.h"
#include "morvel/query/internal/true_derivatives.h"
#include "morvel/query/unified_projection_engine.h"

namespace trova::projection::internal {
namespace {

/// Neighbouring samples whose parameters differ by more than this share of the domain are looked at
/// more closely: between them the hit may jump.
constexpr double kLargeMove = 0.05;
/// A jump is narrowed down to this share of the curve's interval.
constexpr double kJumpWidth = 1e-12;
constexpr int kMostHalvings = 48;
constexpr std::size_t kMostSamples = 20000;
/// Samples that were needed to find a jump only are dropped again: closer to their neighbour than
/// this share of the ordinary step, where the hit moves by less than this share of the domain.
constexpr double kThinStep = 1.0 / 64;
constexpr double kThinMove = 0.01;
/// Samples never come closer in the curve's interval than this share of it.
constexpr double kLeastStep = 1e-9;
/// More breaks than this are not sampled each.
constexpr std::size_t kMostBreaks = 1000;
/// A piece shorter than this share of the surface's size is a point.
constexpr double kPointShare = 1e-9;
/// The distance stands at right angles to the surface below this cosine.
constexpr double kRightAngle = 1e-9;

// A point of the curve with all its hits, and the pieces that they belong to.
struct CurveSample {
  double t = 0.0;
  Point3D source;
  std::vector<ProjectedPoint> hits;
  std::vector<int> pieces;
};

class PieceMaker {
 public:
  PieceMaker(const geometry::Curve& curve, const PointProjector& projector,
             const UnifiedProjectionParams& params)
      : curve_(curve),
        projector_(projector),
        domain_(projector.search().surface().getParameterDomain()),
        interval_(curve.getParameterInterval()),
        ordinaryStep_(interval_.length() / (params.sample_count - 1)) {
    if (!std::isfinite(interval_.length()) || !(interval_.length() > 0.0))
      throw std::invalid_argument("Curve has no finite interval");
  }

  std::vector<std::vector<SamplePoint>> pieces(int sampleCount) {
    foundation::progress::Stage stage("sampling");
    stage_ = &stage;
    CurveSample last = sampleAt(interval_.start, nullptr);
    append(last);
    for (const double t : parameters(sampleCount)) {
      CurveSample next = sampleAt(t, &last);
      connect(last, next, kMostHalvings);
      last = std::move(next);
    }
    std::vector<std::vector<SamplePoint>> kept;
    for (const auto& piece : pieces_) {
      auto thin = thinned(piece);
      if (isCurve(thin)) kept.push_back(std::move(thin));
    }
    return kept;
  }

 private:
  // All but the first, ascending: even steps and the breaks of a spline.
  std::vector<double> parameters(int count) const {
    std::vector<double> ts;
    for (int k = 1; k + 1 < count; ++k)
      ts.push_back(interval_.start + interval_.length() * k / (count - 1));
    ts.push_back(interval_.end);
    if (const auto* spline = dynamic_cast<const geometry::SplineCurve*>(&curve_)) {
      const std::vector<double> breaks = spline->getBreaks();
      if (breaks.size() <= kMostBreaks) ts.insert(ts.end(), breaks.begin(), breaks.end());
    }
    std::sort(ts.begin(), ts.end());
    const double least = kLeastStep * interval_.length();
    std::vector<double> apart;
    double before = interval_.start;
    for (const double t : ts) {
      if (t - before > least && (interval_.end - t > least || t == interval_.end)) {
        apart.push_back(t);
        before = t;
      }
    }
    return apart;
  }

  CurveSample sampleAt(double t, const CurveSample* neighbour) {
    stage_->report(t - interval_.start, interval_.length());
    CurveSample sample;
    sample.t = t;
    sample.source = curve_.evaluate(t);
    if (!sample.source.isFinite()) throw std::invalid_argument("Curve is not finite");
    const bool hasHit = neighbour && !neighbour->hits.empty();
    sample.hits = projector_.hitsOf(sample.source, hasHit ? &neighbour->hits.front() : nullptr);
    sample.pieces.assign(sample.hits.size(), -1);
    ++sampleCount_;
    return sample;
  }

  double move(const ProjectedPoint& a, const ProjectedPoint& b) const {
    return std::max(std::abs(a.u - b.u) / (domain_.uMax - domain_.uMin),
                    std::abs(a.v - b.v) / (domain_.vMax - domain_.vMin));
  }

  // The hits of b continue the pieces of the closest hits of a; whether all of both were connected.
  bool link(const CurveSample& a, CurveSample& b) const {
    std::size_t links = 0;
    b.pieces.assign(b.hits.size(), -1);
    for (std::size_t i = 0; i < a.hits.size(); ++i) {
      double least = kLargeMove;
      std::size_t closest = b.hits.size();
      for (std::size_t j = 0; j < b.hits.size(); ++j) {
        const double moved = move(a.hits[i], b.hits[j]);
        if (b.pieces[j] < 0 && moved <= least) {
          least = moved;
          closest = j;
        }
      }
      if (closest == b.hits.size()) continue;
      b.pieces[closest] = a.pieces[i];
      ++links;
    }
    return links == a.hits.size() && links == b.hits.size();
  }

  // Appends the samples behind a, up to b, to the pieces.
  void connect(const CurveSample& a, CurveSample& b, int halvings) {
    const bool isWhole = link(a, b);
    const bool isNarrow = b.t - a.t <= kJumpWidth * interval_.length();
    if (isWhole || isNarrow || halvings == 0 || sampleCount_ >= kMostSamples) {
      append(b);
      return;
    }
    CurveSample middle = sampleAt(a.t + (b.t - a.t) / 2, &a);
    connect(a, middle, halvings - 1);
    connect(middle, b, halvings - 1);
  }

  // A hit that continues nothing begins a piece.
  void append(CurveSample& sample) {
    for (std::size_t k = 0; k < sample.hits.size(); ++k) {
      if (sample.pieces[k] < 0) {
        sample.pieces[k] = static_cast<int>(pieces_.size());
        pieces_.emplace_back();
      }
      SamplePoint point;
      point.parameter = sample.t;
      point.source = sample.source;
      point.hit = sample.hits[k];
      pieces_[std::size_t(sample.pieces[k])].push_back(point);
    }
  }

  std::vector<SamplePoint> thinned(const std::vector<SamplePoint>& piece) const {
    std::vector<SamplePoint> kept;
    for (const SamplePoint& sample : piece) {
      if (kept.empty() || isApart(kept.back(), sample)) kept.push_back(sample);
    }
    // The end is kept, in place of one that stands too close to it.
    if (kept.back().parameter == piece.back().parameter) return kept;
    if (kept.size() > 1) kept.pop_back();
    if (isApartAtAll(kept.back(), piece.back())) kept.push_back(piece.back());
    return kept;
  }

  bool isApartAtAll(const SamplePoint& a, const SamplePoint& b) const {
    return b.parameter - a.parameter >= kLeastStep * interval_.length();
  }

  bool isApart(const SamplePoint& a, const SamplePoint& b) const {
    return isApartAtAll(a, b) && (b.parameter - a.parameter >= kThinStep * ordinaryStep_ ||
                                  move(a.hit, b.hit) >= kThinMove);
  }

  bool isCurve(const std::vector<SamplePoint>& piece) const {
    double length = 0.0;
    for (std::size_t k = 1; k < piece.size(); ++k)
      length += piece[k].hit.point.distanceTo(piece[k - 1].hit.point);
    return length > kPointShare * projector_.search().size();
  }

  const geometry::Curve& curve_;
  const PointProjector& projector_;
  const geometry::ParameterDomain domain_;
  const geometry::ParameterInterval interval_;
  const double ordinaryStep_;
  std::vector<std::vector<SamplePoint>> pieces_;
  std::size_t sampleCount_ = 0;
  foundation::progress::Stage* stage_ = nullptr;  // while pieces are made
};

bool isAlongDirection(const UnifiedProjectionParams& params) {
  return params.projection_type == ProjectionType::View ||
         params.projection_type == ProjectionType::CustomVector;
}

bool standsAtRightAngles(const SurfaceSearch& search, const Point3D& point,
                         const ProjectedPoint& foot) {
  const auto at = TrueDerivatives(search.surface())(foot.u, foot.v, 1);
  const Vector3D d = at.point - point;
  const double limit = kRightAngle * (d.magnitude() + kRightAngle * search.size());
  return std::abs(d.dot(at.Su)) <= limit * at.Su.magnitude() &&
         std::abs(d.dot(at.Sv)) <= limit * at.Sv.magnitude();
}

}  // namespace

PointProjector::PointProjector(const SurfaceSearch& search, const UnifiedProjectionParams& params)
    : search_(search), params_(params) {
  if (isAlongDirection(params))
    direction_ = UnifiedProjectionEngine::resolve_projection_direction(params);
}

std::vector<ProjectedPoint> PointProjector::hitsOf(const Point3D& point,
                                                   const ProjectedPoint* neighbour) const {
  if (direction_) return crossingsOf(point);
  const ProjectedPoint closest =
      neighbour ? search_.closestFrom(point, neighbour->u, neighbour->v) : search_.closest(point);
  if (!std::isfinite(closest.distance)) return {};
  if (params_.projection_type == ProjectionType::SurfaceNormal) return feetOf(point, closest);
  return {closest};
}

std::vector<ProjectedPoint> PointProjector::feetOf(const Point3D& point,
                                                   const ProjectedPoint& closest) const {
  const bool wantsOne = params_.multiple_intersections == MultipleIntersections::Nearest;
  if (wantsOne && standsAtRightAngles(search_, point, closest)) return {closest};
  return UnifiedProjectionEngine::handle_multiple_intersections(search_.normalFeet(point),
                                                                params_.multiple_intersections);
}

std::vector<ProjectedPoint> PointProjector::crossingsOf(const Point3D& point) const {
  std::vector<ProjectedPoint> hits = search_.crossings(point, *direction_, params_.max_iterations);
  // A point on the surface lies neither before nor behind it.
  const double onSurface = kRightAngle * search_.size();
  if (params_.forward_only)
    std::erase_if(hits, [&](const ProjectedPoint& hit) { return hit.along < -onSurface; });
  return UnifiedProjectionEngine::handle_multiple_intersections(std::move(hits),
                                                                params_.multiple_intersections);
}

std::vector<std::vector<SamplePoint>> projectedPieces(const geometry::Curve& curve,
                                                      const PointProjector& projector,
                                                      const UnifiedProjectionParams& params) {
  return PieceMaker(curve, projector, params).pieces(params.sample_count);
}

std::optional<SamplePoint> sampleNear(const geometry::Curve& curve, const PointProjector& projector,
                                      double t, double u, double v) {
  SamplePoint sample;
  sample.parameter = t;
  sample.source = curve.evaluate(t);
  ProjectedPoint start;
  start.u = u;
  start.v = v;
  const auto hits = projector.hitsOf(sample.source, &start);
  const auto domain = projector.search().surface().getParameterDomain();
  double least = kLargeMove;
  std::optional<SamplePoint> nearest;
  for (const ProjectedPoint& hit : hits) {
    const double moved = std::max(std::abs(hit.u - u) / (domain.uMax - domain.uMin),
                                  std::abs(hit.v - v) / (domain.vMax - domain.vMin));
    if (!(moved <= least)) continue;
    least = moved;
    sample.hit = hit;
    nearest = sample;
  }
  return nearest;
}

}  // namespace trova::projection::internal
