#include "morvel/blend/canal_surface_constructor.h"

#include <cmath>

#include "tests/blend/blend_samples.h"
#include "tests/support/captured_streams.h"
#include "tests/support/near.h"

// Canal surfaces on paths that are known: a quarter of a tube along a circle.

namespace {

using namespace morvel_test;
using namespace trova::geometry::blend;
using testing::HasSubstr;

constexpr double kPi = 3.14159265358979323846;
constexpr double kRing = 3.0, kTube = 0.5;

/// From the outermost line of a torus to its top, once around or part of it.
BallPath ringPath(double turns) {
  return [turns](double t) {
    const double angle = 2 * kPi * turns * t;
    const Vector3D out(std::cos(angle), std::sin(angle), 0), up(0, 0, 1);
    BallStation ball;
    ball.centre = Point3D() + out * kRing;
    ball.normal1 = out;
    ball.normal2 = up;
    ball.contact1 = ball.centre + out * kTube;
    ball.contact2 = ball.centre + up * kTube;
    ball.radius = kTube;
    ball.along = {-std::sin(angle), std::cos(angle), 0};
    return std::optional<BallStation>(ball);
  };
}

double distanceFromTorus(const Point3D& p) {
  return std::abs(std::hypot(std::hypot(p.x(), p.y()) - kRing, p.z()) - kTube);
}

double farthestFromTorus(const Surface& surface) {
  double most = 0.0;
  for (int i = 0; i <= 100; ++i)
    for (int j = 0; j <= 20; ++j)
      most = std::max(most, distanceFromTorus(surface.evaluate(i / 100.0, j / 20.0)));
  return most;
}

TEST(CanalSurface, SectionKindsLieOnTheBall) {
  BallStation ball;
  ball.centre = {1, 2, 3};
  ball.contact1 = {1, 2, 1};
  ball.contact2 = {3, 2, 3};
  ball.radius = 2.0;
  const std::vector<double> shares{0, 0.2, 0.5, 1};
  for (const auto& points :
       {CanalSurfaceConstructor::generateCircularCrossSection(ball, shares),
        CanalSurfaceConstructor::generateArcCrossSection(ball, shares),
        CanalSurfaceConstructor::generateConstrainedBSplineCrossSection(ball, shares),
        CanalSurfaceConstructor::generateCircularCrossSection(ball, shares, false)}) {
    ASSERT_EQ(points.size(), shares.size());
    EXPECT_THAT(points.front(), IsNear(ball.contact1, 1e-12));
    EXPECT_THAT(points.back(), IsNear(ball.contact2, 1e-12));
    for (const Point3D& p : points)
      EXPECT_NEAR(p.distanceTo(ball.centre), 2.0, 1e-3 * 2.0);
  }
  ball.contact2 = {1, 2, 5};  // opposite
  EXPECT_TRUE(CanalSurfaceConstructor::generateCircularCrossSection(ball, shares).empty());
}

TEST(CanalSurface, SectionsAreAddedUntilTheToleranceHolds) {
  CanalSurfaceConfig config;
  config.samples_along = 8;
  int fewer = 0;
  for (const double tolerance : {1e-3, 1e-5, 1e-7}) {
    config.position_tolerance = tolerance;
    const auto made = CanalSurfaceConstructor::constructCanalSurface(ringPath(0.7), config);
    ASSERT_TRUE(made.surface) << made.error;
    EXPECT_LE(made.deviation, tolerance);
    EXPECT_LE(farthestFromTorus(*made.surface), 2 * tolerance + 2e-6);
    EXPECT_GT(made.surface->getUControlPointCount(), fewer);
    fewer = made.surface->getUControlPointCount();
  }
  config.refine_along = false;
  const auto rough = CanalSurfaceConstructor::constructCanalSurface(ringPath(0.7), config);
  EXPECT_EQ(rough.surface->getUControlPointCount(), 8);
  EXPECT_NEAR(rough.deviation, farthestFromTorus(*rough.surface), rough.deviation / 2);
  config.check_surface = false;
  EXPECT_EQ(CanalSurfaceConstructor::constructCanalSurface(ringPath(0.7), config).deviation, 0.0);
}

TEST(CanalSurface, ClosedPathsGetEqualTangentsAtBothEnds) {
  CanalSurfaceConfig config;
  config.samples_along = 20;
  config.refine_along = false;
  const auto kink = [&] {
    const auto made = CanalSurfaceConstructor::constructCanalSurface(ringPath(1.0), config);
    double most = 0.0;
    for (const double v : {0.0, 0.3, 1.0}) {
      const auto a = made.surface->evaluateDerivatives(0, v, 1);
      const auto b = made.surface->evaluateDerivatives(1, v, 1);
      EXPECT_THAT(a.point, IsNear(b.point, 1e-12));
      most = std::max(most, (a.Su - b.Su).magnitude() / a.Su.magnitude());
    }
    EXPECT_LE(farthestFromTorus(*made.surface), 1e-2 * kTube);
    return most;
  };
  EXPECT_GT(kink(), 1e-6);
  config.closing = 1;
  EXPECT_LT(kink(), 1e-12);
}

TEST(CanalSurface, EngineOneFitsWhatItCanAndSaysWhereNot) {
  const CapturedStreams quiet;
  CanalSurfaceConfig config;
  config.interpolate = false;
  config.position_tolerance = 1e-3 * kTube;
  const auto fitted = CanalSurfaceConstructor::constructCanalSurface(ringPath(0.05), config);
  ASSERT_TRUE(fitted.surface) << fitted.error << " " << fitted.deviation;
  EXPECT_LE(farthestFromTorus(*fitted.surface), 1e-2 * kTube);
  // Tangent planes of a whole ring's quarter tube are upright at its rim: the plane of all points
  // cannot carry them at this tolerance.
  config.position_tolerance = 1e-7;
  const auto refused = CanalSurfaceConstructor::constructCanalSurface(ringPath(1.0), config);
  EXPECT_FALSE(refused.surface);
  EXPECT_EQ(refused.error, "SurfaceEngine1 created surface is invalid");
}

TEST(CanalSurface, FailuresSayWhy) {
  const auto none = [](double) { return std::optional<BallStation>(); };
  const auto opposite = [](double t) {
    auto ball = *ringPath(0.5)(t);
    ball.contact2 = ball.centre - ball.normal1 * kTube;
    return std::optional(ball);
  };
  const auto huge = [](double t) {
    auto ball = *ringPath(0.5)(t);
    const double far = t > 0.4 ? 1e308 : -1e308;
    ball.centre = ball.centre + Vector3D(far, far, 0);
    ball.contact1 = ball.contact1 + Vector3D(far, far, 0);
    ball.contact2 = ball.contact2 + Vector3D(far, far, 0.7);
    return std::optional(ball);
  };
  CanalSurfaceConfig config;
  const auto errorOf = [&](const BallPath& path) {
    const auto made = CanalSurfaceConstructor::constructCanalSurface(path, config);
    EXPECT_FALSE(made.surface);
    return made.error;
  };
  EXPECT_THAT(errorOf(none), HasSubstr("The ball cannot stand at 0.0"));
  EXPECT_THAT(errorOf(opposite), HasSubstr("The contacts leave no arc at 0.0"));
  EXPECT_FALSE(errorOf(huge).empty());
  config.degree_u = 10;
  EXPECT_EQ(errorOf(ringPath(0.5)), "The degrees of the canal surface must be 1-9");

  const std::vector<Point3D> centres{{0, 0, 0}, {0, 1, 0}, {0, 1, 0}};
  const std::vector<Point3D> left{{-1, 0, 0}, {-1, 1, 0}, {-1, 1, 0}};
  const std::vector<Point3D> below{{0, 0, -1}, {0, 1, -1}, {0, 1, -1}};
  const std::vector<double> one{1.0}, two{1.0, 1.0};
  const auto tripletError = [&](std::size_t count, std::span<const double> radii) {
    return CanalSurfaceConstructor::constructFromTriplets(
               std::span(centres).first(count), std::span(left).first(count), below, radii, {})
        .error;
  };
  EXPECT_THAT(tripletError(2, one), HasSubstr("at least two centres with two contacts each"));
  EXPECT_THAT(tripletError(3, two), HasSubstr("at least two centres"));
  EXPECT_THAT(tripletError(3, one), HasSubstr("neighbours coincide"));
}

}  // namespace
