// The operations of the engine on curves.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <stdexcept>

#include "morvel/curves/curve2d.h"
#include "morvel/curves/curve_rebuild.h"
#include "morvel/foundation/progress.h"
#include "morvel/query/internal/hermite_spline.h"
#include "morvel/query/internal/projected_samples.h"
#include "morvel/query/internal/true_derivatives.h"
#include "morvel/query/unified_projection_engine.h"

namespace trova::projection {
namespace {

using foundation::Point2D;
using foundation::progress::Stage;
using geometry::BSplineCurve2D;
using internal::HermiteSpline;
using internal::PointProjector;

using Samples = std::vector<SamplePoint>;

constexpr int kCubic = 3;
constexpr int kMostRounds = 16;  // of adding samples
constexpr std::size_t kMostSamples = 20000;
/// Samples are not added where their steps fall below this share of the piece.
constexpr double kLeastStep = 1e-9;
/// Samples are added until the curve is this much closer than asked, since what is measured later
/// lies between the places looked at here.
constexpr double kRefinedShare = 0.5;
/// Places in every interval of the samples where a deviation is measured.
constexpr int kMeasured = 4;

constexpr int kFewestFitPoints = 8;
constexpr int kMostFitPoints = 2048;

// Where the steps of one curve's projection end, of its time.
constexpr double kUntilSampled = 0.3;
constexpr double kUntilRefined = 0.6;
constexpr double kUntilFitted = 0.8;

constexpr double kFullScore = 100.0;
const double kCornerCosine = std::cos(std::numbers::pi / 6);

Point2D uvOf(const SamplePoint& sample) { return {sample.hit.u, sample.hit.v}; }
Point2D arriving(const SamplePoint& s) { return {s.arrivingU, s.arrivingV}; }
Point2D leaving(const SamplePoint& s) { return {s.leavingU, s.leavingV}; }

Eigen::Vector2d flat(const Point2D& p) { return {p.x(), p.y()}; }

bool isSmooth(const SamplePoint& s) {
  return s.arrivingU == s.leavingU && s.arrivingV == s.leavingV;
}

// The slopes, at its three points, of the parabola through them.
struct ParabolaSlopes {
  Eigen::Vector2d first, middle, last;

