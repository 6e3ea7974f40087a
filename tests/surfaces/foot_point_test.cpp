#include "morvel/surfaces/foot_point.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/surfaces/spline_probes.h"

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

FootPoint footOn(const Surface& s, const Point3D& target, int samples = 24) {
  return closestFootPoint([&](double u, double v) { return s.evaluate(u, v); },
                          [&](double u, double v) { return s.evaluateDerivatives(u, v, 2); },
                          s.getParameterDomain(), target, samples, samples);
}

double bruteDistance(const Surface& s, const Point3D& target) {
  double nearest = HUGE_VAL;
  for (int a = 0; a <= 300; ++a) {
    for (int b = 0; b <= 300; ++b)
      nearest = std::min(nearest, s.evaluate(a / 300.0, b / 300.0).distanceTo(target));
  }
  return nearest;
}

TEST(FootPoint, GradientAndHessianAreTheLimitsOfDifferences) {
  const auto s = BSplineSurface::createClamped(wildNet(6, 6), 3, 3);
  const Point3D target(2, 3, 1.5);
  constexpr double u = 0.4, v = 0.55, h = 1e-5;
  const auto at = [&](double du, double dv) {
    return footPointSystem(s->evaluateDerivatives(u + du, v + dv, 2), target);
  };
  const FootPointSystem system = at(0, 0);
  EXPECT_NEAR(system.value, std::pow(s->evaluate(u, v).distanceTo(target), 2) / 2, 1e-14);
  EXPECT_NEAR(system.gradientU, (at(h, 0).value - at(-h, 0).value) / (2 * h), 1e-7);
  EXPECT_NEAR(system.gradientV, (at(0, h).value - at(0, -h).value) / (2 * h), 1e-7);
  EXPECT_NEAR(system.hessianUU, (at(h, 0).gradientU - at(-h, 0).gradientU) / (2 * h), 1e-6);
  EXPECT_NEAR(system.hessianUV, (at(0, h).gradientU - at(0, -h).gradientU) / (2 * h), 1e-6);
  EXPECT_NEAR(system.hessianVV, (at(0, h).gradientV - at(0, -h).gradientV) / (2 * h), 1e-6);
}

// Targets above, below, beside and beyond the edges and corners of a bumpy surface.
TEST(FootPoint, IsNeverFartherThanABruteSearch) {
  const auto s = BSplineSurface::createClamped(wildNet(8, 7), 3, 2);
  for (const Point3D& target :
       {Point3D(3, 3, 2), Point3D(3.3, 2.1, -0.2), Point3D(-2, 3, 0), Point3D(9, 9, 1),
        Point3D(3, -4, 0.5), Point3D(6.4, 5.8, 0), Point3D(3, 3, 50)}) {
    const FootPoint foot = footOn(*s, target);
    EXPECT_TRUE(foot.converged);
    EXPECT_LE(foot.distance, bruteDistance(*s, target) + 1e-12);
    EXPECT_NEAR(foot.distance, s->evaluate(foot.u, foot.v).distanceTo(target), 1e-12);
  }
}

TEST(FootPoint, StaysInTheDomainOnEdgesAndDegenerateSides) {
  ControlNet net = wildNet(4, 4);
  for (int j = 0; j < 4; ++j)
    net(0, j) = Point3D(0, 1.5, 0);  // a pole
  const auto pole = BSplineSurface::createClamped(net, 3, 3);
  const FootPoint foot = footOn(*pole, {-1, 1.5, 0});
  EXPECT_TRUE(foot.u >= 0 && foot.u <= 1 && foot.v >= 0 && foot.v <= 1);
  EXPECT_LE(foot.distance, 1 + 1e-9);
  const auto point = BSplineSurface::createClamped(ControlNet(3, 3), 2, 2);
  EXPECT_NEAR(footOn(*point, {0, 3, 4}).distance, 5, 1e-14);
}

TEST(FootPoint, RefinementNeverLosesGround) {
  const auto s = BSplineSurface::createClamped(wildNet(8, 8), 3, 3);
  const auto derivatives = [&](double u, double v) { return s->evaluateDerivatives(u, v, 2); };
  const Point3D target(3.5, 3.5, 0.3);
  for (int k = 0; k < 50; ++k) {
    const double u = (k % 7) / 6.0, v = (k % 11) / 10.0;
    const FootPoint foot = refineFootPoint(derivatives, {}, target, u, v);
    EXPECT_LE(foot.distance, s->evaluate(u, v).distanceTo(target) + 1e-14);
    EXPECT_TRUE(foot.converged) << u << " " << v;
  }
}

TEST(FootPoint, EndsOnValuesThatAreNotFinite) {
  auto s = BSplineSurface::createClamped(wildNet(4, 4), 3, 3);
  EXPECT_FALSE(footOn(*s, {kNaN, 0, 0}).converged);
  EXPECT_EQ(footOn(*s, {kNaN, 0, 0}).u, 0.5);
  ControlNet net = wildNet(4, 4);
  net(1, 1) = Point3D(0, 0, kNaN);
  s = BSplineSurface::createClamped(net, 3, 3);
  EXPECT_FALSE(footOn(*s, {0, 0, 0}).converged);
}

}  // namespace
}  // namespace morvel_test
