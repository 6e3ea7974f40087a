#include "morvel/curves/analytic_curve.h"

#include <gmock/gmock.h>

#include <memory>
#include <random>
#include <stdexcept>

#include "tests/support/curve_probes.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

// What holds for lines, circles and ellipses alike.

namespace {

using namespace morvel_test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<std::unique_ptr<AnalyticCurve>> samples() {
  std::vector<std::unique_ptr<AnalyticCurve>> curves;
  const auto add = [&](const auto& curve) {
    curves.push_back(std::make_unique<std::decay_t<decltype(curve)>>(curve));
  };
  add(LineCurve({1, 2, 3}, {-4, 0, 7}));
  add(tiltedCircle());
  add(tiltedArc());
  add(CircleCurve({0, 0, 0}, {0, 0, 1}, 1.0, -1.0, 12.5));  // more than two turns
  add(CircleCurve({0, 0, 5}, {0, 0, -3}, 0.25, 0.1, 0.2));
  add(halfEllipse());
  add(risingEllipse());
  add(EllipseCurve({1, 0, 0}, {1, -2, 0}, {0, 0, 1}, 1.0, 4.0, 5.0, 1.0));  // runs backwards
  add(EllipseCurve({1, 0, 0}, {0, 0, 2}, {1, 0, 0}, 2.0, 1.0, 0.3, 2.0));   // no minor axis
  return curves;
}

std::string nameOf(const Curve& curve) {
  const auto interval = curve.getParameterInterval();
  return curve.getTypeIdentifier() + " over " + std::to_string(interval.start) + " to " +
         std::to_string(interval.end);
}

TEST(AnalyticCurve, DerivativesAgreeWithDifferences) {
  for (const auto& curve : samples()) {
    SCOPED_TRACE(nameOf(*curve));
    const auto interval = curve->getParameterInterval();
    for (const double share : {0.2, 0.5, 0.83})
      expectTrueDerivatives(*curve, interval.start + share * interval.length(), 5, 1e-8);
    EXPECT_TRUE(curve->evaluateDerivatives(interval.start, -1).empty());
    EXPECT_THROW(curve->evaluateDerivatives(0.5, kMaxDerivativeOrder + 1), std::invalid_argument);
  }
}

TEST(AnalyticCurve, SplineFormIsExactAndRunsTheSameWay) {
  for (const auto& curve : samples()) {
    SCOPED_TRACE(nameOf(*curve));
    const auto spline = curve->toNurbs();
    ASSERT_TRUE(spline->isValid());
    const auto interval = curve->getParameterInterval();
    const auto knots = spline->getParameterInterval();
    EXPECT_EQ(knots.start, std::min(interval.start, interval.end));
    EXPECT_EQ(knots.end, std::max(interval.start, interval.end));
    for (int i = 0; i <= 40; ++i) {
      const Point3D p = pointAt(*spline, i / 40.0);
      const Point3D foot = curve->evaluate(curve->getClosestParameter(p));
      EXPECT_THAT(foot, IsNear(p, 1e-13));
      // Pieces are equal in angle, so no share of the spline lags the curve's own by a whole piece.
      EXPECT_LT(pointAt(*curve, i / 40.0).distanceTo(p), 0.05 * sampledLength(*curve, 500));
    }
    EXPECT_THAT(pointAt(*spline, 0), IsNear(pointAt(*curve, 0), 1e-15));
    EXPECT_THAT(pointAt(*spline, 1), IsNear(pointAt(*curve, 1), 1e-14));
  }
}

TEST(AnalyticCurve, BoxIsTheTightestOne) {
  for (const auto& curve : samples()) {
    SCOPED_TRACE(nameOf(*curve));
    BoundingBox sampled;
    for (int i = 0; i <= 20000; ++i)
      sampled.addPoint(pointAt(*curve, i / 20000.0));
    const BoundingBox box = curve->getBoundingBox();
    EXPECT_THAT(box.min, IsNear(sampled.min, 1e-5));
    EXPECT_THAT(box.max, IsNear(sampled.max, 1e-5));
    for (int axis = 0; axis < 3; ++axis) {
      EXPECT_LE(box.min[axis], sampled.min[axis] + 1e-15);
      EXPECT_GE(box.max[axis], sampled.max[axis] - 1e-15);
    }
  }
}

TEST(AnalyticCurve, ClosestPointIsTheGlobalOne) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> coordinate(-5.0, 5.0);
  for (const auto& curve : samples()) {
    SCOPED_TRACE(nameOf(*curve));
    for (int i = 0; i < 60; ++i) {
      const Point3D p(coordinate(random), coordinate(random), coordinate(random));
      const double u = curve->getClosestParameter(p);
      EXPECT_TRUE(curve->isValidParameter(u));
      const double distance = p.distanceTo(curve->evaluate(u));
      const double brute = sampledDistance(*curve, p, 2000);
      EXPECT_LE(distance, brute + 1e-14);
      EXPECT_NEAR(distance, brute, 1e-3);
    }
    EXPECT_THROW(curve->getClosestParameter({0, kNaN, 0}), std::invalid_argument);
  }
}

