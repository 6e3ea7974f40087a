#include "morvel/blend/offset_surface_generator.h"

#include <algorithm>

#include "morvel/blend/internal/net_interpolation.h"
#include "morvel/blend/internal/offset_field.h"
#include "morvel/foundation/progress.h"

namespace trova::geometry::blend {
namespace {

constexpr int kDegree = 3;

bool hasNormal(const internal::Jet& jet) {
  return jet.normal.squaredNorm() > 0.0 && jet.normal.allFinite();
}

/// At a pole what is seen at a place close by, towards the middle of the domain.
internal::Jet besidePole(const internal::OffsetField& field, double u, double v) {
  constexpr double kInward = 1e-5;
  const ParameterDomain& d = field.domain();
  return field.at(u + kInward * ((d.uMin + d.uMax) / 2 - u),
                  v + kInward * ((d.vMin + d.vMax) / 2 - v));
}

int degreeFor(int count) { return std::min(kDegree, count - 1); }

std::vector<double> spreadOver(double low, double high, int count) {
  std::vector<double> parameters = OffsetSurfaceGenerator::generateParameterGrid(count);
  for (double& t : parameters)
    t = low + (high - low) * t;
  return parameters;
}

}  // namespace

std::vector<double> OffsetSurfaceGenerator::generateParameterGrid(int count) {
  return internal::UniformInterpolation(count, degreeFor(count)).parameters();
}

NormalSamples OffsetSurfaceGenerator::sampleSurfaceWithNormals(const Surface& surface,
                                                               const std::vector<double>& us,
                                                               const std::vector<double>& vs,
                                                               double distance) {
  NormalSamples samples;
  samples.nU = static_cast<int>(us.size());
  samples.nV = static_cast<int>(vs.size());
  const internal::OffsetField field(surface, distance);
  foundation::progress::Stage stage("sampling normals");
  for (const double u : us) {
    stage.report(double(samples.points.size()), double(us.size() * vs.size()));
    for (const double v : vs) {
      const internal::Jet jet = field.at(u, v);
      const internal::Jet seen = hasNormal(jet) ? jet : besidePole(field, u, v);
      const Vector3D normal = hasNormal(seen) ? Vector3D(seen.normal) : Vector3D();
      const Vector3D moved = hasNormal(jet) ? normal * distance : Vector3D();
      samples.points.push_back(Point3D(jet.point) - moved);
      samples.normals.push_back(normal);
      if (!hasNormal(seen)) ++samples.without_normal;
      if (seen.folded) ++samples.folded;
    }
  }
  return samples;
}

std::unique_ptr<BSplineSurface> OffsetSurfaceGenerator::fitBSplineToOffsetPoints(
    const std::vector<Point3D>& points, int nU, int nV) {
  const bool isUsable =
      nU >= 2 && nV >= 2 && points.size() == std::size_t(nU) * std::size_t(nV) &&
      std::all_of(points.begin(), points.end(), [](const Point3D& p) { return p.isFinite(); });
  if (!isUsable) return nullptr;
  ControlNet net(nU, nV);
  for (int i = 0; i < nU; ++i)
    for (int j = 0; j < nV; ++j)
      net(i, j) = points[std::size_t(i) * std::size_t(nV) + std::size_t(j)];
  return internal::surfaceThrough(std::move(net), degreeFor(nU), degreeFor(nV));
}

std::unique_ptr<BSplineSurface> OffsetSurfaceGenerator::createOffsetSurface(const Surface& surface,
                                                                            double distance,
                                                                            int resolution) {
  return createOffsetSurface(
      surface, [distance](double, double) { return distance; }, resolution);
}

std::unique_ptr<BSplineSurface> OffsetSurfaceGenerator::createOffsetSurface(
    const Surface& surface, const Distance& distance, int resolution) {
  if (resolution < 2 || !surface.isValid()) return nullptr;
  foundation::progress::Stage stage("offsetting a surface");
  const ParameterDomain domain = surface.getParameterDomain();
  const std::vector<double> us = spreadOver(domain.uMin, domain.uMax, resolution);
  const std::vector<double> vs = spreadOver(domain.vMin, domain.vMax, resolution);
  NormalSamples samples = sampleSurfaceWithNormals(surface, us, vs);
  if (samples.without_normal > 0) return nullptr;
  std::size_t k = 0;
  for (const double u : us)
    for (const double v : vs) {
      samples.points[k] = samples.points[k] + samples.normals[k] * distance(u, v);
      ++k;
    }
  auto offset = fitBSplineToOffsetPoints(samples.points, samples.nU, samples.nV);
  stage.finish();
  return offset;
}

}  // namespace trova::geometry::blend
