#include "morvel/query/unified_projection_engine.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/cylinder_surface.h"
#include "morvel/surfaces/plane_surface.h"
#include "morvel/surfaces/sphere_surface.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace morvel_test {
namespace {

using namespace trova::projection;
using Engine = UnifiedProjectionEngine;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

UnifiedProjectionParams paramsFor(ProjectionType type, const Point3D& direction = {0, 0, -1}) {
  UnifiedProjectionParams params;
  params.projection_type = type;
  params.direction = direction;
  params.fitting_method = ProjectionFitting::Adaptive;
  params.result_type = ProjectionResultType::Both;
  params.tolerance = 1e-5;
  return params;
}

std::shared_ptr<Surface> plane() {  // z = 0, |x| <= 5, |y| <= 5
  return std::make_shared<PlaneSurface>(Point3D(-5, -5, 0), Vector3D(1, 0, 0), Vector3D(0, 1, 0),
                                        10.0, 10.0);
}
std::shared_ptr<Surface> cylinder() {  // radius 2 about z, from z = -3 to 3
  return std::make_shared<CylinderSurface>(Point3D(0, 0, -3), Vector3D(0, 0, 1), 2.0, 6.0);
}
std::shared_ptr<Surface> sphere() { return std::make_shared<SphereSurface>(Point3D(0, 0, 0), 1.0); }
std::shared_ptr<Surface> paraboloid() {  // z = x^2 + y^2 over the square |x|, |y| <= 1
  std::vector<std::vector<Point3D>> net(3);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j)
      net[i].emplace_back(i - 1, j - 1, (i == 1 ? -1 : 1) + (j == 1 ? -1 : 1));
  return BSplineSurface::createClamped(net, 2, 2);
}

TEST(ProjectionParams, AreJudged) {
  struct Case {
    ProjectionType type;
    Point3D direction;
    double tolerance;
    int samples;
    bool isValid;
  };
  using enum ProjectionType;
  for (const Case& c : std::vector<Case>{
           {ClosestPoint, {0, 0, -1}, 1e-3, 50, true},
           {ClosestPoint, {0, 0, 0}, 1e-3, 5, true},
           {ClosestPoint, {0, 0, -1}, 1e-3, 4, false},
           {ClosestPoint, {0, 0, -1}, 0, 50, false},
           {ClosestPoint, {0, 0, -1}, kNaN, 50, false},
           {View, {0, 0, 0}, 1e-3, 50, true},
           {CustomVector, {0, 0, 0}, 1e-3, 50, false},
           {CustomVector, {6e-13, 0, 6e-13}, 1e-3, 50, false},
           {CustomVector, {8e-13, 0, 8e-13}, 1e-3, 50, true},
           {CustomVector, {1e300, 1e300, 0}, 1e-3, 50, true},
           {CustomVector, {kNaN, 0, 1}, 1e-3, 50, false},
       }) {
    UnifiedProjectionParams params;
    params.projection_type = c.type;
    params.direction = c.direction;
    params.tolerance = c.tolerance;
    params.sample_count = c.samples;
    EXPECT_EQ(params.validate(), c.isValid);
  }
}

TEST(ProjectionTexts, GoBothWaysAndFallBack) {
  for (int k = 0; k < 4; ++k) {
    const auto type = static_cast<ProjectionType>(k);
    EXPECT_EQ(utils::string_to_projection_type(utils::projection_type_to_string(type)), type);
  }
  for (int k = 0; k < 3; ++k) {
    const auto result = static_cast<ProjectionResultType>(k);
    const auto fitting = static_cast<ProjectionFitting>(k);
    EXPECT_EQ(utils::string_to_result_type(utils::result_type_to_string(result)), result);
    EXPECT_EQ(utils::string_to_fitting_method(utils::fitting_method_to_string(fitting)), fitting);
  }
  EXPECT_EQ(utils::projection_type_to_string(ProjectionType(1)), "surface_normal");
  EXPECT_EQ(utils::result_type_to_string(ProjectionResultType(1)), "3d_curve");
  EXPECT_EQ(utils::string_to_projection_type("Closest"), ProjectionType::ClosestPoint);
  EXPECT_EQ(utils::projection_type_to_string(ProjectionType(9)), "closest_point");
  EXPECT_EQ(utils::result_type_to_string(ProjectionResultType(9)), "curve_on_surface");
  EXPECT_EQ(utils::fitting_method_to_string(ProjectionFitting(-1)), "loose");
  EXPECT_EQ(utils::string_to_multiple_intersections("user_select"),
            MultipleIntersections::UserSelect);
  EXPECT_EQ(utils::string_to_multiple_intersections("?", MultipleIntersections::All),
            MultipleIntersections::All);
}