TEST(AnalyticCurve, PartsJoinUpAndRepeatTheCurve) {
  for (const auto& curve : samples()) {
    SCOPED_TRACE(nameOf(*curve));
    const auto interval = curve->getParameterInterval();
    const auto at = [&](double share) { return interval.start + share * interval.length(); };
    const auto middle = curve->trim(at(0.2), at(0.7));
    const auto halves = curve->split(at(0.7));
    const auto backwards = curve->reverse();
    for (const Curve* part : {middle.get(), halves.first.get(), halves.second.get()})
      EXPECT_EQ(part->getTypeIdentifier(), curve->getTypeIdentifier());
    for (const double share : {0.0, 0.4, 1.0}) {
      EXPECT_THAT(pointAt(*middle, share), IsNear(pointAt(*curve, 0.2 + 0.5 * share), 1e-14));
      EXPECT_THAT(pointAt(*halves.first, share), IsNear(pointAt(*curve, 0.7 * share), 1e-14));
      EXPECT_THAT(pointAt(*halves.second, share),
                  IsNear(pointAt(*curve, 0.7 + 0.3 * share), 1e-14));
      EXPECT_THAT(pointAt(*backwards, share), IsNear(pointAt(*curve, 1 - share), 1e-14));
      EXPECT_THAT(backwards->getTangent(backwards->getParameterInterval().start +
                                        share * backwards->getParameterInterval().length()),
                  IsNear(-curve->getTangent(at(1 - share)), 1e-12));
    }
    EXPECT_THROW(curve->trim(at(0.7), at(0.2)), std::invalid_argument);
    EXPECT_THROW(curve->trim(at(-0.1), at(0.2)), std::invalid_argument);
    EXPECT_THROW(curve->trim(kNaN, at(0.2)), std::invalid_argument);
    EXPECT_THROW(curve->split(at(1.0)), std::invalid_argument);
  }
}

TEST(AnalyticCurve, LengthMatchesAFinePolyline) {
  for (const auto& curve : samples()) {
    SCOPED_TRACE(nameOf(*curve));
    const double length = sampledLength(*curve, 20000);
    EXPECT_NEAR(curve->getTotalLength(), length, 1e-6 * length);
    const auto interval = curve->getParameterInterval();
    EXPECT_EQ(curve->getArcLength(interval.end, interval.start), curve->getTotalLength());
  }
}

TEST(AnalyticCurve, ExtensionIsAsLongAsAsked) {
  const QuietStatus quiet;
  for (const auto& curve : samples()) {
    SCOPED_TRACE(nameOf(*curve));
    for (const auto mode : {ExtensionMode::Linear, ExtensionMode::Natural}) {
      const auto longer = curve->extend(0.3, CurveEnd::End, mode);
      EXPECT_NEAR(longer->getTotalLength(), curve->getTotalLength() + 0.3, 1e-7);
      EXPECT_THAT(pointAt(*longer, 0), IsNear(pointAt(*curve, 0), 1e-12));
      const auto earlier = curve->extend(0.3, CurveEnd::Start, mode);
      EXPECT_NEAR(earlier->getTotalLength(), curve->getTotalLength() + 0.3, 1e-7);
      EXPECT_THAT(pointAt(*earlier, 1), IsNear(pointAt(*curve, 1), 1e-12));
    }
    const auto interval = curve->getParameterInterval();
    const auto straight = curve->extend(0.3, CurveEnd::End, ExtensionMode::Linear);
    EXPECT_THAT(pointAt(*straight, 1),
                IsNear(pointAt(*curve, 1) + curve->getTangent(interval.end) * 0.3, 1e-9));
    EXPECT_THROW(curve->extend(0.0, CurveEnd::End, ExtensionMode::Natural), std::invalid_argument);
    EXPECT_THROW(curve->extend(kNaN, CurveEnd::End, ExtensionMode::Linear), std::invalid_argument);
  }
}

