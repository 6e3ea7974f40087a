#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/to_nurbs.h"
#include "tests/support/curve_probes.h"
#include "tests/surfaces/surface_measures.h"
#include "tests/surfaces/surface_samples.h"

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Closed with a continuous tangent, and not plane.
CurvePointer knottedLoop() {
  return shared(*BSplineCurve::createClamped({{0, 0, 0},
                                              {2, 0, 0.5},
                                              {5, 1, 3},
                                              {4, 5, -2},
                                              {0, 4, 2},
                                              {-3, 2, -1},
                                              {-2, 0, -0.5},
                                              {0, 0, 0}},
                                             3));
}

Vector3D unitTangent(const Curve& curve, double share) {
  const auto interval = curve.getParameterInterval();
  const Vector3D d = curve.evaluateDerivatives(interval.start + share * interval.length(), 1)[1];
  return d / d.magnitude();
}

TEST(ExtrudeSurface, MovesTheProfileStraight) {
  const auto arc = tiltedArc();
  const ExtrudeSurface surface(shared(arc), {0, 3, 4}, 2.5);
  for (const double s : {0.0, 0.3, 1.0}) {
    EXPECT_THAT(surface.evaluate(s, 0), IsNear(pointAt(arc, s), 1e-15));
    EXPECT_THAT(surface.evaluate(s, 0.4), IsNear(pointAt(arc, s) + Vector3D(0, 0.6, 0.8), 1e-15));
  }
}

TEST(ExtrudeSurface, RunsAlongProfilesWhoseIntervalRunsDownwards) {
  const auto backwards = halfEllipse().reverse();
  ASSERT_LT(backwards->getParameterInterval().length(), 0);
  const ExtrudeSurface surface(std::shared_ptr<const Curve>(backwards->clone()), {0, 0, 1}, 1);
  EXPECT_THAT(surface.evaluate(0, 0), IsNear(pointAt(halfEllipse(), 1), 1e-14));
  EXPECT_THAT(surface.evaluate(0.25, 0), IsNear(pointAt(halfEllipse(), 0.75), 1e-14));
  expectTrueDerivatives(surface, 0.3, 0.6, 1e-6);
}

TEST(ExtrudeSurface, ConvertsExactlyWhereTheProfileIsUniform) {
  struct Case {
    CurvePointer profile;
    double start, end;
    int points;
  };
  const Case cases[] = {{shared(LineCurve({0, 1, 0}, {2, 2, 1})), 0.2, 0.9, 2},
                        {spaceCubic(), 0, 1, 4},
                        {spaceCubic(), 0.13, 0.77, 4},
                        {shared(planarWave()), 0, 1, 6},
                        {shared(planarWave()), 1.0 / 3, 1, 5},
                        {shared(planarWave()), 0.4, 0.6, 4}};
  for (const Case& c : cases) {
    const auto surface = ExtrudeSurface(c.profile, {1, 1, 5}, 2).trim(c.start, c.end, 0.25, 1);
    for (const auto& seen : {surface->transform(shear()), surface->swapUV(), surface->reverseU()}) {
      const auto spline = seen->toNurbs(1e-6);
      EXPECT_LE(largestGap(*spline, *seen), 1e-13);
      EXPECT_EQ(spline->controlNet().points().size(), 2u * c.points);
    }
  }
}

TEST(ExtrudeSurface, FitsProfilesThatBendAtSimpleFractions) {
  const CircleCurve circle({0, 0, 0}, {0, 0, 1}, 10);
  const std::shared_ptr<const Curve> rational = circle.toNurbs();  // C1 at the quarters
  for (const auto& profile : {rational, shared(unevenCubic()), shared(circle)}) {
    const ExtrudeSurface surface(profile, {0, 0, 1}, 4);
    EXPECT_LE(largestGap(*surface.toNurbs(1e-6), surface, 157), 1.05e-6);
  }
  const BSplineCurve kinked({{0, 0, 0}, {1, 1, 0}, {2, 0, 0}}, {0, 0, 1 / kPi, 1, 1}, 1);
  EXPECT_THROW(ExtrudeSurface(shared(kinked), {0, 0, 1}, 4).toNurbs(1e-6),
               ToNurbsConvergenceException);
}

