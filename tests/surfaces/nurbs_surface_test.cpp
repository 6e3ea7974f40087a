#include "morvel/surfaces/nurbs_surface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "morvel/surfaces/to_nurbs.h"
#include "tests/support/shapes.h"
#include "tests/surfaces/spline_probes.h"
#include "tests/surfaces/surface_measures.h"

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kHalfRoot = std::sqrt(0.5);

// An octant of the unit sphere; v = 1 is the pole on the z axis.
NurbsSurface sphereOctant() {
  const Knots knots{0, 0, 0, 1, 1, 1};
  return {NurbsSurface::Net{{{1, 0, 0}, {1, 0, 1}, {0, 0, 1}},
                            {{1, 1, 0}, {1, 1, 1}, {0, 0, 1}},
                            {{0, 1, 0}, {0, 1, 1}, {0, 0, 1}}},
          {{1, kHalfRoot, 1}, {kHalfRoot, 0.5, kHalfRoot}, {1, kHalfRoot, 1}},
          knots,
          knots,
          2,
          2};
}

// Seven by five points of degrees 3 and 2, uneven stored knots and weights.
NurbsSurface wildRational() {
  NurbsSurface::Weights weights(7, std::vector<double>(5));
  for (int i = 0; i < 7; ++i) {
    for (int j = 0; j < 5; ++j)
      weights[i][j] = 0.5 + ((3 * i + 5 * j) % 7) / 4.0;
  }
  return {wildNet(7, 5), weights, unevenKnots(7, 3), unevenKnots(5, 2), 3, 2};
}

// The rational sum from its definition.
Point3D oraclePoint(const NurbsSurface& s, const Knots& U, const Knots& V, double u, double v) {
  Vector3D sum;
  double denominator = 0;
  for (int i = 0; i < s.getUControlPointCount(); ++i) {
    for (int j = 0; j < s.getVControlPointCount(); ++j) {
      const double weight = s.getWeight(i, j) * double(oracleBasis(i, s.getUDegree(), u, U)) *
                            double(oracleBasis(j, s.getVDegree(), v, V));
      sum += weight * (s.getControlPoint(i, j) - Point3D::origin());
      denominator += weight;
    }
  }
  return Point3D::origin() + sum / denominator;
}

TEST(NurbsSurface, EvaluatesTheRationalSumOnUniformKnots) {
  const NurbsSurface s = wildRational();
  const Knots U = uniformKnots(7, 3), V = uniformKnots(5, 2);
  for (const double u : {0.0, 0.25, 0.4, 0.9})
    for (const double v : {0.05, 1.0 / 3, 0.8})
      EXPECT_THAT(s.evaluate(u, v), IsNear(oraclePoint(s, U, V, u, v), 1e-13));
  EXPECT_THAT(s.evaluate(-3, 0.4), IsNear(s.evaluate(0, 0.4), 0.0));
  EXPECT_TRUE(std::isnan(s.evaluate(kNaN, 0.4).x()));
}

TEST(NurbsSurface, AnOctantOfTheSphereIsRound) {
  const NurbsSurface s = sphereOctant();
  for (const double u : {0.0, 0.3, 1.0}) {
    for (const double v : {0.0, 0.6, 0.99}) {
      const SurfaceEvaluation at = s.evaluateRationalDerivatives(u, v, 2);
      const Vector3D radius = at.point - Point3D::origin();
      EXPECT_NEAR(radius.magnitude(), 1, 1e-15);
      EXPECT_THAT(at.normal, IsNear(radius, 1e-12));
      // Every second derivative of a unit sphere has the normal part -(first derivatives' product).
      EXPECT_NEAR(at.Suu.dot(radius), -at.Su.squaredMagnitude(), 1e-12);
      EXPECT_NEAR(at.Suv.dot(radius), -at.Su.dot(at.Sv), 1e-12);
      EXPECT_NEAR(at.Svv.dot(radius), -at.Sv.squaredMagnitude(), 1e-12);
    }
  }
}

