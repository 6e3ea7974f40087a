#include "morvel/foundation/knot_vector.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>

namespace {

using namespace trova::foundation::nurbs;
using testing::DoubleEq;
using testing::ElementsAre;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(KnotSpan, EndsBelongToTheFirstAndLastSpan) {
  const std::vector<double> U{0, 0, 0, 0.5, 1, 1, 1};
  EXPECT_EQ(findKnotSpan(2, -5.0, U), 2);
  EXPECT_EQ(findKnotSpan(2, 0.0, U), 2);
  EXPECT_EQ(findKnotSpan(2, std::nextafter(0.5, 0.0), U), 2);
  EXPECT_EQ(findKnotSpan(2, 0.5, U), 3);
  EXPECT_EQ(findKnotSpan(2, 1.0, U), 3);
  EXPECT_EQ(findKnotSpan(2, kInfinity, U), 3);
}

TEST(KnotSpan, AgreesWithALinearSearchThroughRepeatedKnots) {
  const std::vector<double> U{0, 0, 0, 0, 0.1, 0.1, 0.1, 0.4, 0.4, 0.7, 0.9, 1, 1, 1, 1};
  for (int step = 1; step < 1000; ++step) {
    const double u = step / 1000.0;
    int expected = 3;
    while (U[expected + 1] <= u)
      ++expected;
    EXPECT_EQ(findKnotSpan(3, u, U), expected) << u;
  }
}

TEST(KnotSpan, EndsWithinBoundsOnAnyInput) {
  const std::vector<double> unsorted{5, kNaN, -3, 2, kInfinity, -1, 0, 0, 9, 1};
  for (const double u : {kNaN, -kInfinity, kInfinity, 0.5, -2.0, 1e308}) {
    for (int p = 0; p < 5; ++p) {
      const int span = findKnotSpan(p, u, unsorted);
      EXPECT_TRUE(span >= p && span < 10 - p - 1) << p << " " << u;
    }
  }
  EXPECT_THROW(findKnotSpan(2, 0.5, {}), std::invalid_argument);
  EXPECT_THROW(findKnotSpan(1000, 0.5, {0, 1}), std::invalid_argument);
  EXPECT_THROW(findKnotSpan(-1, 0.5, {0, 1}), std::invalid_argument);
  EXPECT_THROW(findKnotSpan(std::numeric_limits<int>::max(), 0, {0, 1}), std::invalid_argument);
}

TEST(UniformKnots, AreClampedAndEvenlySpaced) {
  EXPECT_THAT(generateUniformKnotVector(3, 4), ElementsAre(0, 0, 0, 0, 1, 1, 1, 1));
  EXPECT_THAT(generateUniformKnotVector(2, 5),
              ElementsAre(0, 0, 0, DoubleEq(1.0 / 3), DoubleEq(2.0 / 3), 1, 1, 1));
  EXPECT_THAT(generateUniformKnotVector(0, 1), ElementsAre(0, 1));
}

TEST(UniformKnots, TooFewPointsAreRefusedOrOverwriteTheZeros) {
  for (const auto& [p, n] : {std::pair{3, 3}, {-1, 4}, {2, -7}}) {
    try {
      generateUniformKnotVector(p, n);
      ADD_FAILURE() << p << " " << n;
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(),
                   "Invalid degree or control point count for knot vector generation");
    }
  }
  EXPECT_THAT(clampedUniformKnots(2, 3), ElementsAre(0, 0, 1, 1, 1, 1));
  EXPECT_THAT(clampedUniformKnots(-1, 3), ElementsAre());
  EXPECT_THROW(clampedUniformKnots(std::numeric_limits<int>::max(), 3), std::length_error);
}

TEST(KnotVector, ValidationTable) {
  struct Case {
    std::vector<double> U;
    int p, n;
    bool valid;
  };
  const Case cases[] = {
      {{0, 0, 0, 0.5, 1, 1, 1}, 2, 4, true},
      {{0, 0, 0, 0.5, 0.5, 0.5, 1, 1, 1}, 2, 6, true},
      {{0, 0, 0, 0.5, 0.5, 0.5, 0.5, 1, 1, 1}, 2, 7, false},          // p + 2 equal knots
      {{0, 0, 0, 0.5, 0.5 + 1e-13, 0.5, 0.5, 1, 1, 1}, 2, 7, false},  // decreasing
      {{0, 0, 0, .5, .5 + 5e-13, .5 + 1e-12, .5 + 1.5e-12, 1, 1, 1}, 2, 7, false},
      {{0, 0, 0, 0, 1, 1, 1}, 2, 4, false},  // p + 2 at the start
      {{0, 0, 0, 1, 1, 1}, 2, 4, false},     // too short
      {{0, 0, 0, kNaN, 1, 1, 1}, 2, 4, false},
      {{0, 0, 0, 0.5, 1, 1, kInfinity}, 2, 4, false},
      {{0, 1}, std::numeric_limits<int>::max(), 2, false},
  };
  for (const Case& c : cases)
    EXPECT_EQ(validateKnotVector(c.U, c.p, c.n), c.valid) << testing::PrintToString(c.U);
}

TEST(KnotVector, NormalisesOntoTheUnitInterval) {
  std::vector<double> U{-1, 0, 3};
  normalizeKnotVector(U);
  EXPECT_THAT(U, ElementsAre(0, 0.25, 1));
  U = {2, 2, 2};
  normalizeKnotVector(U);
  EXPECT_THAT(U, ElementsAre(0, 0, 0));
  U.clear();
  normalizeKnotVector(U);
  EXPECT_TRUE(U.empty());
}

TEST(KnotVector, DomainQueriesTakeTheirTolerance) {
  const std::vector<double> U{1, 1, 2, 4, 4};
  EXPECT_EQ(getDomainFromKnotVector(U), std::pair(1.0, 4.0));
  EXPECT_EQ(getDomainFromKnotVector({}), std::pair(0.0, 1.0));
  EXPECT_TRUE(isWithinDomain(4.5, U, 0.5));  // closed
  EXPECT_FALSE(isWithinDomain(4.5, U, 0.25));
  EXPECT_FALSE(isWithinDomain(kNaN, U, 0.25));
  EXPECT_TRUE(isAtDomainBoundary(1.25, U, 0.5));
  EXPECT_FALSE(isAtDomainBoundary(1.5, U, 0.5));  // open
  EXPECT_FALSE(isWithinDomain(0, {}, 1) || isAtDomainBoundary(0, {}, 1));
}

TEST(KnotVector, ReversalMultiplicityAndInsertion) {
  EXPECT_THAT(reversedKnots({1, 1, 2, 5, 5}), ElementsAre(1, 1, 4, 5, 5));
  EXPECT_EQ(knotMultiplicity(2.0, {1, 2, 2 + 5e-13, 2 + 5e-12}, 1e-12), 2);
  EXPECT_EQ(insertionCoefficient(0.5, {0, 0, 2, 2}, 1, 2), 0.25);
  EXPECT_EQ(insertionCoefficient(0.5, {0, 0, 0, 2}, 0, 2), 0.0);
}

}  // namespace
