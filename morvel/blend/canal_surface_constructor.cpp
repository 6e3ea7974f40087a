#include "morvel/blend/canal_surface_constructor.h"

#include <algorithm>
#include <cmath>

#include "morvel/blend/internal/net_interpolation.h"
#include "morvel/fitting/global_interpolation.h"
#include "morvel/fitting/surface_engine1.h"
#include "morvel/foundation/progress.h"

namespace trova::geometry::blend {
namespace {

constexpr int kMostSections = 1000;
/// Contacts whose directions from the centre are closer than this sine give no arc.
constexpr double kLeastSine = 1e-6;
constexpr double kFitTolerances = 10.0;  // a fitted surface may be so many tolerances away

/// Points at equal angles about a centre, from `start` (a vector from it) towards `goal`.
std::vector<Point3D> arcAbout(const Point3D& centre, const Vector3D& start, const Vector3D& goal,
                              std::span<const double> shares, bool shorterArc) {
  const double radius = start.magnitude();
  const Vector3D e1 = start / radius;
  const Vector3D across = goal - e1 * goal.dot(e1);
  const double height = across.magnitude();
  if (!(height > kLeastSine * radius)) return {};
  const double angle = std::atan2(height, goal.dot(e1));
  constexpr double kTurn = 6.28318530717958647692;
  const double sweep = shorterArc ? angle : angle - kTurn;
  const double end = goal.magnitude();
  std::vector<Point3D> points;
  points.reserve(shares.size());
  for (const double t : shares) {
    const double r = radius + (end - radius) * t;
    points.push_back(centre + e1 * (r * std::cos(sweep * t)) +
                     across * (r / height * std::sin(sweep * t)));
  }
  return points;
}

std::vector<Point3D> sectionOf(const BallStation& station, std::span<const double> shares,
                               const CanalSurfaceConfig& config) {
  switch (static_cast<CrossSectionKind>(config.cross_section_kind)) {
    case CrossSectionKind::ConstrainedBSpline:
      return CanalSurfaceConstructor::generateConstrainedBSplineCrossSection(station, shares);
    case CrossSectionKind::Arc:
      if (config.shorter_arc)
        return CanalSurfaceConstructor::generateArcCrossSection(station, shares);
      break;
    case CrossSectionKind::Circular:
      break;
  }
  return CanalSurfaceConstructor::generateCircularCrossSection(station, shares, config.shorter_arc);
}

class Builder {
 public:
  Builder(const BallPath& path, const CanalSurfaceConfig& config)
      : path_(path),
        config_(config),
        across_(std::max({config.samples_across, config.section_points, config.degree_v + 1}),
                config.degree_v) {}

  CanalResult build() {
    foundation::progress::Stage stage("building the surface");
    int count = std::clamp(config_.samples_along, config_.degree_u + 1, kMostSections);
    if (!config_.interpolate) return fitted(count);
    for (;; count = std::min(2 * count, kMostSections)) {
      result_.surface = through(count);
      if (!result_.surface) return std::move(result_);
      if (!config_.refine_along && !config_.check_surface) return std::move(result_);
      if (!measure(count)) return fail();
      const bool isDone = !config_.refine_along || result_.deviation <= config_.position_tolerance;
      if (!isDone && count < kMostSections) continue;
      stage.finish();
      return std::move(result_);
    }
  }

 private:
  CanalResult fitted(int count) {
    std::vector<Point3D> points;
    for (int i = 0; i < count; ++i) {
      const std::vector<Point3D> across = section(i / (count - 1.0));
      if (across.empty()) return fail();
      points.insert(points.end(), across.begin(), across.end());
    }
    SurfaceEngine1 engine(std::move(points), config_.degree_u, config_.degree_v);
    const SurfaceFittingResult fit =
        engine.fit_bspline_surface(SurfaceParameterizationMethod::LEAST_SQUARES_PLANE);
    result_.deviation = fit.max_deviation;
    if (fit.is_valid && fit.surface && fit.surface->isValid() &&
        fit.max_deviation <= kFitTolerances * config_.position_tolerance)
      result_.surface = std::make_unique<BSplineSurface>(*fit.surface);
    else
      result_.error = "SurfaceEngine1 created surface is invalid";
    return std::move(result_);
  }

