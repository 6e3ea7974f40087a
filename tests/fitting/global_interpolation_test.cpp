#include "morvel/fitting/global_interpolation.h"

#include <gmock/gmock.h>

#include <limits>
#include <random>
#include <utility>

#include "morvel/fitting/bspline_interpolation_engine.h"
#include "morvel/fitting/internal/collocation.h"
#include "morvel/foundation/wide_registers.h"
#include "tests/fitting/curve_samples.h"

namespace {

using namespace morvel_test;
using namespace trova::geometry;
using testing::ElementsAre;
using testing::HasSubstr;
using Options = BSplineInterpolationEngine::InterpolationOptions;

TEST(AveragedKnots, AreMeansOfConsecutiveParameters) {
  EXPECT_THAT(generateAverageKnotVector({0, 0.125, 0.375, 0.625, 1}, 2),
              ElementsAre(0, 0, 0, 0.25, 0.5, 1, 1, 1));
  EXPECT_THAT(generateAverageKnotVector({0, 0.125, 0.25, 0.75, 1}, 3),
              ElementsAre(0, 0, 0, 0, 0.375, 1, 1, 1, 1));
  EXPECT_THAT(getChordParameterization({{0, 0, 0}, {3, 4, 0}, {3, 4, 15}}),
              ElementsAre(0, 0.25, 1));
  EXPECT_THAT(getChordParameterization({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}), ElementsAre(0, 0.5, 1));
}

// Random increasing parameters; the longest step is ten times the shortest.
std::vector<double> unevenParameters(int count) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> exponent(0.0, 1.0);
  std::vector<double> params(count, 0.0);
  for (int i = 1; i < count; ++i)
    params[i] = params[i - 1] + std::pow(10.0, exponent(random));
  for (double& t : params)
    t /= params.back();
  params.back() = 1.0;
  return params;
}

TEST(GlobalInterpolation, SolvesTheCollocationSystemForEveryDegree) {
  const std::vector<Point3D> points = helix(40);
  const std::vector<double> params = unevenParameters(40);
  for (const int degree : {1, 2, 3, 4, 7}) {
    const auto curve = globalInterpolation(points, degree, params);
    ASSERT_TRUE(curve) << degree;
    for (std::size_t i = 0; i < points.size(); ++i)
      EXPECT_THAT(curve->evaluate(params[i]), IsNear(points[i], 1e-9)) << degree;
    const auto dense = denseBasis(params, curve->getKnotVector(), degree);
    EXPECT_LT(largestDifference(*curve, orthogonalSolution(dense, asMatrix(points))), 1e-9);
  }
}

TEST(GlobalInterpolation, ReproducesACubic) {
  const auto cubic = [](double t) { return Point3D(t * t * t, 1 - 2 * t, t * (t - 1)); };
  const std::vector<double> params = unevenParameters(30);
  std::vector<Point3D> points;
  for (const double t : params)
    points.push_back(cubic(t));
  const auto curve = globalInterpolation(points, 3, params);
  ASSERT_TRUE(curve);
  for (const double t : {0.01, 0.33, 0.77, 0.995})
    EXPECT_THAT(curve->evaluate(t), IsNear(cubic(t), 1e-12));
}

TEST(GlobalInterpolation, TakesParametersInAnyOrder) {
  const std::vector<double> params{0, 0.3, 0.2, 0.6, 0.5, 1};
  const std::vector<Point3D> points = helix(6);
  const auto curve = globalInterpolation(points, 3, params);
  ASSERT_TRUE(curve);
  for (std::size_t i = 0; i < points.size(); ++i)
    EXPECT_THAT(curve->evaluate(params[i]), IsNear(points[i], 1e-12));
}

TEST(GlobalInterpolation, HasNoCurveWhereTheSystemHasNoAnswer) {
  const std::vector<Point3D> points = helix(5);
  const std::vector<double> good{0, 0.2, 0.4, 0.8, 1};
  EXPECT_FALSE(globalInterpolation(points, 3, {0, 0.2, 0.2, 0.8, 1}));  // one parameter twice
  EXPECT_FALSE(globalInterpolation(points, 3, {0, 0.2, 0.2 + 1e-17, 0.8, 1}));
  EXPECT_FALSE(globalInterpolation(points, 2, {0, 0.9, 0.1, 0.05, 1}));  // knots that fall
  EXPECT_FALSE(globalInterpolation(points, 3, {0, 0.2, std::nan(""), 0.8, 1}));
  EXPECT_FALSE(globalInterpolation(points, 3, {0, 0, 0, 0, 0}));
  EXPECT_FALSE(globalInterpolation(points, 5, good));
  EXPECT_FALSE(globalInterpolation(points, 0, good));
  EXPECT_FALSE(globalInterpolation(points, 3, {0, 1}));
  std::vector<Point3D> broken = points;
  broken[2].setY(std::numeric_limits<double>::infinity());
  EXPECT_FALSE(globalInterpolation(broken, 3, good));
}