TEST(AnalyticCurve, TransformMovesEveryPointWhateverTheMap) {
  for (const auto& curve : samples()) {
    for (const Transform3D& map : {shear(), similarity(), reflection()}) {
      SCOPED_TRACE(nameOf(*curve));
      const auto image = curve->transform(map);
      EXPECT_THAT(pointAt(*image, 0), IsNear(map.transform(pointAt(*curve, 0)), 1e-12));
      EXPECT_THAT(pointAt(*image, 1), IsNear(map.transform(pointAt(*curve, 1)), 1e-12));
      for (int i = 0; i <= 20; ++i) {
        const Point3D p = map.transform(pointAt(*curve, i / 20.0));
        EXPECT_LT(sampledDistance(*image, p, 4000), 1e-2);
        EXPECT_LT(p.distanceTo(image->evaluate(image->getClosestParameter(p))), 1e-9);
      }
    }
  }
}

TEST(AnalyticCurve, TransformInPlaceEitherIsExactOrChangesNothing) {
  for (const auto& curve : samples()) {
    for (const Transform3D& map : {shear(), similarity(), reflection()}) {
      SCOPED_TRACE(nameOf(*curve));
      const auto moved = curve->clone();
      moved->setMatrix(map);
      const bool keepsClass =
          curve->transform(map)->getTypeIdentifier() == curve->getTypeIdentifier();
      if (keepsClass)
        moved->applyMatrix();
      else
        EXPECT_THROW(moved->applyMatrix(), std::invalid_argument);
      EXPECT_EQ(moved->hasPendingTransform(), !keepsClass);
      for (const double share : {0.0, 0.3, 1.0}) {
        const Point3D p = pointAt(*curve, share);
        EXPECT_THAT(pointAt(*moved, share), IsNear(keepsClass ? map.transform(p) : p, 1e-12));
      }
    }
  }
}

TEST(AnalyticCurve, ChordsStayWithinTheTolerance) {
  for (const auto& curve : samples()) {
    for (const double tolerance : {0.1, 1e-4}) {
      SCOPED_TRACE(nameOf(*curve));
      const auto line = curve->adaptiveTessellate(tolerance);
      EXPECT_THAT(line.front(), IsNear(pointAt(*curve, 0), 1e-15));
      EXPECT_THAT(line.back(), IsNear(pointAt(*curve, 1), 1e-15));
      for (int i = 0; i <= 500; ++i)
        EXPECT_LE(distanceToPolyline(pointAt(*curve, i / 500.0), line), tolerance * (1 + 1e-9));
      EXPECT_LT(line.size(), 40.0 / std::sqrt(tolerance));
    }
    EXPECT_THROW(curve->adaptiveTessellate(kNaN), std::invalid_argument);
  }
}

TEST(AnalyticCurve, NumbersThatAreNotFiniteAreRefused) {
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_THROW(LineCurve({kNaN, 0, 0}, {1, 0, 0}), std::invalid_argument);
  EXPECT_THROW(LineCurve({0, 0, 0}, {1, 0, inf}), std::invalid_argument);
  EXPECT_THROW(CircleCurve({0, 0, 0}, {0, 0, 1}, kNaN), std::invalid_argument);
  EXPECT_THROW(CircleCurve({0, 0, 0}, {0, 0, 1}, 1.0, 0.0, inf), std::invalid_argument);
  EXPECT_THROW(CircleCurve({0, 0, 0}, {0, 0, 1}, 1.0, 0.0, 1e6), std::invalid_argument);
  EXPECT_THROW(EllipseCurve({0, 0, 0}, {1, 0, 0}, {0, kNaN, 1}, 1, 1, 0, 1), std::invalid_argument);
  Transform3D broken;
  broken(1, 2) = kNaN;
  for (const auto& curve : samples()) {
    EXPECT_THROW(curve->transform(broken), std::invalid_argument);
    EXPECT_THROW(curve->offset(kNaN, {0, 0, 1}), std::invalid_argument);
    EXPECT_THROW(curve->offset(0.1, {0, 0, 0}), std::invalid_argument);
  }
}

}  // namespace
