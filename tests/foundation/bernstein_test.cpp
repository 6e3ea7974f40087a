#include "morvel/foundation/bernstein.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "tests/support/near.h"

namespace {

using namespace trova::foundation;
using namespace trova::foundation::nurbs;
using morvel_test::IsNear;
using testing::ElementsAre;

TEST(Bernstein, KnownValuesAndExactEnds) {
  EXPECT_EQ(evaluateBernsteinBasis(0, 3, 0), 1.0);
  EXPECT_EQ(evaluateBernsteinBasis(3, 3, 1), 1.0);
  EXPECT_EQ(evaluateBernsteinBasis(3, 3, 1 - 5e-13), 1.0);
  EXPECT_EQ(evaluateBernsteinBasis(2, 3, 1 - 5e-13), 0.0);
  EXPECT_EQ(evaluateBernsteinBasis(4, 3, 0.5), 0.0);
  EXPECT_EQ(evaluateBernsteinBasis(-1, 3, 0.5), 0.0);
  EXPECT_DOUBLE_EQ(evaluateBernsteinBasis(1, 3, 0.5), 0.375);
  EXPECT_DOUBLE_EQ(evaluateBernsteinBasis(2, 3, 2.0), -12.0);  // continues outside [0, 1]
}

TEST(Bernstein, AllValuesAgreeWithTheSingleOnes) {
  std::vector<double> all{9, 9, 9, 9, 9, 9, 9, 9, 9, 9};
  for (const double t : {-0.5, 0.0, 5e-13, 0.3, 0.999, 1.0, 1.5}) {
    evaluateAllBernsteinBasis(6, t, all);
    ASSERT_EQ(all.size(), 7u);
    EXPECT_NEAR(std::accumulate(all.begin(), all.end(), 0.0), 1.0, 1e-12);
    for (int i = 0; i <= 6; ++i)
      EXPECT_NEAR(all[i], evaluateBernsteinBasis(i, 6, t), 1e-13) << i << " " << t;
  }
  evaluateAllBernsteinBasis(0, 0.3, all);
  EXPECT_THAT(all, ElementsAre(1));
  evaluateAllBernsteinBasis(-5, 0.3, all);
  EXPECT_THAT(all, ElementsAre());
}

TEST(Bernstein, DegreesWhoseCoefficientsOverflowStayFinite) {
  std::vector<double> all;
  evaluateAllBernsteinBasis(4000, 0.5, all);
  EXPECT_NEAR(evaluateBernsteinBasis(2000, 4000, 0.5) / all[2000], 1.0, 1e-10);
  const int intMax = std::numeric_limits<int>::max();
  EXPECT_TRUE(std::isfinite(evaluateBernsteinBasis(intMax - 1, intMax, 0.999)));
}

TEST(DeCasteljau, FollowsTheParabolaAndHitsItsEnds) {
  const std::vector<Point3D> parabola{{-1, 1, 0}, {0, -1, 0}, {1, 1, 0}};  // y = x^2
  for (const double t : {-0.25, 0.1, 0.5, 0.7, 1.25}) {
    const double x = 2 * t - 1;
    EXPECT_THAT(deCasteljauEvaluation(parabola, t), IsNear(Point3D(x, x * x, 0), 1e-15));
  }
  EXPECT_THAT(deCasteljauEvaluation(parabola, 5e-13), IsNear(parabola.front(), 0.0));
  EXPECT_THAT(deCasteljauEvaluation(parabola, 1 + 5e-13), IsNear(parabola.back(), 0.0));
  EXPECT_THAT(deCasteljauEvaluation({}, 0.5), IsNear(Point3D::origin(), 0.0));
  EXPECT_THAT(deCasteljauEvaluation({{1, 2, 3}}, 0.5), IsNear(Point3D(1, 2, 3), 0.0));
}

TEST(DeCasteljau, LongPolygonsOutgrowTheStackSafely) {
  std::vector<Point3D> line;
  for (int i = 0; i <= 100; ++i)
    line.emplace_back(i / 100.0, 0, 1);
  EXPECT_THAT(deCasteljauEvaluation(line, 0.37), IsNear(Point3D(0.37, 0, 1), 1e-14));
}

}  // namespace