TEST(RevolveSurface, TurnsEveryProfilePointAboutTheAxis) {
  const Point3D base(1, 0, 0);
  const Vector3D axis = Vector3D(1, 2, 2) / 3;
  const RevolveSurface surface(spaceCubic(), base, axis * 7, 0.5, 2.0);
  for (const double s : {0.0, 0.4, 1.0}) {
    const Point3D p = spaceCubic()->evaluate(s);
    for (const double t : {0.0, 0.3, 1.0}) {
      const Transform3D turn = Transform3D::rotation(axis, 0.5 + 1.5 * t);
      EXPECT_THAT(surface.evaluate(s, t), IsNear(base + turn.transform(p - base), 1e-14));
    }
  }
}

TEST(RevolveSurface, AFullTurnClosesAndHasTheRightArea) {
  const auto slanted = shared(LineCurve({2, 0, 0}, {1, 0, 3}));
  const RevolveSurface frustum(slanted, {0, 0, 0}, {0, 0, 1}, 0, 2 * kPi);
  const double exact = kPi * 3 * std::sqrt(10.0);
  EXPECT_NEAR(frustum.getArea(0), exact, 0.019 * exact);
  EXPECT_TRUE(frustum.isPeriodicV());
  EXPECT_FALSE(frustum.isClosed());
  const auto meridian = shared(CircleCurve({0, 0, 0}, {0, 1, 0}, {0, 0, 1}, 2.0, 0.0, kPi));
  EXPECT_TRUE(RevolveSurface(meridian, {0, 0, 0}, {0, 0, 1}, 0, 2 * kPi).isClosed());
  EXPECT_FALSE(RevolveSurface(meridian, {0, 0, 0}, {0, 0, 1}, 0, 3).isClosed());
  EXPECT_FALSE(RevolveSurface(meridian, {0, 0, 0}, {0, 0, 1}, 2, 1).isValid());
}

TEST(RuledSurface, JoinsEqualParametersByStraightLines) {
  const auto first = spaceCubic();
  const auto second = halfEllipse();
  const RuledSurface surface(first, shared(second));
  for (const double s : {0.0, 0.35, 1.0}) {
    const Point3D a = pointAt(*first, s);
    const Point3D b = pointAt(second, s);
    EXPECT_THAT(surface.evaluate(s, 0), IsNear(a, 1e-15));
    EXPECT_THAT(surface.evaluate(s, 1), IsNear(b, 1e-15));
    EXPECT_THAT(surface.evaluate(s, 0.3), IsNear(a + (b - a) * 0.3, 1e-14));
  }
}

TEST(RuledSurface, FindsTheCommonUniformForm) {
  const auto spans = [](int count) {
    std::vector<Point3D> points;
    for (int k = 0; k < count + 3; ++k)
      points.emplace_back(k, std::sin(2.0 * k), count);
    return shared(*BSplineCurve::createClamped(points, 3));
  };
  const auto line = shared(LineCurve({0, 0, 9}, {5, 0, 9}));
  struct Case {
    CurvePointer first, second;
    int points;
  };
  for (const Case& c : {Case{spaceCubic(), line, 4}, Case{spans(2), spans(3), 9},
                        Case{spans(4), line, 7}, Case{spans(6), spans(3), 9}}) {
    const RuledSurface surface(c.first, c.second);
    const auto spline = surface.toBSpline();
    EXPECT_LE(largestGap(*spline, surface, 73), 1e-13);
    EXPECT_EQ(spline->getUControlPointCount(), c.points);
    EXPECT_EQ(spline->getVControlPointCount(), 2);
  }
}

TEST(RuledSurface, FitsCurvesThatHaveNoCommonUniformForm) {
  // The quadratic is only C1 at its middle knot, which no cubic on simple knots is.
  const auto quadratic =
      shared(*BSplineCurve::createClamped({{0, 0, 5}, {1, 3, 5}, {3, -2, 5}, {5, 1, 5}}, 2));
  for (const auto& other : {spaceCubic(), shared(tiltedArc()), shared(unevenCubic())}) {
    const RuledSurface surface(quadratic, other);
    EXPECT_LE(largestGap(*surface.toBSpline(), surface, 131), 1.05e-6);
  }
}

