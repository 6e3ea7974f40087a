#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "tests/surfaces/spline_probes.h"
#include "tests/surfaces/surface_measures.h"

// Extension patches and merging. The joints are measured on evaluated geometry.

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

enum { kNatural, kLinear, kReflect };

// The two evaluations at one place of the joint: of the surface, and of its extension.
std::pair<SurfaceEvaluation, SurfaceEvaluation> atJoint(const Surface& surface,
                                                        const Surface& patch, int side, double t) {
  const bool isU = side < 2;
  const double own = side % 2, other = 1 - own;
  return {surface.evaluateDerivatives(isU ? own : t, isU ? t : own, 2),
          patch.evaluateDerivatives(isU ? other : t, isU ? t : other, 2)};
}

// The curvature of the section through `direction`, a vector of the tangent plane.
double normalCurvature(const SurfaceEvaluation& at, const Vector3D& direction) {
  const double E = at.Su.dot(at.Su), F = at.Su.dot(at.Sv), G = at.Sv.dot(at.Sv);
  const double a = direction.dot(at.Su), b = direction.dot(at.Sv);
  const double du = (a * G - b * F) / (E * G - F * F), dv = (b * E - a * F) / (E * G - F * F);
  return (du * du * at.normal.dot(at.Suu) + 2 * du * dv * at.normal.dot(at.Suv) +
          dv * dv * at.normal.dot(at.Svv)) /
         direction.squaredMagnitude();
}

double meanCrossDerivative(const Surface& patch, int side) {
  double sum = 0;
  for (int k = 0; k < 200; ++k) {
    const double t = (k + 0.5) / 200;
    sum += side < 2 ? patch.derivative_u(1 - side, t).magnitude()
                    : patch.derivative_v(t, 3 - side).magnitude();
  }
  return sum / 200;
}

BSplineSurface bentSurface(int p, int q) { return unevenSurface(7, 6, p, q, 3); }

TEST(BSplineSurfaceExtend, ContinuesPositionTangentAndCurvature) {
  for (const auto& [p, q] : {std::pair{3, 3}, {2, 4}, {5, 2}, {1, 2}}) {
    const BSplineSurface s = bentSurface(p, q);
    for (int side = 0; side < 4; ++side) {
      for (const int type : {kNatural, kLinear, kReflect}) {
        const auto patch = s.extend(0.7, side, type);
        ASSERT_TRUE(patch && patch->isValid());
        EXPECT_NEAR(meanCrossDerivative(*patch, side), 0.7, 2e-3);
        for (const double t : {0.0, 0.21, 0.5, 0.83, 1.0}) {
          const auto [own, other] = atJoint(s, *patch, side, t);
          EXPECT_THAT(other.point, IsNear(own.point, 1e-13));
          EXPECT_THAT(other.normal, IsNear(own.normal, 1e-12)) << side << " type " << type;
          if (type != kNatural) continue;
          for (const Vector3D& along : {own.Su, own.Sv, own.Su + own.Sv, own.Su - 2 * own.Sv}) {
            const double curvature = normalCurvature(own, along);
            EXPECT_NEAR(normalCurvature(other, along), curvature, 1e-9 * (1 + std::abs(curvature)));
          }
        }
      }
    }
  }
}

// What tells the three types apart: the second derivative across the joint.
TEST(BSplineSurfaceExtend, TypesBendOnStraightOrBack) {
  const auto arch = BSplineSurface::createClamped(
      BSplineSurface::Net{{{0, 0, 0}, {0, 1, 0}}, {{1, 0, 2}, {1, 1, 2}}, {{2, 0, 0}, {2, 1, 0}}},
      2, 1);  // z = x (2 - x) * 2, of second derivative -4 along x
  const double reach = 0.5 / std::sqrt(1 + 4.0 * 4.0 / 4);
  const auto endOf = [&](int type) { return arch->extend(0.5, 1, type)->evaluate(1, 0.5); };
  const double slope = -2.0;
  EXPECT_THAT(endOf(kLinear), IsNear(Point3D(2 + reach, 0.5, slope * reach), 1e-13));
  EXPECT_THAT(endOf(kNatural),
              IsNear(Point3D(2 + reach, 0.5, slope * reach - reach * reach), 1e-13));
  EXPECT_GT(endOf(kReflect).z(), slope * reach + 1e-3);
}

TEST(BSplineSurfaceExtend, MatchesItsNamedBuilders) {
  const BSplineSurface s = bentSurface(3, 2);
  using Builder = std::unique_ptr<BSplineSurface> (BSplineSurface::*)(double) const;
  using B = BSplineSurface;
  const Builder builders[4][3] = {
      {&B::createG2UMinExtension, &B::createG1UMinExtension, &B::createReflectedUMinExtension},
      {&B::createG2UMaxExtension, &B::createG1UMaxExtension, &B::createReflectedUMaxExtension},
      {&B::createG2VMinExtension, &B::createG1VMinExtension, &B::createReflectedVMinExtension},
      {&B::createG2VMaxExtension, &B::createG1VMaxExtension, &B::createReflectedVMaxExtension}};
  for (int side = 0; side < 4; ++side) {
    for (int type = 0; type < 3; ++type)
      EXPECT_EQ(largestGap(*s.extend(2, side, type), *(s.*builders[side][type])(2), 9), 0)
          << side << " " << type;
  }
}

