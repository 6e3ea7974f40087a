#include "tests/api/surface_interface.h"

// Splitting, extension, reversal, transposition, elevation, conversion and moved control points.

namespace morvel_test {
namespace {

using testing::Each;
using testing::ElementsAre;
using SurfaceEdit = SurfaceInterface;

/// The two splines are one function where the first's parameters are s and the second's toOther(s).
template <class ToOther>
void expectSameOnStoredKnots(const ReadSpline& a, const ReadSpline& b, ToOther toOther) {
  const auto inside = [](const std::vector<double>& knots, int share) {
    return knots.front() + (knots.back() - knots.front()) * (share + 0.31) / 7.0;
  };
  for (int k = 0; k < 7; ++k) {
    for (int l = 0; l < 7; ++l) {
      const double s = inside(a.u, k), t = inside(a.v, l);
      const auto [u, v] = toOther(s, t);
      EXPECT_THAT(a.at(s, t), IsNear(b.at(u, v), 1e-12)) << s << ", " << t;
    }
  }
}

const auto kSameParameters = [](double s, double t) { return std::pair(s, t); };

TEST_F(SurfaceEdit, SplitOfASplineIsExactOnStoredKnots) {
  const int whole = unevenSpline();
  const ReadSpline before = readSpline(whole);
  int left = 0, right = 0;
  for (const double fraction : {0.1, 0.2, 0.5, 0.999}) {
    ASSERT_EQ(split_surface_at_u(whole, fraction, &left, &right), 2);
    EXPECT_EQ(readSpline(left).u.back(), fraction);
    EXPECT_EQ(readSpline(right).u.front(), fraction);
    expectSameOnStoredKnots(readSpline(left), before, kSameParameters);
    expectSameOnStoredKnots(readSpline(right), before, kSameParameters);

    ASSERT_EQ(split_surface_at_v(whole, fraction, &left, &right), 2);
    EXPECT_NEAR(readSpline(left).v.back(), 1 + 3 * fraction, 1e-15);
    expectSameOnStoredKnots(readSpline(left), before, kSameParameters);
    expectSameOnStoredKnots(readSpline(right), before, kSameParameters);
  }
  EXPECT_EQ(right, left + 1);
}

TEST_F(SurfaceEdit, SplitOfAPatchIsSeenByEvaluation) {
  const int patch = create_surface_bezier(wavyPoints(4, 3).data(), 4, 3);
  int left = 0, right = 0;
  for (const double at : {0.25, 0.8}) {
    ASSERT_EQ(split_surface_at_u(patch, at, &left, &right), 2);
    EXPECT_EQ(get_surface_u_degree(left), 3);
    EXPECT_THAT(pointOf(left, 0.5, 0.3), IsNear(pointOf(patch, at / 2, 0.3), 1e-13));
    EXPECT_THAT(pointOf(right, 0.5, 0.3), IsNear(pointOf(patch, (1 + at) / 2, 0.3), 1e-13));
    ASSERT_EQ(split_surface_at_v(patch, at, &left, &right), 2);
    EXPECT_EQ(get_surface_v_degree(right), 2);
    EXPECT_THAT(pointOf(left, 0.3, 0.5), IsNear(pointOf(patch, 0.3, at / 2), 1e-13));
    EXPECT_THAT(pointOf(right, 0.3, 0.5), IsNear(pointOf(patch, 0.3, (1 + at) / 2), 1e-13));
  }
}

TEST_F(SurfaceEdit, SplitIsRefusedInTheStatedOrder) {
  const int spline = unevenSpline();
  const int patch = bilinearPatch();
  const int plane = unitPlane();
  Guarded<int> out(2);
  int* left = out.data();
  const char* u = "U parameter must be between 0.0 and 1.0";
  const char* v = "V parameter must be between 0.0 and 1.0";
  const char* emptyU = "At this u one half of the surface would be empty";
  const char* emptyV = "At this v one half of the surface would be empty";
  const char* types = "Surface splitting only supported for B-spline and Bezier surfaces";
  expectRefusals({
      {u, -1, [] { return split_surface_at_u(kNoHandle, 1.001, nullptr, nullptr); }},
      {u, -1, [] { return split_surface_at_u(kNoHandle, kNaN, nullptr, nullptr); }},
      {v, -1, [] { return split_surface_at_v(kNoHandle, -1e-9, nullptr, nullptr); }},
      {"Invalid output surface handles", -1,
       [&] { return split_surface_at_u(kNoHandle, 0.5, left, nullptr); }},
      {"Invalid surface handle", -1,
       [&] { return split_surface_at_v(kNoHandle, 0.5, left, left + 1); }},
      {types, -6, [&] { return split_surface_at_u(plane, 0.5, left, left + 1); }},
      {emptyU, -1, [&] { return split_surface_at_u(spline, 0.0, left, left + 1); }},
      {emptyV, -1, [&] { return split_surface_at_v(spline, 1.0, left, left + 1); }},
      {emptyU, -1, [&] { return split_surface_at_u(patch, 1.0, left, left + 1); }},
  });
  EXPECT_TRUE(out.isUntouched());
}

TEST_F(SurfaceEdit, NothingIsStoredWhereTheSecondHalfCannotBe) {
  const int spline = unevenSpline();
  g_next_surface_id = kMany - 1;
  int left = 7, right = 7;
  EXPECT_EQ(split_surface_at_u(spline, 0.5, &left, &right), -4);
  EXPECT_EQ(lastError(), "Handle numbers are used up");
  EXPECT_EQ(get_surfaces_count(), 1);
  EXPECT_EQ(left, 7);
  EXPECT_EQ(right, 7);
}

TEST_F(SurfaceEdit, ExtensionContinuesTheSideWithTheLargestAmount) {
  const int spline = wavyClamped(5, 5, 3, 3);
  struct Side {
    double amounts[4];
    double u, v;            // of the joint on the surface
    double patchU, patchV;  // of the joint on the patch
  };
  const Side sides[] = {{{2, 1, 1, 1}, 0, 0.4, 1, 0.4},
                        {{-3, 2, 1, 2}, 1, 0.4, 0, 0.4},
                        {{0, 0, 0.5, 0}, 0.4, 0, 0.4, 1},
                        {{1, 1, 1, 1.5}, 0.4, 1, 0.4, 0}};
  for (const Side& side : sides) {
    for (const int type : {0, 1, 2}) {
      const double* a = side.amounts;
      const int patch = extend_surface(spline, a[0], a[1], a[2], a[3], type);
      ASSERT_GT(patch, 0) << lastError();
      EXPECT_THAT(pointOf(patch, side.patchU, side.patchV),
                  IsNear(pointOf(spline, side.u, side.v), 1e-12));
      const Point3D there = toPoint(get_surface_normal_at_parameter(spline, side.u, side.v));
      EXPECT_THAT(toPoint(get_surface_normal_at_parameter(patch, side.patchU, side.patchV)),
                  IsNear(there, 1e-9));
    }
  }
}

TEST_F(SurfaceEdit, ExtensionOfOtherTypesIsACopy) {
  const int plane = unitPlane();
  const int copy = extend_surface(plane, 0, 0, 0, 0, 1);
  ASSERT_GT(copy, plane);
  for (const double u : {0.0, 0.7})
    EXPECT_THAT(pointOf(copy, u, 0.3), IsNear(pointOf(plane, u, 0.3), 0.0));
  const int spline = unevenSpline();
  const char* type = "Invalid extension type (0=natural, 1=linear, 2=reflect)";
  const char* amount = "The largest extension amount must be above 0";
  expectRefusals({
      {type, -1, [] { return extend_surface(kNoHandle, kNaN, 0, 0, 0, 3); }},
      {type, -1, [] { return extend_surface(kNoHandle, 1, 0, 0, 0, -1); }},
      {"extend_surface: numbers must be finite", -1,
       [&] { return extend_surface(plane, 1, 0, kInfinity, 0, 0); }},
      {"Invalid surface handle", -1, [] { return extend_surface(kNoHandle, 1, 0, 0, 0, 0); }},
      {amount, -1, [&] { return extend_surface(spline, 0, -1, 0, -0.0, 0); }},
  });
}

TEST_F(SurfaceEdit, ReversalAndTranspositionKeepThePoints) {
  const int spline = unevenSpline();
  const ReadSpline before = readSpline(spline);
  expectSameOnStoredKnots(readSpline(reverse_surface_u(spline)), before,
                          [](double s, double t) { return std::pair(1 - s, t); });
  expectSameOnStoredKnots(readSpline(reverse_surface_v(spline)), before,
                          [](double s, double t) { return std::pair(s, 5 - t); });
  const ReadSpline transposed = readSpline(transpose_bspline_surface(spline));
  EXPECT_EQ(transposed.degreeU, 3);
  EXPECT_EQ(transposed.nV, 5);
  expectSameOnStoredKnots(transposed, before, [](double s, double t) { return std::pair(t, s); });
  for (const int surface : {bilinearPatch(4.0), sampleLoft()}) {
    const int turned = transpose_bspline_surface(surface);
    EXPECT_THAT(pointOf(turned, 0.2, 0.7), IsNear(pointOf(surface, 0.7, 0.2), 1e-9));
  }
  EXPECT_EQ(reverse_surface_v(kNoHandle), -1);
  EXPECT_EQ(lastError(), "Surface not found");
  EXPECT_EQ(transpose_bspline_surface(kNoHandle), -1);
}

TEST_F(SurfaceEdit, ElevationRaisesOneDegreeAndKeepsTheFunction) {
  const int spline = unevenSpline();
  const ReadSpline before = readSpline(spline);
  int raised = 0;
  ASSERT_EQ(elevate_surface_u_degree(spline, 2, &raised), 0);
  EXPECT_EQ(get_surface_u_degree(raised), 4);
  EXPECT_EQ(get_surface_v_degree(raised), 3);
  expectSameOnStoredKnots(readSpline(raised), before, kSameParameters);
  ASSERT_EQ(elevate_surface_v_degree(spline, 1, &raised), 0);
  EXPECT_EQ(get_surface_v_degree(raised), 4);
  expectSameOnStoredKnots(readSpline(raised), before, kSameParameters);

  const int plane = unitPlane();
  const int rational = trova_internal::storeSurface(
      trova::geometry::NurbsSurface::createBilinearPatch({}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}));
  int untouched = 5;
  const auto elevate = [&](int surface, int times) {
    return elevate_surface_u_degree(surface, times, &untouched);
  };
  const char* noBSpline = "result is not a B-spline";
  expectRefusals({
      {"times must be positive", -1,
       [] { return elevate_surface_v_degree(kNoHandle, 0, nullptr); }},
      {"Invalid output surface handle", -1,
       [&] { return elevate_surface_u_degree(spline, 1, nullptr); }},
      {"Invalid surface handle", -1, [&] { return elevate(kNoHandle, 1); }},
      {noBSpline, -6, [&] { return elevate(plane, 1); }},
      {noBSpline, -6, [&] { return elevate(rational, 1); }},
      {"times must leave the degree at 1000 or below", -1, [&] { return elevate(spline, kMany); }},
  });
  EXPECT_EQ(untouched, 5);
}

TEST_F(SurfaceEdit, ConversionsAreCopiesExactFormsOrWithinTolerance) {
  const int line = create_curve_line(2, 0, 0, 2, 0, 3);
  const int other = create_curve_line(0, 5, 0, 0, 5, 3);
  const int spline = unevenSpline();
  expectSameOnStoredKnots(readSpline(convert_surface_to_bspline(spline)), readSpline(spline),
                          kSameParameters);
  const std::pair<int, double> others[] = {{bilinearPatch(4.0), 1e-12},
                                           {unitPlane(), 1e-12},
                                           {sampleLoft(), 1e-9},
                                           {create_surface_ruled(line, other), 1e-12},
                                           {create_surface_sphere(0, 0, 0, 1), 1e-6}};
  for (const auto& [surface, tolerance] : others) {
    for (auto convert : {convert_surface_to_bspline, convert_surface_to_nurbs}) {
      const int converted = convert(surface);
      ASSERT_GT(converted, surface) << lastError();
      char type[32];
      get_surface_info(converted, type, sizeof type);
      EXPECT_STREQ(type, "BSplineSurface");
      for (const double u : {0.0, 0.21, 0.5, 0.83, 1.0})
        EXPECT_THAT(pointOf(converted, u, 1 - u / 2),
                    IsNear(pointOf(surface, u, 1 - u / 2), tolerance));
    }
  }
  EXPECT_EQ(convert_surface_to_bspline(kNoHandle), -1);
  EXPECT_EQ(convert_surface_to_nurbs(kNoHandle), -1);
}

TEST_F(SurfaceEdit, WhatCannotBeConvertedIsMinusSixWithItsText) {
  // A surface as wide as this cannot be met within 1e-6: rounding alone is larger.
  const int sphere = create_surface_sphere(0, 0, 0, 1e12);
  for (auto convert :
       {convert_surface_to_bspline, convert_surface_to_nurbs, transpose_bspline_surface}) {
    EXPECT_EQ(convert(sphere), -6);
    EXPECT_THAT(lastError(), testing::StartsWith("ToNurbs conversion failed to meet tolerance "
                                                 "requirements: achieved "));
    EXPECT_EQ(get_surfaces_count(), 1);
  }
}

TEST_F(SurfaceEdit, ControlPointsMoveInPlace) {
  const int spline = wavyClamped(4, 3, 2, 2);
  const int patch = bilinearPatch();
  const int plane = unitPlane();
  ASSERT_EQ(modify_surface_control_point(spline, 3, 1, 9, 8, 7), 0);
  EXPECT_THAT(readSpline(spline).net[3 * 3 + 1], IsNear(Point3D(9, 8, 7), 0.0));
  ASSERT_EQ(modify_surface_control_point(patch, 1, 0, 9, 8, 7), 0);
  EXPECT_THAT(pointOf(patch, 1, 0), IsNear(Point3D(9, 8, 7), 0.0));
  const auto move = [](int surface, int i, int j, double x = 0.0) {
    return modify_surface_control_point(surface, i, j, x, 0, 0);
  };
  const char* negative = "Control point indices must be non-negative";
  const char* inSpline = "Control point indices out of range for B-spline surface";
  expectRefusals({
      {negative, -1, [&] { return move(kNoHandle, -1, 0, kNaN); }},
      {"modify_surface_control_point: numbers must be finite", -1,
       [&] { return move(spline, 0, 0, kNaN); }},
      {"Invalid surface handle", -1, [&] { return move(kNoHandle, 0, 0); }},
      {inSpline, -1, [&] { return move(spline, 4, 0); }},
      {inSpline, -1, [&] { return move(spline, 0, kMany); }},
      {"Control point indices out of range for Bezier surface", -1,
       [&] { return move(patch, 0, 2); }},
      {"Surface type does not support control point modification", -6,
       [&] { return move(plane, 0, 0); }},
  });
}

}  // namespace
}  // namespace morvel_test