TEST(NurbsSurface, RationalDerivativesAreTheLimitsOfDifferences) {
  const NurbsSurface s = wildRational();
  constexpr double h = 1e-4;
  for (const auto& [u, v] : {std::pair{0.3, 0.2}, {0.61, 0.83}}) {
    const auto p = [&, u = u, v = v](int i, int j) { return s.evaluate(u + i * h, v + j * h); };
    const SurfaceEvaluation at = s.evaluateRationalDerivatives(u, v, 2);
    EXPECT_THAT(at.Su, IsNear((p(1, 0) - p(-1, 0)) / (2 * h), 1e-5));
    EXPECT_THAT(at.Sv, IsNear((p(0, 1) - p(0, -1)) / (2 * h), 1e-5));
    EXPECT_THAT(at.Suu, IsNear(((p(1, 0) - p(0, 0)) - (p(0, 0) - p(-1, 0))) / (h * h), 1e-3));
    EXPECT_THAT(at.Suv,
                IsNear(((p(1, 1) - p(-1, 1)) - (p(1, -1) - p(-1, -1))) / (4 * h * h), 1e-3));
    EXPECT_THAT(at.Svv, IsNear(((p(0, 1) - p(0, 0)) - (p(0, 0) - p(0, -1))) / (h * h), 1e-3));
  }
}

// By contract the derivatives of the virtual interface are fixed; meshes show it.
TEST(NurbsSurface, DerivativesAreAPlaceholder) {
  const NurbsSurface s = sphereOctant();
  for (const int order : {0, 1, 2}) {
    const SurfaceEvaluation at = s.evaluateDerivatives(0.3, 0.4, order);
    EXPECT_THAT(at.point, IsNear(s.evaluate(0.3, 0.4), 0.0));
    EXPECT_THAT(at.Su, IsNear(Vector3D(1, 0, 0), 0.0));
    EXPECT_THAT(at.Sv, IsNear(Vector3D(0, 1, 0), 0.0));
    EXPECT_THAT(at.normal, IsNear(Vector3D(0, 0, 1), 0.0));
    EXPECT_EQ(at.Suu.magnitude() + at.Suv.magnitude() + at.Svv.magnitude(), 0);
  }
  const SurfaceMesh mesh = wildRational().tessellateUniform(4, 3);
  for (int k = 0; k < int(mesh.vertices.size()); ++k) {
    EXPECT_THAT(mesh.normals[k], IsNear(Vector3D(0, 0, 1), 0.0));
    EXPECT_THAT(mesh.vertices[k],
                IsNear(wildRational().evaluate((k / 3) / 3.0, (k % 3) / 2.0), 0.0));
  }
}

TEST(NurbsSurface, ClosestParametersUseTheTrueDerivatives) {
  const NurbsSurface s = sphereOctant();
  const Point3D on = s.evaluate(0.35, 0.45);
  for (const double scale : {0.5, 1.0, 3.0}) {
    const auto [u, v] = s.getClosestParameter(scale * on);
    EXPECT_NEAR(u, 0.35, 1e-9);
    EXPECT_NEAR(v, 0.45, 1e-9);
  }
}

TEST(NurbsSurface, BilinearPatchAndBSplineHaveUnitWeights) {
  const auto patch = NurbsSurface::createBilinearPatch({0, 0, 0}, {1, 0, 0}, {0, 2, 0}, {1, 2, 4});
  EXPECT_TRUE(patch->isValid());
  EXPECT_FALSE(patch->isRational());
  EXPECT_THAT(patch->evaluate(1, 0), IsNear(Point3D(1, 0, 0), 0.0));
  EXPECT_THAT(patch->evaluate(0.5, 0.5), IsNear(Point3D(0.5, 1, 1), 1e-15));
  const BSplineSurface spline = unevenSurface(6, 5, 3, 2);
  const auto rational = NurbsSurface::fromBSpline(spline);
  EXPECT_LT(largestGap(*rational, spline, 11), 1e-14);
  const auto back = rational->toNurbs();
  EXPECT_EQ(back->getUKnotVector(), spline.getUKnotVector());
  EXPECT_EQ(largestGap(*back, spline, 5), 0);
}