  ParabolaSlopes(const Eigen::Vector2d& a, const Eigen::Vector2d& b, const Eigen::Vector2d& c,
                 double before, double behind) {
    const Eigen::Vector2d left = (b - a) / before;
    const Eigen::Vector2d right = (c - b) / behind;
    middle = (left * behind + right * before) / (before + behind);
    first = 2.0 * left - middle;
    last = 2.0 * right - middle;
  }
};

void setArriving(SamplePoint& s, const Eigen::Vector2d& slope) {
  s.arrivingU = slope[0];
  s.arrivingV = slope[1];
}
void setLeaving(SamplePoint& s, const Eigen::Vector2d& slope) {
  s.leavingU = slope[0];
  s.leavingV = slope[1];
}

bool turnsSharply(const Point3D& a, const Point3D& b, const Point3D& c) {
  const Vector3D in = b - a;
  const Vector3D out = c - b;
  return in.dot(out) < kCornerCosine * in.magnitude() * out.magnitude();
}

ParabolaSlopes slopesAt(const Samples& s, std::size_t k) {
  return {flat(uvOf(s[k - 1])), flat(uvOf(s[k])), flat(uvOf(s[k + 1])),
          s[k].parameter - s[k - 1].parameter, s[k + 1].parameter - s[k].parameter};
}

// Between corners only: tangents of the stretch from sample `from` to sample `to`.
void setTangents(Samples& s, std::size_t from, std::size_t to) {
  if (to == from + 1) {
    const Eigen::Vector2d slope =
        (flat(uvOf(s[to])) - flat(uvOf(s[from]))) / (s[to].parameter - s[from].parameter);
    setLeaving(s[from], slope);
    setArriving(s[to], slope);
    return;
  }
  for (std::size_t k = from + 1; k < to; ++k) {
    const ParabolaSlopes slopes = slopesAt(s, k);
    setArriving(s[k], slopes.middle);
    setLeaving(s[k], slopes.middle);
    if (k == from + 1) setLeaving(s[from], slopes.first);
    if (k + 1 == to) setArriving(s[to], slopes.last);
  }
}

// One tangent where the end of a closed curve joins its start.
void joinEnds(Samples& s) {
  const std::size_t end = s.size() - 1;
  const ParabolaSlopes slopes(flat(uvOf(s[end - 1])), flat(uvOf(s[0])), flat(uvOf(s[1])),
                              s[end].parameter - s[end - 1].parameter,
                              s[1].parameter - s[0].parameter);
  setLeaving(s[0], slopes.middle);
  setArriving(s[end], slopes.middle);
}

bool isClosedInPlane(const Samples& s) {
  constexpr double kSameParameters = 1e-9;
  return s.size() > kCubic && std::abs(s.front().hit.u - s.back().hit.u) < kSameParameters &&
         std::abs(s.front().hit.v - s.back().hit.v) < kSameParameters;
}

void setTangents(Samples& samples, const UnifiedProjectionParams& params) {
  UnifiedProjectionEngine::apply_tangent_continuity(
      samples, !params.tangent_continuity, params.tangent_continuity && isClosedInPlane(samples));
}

// u and v of the curve through samples k and k + 1, half-way between them.
Point2D middleOf(const SamplePoint& a, const SamplePoint& b) {
  const double eighth = (b.parameter - a.parameter) / 8;
  const Eigen::Vector2d at =
      (flat(uvOf(a)) + flat(uvOf(b))) / 2 + eighth * (flat(leaving(a)) - flat(arriving(b)));
  return {at[0], at[1]};
}

Point3D pointOn(const Surface& surface, const Point2D& uv) {
  const geometry::ParameterDomain d = surface.getParameterDomain();
  return surface.evaluate(std::clamp(uv.x(), d.uMin, d.uMax), std::clamp(uv.y(), d.vMin, d.vMax));
}

// One round: a sample half-way wherever the curve strays there. Whether any was added.
bool addSamples(Samples& samples, const Curve& curve, const PointProjector& projector,
                double tolerance) {
  const double least = kLeastStep * (samples.back().parameter - samples.front().parameter);
  Stage stage("refining");
  Samples finer;
  for (std::size_t k = 0; k + 1 < samples.size(); ++k) {
    stage.report(double(k), double(samples.size()));
    const SamplePoint& a = samples[k];
    const SamplePoint& b = samples[k + 1];
    finer.push_back(a);
    if (b.parameter - a.parameter < 2 * least || samples.size() >= kMostSamples) continue;
    const Point2D uv = middleOf(a, b);
    const auto exact = internal::sampleNear(
        curve, projector, a.parameter + (b.parameter - a.parameter) / 2, uv.x(), uv.y());
    if (exact && exact->hit.point.distanceTo(pointOn(projector.search().surface(), uv)) > tolerance)
      finer.push_back(*exact);
  }
  finer.push_back(samples.back());
  const bool hasMore = finer.size() > samples.size();
  samples = std::move(finer);
  return hasMore;
}

void refine(Samples& samples, const Curve& curve, const PointProjector& projector,
            const UnifiedProjectionParams& params) {
  for (int round = 0; round < kMostRounds; ++round) {
    // Each round looks at what the one before it has added.
    const double left = std::ldexp(1.0, -round);
    const Stage stage("refining", 1.0 - left, 1.0 - left / 2);
    if (!addSamples(samples, curve, projector, kRefinedShare * params.tolerance)) break;
    setTangents(samples, params);
  }
}

double lengthOf(const Samples& samples) {
  double length = 0.0;
  for (std::size_t k = 1; k < samples.size(); ++k)
    length += samples[k].hit.point.distanceTo(samples[k - 1].hit.point);
  return length;
}

std::vector<Samples> sampledOnce(const Curve& curve, const PointProjector& projector,
                                 const UnifiedProjectionParams& params) {
  const Stage stage("sampling", 0.0, kUntilSampled);
  return internal::projectedPieces(curve, projector, params);
}

std::vector<Samples> sampledPieces(const Curve& curve, const PointProjector& projector,
                                   const UnifiedProjectionParams& params) {
  std::vector<Samples> pieces = sampledOnce(curve, projector, params);
  if (params.longest_piece_only && pieces.size() > 1) {
    const auto longest = std::max_element(
        pieces.begin(), pieces.end(),
        [](const Samples& a, const Samples& b) { return lengthOf(a) < lengthOf(b); });
    std::iter_swap(pieces.begin(), longest);
    pieces.resize(1);
  }
  Stage stage("refining", kUntilSampled, kUntilRefined);
  for (std::size_t k = 0; k < pieces.size(); ++k) {
    Samples& samples = pieces[k];
    const Stage piece(nullptr, double(k) / double(pieces.size()),
                      double(k + 1) / double(pieces.size()));
    setTangents(samples, params);
    if (params.fitting_method == ProjectionFitting::Adaptive)
      refine(samples, curve, projector, params);
  }
  return pieces;
}

void requireFinite(const SurfaceSearch& search) {
  if (!search.isFinite()) throw std::invalid_argument("Surface is not finite");
}

// The derivative by parameter of the curve through the samples, in space.
Vector3D inSpace(const internal::TrueDerivatives& derivatives, const SamplePoint& sample,
                 const Point2D& slope) {
  const auto at = derivatives(sample.hit.u, sample.hit.v, 1);
  return at.Su * slope.x() + at.Sv * slope.y();
}

std::unique_ptr<BSplineCurve> throughSamples(const Surface& surface, const Samples& samples) {
  const internal::TrueDerivatives derivatives(surface);
  using Vector = Eigen::Vector3d;
  HermiteSpline<Vector> spline(samples.front().parameter, samples.front().hit.point.eigen());
  for (std::size_t k = 1; k < samples.size(); ++k) {
    const SamplePoint& a = samples[k - 1];
    const SamplePoint& b = samples[k];
    spline.append(b.parameter, b.hit.point.eigen(), inSpace(derivatives, a, leaving(a)).eigen(),
                  inSpace(derivatives, b, arriving(b)).eigen(), isSmooth(a));
  }
  spline.finish();
  std::vector<Point3D> points;
  for (const Vector& point : spline.controlPoints)
    points.emplace_back(point);
  return std::make_unique<BSplineCurve>(std::move(points), std::move(spline.knots), kCubic);
}

// At a few places in every interval of the samples, and at two for every control point.
double deviationBetween(const BSplineCurve& fitted, const Curve& exact, const Samples& samples) {
  const std::size_t intervals = samples.size() - 1;
  const auto wanted = 2 * static_cast<std::size_t>(fitted.getControlPointCount()) / intervals;
  const int places = static_cast<int>(std::max<std::size_t>(kMeasured, wanted + 1));
  double largest = 0.0;
  Stage stage("measuring");
  for (std::size_t k = 1; k < samples.size(); ++k) {
    stage.report(0.0);
    const double from = samples[k - 1].parameter;
    const double step = (samples[k].parameter - from) / places;
    for (int i = 0; i < places; ++i) {
      const double t = from + step * (i + 0.5);
      largest = std::max(largest, fitted.evaluate(t).distanceTo(exact.evaluate(t)));
    }
  }
  return largest;
}

double scoreOf(double deviation, double tolerance) {
  return deviation <= tolerance ? kFullScore : kFullScore * tolerance / deviation;
}

double fitTolerance(const UnifiedProjectionParams& params) {
  return params.fitting_method == ProjectionFitting::Loose
             ? std::max(params.fitting_tolerance, params.tolerance)
             : params.tolerance;
}

std::vector<ProjectionResult> projectOnto(const Curve& curve,
                                          const std::shared_ptr<const Surface>& surface,
                                          const SurfaceSearch& search,
                                          const UnifiedProjectionParams& params) {
  const PointProjector projector(search, params);
  std::vector<ProjectionResult> results;
  std::vector<Samples> pieces = sampledPieces(curve, projector, params);
  for (std::size_t k = 0; k < pieces.size(); ++k) {
    Samples& samples = pieces[k];
    const double each = (1.0 - kUntilRefined) / double(pieces.size());
    const Stage stage("fitting", kUntilRefined + double(k) * each,
                      kUntilRefined + double(k + 1) * each);
    ProjectionResult piece;
    piece.samples = std::move(samples);
    piece.curve_on_surface =
        UnifiedProjectionEngine::create_curve_on_surface(piece.samples, surface);
    double deviation = 0.0;
    if (params.result_type != ProjectionResultType::CurveOnSurface)
      piece.curve_3d = UnifiedProjectionEngine::fit_3d_projected_curve(
          *piece.curve_on_surface, piece.samples, fitTolerance(params), deviation);
    piece.quality =
        UnifiedProjectionEngine::calculate_quality_metrics(piece, curve, search, params);
    piece.quality.max_fit_deviation = deviation;
    const double larger = std::max(piece.quality.max_deviation, deviation);
    piece.quality.quality_score = scoreOf(larger, params.tolerance);
    results.push_back(std::move(piece));
  }
  return results;
}

using Surfaces = std::span<const std::shared_ptr<const Surface>>;

std::vector<std::unique_ptr<SurfaceSearch>> searchesOf(Surfaces surfaces) {
  std::vector<std::unique_ptr<SurfaceSearch>> searches;
  for (const auto& surface : surfaces) {
    searches.push_back(std::make_unique<SurfaceSearch>(*surface));
    requireFinite(*searches.back());
  }
  return searches;
}

void requireValid(const UnifiedProjectionParams& params) {
  if (!params.validate()) throw std::invalid_argument("Invalid projection parameters");
}

}  // namespace

ProjectionReport UnifiedProjectionEngine::project_geometry(std::span<const Curve* const> curves,
                                                           Surfaces surfaces,
                                                           const UnifiedProjectionParams& params) {
  requireValid(params);
  Stage stage("projecting curves");
  const auto searches = searchesOf(surfaces);
  ProjectionReport report;
  const double each = 1.0 / (double(curves.size()) * double(surfaces.size()));
  for (std::size_t c = 0; c < curves.size(); ++c) {
    for (std::size_t s = 0; s < surfaces.size(); ++s) {
      const auto done = double(report.outcomes.size());
      const Stage pair("projecting a curve", done * each, (done + 1) * each);
      ProjectionOutcome outcome;
      outcome.curve = static_cast<int>(c);
      outcome.surface = static_cast<int>(s);
      outcome.pieces = projectOnto(*curves[c], surfaces[s], *searches[s], params);
      outcome.success = !outcome.pieces.empty();
      if (!outcome.success) outcome.message = "The curve's projection misses the surface";
      report.outcomes.push_back(std::move(outcome));
    }
  }
  stage.finish();
  return report;
}

std::vector<std::vector<Point3D>> UnifiedProjectionEngine::generate_preview(
    std::span<const Curve* const> curves, Surfaces surfaces,
    const UnifiedProjectionParams& params) {
  requireValid(params);
  Stage stage("projecting curves");
  const auto searches = searchesOf(surfaces);
  std::vector<std::vector<Point3D>> polylines;
  const double each = 1.0 / (double(curves.size()) * double(surfaces.size()));
  double done = 0.0;
  for (const Curve* curve : curves) {
    for (const auto& search : searches) {
      const Stage pair("projecting a curve", done * each, (done + 1) * each);
      done += 1;
      for (const Samples& samples : sample_and_project_curve(*curve, *search, params)) {
        std::vector<Point3D>& line = polylines.emplace_back();
        for (const SamplePoint& sample : samples)
          line.push_back(sample.hit.point);
      }
    }
  }
  stage.finish();
  return polylines;
}

std::vector<ProjectionResult> UnifiedProjectionEngine::project_single_curve(
    const Curve& curve, const std::shared_ptr<const Surface>& surface,
    const UnifiedProjectionParams& params) {
  requireValid(params);
  if (!surface) throw std::invalid_argument("Surface must not be null");
  Stage stage("projecting a curve");
  const SurfaceSearch search(*surface);
  requireFinite(search);
  std::vector<ProjectionResult> pieces = projectOnto(curve, surface, search, params);
  stage.finish();
  return pieces;
}

std::vector<std::vector<SamplePoint>> UnifiedProjectionEngine::sample_and_project_curve(
    const Curve& curve, const SurfaceSearch& search, const UnifiedProjectionParams& params) {
  requireValid(params);
  return sampledPieces(curve, PointProjector(search, params), params);
}

void UnifiedProjectionEngine::apply_tangent_continuity(std::vector<SamplePoint>& samples,
                                                       bool keepsCorners, bool isClosed) {
  if (samples.size() < 2) return;
  std::size_t from = 0;
  for (std::size_t k = 1; k < samples.size(); ++k) {
    const bool isEnd = k + 1 == samples.size();
    const bool isCorner =
        !isEnd && keepsCorners &&
        turnsSharply(samples[k - 1].hit.point, samples[k].hit.point, samples[k + 1].hit.point);
    if (!isEnd && !isCorner) continue;
    setTangents(samples, from, k);
    from = k;
  }
  if (isClosed) joinEnds(samples);
}

std::unique_ptr<CurveOnSurface> UnifiedProjectionEngine::create_curve_on_surface(
    const std::vector<SamplePoint>& samples, std::shared_ptr<const Surface> surface) {
  if (samples.size() < 2) throw std::invalid_argument("A projected curve needs two samples");
  HermiteSpline<Eigen::Vector2d> spline(samples.front().parameter, flat(uvOf(samples.front())));
  for (std::size_t k = 1; k < samples.size(); ++k) {
    const SamplePoint& a = samples[k - 1];
    const SamplePoint& b = samples[k];
    spline.append(b.parameter, flat(uvOf(b)), flat(leaving(a)), flat(arriving(b)), isSmooth(a));
  }
  spline.finish();
  std::vector<Point2D> points;
  for (const Eigen::Vector2d& point : spline.controlPoints)
    points.emplace_back(point[0], point[1]);
  auto inPlane = std::make_unique<BSplineCurve2D>(points, std::move(spline.knots), kCubic);
  return std::make_unique<CurveOnSurface>(std::move(surface), std::move(inPlane));
}

std::unique_ptr<BSplineCurve> UnifiedProjectionEngine::fit_3d_projected_curve(
    const CurveOnSurface& curve, const std::vector<SamplePoint>& samples, double tolerance,
    double& deviation) {
  Stage stage("fitting", 0.0, kUntilFitted);
  for (int points = kFewestFitPoints; points <= kMostFitPoints; points *= 2) {
    stage.report(points, 2.0 * kMostFitPoints);  // what they take grows like the points
    auto fitted = geometry::rebuildCurve(curve, points, kCubic, nullptr);
    deviation = deviationBetween(*fitted, curve, samples);
    if (deviation <= tolerance) return fitted;
  }
  auto exact = throughSamples(*curve.getBaseSurface(), samples);
  deviation = deviationBetween(*exact, curve, samples);
  return exact;
}

ProjectionQuality UnifiedProjectionEngine::calculate_quality_metrics(
    const ProjectionResult& piece, const Curve& curve, const SurfaceSearch& search,
    const UnifiedProjectionParams& params) {
  ProjectionQuality quality;
  const PointProjector projector(search, params);
  double sum = 0.0;
  int measured = 0;
  Stage stage("measuring", kUntilFitted);
  for (std::size_t k = 1; k < piece.samples.size(); ++k) {
    stage.report(double(k), double(piece.samples.size()));
    const double from = piece.samples[k - 1].parameter;
    const double step = (piece.samples[k].parameter - from) / kMeasured;
    for (int i = 0; i < kMeasured; ++i) {
      const double t = from + step * (i + 0.5);
      const Point2D uv = piece.curve_on_surface->getUVCoordinates(t);
      const auto exact = internal::sampleNear(curve, projector, t, uv.x(), uv.y());
      if (!exact) continue;
      const double deviation = exact->hit.point.distanceTo(pointOn(search.surface(), uv));
      quality.max_deviation = std::max(quality.max_deviation, deviation);
      sum += deviation;
      ++measured;
    }
  }
  quality.mean_deviation = measured > 0 ? sum / measured : 0.0;
  quality.sample_count = static_cast<int>(piece.samples.size());
  for (const SamplePoint& sample : piece.samples) {
    quality.iterations += sample.hit.iterations;
    quality.max_distance = std::max(quality.max_distance, sample.hit.distance);
  }
  quality.quality_score = scoreOf(quality.max_deviation, params.tolerance);
  return quality;
}

double UnifiedProjectionEngine::calculate_curve_length(const Curve& curve, int samples) {
  const geometry::ParameterInterval interval = curve.getParameterInterval();
  const int steps = std::max(samples, 1);
  double length = 0.0;
  Point3D before = curve.evaluate(interval.start);
  for (int k = 1; k <= steps; ++k) {
    const Point3D next = curve.evaluate(interval.start + interval.length() * k / steps);
    length += next.distanceTo(before);
    before = next;
  }
  return length;
}

std::unique_ptr<CurveOnSurface> projectCurve(const Curve& curve,
                                             const std::shared_ptr<const Surface>& surface,
                                             const UnifiedProjectionParams& params) {
  auto pieces = UnifiedProjectionEngine::project_single_curve(curve, surface, params);
  return pieces.size() == 1 ? std::move(pieces.front().curve_on_surface) : nullptr;
}

}  // namespace trova::projection
