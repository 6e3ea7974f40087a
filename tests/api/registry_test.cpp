#include <memory>

#include "morvel/morvel.hpp"
#include "tests/api/kernel_session.h"
#include "tests/support/near.h"
#include "tests/support/shapes.h"

namespace morvel_test {
namespace {

using namespace trova_internal;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

using Registry = KernelSession;

std::unique_ptr<CurveOnSurface> curveOn(std::shared_ptr<Surface> base) {
  return std::make_unique<CurveOnSurface>(
      std::move(base), std::make_unique<LinearCurve2D>(Point2D(0.25, 0.5), Point2D(0.75, 0.5)));
}

TEST_F(Registry, NumbersAreNotReusedUntilTheKindIsCleared) {
  EXPECT_EQ(line(), 20000);
  EXPECT_EQ(line(), 20001);
  EXPECT_EQ(delete_curve(20000), 0);
  EXPECT_EQ(line(), 20002);
  EXPECT_EQ(clear_all_curves(), 2);
  EXPECT_EQ(line(), 20000);
  EXPECT_EQ(cleanup_all_curves(), 1);
  EXPECT_EQ(get_curve_count(), 0);
  EXPECT_EQ(line(), 20000);
}

TEST_F(Registry, ReservedSurfaceNumbersAreTakenWithoutStoring) {
  EXPECT_EQ(debug_get_surface_start_id(), 40000);
  EXPECT_EQ(get_next_surface_handle(), 40000);
  EXPECT_EQ(storeSurface_get_next_handle(), 40001);
  EXPECT_EQ(get_unified_surface_handle(), 40002);
  EXPECT_EQ(sphere(), 40003);
  EXPECT_EQ(debug_get_surface_start_id(), 40004);
  EXPECT_EQ(get_surfaces_count(), 1);
  cleanup_all_surfaces();
  EXPECT_EQ(sphere(), 40000);
  EXPECT_EQ(debug_get_macro_value(), 40000);
  EXPECT_EQ(getNextSurfaceId(), 40001);
}

TEST_F(Registry, UsedUpNumbersAreRefusedAndNothingIsLost) {
  const int curve = line(), surface = sphere();
  g_next_curve_id = g_next_surface_id = g_next_point_id = kLargestInt;
  const auto printed = printedBy([] {
    EXPECT_EQ(line(), -4);
    EXPECT_EQ(lastError(), "Handle numbers are used up");
    EXPECT_EQ(get_next_surface_handle(), -4);
    EXPECT_EQ(create_point(1, 2, 3), -4);
  });
  EXPECT_EQ(printed.err,
            "❌ Error creating line: Handle numbers are used up\n"
            "❌ create_point error: Handle numbers are used up\n");
  EXPECT_EQ(g_next_curve_id, kLargestInt);
  EXPECT_EQ(get_curve_type(curve), 1);
  EXPECT_TRUE(isValidSurfaceId(surface));
  EXPECT_EQ(create_curve_handle(std::make_shared<BSplineCurve>(unevenCubic())), -1);
}

TEST_F(Registry, NullObjectsAreNotStored) {
  EXPECT_EQ(storeCurve(nullptr), -5);
  EXPECT_EQ(lastError(), "Invalid curve pointer");
  EXPECT_EQ(storeSurface(nullptr), -5);
  EXPECT_EQ(lastError(), "Invalid surface pointer");
  EXPECT_EQ(storeCurveOnSurface(nullptr), -5);
  EXPECT_EQ(lastError(), "Invalid CurveOnSurface pointer");
  EXPECT_EQ(create_curve_handle(nullptr), -1);
  registerSurface(get_next_surface_handle(), nullptr);
  EXPECT_EQ(get_curve_count(), 0);
  EXPECT_EQ(get_surfaces_count(), 0);
  EXPECT_EQ(line(), 20000);
}

TEST_F(Registry, ListsAtMostAsManyHandlesAsThereIsRoom) {
  for (int i = 0; i < 5; ++i)
    line();
  int out[] = {-7, -7, -7, -7, -7, -7};
  EXPECT_EQ(get_all_curves(out, 3), 3);
  EXPECT_EQ(out[3], -7);
  EXPECT_EQ(get_all_curves(out, kLargestInt), 5);
  EXPECT_THAT(std::vector<int>(out, out + 5),
              UnorderedElementsAre(20000, 20001, 20002, 20003, 20004));
  EXPECT_EQ(get_curves_count(), 5);
  for (const auto list : {get_all_curves, get_all_surfaces}) {
    EXPECT_EQ(list(nullptr, 3), -1);
    EXPECT_EQ(list(out, 0), -1);
    EXPECT_EQ(list(out, -3), -1);
  }
  EXPECT_EQ(get_all_surfaces(out, 6), 0);
}

TEST_F(Registry, DeletionLooksAtItsOwnKindOnly) {
  const int curve = line(), surface = sphere();
  EXPECT_EQ(delete_curve(surface), -3);
  EXPECT_THAT(lastError(), HasSubstr("40000"));
  const auto printed = printedBy([&] {
    delete_surface(curve);
    delete_surface(-1);
  });
  EXPECT_EQ(printed.out + printed.err, "");
  EXPECT_EQ(get_curve_count(), 1);
  EXPECT_EQ(get_surfaces_count(), 1);
  EXPECT_EQ(delete_curve(curve), 0);
  EXPECT_EQ(delete_curve(curve), -3);
  delete_surface(surface);
  EXPECT_FALSE(isValidSurfaceId(surface));
}

TEST_F(Registry, ABaseSurfaceOutlivesItsHandleButIsTheRegisteredObject) {
  const int handle = plane();
  const int onPlane = storeCurveOnSurface(curveOn(g_surfaces.at(handle)));
  EXPECT_GE(onPlane, 60000);
  EXPECT_EQ(storeCurveOnSurface(curveOn(g_surfaces.at(handle))), onPlane + 1);
  const auto* stored = getCurveOnSurfaceAs<CurveOnSurface>(onPlane);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->getBaseSurface().get(), get_surface_from_registry(handle));
  cleanup_all_surfaces();
  clear_all_curves();
  EXPECT_EQ(get_surface_from_registry(handle), nullptr);
  EXPECT_TRUE(isValidCurveOnSurfaceId(onPlane));
  EXPECT_THAT(stored->evaluate(0.5), IsNear(Point3D(0.5, 0.5, 0), 1e-12));
}

// The host keeps the handle it knows: what was built under another one moves there.
TEST_F(Registry, ReplacingMovesTheObjectToTheOldHandle) {
  const int curve = line(), newCurve = unitCircle();
  const Curve* moved = get_curve_pointer_from_handle(newCurve);
  const auto printed = printedBy([&] { EXPECT_TRUE(replace_curve_handle(curve, newCurve)); });
  EXPECT_EQ(
      printed.out,
      "🔄 REPLACE_CURVE_HANDLE: Replacing 20000 with 20001\n"
      "✅ REPLACE_CURVE_HANDLE: Successfully replaced handle 20000 with geometry from 20001\n");
  EXPECT_EQ(printed.err, "");
  EXPECT_EQ(get_curve_pointer_from_handle(curve), moved);
  EXPECT_FALSE(isValidCurveId(newCurve));

  const int surface = sphere(), newSurface = plane();
  const auto surfacePrinted =
      printedBy([&] { EXPECT_TRUE(replace_surface_handle(surface, newSurface)); });
  EXPECT_THAT(surfacePrinted.out, StartsWith("🔄 REPLACE_SURFACE_HANDLE: Replacing 40000 with"));
  EXPECT_TRUE(getSurfaceAs<PlaneSurface>(surface));
  EXPECT_EQ(get_surfaces_count(), 1);
}

TEST_F(Registry, ReplacingByItselfKeepsTheObject) {
  const int curve = line(), surface = sphere();
  const Curve* before = get_curve_pointer_from_handle(curve);
  printedBy([&] {
    EXPECT_TRUE(replace_curve_handle(curve, curve));
    EXPECT_TRUE(replace_surface_handle(surface, surface));
  });
  EXPECT_EQ(get_curve_pointer_from_handle(curve), before);
  EXPECT_TRUE(isValidSurfaceId(surface));
}

TEST_F(Registry, ReplacingJudgesTheNewHandleFirstAndChangesNothing) {
  const int curve = line();
  const auto bothAbsent = printedBy([&] { EXPECT_FALSE(replace_curve_handle(1, 2)); });
  EXPECT_EQ(bothAbsent.out, "🔄 REPLACE_CURVE_HANDLE: Replacing 1 with 2\n");
  EXPECT_EQ(bothAbsent.err, "❌ REPLACE_CURVE_HANDLE: new_handle 2 not found\n");
  const auto oldAbsent = printedBy([&] { EXPECT_FALSE(replace_surface_handle(1, sphere())); });
  EXPECT_EQ(oldAbsent.err, "❌ REPLACE_SURFACE_HANDLE: old_handle 1 not found\n");
  EXPECT_TRUE(isValidCurveId(curve));
  EXPECT_EQ(get_surfaces_count(), 1);
}

TEST_F(Registry, ReportsWhatItHolds) {
  const int surface = sphere();
  const auto found = printedBy([&] { EXPECT_TRUE(ensure_surface_in_registry(surface)); });
  EXPECT_EQ(found.out,
            "🔍 REGISTRY CHECK: Looking for surface handle 40000\n"
            "✅ Surface 40000 found in registry\n");
  const auto missing = printedBy([] { EXPECT_FALSE(ensure_surface_in_registry(7)); });
  EXPECT_EQ(missing.out,
            "🔍 REGISTRY CHECK: Looking for surface handle 7\n"
            "❌ Surface 7 NOT found in registry\n"
            "   Registry contains 1 surfaces: 40000 \n");
  EXPECT_EQ(missing.err, "");
  const auto status = printedBy([] { debug_print_registry_status(); });
  EXPECT_EQ(status.out,
            "📊 REGISTRY STATUS:\n"
            "   Total surfaces: 1\n"
            "   Handles: 40000 \n");
}

TEST_F(Registry, LookUpsAnswerByKindAndClass) {
  const int spline = storeCurve(unevenCubic().clone());
  const int circle = unitCircle();
  EXPECT_EQ(getCurveAs<BSplineCurve>(spline), get_curve_pointer_from_handle(spline));
  EXPECT_TRUE(getCurveAs<ParametricCurve>(spline));
  EXPECT_FALSE(getCurveAs<NurbsCurve>(spline));
  EXPECT_FALSE(getCurveAs<CircleCurve>(spline + 100));
  EXPECT_FALSE(getSurfaceAs<Surface>(spline));
  EXPECT_EQ(get_curve_pointer_from_handle(-1), nullptr);

  {
    const auto view = get_curve_from_handle(spline);
    EXPECT_EQ(view.get(), get_curve_pointer_from_handle(spline));
  }
  EXPECT_EQ(get_curve_type(spline), 4) << "the view did not own the curve";
  const auto converted = get_curve_from_handle(circle);
  ASSERT_TRUE(converted);
  delete_curve(circle);
  EXPECT_NEAR(converted->evaluate(0.3).distanceTo(Point3D::origin()), 1.0, 1e-12);
  EXPECT_FALSE(get_curve_from_handle(circle));
  EXPECT_FALSE(get_curve_from_handle(
      storeCurve(curveOn(std::make_shared<SphereSurface>(Point3D::origin(), 1.0)))))
      << "neither spline nor analytic";
}

TEST_F(Registry, SurfaceLookUpsHandOutViewsOfControlPointSurfaces) {
  constexpr double net[] = {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 1};
  const int bezier = create_surface_bezier(net, 2, 2);
  EXPECT_EQ(get_surface_from_handle(bezier).get(), get_surface_from_registry(bezier));
  EXPECT_TRUE(isValidSurfaceId(bezier)) << "the view did not own the surface";
  EXPECT_FALSE(get_surface_from_handle(sphere()));
  EXPECT_FALSE(get_surface_from_handle(1));
}

TEST_F(Registry, RegisteredObjectsAreCopiesOfTheArgument) {
  const auto curve = std::make_shared<BSplineCurve>(unevenCubic());
  curve->setMatrix(Transform3D::translation({1, 2, 3}));
  const int handle = create_curve_handle(curve);
  ASSERT_GE(handle, 20000);
  EXPECT_EQ(curve_has_pending_transform(handle), 1);
  EXPECT_THAT(getCurveAs<BSplineCurve>(handle)->evaluate(1.0), IsNear(curve->evaluate(1.0), 0.0));
  EXPECT_EQ(create_curve_handle(std::make_shared<BSplineCurve>(unevenCubic())), handle + 1);

  const int reserved = get_next_surface_handle();
  const auto surface = std::make_shared<SphereSurface>(Point3D(1, 0, 0), 2.0);
  registerSurface(reserved, surface);
  surface->applyTransformToGeometry(Transform3D::translation({9, 9, 9}));
  ASSERT_TRUE(getSurfaceAs<SphereSurface>(reserved));
  EXPECT_NEAR(get_surface_from_registry(reserved)->evaluate(0.2, 0.3).distanceTo({1, 0, 0}), 2.0,
              1e-12);
}

TEST_F(Registry, WhatIsKeptBesideASurfaceGoesWithIt) {
  const auto loft = [] {
    const int sections[] = {create_curve_line(0, 0, 0, 1, 0, 0),
                            create_curve_line(0, 1, 0, 1, 1, 1)};
    return create_surface_loft(sections, 2, 1);
  };
  const int deleted = loft(), replaced = loft(), moved = loft(), registered = loft();
  ASSERT_EQ(g_loft_params.size(), 4u);
  delete_surface(deleted);
  printedBy([&] { replace_surface_handle(replaced, moved); });
  EXPECT_THAT(g_loft_params, ElementsAre(testing::Key(registered)));
  registerSurface(registered, std::make_shared<SphereSurface>(Point3D::origin(), 1.0));
  EXPECT_TRUE(g_loft_params.empty());
  loft();
  cleanup_all_surfaces();
  EXPECT_TRUE(g_loft_params.empty());
}

TEST_F(Registry, KernelObjectComesAndGoesWithoutTouchingTheRegistries) {
  line();
  const auto none = printedBy([] { print_kernel_info(); });
  EXPECT_THAT(none.out, AllOf(StartsWith("📋 TROVA Surface & Curve Kernel Information:\n"),
                              HasSubstr("\n  Dependencies: Eigen 3.4.0\n"),
                              HasSubstr("\n  Surface kernel status: ❌ Not initialized\n"),
                              testing::EndsWith("\n  TROVA Curves: 1\n"),
                              testing::Not(HasSubstr("  Surfaces: "))));
  const auto twice = printedBy([] {
    EXPECT_EQ(initialize_kernel(), 1);
    EXPECT_EQ(initialize_kernel(), 1);
  });
  EXPECT_EQ(twice.out,
            "✅ C++ Surface Kernel initialized with TROVA curves\n"
            "✅ C++ Surface Kernel initialized with TROVA curves\n"
            "🧹 C++ Surface Kernel cleaned up\n");
  const auto some = printedBy([] { print_kernel_info(); });
  EXPECT_THAT(some.out, HasSubstr("\n  Surface kernel status: ✅ Initialized\n  Surfaces: 0\n"));
  const auto end = printedBy([] {
    cleanup_kernel();
    cleanup_kernel();
  });
  EXPECT_EQ(end.out, "🧹 C++ Surface Kernel cleaned up\n");
  EXPECT_EQ(get_curve_count(), 1);
}

}  // namespace
}  // namespace morvel_test
