#include "morvel/foundation/spline_rows.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "tests/foundation/basis_oracle.h"

namespace {

using namespace morvel_test;
using namespace trova::foundation::nurbs;
using testing::ElementsAre;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kTolerance = 1e-12;

/// Rows of a given width with fixed, uneven coordinates of a size about 1.
SplineRows sampleSpline(int p, const Knots& U, int dim) {
  SplineRows spline{p, dim, U, {}};
  const int n = static_cast<int>(U.size()) - p - 1;
  for (int i = 0; i < n * dim; ++i)
    spline.coords.push_back(std::sin(3.7 * i + 1) + 0.1 * (i % 5));
  return spline;
}

std::vector<double> oracleValue(const SplineRows& spline, double u) {
  std::vector<long double> sum(spline.dim, 0.0L);
  for (int i = 0; i < spline.count(); ++i) {
    const long double basis = oracleBasis(i, spline.degree, u, spline.knots);
    for (int d = 0; d < spline.dim; ++d)
      sum[d] += basis * spline.coords[i * spline.dim + d];
  }
  return {sum.begin(), sum.end()};
}

void expectSameFunction(const SplineRows& a, const SplineRows& b,
                        const std::vector<double>& parameters, double tolerance = kTolerance) {
  ASSERT_EQ(a.coords.size(), static_cast<std::size_t>(a.count()) * a.dim);
  ASSERT_EQ(a.knots.size(), static_cast<std::size_t>(a.count() + a.degree + 1));
  for (const double u : parameters) {
    const std::vector<double> va = oracleValue(a, u), vb = oracleValue(b, u);
    for (int d = 0; d < a.dim; ++d)
      EXPECT_NEAR(va[d], vb[d], tolerance) << "at " << u << ", degree " << a.degree;
  }
}

TEST(SplineRows, EveryOperationKeepsTheFunction) {
  for (int p = 1; p <= 4; ++p) {
    for (const Knots& U : sampleKnots(p)) {
      const SplineRows spline = sampleSpline(p, U, 2);
      const double start = U[p], end = U[spline.count()];
      const std::vector<double> all = sampleParameters(p, U);
      expectSameFunction(clamped(spline), spline, all);
      for (const int times : {1, 2, 5})
        expectSameFunction(elevated(spline, times), spline, all);
      for (const double share : {0.0, 0.2, 0.35, 0.7, 1.0}) {
        SplineRows refined = spline;
        insertKnot(refined, start + share * (end - start), p, 1e-12);
        expectSameFunction(refined, spline, all);
      }
      const double a = start + 0.21 * (end - start), b = start + 0.83 * (end - start);
      std::vector<double> inside;
      for (const double u : all)
        if (a < u && u < b) inside.push_back(u);
      const SplineRows part = trimmed(spline, a, b);
      expectSameFunction(part, spline, inside);
      EXPECT_EQ(part.knots.front(), a);
      EXPECT_EQ(part.knots.back(), b);
    }
  }
}

TEST(SplineRows, InsertionStopsAtMultiplicityDegreeAndTakesNearKnotsForOne) {
  const SplineRows cubic = sampleSpline(3, {0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
  SplineRows refined = cubic;
  insertKnot(refined, 0.5 + 1e-14, 100, 1e-12);
  EXPECT_THAT(refined.knots, ElementsAre(0, 0, 0, 0, 0.5, 0.5, 0.5, 1, 1, 1, 1));
  EXPECT_EQ(refined.count(), 7);
  insertKnot(refined, 0.5, std::numeric_limits<int>::max(), 1e-12);
  insertKnot(refined, 1.0, 1, 1e-12);
  insertKnot(refined, 0.25, 0, 1e-12);
  insertKnot(refined, 0.25, -3, 1e-12);
  EXPECT_EQ(refined.count(), 7);
}

TEST(SplineRows, TrimmedPartsHaveClampedEndsOnTheirPoints) {
  const SplineRows cubic = sampleSpline(3, {0, 0, 0, 0, 0.5, 0.7, 1, 1, 1, 1}, 3);
  const SplineRows part = trimmed(cubic, 0.5, 0.6);
  EXPECT_THAT(part.knots, ElementsAre(0.5, 0.5, 0.5, 0.5, 0.6, 0.6, 0.6, 0.6));
  const std::vector<double> at = oracleValue(cubic, 0.5);
  for (int d = 0; d < 3; ++d)
    EXPECT_NEAR(part.coords[d], at[d], 1e-15);
  const SplineRows whole = trimmed(cubic, 0.0, 1.0);
  EXPECT_EQ(whole.knots, cubic.knots);
  EXPECT_EQ(whole.coords, cubic.coords);
}

TEST(SplineRows, ElevationGivesEveryDistinctKnotTheNewCopies) {
  const SplineRows cubic = sampleSpline(3, {0, 0, 0, 0, 0.5, 0.5, 0.7, 1, 1, 1, 1}, 2);
  const SplineRows quintic = elevated(cubic, 2);
  EXPECT_EQ(quintic.degree, 5);
  EXPECT_THAT(quintic.knots,
              ElementsAre(0, 0, 0, 0, 0, 0, 0.5, 0.5, 0.5, 0.5, 0.7, 0.7, 0.7, 1, 1, 1, 1, 1, 1));
  // A discontinuity stays one.
  const SplineRows steps = elevated(sampleSpline(0, {0, 0.3, 1}, 1), 1);
  EXPECT_THAT(steps.knots, ElementsAre(0, 0, 0.3, 0.3, 1, 1));
  EXPECT_EQ(steps.coords[0], steps.coords[1]);
  EXPECT_EQ(steps.coords[2], steps.coords[3]);
}

// Spans of very different lengths, where removing knots again would cost half of the digits.
TEST(SplineRows, ElevationLosesNoDigitsOnUnevenKnots) {
  const Knots U{0, 0, 0, 0, 1e-6, 0.5, 0.5 + 1e-7, 0.9, 1, 1, 1, 1};
  const SplineRows spline = sampleSpline(3, U, 3);
  expectSameFunction(elevated(spline, 3), spline,
                     {1e-7, 5e-7, 1e-3, 0.3, 0.5 + 3e-8, 0.6, 0.95, 1 - 1e-9}, 1e-13);
}

TEST(SplineRows, LineElevatedToTheCapStaysALine) {
  const SplineRows line{1, 1, {0, 0, 2, 2}, {10, 20}};
  const SplineRows top = elevated(line, kMaxElevatedDegree - 1);
  ASSERT_EQ(top.count(), kMaxElevatedDegree + 1);
  for (int i = 0; i < top.count(); ++i)
    EXPECT_NEAR(top.coords[i], 10 + 10.0 * i / kMaxElevatedDegree, 1e-11);
}

TEST(SplineRows, ReversalMirrorsTheParameter) {
  const SplineRows spline = sampleSpline(2, {0, 0, 0, 1, 3, 3, 3}, 2);
  const SplineRows back = reversed(spline);
  EXPECT_THAT(back.knots, ElementsAre(0, 0, 0, 2, 3, 3, 3));
  for (const double u : {0.1, 1.0, 1.9, 2.5}) {
    const std::vector<double> there = oracleValue(back, 3 - u), here = oracleValue(spline, u);
    EXPECT_NEAR(there[0], here[0], 1e-15);
    EXPECT_NEAR(there[1], here[1], 1e-15);
  }
}

TEST(SplineRows, WhatDoesNotFitTogetherIsRefused) {
  const SplineRows good = sampleSpline(2, {0, 0, 0, 0.5, 1, 1, 1}, 2);
  std::vector<SplineRows> bad(10, good);
  bad[0].degree = 3;
  bad[1].degree = -1;
  bad[2].dim = 0;
  bad[3].dim = 3;
  bad[4].coords.clear();
  bad[5].knots[3] = kNan;
  bad[6].knots[3] = 2;
  bad[7].knots.pop_back();
  bad[8].degree = std::numeric_limits<int>::max();
  bad[9].knots.front() = -std::numeric_limits<double>::infinity();
  for (SplineRows& spline : bad) {
    EXPECT_THROW(insertKnot(spline, 0.5, 1, 1e-12), std::invalid_argument);
    EXPECT_THROW(clamped(spline), std::invalid_argument);
    EXPECT_THROW(trimmed(spline, 0.2, 0.4), std::invalid_argument);
    EXPECT_THROW(elevated(spline, 1), std::invalid_argument);
    EXPECT_THROW(reversed(spline), std::invalid_argument);
  }
  SplineRows spline = good;
  for (const double u : {-0.1, 1.1, kNan})
    EXPECT_THROW(insertKnot(spline, u, 1, 1e-12), std::invalid_argument);
  const double ranges[][2] = {{0.5, 0.5}, {0.6, 0.5},  {-0.1, 0.5},       {0.5, 1.1},
                              {kNan, 1},  {0.5, kNan}, {0.5, 0.5 + 1e-13}};
  for (const auto& [a, b] : ranges)
    EXPECT_THROW(trimmed(spline, a, b), std::invalid_argument) << a << " " << b;
  for (const int times : {-1, kMaxElevatedDegree, std::numeric_limits<int>::max()})
    EXPECT_THROW(elevated(spline, times), std::invalid_argument);
}

TEST(SplineRows, ElevationBeyondReasonIsRefusedAtOnce) {
  Knots U(401, 0.0);
  for (int j = 1; j < 100; ++j)
    U.push_back(j / 100.0);
  U.insert(U.end(), 401, 1.0);
  const SplineRows spline = sampleSpline(400, U, 1);
  EXPECT_THROW(elevated(spline, 400), std::length_error);
}

// Several knots within the tolerance of a cut, and cuts beside a knot.
TEST(SplineRows, TrimmingBesideKnotsKeepsThePartsShape) {
  const SplineRows spline = sampleSpline(3, {0, 0, 0, 0, 0.5, 0.5 + 4e-13, 0.8, 1, 1, 1, 1}, 1);
  for (const double cut : {0.5, 0.5 + 2e-13, 0.5 - 6e-13, 0.5 + 3e-12, 0.8 - 1e-13}) {
    expectSameFunction(trimmed(spline, cut, 1), spline, {0.81, 0.9, 0.99}, 1e-10);
    expectSameFunction(trimmed(spline, 0, cut), spline, {0.1, 0.4, 0.49}, 1e-10);
  }
}

}  // namespace