TEST(NurbsSurface, WeightsDecideRationalityAndValidity) {
  NurbsSurface s = wildRational();
  EXPECT_TRUE(s.isValid() && s.isRational());
  EXPECT_THROW(s.setWeight(0, 5, 1), std::out_of_range);
  EXPECT_THROW(static_cast<void>(s.getWeight(-1, 0)), std::out_of_range);
  for (const double bad : {0.0, -1.0, kNaN})
    EXPECT_THROW(s.setWeight(1, 1, bad), std::invalid_argument);
  s.setControlPoint(2, 2, {9, 9, 9});
  s.setWeight(2, 2, 1e9);  // pulls the surface to the point
  EXPECT_THAT(s.evaluate(0.4, 0.5), IsNear(s.getControlPoint(2, 2), 1e-6));
  s.setControlPoint(2, 2, {-9, 9, 9});
  EXPECT_THAT(s.evaluate(0.4, 0.5), IsNear(s.getControlPoint(2, 2), 1e-6));
  auto barely = NurbsSurface::createBilinearPatch({}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0});
  barely->setWeight(0, 0, 1 + 5e-13);
  EXPECT_FALSE(barely->isRational());
  barely->setWeight(0, 0, 1 + 5e-12);
  EXPECT_TRUE(barely->isRational());
}

TEST(NurbsSurface, BadWeightsAreInvalidAndStayInBounds) {
  const Knots knots{0, 0, 1, 1};
  const auto with = [&](NurbsSurface::Weights weights) {
    return NurbsSurface(wildNet(2, 2), std::move(weights), knots, knots, 1, 1);
  };
  for (const NurbsSurface& s :
       {with({}), with({{1, 1}}), with({{1, 1}, {1}}), with({{1, 1}, {1, 1, 1}})}) {
    EXPECT_FALSE(s.isValid());
    EXPECT_EQ(s.evaluate(0.5, 0.5).distanceTo({}), 0);
    EXPECT_THROW(s.swapUV(), std::invalid_argument);
    EXPECT_THROW(s.toNurbs(), ToNurbsInvalidSurfaceException);
    EXPECT_NO_THROW(s.reverseU());
  }
  EXPECT_FALSE(with({{1, 0}, {1, 1}}).isValid());
  EXPECT_EQ(with({{0, 0}, {0, 0}}).evaluate(0.5, 0.5).distanceTo({}), 0);
  EXPECT_EQ(with({{1e-13, 1e-13}, {1e-13, 1e-13}}).evaluate(0.5, 0.5).distanceTo({}), 0);
  EXPECT_EQ(with({{kNaN, 1}, {1, 1}}).evaluate(0.5, 0.5).distanceTo({}), 0);
}

TEST(NurbsSurface, ReversalAndTransposeCarryTheWeights) {
  const NurbsSurface s = wildRational();
  EXPECT_THAT(s.reverseU()->evaluate(0.2, 0.7), IsNear(s.evaluate(0.8, 0.7), 1e-13));
  EXPECT_THAT(s.reverseV()->evaluate(0.2, 0.7), IsNear(s.evaluate(0.2, 0.3), 1e-13));
  const auto swapped = s.swapUV();
  EXPECT_THAT(swapped->evaluate(0.2, 0.7), IsNear(s.evaluate(0.7, 0.2), 1e-13));
  const auto& transposed = dynamic_cast<const NurbsSurface&>(*swapped);
  EXPECT_EQ(transposed.getUKnotVector(), s.getVKnotVector());
  EXPECT_EQ(transposed.getVDegree(), s.getUDegree());
  const auto moved = s.transform(shear());
  EXPECT_THAT(moved->evaluate(0.2, 0.7), IsNear(shear().transform(s.evaluate(0.2, 0.7)), 1e-13));
}

TEST(NurbsSurface, RefinementsAreCopiesByContract) {
  const NurbsSurface s = wildRational();
  const std::unique_ptr<Surface> copies[] = {
      s.insertUKnot(0.5, 1), s.insertVKnot(0.5, 1), s.removeUKnot(1, 1), s.removeVKnot(1, 1),
      s.elevateUDegree(2),   s.elevateVDegree(2),   s.trim(0, 1, 0, 1)};
  for (const auto& copy : copies) {
    EXPECT_EQ(dynamic_cast<const NurbsSurface&>(*copy).getUKnotVector(), s.getUKnotVector());
    EXPECT_EQ(largestGap(*copy, s, 5), 0);
  }
}

}  // namespace
}  // namespace morvel_test
