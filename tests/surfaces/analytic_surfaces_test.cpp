#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/surface_factory.h"
#include "morvel/surfaces/to_nurbs.h"
#include "tests/surfaces/surface_measures.h"
#include "tests/surfaces/surface_samples.h"

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const std::vector<std::pair<double, double>> kPlaces = {{0.1, 0.2}, {0.37, 0.81}, {0.74, 0.53}};

// The height above the base point along the axis, and the distance from the axis.
struct AxisPlace {
  double height;
  double radius;
};

AxisPlace axisPlace(const Point3D& p) {
  const Vector3D axis = kTilted / 3.0;
  const Vector3D arm = p - kCenter;
  return {arm.dot(axis), arm.cross(axis).magnitude()};
}

TEST(RoundSurfaces, PointsFulfilTheEquationAndNormalsPointOutward) {
  const auto surfaces = roundSurfaces();
  const auto residual = [](int k, const Point3D& p) {
    const auto [h, r] = axisPlace(p);
    const double residuals[] = {std::hypot(h, r) - 1.5, r - 0.75, r - 1.25 * (1 - h / 2.5),
                                std::hypot(r - 2.0, h) - 0.5};
    return residuals[k];
  };
  for (int k = 0; k < 4; ++k) {
    for (const auto& [u, v] : kPlaces) {
      const auto at = surfaces[k]->evaluateDerivatives(u, v, 1);
      EXPECT_NEAR(residual(k, at.point), 0.0, 1e-14);
      EXPECT_GT(residual(k, at.point + at.normal * 1e-3), 9e-4);
      EXPECT_NEAR(at.normal.magnitude(), 1.0, 1e-15);
    }
  }
}

TEST(RoundSurfaces, CoverTheWholeShapeOnce) {
  const double ends[][2] = {{-1.5, 1.5}, {0, 2}, {0, 2.5}, {-0.5, 0.5}};
  const double areas[] = {4 * kPi * 2.25, 2 * kPi * 0.75 * 2, kPi * 1.25 * std::hypot(1.25, 2.5),
                          4 * kPi * kPi * 2 * 0.5};
  const auto surfaces = roundSurfaces();
  for (int k = 0; k < 4; ++k) {
    double low = HUGE_VAL;
    double high = -HUGE_VAL;
    for (const Point3D& p : surfaces[k]->tessellateUniform(9, 9).vertices) {
      low = std::min(low, axisPlace(p).height);
      high = std::max(high, axisPlace(p).height);
    }
    EXPECT_NEAR(low, ends[k][0], 1e-14);
    EXPECT_NEAR(high, ends[k][1], 1e-14);
    // The polyhedron lies inside by a relative (2 pi / 19)^2 / 6 in either round direction.
    const double area = surfaces[k]->getArea(0.1);
    EXPECT_LT(area, areas[k]);
    EXPECT_GT(area, areas[k] * (1 - 2 * 0.0183));
  }
}

TEST(RoundSurfaces, SeamsAndPolesCloseExactly) {
  for (const auto& surface : roundSurfaces()) {
    for (const double v : {0.0, 0.3, 1.0})
      EXPECT_EQ(surface->evaluate(0, v).distanceTo(surface->evaluate(1, v)), 0.0);
  }
  const auto sphere = roundSurfaces()[0];
  EXPECT_EQ(sphere->evaluate(0.3, 1).distanceTo(sphere->evaluate(0.8, 1)), 0.0);
  EXPECT_THAT(sphere->evaluate(0.5, 1), IsNear(kCenter + kTilted * 0.5, 1e-15));
  // No tangent plane there: the two normals fall back as they do on every surface.
  EXPECT_THAT(sphere->evaluateDerivatives(0.3, 1, 1).normal, IsNear(Vector3D(0, 0, 1), 0.0));
  EXPECT_THAT(sphere->getNormal(0.3, 1), IsNear(Vector3D::zero(), 0.0));
}

TEST(FormulaSurfaces, DerivativesAreTheLimitsOfDifferences) {
  for (const auto& surface : allSurfaces()) {
    for (const auto& [u, v] : kPlaces)
      expectTrueDerivatives(*surface, u, v, 3e-6);
  }
}

