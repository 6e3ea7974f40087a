// Loops, rectangles, caches, changed copies.

#include <gmock/gmock.h>

#include <random>
#include <stdexcept>

#include "morvel/foundation/transform3d.h"
#include "morvel/trimmed_surface/plane_snip.h"
#include "morvel/trimmed_surface/trimmed_surface_factory.h"
#include "morvel/trimmed_surface/wire_chain.h"
#include "tests/support/near.h"
#include "tests/trimmed_surface/bases.h"

using namespace morvel_test;
using testing::ElementsAre;

namespace {

template <class Exception, class Work>
std::string messageOf(Work&& work) {
  try {
    work();
  } catch (const Exception& e) {
    return e.what();
  }
  return "no such exception";
}

std::shared_ptr<CurveOnSurface> line(const std::shared_ptr<Surface>& base, const Point2D& a,
                                     const Point2D& b) {
  return std::make_shared<CurveOnSurface>(base, std::make_unique<LinearCurve2D>(a, b));
}

}  // namespace

TEST(TrimLoop, ValidatesWhatItIsMadeOf) {
  const auto base = plate();
  const auto side = [&](double u0, double v0, double u1, double v1) {
    return line(base, {u0, v0}, {u1, v1});
  };
  const auto a = side(0, 0, 1, 0), b = side(1, 0, 0, 1), c = side(0, 1, 0, 0);
  const struct {
    std::vector<std::shared_ptr<CurveOnSurface>> curves;
    std::size_t polygonSize;
    double tolerance;
    bool isValid;
  } cases[] = {{{}, 0, 1e-6, false},
               {{}, 1, 1e-6, true},
               {{a, b, c}, 0, 1e-6, true},
               {{a, c, b}, 0, 1e-6, false},
               {{a, b, c}, 0, -1.0, false},  // even a gap of 0 is above it
               {{a}, 0, 1e-6, true},
               {{a, nullptr, b}, 3, 1e-6, false},
               {{a, side(1, 1e-7, 0, 1), c}, 0, 1e-6, true},
               {{a, side(1, 1e-5, 0, 1), c}, 0, 1e-6, false}};
  for (const auto& each : cases) {
    TrimLoop loop;
    loop.curves = each.curves;
    loop.polygon.resize(each.polygonSize);
    loop.tolerance = each.tolerance;
    EXPECT_EQ(loop.validate(), each.isValid) << "case " << &each - cases;
  }
}

TEST(TrimmedSurface, TurnsLoopsIntoTheirRoles) {
  const std::vector<Point2D> ccw = box(0.1, 0.5, 0.1, 0.3), cw(ccw.rbegin(), ccw.rend());
  TrimmedSurface surface(plate());
  for (const auto& polygon : {ccw, cw}) {
    surface.addOuterLoop(polygonLoop(polygon));
    surface.addInnerLoop(polygonLoop(polygon));
  }
  for (const TrimLoop& loop : surface.getTrimLoops()) {
    EXPECT_NEAR(loop.computeSignedPolygonArea(), loop.isOuter ? 0.08 : -0.08, 1e-15);
    EXPECT_NEAR(loop.computeLength(), 1.2, 1e-15);
  }
  EXPECT_EQ(surface.getNumOuterLoops(), 2u);
  EXPECT_EQ(surface.getInnerLoops().size(), 2u);
  EXPECT_EQ(messageOf<std::out_of_range>([&] { surface.getTrimLoop(4); }),
            "Trim loop index out of range");
  EXPECT_EQ(messageOf<std::invalid_argument>([] { TrimmedSurface none(nullptr); }),
            "Base surface cannot be null");
}

TEST(TrimmedSurface, CountsCrossingsAndFindsLoops) {
  TrimmedSurface surface(plate());
  EXPECT_EQ(surface.classifyPoint(9, 9), Inside);
  surface.addOuterLoop(polygonLoop(box(0.1, 0.9, 0.1, 0.9)));
  surface.addInnerLoop(polygonLoop(box(0.3, 0.5, 0.3, 0.5)));
  EXPECT_EQ(surface.classifyPoint(0.2, 0.2), Inside);
  EXPECT_EQ(surface.classifyPoint(0.4, 0.4), Outside);
  EXPECT_EQ(surface.classifyPoint(0.3, 0.4), OnBoundary);
  EXPECT_THAT(surface.findLoopsContainingPoint(0.4, 0.4), ElementsAre(0, 1));
  EXPECT_THAT(surface.findLoopsInRegion(0.6, 0.7, 0, 1), ElementsAre(0));
  EXPECT_NEAR(surface.computeDistanceToNearestBoundary(0.2, 0.25), 0.1, 1e-15);
  EXPECT_TRUE(surface.validateLoopHierarchy());
  surface.addInnerLoop(TrimLoop());
  EXPECT_THAT(surface.getValidationErrors(), ElementsAre("Trim loop 2 is invalid"));
}

