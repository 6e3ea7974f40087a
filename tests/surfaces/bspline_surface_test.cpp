#include "morvel/surfaces/bspline_surface.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "tests/support/shapes.h"
#include "tests/surfaces/spline_probes.h"
#include "tests/surfaces/surface_measures.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const BSplineSurface& asSpline(const std::unique_ptr<Surface>& surface) {
  return dynamic_cast<const BSplineSurface&>(*surface);
}

// Net, knots and degrees, exactly.
void expectSame(const BSplineSurface& a, const BSplineSurface& b) {
  EXPECT_EQ(a.getUKnotVector(), b.getUKnotVector());
  EXPECT_EQ(a.getVKnotVector(), b.getVKnotVector());
  EXPECT_EQ(a.getUDegree(), b.getUDegree());
  EXPECT_EQ(a.getVDegree(), b.getVDegree());
  ASSERT_EQ(a.controlNet().uCount(), b.controlNet().uCount());
  ASSERT_EQ(a.controlNet().vCount(), b.controlNet().vCount());
  for (std::size_t k = 0; k < a.controlNet().points().size(); ++k)
    EXPECT_THAT(a.controlNet().points()[k], IsNear(b.controlNet().points()[k], 0.0));
}

TEST(BSplineSurface, CreateClampedMakesUniformKnotsAndRefusesEmptyNets) {
  const auto s = BSplineSurface::createClamped(wildNet(5, 4), 2, 3);
  EXPECT_THAT(s->getUKnotVector(), ElementsAre(0, 0, 0, 1.0 / 3, 2.0 / 3, 1, 1, 1));
  EXPECT_THAT(s->getVKnotVector(), ElementsAre(0, 0, 0, 0, 1, 1, 1, 1));
  EXPECT_TRUE(s->isValid());
  for (const BSplineSurface::Net& net : {BSplineSurface::Net{}, BSplineSurface::Net{{}, {{}}}}) {
    try {
      BSplineSurface::createClamped(net, 1, 1);
      FAIL();
    } catch (const std::invalid_argument& error) {
      EXPECT_STREQ(error.what(), "Control points cannot be empty");
    }
  }
  EXPECT_FALSE(BSplineSurface::createClamped(wildNet(3, 3), 3, 1)->isValid());
  EXPECT_FALSE(BSplineSurface::createClamped(wildNet(3, 3), -1, 1)->isValid());
}

TEST(BSplineSurface, ValidityNamesWhatDoesNotFit) {
  const ControlNet net = wildNet(3, 4);
  const Knots u{0, 0, 0, 1, 1, 1}, v{0, 0, 0, 0.5, 1, 1, 1};
  struct Case {
    Knots u, v;
    int p, q;
    bool isValid;
  };
  const Case cases[] = {{u, v, 2, 2, true},
                        {v, u, 2, 2, false},
                        {u, v, 2, 3, false},
                        {{0, 1, 2, 3}, v, 0, 2, false},
                        {u, v, -2, 2, false},
                        {{0, 0, 1, 0, 1, 1}, v, 2, 2, false},
                        {{0, 0, 0, kNaN, 1, 1}, v, 2, 2, false},
                        {{2, 2, 2, 2, 2, 2}, v, 2, 2, true}};
  for (const Case& c : cases)
    EXPECT_EQ(BSplineSurface(net, c.u, c.v, c.p, c.q).isValid(), c.isValid);
  EXPECT_THROW(BSplineSurface(BSplineSurface::Net{{{}, {}}, {{}}}, u, v, 1, 1),
               std::invalid_argument);
}

TEST(BSplineSurface, NetIsReadAndWrittenByRows) {
  BSplineSurface s = unevenSurface(4, 3, 2, 1);
  EXPECT_EQ(s.getControlPoints().size(), 4u);
  EXPECT_EQ(s.getControlPoints()[3].size(), 3u);
  EXPECT_THAT(s.getControlPoints()[3][1], IsNear(s.getControlPoint(3, 1), 0.0));
  s.setControlPoint(3, 1, {9, 8, 7});
  EXPECT_THAT(s.getControlPoint(3, 1), IsNear(Point3D(9, 8, 7), 0.0));
  EXPECT_EQ(s.getBoundingBox().max.x(), 9);
  EXPECT_THROW(s.setControlPoint(4, 1, {}), std::out_of_range);
  EXPECT_THROW(s.setControlPoint(0, -1, {}), std::out_of_range);
  EXPECT_THROW(s.setControlPoint(0, 0, {0, kNaN, 0}), std::invalid_argument);
  EXPECT_THROW(static_cast<void>(s.getControlPoint(0, 3)), std::out_of_range);
  const auto square = BSplineSurface::createClamped(
      BSplineSurface::Net{{{0, 0, 0}, {0, 2, 0}}, {{3, 0, 0}, {3, 2, 0}}}, 1, 1);
  EXPECT_NEAR(square->getControlPolygonArea(), 6, 1e-14);
}

