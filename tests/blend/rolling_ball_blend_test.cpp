#include "morvel/blend/rolling_ball_blend_orchestrator.h"

#include <algorithm>

#include "morvel/blend/canal_surface_constructor.h"
#include "morvel/blend/offset_surface_generator.h"
#include "morvel/query/surface_search.h"
#include "tests/blend/blend_samples.h"
#include "tests/support/captured_streams.h"
#include "tests/support/near.h"

// The surfaces are measured as they are evaluated, against closed forms and closest points.

namespace {

using namespace morvel_test;
using namespace trova::geometry::blend;
using testing::ElementsAre;
using testing::HasSubstr;
using trova::projection::SurfaceSearch;
using Orchestrator = RollingBallBlendOrchestrator;

constexpr int kStations = 200;
constexpr int kAcross = 16;
constexpr double kDegree = 3.14159265358979323846 / 180;

PlaneSurface ground() { return rectangle({-4, -4, 0}, Vector3D(8, 0, 0), Vector3D(0, 8, 0)); }
PlaneSurface wall() { return rectangle({0, -3, -2}, Vector3D(0, 6, 0), Vector3D(0, 0, 5)); }

double angleBetween(const Vector3D& a, const Vector3D& b) {
  const double angle = std::atan2(a.cross(b).magnitude(), std::abs(a.dot(b)));
  return angle;
}

/// The circle through three points.
struct Circle {
  Circle(const Point3D& a, const Point3D& b, const Point3D& c) {
    const Vector3D ab = b - a, ac = c - a;
    normal = ab.cross(ac);
    const double n2 = normal.squaredMagnitude();
    const Vector3D out =
        (normal.cross(ab) * ac.squaredMagnitude() + ac.cross(normal) * ab.squaredMagnitude()) /
        (2.0 * n2);
    centre = a + out;
    radius = out.magnitude();
    normal = normal / std::sqrt(n2);
  }
  double deviation(const Point3D& p) const {
    return std::hypot((p - centre).dot(normal),
                      ((p - centre) - normal * (p - centre).dot(normal)).magnitude() - radius);
  }
  Point3D centre;
  Vector3D normal;
  double radius = 0.0;
};

/// The edge of the blend at v lies on the surface and is tangent to it there.
void expectTangent(const BSplineSurface& blend, double u, double v, const SurfaceSearch& search,
                   double radius, double largestAngle) {
  const Point3D edge = blend.evaluate(u, v);
  const auto foot = search.closest(edge);
  ASSERT_LE(foot.distance, 1e-3 * radius) << "at u = " << u;
  const Vector3D normal = search.surface().evaluateDerivatives(foot.u, foot.v, 1).normal;
  ASSERT_LE(angleBetween(blend.evaluateDerivatives(u, v, 1).normal, normal), largestAngle)
      << "at u = " << u << ", v = " << v;
}

void expectBallSections(const BSplineSurface& blend, const Surface& first, const Surface& second,
                        double radius) {
  const SurfaceSearch search1(first), search2(second);
  for (int k = 0; k < kStations; ++k) {
    const double u = k / (kStations - 1.0);
    const Circle circle(blend.evaluate(u, 0), blend.evaluate(u, 0.5), blend.evaluate(u, 1));
    ASSERT_NEAR(circle.radius, radius, 1e-3 * radius) << "at u = " << u;
    for (int j = 0; j <= kAcross; ++j)
      ASSERT_LE(circle.deviation(blend.evaluate(u, double(j) / kAcross)), 1e-3 * radius);
    expectTangent(blend, u, 0.0, search1, radius, 1.0 * kDegree);
    expectTangent(blend, u, 1.0, search2, radius, 1.0 * kDegree);
  }
}

RollingBallBlendResult blendOf(const Surface& a, const Surface& b, double radius,
                               BlendMethod method = BlendMethod::AlongBoth, bool blendOnly = true) {
  const CapturedStreams quiet;
  RollingBallBlendConfig config;
  config.blend_only = blendOnly;
  return Orchestrator::createWithMethod(a, b, radius, method, config);
}

TEST(RollingBallBlend, OfPerpendicularPlanesIsAQuarterCylinder) {
  for (const double r : {0.05, 0.5, 1.7}) {
    const auto result = blendOf(ground(), wall(), r, BlendMethod::AlongBoth, false);
    ASSERT_TRUE(result.success) << result.status;
    const BSplineSurface& blend = *result.blend_surface;
    for (int k = 0; k < kStations; ++k)
      for (int j = 0; j <= kAcross; ++j) {
        const Point3D p = blend.evaluate(k / (kStations - 1.0), double(j) / kAcross);
        ASSERT_NEAR(std::hypot(p.x() - r, p.z() - r), r, 1e-3 * r);
        ASSERT_TRUE(p.x() <= r * 1.001 && p.z() <= r * 1.001);
      }
    for (const double u : {0.0, 0.01, 0.37, 0.5, 1.0}) {
      EXPECT_THAT(blend.evaluate(u, 0), IsNear(Point3D(r, blend.evaluate(u, 0).y(), 0), 1e-3 * r));
      EXPECT_THAT(blend.evaluate(u, 1), IsNear(Point3D(0, blend.evaluate(u, 1).y(), r), 1e-3 * r));
      EXPECT_LT(angleBetween(blend.evaluateDerivatives(u, 0, 1).normal, {0, 0, 1}), 0.5 * kDegree);
      EXPECT_LT(angleBetween(blend.evaluateDerivatives(u, 1, 1).normal, {1, 0, 0}), 0.5 * kDegree);
    }
    // It runs along the whole edge, and so do spine and offsets.
    EXPECT_NEAR(std::abs(blend.evaluate(0, 0).y() - blend.evaluate(1, 0).y()), 6.0, 1e-6);
    EXPECT_THAT(result.spine->evaluate(0.5), IsNear(Point3D(r, 0, r), 1e-3 * r));
    EXPECT_NEAR(result.offset_surface1->evaluate(0.3, 0.8).z(), r, 1e-9);
    EXPECT_NEAR(result.offset_surface2->evaluate(0.3, 0.8).x(), r, 1e-9);
  }
}

struct Pair {
  const char* name;
  std::shared_ptr<const Surface> first;
  std::shared_ptr<const Surface> second;
  double radius;
};

class RollingBallBlendOf : public testing::TestWithParam<Pair> {};

TEST_P(RollingBallBlendOf, HasCircularSectionsTangentToBoth) {
  const Pair& pair = GetParam();
  int blends = 0;
  for (const BlendMethod method :
       {BlendMethod::AlongBoth, BlendMethod::AgainstBoth, BlendMethod::AlongFirst,
        BlendMethod::AlongSecond, BlendMethod::Automatic}) {
    const auto result = blendOf(*pair.first, *pair.second, pair.radius, method);
    if (!result.success) continue;
    ++blends;
    expectBallSections(*result.blend_surface, *pair.first, *pair.second, pair.radius);
    if (HasFatalFailure()) FAIL() << pair.name << ", method " << int(method);
  }
  EXPECT_EQ(blends, 5) << pair.name;
}

const std::shared_ptr<const Surface> kGround(ground().clone());
const auto kUpright =
    std::make_shared<CylinderSurface>(Point3D(0.2, 0.1, -2), Vector3D(0, 0, 1), 1.0, 4.0);
const auto kLying =
    std::make_shared<CylinderSurface>(Point3D(-3, 0, 0), Vector3D(1, 0, 0), 0.5, 6.0);
const std::shared_ptr<const Surface> kField = wavyField(0.15, 0.3);
const std::shared_ptr<const Surface> kWall = wavyWall(0.2, 0.5);
const std::shared_ptr<const Surface> kLevel(
    rectangle({1.9, 0, -2}, Vector3D(0.2, 4, 0), Vector3D(0.1, 0, 4)).clone());

INSTANTIATE_TEST_SUITE_P(Pairs, RollingBallBlendOf,
                         testing::Values(Pair{"plane and cylinder", kGround, kUpright, 0.3},
                                         Pair{"crossing cylinders", kUpright, kLying, 0.2},
                                         Pair{"plane and field", kField, kLevel, 0.25},
                                         Pair{"wavy surfaces", kField, kWall, 0.2}),
                         [](const auto& given) {
                           std::string name = given.param.name;
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return name;
                         });

TEST(RollingBallBlend, RadiusFollowsItsLaw) {
  const CapturedStreams quiet;
  const double r0 = 0.2, r1 = 0.5;
  const RadiusLaw linear({0, 1}, {r0, r1}, RadiusInterpolation::Linear);
  const RadiusLaw bulge({0, 0.4, 1}, {0.2, 0.35, 0.25}, RadiusInterpolation::Smooth);
  const auto field = wavyField(0.1, 0.3), upright = wavyWall(0.1, 0.5);
  for (const RadiusLaw& law : {linear, bulge})
    for (const auto& [first, second] :
         {std::pair<const Surface*, const Surface*>(kGround.get(), kLevel.get()),
          std::pair<const Surface*, const Surface*>(field.get(), upright.get())}) {
      RollingBallBlendConfig config;
      config.blend_only = false;
      const auto result =
          Orchestrator::createWithLaw(*first, *second, law, BlendMethod::AlongBoth, config);
      ASSERT_TRUE(result.success) << result.status;
      const SurfaceSearch search1(*first), search2(*second);
      for (int k = 0; k < kStations; ++k) {
        const double u = k / (kStations - 1.0), r = law.at(u);
        const Point3D centre = result.spine->evaluate(u);
        for (int j = 0; j <= kAcross; ++j)
          ASSERT_NEAR(result.blend_surface->evaluate(u, double(j) / kAcross).distanceTo(centre), r,
                      1e-3 * r)
              << u;
        ASSERT_NEAR(search1.closest(centre).distance, r, 1e-3 * r);
        ASSERT_NEAR(search2.closest(centre).distance, r, 1e-3 * r);
        expectTangent(*result.blend_surface, u, 0.0, search1, r, 1.0 * kDegree);
        expectTangent(*result.blend_surface, u, 1.0, search2, r, 1.0 * kDegree);
        if (HasFatalFailure()) FAIL();
      }
    }
}

TEST(RollingBallBlend, FailuresNameStageAndCause) {
  const auto high = rectangle({-4, -4, 9}, Vector3D(8, 0, 0), Vector3D(0, 8, 0));
  const BSplineSurface broken(ControlNet(2, 2), {0, 1}, {0, 1}, 3, 3);
  const BSplineSurface point(ControlNet(4, 4), {0, 0, 0, 0, 1, 1, 1, 1}, {0, 0, 0, 0, 1, 1, 1, 1},
                             3, 3);
  const SphereSurface ball({0, 0, 0.5}, 1.0);
  const SphereSurface resting({0, 0, 3.0}, 2.5);
  const char* const module1 = "Module 1 failed: Could not create offset surfaces";
  const char* const module2 = "Module 2 failed: Could not compute spine curve";
  const struct {
    const Surface& a;
    const Surface& b;
    double radius;
    const char* status;
    const char* cause;
  } cases[] = {
      {ground(), broken, 0.5, "One or both input surfaces are invalid", "Invalid input surfaces"},
      {ground(), wall(), 0.0, "Invalid radius", "Radius must be positive"},
      {ground(), wall(), NAN, "Invalid radius", "Radius must be positive"},
      {ground(), wall(), -1.0, "Invalid radius", "Radius must be positive"},
      {ground(), point, 0.5, module1, "Surface 2 has no normals"},
      {ground(), high, 0.5, module2, "do not meet"},
      {ground(), ground(), 0.5, module2, "coincide"},
      {ground(), resting, 0.25, module2, "without crossing"},
      {ground(), wall(), 20.0, module2, "do not meet"},
  };
  for (const auto& c : cases) {
    const auto result = blendOf(c.a, c.b, c.radius);
    EXPECT_FALSE(result.success);
    EXPECT_FALSE(result.blend_surface);
    EXPECT_EQ(result.status, c.status);
    ASSERT_FALSE(result.errors.empty());
    EXPECT_THAT(result.errors.back(), HasSubstr(c.cause)) << c.status;
  }
  // Inside the ball there is no room for a larger one.
  const auto along = blendOf(ground(), ball, 1.5, BlendMethod::AlongBoth);
  const auto against = blendOf(ground(), ball, 1.5, BlendMethod::AlongFirst);
  ASSERT_NE(along.success, against.success);
  const auto& inside = along.success ? against : along;
  EXPECT_EQ(inside.status, module1);
  EXPECT_THAT(inside.errors.back(), HasSubstr("radius of curvature of surface 2"));
  const auto none = blendOf(ground(), high, 0.5, BlendMethod::Automatic);
  ASSERT_EQ(none.errors.size(), 4u);
  EXPECT_THAT(none.errors[2], HasSubstr("against the second: Module 2 failed"));
}

TEST(RollingBallBlend, StagesAreAnnouncedAndConfigurationsChecked) {
  CapturedStreams streams;
  ASSERT_TRUE(Orchestrator::createRollingBallBlend(ground(), wall(), 0.5).success);
  const std::string said = streams.out();
  std::size_t at = 0;
  for (const char* text :
       {"Starting Rolling Ball Blend Orchestration", "Creating offset surfaces",
        "Computing spine curve", "Validating contact constraints", "Constructing canal surface",
        "Final validation", "Rolling ball blend completed successfully"}) {
    at = said.find(text, at);
    EXPECT_NE(at, std::string::npos) << text;
  }
  for (const auto& [member, value] : {std::pair(&RollingBallBlendConfig::offset_resolution, 2),
                                      {&RollingBallBlendConfig::offset_resolution, 201},
                                      {&RollingBallBlendConfig::intersection_resolution, 4},
                                      {&RollingBallBlendConfig::intersection_resolution, 101},
                                      {&RollingBallBlendConfig::canal_samples_along, 2},
                                      {&RollingBallBlendConfig::canal_samples_along, 1001},
                                      {&RollingBallBlendConfig::canal_samples_across, 101}}) {
    RollingBallBlendConfig config;
    config.*member = value;
    const auto result = Orchestrator::createRollingBallBlend(ground(), wall(), 0.5, config);
    EXPECT_EQ(result.status, "Configuration validation failed");
    EXPECT_THAT(result.errors, ElementsAre("Invalid configuration parameters"));
  }
}

TEST(OffsetSurface, LiesAtItsDistance) {
  const auto offset = OffsetSurfaceGenerator::createOffsetSurface(*kField, 0.25, 40);
  const SurfaceSearch search(*kField);
  for (const auto& [u, v] : {std::pair(0.13, 0.4), {0.52, 0.77}, {0.9, 0.5}})
    EXPECT_NEAR(search.closest(offset->evaluate(u, v)).distance, 0.25, 1e-4);
  const SphereSurface ball({1, 2, 3}, 1.0);  // its poles have no normals
  const auto larger = OffsetSurfaceGenerator::createOffsetSurface(ball, 0.25, 40);
  ASSERT_TRUE(larger);
  for (const auto& [u, v] : {std::pair(0.13, 0.0), {0.52, 0.77}, {0.9, 1.0}})
    EXPECT_NEAR(std::abs(larger->evaluate(u, v).distanceTo({1, 2, 3}) - 1.0), 0.25, 1e-3);
}

}  // namespace