TEST(LoftSurface, PassesThroughItsSections) {
  for (const int degree : {1, 2, 3, 4, 9}) {
    const std::vector<CurvePointer> sections = {spaceCubic(), shared(tiltedArc()),
                                                shared(quarterCircle()), shared(unevenCubic()),
                                                shared(halfEllipse())};
    const LoftSurface surface(sections, degree);
    EXPECT_EQ(surface.getSectionDegree(), std::min(degree, 4));
    for (int k = 0; k < 5; ++k) {
      for (const double s : {0.0, 0.21, 0.7, 1.0})
        EXPECT_THAT(surface.evaluate(s, surface.getSectionParameter(k)),
                    IsNear(pointAt(*sections[k], s), 1e-13));
    }
    expectTrueDerivatives(surface, 0.3, 0.55, 1e-5);
  }
}

TEST(LoftSurface, ReproducesAStraightPileOfSections) {
  std::vector<CurvePointer> sections;
  for (int k = 0; k < 6; ++k) {
    // Heights at the section parameters themselves: then the loft is linear across.
    const LoftSurface pile(std::vector<CurvePointer>(6, spaceCubic()), 3);
    const Transform3D lift = Transform3D::translation({0, 0, 10 * pile.getSectionParameter(k)});
    sections.push_back(spaceCubic()->transform(lift));
  }
  const LoftSurface loft(sections, 3);
  const ExtrudeSurface prism(spaceCubic(), {0, 0, 1}, 10);
  EXPECT_LE(largestGap(loft, prism), 1e-13);
}

TEST(LoftSurface, ConvertsToASplineThatEvaluatesToTheLoft) {
  const std::vector<CurvePointer> polynomial = {
      shared(planarWave()), shared(LineCurve({0, 0, 2}, {9, 1, 2})), shared(planarWave()),
      shared(LineCurve({0, 0, 6}, {8, 3, 7})), shared(planarWave())};
  const LoftSurface exact(polynomial, 3);
  const auto spline = exact.toBSpline();
  EXPECT_LE(largestGap(*spline, exact), 1e-13);
  EXPECT_EQ(spline->getUControlPointCount(), 6);
  EXPECT_EQ(spline->getVControlPointCount(), 5);
  EXPECT_LE(largestGap(*exact.reverseV()->swapUV()->toNurbs(1e-6), *exact.reverseV()->swapUV()),
            1e-13);
  const auto part = exact.trim(0.2, 0.9, 0.1, 0.8);  // two pieces along v, of unequal lengths
  EXPECT_LE(largestGap(*part->toNurbs(1e-6), *part), 1.05e-6);

  const LoftSurface fitted({shared(tiltedArc()), shared(quarterCircle()), shared(halfEllipse())});
  EXPECT_LE(largestGap(*fitted.toBSpline(), fitted), 1.05e-6);
}

TEST(LoftSurface, HoldsManySections) {
  std::vector<CurvePointer> sections;
  for (int k = 0; k < 200; ++k)
    sections.push_back(shared(LineCurve({0, std::cos(0.1 * k), 0.1 * k}, {1, 0, 0.1 * k})));
  const LoftSurface loft(sections, 3);
  EXPECT_THAT(loft.evaluate(1, loft.getSectionParameter(77)), IsNear(Point3D(1, 0, 7.7), 1e-12));
  expectTrueDerivatives(loft, 0.4, 0.5123, 1e-5);
  sections.resize(1001, sections.front());
  EXPECT_THROW(LoftSurface{sections}, std::invalid_argument);
}