TEST(BSplineSurfaceExtend, AnswersNullWhereThereIsNoPatch) {
  const BSplineSurface s = bentSurface(3, 3);
  for (const double distance : {0.0, -1.0, kNaN})
    EXPECT_FALSE(s.extend(distance, 0, 0)) << distance;
  for (const int bad : {-1, 4})
    EXPECT_FALSE(s.extend(1, bad, 0));
  for (const int bad : {-1, 3})
    EXPECT_FALSE(s.extend(1, 0, bad));
  EXPECT_FALSE(BSplineSurface(wildNet(4, 4), {0, 1}, {0, 1}, 3, 3).extend(1, 0, 0));
  EXPECT_FALSE(s.createG1UMinExtension(kNaN));
  EXPECT_FALSE(s.extend(std::numeric_limits<double>::max(), 0, 0));
  ControlNet net = wildNet(4, 4);
  for (int j = 0; j < 4; ++j)
    net(0, j) = net(1, j) = Point3D(1, 1, 1);  // no motion across u-min
  EXPECT_FALSE(BSplineSurface::createClamped(net, 3, 3)->extend(1, 0, 1));
  EXPECT_TRUE(BSplineSurface::createClamped(net, 3, 3)->extend(1, 1, 1));
  net(2, 2) = Point3D(kNaN, 0, 0);
  EXPECT_FALSE(BSplineSurface::createClamped(net, 3, 3)->extend(1, 1, 1));
}

TEST(BSplineSurfaceMerge, JoinsAnExtensionToItsSurface) {
  const BSplineSurface s = bentSurface(3, 2);
  for (int side = 0; side < 4; ++side) {
    const auto patch = s.extend(1.5, side, kNatural);
    const auto whole = BSplineSurface::mergeSurfaces(s, *patch, SurfaceSide(side));
    ASSERT_TRUE(whole->isValid()) << side;
    EXPECT_LT(storedGap(*whole, s, -1, 3, -1, 3), 1e-12);
    const bool isU = side < 2;
    const double shift = side % 2 ? 3 : -2;  // the patch's own range is [0, 1]
    for (const double a : {0.01, 0.5, 0.99}) {
      const double t = a + shift, b = 0.7;
      EXPECT_LT(storedPoint(*whole, isU ? t : b, isU ? b : t)
                    .distanceTo(storedPoint(*patch, isU ? a : b, isU ? b : a)),
                1e-12)
          << side;
    }
  }
}

// Other degrees, ranges and knots along the joint, which the two surfaces have in common as a
// curve.
TEST(BSplineSurfaceMerge, MakesUnlikeSurfacesCompatible) {
  const auto own = bentSurface(3, 2).insertVKnot(-0.5, 1);
  const auto& s = dynamic_cast<BSplineSurface&>(*own);
  const auto raised = bentSurface(3, 2).extend(1, 1, kLinear)->elevateVDegree(1);
  const auto refined = dynamic_cast<BSplineSurface&>(*raised).insertVKnot(0.3, 2);
  const auto& patch = dynamic_cast<BSplineSurface&>(*refined);
  Knots scaled = patch.getVKnotVector();
  for (double& knot : scaled)
    knot = 10 + 5 * knot;
  const BSplineSurface other(patch.controlNet(), patch.getUKnotVector(), scaled, 3, 3);
  const auto [a, b] = BSplineSurface::makeSurfacesCompatible(s, other, SurfaceSide::UMax);
  EXPECT_EQ(a->getVDegree(), 3);
  EXPECT_EQ(a->getVKnotVector().size(), b->getVKnotVector().size());
  EXPECT_LT(storedGap(*a, s, -1, 3, -1, 3), 1e-12);
  EXPECT_LT(storedGap(*b, patch, 0, 1, -1, 3), 1e-12);
  const auto whole = BSplineSurface::mergeSurfaces(s, other, SurfaceSide::UMax);
  EXPECT_LT(storedGap(*whole, s, -1, 3, -1, 3), 1e-12);
}

TEST(BSplineSurfaceMerge, NetsShareTheRowOnceAndRefuseOthers) {
  const ControlNet a = wildNet(3, 4, 1), b = wildNet(2, 4, 2);
  const ControlNet u = BSplineSurface::mergeUSurfaceControlNets(a, b);
  EXPECT_EQ(u.uCount(), 4);
  EXPECT_THAT(u(2, 1), IsNear(a(2, 1), 0.0));
  EXPECT_THAT(u(3, 1), IsNear(b(1, 1), 0.0));
  const ControlNet v = BSplineSurface::mergeVSurfaceControlNets(a.transposed(), b.transposed());
  EXPECT_THAT(v(1, 3), IsNear(b(1, 1), 0.0));
  const ControlNet before = BSplineSurface::mergeSurfaceControlNets(a, b, SurfaceSide::UMin);
  EXPECT_THAT(before(0, 1), IsNear(b(0, 1), 0.0));
  EXPECT_THAT(before(1, 1), IsNear(a(0, 1), 0.0));
  EXPECT_THROW(BSplineSurface::mergeVSurfaceControlNets(a, b), std::invalid_argument);
  EXPECT_THROW(BSplineSurface::mergeUSurfaceControlNets(a, ControlNet()), std::invalid_argument);
  const BSplineSurface s = bentSurface(2, 2), apart = unevenSurface(7, 6, 2, 2, 99);
  EXPECT_THROW(BSplineSurface::mergeSurfaces(s, apart, SurfaceSide::VMax), std::invalid_argument);
}

}  // namespace
}  // namespace morvel_test