TEST(FormulaSurfaces, ParameterOperationsKeepTheClassAndMoveOnlyTheParameters) {
  for (const auto& surface : allSurfaces()) {
    const auto trimmed = surface->trim(0.2, 0.7, 0.1, 0.4);
    const auto turned = trimmed->swapUV()->reverseU();
    const auto again = turned->trim(0.5, 1, 0, 0.5)->reverseV();
    const auto twice = surface->reverseU()->reverseV()->reverseU()->reverseV()->swapUV()->swapUV();
    EXPECT_EQ(largestGap(*twice, *surface, 9), 0.0);
    for (const auto& [u, v] : kPlaces) {
      const auto onTrimmed = surface->evaluate(0.2 + 0.5 * u, 0.1 + 0.3 * v);
      EXPECT_THAT(trimmed->evaluate(u, v), IsNear(onTrimmed, 1e-13));
      EXPECT_THAT(turned->evaluate(1 - v, u), IsNear(onTrimmed, 1e-13));
      EXPECT_THAT(again->evaluate(u, v), IsNear(turned->evaluate((1 + u) / 2, (1 - v) / 2), 1e-13));
      expectTrueDerivatives(*turned, u, v, 3e-6);
    }
    for (const auto* result : {trimmed.get(), turned.get(), again.get()}) {
      EXPECT_EQ(result->getTypeIdentifier(), surface->getTypeIdentifier());
      EXPECT_TRUE(result->isValid());
    }
    EXPECT_THROW(surface->trim(0.5, 0.5, 0, 1), std::invalid_argument);
    EXPECT_THROW(surface->trim(0, 1, -0.1, 1), std::invalid_argument);
    EXPECT_THROW(surface->trim(0, kNaN, 0, 1), std::invalid_argument);
  }
}

TEST(FormulaSurfaces, ParametersOutsideTheDomainGiveTheEdge) {
  for (const auto& surface : allSurfaces()) {
    EXPECT_EQ(surface->evaluate(-3, 0.5).distanceTo(surface->evaluate(0, 0.5)), 0.0);
    EXPECT_EQ(surface->evaluate(0.25, 7).distanceTo(surface->evaluate(0.25, 1)), 0.0);
    EXPECT_FALSE(surface->evaluate(kNaN, 0.5).isFinite());
    surface->evaluateDerivatives(0.5, kNaN, 2);  // within bounds, whatever it gives
  }
}

TEST(FormulaSurfaces, TransformGivesTheImagePointByPoint) {
  const std::vector<std::pair<Transform3D, double>> maps = {
      {similarity(), 1e-13}, {reflection(), 1e-13}, {shear(), 1e-13}};
  for (const auto& surface : allSurfaces()) {
    for (const auto& [map, tolerance] : maps) {
      auto moved = surface->trim(0.1, 0.9, 0.2, 0.8)->swapUV();
      const auto before = moved->clone();
      const auto image = moved->transform(map);
      const bool refitted = image->getTypeIdentifier() != surface->getTypeIdentifier();
      if (refitted) {
        EXPECT_EQ(image->getTypeIdentifier(), "BSplineSurface");
        EXPECT_THROW(moved->applyTransformToGeometry(map), std::invalid_argument);
        EXPECT_EQ(largestGap(*moved, *before, 5), 0.0);
      } else {
        moved->applyTransformToGeometry(map);
      }
      for (const auto& [u, v] : kPlaces) {
        const Point3D expected = map.transform(before->evaluate(u, v));
        EXPECT_THAT(image->evaluate(u, v), IsNear(expected, refitted ? 1e-6 : 20 * tolerance));
        if (!refitted) {
          EXPECT_THAT(moved->evaluate(u, v), IsNear(expected, 20 * tolerance));
        }
      }
    }
  }
  // Only the round ones are refitted, and only under a map that leaves them no circles.
  for (const auto& surface : affineSurfaces())
    EXPECT_EQ(surface->transform(shear())->getTypeIdentifier(), surface->getTypeIdentifier());
  for (const auto& surface : roundSurfaces()) {
    EXPECT_EQ(surface->transform(reflection())->getTypeIdentifier(), surface->getTypeIdentifier());
    EXPECT_EQ(surface->transform(shear())->getTypeIdentifier(), "BSplineSurface");
  }
}

