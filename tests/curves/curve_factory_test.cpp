#include "morvel/curves/curve_factory.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace {

using namespace morvel_test;

const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(CurveFactory, MakesTheClassesOfTheConstructors) {
  const std::vector<Point3D> points{{0, 0, 0}, {1, 1, 0}, {2, 0, 0}, {3, 1, 0}};
  const std::vector<double> knots{0, 0, 0, 1, 2, 2, 2};
  const auto type = [](const std::unique_ptr<Curve>& curve) { return curve->getTypeIdentifier(); };
  EXPECT_EQ(type(CurveFactory::createLine({0, 0, 0}, {1, 0, 0})), "LineCurve");
  EXPECT_EQ(type(CurveFactory::createArc({0, 0, 0}, 1, {0, 0, 1}, {1, 0, 0}, 0, 1)), "CircleCurve");
  EXPECT_EQ(type(CurveFactory::createEllipse({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 2, 1, 0, 1)),
            "EllipseCurve");
  EXPECT_EQ(type(CurveFactory::createBezier(points)), "BezierCurve");
  EXPECT_EQ(type(CurveFactory::createClampedBSpline(points, 3)), "BSplineCurve");
  EXPECT_EQ(type(CurveFactory::createUniformBSpline(points, 2)), "BSplineCurve");
  const auto spline = CurveFactory::createBSpline(points, knots, 2);
  EXPECT_EQ(dynamic_cast<const BSplineCurve&>(*spline).getKnotVector(), knots);
  const auto nurbs = CurveFactory::createNurbs(points, {1, 2, 3, 1}, knots, 2);
  EXPECT_EQ(dynamic_cast<const NurbsCurve&>(*nurbs).getWeight(2), 3.0);
}

TEST(CurveFactory, CircleTakesAMissingNormalAsUpAndAnswersBadOnesWithNull) {
  const auto flat = CurveFactory::createCircle({1, 0, 0}, 2.0, {0, 0, 5e-5}, {0, 1, 0});
  ASSERT_TRUE(flat);
  EXPECT_TRUE(flat->isClosed());
  EXPECT_THAT(flat->evaluate(0.0), IsNear(Point3D(1, 2, 0), 1e-15));
  EXPECT_THAT(flat->evaluate(0.25), IsNear(Point3D(-1, 0, 0), 1e-15));
  for (const double radius : {0.0, -1.0, kNaN, std::numeric_limits<double>::infinity()})
    EXPECT_FALSE(CurveFactory::createCircle({0, 0, 0}, radius, {0, 0, 1}, {1, 0, 0}));
  EXPECT_FALSE(CurveFactory::createCircle({0, kNaN, 0}, 1.0, {0, 0, 1}, {1, 0, 0}));
}

TEST(CurveFactory, ArcThroughThreePointsPassesThemInOrder) {
  const Point3D triples[][3] = {{{1, 0, 0}, {0, 1, 0}, {-1, 0, 0}},
                                {{1, 0, 0}, {0, -1, 0}, {0, 1, 0}},
                                {{1, 2, 3}, {-2, 0.5, 7}, {4, 4, -1}},
                                {{1e-3, 0, 0}, {0, 1e-3, 0}, {0, 0, 1e-3}}};
  for (const auto& [first, second, third] : triples) {
    const auto arc = CurveFactory::createArcThreePoints(first, second, third);
    EXPECT_THAT(arc->evaluate(0.0), IsNear(first, 1e-13));
    EXPECT_THAT(arc->evaluate(1.0), IsNear(third, 1e-13));
    const double t = arc->getClosestParameter(second);
    EXPECT_THAT(arc->evaluate(t), IsNear(second, 1e-13));
    EXPECT_GT(t, 0.0);
    EXPECT_LT(t, 1.0);
  }
  EXPECT_THROW(CurveFactory::createArcThreePoints({0, 0, 0}, {1, 1, 1}, {3, 3, 3}),
               std::invalid_argument);
  EXPECT_THROW(CurveFactory::createArcThreePoints({0, 0, 0}, {1, 1, 1}, {0, 0, 0}),
               std::invalid_argument);
}

TEST(CurveFactory, RefusesIncompleteOrBrokenData) {
  const std::vector<Point3D> points{{0, 0, 0}, {1, 1, 0}, {2, 0, 0}};
  const std::vector<Point3D> broken{{0, 0, 0}, {1, kNaN, 0}, {2, 0, 0}};
  const std::vector<double> knots{0, 0, 0, 1, 1, 1};
  const auto refused = [](auto&& make) { EXPECT_THROW(make(), std::invalid_argument); };
  refused([&] { CurveFactory::createBezier({}); });
  refused([&] { CurveFactory::createBezier(broken); });
  refused([&] { CurveFactory::createClampedBSpline(points, 3); });
  refused([&] { CurveFactory::createClampedBSpline(points, 0); });
  refused([&] { CurveFactory::createUniformBSpline(broken, 2); });
  refused([&] { CurveFactory::createBSpline(points, {0, 0, 0, 1, 1}, 2); });
  refused([&] { CurveFactory::createBSpline(points, {0, 0, 0, 1, 0.5, 1}, 2); });
  refused([&] { CurveFactory::createBSpline(points, {0, 0, 0, 1, 1, kNaN}, 2); });
  refused([&] { CurveFactory::createNurbs(points, {1, 1}, knots, 2); });
  refused([&] { CurveFactory::createNurbs(points, {1, 0, 1}, knots, 2); });
  refused([&] { CurveFactory::createNurbs(points, {1, kNaN, 1}, knots, 2); });
  refused([&] { CurveFactory::createArc({0, 0, 0}, -1, {0, 0, 1}, {1, 0, 0}, 0, 1); });
  refused([&] { CurveFactory::createArc({0, 0, 0}, 1, {0, 0, 1}, {1, 0, 0}, 1, 1); });
  refused([&] { CurveFactory::createEllipse({0, 0, 0}, {0, 0, 0}, {0, 0, 1}, 2, 1, 0, 1); });
  refused([&] { CurveFactory::createEllipse({0, 0, 0}, {1, 0, 0}, {0, 0, 1}, 2, kNaN, 0, 1); });
}

}  // namespace
