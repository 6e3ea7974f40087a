#include "morvel/fitting/surface_constraint_set.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "morvel/fitting/basis_derivative_evaluator.h"
#include "morvel/fitting/g1_constraint_builder.h"
#include "morvel/fitting/surface_engine3_options.h"
#include "tests/foundation/basis_oracle.h"
#include "tests/support/captured_streams.h"
#include "tests/support/near.h"

namespace morvel_test {
namespace {

using namespace trova::geometry;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using trova::foundation::nurbs::SplineBasis;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const std::vector<double> kKnotsU{0, 0, 0, 0, 0.3, 0.55, 1, 1, 1, 1};  // 6 cubics
const std::vector<double> kKnotsV{0, 0, 0, 0.4, 1, 1, 1};              // 4 quadratics

TEST(SurfaceConstraintSet, MendsTheParametersOfInterpolationPoints) {
  struct Case {
    double u, v, keptU, keptV;
    const char* line;
  };
  const Case cases[] = {
      {kNaN, 0.2, 0.5, 0.5, "🔧 EMERGENCY FIX: Setting to center position (0.5, 0.5)\n"},
      {0.2, kNaN, 0.5, 0.5, "🔧 EMERGENCY FIX: Setting to center position (0.5, 0.5)\n"},
      {1.5, -2.0, 1.0, 0.0, "🔧 FIXED: Clamped to u=1, v=0\n"},
      {0.25, 1.0, 0.25, 1.0, ""}};
  for (const Case& c : cases) {
    SurfaceConstraintSet set;
    const CapturedStreams streams;
    set.add_interpolation_point({}, c.u, c.v);
    EXPECT_EQ(set.point_constraints()[0].u, c.keptU);
    EXPECT_EQ(set.point_constraints()[0].v, c.keptV);
    EXPECT_EQ(streams.out(), c.line);
  }
}

TEST(SurfaceConstraintSet, GivesANormalTwoPerpendicularTangents) {
  struct Case {
    Vector3D normal, reference;
  };
  for (const Case& c : {Case{{0.95, 0.1, 0}, {0, 1, 0}}, Case{{0.6, 0, 0.8}, {1, 0, 0}}}) {
    SurfaceConstraintSet set;
    set.add_g1_normal_constraint({}, 0.5, 0.5, c.normal, 7.0);
    const G1Constraint& g1 = set.g1_tangent_constraints().at(0);
    EXPECT_NEAR(g1.tangent_u.magnitude(), 1.0, 1e-14);
    EXPECT_NEAR(g1.tangent_u.dot(c.reference), 0.0, 1e-14);
    EXPECT_NEAR(g1.tangent_u.dot(c.normal), 0.0, 1e-14);
    EXPECT_NEAR(g1.tangent_v.dot(c.normal), 0.0, 1e-14);
    EXPECT_NEAR(g1.tangent_v.dot(g1.tangent_u), 0.0, 1e-14);
    EXPECT_EQ(g1.weight, 1.0);
  }
}

TEST(SurfaceConstraintSet, CountsWhatItHoldsAndForgetsByKind) {
  SurfaceConstraintSet set;
  set.add_interpolation_point({1, 2, 3}, 0, 0);
  set.add_approximation_point({1, 2, 3}, 0, 1);
  set.add_approximation_point({1, 2, 4}, 1, 1);
  set.add_g1_normal_constraint({}, 0.1, 0.1, {0, 0, 1});
  set.add_g1_tangent_constraint({{}, {1, 0, 0}, {}, 0.2, 0.2, 1.0, true, false});
  set.add_g2_principal_curvature_constraint({}, 0.3, 0.3, 2.0, 5.0);
  set.add_continuity_requirement(0.5, 0.5, 2);
  EXPECT_EQ(set.g2_principal_curvature_constraints()[0].mean.curvature, 3.5);
  EXPECT_EQ(set.get_max_continuity_level(), 2);
  EXPECT_EQ(set.get_total_constraint_count(), 7);
  EXPECT_EQ(set.get_derivative_constraint_count(), 3);
  EXPECT_EQ(set.count_hard_constraints(), 1 + 2 + 1);
  EXPECT_EQ(set.get_total_equation_count(), 3 * 3 + 3 * 3 + 2);
  EXPECT_TRUE(set.set_constraint_active(0, false));
  EXPECT_FALSE(set.set_constraint_active(3, false));
  EXPECT_EQ(set.get_interpolation_constraint_count(), 0);
  set.clear_constraint_type(SurfaceConstraintType::G1Tangent);  // the normal's tangents stay
  EXPECT_EQ(set.count_hard_constraints(), 2);
  set.clear_constraint_type(SurfaceConstraintType::G1Normal);
  EXPECT_EQ(set.count_hard_constraints(), 0);
}

TEST(SurfaceConstraintSet, SaysWhatIsWrong) {
  SurfaceConstraintSet set;
  EXPECT_THAT(set.get_validation_warnings(),
              ElementsAre("No constraints defined - consider adding approximation points"));
  set.add_approximation_point({}, 1.0 + 5e-13, -5e-13);
  EXPECT_TRUE(set.validate_all_constraints());
  set.add_approximation_point({}, 1.2, 0.5);
  set.add_approximation_point({}, 0.5, 0.5, 0.0);
  set.add_g1_tangent_constraint({}, 0.5, 0.5, {0, 0, 0}, {0, 1, 0});
  set.add_g2_curvature_constraint({}, 0.5, kNaN, 1.0);
  EXPECT_THAT(set.get_validation_warnings(),
              ElementsAre("Point constraints contain invalid parameter values",
                          "Derivative constraints contain invalid configurations"));
  EXPECT_THAT(set.get_validation_messages(),
              ElementsAre(testing::AllOf(StartsWith("G0 constraint 1: "), HasSubstr("1.2"),
                                         EndsWith(") - outside [0,1] range")),
                          StartsWith("G0 constraint 2: "), StartsWith("G1 constraint 0: "),
                          StartsWith("G2 constraint 0: ")));
}

TEST(SurfaceConstraintSet, SeesContradictionsAtOnePlace) {
  SurfaceConstraintSet set;
  set.add_interpolation_point({1, 0, 0}, 0.25, 0.5);
  set.add_interpolation_point({2, 0, 0}, 0.25, 0.75);
  set.add_interpolation_point({1, 0, 0}, 0.25, 0.5);
  EXPECT_FALSE(set.has_conflicting_constraints());
  set.add_interpolation_point({1, 0, 1e-3}, 0.25, 0.5);
  EXPECT_TRUE(set.has_conflicting_constraints());
}

// The definition of the system against full matrices of Cox-de Boor values.
TEST(SurfaceConstraintSet, WritesOutTheLagrangeSystem) {
  SurfaceConstraintSet set;
  const double at[][3] = {{0.1, 0.2, 2.0}, {0.6, 0.9, 0.5}, {0.35, 0.45, 1.0}};
  for (const auto& [u, v, w] : at)
    set.add_approximation_point({u, 2 * v, u * v}, u, v, w);
  set.add_interpolation_point({1, 2, 3}, 0.7, 0.3);
  set.add_g1_tangent_constraint({{}, {}, {4, 5, 6}, 0.8, 0.1, 3.0, false, true});
  const auto value = [&](double u, double v, int unknown) {
    return double(oracleBasis(unknown % 6, 3, u, kKnotsU)) *
           double(oracleBasis(unknown / 6, 2, v, kKnotsV));
  };
  constexpr int n = 24;
  Eigen::MatrixXd A(3, n), C(2, n), b(3, 3), W = Eigen::MatrixXd::Zero(3, 3);
  constexpr double h = 1e-6;
  for (int k = 0; k < n; ++k) {
    for (int row = 0; row < 3; ++row)
      A(row, k) = value(at[row][0], at[row][1], k);
    C(0, k) = value(0.7, 0.3, k);
    C(1, k) = 3.0 * (value(0.8, 0.1 + h, k) - value(0.8, 0.1 - h, k)) / (2 * h);
  }
  for (int row = 0; row < 3; ++row) {
    W(row, row) = at[row][2];
    b.row(row) << at[row][0], 2 * at[row][1], at[row][0] * at[row][1];
  }
  const Eigen::MatrixXd M = A.transpose() * W * A;
  const CapturedStreams streams;
  const SplineBasis u(3, kKnotsU), v(2, kKnotsV);
  const SurfaceConstraintSystem fixed = set.build_lagrange_multiplier_system(u, v, 1e-3, false);
  const SurfaceConstraintSystem adaptive = set.build_lagrange_multiplier_system(u, v, 1e-3, true);
  ASSERT_TRUE(fixed.success) << fixed.error;
  EXPECT_EQ(fixed.hard_constraints, 2);
  EXPECT_LT((fixed.matrix.topLeftCorner(n, n) - M - 1e-3 * Eigen::MatrixXd::Identity(n, n)).norm(),
            1e-13);
  EXPECT_LT((fixed.matrix.bottomLeftCorner(2, n) - C).norm(), 1e-8);
  EXPECT_LT((fixed.matrix.topRightCorner(n, 2) - C.transpose()).norm(), 1e-8);
  EXPECT_EQ(fixed.matrix.bottomRightCorner(2, 2).norm(), 0.0);
  EXPECT_LT((fixed.right_hand_side.topRows(n) - A.transpose() * W * b).norm(), 1e-13);
  EXPECT_EQ(fixed.right_hand_side(n, 2), 3.0);
  EXPECT_EQ(fixed.right_hand_side(n + 1, 1), 15.0);
  double largest = 0.0;  // of M, by power steps
  for (Eigen::VectorXd x = Eigen::VectorXd::Ones(n).normalized(); const int k : {0, 1, 2, 3}) {
    for (int step = 0; step < 100; ++step)
      x = (M * x).normalized();
    largest = k == 3 ? x.dot(M * x) : 0.0;
  }
  EXPECT_NEAR(adaptive.regularization, 1e-3 * largest, 1e-12);
  EXPECT_THAT(streams.out(), HasSubstr("🎯 Adding G1 constraints using enhanced "
                                       "G1ConstraintBuilder starting at row 1\n"));
  EXPECT_THAT(streams.out(), HasSubstr("   📊 System breakdown: 24 control points + 2 hard "
                                       "constraints = 26 total variables\n"));
}

TEST(BasisDerivativeEvaluator, RefusesBadKnots) {
  const std::vector<double> good{0, 0, 1, 1};
  struct Case {
    std::vector<double> u, v;
    int p, q;
    const char* text;
  };
  const Case cases[] = {
      {good, good, 2, 1, "Invalid knot vector or degree: insufficient control points"},
      {good, good, 1, 0, "Invalid knot vector or degree: insufficient control points"},
      {{0, 1, 0, 1}, good, 1, 1, "Invalid U direction knot vector"},
      {good, {0, 0, kNaN, 1}, 1, 1, "Invalid V direction knot vector"},
      {good, {2, 2, 2, 2}, 1, 1, "Invalid V direction knot vector"}};
  for (const Case& c : cases) {
    try {
      const BasisDerivativeEvaluator evaluator(c.u, c.v, c.p, c.q);
      ADD_FAILURE() << c.text;
    } catch (const std::invalid_argument& e) {
      EXPECT_STREQ(e.what(), c.text);
    }
  }
}

TEST(BasisDerivativeEvaluator, TrimsItsCacheWithoutChangingValues) {
  const BasisDerivativeEvaluator evaluator(kKnotsU, kKnotsV, 3, 2);
  const Eigen::VectorXd first = evaluator.evaluate_all(0.2, 0.7, 1, 0);
  for (int k = 0; k < 10; ++k)
    evaluator.evaluate(0.1 * k, 0.5, 0, 1);
  EXPECT_EQ(evaluator.cache_size(), 11u);
  evaluator.evaluate(0.2, 0.7, 1, 0);
  EXPECT_EQ(evaluator.cache_size(), 11u);
  evaluator.cleanup_cache(4);
  EXPECT_EQ(evaluator.cache_size(), 4u);
  EXPECT_EQ(evaluator.evaluate_all(0.2, 0.7, 1, 0), first);
  evaluator.clear_cache();
  EXPECT_EQ(evaluator.cache_size(), 0u);
}

TEST(G1ConstraintBuilder, LaysRowsOverInterleavedCoordinates) {
  const auto evaluator = std::make_shared<const BasisDerivativeEvaluator>(kKnotsU, kKnotsV, 3, 2);
  const G1ConstraintBuilder builder(evaluator);
  const std::vector<G1Constraint> constraints{
      {{}, {1, 2, 3}, {}, 0.4, 0.6, 2.0, true, false},
      {{}, {4, 5, 6}, {7, 8, 9}, 0.9, 0.1, 1.0, true, true}};
  ASSERT_EQ(G1ConstraintBuilder::count_constraint_equations(constraints), 9);
  const MatrixAssemblyResult result = builder.build_g1_constraint_matrix_validated(constraints);
  ASSERT_TRUE(result.success) << result.error;
  const Eigen::MatrixXd matrix = result.matrix.dense();
  ASSERT_EQ(matrix.cols(), 72);
  EXPECT_THAT(result.error, "");
  // A linear field P_j = (a, b, c) g_j, with g the Greville abscissae in u, has d/du = (a, b, c).
  Eigen::VectorXd unknowns(72);
  for (int k = 0; k < 24; ++k) {
    const int i = k % 6;
    const double g = (kKnotsU[i + 1] + kKnotsU[i + 2] + kKnotsU[i + 3]) / 3.0;
    unknowns.segment<3>(3 * k) = g * Eigen::Vector3d(1, 10, 100);
  }
  Eigen::VectorXd expected(9);
  expected << 2, 20, 200, 1, 10, 100, 0, 0, 0;
  EXPECT_LT((matrix * unknowns - expected).norm(), 1e-11);
  Eigen::VectorXd sides(9);
  sides << 2, 4, 6, 4, 5, 6, 7, 8, 9;
  EXPECT_EQ(builder.build_g1_right_hand_side(constraints), sides);
}

TEST(G1ConstraintBuilder, SaysWhyThereIsNoMatrix) {
  const auto evaluator = std::make_shared<const BasisDerivativeEvaluator>(kKnotsU, kKnotsV, 3, 2);
  const G1ConstraintBuilder builder(evaluator);
  EXPECT_EQ(builder.build_g1_constraint_matrix({}).error, "No constraint equations to build");
  const G1Constraint good{{}, {1, 0, 0}, {}, 0.5, 0.5, 1.0, true, false};
  G1Constraint outside = good, vanishing = good, weightless = good, unfinished = good;
  outside.u = 1.0 + 1e-9;
  vanishing.tangent_u = {1e-13, 0, 0};
  weightless.weight = kNaN;
  unfinished.tangent_u = {1, kNaN, 0};
  for (const G1Constraint& bad : {outside, vanishing, weightless, unfinished})
    EXPECT_EQ(builder.build_g1_constraint_matrix({good, bad}).error,
              "Invalid constraint at index 1");
  const MatrixAssemblyResult twice = builder.build_g1_constraint_matrix_validated({good, good});
  EXPECT_TRUE(twice.success);
  EXPECT_THAT(twice.error, EndsWith(" Warning: Matrix does not have full rank"));
  Eigen::MatrixXd deficient = Eigen::MatrixXd::Identity(3, 3);
  deficient(2, 2) = 0.0;
  EXPECT_THAT(G1ConstraintBuilder::validate_constraint_matrix(deficient).message,
              HasSubstr("Matrix does not have full rank (rank = 2, expected = 3"));
  EXPECT_EQ(G1ConstraintBuilder::validate_constraint_matrix({}).message, "SVD computation failed");
}

TEST(SurfaceEngine3Options, AreJudged) {
  std::string message;
  EXPECT_TRUE(SurfaceEngine3Options().validate(message));
  EXPECT_EQ(message, "Options validated successfully");
  std::vector<SurfaceEngine3Options> bad(9);
  bad[0].degree_u = 11;
  bad[1].degree_v = 0;
  bad[2].control_points_v = -1;
  bad[3].fitting_tolerance = -1.0;
  bad[4].condition_threshold = 0.0;
  bad[5].regularization_weight = kNaN;
  bad[6].g1_tolerance = 0.0;
  bad[7].constraint_tolerance = -1.0;
  bad[8].fitting_tolerance = kNaN;
  for (const SurfaceEngine3Options& options : bad) {
    EXPECT_FALSE(options.validate(message));
    EXPECT_EQ(message, "Invalid options: Check degrees, control points, and tolerance values");
  }
}

TEST(SurfaceEngine3ParameterizationMethod, HasNamesAndAFallback) {
  EXPECT_STREQ(surface_engine3_parameterization_method_name(6), "CONVEX_HULL_PROJECTION");
  EXPECT_STREQ(surface_engine3_parameterization_method_name(7), "unknown");
  const CapturedStreams streams;
  EXPECT_EQ(int(int_to_param_method(3)), 3);
  EXPECT_EQ(streams.out(), "");
  EXPECT_EQ(int(int_to_param_method(9)), 5);
  EXPECT_EQ(streams.out(),
            "⚠️ WARNING: Invalid parameterization method 9, using LEAST_SQUARES_PLANE\n");
}

}  // namespace
}  // namespace morvel_test
