#include <gmock/gmock.h>

#include <functional>
#include <limits>

#include "morvel/fitting/bspline_fitting_engine.h"
#include "morvel/fitting/constrained_bspline_engine.h"
#include "tests/fitting/curve_samples.h"

namespace {

using namespace morvel_test;
using namespace trova::geometry;
using testing::ElementsAre;
using testing::HasSubstr;
using FitOptions = BSplineFittingEngine::FittingOptions;
using MixedOptions = ConstrainedBSplineEngine::ConstrainedFittingOptions;
using Constraint = ConstrainedBSplineEngine::PointConstraint;

// ---- least squares ------------------------------------------------------------------------------

// 200 points are solved as a written-out matrix, 201 by spans.
TEST(FittingEngine, IsTheLeastSquaresFitOnEitherSideOfTheSwitch) {
  const QuietStatus quiet;
  for (const int count : {60, 200, 201, 3000})
    for (const int degree : {1, 3, 6}) {
      FitOptions options;
      options.degree = degree;
      const auto points = helix(count);
      const auto fit = BSplineFittingEngine::fit_points_detailed(points, options);
      ASSERT_TRUE(fit.success) << fit.error_message;
      const auto dense = denseBasis(fit.parameters, fit.knot_vector, degree);
      const Eigen::MatrixXd controls = orthogonalSolution(dense, asMatrix(points));
      EXPECT_LT(largestDifference(*fit.curve, controls), 1e-9) << count << ", " << degree;
      const Eigen::VectorXd distances = (dense * controls - asMatrix(points)).rowwise().norm();
      EXPECT_NEAR(fit.max_error, distances.maxCoeff(), 1e-10);
      EXPECT_NEAR(fit.rms_error, distances.norm() / std::sqrt(count), 1e-10);
    }
}

TEST(FittingEngine, ControlPointsGrowWithThePointsUpToFifty) {
  const QuietStatus quiet;
  const struct {
    int points, degree, controls;
  } cases[] = {{2, 1, 2},   {2, -1, 2},   {3, -1, 3},   {4, 3, 4},     {8, 3, 7},
               {94, 3, 50}, {120, 3, 33}, {150, 4, 41}, {1000, 3, 50}, {100'000, 3, 50}};
  for (const auto& each : cases) {
    FitOptions options;
    options.degree = each.degree;
    const auto fit = BSplineFittingEngine::fit_points_detailed(helix(each.points), options);
    ASSERT_TRUE(fit.success) << each.points << ": " << fit.error_message;
    EXPECT_EQ(fit.num_control_points, each.controls) << each.points;
  }
}

TEST(FittingEngine, ReproducesASplineOfItsOwnKnots) {
  const QuietStatus quiet;
  const auto original = BSplineCurve::createClamped(helix(50), 3);
  FitOptions options;
  options.degree = 3;
  options.parameterization = GeometricCore::ParameterizationMethod::UNIFORM;
  std::vector<Point3D> points;
  for (int i = 0; i <= 5000; ++i)
    points.push_back(original->evaluate(i / 5000.0));
  const auto fit = BSplineFittingEngine::fit_points_detailed(points, options);
  ASSERT_TRUE(fit.success);
  EXPECT_LT(largestDifference(*fit.curve, asMatrix(original->getControlPoints())), 1e-11);
  EXPECT_LT(fit.max_error, 1e-12);
}

// Least squares of what is left once both ends are taken out, by orthogonal factors.
TEST(FittingEngine, EndConstraintPinsBothEndsAndFitsBetween) {
  const QuietStatus quiet;
  for (const int count : {5, 90, 400}) {
    FitOptions options;
    options.degree = 3;
    options.end_point_constraint = true;
    const auto points = helix(count);
    const auto fit = BSplineFittingEngine::fit_points_detailed(points, options);
    ASSERT_TRUE(fit.success) << fit.error_message;
    EXPECT_THAT(fit.curve->evaluate(0.0), IsNear(points.front(), 0.0));
    EXPECT_THAT(fit.curve->evaluate(1.0), IsNear(points.back(), 0.0));
    const auto dense = denseBasis(fit.parameters, fit.knot_vector, 3);
    const Eigen::MatrixXd data = asMatrix(points);
    const Eigen::Index m = dense.rows() - 2, n = dense.cols() - 2;
    const Eigen::MatrixXd rest =
        (data - dense.col(0) * data.row(0) - dense.col(n + 1) * data.row(m + 1)).middleRows(1, m);
    Eigen::MatrixXd controls(n + 2, 3);
    controls << data.row(0), orthogonalSolution(dense.block(1, 1, m, n), rest), data.row(m + 1);
    EXPECT_LT(largestDifference(*fit.curve, controls), 1e-9) << count;
  }
}

// As many control points as points, of both sizes: LU instead of least squares.
TEST(FittingEngine, SuppliedKnotsSetTheNumberOfControlPoints) {
  const QuietStatus quiet;
  for (const int count : {20, 400})
    for (const bool pinned : {false, true}) {
      FitOptions options;
      options.degree = 2;
      options.parameterization = GeometricCore::ParameterizationMethod::UNIFORM;
      options.knot_vector = GeometricCore::create_clamped_knots(count, 2).knots;
      options.end_point_constraint = pinned;
      const auto fit = BSplineFittingEngine::fit_points_detailed(helix(count), options);
      ASSERT_TRUE(fit.success) << fit.error_message;
      EXPECT_EQ(fit.num_control_points, count);
      EXPECT_LT(fit.max_error, 1e-9);
    }
}

TEST(FittingEngine, SystemsThatLeaveControlPointsOpenStillHaveAFiniteAnswer) {
  const QuietStatus quiet;
  for (const int controls : {100, 3000}) {  // for 60 points
    FitOptions options;
    options.degree = 3;
    options.knot_vector = GeometricCore::create_clamped_knots(controls, 3).knots;
    const auto fit = BSplineFittingEngine::fit_points_detailed(helix(60), options);
    ASSERT_TRUE(fit.success) << controls << ": " << fit.error_message;
    EXPECT_LT(fit.max_error, 1e-6) << controls;
    EXPECT_EQ(fit.warning.empty(), controls < 2000);
  }
}

TEST(FittingEngine, SaysWhyThereIsNoCurve) {
  const auto make = [](int degree, std::vector<double> knots = {}) {
    FitOptions options;
    options.degree = degree;
    options.knot_vector = std::move(knots);
    return options;
  };
  auto repeated = helix(6);
  repeated[5] = repeated[4];
  auto broken = helix(6);
  broken[0].setZ(std::numeric_limits<double>::infinity());
  const std::vector<Point3D> same(9, Point3D(1, 1, 1));
  const struct {
    std::vector<Point3D> points;
    FitOptions options;
    const char* text;
  } cases[] = {
      {{}, {}, "At least 2 points required for curve fitting"},
      {broken, {}, "Points must be finite"},
      {repeated, {}, "Duplicate consecutive points detected at indices 4 and 5"},
      {same, {}, "Duplicate consecutive points detected at indices 0 and 1"},
      {helix(5), make(5), "Final degree 5 too high for 5 points"},
      {helix(100), make(60),
       "Failed to generate knot vector: Not enough control points for degree 60"},
      {helix(9), make(2, {0, 0, 1, 0.5, 1, 1}),
       "Invalid knot vector: Knot vector not in non-decreasing order at index 3"},
      {helix(9), make(3, {0, 0, 1, 1}),
       "Provided knot vector invalid: Knot vector size mismatch. Expected 8, got 4"},
      {helix(9), make(1, {2, 2, 2, 2}), "Provided knot vector invalid: Knot vector has no extent"},
      {helix(6), make(2, {0, 0, 0, 0.0001, 0.0002, 0.0003, 1, 1, 1}),
       "Failed to solve linear system for control points"},
  };
  for (const auto& each : cases) {
    const CapturedStreams streams;
    const auto fit = BSplineFittingEngine::fit_points_detailed(each.points, each.options);
    EXPECT_FALSE(fit.success || fit.curve);
    EXPECT_EQ(fit.error_message, each.text);
    EXPECT_EQ(streams.err(), std::string("❌ Engine 1: ") + each.text + "\n");
  }
  const CapturedStreams streams;
  EXPECT_TRUE(BSplineFittingEngine::fit_points(helix(1000), 3));
  EXPECT_EQ(streams.out(),
            "   📊 Control Point Optimization: 1000 input points → 50 control points (degree=3)\n");
}

// ---- constraints --------------------------------------------------------------------------------

// Every tenth point is interpolated, all at even parameters.
std::vector<Constraint> mixedConstraints(int count) {
  const auto points = helix(count);
  std::vector<Constraint> constraints(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) {
    constraints[i].position = points[i];
    constraints[i].parameter = double(i) / (count - 1);
    constraints[i].type = i % (points.size() / 10) == 0 ? 0 : 1;
  }
  return constraints;
}

// The optimality conditions with every matrix written out by definition.
Eigen::MatrixXd optimum(const std::vector<Constraint>& constraints,
                        const std::vector<double>& knots, int degree, double lambda) {
  std::vector<double> through, near;
  std::vector<Point3D> throughPoints, nearPoints;
  for (const Constraint& constraint : constraints) {
    (constraint.type == 0 ? through : near).push_back(constraint.parameter);
    (constraint.type == 0 ? throughPoints : nearPoints).push_back(constraint.position);
  }
  const Eigen::MatrixXd C = denseBasis(through, knots, degree), A = denseBasis(near, knots, degree);
  const Eigen::Index n = A.cols(), k = C.rows();
  Eigen::MatrixXd matrix = Eigen::MatrixXd::Zero(n + k, n + k), right(n + k, 3);
  matrix << A.transpose() * A - lambda * Eigen::MatrixXd::Identity(n, n), C.transpose(), C,
      Eigen::MatrixXd::Zero(k, k);
  right << A.transpose() * asMatrix(nearPoints), asMatrix(throughPoints);
  return orthogonalSolution(matrix, right).topRows(n);
}

// 200 points and 50 control points are the largest matrix that is written out.
TEST(ConstrainedEngine, MeetsTheOptimalityConditionsOnEitherSideOfTheSwitch) {
  const QuietStatus quiet;
  for (const int count : {100, 221, 1000})
    for (const double lambda : {0.001, 0.2}) {
      MixedOptions options;
      options.auto_assign_parameters = false;
      options.regularization_weight = lambda;
      const auto constraints = mixedConstraints(count);
      const auto fit = ConstrainedBSplineEngine::fit_constrained_detailed(constraints, options);
      ASSERT_TRUE(fit.success) << fit.error_message;
      EXPECT_LT(fit.max_interpolation_error, 1e-9);
      EXPECT_LT(largestDifference(*fit.curve,
                                  optimum(constraints, fit.curve->getKnotVector(), 3, lambda)),
                1e-9)
          << count;
      double largest = 0.0;
      for (const Constraint& constraint : constraints)
        largest = std::max(
            largest, fit.curve->evaluate(constraint.parameter).distanceTo(constraint.position));
      EXPECT_NEAR(fit.max_approximation_error, largest, 1e-9);
    }
}

// By contract: weights stand on the right-hand side only, so that twice the weight is twice as far.
TEST(ConstrainedEngine, WeightsScaleThePoints) {
  const QuietStatus quiet;
  MixedOptions options;
  options.auto_assign_parameters = false;
  auto constraints = mixedConstraints(100);
  for (Constraint& constraint : constraints)
    constraint.type = 1;
  const auto once = ConstrainedBSplineEngine::fit_constrained_detailed(constraints, options);
  for (Constraint& constraint : constraints)
    constraint.weight = 2.0;
  const auto twice = ConstrainedBSplineEngine::fit_constrained_detailed(constraints, options);
  ASSERT_TRUE(once.success && twice.success);
  EXPECT_LT(largestDifference(*twice.curve, 2.0 * asMatrix(once.curve->getControlPoints())), 1e-9);
}

TEST(ConstrainedEngine, ParametersFollowXWhereItNeverFalls) {
  const auto parametersOf = [](const std::vector<Point3D>& points, const char* line) {
    const CapturedStreams streams;
    const auto constraints = ConstrainedBSplineEngine::create_mixed_constraints(points, {});
    const auto t = ConstrainedBSplineEngine(constraints).compute_smart_parameters();
    EXPECT_THAT(streams.out(), HasSubstr(line));
    return t;
  };
  const char* byX = "🎯 Using X-coordinate parameterization for curve-like data\n";
  const char* byChord = "🎯 Using chord length parameterization for general data\n";
  EXPECT_THAT(parametersOf({{0, 0, 0}, {1, 8, 0}, {4, 0, 0}}, byX), ElementsAre(0, 0.25, 1));
  EXPECT_THAT(parametersOf({{0, 0, 0}, {3, 0, 0}, {4, 0, 0}}, byChord), ElementsAre(0, 0.75, 1));
  EXPECT_THAT(parametersOf({{4, 0, 0}, {4, 3, 0}, {3, 3, 0}}, byChord), ElementsAre(0, 0.75, 1));
  EXPECT_THAT(parametersOf({{0, 0, 0}, {0, 3, 0}, {0, 4, 0}}, byChord), ElementsAre(0, 0.75, 1));
}

TEST(ConstrainedEngine, MakesConstraintsAndMeasuresSmoothness) {
  const QuietStatus quiet;
  const auto made =
      ConstrainedBSplineEngine::create_mixed_constraints({{0, 0, 0}, {2, 0, 0}}, {{1, 1, 0}});
  ASSERT_EQ(made.size(), 3u);
  EXPECT_EQ(made[1].type, 0);
  EXPECT_EQ(made[1].weight, 1e6);
  EXPECT_EQ(made[2].type, 1);
  EXPECT_EQ(made[2].weight, 1.0);
  // Three points of degree 2 at even parameters: the middle control point is (1, 2, 0).
  MixedOptions options;
  options.degree = 2;
  const auto fit = ConstrainedBSplineEngine::fit_constrained_detailed(
      {{0, 0, 0}, {1, 1, 0}, {2, 0, 0}}, {}, options);
  ASSERT_TRUE(fit.success) << fit.error_message;
  EXPECT_THAT(fit.curve->getControlPoint(1), IsNear(Point3D(1, 2, 0), 1e-9));
  EXPECT_NEAR(fit.smoothness_energy, 16.0, 1e-8);
  EXPECT_THROW(ConstrainedBSplineEngine(made).compute_smoothness_energy(), std::logic_error);
}

TEST(ConstrainedEngine, SaysWhyThereIsNoCurve) {
  const auto at = [](double x, int type = 0, double parameter = -1.0, double weight = 1.0) {
    Constraint constraint;
    constraint.position = {x, x * x, 0};
    constraint.type = type;
    constraint.parameter = parameter;
    constraint.weight = weight;
    return constraint;
  };
  const auto with = [](std::function<void(MixedOptions&)> change) {
    MixedOptions options;
    options.degree = 1;
    change(options);
    return options;
  };
  const MixedOptions linear = with([](MixedOptions&) {});
  const MixedOptions given = with([](MixedOptions& o) { o.auto_assign_parameters = false; });
  std::vector<Constraint> tooMany;
  for (int i = 0; i < 60; ++i)
    tooMany.push_back(at(i));
  const struct {
    std::vector<Constraint> constraints;
    MixedOptions options;
    const char* line;
    const char* text;
  } cases[] = {
      {{}, linear, "Input validation failed: ", "No constraints provided"},
      {{at(0)}, linear, "Input validation failed: ", "At least 2 constraint points required"},
      {{at(0, 7), at(1, 7)},
       linear,
       "Input validation failed: ",
       "No interpolation or approximation constraints found"},
      {{at(0), at(1)},
       with([](MixedOptions& o) { o.degree = 0; }),
       "Input validation failed: ",
       "Degree must be at least 1"},
      {{at(0), at(1)},
       with([](MixedOptions& o) { o.degree = 2; }),
       "Input validation failed: ",
       "Degree 2 too high for 2 constraints"},
      {{at(3), at(1), at(2), at(1, 1), at(3, 1)},
       linear,
       "Input validation failed: ",
       "Duplicate constraint points detected at indices 0 and 4"},
      {{at(0), at(std::nan(""))},
       linear,
       "Input validation failed: ",
       "Constraint points must be finite"},
      {{at(0), at(1, 1, -1, 0.0)},
       linear,
       "Input validation failed: ",
       "Weight of approximation constraint 1 must be above 0"},
      {{at(0), at(1)},
       with([](MixedOptions& o) { o.num_control_points = 1; }),
       "Curve parameter setup failed: ",
       "Failed to generate knot vector: Not enough control points for degree 1"},
      {{at(0), at(1)},
       with([](MixedOptions& o) {
         o.knot_vector = {0, 1};
       }),
       "Curve parameter setup failed: ",
       "Invalid provided knot vector: Knot vector size mismatch. Expected 4, got 2"},
      {{at(0), at(1)},
       given,
       "Parameter assignment failed: ",
       "Parameter assignment required but constraint has invalid parameter"},
      {{at(0, 0, 0.5), at(1, 0, 0.5)},
       given,
       "Constrained system solving failed: ",
       "Failed to solve constrained system for coordinate 0"},
      {tooMany, linear, "Constrained system solving failed: ",
       "Failed to solve constrained system for coordinate 0"},
  };
  for (const auto& each : cases) {
    const CapturedStreams streams;
    const auto fit =
        ConstrainedBSplineEngine::fit_constrained_detailed(each.constraints, each.options);
    EXPECT_FALSE(fit.success || fit.curve);
    EXPECT_EQ(fit.error_message, each.text);
    EXPECT_EQ(streams.err(), std::string("❌ ENGINE3: ") + each.line + each.text + "\n");
  }
  const CapturedStreams streams;
  EXPECT_TRUE(ConstrainedBSplineEngine::fit_constrained({{5, 0, 0}, {5, 1, 0}}, helix(9), 3));
  EXPECT_THAT(streams.out(),
              HasSubstr("   📊 ENGINE3: 2 interpolation, 9 approximation constraints\n"
                        "   🎲 ENGINE3: Degree 3, 8 control points, 12 knots\n"));
}

// All in a plane across x, spread along one line, with the pair far apart in the sequence.
TEST(ConstrainedEngine, FindsDuplicatesAmongManyPointsAtOnce) {
  const CapturedStreams streams;
  std::vector<Point3D> points;
  for (int i = 0; i < 100'000; ++i)
    points.emplace_back(2.0, 0.001 * i, 5.0);
  points.push_back(points[77]);
  const auto fit = ConstrainedBSplineEngine::fit_constrained_detailed({}, points, MixedOptions());
  EXPECT_EQ(fit.error_message, "Duplicate constraint points detected at indices 77 and 100000");
}

}  // namespace