TEST(NewtonProjection, ConvergesLeavesTheDomainAndStopsWhereItMust) {
  const auto surface = paraboloid();
  const auto [u, v] =
      Engine::newton_raphson_surface_projection({0.3, -0.2, 0.13}, *surface, 0.6, 0.5, 1e-12);
  EXPECT_THAT(surface->evaluate(u, v), IsNear(Point3D(0.3, -0.2, 0.13), 1e-9));
  const auto beyond =
      Engine::newton_raphson_surface_projection({20, 3, 1}, *plane(), 0.5, 0.5, 1e-9);
  // Its own evaluation ends at the edge, the iteration does not.
  EXPECT_GT(beyond.first, 1.0);
  // On the axis at the focus-like height where both curvatures cancel the determinant: stays.
  const auto stuck =
      Engine::newton_raphson_surface_projection({1e-9, 0, 0.5}, *surface, 0.5, 0.5, 1e-12);
  EXPECT_EQ(stuck, std::pair(0.5, 0.5));
}

TEST(DirectionalNewton, FindsACrossingOrNone) {
  const auto surface = paraboloid();
  const auto hit = Engine::newton_directional_projection({0.4, 0.5, 9}, {0, 0, -1}, *surface, 0.1,
                                                         0.1, 1e-9, 50);
  ASSERT_TRUE(hit);
  EXPECT_THAT(hit->point, IsNear(Point3D(0.4, 0.5, 0.41), 1e-9));
  EXPECT_NEAR(hit->along, 8.59, 1e-9);
  EXPECT_FALSE(
      Engine::newton_directional_projection({1.2, 0, 9}, {0, 0, -1}, *surface, 0.5, 0.5, 1e-9, 50));
}

TEST(ProjectionDirection, IsAUnitVectorForAnyLength) {
  using enum ProjectionType;
  for (const double scale : {1e-11, 1.0, 1e300})
    EXPECT_THAT(
        Engine::resolve_projection_direction(paramsFor(CustomVector, {3 * scale, 0, -4 * scale})),
        IsNear(Vector3D(0.6, 0, -0.8), 1e-15));
  EXPECT_THAT(Engine::resolve_projection_direction(paramsFor(View, {0, 0, 0})),
              IsNear(Vector3D(0, 0, -1), 0.0));
  EXPECT_THROW(Engine::resolve_projection_direction(paramsFor(View, {kNaN, 0, 0})),
               std::invalid_argument);
}

TEST(ProjectedPoints, AreChosenAmong) {
  const auto ball = sphere();
  const SurfaceSearch search(*ball);
  auto params = paramsFor(ProjectionType::CustomVector, {2, 0, 0});
  const auto along = [&](MultipleIntersections choice, bool forwardOnly) {
    params.multiple_intersections = choice;
    params.forward_only = forwardOnly;
    std::vector<double> result;
    for (const ProjectedPoint& hit : Engine::project_point({0.5, 0, 0}, search, params))
      result.push_back(std::round(hit.along * 1e9) / 1e9);
    return result;
  };
  using Alongs = std::vector<double>;
  using enum MultipleIntersections;
  EXPECT_EQ(along(Nearest, false), Alongs({0.5}));
  EXPECT_EQ(along(All, false), Alongs({0.5, -1.5}));
  EXPECT_EQ(along(UserSelect, false), Alongs({-1.5, 0.5}));
  EXPECT_EQ(along(All, true), Alongs({0.5}));
  params.direction = {-1, 0, 0};
  EXPECT_EQ(along(All, true), Alongs({1.5}));
  EXPECT_THROW(Engine::project_point({kNaN, 0, 0}, search, params), std::invalid_argument);
}

// The closed form of each projected curve, at the parameter of the original.
struct CurveCase {
  const char* name;
  std::shared_ptr<Surface> surface;
  std::shared_ptr<Curve> curve;
  ProjectionType type;
  Point3D direction;
  std::function<Point3D(const Point3D&)> exact;
};

