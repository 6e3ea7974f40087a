#include "morvel/fitting/surface_constrained_fitting_engine.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include "morvel/fitting/constraint_application.h"
#include "morvel/fitting/internal/constrained_solver.h"
#include "tests/support/captured_streams.h"
#include "tests/support/near.h"

namespace morvel_test {
namespace {

using namespace trova::geometry;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

double hill(double x, double y) { return 0.3 * std::sin(4 * x) * std::cos(3 * y) + 0.2 * x * y; }

Point3D onHill(double x, double y) { return {x, y, hill(x, y)}; }

/// n points of the hill over the unit square, at random but with its corners.
std::vector<Point3D> scatteredHill(int n) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> in(0.0, 1.0);
  std::vector<Point3D> points{onHill(0, 0), onHill(1, 0), onHill(0, 1), onHill(1, 1)};
  while (int(points.size()) < n)
    points.push_back(onHill(in(random), in(random)));
  return points;
}

/// The hill's points as approximation points at (x, y).
SurfaceConstraintSet hillConstraints(int n) {
  SurfaceConstraintSet set;
  for (const Point3D& p : scatteredHill(n))
    set.add_approximation_point(p, p.x(), p.y());
  return set;
}

SurfaceEngine3Options net(int nU, int nV) {
  SurfaceEngine3Options options;
  options.control_points_u = nU;
  options.control_points_v = nV;
  return options;
}

class ConstrainedFit : public testing::Test {
 protected:
  SurfaceConstrainedFittingEngine engine_;
  CapturedStreams streams_;
};

TEST_F(ConstrainedFit, PutsPlainListsOnALattice) {
  const SurfaceParameters sixteen = compute_square_lattice_parameters(16);
  EXPECT_EQ(sixteen[0], std::make_pair(0.0, 0.0));
  EXPECT_EQ(sixteen[6], std::make_pair(2.0 / 3, 1.0 / 3));
  EXPECT_EQ(sixteen[15], std::make_pair(1.0, 1.0));
  EXPECT_NEAR(compute_square_lattice_parameters(18)[17].second, 4.0 / (std::sqrt(18.0) - 1), 1e-15);
  std::vector<Point3D> points;
  for (const auto& [u, v] : sixteen)
    points.push_back(onHill(u, v));
  const SurfaceEngine3Result result = engine_.interpolate_points_only(points);
  ASSERT_TRUE(result.success) << result.error_message;
  EXPECT_EQ(result.control_points_u, 4);
  for (const auto& [u, v] : sixteen)
    EXPECT_THAT(engine_.evaluate_surface(u, v), IsNear(onHill(u, v), 1e-9));
  EXPECT_TRUE(engine_.fit_points_only(scatteredHill(18)).success);  // v is clamped
}

// Data that lies on a surface of the fitted kind comes back, by every route.
TEST_F(ConstrainedFit, ReproducesAPlaneFromScatteredPoints) {
  std::vector<Point3D> points = scatteredHill(400);
  for (Point3D& p : points)
    p.setZ(0.5 * p.x() - 0.25 * p.y() + 1.0);
  for (int method = 3; method <= 6; ++method) {
    SurfaceEngine3Options options = net(6, 5);
    options.parameterization_method = method;
    const SurfaceEngine3Result result = engine_.create_constrained_surface(points, {}, options);
    ASSERT_TRUE(result.success) << result.error_message;
    EXPECT_LT(result.max_deviation, 1e-9);
    EXPECT_GT(result.condition_number, 1.0);
  }
}

TEST_F(ConstrainedFit, MeetsHardConstraintsExactly) {
  for (const int side : {7, 16}) {  // the written-out and the local route
    SurfaceConstraintSet set = hillConstraints(3000);
    const double at[][2] = {{0.1, 0.2}, {0.5, 0.5}, {0.9, 0.3}, {0.3, 0.8}};
    for (const auto& [u, v] : at)
      set.add_interpolation_point({u, v, hill(u, v) + 0.05}, u, v);
    set.add_g1_tangent_constraint({}, 0.5, 0.5, {1, 0, 0.4}, {0, 1, -0.3}, 2.5);
    set.add_g1_normal_constraint({}, 0.75, 0.7, {0, 0, 1});
    const SurfaceEngine3Result result =
        engine_.create_constrained_surface({}, set, net(side, side));
    ASSERT_TRUE(result.success) << result.error_message;
    for (const auto& [u, v] : at)
      EXPECT_THAT(engine_.evaluate_surface(u, v), IsNear(Point3D(u, v, hill(u, v) + 0.05), 1e-9));
    constexpr double h = 1e-6;
    const Vector3D alongU =
        (engine_.evaluate_surface(0.5 + h, 0.5) - engine_.evaluate_surface(0.5 - h, 0.5)) / (2 * h);
    const Vector3D alongV =
        (engine_.evaluate_surface(0.5, 0.5 + h) - engine_.evaluate_surface(0.5, 0.5 - h)) / (2 * h);
    EXPECT_THAT(alongU, IsNear(Vector3D(1, 0, 0.4), 1e-7));
    EXPECT_THAT(alongV, IsNear(Vector3D(0, 1, -0.3), 1e-7));
    EXPECT_THAT(engine_.evaluate_surface_normal(0.75, 0.7).cross({0, 0, 1}),
                IsNear(Vector3D(), 1e-9));
    EXPECT_EQ(result.constraint_satisfaction, 1.0);
    EXPECT_GT(result.max_deviation, 0.01);  // the points were lifted off the hill
    EXPECT_LT(result.rms_deviation, 0.08);
    EXPECT_THAT(streams_.out(), HasSubstr("   Using direct solver for augmented system\n"));
  }
}

TEST_F(ConstrainedFit, IsTheMinimumUnderItsConstraints) {
  SurfaceConstraintSet set = hillConstraints(300);
  set.add_interpolation_point({0.4, 0.4, 0.5}, 0.4, 0.4);
  SurfaceEngine3Options options = net(6, 6);
  options.regularization = false;
  options.regularization_weight = 1e-13;
  ASSERT_TRUE(engine_.create_constrained_surface({}, set, options).success);
  const double best = engine_.compute_rms_deviation();
  // Moving two control points against each other along the constraint makes it worse.
  const BSplineSurface& found = *engine_.result().surface;
  const auto rms = [&](const BSplineSurface& surface) {
    double sum = 0.0;
    for (const SurfacePointConstraint& p : set.point_constraints()) {
      if (p.type == PointConstraintType::Approximation)
        sum += std::pow(p.position.distanceTo(surface.evaluate(p.u, p.v)), 2);
    }
    return std::sqrt(sum / 300);
  };
  EXPECT_NEAR(rms(found), best, 1e-12);
  for (const double step : {-1e-3, 1e-3}) {
    BSplineSurface moved = found;
    Point3D corner = moved.getControlPoint(5, 5);  // no part in the constraint at (0.4, 0.4)
    corner.setZ(corner.z() + step);
    moved.setControlPoint(5, 5, corner);
    EXPECT_GT(rms(moved), best);
  }
}

TEST_F(ConstrainedFit, BothRoutesGiveTheSameSurface) {
  using namespace trova::geometry::internal;
  using trova::foundation::nurbs::SplineBasis;
  for (const int side : {5, 12}) {
    const SplineBasis basis = SplineBasis::clampedUniform(side, 3);
    SurfaceNormalEquations equations(basis, basis);
    for (const Point3D& p : scatteredHill(2000))
      equations.add(p.x(), p.y(), p);
    const auto evaluator =
        std::make_shared<const BasisDerivativeEvaluator>(basis.knots(), basis.knots(), 3, 3);
    SurfaceConstraintSet set;
    for (int k = 1; k < 9; ++k)
      set.add_interpolation_point({k * 0.1, k * k * 0.01, 0.7}, k * 0.1, k * k * 0.01);
    set.add_g1_tangent_constraint({}, 0.6, 0.1, {1, 0, 1}, {0, 1, 1});
    std::string error;
    const HardRows rows = *hardRowsOf(set, evaluator, true, error);
    SolverSettings full, local;
    full.route = SolverRoute::Full;
    local.route = SolverRoute::Local;
    const double ridge = augmentedRidge(equations, rows, full);
    EXPECT_NEAR(augmentedRidge(equations, rows, local) / ridge, 1.0, 1e-9);
    const auto expectSame = [&](const ConstrainedSolution& a, const ConstrainedSolution& b) {
      ASSERT_TRUE(a.controlPoints && b.controlPoints);
      EXPECT_LT((*a.controlPoints - *b.controlPoints).norm(), 1e-9 * a.controlPoints->norm());
      EXPECT_NEAR(b.condition / a.condition, 1.0, 1e-3);
    };
    expectSame(solveAugmented(equations, rows, ridge, full),
               solveAugmented(equations, rows, ridge, local));
    expectSame(solveLeastSquaresFit(equations, full), solveLeastSquaresFit(equations, local));
  }
}

TEST_F(ConstrainedFit, RegularisesLeastSquaresWithGapsInTheData) {
  std::vector<Point3D> points;
  for (const Point3D& p : scatteredHill(3000)) {
    if (p.x() < 0.3 || p.x() > 0.9) points.push_back(p);
  }
  for (const int side : {10, 25}) {
    const SurfaceEngine3Result result =
        engine_.create_constrained_surface(points, {}, net(side, side));
    ASSERT_TRUE(result.success) << result.error_message;
    EXPECT_GT(result.condition_number, 1e12);
    EXPECT_LT(result.max_deviation, 0.02);
  }
  EXPECT_THAT(streams_.out(), HasSubstr("System is ill-conditioned, applying regularization\n"
                                        "   Applied regularization: λ = "));
}

TEST_F(ConstrainedFit, ChangesRouteWithOneHardConstraint) {
  SurfaceConstraintSet set = hillConstraints(60);
  engine_.create_constrained_surface({}, set);
  EXPECT_THAT(streams_.out(), HasSubstr("🔧 Solver Analysis:\n   System type: Least squares\n"));
  set.add_interpolation_point(onHill(0.5, 0.5), 0.5, 0.5);
  engine_.create_constrained_surface({}, set);
  EXPECT_THAT(streams_.out(), HasSubstr("System type: Lagrange multiplier (augmented)\n"));
  EXPECT_THAT(streams_.out(),
              HasSubstr("   ✅ Augmented system solved, extracted 16 control points\n"));
}

TEST_F(ConstrainedFit, HoldsOnGivenKnots) {
  SurfaceConstraintSet set = hillConstraints(500);
  set.add_interpolation_point({0.15, 0.5, 1}, 0.15, 0.5);
  SurfaceEngine3Options options;
  options.knots_u = {2, 2, 2, 2, 2.2, 2.4, 3.8, 6, 6, 6, 6};  // they are mapped onto [0, 1]
  const SurfaceEngine3Result result = engine_.create_constrained_surface({}, set, options);
  ASSERT_TRUE(result.success) << result.error_message;
  EXPECT_EQ(result.control_points_u, 7);
  EXPECT_NEAR(result.knots_u[6], 0.45, 1e-15);
  EXPECT_LT(engine_.compute_point_distance({0.15, 0.5, 1}, 0.15, 0.5), 1e-9);
}

TEST_F(ConstrainedFit, SaysWhatItRefuses) {
  const std::vector<Point3D> good = scatteredHill(50);
  const std::vector<Point3D> line{{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}};
  std::vector<Point3D> broken = good;
  broken[7].setY(kNaN);
  SurfaceEngine3Options eleven, unsorted, loose;
  eleven.degree_u = 11;
  unsorted.knots_v = {0, 0, 0, 0, 0.7, 0.3, 1, 1, 1, 1};
  loose.knots_u = {0, 0.1, 0.2, 0.3, 0.5, 0.6, 0.7, 0.8, 1};
  SurfaceConstraintSet outside, contradiction, crowded;
  outside.add_approximation_point({}, 0.5, 1.5);
  for (const double z : {0.0, 1.0})
    contradiction.add_interpolation_point({0, 0, z}, 0.5, 0.5);
  for (int k = 0; k < 10; ++k)  // ten conditions on the five control points of one edge
    crowded.add_interpolation_point({0, k * 0.1, std::sin(40.0 * k)}, 0.0, k / 9.0);
  struct Case {
    const char* text;
    std::vector<Point3D> points;
    SurfaceConstraintSet constraints;
    SurfaceEngine3Options options;
  };
  const Case cases[] = {
      {"No input data provided", {}, {}, {}},
      {"Invalid options: Invalid options: Check degrees, control points, and tolerance values",
       good,
       {},
       eleven},
      {"Insufficient data points for surface fitting (need at least 4)",
       {good[0], good[1], good[2]},
       {},
       {}},
      {"Invalid constraints", good, outside, {}},
      {"Invalid constraints", good, contradiction, {}},
      {"Data point 7 has a coordinate that is not finite", broken, {}, {}},
      {"Failed to initialize G1 constraint processor: Invalid V direction knot vector",
       good,
       {},
       unsorted},
      {"Invalid U direction knot vector", good, {}, loose},
      {"A surface needs at least 2 x 2 control points", good, {}, net(1, 5)},
      {"More hard constraints (10) than control points (9)", good, crowded, net(3, 3)},
      {"A control grid of 65536 x 65536 with 0 hard constraints is too large to be solved",
       good,
       {},
       net(65536, 65536)},
      {"Failed to solve augmented constraint system", good, crowded, net(5, 5)},
      {"Failed to solve augmented constraint system", good, crowded, net(5, 60)}};
  for (const Case& c : cases) {
    const SurfaceEngine3Result result =
        engine_.create_constrained_surface(c.points, c.constraints, c.options);
    const bool isSolvable = c.options.control_points_v == 60;  // sixty along the crowded edge
    EXPECT_EQ(result.success, isSolvable) << c.text;
    EXPECT_EQ(result.error_message, isSolvable ? "" : c.text);
    EXPECT_EQ(result.surface != nullptr, isSolvable);
  }
  for (const auto& points : {line, std::vector<Point3D>(9, Point3D(1, 2, 3))}) {
    EXPECT_THAT(engine_.create_constrained_surface(points, {}).error_message,
                HasSubstr("Failed to compute surface parameterization: "));
  }
  EXPECT_THAT(streams_.err(), HasSubstr("❌ Failed to initialize G1 constraint processor: Invalid V "
                                        "direction knot vector\n"));
}

TEST_F(ConstrainedFit, FindsPointsInTheParameterSpace) {
  SurfaceConstrainedFittingEngine engine(scatteredHill(2500));
  for (const int method : {4, 5, 6}) {
    engine.options().parameterization_method = method;
    const SurfaceParameters own = engine.project_points_to_parameter_space(engine.points());
    const SurfaceParameters direct = method == 4
                                         ? engine.compute_pca_parameterization()
                                         : engine.compute_least_squares_plane_parameterization();
    if (method == 6) continue;
    for (std::size_t k = 0; k < own.size(); k += 100) {
      EXPECT_NEAR(own[k].first, direct[k].first, 1e-9);
      EXPECT_NEAR(own[k].second, direct[k].second, 1e-9);
    }
  }
  EXPECT_THROW((void)engine.evaluate_surface(0.5, 0.5), std::logic_error);
}

TEST(SurfaceGridParameters, AverageTheLinesOfTheGrid) {
  // Rows at y = 0, 1, 3; columns at x = 0, 1, 2, 6.
  std::vector<Point3D> points;
  for (const double y : {0.0, 1.0, 3.0}) {
    for (const double x : {0.0, 1.0, 2.0, 6.0})
      points.push_back({x, y, 0});
  }
  using Method = SurfaceEngine3ParameterizationMethod;
  const double root = 2 + std::sqrt(4.0), root2 = 1 + std::sqrt(2.0);
  struct Case {
    Method method;
    double u, v;
  };
  for (const Case& c :
       {Case{Method::UNIFORM, 2.0 / 3, 0.5}, Case{Method::CHORD_LENGTH, 1.0 / 3, 1.0 / 3},
        Case{Method::CENTRIPETAL, 2 / root, 1 / root2}}) {
    const SurfaceParameters parameters = parameterize_point_grid(points, 3, 4, c.method);
    EXPECT_NEAR(parameters[6].first, c.u, 1e-14);
    EXPECT_NEAR(parameters[6].second, c.v, 1e-14);
  }
  EXPECT_THROW(parameterize_point_grid(points, 4, 4, Method::UNIFORM), std::invalid_argument);
}

TEST(SurfaceEngine3Result, ReportsItselfInTwoForms) {
  SurfaceEngine3Result result;
  result.success = true;
  result.control_points_u = 4;
  result.control_points_v = 6;
  result.warnings = {"thin data"};
  const CapturedStreams streams;
  result.print_summary();
  for (const char* line :
       {"\n=== Surface Engine3 Results ===\nSuccess: Yes\nDegrees: [3, 3]\nControl grid: 4 x 6\n"
        "Total control points: 24\nMax deviation: 0\n",
        "Constraints used:\n  Interpolation points: 0\n", "Timing:\n  Parameterization: 0 ms\n",
        "  Total: 0 ms\nWarnings:\n  - thin data\n============================\n\n"})
    EXPECT_THAT(streams.out(), HasSubstr(line));
  result.success = false;
  result.error_message = "broken";
  EXPECT_EQ(result.get_detailed_report(),
            "Surface Engine3 Detailed Report\n===============================\nSuccess: No\n"
            "Error: broken\n");
}

}  // namespace
}  // namespace morvel_test
