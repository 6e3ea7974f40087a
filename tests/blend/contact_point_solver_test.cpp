#include "morvel/blend/contact_point_solver.h"

#include <cmath>

#include "tests/blend/blend_samples.h"
#include "tests/support/near.h"

namespace {

using namespace morvel_test;
using namespace trova::geometry::blend;

// The graph z = x y (1 - x) over the unit square, bilinear in its two parameters x and y up to the
// quadratic in x, and the plane z = 0 of the same kind.
std::unique_ptr<BSplineSurface> square(double size, double height) {
  ControlNet net(3, 2);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 2; ++j)
      net(i, j) = {size * i / 2.0, size * j, i == 1 && j == 1 ? height : 0.0};
  return BSplineSurface::createClamped(std::move(net), 2, 1);
}

double squaredDistance(const BSplineSurface& surface, double u, double v, const Point3D& p) {
  return (surface.evaluate(u, v) - p).squaredMagnitude();
}

TEST(ContactPointSolver, FindsTheFootOfACentreWithItsNormalAndResidual) {
  const auto surface = square(2.0, 0.6);
  const Point3D centre{0.9, 1.1, 0.7};
  const ContactPoint found =
      ContactPointSolver::solveSingleContactPoint(*surface, centre, 0.5, {0.4, 0.6});
  ASSERT_TRUE(found.converged);
  // A walk downhill on the distance itself comes to the same place.
  double u = 0.5, v = 0.5;
  for (double h = 0.1; h > 1e-9; h /= 2)
    for (int k = 0; k < 20; ++k)
      for (const auto& [a, b] : {std::pair(h, 0.0), {-h, 0.0}, {0.0, h}, {0.0, -h}})
        if (squaredDistance(*surface, u + a, v + b, centre) <
            squaredDistance(*surface, u, v, centre)) {
          u += a;
          v += b;
        }
  EXPECT_NEAR(found.u, u, 1e-6);
  EXPECT_NEAR(found.v, v, 1e-6);
  EXPECT_NEAR(found.residual, std::abs(std::sqrt(squaredDistance(*surface, u, v, centre)) - 0.5),
              1e-9);
  EXPECT_NEAR(found.normal.cross((centre - found.position).normalized()).magnitude(), 0.0, 1e-5);
}

TEST(ContactPointSolver, GuessesNearAnEdgeAreSatisfiedWithACoarserGradient) {
  const auto flat = square(1.0, 0.0);
  // The gradient at the guess, 5e-5, lies between both thresholds.
  for (const auto& [u, iterations, gradient] :
       {std::tuple(0.03, 1, 5e-5), std::tuple(0.3, 100, 1e-6)}) {
    const Point3D centre{u + 5e-5, 0.5, 0.2};
    const ContactPoint found =
        ContactPointSolver::solveSingleContactPoint(*flat, centre, 0.2, {u, 0.5});
    EXPECT_TRUE(found.converged);
    EXPECT_LE(found.iterations, iterations);
    EXPECT_NEAR(found.gradient_norm, 0.0, gradient * 1.001);
    if (u < 0.05) {
      EXPECT_DOUBLE_EQ(found.u, u);
    }
  }
}

TEST(ContactPointSolver, StaysInsideAndTakesTheLastResortBelowAGradientOfAFifth) {
  const auto flat = square(1.0, 0.0);
  // The foot at u = 0.005 is out of reach of the Newton steps, and by contract the others lead
  // away from it; the last evaluation is the tenth from (0.9, 0.1).
  const Point3D centre{0.005, 0.1, 0.2};
  const ContactPoint far =
      ContactPointSolver::solveSingleContactPoint(*flat, centre, 0.2, {0.5, 0.5});
  EXPECT_FALSE(far.converged);
  EXPECT_LE(far.u, 0.95);
  const ContactPoint near =
      ContactPointSolver::solveSingleContactPoint(*flat, {1.0, 0.1, 0.2}, 0.2, {0.5, 0.5});
  EXPECT_TRUE(near.converged);
  EXPECT_EQ(near.iterations, 200);
  EXPECT_LT(near.gradient_norm, 0.2);
}

TEST(ContactPointSolver, RefusesWhatIsNoSurfaceAndNoPoint) {
  const BSplineSurface broken(ControlNet(2, 2), {0, 1}, {0, 1}, 3, 3);
  EXPECT_FALSE(
      ContactPointSolver::solveSingleContactPoint(broken, {0, 0, 1}, 1.0, {0.5, 0.5}).converged);
  const auto flat = square(1.0, 0.0);
  EXPECT_FALSE(
      ContactPointSolver::solveSingleContactPoint(*flat, {0, NAN, 1}, 1.0, {0.5, 0.5}).converged);
}

TEST(ContactPointSolver, TripletsGiveTheCentreBack) {
  const auto floor = rectangle({-2, -2, 0}, Vector3D(4, 0, 0), Vector3D(0, 4, 0));
  const trova::geometry::SphereSurface ball({0, 0, 2}, 1.0);
  const double r = 0.5;
  // Over the floor at the height r, at the distance 1 + r from the ball's centre.
  const std::vector<Point3D> centres{{0.0, 0.0, 0.5}, {0.3, 0.1, 0.5}};
  const std::vector<double> radii{r};
  const auto triplets = ContactPointSolver::computeContactPoints(floor, ball, centres, radii);
  ASSERT_EQ(triplets.size(), 2u);
  EXPECT_TRUE(triplets[0].first.converged);
  EXPECT_THAT(triplets[1].first.position, IsNear(Point3D(0.3, 0.1, 0.0), 1e-6));
  ContactPoint a = triplets[1].first, b = triplets[1].first;
  b.position = {0.8, 0.1, 0.5};
  b.normal = {-1, 0, 0};
  EXPECT_THAT(ContactPointSolver::computeSphereCenterFromContacts(a, b, r),
              IsNear(Point3D(0.3, 0.1, 0.5), 1e-6));
}

TEST(Solve4x4System, SolvesAndRefusesSingularSystems) {
  Eigen::Matrix4d A;
  A << 4, 1, 0, 2, 1, 3, 1, 0, 0, 1, 5, 1, 2, 0, 1, 6;
  const Eigen::Vector4d x(1, -2, 3, 0.5);
  const auto solved = solve4x4System(A, A * x);
  ASSERT_TRUE(solved.has_value());
  EXPECT_LT((*solved - x).norm(), 1e-12);
  A.row(3) = A.row(0);
  EXPECT_FALSE(solve4x4System(A, Eigen::Vector4d(1, 2, 3, 4)).has_value());
}

}  // namespace