TEST(RectangularTrimmedSurface, ClassifiesByItsBounds) {
  const struct {
    TrimBounds bounds;
    bool inU, inV;
    Point2D p;
    PointClassification expected;
  } cases[] = {
      {{0.2, 0.6, 0.1, 0.9}, true, true, {0.4, 0.5}, Inside},
      {{0.2, 0.6, 0.1, 0.9}, true, true, {0.7, 0.5}, Outside},
      {{0.2, 0.6, 0.1, 0.9}, true, true, {0.6 + 9e-7, 0.5}, OnBoundary},
      {{0.2, 0.6, 0.1, 0.9}, true, true, {0.6 + 2e-6, 0.5}, Outside},
      // The u span is tested against vMin.
      {{0.0, 1.0, 0.5, 1.0}, true, true, {0.2, 1.0}, Inside},
      {{0.0, 1.0, 0.5, 1.0}, true, true, {0.6, 1.0}, OnBoundary},
      {{0.5, 1.0, 0.1, 0.9}, true, true, {0.2, 0.9}, OnBoundary},
      // A direction that is not trimmed is open, but its bounds count as boundary.
      {{0.2, 0.6, 0.1, 0.9}, false, true, {7.0, 0.5}, Inside},
      {{0.2, 0.6, 0.1, 0.9}, false, true, {7.0, 0.95}, Outside},
      {{0.2, 0.6, 0.1, 0.9}, false, true, {0.2, 0.5}, OnBoundary},
  };
  for (const auto& each : cases) {
    const RectangularTrimmedSurface surface(plate(), each.bounds, each.inU, each.inV);
    EXPECT_EQ(surface.classifyPoint(each.p.x(), each.p.y()), each.expected)
        << "case " << &each - cases;
    EXPECT_FALSE(surface.isValid());  // its loop is empty
  }
  EXPECT_TRUE(RectangularTrimmedSurface(plate(), {}, false, false).isValid());
}

TEST(RectangularTrimmedSurface, RefusesBoundsBeyondTheDomain) {
  const auto make = [](const TrimBounds& bounds) {
    return [bounds] { RectangularTrimmedSurface(plate(), bounds, true, true); };
  };
  EXPECT_EQ(messageOf<std::invalid_argument>(make({0.5, 0.5, 0, 1})),
            "Invalid U bounds: u_min must be less than u_max");
  EXPECT_EQ(messageOf<std::invalid_argument>(make({0, 1, 0.5, std::nan("")})),
            "Invalid V bounds: v_min must be less than v_max");
  EXPECT_EQ(messageOf<std::out_of_range>(make({-0.1, 1, 0, 1})),
            "U trim bounds exceed base surface domain");
  EXPECT_EQ(messageOf<std::out_of_range>(make({0, 1, 0, 1.1})),
            "V trim bounds exceed base surface domain");
}

TEST(WireTrimmedSurface, FillsTheCacheOnceOrAgainAndAgain) {
  const TrimLoop outer = polygonLoop(box(0, 1, 0, 1));
  const TrimLoop hole = polygonLoop(box(0.4, 0.5, 0.4, 0.5), kInnerHole, false);
  const auto plain = trimmedPlate({outer, hole});
  const auto spatial = trimmedPlate({outer, hole, hole});
  for (int k = 0; k < 501; ++k) {
    plain->classifyPoint(k / 600.0, 0.1);
    spatial->classifyPoint(k / 600.0, 0.1);
  }
  EXPECT_EQ(plain->getCacheSize(), 500u);
  EXPECT_EQ(plain->getTotalQueries(), 0u);
  EXPECT_EQ(spatial->getCacheSize(), 1u);
  EXPECT_EQ(spatial->getTotalQueries(), 501u);
  spatial->classifyPoint(500 / 600.0, 0.1);
  EXPECT_DOUBLE_EQ(spatial->getCacheHitRatio(), 1.0 / 502);
  EXPECT_EQ(spatial->classifyPoint(0.45, 0.45), Outside);
  spatial->clearTrimLoops();  // drops the answers with the loops
  EXPECT_EQ(spatial->classifyPoint(0.45, 0.45), Inside);
}

