#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <string>

#include "morvel/foundation/bounding_box.h"
#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/pending_transform.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/tolerance_context.h"
#include "morvel/foundation/transform3d.h"
#include "morvel/foundation/vector.h"
#include "tests/support/near.h"

namespace {

using namespace trova::foundation;
using morvel_test::IsNear;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(ToleranceContext, RefusesWhatIsNotPositiveAndKeepsTheOldValue) {
  struct Field {
    double (ToleranceContext::*get)() const;
    void (ToleranceContext::*set)(double);
    double initial;
    std::string message;
  };
  using T = ToleranceContext;
  const Field fields[] = {{&T::getGeometricTolerance, &T::setGeometricTolerance, 1e-4, "Geometric"},
                          {&T::getAngularTolerance, &T::setAngularTolerance, 1e-6, "Angular"},
                          {&T::getCurveTolerance, &T::setCurveTolerance, 1e-5, "Curve"},
                          {&T::getSurfaceTolerance, &T::setSurfaceTolerance, 1e-4, "Surface"}};
  for (const Field& field : fields) {
    ToleranceContext context;
    EXPECT_EQ((context.*field.get)(), field.initial);
    for (const double bad : {0.0, -1.0, kNaN}) {
      try {
        (context.*field.set)(bad);
        ADD_FAILURE() << field.message << " accepted " << bad;
      } catch (const std::invalid_argument& error) {
        EXPECT_EQ(error.what(), field.message + " tolerance must be positive");
      }
    }
    EXPECT_EQ((context.*field.get)(), field.initial);
    (context.*field.set)(0.5);
    EXPECT_EQ((context.*field.get)(), 0.5);
  }
}

TEST(ToleranceContext, NegativeToleranceMeansTheDefaultAndZeroMeansExact) {
  const ToleranceContext context;
  EXPECT_TRUE(context.isEqual(1.0, 1.00005, -1));
  EXPECT_FALSE(context.isEqual(1.0, 1.00005, 0));
  EXPECT_TRUE(context.isEqual(1.0, 1.0, 0));
  EXPECT_TRUE(context.isZero(-0.25, 0.25));
  EXPECT_FALSE(context.isZero(kNaN, 1.0));
}

TEST(Point3D, ArithmeticWorksPerComponent) {
  Point3D p(1, 2, 3);
  EXPECT_THAT(p.midpoint({3, 6, -1}), IsNear(Point3D(2, 4, 1), 0.0));
  EXPECT_THAT(p + Point3D(1, 1, 1), IsNear(Point3D(2, 3, 4), 0.0));
  EXPECT_THAT(p - Point3D(1, 1, 1), IsNear(Vector3D(0, 1, 2), 0.0));
  EXPECT_THAT(2.0 * p / 4.0, IsNear(Point3D(0.5, 1, 1.5), 0.0));
  p += Point3D(1, 0, 0);
  p -= Point3D(0, 2, 0);
  p[2] = 7;
  p.setY(5);
  EXPECT_THAT(p, IsNear(Point3D(2, 5, 7), 0.0));
  EXPECT_EQ(Point3D(1, 2, 3).distanceTo({3, 5, 9}), 7.0);
}

TEST(Point3D, ComparesUnderTheDefaultTolerance) {
  EXPECT_FALSE(Point3D(0, 0, 0) != Point3D(9e-5, 0, 0));
  EXPECT_TRUE(Point3D(0, 0, 0) != Point3D(1.1e-4, 0, 0));
  EXPECT_FALSE(Point2D(0, 0) != Point2D(0, 9e-5));
  EXPECT_TRUE(Point2D(0, 0) != Point2D(0, 1.1e-4));
  EXPECT_EQ(Point2D(1, 1).squaredDistanceTo({4, 5}), 25.0);
}

TEST(Vector3D, ProductsFollowTheRightHandRule) {
  const Vector3D v(Point3D(1, 1, 1), Point3D(1, 3, 1));
  EXPECT_THAT(v, IsNear(Vector3D(0, 2, 0), 0.0));
  EXPECT_THAT(Vector3D(1, 0, 0).cross(v), IsNear(Vector3D(0, 0, 2), 0.0));
  EXPECT_EQ(Vector3D(1, 2, 3).dot({4, 5, 6}), 32.0);
  EXPECT_NEAR(Vector3D(1, 0, 0).angleTo({-1, 1, 0}), 0.75 * std::numbers::pi, 1e-15);
  EXPECT_EQ(Vector3D(0.1, 0.2, 0.3).angleTo({0.1, 0.2, 0.3}), 0.0);  // a cosine rounded above 1
  EXPECT_TRUE(std::isnan(Vector3D::zero().angleTo({1, 0, 0})));
}

TEST(Vector3D, ShortVectorsHaveNoDirection) {
  EXPECT_THAT(Vector3D(5e-5, 0, 0).normalized(), IsNear(Vector3D::zero(), 0.0));
  EXPECT_THAT(Vector3D(0, 1e-4, 0).normalized(), IsNear(Vector3D::unitY(), 0.0));
  Vector3D v(0, -3, 4);
  v.normalize();
  EXPECT_THAT(v, IsNear(Vector3D(0, -0.6, 0.8), 1e-16));
  EXPECT_TRUE(Vector3D(0, 1e-4, 0).isZero());
  EXPECT_FALSE(Vector3D(0, 1.1e-4, 0).isZero());
}

TEST(Vector3D, AnyPerpendicularIsAUnitVectorAcross) {
  for (const Vector3D& n : {Vector3D::unitX(), Vector3D::unitY(), Vector3D::unitZ(),
                            Vector3D(0.9, 0.1, -0.4).normalized()}) {
    EXPECT_NEAR(anyPerpendicular(n).dot(n), 0.0, 1e-15);
    EXPECT_NEAR(anyPerpendicular(n).magnitude(), 1.0, 1e-15);
  }
}

TEST(BoundingBox, SortsItsCornersPerAxis) {
  const BoundingBox box(Point3D(1, 5, 0), Point3D(3, 2, -1));
  EXPECT_THAT(box.min, IsNear(Point3D(1, 2, -1), 0.0));
  EXPECT_THAT(box.max, IsNear(Point3D(3, 5, 0), 0.0));
  EXPECT_EQ(box.volume(), 6.0);
  EXPECT_THAT(box.center(), IsNear(Point3D(2, 3.5, -0.5), 0.0));
}

TEST(BoundingBox, EmptyBoxTakesNoPart) {
  BoundingBox empty;
  const BoundingBox unit({0, 0, 0}, {1, 1, 1});
  empty.expand(5);
  EXPECT_TRUE(empty.isEmpty());
  EXPECT_FALSE(empty.contains({0, 0, 0}));
  EXPECT_FALSE(empty.intersects(unit) || unit.intersects(empty));
  EXPECT_EQ(empty.volume(), 0.0);
  BoundingBox far({5, 5, 5}, {6, 6, 6});
  far.addBoundingBox(empty);
  EXPECT_THAT(far.min, IsNear(Point3D(5, 5, 5), 0.0));
  empty.addPoint({2, 3, 4});
  EXPECT_THAT(empty.center(), IsNear(Point3D(2, 3, 4), 0.0));
}

TEST(BoundingBox, TestsAreWidenedByTheTolerance) {
  const BoundingBox unit({0, 0, 0}, {1, 1, 1});
  EXPECT_TRUE(unit.contains({1.00009, 0.5, -0.00009}));
  EXPECT_FALSE(unit.contains({1.00011, 0.5, 0.5}));
  EXPECT_FALSE(unit.contains({kNaN, 0.5, 0.5}));
  EXPECT_TRUE(unit.intersects({{1.00009, 0, 0}, {2, 1, 1}}));
  EXPECT_FALSE(unit.intersects({{0, 0, 1.00011}, {1, 1, 2}}));
}

TEST(Transform3D, TurnsByTheRightHandRuleAndComposesFromTheRight) {
  const Transform3D turn = Transform3D::rotation({0, 0, 2}, std::numbers::pi / 2);
  const Transform3D move = Transform3D::translation({1, 2, 3});
  EXPECT_THAT(turn.transform(Vector3D(1, 0, 0)), IsNear(Vector3D(0, 1, 0), 1e-15));
  EXPECT_THAT(move.transform(Vector3D(1, 0, 0)), IsNear(Vector3D(1, 0, 0), 0.0));
  EXPECT_THAT(move.compose(turn).transform(Point3D(1, 0, 0)), IsNear(Point3D(1, 3, 3), 1e-15));
  EXPECT_THAT((turn * move).transform(Point3D(1, 0, 0)), IsNear(Point3D(-2, 2, 3), 1e-15));
  EXPECT_THAT(Transform3D::scaling(2, 3, 4).transform(Point3D(1, 1, 1)),
              IsNear(Point3D(2, 3, 4), 0.0));
}

TEST(Transform3D, FourthRowTakesNoPart) {
  Transform3D perspective;
  perspective(3, 0) = 1.0;
  perspective(3, 3) = 5.0;
  EXPECT_THAT(perspective.transform(Point3D(1, 2, 3)), IsNear(Point3D(1, 2, 3), 0.0));
}

TEST(PendingTransform, WithinToleranceOfTheIdentityIsNeitherAppliedNorReset) {
  PendingTransform pending;
  Transform3D almost;
  almost(0, 3) = 1e-5;
  pending.set(almost);
  int applied = 0;
  pending.applyWith([&](const Transform3D&) { ++applied; });
  EXPECT_EQ(applied, 0);
  EXPECT_EQ(pending.get()(0, 3), 1e-5);

  pending.set(Transform3D::translation({1, 0, 0}));
  EXPECT_THROW(pending.applyWith([](const Transform3D&) { throw std::runtime_error("no"); }),
               std::runtime_error);
  EXPECT_TRUE(pending.isPending());
  pending.applyWith([&](const Transform3D&) { ++applied; });
  EXPECT_EQ(applied, 1);
  EXPECT_FALSE(pending.isPending());
}

TEST(CheckedCount, MultipliesInSixtyFourBits) {
  const std::int64_t intMax = std::numeric_limits<int>::max();
  EXPECT_EQ(checkedCount({46340, 46340}), 2147395600);
  EXPECT_EQ(checkedCount({intMax, intMax, 0}), 0);
  EXPECT_EQ(knotCountFor(intMax, intMax), 2 * intMax + 1);
  EXPECT_THROW(checkedCount({46341, 46341}), std::length_error);
  EXPECT_THROW(checkedCount({intMax, intMax, intMax}), std::length_error);
  EXPECT_THROW(checkedCount({-1, 0}), std::length_error);
}

}  // namespace
