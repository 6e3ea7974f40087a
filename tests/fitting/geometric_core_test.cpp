#include "morvel/fitting/geometric_core.h"

#include <gmock/gmock.h>

#include <limits>

#include "tests/fitting/curve_samples.h"

namespace {

using namespace trova::geometry::GeometricCore;
using enum ParameterizationMethod;
using morvel_test::CapturedStreams;
using morvel_test::helix;
using morvel_test::QuietStatus;
using morvel_test::regularPolygon;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pointwise;
using trova::foundation::Point3D;

constexpr double kRounding = 1e-12;

TEST(Parameterization, FollowsTheSpacing) {
  // Steps of 1, 4 and 9, with roots 1, 2 and 3.
  const std::vector<Point3D> points{{0, 0, 0}, {1, 0, 0}, {1, 4, 0}, {1, 4, 9}};
  EXPECT_THAT(parameterize_points(points, UNIFORM), ElementsAre(0, 1.0 / 3, 2.0 / 3, 1));
  EXPECT_THAT(parameterize_points(points, CHORD_LENGTH), ElementsAre(0, 1.0 / 14, 5.0 / 14, 1));
  EXPECT_THAT(parameterize_points(points, CENTRIPETAL), ElementsAre(0, 1.0 / 6, 0.5, 1));
}

TEST(Parameterization, AdaptiveTurnsCentripetalAboveARatioOfAHundred) {
  for (const double step : {99.0, 101.0}) {
    const std::vector<Point3D> points{{0, 0, 0}, {1, 0, 0}, {1 + step, 0, 0}};
    EXPECT_EQ(parameterize_points(points, ADAPTIVE),
              parameterize_points(points, step > 100.0 ? CENTRIPETAL : CHORD_LENGTH));
  }
}

TEST(Parameterization, AxisAndAngleAreOrientedFromTheFirstPointToTheLast) {
  std::vector<Point3D> line;
  for (const double x : {0.0, 2.0, 1.0, 7.0, 10.0})
    line.emplace_back(5.0 - 3.0 * x, 4.0 * x, 1.0);
  EXPECT_THAT(parameterize_points(line, LINE_PROJECTION),
              Pointwise(DoubleNear(kRounding), {0.0, 0.2, 0.1, 0.7, 1.0}));
  for (const double turn : {2.0 * std::numbers::pi, -2.0 * std::numbers::pi})
    EXPECT_THAT(parameterize_points(regularPolygon(5, turn), CIRCULAR_ARC),
                Pointwise(DoubleNear(kRounding), {0.0, 0.25, 0.5, 0.75, 1.0}));
}

TEST(Parameterization, AutomaticChoiceGoesByTheSpreadAndSaysSo) {
  std::vector<Point3D> flat;
  for (int i = 0; i < 20; ++i)
    flat.emplace_back(i, 0.5 * std::sin(i), 0.0);
  const struct {
    std::vector<Point3D> points;
    ParameterizationMethod method;
    const char* decision;
  } cases[] = {
      {regularPolygon(40), CIRCULAR_ARC, "CIRCULAR_ARC parameterization for smooth circles"},
      {flat, LINE_PROJECTION, "LINE_PROJECTION parameterization for flat curves"},
      {helix(80), CENTRIPETAL, "CENTRIPETAL parameterization for complex 3D geometry"}};
  for (const auto& each : cases) {
    const CapturedStreams streams;
    EXPECT_EQ(parameterize_points(each.points, ADAPTIVE_AUTO),
              parameterize_points(each.points, each.method));
    EXPECT_THAT(streams.out(), HasSubstr("🔍 ADAPTIVE_AUTO GEOMETRIC ANALYSIS:\n"));
    EXPECT_THAT(streams.out(),
                HasSubstr(std::string("   🎯 DECISION: Using ") + each.decision + "\n"));
    EXPECT_THAT(streams.out(), HasSubstr(each.method == CIRCULAR_ARC ? "   Is circular: YES\n"
                                                                     : "   Is circular: NO\n"));
  }
}

TEST(Parameterization, PointsWithoutExtentAreUniformAndNothingIsEverNaN) {
  const QuietStatus quiet;
  constexpr double kHuge = 1e200;
  const std::vector<std::vector<Point3D>> hopeless{
      {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
      {{-kHuge, 0, 0}, {kHuge, 0, 0}, {-kHuge, kHuge, 0}},
      {{std::numeric_limits<double>::quiet_NaN(), 0, 0}, {1, 0, 0}, {2, 0, 0}}};
  for (int method = 0; method <= 6; ++method)
    for (const auto& points : hopeless)
      EXPECT_THAT(parameterize_points(points, ParameterizationMethod(method)),
                  Each(testing::AllOf(testing::Ge(0.0), testing::Le(1.0))));
  EXPECT_THAT(parameterize_points(hopeless[0], CENTRIPETAL), ElementsAre(0, 0.5, 1));
  EXPECT_THAT(parameterize_points(hopeless[0], ParameterizationMethod(7)), ElementsAre(0, 0, 0));
  EXPECT_THAT(parameterize_points({{1, 2, 3}}, UNIFORM), IsEmpty());
}

TEST(Knots, AreMadeAndJudged) {
  const KnotVectorInfo clamped = create_clamped_knots(5, 2);
  EXPECT_THAT(clamped.knots, ElementsAre(0, 0, 0, 1.0 / 3, 2.0 / 3, 1, 1, 1));
  EXPECT_TRUE(clamped.is_valid && clamped.is_clamped);
  const KnotVectorInfo uniform = create_uniform_knots(3, 1);
  EXPECT_THAT(uniform.knots, ElementsAre(0, 0.25, 0.5, 0.75, 1));
  EXPECT_TRUE(uniform.is_valid && !uniform.is_clamped);
  const std::pair<KnotVectorInfo, const char*> refused[] = {
      {create_clamped_knots(3, 3), "Not enough control points for degree 3"},
      {create_uniform_knots(2, 5), "Not enough control points for degree 5"},
      {validate_knot_vector({0, 0, 1, 0.5}, 2, 1),
       "Knot vector not in non-decreasing order at index 3"},
      {validate_knot_vector({0, 0, 1, 1, 1}, 2, 1),
       "Knot vector size mismatch. Expected 4, got 5"}};
  for (const auto& [info, text] : refused) {
    EXPECT_FALSE(info.is_valid);
    EXPECT_EQ(info.error_message, text);
  }
  EXPECT_FALSE(validate_knot_vector({0, 0, std::nan(""), 1}, 2, 1).is_valid);
}

TEST(DegreeAdvice, DependsOnThePointsAndTheHint) {
  const struct {
    int points;
    double hint;
    int degree;
    const char* reason;
  } cases[] = {{1, 1.0, 1, "Too few points, defaulting to linear"},
               {2, 1.0, 1, "Limited points, using degree 1"},
               {3, 9.0, 2, "Limited points, using degree 2"},
               {9, 0.4, 2, "Low complexity hint, using quadratic curves"},
               {9, 2.1, 3, "High complexity hint, using degree 3"},
               {90, 2.1, 5, "High complexity hint, using degree 5"},
               {4, 1.0, 3, "Default cubic curves for good balance of smoothness and control"}};
  for (const auto& each : cases) {
    const DegreeRecommendation advice = recommend_degree(each.points, each.hint);
    EXPECT_EQ(advice.degree, each.degree) << each.points;
    EXPECT_EQ(advice.reason, each.reason);
  }
  EXPECT_THAT(recommend_degree(90, 3.0).alternatives, ElementsAre(3, 4));
  EXPECT_THAT(recommend_degree(90, 1.0).alternatives, ElementsAre(2, 4));
}

TEST(DenseSolvers, AnswerOrSayThatThereIsNone) {
  const Eigen::MatrixXd line{{1, 0}, {1, 1}, {1, 2}};
  Eigen::VectorXd x;
  ASSERT_TRUE(solve_least_squares(line, Eigen::Vector3d(1, 2, 6), x));
  EXPECT_LT((x - Eigen::Vector2d(0.5, 2.5)).norm(), kRounding);  // the regression line by hand
  const Eigen::MatrixXd swap{{0, 2}, {4, 0}};
  ASSERT_TRUE(solve_linear_system(swap, Eigen::Vector2d(2, 8), x));
  EXPECT_LT((x - Eigen::Vector2d(2, 1)).norm(), kRounding);
  const Eigen::MatrixXd twice{{1, 2}, {2, 4}};
  EXPECT_FALSE(solve_linear_system(twice, Eigen::Vector2d(1, 1), x));
  EXPECT_FALSE(solve_linear_system(line, Eigen::Vector3d(1, 1, 1), x));
  EXPECT_FALSE(solve_least_squares(line, Eigen::Vector2d(1, 1), x));
  EXPECT_FALSE(solve_least_squares(line, Eigen::Vector3d(1, std::nan(""), 1), x));
  EXPECT_EQ(x, Eigen::Vector2d(2, 1));
}

TEST(BasisFunctions, GoByTheirSecondNames) {
  EXPECT_NEAR(basis_function_cox_deboor(1, 2, 0.25, {0, 0, 0, 1, 1, 1}), 2 * 0.25 * 0.75,
              kRounding);
  std::vector<double> values;
  basis_functions_all(1, 0.25, {0, 0, 1, 1}, 1, values);
  EXPECT_THAT(values, ElementsAre(0.75, 0.25));
}

}  // namespace