TEST(WireTrimmedSurface, BuildsLoopsThatCloseAndHolesThatAreEmpty) {
  const auto surface = WireTrimmedSurface::createSurfaceWithMultipleHoles(
      plate(), {{HoleDescription::Shape::Circle, {0.2, 0.3}, 0.1, 0},
                {HoleDescription::Shape::Rectangle, {0.5, 0.5}, 0.05, 0.2},
                {HoleDescription::Shape::Ellipse, {0.8, 0.6}, 0.1, 0.3}});
  EXPECT_TRUE(surface->isValid());
  EXPECT_EQ(surface->getNumInnerLoops(), 3u);
  for (const Point2D& p : {Point2D(0.2, 0.3), Point2D(0.5, 0.65), Point2D(0.8, 0.85)})
    EXPECT_EQ(surface->classifyPoint(p.x(), p.y()), Outside);
  EXPECT_EQ(surface->classifyPoint(0.3, 0.3), OnBoundary);
  EXPECT_EQ(surface->classifyPoint(0.8, 0.3), OnBoundary);
  EXPECT_EQ(surface->classifyPoint(0.88, 0.4), Inside);
  const TrimLoop turned = surface->createEllipticalLoop({0.5, 0.5}, 0.3, 0.1, 0.7);
  for (int k = 0; k < 40; ++k) {
    const Point2D p = turned.curves[0]->getUVCoordinates(k / 39.0) - Point2D(0.5, 0.5);
    const double along = p.x() * std::cos(0.7) + p.y() * std::sin(0.7);
    const double across = p.y() * std::cos(0.7) - p.x() * std::sin(0.7);
    EXPECT_NEAR(std::hypot(along / 0.3, across / 0.1), 1.0, 1e-8);
  }
}

TEST(WireTrimmedSurface, ChangedCopiesKeepTheirPart) {
  const auto surface = trimmedPlate({polygonLoop(box(0.1, 0.9, 0.2, 0.9))});
  surface->addCircularHole({0.3, 0.5}, 0.15);
  surface->addInnerLoop(surface->createEllipticalLoop({0.7, 0.5}, 0.1, 0.2, 0.4, false));
  std::mt19937 random(3);
  std::uniform_real_distribution<double> number(0.0, 1.0);
  const Transform3D move = Transform3D::translation({1, 2, 3});
  const std::unique_ptr<Surface> copies[] = {surface->clone(), surface->transform(move),
                                             surface->reverseU(), surface->reverseV(),
                                             surface->swapUV()};
  const Vector3D moved[] = {{}, {1, 2, 3}, {}, {}, {}};
  for (int k = 0; k < 500; ++k) {
    const double u = number(random), v = number(random);
    const Point2D at[] = {{u, v}, {u, v}, {1 - u, v}, {u, 1 - v}, {v, u}};
    for (int c = 0; c < 5; ++c) {
      const auto& copy = dynamic_cast<const WireTrimmedSurface&>(*copies[c]);
      ASSERT_EQ(copy.classifyPoint(at[c].x(), at[c].y()), surface->classifyPoint(u, v)) << c;
      ASSERT_THAT(copy.evaluate(at[c].x(), at[c].y()),
                  IsNear(surface->evaluate(u, v) + moved[c], 1e-12));
    }
  }
  const auto part = surface->trim(-1, 0.5, 0.9, 0.3);
  const auto& bounds = dynamic_cast<const RectangularTrimmedSurface&>(*part).getTrimBounds();
  EXPECT_THAT((std::vector{bounds.uMin, bounds.uMax, bounds.vMin, bounds.vMax}),
              ElementsAre(0, 0.5, 0.3, 0.9));
}

TEST(ChainedLoop, TurnsPiecesThatRunBackwards) {
  const auto base = plate();
  TrimLoop loop = chainedLoop(
      {line(base, {0, 0}, {1, 0}), line(base, {0, 1}, {1, 0}), line(base, {0, 1}, {0, 0})}, 0.01);
  loop.tolerance = 1e-9;
  EXPECT_TRUE(loop.validate());
  EXPECT_NEAR(loop.computeSignedPolygonArea(), 0.5, 1e-12);
}

TEST(PlaneSnip, LeavesTheSideOfTheNormal) {
  const auto sphere = std::make_shared<SphereSurface>(Point3D(0, 0, 0), 1.0);
  const Vector3D normal(1, 2, -2);
  const auto cap = snippedByPlane(sphere, Point3D(0, 0, 0) + normal * (0.5 / 3), normal);
  ASSERT_TRUE(cap);
  const double expected = 2 * std::numbers::pi * 0.5;  // of height 1/2
  EXPECT_NEAR(cap->computeArea(), expected, 1e-3 * expected);
  for (const TrimLoop& loop : cap->getTrimLoops()) {
    for (const Point2D& p : loop.polygon) {
      const double height = (cap->evaluate(p.x(), p.y()) - Point3D(0, 0, 0)).dot(normal) / 3;
      EXPECT_GT(height, 0.5 - 1e-3);
    }
  }
  EXPECT_FALSE(snippedByPlane(sphere, {0, 0, 2}, normal * 0 + Vector3D(0, 0, 1)));
  EXPECT_THROW(snippedByPlane(sphere, {0, 0, 0}, Vector3D(0, 0, 0)), std::invalid_argument);
}