TEST(BSplineSurface, BasisQueriesWorkOnTheStoredKnots) {
  const BSplineSurface s = unevenSurface(8, 5, 3, 2);
  const Knots& U = s.getUKnotVector();
  const double u = 1.7;
  const int span = s.findUKnotSpan(u);
  ASSERT_TRUE(U[span] <= u && u < U[span + 1]);
  double values[4], derivatives[12];
  s.evaluateUBasisFunctions(span, u, values);
  s.evaluateUBasisDerivatives(span, u, 2, derivatives);
  for (int r = 0; r < 4; ++r) {
    EXPECT_NEAR(values[r], double(oracleBasis(span - 3 + r, 3, u, U)), 1e-14);
    EXPECT_NEAR(derivatives[8 + r], double(oracleDerivative(span - 3 + r, 3, u, U, 2)), 1e-12);
  }
  EXPECT_THROW(s.evaluateUBasisFunctions(span, u, std::span(values, 3)), std::invalid_argument);
  EXPECT_THROW(s.evaluateVBasisFunctions(1, 0.5, values), std::out_of_range);
  EXPECT_THROW(s.evaluateVBasisFunctions(5, 0.5, values), std::out_of_range);
}

TEST(BSplineSurface, ReversalTurnsNetKnotsAndPoints) {
  const BSplineSurface s = unevenSurface(7, 6, 3, 2);
  const auto u = s.reverseU();
  const auto v = s.reverseV();
  EXPECT_LT(storedPoint(asSpline(u), 0.3, 1.1).distanceTo(storedPoint(s, 2 - 0.3, 1.1)), 1e-12);
  EXPECT_LT(storedPoint(asSpline(v), 0.3, 1.1).distanceTo(storedPoint(s, 0.3, 2 - 1.1)), 1e-12);
  EXPECT_THAT(u->evaluate(0.2, 0.6), IsNear(s.evaluate(0.8, 0.6), 1e-13));
  EXPECT_THAT(v->evaluate(0.2, 0.6), IsNear(s.evaluate(0.2, 0.4), 1e-13));
  expectSame(asSpline(asSpline(u).reverseU()), s);
  EXPECT_NO_THROW(BSplineSurface(ControlNet{}, {}, {}, 1, 1).reverseU());
}

TEST(BSplineSurface, CopiesAreIndependentAndOnlyCloneCarriesThePendingTransform) {
  BSplineSurface s = unevenSurface(5, 4, 2, 2);
  const Point3D before = s.getControlPoint(1, 1);
  s.setMatrix(similarity());
  ASSERT_TRUE(s.hasPendingTransform());
  EXPECT_TRUE(s.clone()->hasPendingTransform());
  const std::unique_ptr<Surface> copies[] = {s.swapUV(), s.removeUKnot(1, 1), s.removeVKnot(1, 1),
                                             s.insertUKnot(1.5, 0), s.insertVKnot(1.5, -3)};
  for (const auto& copy : copies) {
    EXPECT_FALSE(copy->hasPendingTransform());
    expectSame(asSpline(copy), s);
  }
  const auto nurbs = s.toNurbs();
  expectSame(*nurbs, s);
  nurbs->setControlPoint(1, 1, {0, 0, 0});
  EXPECT_THAT(s.getControlPoint(1, 1), IsNear(before, 0.0));
  EXPECT_THAT(s.evaluate(0, 0), IsNear(s.getControlPoint(0, 0), 0.0));
  s.applyMatrix();
  EXPECT_FALSE(s.hasPendingTransform());
  EXPECT_THAT(s.getControlPoint(1, 1), IsNear(similarity().transform(before), 0.0));
}

TEST(BSplineSurface, TransformMovesEveryPointAndLeavesTheReceiver) {
  const BSplineSurface s = unevenSurface(6, 5, 3, 2);
  const auto moved = s.transform(shear());
  for (const double u : {0.0, 0.4, 1.0})
    EXPECT_THAT(moved->evaluate(u, 0.3), IsNear(shear().transform(s.evaluate(u, 0.3)), 1e-13));
}

TEST(BSplineSurface, RootOperationsAreTheStatedDefaults) {
  const BSplineSurface s = unevenSurface(6, 5, 3, 2);
  const Surface& root = s;
  EXPECT_EQ(root.getTypeIdentifier(), "BSplineSurface");
  EXPECT_TRUE(root.isNurbs());
  EXPECT_EQ(root.get_u_range(), std::pair(0.0, 1.0));  // whatever the stored range
  EXPECT_TRUE(root.isValidParameter(1, 0));
  EXPECT_FALSE(root.isValidParameter(kNaN, 0));
  EXPECT_FALSE(root.isValidParameter(0.5, 1.5));
  EXPECT_FALSE(root.isClosed() || root.isPeriodicU() || root.isPeriodicV());
  EXPECT_EQ(root.getGaussianCurvature(0.5, 0.5), 0);
  EXPECT_EQ(root.getMeanCurvature(0.5, 0.5), 0);
  EXPECT_EQ(root.getPrincipalCurvatures(0.5, 0.5), std::pair(0.0, 0.0));
  EXPECT_EQ(root.getPrincipalDirections(0.5, 0.5).second.y(), 1);
  EXPECT_FALSE(root.isG0ContinuousWith(s) || root.isG1ContinuousWith(s) ||
               root.isG2ContinuousWith(s));
}

TEST(ControlNet, RefusesSizesThatCannotBe) {
  EXPECT_THROW(ControlNet(-1, 3), std::length_error);
  EXPECT_THROW(ControlNet(100'000, 100'000), std::length_error);
}

}  // namespace
}  // namespace morvel_test