TEST(FormulaSurfaces, TheFourthRowOfATransformTakesNoPart) {
  Transform3D map = similarity();
  for (int column = 0; column < 4; ++column)
    map(3, column) = 2.0 + column;
  for (const auto& surface : allSurfaces()) {
    const auto once = surface->transform(map);
    const Point3D expected = map.transform(map.transform(surface->evaluate(0.3, 0.4)));
    EXPECT_THAT(once->transform(map)->evaluate(0.3, 0.4), IsNear(expected, 1e-11));
  }
}

TEST(FormulaSurfaces, RefuseTransformsThatAreNotFinite) {
  Transform3D broken;
  broken(1, 3) = kNaN;
  for (const auto& surface : allSurfaces()) {
    const auto copy = surface->clone();
    EXPECT_THROW(copy->transform(broken), std::invalid_argument);
    EXPECT_THROW(copy->applyTransformToGeometry(broken), std::invalid_argument);
    EXPECT_EQ(largestGap(*copy, *surface, 3), 0.0);
  }
}

TEST(FormulaSurfaces, PendingTransformsTravelWithClonesOnly) {
  for (const auto& surface : allSurfaces()) {
    const auto copy = surface->clone();
    copy->setMatrix(similarity());
    EXPECT_TRUE(copy->clone()->hasPendingTransform());
    EXPECT_FALSE(copy->reverseU()->hasPendingTransform());
    EXPECT_FALSE(copy->transform(reflection())->hasPendingTransform());
    copy->applyMatrix();
    EXPECT_FALSE(copy->hasPendingTransform());
    EXPECT_THAT(copy->evaluate(0.3, 0.4),
                IsNear(similarity().transform(surface->evaluate(0.3, 0.4)), 1e-12));
  }
}

TEST(FormulaSurfaces, BoxesContainTheSurface) {
  for (const auto& surface : allSurfaces()) {
    for (const auto& map : {Transform3D(), similarity()}) {
      for (const auto* whole : {"whole", "part"}) {
        const auto image = surface->transform(map);
        const auto seen = *whole == 'w' ? image->clone() : image->trim(0.05, 0.4, 0.3, 0.6);
        EXPECT_LE(overhang(sampledBox(*seen, 41), seen->getBoundingBox()), 1e-12)
            << surface->getTypeIdentifier() << " " << whole;
      }
    }
  }
}

TEST(RoundSurfaces, BoxesAreTight) {
  auto surfaces = roundSurfaces();
  surfaces.push_back(std::make_shared<TorusSurface>(kCenter, kTilted, 0.5, 1.0));  // spindle
  surfaces.push_back(
      std::make_shared<PlaneSurface>(kCenter, Vector3D(1, 2, 0), Vector3D(0, 1, 1), 3.0, 2.0));
  for (const auto& surface : surfaces) {
    for (const auto& part :
         {surface->clone(), surface->trim(0.05, 0.4, 0.3, 0.6), surface->trim(0.6, 1, 0.8, 0.95)}) {
      EXPECT_LE(overhang(part->getBoundingBox(), sampledBox(*part)), 1e-3);
      EXPECT_LE(overhang(sampledBox(*part), part->getBoundingBox()), 1e-12);
    }
  }
}

TEST(FormulaSurfaces, ToNurbsMeetsItsTolerance) {
  for (const auto& surface : allSurfaces()) {
    for (const double tolerance : {1e-3, 1e-6}) {
      const auto part = surface->trim(0, 1, 0.1, 0.8)->swapUV();
      const auto fitted = part->toNurbs(tolerance);
      EXPECT_TRUE(fitted->isValid());
      EXPECT_LE(largestGap(*fitted, *part), tolerance * 1.05) << surface->getTypeIdentifier();
    }
  }
  const PlaneSurface plane(kCenter, {1, 0, 0}, {0, 1, 0}, 2, 3);
  EXPECT_EQ(plane.toNurbs()->getUControlPointCount() * plane.toNurbs()->getVControlPointCount(), 4);
  EXPECT_THROW(SphereSurface(kCenter, -1).toNurbs(), ToNurbsInvalidSurfaceException);
  EXPECT_THROW(PlaneSurface(kCenter, {1, 0, 0}, {0, 1, 0}, 0, 3).toNurbs(), ToNurbsException);
}

