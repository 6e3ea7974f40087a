#include "morvel/morvel.hpp"
#include "tests/api/kernel_session.h"
#include "tests/support/near.h"

namespace morvel_test {
namespace {

using testing::UnorderedElementsAre;
using trova::foundation::Point3D;

class CurvesOnSurfaces : public KernelSession {
 protected:
  void TearDown() override {
    trova_internal::g_curve_on_surfaces.clear();
    KernelSession::TearDown();
  }

  static int diagonal(int surface) {
    constexpr double uv[] = {0, 0, 0.5, 1, 1, 0};
    return create_curve_on_surface(surface, uv, 3, 1);
  }
  static Point3D pointAt(int curve, double t) {
    double p[3] = {kNaN, kNaN, kNaN};
    EXPECT_EQ(evaluate_curve_on_surface(curve, t, p), 0) << lastError();
    return {p[0], p[1], p[2]};
  }
};

TEST_F(CurvesOnSurfaces, AreEvaluatedInThePlaneAndInSpace) {
  const int curve = diagonal(plane());
  ASSERT_GE(curve, 60000) << lastError();
  double uv[2], start = 9, end = 9;
  ASSERT_EQ(get_curve_on_surface_interval(curve, &start, &end), 0);
  EXPECT_EQ(start, 0);
  EXPECT_EQ(end, 1);
  ASSERT_EQ(evaluate_curve_on_surface_uv(curve, 0.25, uv), 0);
  EXPECT_NEAR(uv[0], 0.25, 1e-15);
  EXPECT_NEAR(uv[1], 0.5, 1e-15);
  EXPECT_THAT(pointAt(curve, 0.75), IsNear(Point3D(0.75, 0.5, 0), 1e-15));

  const double t[] = {0, 0.25, 0.75, 1};
  double points[12], pairs[8];
  ASSERT_EQ(evaluate_curve_on_surface_batch(curve, t, 4, points), 0);
  ASSERT_EQ(evaluate_curve_on_surface_uv_batch(curve, t, 4, pairs), 0);
  for (int k = 0; k < 4; ++k) {
    EXPECT_THAT(Point3D(points[3 * k], points[3 * k + 1], points[3 * k + 2]),
                IsNear(pointAt(curve, t[k]), 0.0));
    EXPECT_EQ(pairs[2 * k], points[3 * k]);  // the unit plane's u is x
  }
}

TEST_F(CurvesOnSurfaces, KeepTheirBaseAlive) {
  const int base = sphere();
  const int curve = diagonal(base);
  EXPECT_EQ(get_curve_on_surface_base(curve), base);
  const Point3D before = pointAt(curve, 0.3);
  delete_surface(base);
  EXPECT_EQ(get_curve_on_surface_base(curve), -6);
  EXPECT_THAT(pointAt(curve, 0.3), IsNear(before, 0.0));
}

TEST_F(CurvesOnSurfaces, AreCountedListedAndDeletedButSharedWithTheirUsers) {
  const int first = diagonal(plane()), second = diagonal(plane());
  EXPECT_EQ(get_curve_on_surface_count(), 2);
  int handles[3] = {0, 0, 0};
  EXPECT_EQ(get_all_curves_on_surfaces(handles, 3), 2);
  EXPECT_THAT(handles, UnorderedElementsAre(first, second, 0));
  const auto user = trova_internal::g_curve_on_surfaces.at(first);
  EXPECT_EQ(delete_curve_on_surface(first), 0);
  EXPECT_THAT(user->evaluate(0.5), IsNear(Point3D(0.5, 1, 0), 1e-15));
  EXPECT_EQ(delete_curve_on_surface(first), -3);
  EXPECT_EQ(get_curve_on_surface_count(), 1);
  EXPECT_EQ(diagonal(plane()), second + 1);
}

TEST_F(CurvesOnSurfaces, RefuseBadInput) {
  const int base = plane();
  const double uv[] = {0, 0, 1, 1, kNaN, 0};
  const int curve = diagonal(base);
  Guarded<double> out(3);
  EXPECT_EQ(create_curve_on_surface(base, nullptr, 2, 1), -1);
  EXPECT_EQ(create_curve_on_surface(base, uv, 2, 0), -1);
  EXPECT_EQ(create_curve_on_surface(base, uv, 2, 2), -2);
  EXPECT_EQ(create_curve_on_surface(base, uv, 3, 1), -1);
  EXPECT_EQ(create_curve_on_surface(base, uv, kLargestInt, 1), -1);
  EXPECT_EQ(create_curve_on_surface(7, uv, 2, 1), -3);
  EXPECT_EQ(evaluate_curve_on_surface(7, 0.5, out.data()), -3);
  EXPECT_EQ(evaluate_curve_on_surface(curve, kNaN, out.data()), -1);
  EXPECT_EQ(evaluate_curve_on_surface(curve, 0.5, nullptr), -1);
  EXPECT_EQ(evaluate_curve_on_surface_batch(curve, uv, -1, out.data()), -1);
  EXPECT_EQ(get_curve_on_surface_base(7), -3);
  EXPECT_EQ(get_all_curves_on_surfaces(nullptr, 1), -1);
  EXPECT_TRUE(out.isUntouched());
  EXPECT_EQ(get_curve_on_surface_count(), 1);
}

}  // namespace
}  // namespace morvel_test
