#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "morvel/curves/curve2d.h"
#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/curve_on_surface.h"
#include "morvel/surfaces/nurbs_surface.h"
#include "tests/support/curve_probes.h"
#include "tests/surfaces/surface_measures.h"
#include "tests/surfaces/surface_samples.h"

namespace morvel_test {
namespace {

using trova::foundation::Point2D;

std::unique_ptr<ParametricCurve2D> line2d(const Point2D& a, const Point2D& b) {
  return std::make_unique<LinearCurve2D>(a, b);
}

std::unique_ptr<ParametricCurve2D> wave2d() {
  return std::make_unique<BSplineCurve2D>(
      std::vector<Point2D>{{0.1, 0.2}, {0.3, 0.9}, {0.5, 0.1}, {0.8, 0.8}, {0.9, 0.3}},
      std::vector<double>{2, 2, 2, 2, 2.5, 3, 3, 3, 3}, 3);
}

CurveOnSurface waveOn(SurfacePointer base) { return {std::move(base), wave2d()}; }

std::vector<SurfacePointer> bases() {
  const std::vector<std::vector<Point3D>> net = {{{0, 0, 0}, {0, 1, 1}, {0, 2, 0}},
                                                 {{1, 0, 1}, {1, 1, -1}, {1, 2, 1}},
                                                 {{2, 0, 0}, {2, 1, 2}, {2, 2, 0}}};
  const std::vector<double> knots = {0, 0, 0, 1, 1, 1};
  return {std::make_shared<SphereSurface>(kCenter, 1.5, kTilted),
          std::make_shared<BezierSurface>(net),
          std::shared_ptr<const Surface>(BSplineSurface::createClamped(net, 2, 1)),
          std::make_shared<NurbsSurface>(
              net, std::vector<std::vector<double>>{{1, 2, 1}, {3, 1, 0.5}, {1, 1, 2}}, knots,
              knots, 2, 2)};
}

TEST(CurveOnSurface, IsTheSurfaceAlongThePlaneCurve) {
  for (const auto& base : bases()) {
    const CurveOnSurface curve = waveOn(base);
    EXPECT_TRUE(curve.isValid());
    EXPECT_EQ(curve.getParameterInterval().start, 2);
    for (const double t : {2.0, 2.2, 2.9, 3.0}) {
      const Point2D uv = curve.getUVCoordinates(t);
      EXPECT_EQ(uv.distanceTo(wave2d()->evaluate(t)), 0);
      EXPECT_EQ(curve.evaluate(t).distanceTo(base->evaluate(uv.x(), uv.y())), 0);
    }
  }
}

TEST(CurveOnSurface, DerivativesAreTheLimitsOfDifferencesOnRationalSurfacesToo) {
  for (const auto& base : bases()) {
    for (const double t : {2.13, 2.71})
      expectTrueDerivatives(waveOn(base), t, 3, 1e-5);
  }
}

TEST(CurveOnSurface, ALatitudeIsACircle) {
  const auto sphere = std::make_shared<SphereSurface>(Point3D(0, 0, 0), 2.0);
  const CurveOnSurface latitude(sphere, line2d({0, 0.75}, {1, 0.75}));  // 45 degrees north
  EXPECT_NEAR(latitude.getTotalLength(), 2 * kPi * std::sqrt(2.0), 1e-6);
  EXPECT_NEAR(latitude.getCurvature(0.3), 1 / std::sqrt(2.0), 1e-12);
  EXPECT_TRUE(latitude.isClosed());
  EXPECT_TRUE(latitude.isPeriodic());
  const CurveOnSurface meridian(sphere, line2d({0.3, 0}, {0.3, 1}));
  EXPECT_FALSE(meridian.isClosed());
  EXPECT_NEAR(latitude.getClosestParameter({0, -5, std::sqrt(2.0)}), 0.75, 1e-8);
  const auto box = latitude.getBoundingBox();
  EXPECT_LE(box.min.x(), -std::sqrt(2.0));
  EXPECT_GE(box.max.y(), std::sqrt(2.0));
  EXPECT_LE(box.max.y(), std::sqrt(2.0) * 1.01);
}

TEST(CurveOnSurface, StaysAtTheEdgeWhereThePlaneCurveLeavesTheDomain) {
  for (const auto& base : bases()) {
    const CurveOnSurface curve(base, line2d({0.5, 0.2}, {1.5, 0.6}));
    EXPECT_THAT(curve.evaluate(0.75), IsNear(base->evaluate(1, 0.5), 1e-12));
    expectTrueDerivatives(curve, 0.8, 2, 1e-5);  // along the edge
  }
}

TEST(CurveOnSurface, TrimSplitAndReverseStayOnTheSurface) {
  for (const auto& base : bases()) {
    const CurveOnSurface curve = waveOn(base);
    const auto part = curve.trim(2.2, 2.8);
    const auto [before, behind] = curve.split(2.6);
    const auto back = curve.reverse();
    for (const double share : {0.0, 0.3, 1.0}) {
      EXPECT_THAT(pointAt(*part, share), IsNear(curve.evaluate(2.2 + 0.6 * share), 1e-13));
      EXPECT_THAT(pointAt(*before, share), IsNear(curve.evaluate(2 + 0.6 * share), 1e-13));
      EXPECT_THAT(pointAt(*behind, share), IsNear(curve.evaluate(2.6 + 0.4 * share), 1e-13));
      EXPECT_THAT(pointAt(*back, share), IsNear(curve.evaluate(3 - share), 1e-13));
    }
    for (const auto* result : {part.get(), before.get(), back.get()})
      EXPECT_EQ(result->getTypeIdentifier(), "CurveOnSurface");
    EXPECT_THROW(curve.trim(2.8, 2.2), std::invalid_argument);
    EXPECT_THROW(curve.split(3), std::invalid_argument);
  }
}

TEST(CurveOnSurface, TransformsItsOwnImageOfTheBaseOnly) {
  for (const auto& base : bases()) {
    for (const auto& map : {similarity(), shear()}) {
      const CurveOnSurface other = waveOn(base);
      CurveOnSurface curve = waveOn(base);
      const auto image = curve.transform(map);
      const Point3D before = other.evaluate(2.4);
      curve.applyTransformToGeometry(map);
      EXPECT_THAT(image->evaluate(2.4), IsNear(map.transform(before), 2e-6));
      EXPECT_THAT(curve.evaluate(2.4), IsNear(map.transform(before), 2e-6));
      EXPECT_EQ(other.evaluate(2.4).distanceTo(before), 0);
      EXPECT_EQ(other.getBaseSurface(), base);
      EXPECT_NE(curve.getBaseSurface(), base);
    }
  }
}

TEST(CurveOnSurface, KeepsItsBaseAliveAndFollowsIt) {
  auto net = std::make_shared<BezierSurface>(
      std::vector<std::vector<Point3D>>{{{0, 0, 0}, {0, 1, 0}}, {{1, 0, 0}, {1, 1, 0}}});
  auto copy = CurveOnSurface(net, line2d({0, 0}, {1, 1})).clone();
  net->setControlPoint(1, 1, {1, 1, 8});
  net.reset();
  EXPECT_THAT(copy->evaluate(1), IsNear(Point3D(1, 1, 8), 0));
  CurveOnSurface assigned(bases()[0], line2d({0, 0}, {1, 1}));
  assigned = dynamic_cast<const CurveOnSurface&>(*copy);
  copy.reset();
  EXPECT_THAT(assigned.evaluate(0.5), IsNear(Point3D(0.5, 0.5, 2), 1e-15));
}

TEST(CurveOnSurface, ExtensionOffsetAndPolylineWorkInSpace) {
  const QuietStatus quiet;
  const auto sphere = std::make_shared<SphereSurface>(Point3D(0, 0, 0), 2.0);
  const CurveOnSurface arc(sphere, line2d({0, 0.5}, {0.25, 0.5}));  // a quarter of the equator
  const auto longer = arc.extend(1.5, CurveEnd::End, ExtensionMode::Linear);
  EXPECT_NEAR(longer->getTotalLength(), kPi + 1.5, 1e-4);
  EXPECT_THAT(pointAt(*longer, 1), IsNear(pointAt(arc, 1) + Vector3D(-1.5, 0, 0), 1e-4));
  const auto inner = arc.offset(0.5, {0, 0, 1});
  EXPECT_NEAR((pointAt(*inner, 0.4) - Point3D(0, 0, 0)).magnitude(), 1.5, 1e-12);
  const auto line = arc.adaptiveTessellate(1e-4);
  for (const double share : {0.01, 0.33, 0.77})
    EXPECT_LE(distanceToPolyline(pointAt(arc, share), line), 1e-4);
}

TEST(CurveOnSurface, RefusesMissingParts) {
  EXPECT_THROW(CurveOnSurface(nullptr, line2d({0, 0}, {1, 1})), std::invalid_argument);
  EXPECT_THROW(CurveOnSurface(bases()[0], nullptr), std::invalid_argument);
  EXPECT_THROW(waveOn(bases()[0]).getClosestParameter({NAN, 0, 0}), std::invalid_argument);
}

}  // namespace
}  // namespace morvel_test