TEST(RoundSurfaces, PeriodAndClosureFollowTheCoveredPart) {
  struct Case {
    SurfacePointer surface;
    bool u, v, closed;
  };
  const auto round = roundSurfaces();
  const Case cases[] = {{round[0], true, false, true},
                        {round[1], true, false, false},
                        {round[2], true, false, false},
                        {round[3], true, true, true},
                        {round[3]->reverseU(), true, true, true},
                        {round[0]->swapUV(), false, true, true},
                        {round[0]->trim(0, 1, 0.1, 1), true, false, false},
                        {round[3]->trim(0, 0.9, 0, 1), false, true, false}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.surface->isPeriodicU(), c.u);
    EXPECT_EQ(c.surface->isPeriodicV(), c.v);
    EXPECT_EQ(c.surface->isClosed(), c.closed);
  }
}

TEST(RoundSurfaces, ClosestParametersLieStraightAcross) {
  for (const auto& surface : roundSurfaces()) {
    const auto at = surface->evaluateDerivatives(0.37, 0.62, 1);
    const auto [u, v] = surface->getClosestParameter(at.point + at.normal * 0.3);
    EXPECT_NEAR(u, 0.37, 1e-7);
    EXPECT_NEAR(v, 0.62, 1e-7);
  }
}

TEST(SurfaceFactory, AnswersBadInputWithNull) {
  const Point3D o;
  const Vector3D z(0, 0, 1);
  const Vector3D x(1, 0, 0);
  for (const double bad : {0.0, -1.0, kNaN, HUGE_VAL}) {
    EXPECT_EQ(SurfaceFactory::createPlane(o, x, z, bad, 1), nullptr);
    EXPECT_EQ(SurfaceFactory::createSphere(o, bad), nullptr);
    EXPECT_EQ(SurfaceFactory::createCylinder(o, z, bad, 1), nullptr);
    EXPECT_EQ(SurfaceFactory::createCone(o, z, 1, bad), nullptr);
    EXPECT_EQ(SurfaceFactory::createTorus(o, z, 2, bad), nullptr);
    EXPECT_EQ(SurfaceFactory::createExtrude(spaceCubic(), z, bad), nullptr);
    EXPECT_EQ(SurfaceFactory::createRevolve(spaceCubic(), o, z, 0, bad), nullptr);
    EXPECT_EQ(SurfaceFactory::createPipe(spaceCubic(), bad), nullptr);
    EXPECT_EQ(SurfaceFactory::createSphere({bad > 0 ? bad : kNaN, 0, 0}, 1), nullptr);
  }
  EXPECT_EQ(SurfaceFactory::createPlane(o, x, x, 1, 1), nullptr);
  EXPECT_EQ(SurfaceFactory::createPlane(o, x, Vector3D::zero(), 1, 1), nullptr);
  EXPECT_EQ(SurfaceFactory::createTorus(o, Vector3D::zero(), 2, 1), nullptr);
  EXPECT_EQ(SurfaceFactory::createExtrude(nullptr, z, 1), nullptr);
  EXPECT_EQ(SurfaceFactory::createExtrude(shared(LineCurve(o, o)), z, 1), nullptr);
  EXPECT_EQ(SurfaceFactory::createRuled(spaceCubic(), nullptr), nullptr);
  EXPECT_EQ(SurfaceFactory::createLoft({spaceCubic()}), nullptr);
  EXPECT_EQ(SurfaceFactory::createLoft({spaceCubic(), nullptr}), nullptr);
  EXPECT_EQ(SurfaceFactory::createLoft({spaceCubic(), spaceCubic()}, 0), nullptr);
  EXPECT_EQ(SurfaceFactory::createSweep(spaceCubic(), nullptr), nullptr);
  EXPECT_NE(SurfaceFactory::createTorus(o, z * 1e-200, 2, 1), nullptr);  // a direction all the same
  EXPECT_NE(SurfaceFactory::createCone(o, z * 1e200, 2, 1), nullptr);
}

}  // namespace
}  // namespace morvel_test