  CanalResult fail() {
    result_.surface.reset();
    return std::move(result_);
  }

  std::vector<Point3D> section(double t) {
    const auto station = path_(t);
    if (!station) {
      result_.error = "The ball cannot stand at " + std::to_string(t) + " of the spine";
      return {};
    }
    std::vector<Point3D> points = sectionOf(*station, across_.parameters(), config_);
    if (points.empty())
      result_.error = "The contacts leave no arc at " + std::to_string(t) + " of the spine";
    return points;
  }

  std::unique_ptr<BSplineSurface> through(int count) {
    const internal::UniformInterpolation along(count, config_.degree_u);
    const int width = static_cast<int>(across_.parameters().size());
    ControlNet net(count, width);
    foundation::progress::Stage stage(nullptr);
    for (int i = 0; i < count; ++i) {
      stage.report(i, 2.0 * kMostSections);
      const std::vector<Point3D> points = section(along.parameters()[std::size_t(i)]);
      if (points.empty()) return nullptr;
      for (int j = 0; j < width; ++j)
        net(i, j) = points[std::size_t(j)];
    }
    auto surface = internal::surfaceThrough(std::move(net), config_.degree_u, config_.degree_v,
                                            config_.closing == 1);
    if (!surface || !surface->isValid()) {
      result_.error = "Constructed canal surface is invalid";
      return nullptr;
    }
    return surface;
  }

  bool measure(int count) {
    result_.deviation = 0.0;
    const int probes = count / 2;
    foundation::progress::Stage stage(nullptr);
    for (int k = 0; k < probes; ++k) {
      stage.report(0.0);
      const double t = (k + 0.37) / probes;
      const std::vector<Point3D> points = section(t);
      if (points.empty()) return false;
      for (std::size_t j = 0; j < points.size(); j += 3)
        result_.deviation =
            std::max(result_.deviation,
                     result_.surface->evaluate(t, across_.parameters()[j]).distanceTo(points[j]));
    }
    return true;
  }

  const BallPath& path_;
  const CanalSurfaceConfig& config_;
  internal::UniformInterpolation across_;
  CanalResult result_;
};

/// Splines through triplets, by the distances of the centres.
class TripletPath {
 public:
  static std::optional<TripletPath> make(std::span<const Point3D> centres,
                                         std::span<const Point3D> contacts1,
                                         std::span<const Point3D> contacts2,
                                         std::span<const double> radii, double least) {
    TripletPath path;
    const std::vector<Point3D> points(centres.begin(), centres.end());
    const std::vector<double> at = getChordParameterization(points);
    double length = 0.0;
    for (std::size_t k = 1; k < points.size(); ++k)
      length += points[k].distanceTo(points[k - 1]);
    for (std::size_t k = 1; k < points.size(); ++k)
      if (!(points[k].distanceTo(points[k - 1]) > least * length)) return std::nullopt;
    constexpr int kCubic = 3;
    const int degree = std::min(kCubic, static_cast<int>(points.size()) - 1);
    std::vector<Point3D> numbers;
    for (std::size_t k = 0; k < points.size(); ++k)
      numbers.emplace_back(radii[radii.size() == 1 ? 0 : k], 0.0, 0.0);
    const std::vector<Point3D>* rows[] = {&points, nullptr, nullptr, &numbers};
    const std::vector<Point3D> first(contacts1.begin(), contacts1.end());
    const std::vector<Point3D> second(contacts2.begin(), contacts2.end());
    rows[1] = &first;
    rows[2] = &second;
    for (int k = 0; k < 4; ++k) {
      path.curves_[k] = globalInterpolation(*rows[k], degree, at);
      if (!path.curves_[k]) return std::nullopt;
    }
    return path;
  }

