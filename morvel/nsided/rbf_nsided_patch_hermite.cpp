// The Hermite path of an N-sided patch: constraints, field, samples, conversion.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <stdexcept>

#include "morvel/curves/curve2d.h"
#include "morvel/foundation/principal_axes.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"
#include "morvel/nsided/internal/neighbour_surface.h"
#include "morvel/nsided/rbf_nsided_patch.h"

namespace trova::geometry {
namespace {

constexpr int kDegree = 3;
constexpr int kResolution = 50;
constexpr int kFewestResolution = 4;
constexpr int kMostResolution = 500;
constexpr int kPlanarSteps = 500;
constexpr double kPlanarTolerance = 1e-6;  // of the length of a line
constexpr int kSphereLongitudes = 64;
constexpr int kSphereLatitudes = 32;
constexpr int kSphereSteps = 128;
constexpr double kSphereField = 1e-4;    // |f| over the radius that counts as on the surface
constexpr double kSphereBracket = 1e-5;  // of the radius, at which halving ends
constexpr int kMostHalvings = 60;
constexpr double kNearField = 0.1;
constexpr double kFieldSlope = 10.0;
constexpr double kCoincidence = 1e-7;  // of the loop's size

/// The plane nearest to points, with their extents in it.
struct LoopPlane {
  Point3D middle;  // of the box
  Vector3D a, b, normal;
  double halfA = 0.0, halfB = 0.0;
  double size = 0.0;
};

std::optional<LoopPlane> planeOf(const std::vector<nsided::G0Constraint>& samples) {
  std::vector<Point3D> points;
  points.reserve(samples.size());
  for (const nsided::G0Constraint& sample : samples)
    points.push_back(sample.target);
  const auto axes = foundation::principalAxes(points);
  if (!axes || !(axes->spread[2] > 0.0)) return std::nullopt;
  LoopPlane plane;
  plane.a = axes->axes[2];
  plane.b = axes->axes[1];
  plane.normal = axes->axes[0];
  double lowA = 0, highA = 0, lowB = 0, highB = 0;
  for (const Point3D& p : points) {
    const Vector3D d = p - axes->centroid;
    lowA = std::min(lowA, d.dot(plane.a));
    highA = std::max(highA, d.dot(plane.a));
    lowB = std::min(lowB, d.dot(plane.b));
    highB = std::max(highB, d.dot(plane.b));
  }
  plane.middle =
      axes->centroid + plane.a * (0.5 * (lowA + highA)) + plane.b * (0.5 * (lowB + highB));
  plane.halfA = 0.5 * (highA - lowA);
  plane.halfB = 0.5 * (highB - lowB);
  plane.size = 2.0 * std::hypot(plane.halfA, plane.halfB);
  return plane;
}

/// Where the field changes its sign between two points, to within `tolerance` of their distance.
Point3D signChange(const HRBFInterpolator& field, Point3D inside, Point3D outside, double tolerance,
                   double fieldTolerance) {
  const double start = field.Evaluate(inside);
  const double first = inside.distanceTo(outside);
  for (int k = 0; k < kMostHalvings && inside.distanceTo(outside) > tolerance * first; ++k) {
    Point3D middle = inside.midpoint(outside);
    const double value = field.Evaluate(middle);
    if (std::abs(value) < fieldTolerance) return middle;
    (std::signbit(value) == std::signbit(start) ? inside : outside) = middle;
  }
  return inside.midpoint(outside);
}

/// A point over the plane: where the line meets the surface nearest to the plane, else where the
/// field is least.
struct PlanarSample {
  Point3D point;
  double weight = 0.0;
};

PlanarSample sampleLine(const HRBFInterpolator& field, const LoopPlane& plane,
                        const Point3D& foot) {
  const double half = 0.5 * plane.size;
  const auto at = [&](int step) {
    return foot + plane.normal * ((2.0 * step / (kPlanarSteps - 1) - 1.0) * half);
  };
  const int middle = kPlanarSteps / 2;
  Point3D least = at(middle);
  double leastField = std::abs(field.Evaluate(least));
  const double tolerance = kPlanarTolerance * (kPlanarSteps - 1);
  double up = field.Evaluate(least);
  double down = up;
  for (int k = 1; k <= middle; ++k) {
    for (const int side : {1, -1}) {
      const int step = middle + side * k;
      if (step >= kPlanarSteps) continue;
      const Point3D point = at(step);
      const double value = field.Evaluate(point);
      double& before = side > 0 ? up : down;
      if (std::signbit(value) != std::signbit(before))
        return {signChange(field, at(step - side), point, tolerance, 0.0), 1.0};
      before = value;
      if (std::abs(value) < leastField) {
        leastField = std::abs(value);
        least = point;
      }
    }
  }
  const double d = leastField / plane.size;
  return {least, d < kNearField ? 1.0 / (1.0 + kFieldSlope * d) : 0.0};
}

std::vector<PlanarSample> sampleGrid(const HRBFInterpolator& field, const LoopPlane& plane,
                                     int resolution) {
  if (resolution < kFewestResolution || resolution > kMostResolution)
    throw std::invalid_argument("HRBF resolution must be from 4 to 500");
  std::vector<PlanarSample> samples;
  foundation::progress::Stage stage("sampling the field");
  for (int i = 0; i < resolution; ++i) {
    stage.report(i, resolution);
    for (int j = 0; j < resolution; ++j) {
      const double a = (2.0 * i / (resolution - 1) - 1.0) * plane.halfA;
      const double b = (2.0 * j / (resolution - 1) - 1.0) * plane.halfB;
      samples.push_back(sampleLine(field, plane, plane.middle + plane.a * a + plane.b * b));
    }
  }
  return samples;
}

std::vector<Point3D> pointsOf(const std::vector<PlanarSample>& samples) {
  std::vector<Point3D> points;
  points.reserve(samples.size());
  for (const PlanarSample& sample : samples)
    points.push_back(sample.point);
  return points;
}

/// Draws heights of less than full weight to the mean of their neighbours in the grid.
void relax(std::vector<PlanarSample>& samples, const LoopPlane& plane, int resolution,
           int iterations, double tolerance) {
  std::vector<double> found;
  found.reserve(samples.size());
  for (const PlanarSample& sample : samples)
    found.push_back((sample.point - plane.middle).dot(plane.normal));
  std::vector<double> heights = found;
  const auto number = [&](int i, int j) { return static_cast<std::size_t>(i) * resolution + j; };
  foundation::progress::Stage stage("smoothing");
  for (int round = 0; round < iterations; ++round) {
    stage.report(0.0);
    double moved = 0.0;
    for (int i = 0; i < resolution; ++i) {
      for (int j = 0; j < resolution; ++j) {
        const double weight = samples[number(i, j)].weight;
        if (weight >= 1.0) continue;
        double sum = 0.0;
        int count = 0;
        for (const auto& [di, dj] : {std::pair(1, 0), {-1, 0}, {0, 1}, {0, -1}}) {
          if (i + di < 0 || j + dj < 0 || i + di >= resolution || j + dj >= resolution) continue;
          sum += heights[number(i + di, j + dj)];
          ++count;
        }
        const double height = weight * found[number(i, j)] + (1.0 - weight) * sum / count;
        moved = std::max(moved, std::abs(height - heights[number(i, j)]));
        heights[number(i, j)] = height;
      }
    }
    if (!(moved > tolerance * plane.size)) break;
  }
  for (std::size_t k = 0; k < samples.size(); ++k)
    samples[k].point = samples[k].point + plane.normal * (heights[k] - found[k]);
}

SurfaceMesh gridMesh(const std::vector<Point3D>& points, int resolution) {
  const auto net = ControlNet(resolution, resolution, points.front().eigen().data());
  return BSplineSurface::createClamped(net, 1, 1)->tessellateUniform(resolution, resolution);
}

}  // namespace

std::vector<HermiteConstraint> RBFNSidedPatch::convertToHRBFConstraints() const {
  const auto plane = planeOf(constraints_.positions);
  if (!plane) throw std::runtime_error("the boundary spans no plane");
  std::vector<HermiteConstraint> found;
  const std::size_t perCurve = constraints_.positions.size() / getBoundaryCurves().size();
  for (std::size_t k = 0; k < constraints_.positions.size(); ++k) {
    const std::size_t index = k / perCurve;
    const Curve& curve = *getBoundaryCurves()[index];
    Vector3D normal = plane->normal;
    const auto* onSurface = dynamic_cast<const CurveOnSurface*>(&curve);
    if (onSurface && parameters_.continuityLevels[index] >= kTangentContinuity) {
      const ParameterInterval interval = curve.getParameterInterval();
      const double share = static_cast<double>(k % perCurve) / static_cast<double>(perCurve);
      const Vector3D own = internal::trueNormal(
          internal::neighbourAt(*onSurface, interval.start + share * interval.length()));
      if (own.squaredMagnitude() > 0.0) normal = own.dot(normal) < 0.0 ? -own : own;
    }
    const Point3D& point = constraints_.positions[k].target;
    const auto same = std::find_if(found.begin(), found.end(), [&](const HermiteConstraint& c) {
      return c.point.distanceTo(point) <= kCoincidence * plane->size;
    });
    if (same == found.end())
      found.push_back({point, normal});
    else
      same->normal =
          same->normal * parameters_.blendFactor + normal * (1.0 - parameters_.blendFactor);
  }
  return found;
}

bool RBFNSidedPatch::fitHRBFSurface() {
  return hermite_.FitToConstraints(convertToHRBFConstraints());
}

void RBFNSidedPatch::convertHRBFToBSpline() {
  const auto fail = [](const char* reason) {
    throw std::runtime_error(
        foundation::status::join("HRBF to B-spline conversion failed: ", reason));
  };
  if (!hermite_.IsFitted()) fail("the field is not fitted");
  const auto plane = planeOf(constraints_.positions);
  if (!plane || !(plane->halfB > 0.0)) fail("the boundary spans no plane");
  std::vector<PlanarSample> samples = sampleGrid(hermite_, *plane, kResolution);
  relax(samples, *plane, kResolution, parameters_.maxIterations, parameters_.tolerance);
  ControlNet net(kResolution, kResolution);
  for (int i = 0; i < kResolution; ++i) {
    for (int j = 0; j < kResolution; ++j)
      net(i, j) = samples[static_cast<std::size_t>(i) * kResolution + j].point;
  }
  if (!net.isFinite()) fail("a sample is not finite");
  surface_ = BSplineSurface::createClamped(std::move(net), kDegree, kDegree);
}

std::vector<Point3D> RBFNSidedPatch::sampleHRBFSpherical(const Point3D& center,
                                                         double radius) const {
  if (!(radius > 0.0) || !std::isfinite(radius) || !center.isFinite())
    throw std::invalid_argument("HRBF sampling needs a radius above 0");
  std::vector<Point3D> found;
  for (int i = 0; i < kSphereLongitudes; ++i) {
    const double theta = 2.0 * std::numbers::pi * i / kSphereLongitudes;
    for (int j = 0; j < kSphereLatitudes; ++j) {
      const double phi = std::acos(1.0 - 2.0 * j / (kSphereLatitudes - 1));
      const Vector3D direction(std::sin(phi) * std::cos(theta), std::sin(phi) * std::sin(theta),
                               std::cos(phi));
      Point3D before = center;
      double valueBefore = hermite_.Evaluate(before);
      for (int k = 1; k <= kSphereSteps; ++k) {
        const Point3D here = center + direction * (radius * k / kSphereSteps);
        const double value = hermite_.Evaluate(here);
        if (std::signbit(value) != std::signbit(valueBefore)) {
          found.push_back(signChange(hermite_, before, here, kSphereBracket * kSphereSteps,
                                     kSphereField * radius));
          break;
        }
        before = here;
        valueBefore = value;
      }
    }
  }
  return found;
}

std::vector<Point3D> RBFNSidedPatch::sampleHRBFPlanar(int resolution) const {
  HRBFInterpolator field;
  const auto plane = planeOf(constraints_.positions);
  if (!plane || !field.FitToConstraints(convertToHRBFConstraints()))
    throw std::runtime_error("HRBF interpolator not fitted yet");
  return pointsOf(sampleGrid(field, *plane, resolution));
}

std::vector<Point3D> RBFNSidedPatch::sampleFittedHRBFPlanar(int resolution) const {
  const auto plane = planeOf(constraints_.positions);
  if (!plane || !hermite_.IsFitted()) throw std::runtime_error("HRBF interpolator not fitted yet");
  return pointsOf(sampleGrid(hermite_, *plane, resolution));
}

SurfaceMesh RBFNSidedPatch::createHRBFMeshVisualization(int resolution) const {
  return gridMesh(sampleHRBFPlanar(resolution), resolution);
}

SurfaceMesh RBFNSidedPatch::createFittedHRBFMeshVisualization(int resolution) const {
  return gridMesh(sampleFittedHRBFPlanar(resolution), resolution);
}

double RBFNSidedPatch::evaluateHRBFDirect(const Point3D& point) const {
  return hermite_.Evaluate(point);
}

Vector3D RBFNSidedPatch::evaluateHRBFDerivatives(const Point3D& point) const {
  return hermite_.EvaluateGradient(point);
}

}  // namespace trova::geometry