// The defining equation of the frame, r' = -(r . T') T, integrated by the classical Runge-Kutta
// method.
Vector3D integratedNormal(const Curve& path, Vector3D r, double end) {
  const auto rate = [&](double t, const Vector3D& v) {
    const auto d = path.evaluateDerivatives(t, 2);
    const double speed = d[1].magnitude();
    const Vector3D T = d[1] / speed;
    const Vector3D turning = (d[2] - T * d[2].dot(T)) / speed;
    return T * -v.dot(turning);
  };
  constexpr int kSteps = 4000;
  const double h = end / kSteps;
  for (int k = 0; k < kSteps; ++k) {
    const double t = k * h;
    const Vector3D k1 = rate(t, r);
    const Vector3D k2 = rate(t + h / 2, r + k1 * (h / 2));
    const Vector3D k3 = rate(t + h / 2, r + k2 * (h / 2));
    const Vector3D k4 = rate(t + h, r + k3 * h);
    r += (k1 + k2 * 2 + k3 * 2 + k4) * (h / 6);
  }
  return r;
}

TEST(PipeSurface, FollowsTheRotationMinimisingFrame) {
  const auto path = spaceCubic();
  const PipeSurface pipe(path, 1);
  const Vector3D start = pipe.evaluate(0, 0) - path->evaluate(0);
  for (const double t : {0.03, 0.4, 0.777, 1.0})
    EXPECT_THAT(pipe.evaluate(0, t) - path->evaluate(t),
                IsNear(integratedNormal(*path, start, t), 1e-8));
}

TEST(PipeSurface, KeepsItsDistanceFromThePath) {
  const auto path = spaceCubic();
  const PipeSurface pipe(path, 0.4);
  for (const double s : {0.0, 0.2, 0.65}) {
    for (const double t : {0.15, 0.5, 0.9}) {
      const auto at = pipe.evaluateDerivatives(s, t, 1);
      EXPECT_NEAR(sampledDistance(*path, at.point), 0.4, 1e-7);
      EXPECT_THAT(path->evaluate(t) + at.normal * 0.4, IsNear(at.point, 1e-9));
    }
  }
  const PipeSurface ring(shared(CircleCurve({0, 0, 0}, {0, 0, 1}, 3)), 1);
  const double exact = 4 * kPi * kPi * 3;
  EXPECT_NEAR(ring.getArea(0), exact, 0.037 * exact);
  EXPECT_TRUE(ring.isClosed());
}

TEST(PathGuidedSweepSurface, CarriesTheProfileRigidly) {
  const auto path = shared(unevenCubic());
  const auto profile = tiltedArc();
  const PathGuidedSweepSurface sweep(shared(profile), path);
  const Point3D start = pointAt(*path, 0);
  const double places[] = {0.0, 0.25, 0.6, 1.0};
  for (const double t : {0.0, 0.18, 0.5, 0.83, 1.0}) {
    const Point3D onPath = pointAt(*path, t);
    for (const double a : places) {
      const Point3D p = pointAt(profile, a);
      const Point3D carried = sweep.evaluate(a, t);
      EXPECT_NEAR((carried - onPath).magnitude(), (p - start).magnitude(), 1e-12);
      EXPECT_NEAR((carried - onPath).dot(unitTangent(*path, t)),
                  (p - start).dot(unitTangent(*path, 0)), 1e-12);
      for (const double b : places)
        EXPECT_NEAR(carried.distanceTo(sweep.evaluate(b, t)), p.distanceTo(pointAt(profile, b)),
                    1e-12);
    }
  }
  for (const double a : places)
    EXPECT_THAT(sweep.evaluate(a, 0), IsNear(pointAt(profile, a), 1e-14));
  const PathGuidedSweepSurface straight(shared(profile), shared(LineCurve({0, 0, 0}, {1, 2, 2})));
  EXPECT_LE(largestGap(straight, ExtrudeSurface(shared(profile), {1, 2, 2}, 3)), 1e-13);
}