TEST(Collocation, SolvesManyRightHandSidesAsIfOneByOne) {
  constexpr int kSize = 30, kWidth = 130;
  for (const auto& params : {unevenParameters(kSize), [] {
                               auto swapped = unevenParameters(kSize);
                               std::swap(swapped[10], swapped[11]);
                               return swapped;
                             }()}) {
    internal::Collocation system(params, 3);
    ASSERT_TRUE(system.factor());
    const Eigen::MatrixXd data = Eigen::MatrixXd::Random(kSize, kWidth);
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> rows = data;
    ASSERT_TRUE(system.solve(rows.data(), kWidth));
    const Eigen::MatrixXd dense = denseBasis(params, system.knots(), 3);
    EXPECT_LT((dense * rows - data).cwiseAbs().maxCoeff(), 1e-10);
    Eigen::VectorXd last = data.col(kWidth - 1);
    ASSERT_TRUE(system.solve(last.data(), 1));
    EXPECT_LT((last - rows.col(kWidth - 1)).cwiseAbs().maxCoeff(), 1e-12);

    // Without wide registers, where there are any: the same bits.
    decltype(rows) narrow = data;
    const bool hasThem = std::exchange(trova::foundation::usesWideRegisters, false);
    ASSERT_TRUE(system.solve(narrow.data(), kWidth));
    trova::foundation::usesWideRegisters = hasThem;
    EXPECT_EQ(rows, narrow);
  }
}

TEST(InterpolationEngine, PassesThroughAHundredThousandPoints) {
  const QuietStatus quiet;
  const auto result = BSplineInterpolationEngine::interpolate_points_detailed(helix(100'000));
  ASSERT_TRUE(result.success) << result.error_message;
  EXPECT_EQ(result.num_control_points, 100'000);
  EXPECT_EQ(result.degree, 3);
  EXPECT_LT(result.max_error, 1e-12);
  EXPECT_LE(result.rms_error, result.max_error);
}

TEST(InterpolationEngine, ChoosesTheDegreeAndReportsPointsBeyondTheTolerance) {
  EXPECT_EQ(BSplineInterpolationEngine::interpolate_points(helix(2))->getDegree(), 1);
  EXPECT_EQ(BSplineInterpolationEngine::interpolate_points(helix(3))->getDegree(), 2);
  Options options;
  options.parameterization = int(GeometricCore::ParameterizationMethod::CENTRIPETAL);
  options.tolerance = 0.0;
  auto points = helix(30);
  for (Point3D& point : points)
    point = point * 1e6;
  const CapturedStreams streams;
  EXPECT_TRUE(BSplineInterpolationEngine::interpolate_points_detailed(points, options).success);
  EXPECT_THAT(streams.out(), HasSubstr("   📊 ENGINE2: Using alternative parameterization\n"));
  EXPECT_THAT(streams.out(), HasSubstr(" exceeds tolerance 0\n"));
}

TEST(InterpolationEngine, SaysWhyThereIsNoCurve) {
  const auto withDegree = [](int degree) {
    Options options;
    options.degree = degree;
    return options;
  };
  Options badKnots;
  badKnots.knot_vector = {0, 1};
  Options zeros;
  zeros.parameterization = 9;
  auto repeated = helix(6);
  repeated[3] = repeated[2];
  auto broken = helix(6);
  broken[4].setX(std::nan(""));
  const struct {
    std::vector<Point3D> points;
    Options options;
    const char* text;
  } cases[] = {
      {helix(1), {}, "At least 2 points required for curve interpolation"},
      {helix(4), withDegree(4), "Need at least 5 points for degree 4 interpolation"},
      {helix(4), badKnots,
       "Invalid knot vector for interpolation: Knot vector size mismatch. Expected 8, got 2"},
      {repeated,
       {},
       "Duplicate consecutive points detected at indices 2 and 3 - interpolation matrix would be "
       "singular"},
      {broken, {}, "Points must be finite"},
  };
  for (const auto& each : cases) {
    const CapturedStreams streams;
    const auto result =
        BSplineInterpolationEngine::interpolate_points_detailed(each.points, each.options);
    EXPECT_FALSE(result.success || result.curve);
    EXPECT_EQ(result.error_message, each.text);
    EXPECT_EQ(streams.err(),
              std::string("❌ ENGINE2: Input validation failed: ") + each.text + "\n");
  }
  const CapturedStreams streams;
  const auto result = BSplineInterpolationEngine::interpolate_points_detailed(helix(6), zeros);
  EXPECT_EQ(result.error_message, "Global interpolation function returned null curve");
}

}  // namespace