  std::optional<BallStation> at(double t) const {
    BallStation station;
    station.centre = curves_[0]->evaluate(t);
    station.radius = curves_[3]->evaluate(t).x();
    station.along = curves_[0]->evaluateDerivatives(t, 1)[1];
    if (!(station.radius > 0.0)) return std::nullopt;
    const auto onBall = [&](int which, Vector3D& normal) {
      const Vector3D out = curves_[which]->evaluate(t) - station.centre;
      normal = out / out.magnitude();
      return station.centre + normal * station.radius;
    };
    station.contact1 = onBall(1, station.normal1);
    station.contact2 = onBall(2, station.normal2);
    if (!station.contact1.isFinite() || !station.contact2.isFinite()) return std::nullopt;
    return station;
  }

 private:
  std::shared_ptr<const BSplineCurve> curves_[4];
};

}  // namespace

std::vector<Point3D> CanalSurfaceConstructor::generateCircularCrossSection(
    const BallStation& station, std::span<const double> shares, bool shorterArc) {
  return arcAbout(station.centre, station.contact1 - station.centre,
                  station.contact2 - station.centre, shares, shorterArc);
}

std::vector<Point3D> CanalSurfaceConstructor::generateArcCrossSection(
    const BallStation& station, std::span<const double> shares) {
  const Vector3D& along = station.along;
  const double length = along.magnitude();
  const Vector3D toContact =
      (station.contact1 - station.centre) + (station.contact2 - station.centre);
  // Both contacts lie at the same height along the path, that of the circle's centre.
  const Vector3D shift =
      length > 0.0 ? along * (toContact.dot(along) / (2.0 * length * length)) : Vector3D();
  const Point3D centre = station.centre + shift;
  return arcAbout(centre, station.contact1 - centre, station.contact2 - centre, shares, true);
}

std::vector<Point3D> CanalSurfaceConstructor::generateConstrainedBSplineCrossSection(
    const BallStation& station, std::span<const double> shares) {
  const Vector3D a = station.contact1 - station.centre;
  const Vector3D b = station.contact2 - station.centre;
  const double r = a.magnitude();
  const double cosine = std::clamp(a.dot(b) / (r * b.magnitude()), -1.0, 1.0);
  const Vector3D acrossA = b - a * (b.dot(a) / a.squaredMagnitude());
  const Vector3D acrossB = a - b * (a.dot(b) / b.squaredMagnitude());
  if (!(acrossA.magnitude() > kLeastSine * r)) return {};
  const double handle = 4.0 / 3.0 * std::tan(std::acos(cosine) / 4.0) * r;
  const Point3D p0 = station.contact1, p3 = station.contact2;
  const Point3D p1 = p0 + acrossA * (handle / acrossA.magnitude());
  const Point3D p2 = p3 + acrossB * (handle / acrossB.magnitude());
  std::vector<Point3D> points;
  points.reserve(shares.size());
  for (const double t : shares) {
    const double s = 1.0 - t;
    points.push_back(p0 * (s * s * s) + p1 * (3 * s * s * t) + p2 * (3 * s * t * t) +
                     p3 * (t * t * t));
  }
  return points;
}

CanalResult CanalSurfaceConstructor::constructCanalSurface(const BallPath& path,
                                                           const CanalSurfaceConfig& config) {
  CanalResult none;
  constexpr int kHighestDegree = 9;
  const auto isDegree = [](int degree) { return degree >= 1 && degree <= kHighestDegree; };
  if (!isDegree(config.degree_u) || !isDegree(config.degree_v)) {
    none.error = "The degrees of the canal surface must be 1-9";
    return none;
  }
  return Builder(path, config).build();
}

CanalResult CanalSurfaceConstructor::constructFromTriplets(std::span<const Point3D> centres,
                                                           std::span<const Point3D> contacts1,
                                                           std::span<const Point3D> contacts2,
                                                           std::span<const double> radii,
                                                           const CanalSurfaceConfig& config) {
  CanalResult none;
  none.error = "A canal needs at least two centres with two contacts each";
  const std::size_t count = centres.size();
  if (count < 2 || contacts1.size() != count || contacts2.size() != count) return none;
  if (radii.size() != 1 && radii.size() != count) return none;
  const auto path =
      TripletPath::make(centres, contacts1, contacts2, radii, config.parameter_tolerance);
  none.error = "No path through the centres: neighbours coincide or are not finite";
  if (!path) return none;
  return constructCanalSurface([&](double t) { return path->at(t); }, config);
}

}  // namespace trova::geometry::blend