TEST(PathGuidedSweepSurface, ClosesAlongASmoothlyClosedPath) {
  const auto square = shared(*BSplineCurve::createClamped(
      {{0, 0.3, 0.3}, {0, -0.3, 0.3}, {0, -0.3, -0.3}, {0, 0.3, -0.3}, {0, 0.3, 0.3}}, 1));
  const PathGuidedSweepSurface sweep(square, knottedLoop());
  for (const double s : {0.0, 0.4}) {
    EXPECT_THAT(sweep.evaluate(s, 1), IsNear(sweep.evaluate(s, 0), 1e-12));
    const auto before = sweep.evaluateDerivatives(s, 1, 1);
    EXPECT_LT(before.Sv.angleTo(sweep.evaluateDerivatives(s, 0, 1).Sv), 0.2);
  }
  EXPECT_TRUE(sweep.isPeriodicV());
  EXPECT_TRUE(sweep.isClosed());
  for (const double t : {0.11, 0.52, 0.93})
    expectTrueDerivatives(sweep, 0.1, t, 1e-5);
  const auto drop = shared(BezierCurve({{0, 0, 0}, {3, 3, 0}, {-3, 3, 0}, {0, 0, 0}}));
  EXPECT_FALSE(PathGuidedSweepSurface(square, drop).isPeriodicV());
}

TEST(PathGuidedSweepSurface, EndsOnPathsWithoutTangents) {
  const std::vector<CurvePointer> paths = {
      shared(BezierCurve({{1, 1, 1}})),
      shared(LineCurve({1, 0, 0}, {1, 0, 0})),
      shared(BezierCurve({{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {0, 0, 0}})),  // back and forth
      shared(BezierCurve({{0, 0, 0}, {1, 1, 0}, {0, 1, 0}, {1, 0, 0}})),  // a cusp
      shared(*BSplineCurve::createClamped({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 3}}, 1)),
      shared(BSplineCurve({{kNaN, 0, 0}, {1, 0, 0}}, {0, 0, 1, 1}, 1)),
      shared(BSplineCurve({{0, 0, 0}, {1, 0, 0}}, {3, 2}, 4))};
  for (std::size_t k = 0; k < paths.size(); ++k) {
    const PathGuidedSweepSurface sweep(shared(tiltedArc()), paths[k]);
    const Point3D p = sweep.evaluate(0.3, 0.7);
    sweep.evaluateDerivatives(0.3, 0.5, 2);
    EXPECT_TRUE(k > 4 || p.isFinite()) << k;
  }
}

TEST(SweptSurfaces, KeepTheirOwnCopiesOfTheCurves) {
  const auto profile = std::make_shared<BezierCurve>(std::vector<Point3D>{{0, 0, 0}, {1, 1, 0}});
  const ExtrudeSurface extrude(profile, {0, 0, 1}, 2);
  const PipeSurface pipe(profile, 0.2);
  const auto before = extrude.clone();
  const auto pipeBefore = pipe.evaluate(0.1, 0.9);
  profile->setControlPoint(1, {5, 5, 5});
  EXPECT_EQ(largestGap(extrude, *before, 5), 0.0);
  EXPECT_EQ(pipe.evaluate(0.1, 0.9).distanceTo(pipeBefore), 0.0);
}

TEST(SweptSurfaces, ConstructorsRefuseWhatHasNoMeaning) {
  EXPECT_THROW(ExtrudeSurface(nullptr, {0, 0, 1}, 1), std::invalid_argument);
  EXPECT_THROW(ExtrudeSurface(spaceCubic(), {0, 0, 0}, 1), std::invalid_argument);
  EXPECT_THROW(ExtrudeSurface(spaceCubic(), {0, kNaN, 0}, 1), std::invalid_argument);
  EXPECT_THROW(RevolveSurface(spaceCubic(), {0, 0, 0}, {0, 0, 0}, 0, 1), std::invalid_argument);
  EXPECT_THROW(RuledSurface(spaceCubic(), nullptr), std::invalid_argument);
  EXPECT_THROW(PipeSurface(nullptr, 1), std::invalid_argument);
  EXPECT_THROW(PathGuidedSweepSurface(nullptr, spaceCubic()), std::invalid_argument);
  EXPECT_FALSE(PipeSurface(spaceCubic(), -1).isValid());
  EXPECT_FALSE(ExtrudeSurface(spaceCubic(), {0, 0, 1}, 0).isValid());
}

}  // namespace
}  // namespace morvel_test
