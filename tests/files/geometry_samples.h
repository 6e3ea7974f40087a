#pragma once

#include <random>
#include <string>
#include <utility>
#include <vector>

#include "morvel/curves/curve2d.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/files/geometry_records.h"
#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/nurbs_surface.h"
#include "morvel/trimmed_surface/rectangular_trimmed_surface.h"
#include "tests/surfaces/surface_samples.h"
#include "tests/trimmed_surface/bases.h"

// Random objects of every class that a document can hold.

namespace morvel_test {

class Random {
 public:
  explicit Random(unsigned seed) : engine_(seed) {}

  double in(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  int whole(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }
  Point3D point() { return {in(-5, 5), in(-5, 5), in(-5, 5)}; }
  Vector3D vector() { return point() - Point3D::origin(); }
  std::vector<Point3D> points(int count) {
    std::vector<Point3D> all;
    for (int k = 0; k < count; ++k)
      all.push_back(point());
    return all;
  }
  ControlNet net(int nU, int nV) {
    ControlNet all(nU, nV);
    for (int i = 0; i < nU; ++i) {
      for (int j = 0; j < nV; ++j)
        all(i, j) = {i + in(-0.4, 0.4), j + in(-0.4, 0.4), in(-1, 1)};
    }
    return all;
  }
  /// Never decreasing, of any spacing.
  std::vector<double> knots(int count, int degree) {
    std::vector<double> all{in(-1, 1)};
    for (int k = 1; k < count + degree + 1; ++k)
      all.push_back(all.back() + (k % 3 == 0 ? 0.0 : in(0.1, 1)));
    return all;
  }
  std::vector<double> weights(int count) {
    std::vector<double> all;
    for (int k = 0; k < count; ++k)
      all.push_back(in(0.2, 3));
    return all;
  }
  Transform3D similarity() {
    const double scale = in(0.5, 2);
    return Transform3D::translation(vector()) * Transform3D::rotation(vector(), in(-3, 3)) *
           Transform3D::scaling(scale, scale, in(0, 1) < 0.3 ? -scale : scale);
  }
  std::mt19937& engine() { return engine_; }

 private:
  std::mt19937 engine_;
};

inline std::vector<std::shared_ptr<const Curve>> sampleCurves(unsigned seed) {
  Random random(seed);
  std::vector<std::shared_ptr<const Curve>> all{
      std::make_shared<LineCurve>(random.point(), random.point()),
      std::make_shared<BezierCurve>(random.points(random.whole(2, 7))),
      std::make_shared<BSplineCurve>(random.points(7), random.knots(7, 3), 3),
      std::make_shared<NurbsCurve>(random.points(6), random.weights(6), random.knots(6, 2), 2),
      std::make_shared<CircleCurve>(random.point(), random.vector(), random.vector(),
                                    random.in(0.5, 3), random.in(-4, 0), random.in(0, 9)),
      std::make_shared<EllipseCurve>(random.point(), random.vector(), random.vector(), 3.0, 1.0,
                                     random.in(-4, 0), random.in(0, 5)),
  };
  // What only operations make: axes that no constructor computes, reversed and moved.
  for (std::size_t k = 0, count = all.size(); k < count; ++k) {
    all.push_back(all[k]->reverse());
    all.push_back(all[k]->transform(random.similarity())->reverse());
  }
  const auto offset = std::make_shared<OffsetCurve>(all[2], 0.25, random.vector());
  all.push_back(offset);
  all.push_back(offset->transform(random.similarity()));
  all.push_back(offset->offset(-0.1, random.vector()));
  const std::shared_ptr<Curve> pending = all[3]->clone();
  pending->setMatrix(random.similarity());
  all.push_back(pending);
  return all;
}

inline std::vector<std::shared_ptr<CurveOnSurface>> sampleCurvesOn(
    const std::shared_ptr<Surface>& base, unsigned seed) {
  Random random(seed);
  const auto on = [&](std::unique_ptr<ParametricCurve2D> curve) {
    return std::make_shared<CurveOnSurface>(base, std::move(curve));
  };
  const Point2D a(random.in(0, 1), random.in(0, 1)), b(random.in(0, 1), random.in(0, 1));
  const std::vector<Point2D> bend{a, {0.1, 0.9}, {0.5, 0.2}, {0.8, 0.7}, b};
  return {on(std::make_unique<LinearCurve2D>(a, b)),
          on(std::make_unique<IsoCurve2D>(IsoDirection::ConstantU, a.x(), 0.9, 0.1)),
          on(std::make_unique<IsoCurve2D>(IsoDirection::ConstantV, a.y())),
          on(std::make_unique<CircularCurve2D>(a, 0.3, random.in(0, 3), random.in(-3, 0))),
          on(std::make_unique<BSplineCurve2D>(bend, random.knots(5, 2), 2)),
          on(BSplineCurve2D(bend, {0, 0, 0, 0, 0.3, 1, 1, 1, 1}, 3).reverse()->trim(0.2, 0.9))};
}

inline TrimLoop sampleLoop(std::vector<Point2D> polygon, bool isOuter, std::string name) {
  TrimLoop loop;
  loop.polygon = std::move(polygon);
  loop.type = isOuter ? kOuterBoundary : kInnerHole;
  loop.name = std::move(name);
  loop.id = 17;
  loop.isClosed = true;
  loop.tolerance = 1.0 / 3.0;
  return loop;
}

inline std::vector<std::shared_ptr<Surface>> sampleTrimmed(const std::shared_ptr<Surface>& base) {
  TrimmedSurfaceOptions options;
  options.boundaryTolerance = 1e-3 / 7.0;
  options.thirdSwitch = false;
  options.level = -3;
  options.hostValue = std::numeric_limits<std::int64_t>::min();
  options.reserved = std::numeric_limits<std::int64_t>::max();
  auto polygons = std::make_shared<TrimmedSurface>(base, options);
  polygons->addOuterLoop(sampleLoop({{0.1, 0.1}, {0.9, 0.2}, {0.7, 0.9}}, true, "außen \"1\"\n"));
  polygons->addInnerLoop(sampleLoop({{0.5, 0.4}, {0.6, 0.4}, {0.6, 0.5}}, false, ""));
  auto wires = std::make_shared<WireTrimmedSurface>(base);
  wires->addOuterLoop(wires->createRectangularLoop(0.05, 0.9, 0.1, 0.95));
  wires->addCircularHole({0.4, 0.4}, 0.1);
  wires->addInnerLoop(wires->createEllipticalLoop({0.7, 0.7}, 0.1, 0.05, 0.3, false));
  TrimLoop broken;  // hosts are told of such loops, not kept from having them
  broken.curves = {nullptr};
  auto withBroken = std::make_shared<WireTrimmedSurface>(base);
  withBroken->addOuterLoop(broken);
  withBroken->setUseSpatialIndex(false);
  const TrimBounds bounds{0.125, 0.75, 0.1, 1.0 / 3.0};
  std::vector<std::shared_ptr<Surface>> all{
      polygons, wires, withBroken,
      std::make_shared<RectangularTrimmedSurface>(base, bounds, true, true, options),
      std::make_shared<RectangularTrimmedSurface>(base, bounds, false, true, options)};
  all.push_back(wires->swapUV());
  all.push_back(polygons->reverseU());
  return all;
}

inline std::vector<std::shared_ptr<Surface>> sampleSurfaces(unsigned seed) {
  Random random(seed);
  std::vector<std::vector<double>> weights;
  for (int i = 0; i < 5; ++i)
    weights.push_back(random.weights(4));
  std::vector<std::shared_ptr<Surface>> all{
      std::make_shared<BezierSurface>(random.net(3, 5)),
      std::make_shared<BSplineSurface>(random.net(6, 4), random.knots(6, 3), random.knots(4, 2), 3,
                                       2),
      std::make_shared<NurbsSurface>(random.net(5, 4), weights, random.knots(5, 2),
                                     random.knots(4, 3), 2, 3)};
  for (const SurfacePointer& sample : allSurfaces()) {
    all.push_back(sample->clone());
    const auto moved = sample->transform(random.similarity());
    all.push_back(moved->trim(0.1, 0.7, 0.2, 1.0 / 3.0)->reverseV()->swapUV());
  }
  all.push_back(allSurfaces().back()->clone());
  all.back()->setMatrix(random.similarity());
  return all;
}

}  // namespace morvel_test
