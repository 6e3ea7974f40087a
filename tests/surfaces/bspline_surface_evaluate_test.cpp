#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "tests/surfaces/spline_probes.h"
#include "tests/surfaces/surface_measures.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

bool sameBits(const Point3D& a, const Point3D& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(UniformBasis, HasKnownValues) {
  struct Case {
    int i, p;
    double t;
    int n;
    double value;
  };
  const Case cases[] = {
      {0, 1, 0.25, 2, 0.75},       {1, 2, 0.5, 3, 0.5},
      {2, 2, 0.5, 4, 0.5},                                       // knots 0 0 0 1/2 1 1 1
      {3, 3, 1.0, 4, 1.0},         {3, 3, 1.0 - 5e-13, 4, 1.0},  // snapped to the end
      {2, 3, 1.0, 4, 0.0},         {1, 0, 0.5, 4, 0.0},
      {2, 0, 0.5, 4, 1.0},         {3, 0, 1.0, 4, 1.0},
      {3, 0, 1.0 - 5e-13, 4, 1.0}, {0, 0, -5e-13, 4, 1.0},
      {0, 2, 0.5, 2, 0.5},  // no more functions than the degree: knots 0 0 1 1 1
      {1, 2, 0.5, 2, 0.25},        {-1, 2, 0.5, 4, 0.0},
      {4, 2, 0.5, 4, 0.0}};
  for (const Case& c : cases)
    EXPECT_NEAR(computeUniformBasisFunction(c.i, c.p, c.t, c.n), c.value, 1e-11)
        << c.i << " of degree " << c.p << " at " << c.t;
}

// The stored knots are uneven, and do not matter.
TEST(BSplineSurface, EvaluatesTheFullSumOnUniformKnotsWhateverIsStored) {
  const int shapes[][4] = {{4, 5, 3, 3}, {9, 7, 3, 3}, {5, 6, 1, 2}, {8, 6, 2, 5}, {7, 9, 6, 1}};
  for (const auto [nU, nV, p, q] : shapes) {
    const BSplineSurface s = unevenSurface(nU, nV, p, q);
    const Knots U = uniformKnots(nU, p), V = uniformKnots(nV, q);
    for (const double u : {0.0, 0.2, 1.0 / 3, 0.5, 0.77, 1 - 1e-7}) {
      for (const double v : {0.1, 0.25, 0.5, 2.0 / 3, 0.999}) {
        const auto sum = [&](int a, int b) {
          return oracleSum(s.controlNet(), p, q, U, V, u, v, a, b);
        };
        const auto near = [](const Vector3D& expected) {
          return IsNear(expected, 1e-12 * (1 + expected.magnitude()));
        };
        EXPECT_THAT(s.evaluate(u, v) - Point3D::origin(), near(sum(0, 0)));
        const SurfaceEvaluation at = s.evaluateDerivatives(u, v, 2);
        EXPECT_TRUE(sameBits(at.point, s.evaluate(u, v)));
        EXPECT_THAT(at.Su, near(sum(1, 0)));
        EXPECT_THAT(at.Sv, near(sum(0, 1)));
        EXPECT_THAT(at.Suu, near(sum(2, 0)));
        EXPECT_THAT(at.Suv, near(sum(1, 1)));
        EXPECT_THAT(at.Svv, near(sum(0, 2)));
        EXPECT_NEAR(at.normal.dot(at.Su) + at.normal.dot(at.Sv), 0, 1e-12);
        EXPECT_NEAR(at.normal.magnitude(), 1, 1e-14);
      }
    }
  }
}

TEST(BSplineSurface, DerivativesStopAtTheOrderAsked) {
  const BSplineSurface s = unevenSurface(6, 6, 3, 3);
  EXPECT_EQ(s.evaluateDerivatives(0.3, 0.6, 0).Su.magnitude(), 0);
  EXPECT_EQ(s.evaluateDerivatives(0.3, 0.6, 0).normal.magnitude(), 0);
  const SurfaceEvaluation first = s.evaluateDerivatives(0.3, 0.6, 1);
  EXPECT_GT(first.Sv.magnitude(), 0);
  EXPECT_EQ(first.Svv.magnitude(), 0);
  EXPECT_THAT(s.derivative_u(0.3, 0.6), IsNear(first.Su, 0.0));
  EXPECT_THAT(s.getTangentV(0.3, 0.6), IsNear(first.Sv, 0.0));
  const SurfaceEvaluation second = s.evaluateDerivatives(0.3, 0.6, 9);
  EXPECT_THAT(s.second_derivative_uv(0.3, 0.6), IsNear(second.Suv, 0.0));
}

TEST(BSplineSurface, ClampsParametersAndMeetsItsCorners) {
  const BSplineSurface s = unevenSurface(5, 6, 2, 3);
  const ControlNet& net = s.controlNet();
  EXPECT_TRUE(sameBits(s.evaluate(0, 0), net(0, 0)));
  EXPECT_TRUE(sameBits(s.evaluate(1, 1), net(4, 5)));
  EXPECT_TRUE(sameBits(s.evaluate(7, -kInfinity), net(4, 0)));
  EXPECT_TRUE(sameBits(s.evaluate(-0.5, 0.25), s.evaluate(0, 0.25)));
  EXPECT_THAT(s.evaluateDerivatives(-0.5, 0.25, 1).Su,
              IsNear(s.evaluateDerivatives(0, 0.25, 1).Su, 0.0));
}

// Degrees beyond the stack tables: an elevated Bezier patch is the patch.
TEST(BSplineSurface, EvaluatesHighDegrees) {
  const auto low = BSplineSurface::createClamped(wildNet(4, 3), 3, 2);
  for (const int times : {20, 26, 60}) {
    const auto high = low->elevateUDegree(times);
    EXPECT_LT(largestGap(*low, *high, 21), 1e-12) << times;
    expectTrueDerivatives(*high, 0.4, 0.7, 1e-5);
  }
}

TEST(BSplineSurface, DegreeZeroIsConstantBetweenStepsAndEndsOnTheLastRow) {
  const ControlNet net = wildNet(4, 3);
  const BSplineSurface s(net, {0, 1, 2, 3, 4}, {0, 0, 0, 1, 1, 1}, 0, 2);
  EXPECT_FALSE(s.isValid());
  EXPECT_TRUE(sameBits(s.evaluate(1, 0), net(3, 0)));
  EXPECT_TRUE(sameBits(s.evaluate(1 - 5e-13, 1), net(3, 2)));
  EXPECT_TRUE(sameBits(s.evaluate(0.5, 0), net(2, 0)));
  EXPECT_TRUE(sameBits(s.evaluate(std::nextafter(0.5, 0), 0), net(1, 0)));
  EXPECT_EQ(s.evaluateDerivatives(0.3, 0.5, 1).Su.magnitude(), 0);
}

TEST(BSplineSurface, FewerPointsThanTheDegreeNeedsFollowTheDefinition) {
  const ControlNet net = wildNet(2, 2);
  const BSplineSurface s(net, {0, 0, 1, 1, 1}, {0, 0, 1, 1}, 2, 1);
  const double u = 0.3, v = 0.6;
  const Vector3D row0 = (1 - v) * (net(0, 0) - Point3D::origin()) + v * (net(0, 1) - Point3D());
  const Vector3D row1 = (1 - v) * (net(1, 0) - Point3D::origin()) + v * (net(1, 1) - Point3D());
  EXPECT_THAT(s.evaluate(u, v) - Point3D(), IsNear(2 * u * (1 - u) * row0 + u * u * row1, 1e-15));
  const SurfaceEvaluation at = s.evaluateDerivatives(u, v, 1);
  EXPECT_THAT(at.Su, IsNear((2 - 4 * u) * row0 + 2 * u * row1, 1e-14));
  EXPECT_THAT(
      at.Sv,
      IsNear(2 * u * (1 - u) * (net(0, 1) - net(0, 0)) + u * u * (net(1, 1) - net(1, 0)), 1e-14));
  EXPECT_EQ(s.tessellateUniform(3, 3).vertices.size(), 9u);
  const BSplineSurface absurd(net, {0, 1}, {0, 1}, 2'000'000'000, 1);
  EXPECT_THROW(absurd.evaluate(0.5, 0.5), std::length_error);
  const BSplineSurface negative(net, {0, 1}, {0, 1}, -1, 1);
  EXPECT_EQ(negative.evaluate(0.5, 0.5).distanceTo({}), 0);
}

TEST(BSplineSurface, TheFullSumIsTheOneOfTheBasisFunctions) {
  const int shapes[][2] = {{2, 5}, {3, 3}, {1, 4}, {7, 3}, {5, 0}};
  for (const auto [n, p] : shapes) {
    ControlNet net = wildNet(n, 1);
    net(0, 0).setZ(kNaN);
    const BSplineSurface s(net, Knots(n + p + 1), {0, 1}, p, 0);
    for (const double u : {0.0, 0.3, 0.999, 1.0}) {
      double x = 0;
      for (int i = 0; i < n; ++i)
        x += computeUniformBasisFunction(i, p, u, n) * net(i, 0).x();
      EXPECT_NEAR(s.evaluate(u, 0.5).x(), x, 1e-14) << n << " " << p << " " << u;
    }
  }
}

// A value that is not finite times zero is not zero: the full sum shows it everywhere.
TEST(BSplineSurface, AValueThatIsNotFiniteSpoilsEveryPoint) {
  for (const double bad : {kNaN, kInfinity}) {
    ControlNet net = wildNet(9, 9);
    net(0, 0) = Point3D(0, bad, 0);
    auto s = BSplineSurface::createClamped(net, 3, 3);
    EXPECT_TRUE(std::isnan(s->evaluate(0.9, 0.9).y()));
    EXPECT_TRUE(std::isfinite(s->evaluate(0.9, 0.9).x()));
    EXPECT_TRUE(std::isnan(s->tessellateUniform(4, 4).vertices.back().y()));
    s->setControlPoint(0, 0, {1, 1, 1});
    EXPECT_TRUE(s->evaluate(0.9, 0.9).isFinite());
    EXPECT_TRUE(s->extend(1, 1, 1));
  }
}

TEST(BSplineSurface, ATransformThatOverflowsSpoilsEveryPoint) {
  const auto s = BSplineSurface::createClamped(wildNet(9, 9), 3, 3);
  const auto huge = s->transform(trova::foundation::Transform3D::scaling(4e307, 1, 1));
  EXPECT_TRUE(std::isnan(huge->evaluate(0, 0).x()));
  EXPECT_TRUE(std::isfinite(huge->evaluate(0, 0).y()));
}

TEST(BSplineSurface, ParametersThatAreNotNumbersGivePointsThatAreNone) {
  for (const int degree : {0, 1, 3}) {
    const auto s = BSplineSurface::createClamped(wildNet(5, 5), degree, degree);
    EXPECT_TRUE(std::isnan(s->evaluate(kNaN, 0.5).x()));
    EXPECT_TRUE(std::isnan(s->evaluateDerivatives(0.5, kNaN, 2).Suv.z()));
  }
}

TEST(BSplineSurface, EmptyNetsGiveTheOrigin) {
  const BSplineSurface none(ControlNet{}, {}, {}, 1, 1);
  const BSplineSurface emptyRows(BSplineSurface::Net(2), {}, {}, 1, 1);
  for (const BSplineSurface* s : {&none, &emptyRows}) {
    EXPECT_FALSE(s->isValid());
    EXPECT_EQ(s->evaluate(0.5, 0.5).distanceTo(Point3D::origin()), 0);
    EXPECT_TRUE(s->getBoundingBox().isEmpty());
  }
}

// The unit normal of an evaluation and `getNormal` differ in threshold and fallback.
TEST(BSplineSurface, TheTwoNormalsDifferOnSmallAndFlatSurfaces) {
  const auto patch = [](double size) {
    return BSplineSurface::createClamped(
        BSplineSurface::Net{{{0, 0, 0}, {0, 0, size}}, {{size, 0, 0}, {size, 0, size}}}, 1, 1);
  };
  EXPECT_THAT(patch(1)->getNormal(0.5, 0.5), IsNear(Vector3D(0, -1, 0), 1e-15));
  const auto small = patch(1e-3);  // |Su x Sv| is 1e-6
  EXPECT_THAT(small->evaluateDerivatives(0.5, 0.5, 1).normal, IsNear(Vector3D(0, -1, 0), 1e-14));
  EXPECT_EQ(small->getNormal(0.5, 0.5).magnitude(), 0);
  EXPECT_EQ(small->tessellateUniform(2, 2).normals[1].magnitude(), 0);
  const auto flat = BSplineSurface::createClamped(
      BSplineSurface::Net{{{0, 0, 0}, {1, 0, 0}}, {{2, 0, 0}, {3, 0, 0}}}, 1, 1);
  EXPECT_THAT(flat->evaluateDerivatives(0.5, 0.5, 1).normal, IsNear(Vector3D(0, 0, 1), 0.0));
  EXPECT_EQ(flat->getNormal(0.5, 0.5).magnitude(), 0);
}

TEST(BSplineSurface, MeshesHaveTheBitsOfSinglePoints) {
  const int shapes[][4] = {{9, 7, 3, 3}, {5, 6, 1, 2}, {40, 5, 3, 4}, {36, 3, 33, 2}};
  for (const auto [nU, nV, p, q] : shapes) {
    const auto s = BSplineSurface::createClamped(wildNet(nU, nV), p, q);
    const SurfaceMesh mesh = s->tessellateUniform(13, 8);
    ASSERT_EQ(mesh.vertices.size(), 104u);
    for (int k = 0; k < int(mesh.vertices.size()); ++k) {
      const double u = (k / 8) / 12.0, v = (k % 8) / 7.0;
      EXPECT_EQ(mesh.parameters[k].x(), u);
      EXPECT_EQ(mesh.parameters[k].y(), v);
      EXPECT_TRUE(sameBits(mesh.vertices[k], s->evaluate(u, v))) << p << " " << q << " " << k;
      EXPECT_THAT(mesh.normals[k], IsNear(s->getNormal(u, v), 0.0));
    }
  }
}

TEST(BSplineSurface, TessellationsAreFixedGridsAndTheAreaIsTheirs) {
  const auto bilinear = BSplineSurface::createClamped(
      BSplineSurface::Net{{{0, 0, 0}, {0, 2, 0}}, {{3, 0, 0}, {3, 2, 0}}}, 1, 1);
  const SurfaceMesh mesh = bilinear->tessellateUniform(2, 2);
  EXPECT_EQ(mesh.vertices.size(), 4u);
  ASSERT_EQ(mesh.faces.size(), 1u);
  EXPECT_THAT(mesh.faces[0], ElementsAre(0, 1, 3, 2));
  EXPECT_THAT(mesh.getTriangulatedIndices(), ElementsAre(0, 1, 3, 0, 3, 2));
  for (const double tolerance : {1e-9, 5.0, kNaN}) {
    EXPECT_EQ(bilinear->tessellate(tolerance).vertices.size(), 400u);
    EXPECT_EQ(bilinear->tessellateAdaptive(tolerance).vertices.size(), 100u);
    EXPECT_NEAR(bilinear->getArea(tolerance), 6, 1e-12);
  }
  EXPECT_THROW(bilinear->tessellateUniform(1, 5), std::invalid_argument);
  EXPECT_THROW(bilinear->tessellateUniform(100'000, 100'000), std::length_error);
  const auto parabola = BSplineSurface::createClamped(
      BSplineSurface::Net{{{0, 0, 0}, {0, 1, 0}}, {{1, 0, 4}, {1, 1, 4}}, {{2, 0, 0}, {2, 1, 0}}},
      2, 1);
  double chords = 0;  // of z = 2 x (2 - x) over the 20 samples
  for (int k = 0; k < 19; ++k) {
    const double x0 = 2 * k / 19.0, x1 = 2 * (k + 1) / 19.0;
    chords += std::hypot(x1 - x0, 2 * x1 * (2 - x1) - 2 * x0 * (2 - x0));
  }
  EXPECT_NEAR(parabola->getArea(1e-6), chords, 1e-12);
}

TEST(BSplineSurface, ClosestParametersLieStraightAcross) {
  const auto s = BSplineSurface::createClamped(wildNet(12, 7), 3, 3);
  for (const auto& [u, v] : {std::pair{0.13, 0.4}, {0.5, 0.5}, {0.91, 0.07}, {0.66, 0.93}}) {
    for (const double height : {0.0, 0.05, -0.05}) {
      const Point3D target = s->evaluate(u, v) + height * s->getNormal(u, v);
      const auto [cu, cv] = s->getClosestParameter(target);
      EXPECT_NEAR(cu, u, 1e-9);
      EXPECT_NEAR(cv, v, 1e-9);
    }
  }
}

}  // namespace
}  // namespace morvel_test