TEST(ProjectedCurves, FollowClosedForms) {
  const auto wave = std::make_shared<BSplineCurve>(planarWave());
  const auto onCylinder = [](const Point3D& p) {
    const double r = std::hypot(p.x(), p.y());
    return Point3D(2 * p.x() / r, 2 * p.y() / r, p.z());
  };
  const auto line = std::make_shared<LineCurve>(Point3D(-3, 1, -2), Point3D(3, 2.5, 2));
  const auto away = std::make_shared<LineCurve>(Point3D(0.2, 0.5, 5), Point3D(-0.4, 0.6, 4));
  for (const CurveCase& c : std::vector<CurveCase>{
           {"wave on a plane",
            plane(),
            std::shared_ptr<Curve>(wave->transform(Transform3D::translation({-4, 0, 3}))),
            ProjectionType::ClosestPoint,
            {},
            [](const Point3D& p) { return Point3D(p.x(), p.y(), 0); }},
           {"line on a cylinder", cylinder(), line, ProjectionType::ClosestPoint, {}, onCylinder},
           {"line on a cylinder, normal",
            cylinder(),
            line,
            ProjectionType::SurfaceNormal,
            {},
            onCylinder},
           {"line on a sphere",
            sphere(),
            away,
            ProjectionType::ClosestPoint,
            {},
            [](const Point3D& p) {
              return Point3D::origin() + (p - Point3D::origin()).normalized();
            }},
           {"line down a sphere",
            sphere(),
            away,
            ProjectionType::View,
            {0, 0, -1},
            [](const Point3D& p) {
              return Point3D(p.x(), p.y(), std::sqrt(1 - p.x() * p.x() - p.y() * p.y()));
            }},
           {"line down a paraboloid",
            paraboloid(),
            away,
            ProjectionType::CustomVector,
            {0, 0, 7},
            [](const Point3D& p) { return Point3D(p.x(), p.y(), p.x() * p.x() + p.y() * p.y()); }},
       }) {
    SCOPED_TRACE(c.name);
    const auto params = paramsFor(c.type, c.direction);
    const auto pieces = Engine::project_single_curve(*c.curve, c.surface, params);
    ASSERT_EQ(pieces.size(), 1u);
    const ProjectionResult& piece = pieces[0];
    double measured = 0.0;
    for (int k = 0; k <= 777; ++k) {
      const auto interval = c.curve->getParameterInterval();
      const double t = interval.start + interval.length() * k / 777;
      const Point3D exact = c.exact(c.curve->evaluate(t));
      measured = std::max(measured, piece.curve_on_surface->evaluate(t).distanceTo(exact));
      EXPECT_THAT(piece.curve_3d->evaluate(t), IsNear(exact, 4e-5)) << t;
    }
    EXPECT_LE(measured, 1.5e-5);
    EXPECT_LE(piece.quality.max_deviation, 1.5e-5);  // what it says is what there is
    EXPECT_NEAR(piece.quality.max_deviation, measured, 5e-6);
    EXPECT_LE(piece.quality.mean_deviation, piece.quality.max_deviation);
    EXPECT_EQ(piece.quality.sample_count, int(piece.samples.size()));
    EXPECT_GE(piece.quality.sample_count, params.sample_count);
  }
}

TEST(ProjectedCurves, FallIntoPiecesAtEdgesSeamsAndGaps) {
  const auto across = std::make_shared<LineCurve>(Point3D(-9, 0.5, 1), Point3D(8, 0.5, 2));
  auto params = paramsFor(ProjectionType::View);
  // It leaves the plane at x = -5 and 5: the ends are found, not the next samples.
  auto pieces = Engine::project_single_curve(*across, plane(), params);
  ASSERT_EQ(pieces.size(), 1u);
  const auto interval = pieces[0].curve_on_surface->getParameterInterval();
  EXPECT_THAT(pieces[0].curve_on_surface->evaluate(interval.start),
              IsNear(Point3D(-5, 0.5, 0), 1e-6));
  EXPECT_THAT(pieces[0].curve_on_surface->evaluate(interval.end), IsNear(Point3D(5, 0.5, 0), 1e-6));

  // A circle about a cylinder has one seam to cross, and the pieces meet there.
  const CircleCurve circle({0.3, 0, 1}, {0, 0, 1}, 3.0);
  pieces =
      Engine::project_single_curve(circle, cylinder(), paramsFor(ProjectionType::ClosestPoint));
  double length = 0.0;
  for (const ProjectionResult& piece : pieces)
    length += piece.curve_on_surface->getTotalLength();
  EXPECT_LE(pieces.size(), 2u);
  EXPECT_NEAR(length, 4 * kPi, 1e-4);

  // Through a sphere along z: both sheets, each once.
  const LineCurve chord({-0.6, 0.1, 3}, {0.6, 0.2, 3});
  params.multiple_intersections = MultipleIntersections::All;
  pieces = Engine::project_single_curve(chord, sphere(), params);
  double above = 0, below = 0;
  for (const ProjectionResult& piece : pieces) {
    const double z = piece.samples[1].hit.point.z();
    (z > 0 ? above : below) += piece.curve_on_surface->getTotalLength();
  }
  EXPECT_NEAR(above, below, 1e-5);
  EXPECT_GT(above, 1.2);

  // A miss, a point, and what is kept of several.
  const LineCurve missing({20, 20, 1}, {30, 20, 1});
  EXPECT_TRUE(Engine::project_single_curve(missing, plane(), params).empty());
  const LineCurve plumb({1, 1, 1}, {1, 1, 4});
  EXPECT_TRUE(Engine::project_single_curve(plumb, plane(), params).empty());
  params.longest_piece_only = true;
  EXPECT_EQ(Engine::project_single_curve(chord, sphere(), params).size(), 1u);
}

