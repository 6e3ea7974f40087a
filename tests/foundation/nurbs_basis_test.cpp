#include "morvel/foundation/nurbs_basis.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>
#include <stdexcept>

#include "morvel/foundation/basis_function_cache.h"
#include "tests/foundation/basis_oracle.h"

namespace {

using namespace trova::foundation::nurbs;
using namespace morvel_test;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAre;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kHuge = std::numeric_limits<double>::max();

TEST(BasisFunction, UniformCubicTakesSixthsAtItsKnots) {
  const std::vector<double> U{0, 1, 2, 3, 4, 5, 6, 7};
  EXPECT_DOUBLE_EQ(evaluateBasisFunction(0, 3, 1.0, U), 1.0 / 6);
  EXPECT_DOUBLE_EQ(evaluateBasisFunction(0, 3, 2.0, U), 4.0 / 6);
  EXPECT_DOUBLE_EQ(evaluateBasisFunction(0, 3, 2.5, U), 23.0 / 48);
  EXPECT_DOUBLE_EQ(evaluateBasisDerivative(0, 3, 1.0, U, 1), 0.5);
  EXPECT_DOUBLE_EQ(evaluateBasisDerivative(0, 3, 2.0, U, 2), -2.0);
  EXPECT_DOUBLE_EQ(evaluateBasisDerivative(0, 3, 2.5, U, 3), 3.0);
}

TEST(BasisFunction, EveryRouteAgreesWithTheDefinition) {
  for (int p = 0; p <= 5; ++p) {
    for (const Knots& U : sampleKnots(p)) {
      const int n = int(U.size()) - p - 1;
      for (const double u : sampleParameters(p, U)) {
        const int span = findKnotSpan(p, u, U);
        std::vector<double> values;
        std::vector<std::vector<double>> rows;
        evaluateAllBasisFunctions(p, u, U, span, values);
        evaluateAllBasisDerivatives(p, u, U, span, p + 2, rows);
        ASSERT_EQ(rows.size(), std::size_t(p) + 3);
        EXPECT_NEAR(std::accumulate(values.begin(), values.end(), 0.0), 1.0, 1e-14);
        for (int k = 0; k <= p + 2; ++k) {
          for (int i = 0; i < n; ++i) {
            const double expected = double(oracleDerivative(i, p, u, U, k));
            const double tolerance = 1e-11 * std::pow(20.0, k);
            const bool isLocal = i >= span - p && i <= span;
            EXPECT_NEAR(evaluateBasisDerivative(i, p, u, U, k), expected, tolerance);
            EXPECT_NEAR(isLocal ? rows[k][i - span + p] : 0.0, expected, tolerance);
            if (k == 0) {
              EXPECT_NEAR(evaluateBasisFunction(i, p, u, U), expected, 1e-14);
              EXPECT_NEAR(isLocal ? values[i - span + p] : 0.0, expected, 1e-14);
            }
          }
        }
      }
    }
  }
}

TEST(BasisFunction, BezierKnotsGiveBernsteinPolynomials) {
  const std::vector<double> U{0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1};
  const double choose[] = {1, 5, 10, 10, 5, 1};
  for (int i = 0; i <= 5; ++i)
    EXPECT_NEAR(evaluateBasisFunction(i, 5, 0.3, U),
                choose[i] * std::pow(0.3, i) * std::pow(0.7, 5 - i), 1e-15);
}

TEST(BasisFunction, OnlyTheLastOneIsOneAtTheEnd) {
  const std::vector<double> U{0, 0, 0, 0.5, 1, 1, 1};
  for (const double u : {1.0, 1.0 + 5e-13, 1.0 - 5e-13}) {
    for (int i = 0; i < 4; ++i)
      EXPECT_EQ(evaluateBasisFunction(i, 2, u, U), i == 3 ? 1.0 : 0.0);
  }
  EXPECT_EQ(evaluateBasisFunction(0, 2, -5e-13, U), 1.0);
  EXPECT_EQ(evaluateBasisFunction(3, 2, 1.0 + 5e-12, U), 0.0);
  // Knots closer than 1e-12 are one knot: nothing lives between them.
  EXPECT_EQ(evaluateBasisFunction(1, 0, 0.5 + 2e-13, {0, 0.5, 0.5 + 5e-13, 1}), 0.0);
  // The derivatives at the end are those from the left: the last leg has slope 2 / 0.5.
  EXPECT_EQ(evaluateBasisDerivative(3, 2, 1.0, U, 1), 4.0);
  EXPECT_EQ(evaluateBasisDerivative(2, 2, 1.0, U, 1), -4.0);
  // With one knot more at the end, the function before the last is the one that reaches it.
  const std::vector<double> overfull{0, 0, 0, 0.5, 1, 1, 1, 1};
  EXPECT_EQ(evaluateBasisFunction(3, 2, 1.0, overfull), 1.0);
  EXPECT_EQ(evaluateBasisFunction(4, 2, 1.0, overfull), 0.0);
}

TEST(BasisFunction, OneEntryIsWrittenAtAnEndAndNothingCleared) {
  const std::vector<double> U{0, 0, 0, 0.5, 1, 1, 1};
  std::vector<double> out{7, 8, 9};
  evaluateAllBasisFunctions(2, 1.0, U, 3, out);
  EXPECT_THAT(out, ElementsAre(7, 8, 1));
  evaluateAllBasisFunctions(2, 5e-13, U, 2, out);
  EXPECT_THAT(out, ElementsAre(1, 8, 1));
}

TEST(BasisFunction, OutsideTheBasisIsZero) {
  const std::vector<double> U{0, 1, 2, 3, 4, 5};
  EXPECT_EQ(evaluateBasisFunction(-1, 2, 0.5, U), 0.0);
  EXPECT_EQ(evaluateBasisFunction(3, 2, 4.5, U), 0.0);
  EXPECT_EQ(evaluateBasisDerivative(-1, 2, 0.5, U, 1), 0.0);
  EXPECT_EQ(evaluateBasisDerivative(3, 2, 4.5, U, 1), 0.0);
  EXPECT_EQ(evaluateBasisDerivative(0, 2, 0.5, U, 3), 0.0);
  EXPECT_EQ(evaluateBasisDerivative(0, 2, 0.5, U, -1), 0.0);
}

TEST(BasisFunction, NothingOutsideTheKnotsIsRead) {
  const int intMax = std::numeric_limits<int>::max();
  const Knots unsorted{5, kNaN, -3, 2, kHuge, -kHuge, 0, 0, 9, 1};
  for (const Knots& U : {Knots{}, Knots{1}, Knots{0, 1}, Knots(4, 2.0), unsorted}) {
    for (const int p : {-1, 0, 1, 3, 1000, intMax}) {
      for (const double u : {kNaN, 0.5, 2.0, kHuge, -kHuge}) {
        for (const int i : {-intMax - 1, -1, 0, 2, intMax}) {
          evaluateBasisFunction(i, p, u, U);
          evaluateBasisDerivative(i, p, u, U, 1);
          evaluateBasisDerivative(i, p, u, U, intMax);
          std::vector<double> values;
          std::vector<std::vector<double>> rows;
          const bool fits =
              p >= 0 && i >= std::max(0, p - 1) && std::int64_t(i) + p < std::int64_t(U.size());
          if (fits) {
            evaluateAllBasisFunctions(p, u, U, i, values);
            evaluateAllBasisDerivatives(p, u, U, i, 2, rows);
          } else {
            EXPECT_ANY_THROW(evaluateAllBasisFunctions(p, u, U, i, values));
            EXPECT_ANY_THROW(evaluateAllBasisDerivatives(p, u, U, i, 2, rows));
          }
        }
      }
    }
  }
}

TEST(BasisFunction, DegreeAThousandStillSumsToOne) {
  const int p = 1000;
  Knots U(2 * p + 2, 0.0);
  std::fill(U.begin() + p + 1, U.end(), 1.0);
  std::vector<double> values;
  evaluateAllBasisFunctions(p, 0.4, U, p, values);
  EXPECT_NEAR(std::accumulate(values.begin(), values.end(), 0.0), 1.0, 1e-12);
  EXPECT_NEAR(evaluateBasisFunction(400, p, 0.4, U), values[400], 1e-14);
  EXPECT_GT(values[400], 0.02);
}

TEST(BasisFunctionCache, RemembersTheFirstParameterWithinTheKnotTolerance) {
  BasisFunctionCache cache(2, {0, 0, 0, 0.5, 1, 1, 1});
  const std::vector<double> atQuarter = cache.getBasisValues(0.25);
  EXPECT_THAT(atQuarter, ElementsAre(DoubleNear(0.25, 1e-15), DoubleNear(0.625, 1e-15),
                                     DoubleNear(0.125, 1e-15)));
  EXPECT_EQ(cache.getBasisValues(0.25 + 5e-13), atQuarter);  // the remembered bits, not new ones
  EXPECT_NE(cache.getBasisValues(0.25 + 5e-12), atQuarter);
  EXPECT_THAT(cache.getBasisValues(1.0), ElementsAre(0, 0, 1));
  cache.clearCache();
  EXPECT_NE(cache.getBasisValues(0.25 + 5e-13), atQuarter);
}

}  // namespace
