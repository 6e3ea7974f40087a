#include <array>
#include <numeric>

#include "morvel/morvel.hpp"
#include "tests/api/kernel_session.h"

namespace morvel_test {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::StartsWith;

// Cubic, one inner knot at 1 of the domain [0, 2].
constexpr double kKnots[] = {0, 0, 0, 0, 1, 2, 2, 2, 2};
constexpr int kCount = std::size(kKnots);
constexpr int kDegree = 3;

using FoundationExports = KernelSession;

// The cubic basis of these knots at 1/2 on the powers of the truncated functions, worked by hand.
TEST_F(FoundationExports, GiveTheBasisAtAPoint) {
  std::array<double, 4> all{};
  EXPECT_EQ(foundation_evaluate_all_basis_functions(kDegree, 0.5, kKnots, kCount, all.data()), 3);
  EXPECT_THAT(
      all, testing::Pointwise(testing::DoubleNear(1e-15), {1.0 / 8, 19.0 / 32, 1.0 / 4, 1.0 / 32}));
  for (int i = 0; i < 4; ++i)
    EXPECT_DOUBLE_EQ(foundation_evaluate_basis_function(i, kDegree, 0.5, kKnots, kCount), all[i]);
  // N0 = (1 - u)^3 on the first span.
  EXPECT_NEAR(foundation_evaluate_basis_derivative(0, kDegree, 0.5, kKnots, kCount, 1), -0.75,
              1e-14);
  EXPECT_NEAR(foundation_evaluate_basis_derivative(0, kDegree, 0.5, kKnots, kCount, 3), -6, 1e-13);
  EXPECT_EQ(foundation_evaluate_basis_derivative(0, kDegree, 0.5, kKnots, kCount, kLargestInt), 0);
}

TEST_F(FoundationExports, DescribeTheDomain) {
  double start = 7, end = 7;
  EXPECT_EQ(foundation_get_domain_from_knots(kKnots, kCount, &start, &end), 1);
  EXPECT_EQ(start, 0);
  EXPECT_EQ(end, 2);
  EXPECT_EQ(foundation_is_at_domain_boundary(1.95, kKnots, kCount, 0.1), 1);
  EXPECT_EQ(foundation_is_at_domain_boundary(1.95, kKnots, kCount, 0.01), 0);
  EXPECT_EQ(foundation_is_at_domain_boundary(kNaN, kKnots, kCount, 0.01), 0);
}

TEST_F(FoundationExports, RefuseWhatIsNoKnotArray) {
  double start = 7, end = 7;
  for (const int count : {1, 0, -5, kLargestInt}) {
    EXPECT_EQ(foundation_get_domain_from_knots(kKnots, count, &start, &end), 0);
    EXPECT_EQ(lastError(), "foundation_get_domain_from_knots: Invalid parameters");
    EXPECT_EQ(foundation_is_at_domain_boundary(0, kKnots, count, 1), 0);
    EXPECT_EQ(lastError(), "foundation_is_at_domain_boundary: Invalid knot vector");
  }
  EXPECT_EQ(foundation_get_domain_from_knots(kKnots, kCount, nullptr, &end), 0);
  EXPECT_EQ(foundation_get_domain_from_knots(kKnots, kCount, &start, nullptr), 0);
  EXPECT_EQ(foundation_get_domain_from_knots(nullptr, kCount, &start, &end), 0);
  EXPECT_EQ(foundation_is_at_domain_boundary(0, nullptr, kCount, 1), 0);
  EXPECT_EQ(start, 7);
  EXPECT_EQ(end, 7);
}

TEST_F(FoundationExports, AnswerZeroOrMinusOneWithoutKnotsAndOutsideTheBasis) {
  double out[] = {7, 7, 7, 7};
  struct Case {
    int p;
    const double* knots;
    int count;
  };
  for (const auto& [p, knots, count] :
       {Case{3, nullptr, kCount}, Case{3, kKnots, 0}, Case{3, kKnots, -1},
        Case{3, kKnots, kLargestInt}, Case{-1, kKnots, kCount}, Case{1000, kKnots, kCount},
        Case{kLargestInt, kKnots, kCount}, Case{3, kKnots, 5}}) {
    SCOPED_TRACE(testing::Message() << p << " " << count);
    if (count != 5) {
      EXPECT_EQ(foundation_evaluate_basis_function(0, p, 0.5, knots, count), 0);
      EXPECT_EQ(foundation_evaluate_basis_derivative(0, p, 0.5, knots, count, 1), 0);
    }
    EXPECT_EQ(foundation_evaluate_all_basis_functions(p, 0.5, knots, count, out), -1);
    EXPECT_THAT(lastError(), StartsWith("foundation_evaluate_all_basis_functions: "));
  }
  EXPECT_THAT(out, Each(7));
  for (const int i : {-1, 5, kLargestInt, -kLargestInt - 1})
    EXPECT_EQ(foundation_evaluate_basis_function(i, kDegree, 0.5, kKnots, kCount), 0);
  EXPECT_EQ(foundation_evaluate_all_basis_functions(3, 0.5, kKnots, kCount, nullptr), -1);
  EXPECT_THAT(lastError(), HasSubstr("null"));
}

TEST_F(FoundationExports, EndOnUnsortedAndNonFiniteKnots) {
  constexpr double wild[] = {0, kNaN, 5, 1, kInfinity, -3, 2, 2, kNaN};
  double out[4];
  for (const double u : {0.5, 3.0, kNaN, kInfinity, -kInfinity}) {
    EXPECT_LE(foundation_evaluate_all_basis_functions(kDegree, u, wild, kCount, out), 4);
    foundation_evaluate_basis_function(1, kDegree, u, wild, kCount);
    foundation_evaluate_basis_derivative(1, kDegree, u, wild, kCount, 2);
  }
}

}  // namespace
}  // namespace morvel_test
