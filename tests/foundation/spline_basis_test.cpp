#include "morvel/foundation/spline_basis.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/nurbs_basis.h"
#include "tests/foundation/basis_oracle.h"

namespace {

using namespace trova::foundation::nurbs;
using namespace morvel_test;
using testing::ElementsAre;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kHuge = std::numeric_limits<double>::max();

std::vector<double> valuesOf(const SplineBasis& basis, double u) {
  std::vector<double> out(basis.degree() + 1, -7.0);
  basis.values(u, basis.span(u), out.data());
  return out;
}

std::vector<double> derivativesOf(const SplineBasis& basis, double u, int order) {
  std::vector<double> out((order + 1) * (basis.degree() + 1), -7.0);
  basis.derivatives(u, basis.span(u), order, out.data());
  return out;
}

TEST(SplineBasis, EveryDegreeAgreesWithTheDefinition) {
  for (int p = 0; p <= 8; ++p) {
    for (const Knots& U : sampleKnots(p)) {
      const SplineBasis basis(p, U);
      ASSERT_TRUE(basis.isUsable());
      const int order = std::min(p + 1, 3);
      for (const double u : sampleParameters(p, U)) {
        const int first = basis.span(u) - p;
        const std::vector<double> rows = derivativesOf(basis, u, order);
        for (int k = 0; k <= order; ++k) {
          for (int r = 0; r <= p; ++r)
            EXPECT_NEAR(rows[k * (p + 1) + r], double(oracleDerivative(first + r, p, u, U, k)),
                        1e-14 * std::pow(100.0, k));
        }
        const std::vector<double> values = valuesOf(basis, u);
        EXPECT_TRUE(std::equal(values.begin(), values.end(), rows.begin())) << "bits differ";
      }
    }
  }
}

// Above some number of spans nothing is tabulated for each.
TEST(SplineBasis, ManySpansAgreeWithTheDefinition) {
  Knots U = clampedUniformKnots(3000, 3);
  for (std::size_t j = 4; j < 3000; ++j)
    U[j] = std::pow(U[j], 1.3);
  const SplineBasis basis(3, U);
  for (const double u : {0.0, 0.001, U[700], 0.37, 0.999}) {
    const std::vector<double> rows = derivativesOf(basis, u, 2);
    for (int k = 0; k <= 2; ++k) {
      for (int r = 0; r <= 3; ++r)
        EXPECT_NEAR(rows[4 * k + r], double(oracleDerivative(basis.span(u) - 3 + r, 3, u, U, k)),
                    1e-13 * std::pow(1e5, k));
    }
    const std::vector<double> values = valuesOf(basis, u);
    EXPECT_TRUE(std::equal(values.begin(), values.end(), rows.begin())) << "bits differ";
  }
}

TEST(SplineBasis, SpansAreThoseOfTheSearch) {
  std::vector<Knots> all;
  for (const int n : {4, 5, 7, 10, 50, 1000})
    all.push_back(clampedUniformKnots(n, 3));
  Knots stretched = clampedUniformKnots(30, 3), nearlyEven = stretched;
  for (double& knot : stretched)
    knot = 0.1 + 0.7 * knot;
  for (std::size_t j = 4; j < 30; ++j)
    nearlyEven[j] += (j % 2 ? 0.24 : -0.24) / 27;
  all.insert(all.end(), {stretched, nearlyEven, {-3, -2, -1, 0, 1, 2, 3, 4, 5}});
  Knots crowded = clampedUniformKnots(30, 3);
  for (double& knot : crowded)
    knot *= 0.7 + 0.3 * knot;
  all.insert(all.end(), {crowded, sampleKnots(3)[1]});
  for (const Knots& U : all) {
    const SplineBasis basis(3, U);
    for (const double knot : U) {
      for (const double u : {std::nextafter(knot, -kHuge), knot, std::nextafter(knot, kHuge)}) {
        EXPECT_EQ(basis.span(u), findKnotSpan(3, u, U)) << U.size() << " " << u;
        for (const int near : {3, basis.span(u), std::max(basis.span(u) - 1, 3), basis.count() - 1})
          EXPECT_EQ(basis.spanNear(u, near), basis.span(u)) << U.size() << " " << u << " " << near;
      }
    }
  }
}

TEST(SplineBasis, ExactlyOneEntryIsOneAtTheEnds) {
  for (int p = 1; p <= 7; ++p) {
    const SplineBasis basis = SplineBasis::clampedUniform(9, p);
    for (const double u : {0.0, 5e-13, -5e-13, 1.0, 1 - 5e-13, 1 + 5e-13}) {
      std::vector<double> expected(p + 1, 0.0);
      expected[u < 0.5 ? 0 : p] = 1.0;
      EXPECT_EQ(valuesOf(basis, u), expected);
      std::vector<double> rows = derivativesOf(basis, u, 1);
      const double slope = p * (9 - p);  // p over the first and last knot span
      EXPECT_NEAR(rows[u < 0.5 ? p + 1 : 2 * p], -slope, 1e-9 * slope);
      EXPECT_NEAR(rows[u < 0.5 ? p + 2 : 2 * p + 1], slope, 1e-9 * slope);
      rows.resize(p + 1);
      EXPECT_EQ(rows, expected);
    }
  }
}

TEST(SplineBasis, EmptyEndSpansGiveWay) {
  const SplineBasis basis(2, {0, 0, 0, 0, 0.5, 1, 1, 1, 1, 1});
  EXPECT_EQ(basis.span(-1.0), 3);
  EXPECT_EQ(basis.span(0.25), 3);
  EXPECT_EQ(basis.span(1.0), 4);
  EXPECT_THAT(valuesOf(basis, 1.0), ElementsAre(0, 0, 1));
  const SplineBasis floating(2, {-1, 0, 1, 1, 2, 3, 3, 4, 5});
  for (const double u : {1.0, 3.0}) {
    const std::vector<double> values = valuesOf(floating, u);
    EXPECT_NEAR(std::accumulate(values.begin(), values.end(), 0.0), 1.0, 1e-15) << u;
  }
}

TEST(SplineBasis, NoKnotVectorYieldsNaNAtAFiniteParameter) {
  const double tiny = std::numeric_limits<double>::denorm_min();
  const Knots cases[] = {Knots(8, 2.0),
                         {0, 0, 0, 0, 0, 0, 0, 1},
                         {-1, -1, -1, -1, 0, tiny, 2 * tiny, 1, 1, 1, 1},
                         {-8e307, -8e307, -8e307, -8e307, 8e307, 8e307, 8e307, 8e307}};
  for (const Knots& U : cases) {
    const SplineBasis basis(3, U);
    ASSERT_TRUE(basis.isUsable());
    for (const double u : {-1e9, -1.0, 0.0, tiny, 0.25, 1.0, 2.0, 3.0}) {
      for (const double value : derivativesOf(basis, u, 3))
        EXPECT_FALSE(std::isnan(value)) << u;
      for (const double value : valuesOf(basis, u))
        EXPECT_FALSE(std::isnan(value)) << u;
    }
  }
}

TEST(SplineBasis, AnyParameterKeepsTheSpanInRange) {
  for (const int p : {0, 1, 3, 40}) {
    const SplineBasis basis = SplineBasis::clampedUniform(50, p);
    for (const double u : {kNaN, kInfinity, -kInfinity, kHuge, -kHuge, 1e-320}) {
      const int span = basis.span(u);
      EXPECT_TRUE(span >= p && span < 50);
      valuesOf(basis, u);
      derivativesOf(basis, u, 2);
    }
    EXPECT_EQ(std::isnan(valuesOf(basis, kNaN)[0]), p > 0);
  }
}

TEST(SplineBasis, UnusableKnotsAreSeen) {
  EXPECT_FALSE(SplineBasis().isUsable());
  EXPECT_FALSE(SplineBasis(-1, {0, 1}).isUsable());
  EXPECT_FALSE(SplineBasis(2, {0, 0, 0.5, 1, 1}).isUsable());  // n = p
  EXPECT_FALSE(SplineBasis(1, {0, 0, 0.7, 0.5, 1, 1}).isUsable());
  EXPECT_FALSE(SplineBasis(1, {0, 0, kNaN, 1, 1}).isUsable());
  EXPECT_FALSE(SplineBasis(1, {0, 0, kInfinity, kInfinity}).isUsable());
  EXPECT_FALSE(SplineBasis(1, {-kHuge, -kHuge, kHuge, kHuge}).isUsable());
  EXPECT_FALSE(SplineBasis(std::numeric_limits<int>::max(), {0, 1}).isUsable());
  EXPECT_EQ(SplineBasis(1000, {0, 1}).count(), 0);
  EXPECT_FALSE(SplineBasis::clampedUniform(3, 3).isUsable());
}

}  // namespace