TEST(ProjectedCurves, KeepCornersUnlessTangentsAreAskedFor) {
  const BSplineCurve bent({{-2, 0, 1}, {0, 0, 1}, {0, 2, 1}}, {0, 0, 0.5, 1, 1}, 1);
  auto params = paramsFor(ProjectionType::View);
  params.fitting_method = ProjectionFitting::Loose;
  auto sharp = projectCurve(bent, plane(), params);
  params.tangent_continuity = true;
  auto smooth = projectCurve(bent, plane(), params);
  ASSERT_TRUE(sharp && smooth);
  EXPECT_THAT(sharp->evaluate(0.5), IsNear(Point3D(0, 0, 0), 1e-9));
  EXPECT_NEAR(sharp->getTangent(0.5 - 1e-6).dot(sharp->getTangent(0.5 + 1e-6)), 0, 1e-3);
  EXPECT_NEAR(smooth->getTangent(0.5 - 1e-6).dot(smooth->getTangent(0.5 + 1e-6)), 1, 1e-3);
}

TEST(ProjectedCurves, OfHostileInputAreRefused) {
  const LineCurve line({0, 0, 1}, {1, 1, 1});
  std::vector<std::vector<Point3D>> net(3, std::vector<Point3D>(3, Point3D(kNaN, 0, 0)));
  const std::shared_ptr<Surface> broken = BSplineSurface::createClamped(net, 2, 2);
  EXPECT_THROW(Engine::project_single_curve(line, broken, {}), std::invalid_argument);
  EXPECT_THROW(Engine::project_single_curve(line, nullptr, {}), std::invalid_argument);
  const BSplineCurve lost({{0, 0, 0}, {kNaN, 0, 0}, {1, 1, 1}}, {0, 0, 0, 1, 1, 1}, 2);
  EXPECT_THROW(Engine::project_single_curve(lost, plane(), {}), std::invalid_argument);
  UnifiedProjectionParams coarse;
  coarse.sample_count = 4;
  EXPECT_THROW(Engine::project_single_curve(line, plane(), coarse), std::invalid_argument);
  // On the axis of a cylinder every direction is as close; there is an answer, and it is finite.
  const LineCurve axis({0, 0, -1}, {0, 0, 1});
  for (const auto& piece : Engine::project_single_curve(axis, cylinder(), {}))
    EXPECT_TRUE(piece.curve_on_surface->evaluate(0.5).isFinite());
}

TEST(ProjectionReports, ListEveryPair) {
  const LineCurve inside({0, 0, 1}, {1, 1, 1}), missing({20, 20, 1}, {30, 20, 1});
  const std::vector<const Curve*> curves{&inside, &missing};
  const std::vector<std::shared_ptr<const Surface>> surfaces{plane(), sphere()};
  const auto params = paramsFor(ProjectionType::View);
  const ProjectionReport report = Engine::project_geometry(curves, surfaces, params);
  ASSERT_EQ(report.outcomes.size(), 4u);
  EXPECT_TRUE(report.outcomes[0].success);
  EXPECT_TRUE(report.outcomes[1].success);
  EXPECT_FALSE(report.outcomes[2].success);
  EXPECT_EQ(report.outcomes[2].message, "The curve's projection misses the surface");
  EXPECT_EQ(report.pieceCount(), 2u);
  EXPECT_NEAR(report.quality().max_distance, 1.0, 1e-6);
  const auto lines = Engine::generate_preview(curves, surfaces, params);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_THAT(lines[0].back(), IsNear(Point3D(1, 1, 0), 1e-9));
  EXPECT_TRUE(Engine::cache().empty());
}

}  // namespace
}  // namespace morvel_test
