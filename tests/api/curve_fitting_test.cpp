#include <functional>

#include "tests/api/curve_interface.h"
#include "tests/support/curve_probes.h"

namespace {

using namespace morvel_test;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Fit = int (*)(const double*, int, int);
constexpr Fit kFits[] = {fit_bspline_curve_simple, fit_bspline_curve_with_line_projection,
                         fit_bspline_curve_adaptive_parameterization, interpolate_bspline_curve};

// One coil of a helix, flat for pitch 0.
std::vector<double> coil(int count, double pitch, double share = 1.0) {
  std::vector<double> points;
  for (int i = 0; i < count; ++i) {
    const double t = 2.0 * std::numbers::pi * share * i / count;
    points.insert(points.end(), {std::cos(t), std::sin(t), pitch * t});
  }
  return points;
}

class CurveFitting : public CurveInterface {};

TEST_F(CurveFitting, EveryFunctionGivesACurveNearItsPoints) {
  const std::vector<double> points = coil(80, 0.2, 0.4);
  for (const Fit fit : kFits) {
    int curve = -1;
    printedBy([&] { curve = fit(points.data(), 80, 3); });
    ASSERT_GE(curve, 20000) << lastError();
    EXPECT_EQ(get_curve_type(curve), 4);
    for (std::size_t i = 0; i < points.size(); i += 30) {
      const Point3D point(points[i], points[i + 1], points[i + 2]);
      EXPECT_LT(sampledDistance(*get_curve_pointer_from_handle(curve), point), 1e-3);
    }
  }
  const double segment[] = {0, 0, 0, 2, 4, 6};
  int curve = -1;
  printedBy([&] { curve = fit_bspline_curve_simple(segment, 2, 1); });
  EXPECT_THAT(curvePoint(curve, 0.25), IsNear(Point3D(0.5, 1, 1.5), 1e-12));
}

TEST_F(CurveFitting, RefusalsNameTheirReasonInTheLastErrorAndAloud) {
  const std::vector<double> good = coil(8, 0.2);
  std::vector<double> broken = good, repeated = good;
  broken[4] = kNaN;
  std::copy_n(good.begin(), 3, repeated.begin() + 3);
  const double* p = good.data();
  struct Case {
    std::string text;
    Call call;
  };
  std::vector<Case> cases;
  for (const Fit fit : kFits) {
    cases.push_back({"Invalid input: need at least 2 points", [=] { return fit(nullptr, 8, 3); }});
    cases.push_back({"Invalid input: need at least 2 points", [=] { return fit(p, 1, 1); }});
    cases.push_back({"Invalid input: need at least 2 points", [=] { return fit(p, -9, 1); }});
    for (const int degree : {0, -3, 8})
      cases.push_back(
          {"Invalid degree: must be 1 <= degree < num_points", [=] { return fit(p, 8, degree); }});
    cases.push_back({"Coordinates must be finite", [&, fit] { return fit(broken.data(), 8, 3); }});
  }
  cases.push_back({"Engine 1 failed to create curve",
                   [&] { return fit_bspline_curve_simple(repeated.data(), 8, 3); }});
  cases.push_back(
      {"Engine 2 failed to create curve: Duplicate consecutive points detected at "
       "indices 0 and 1 - interpolation matrix would be singular",
       [&] { return interpolate_bspline_curve(repeated.data(), 8, 3); }});
  cases.push_back({"Invalid input: need at least 2 constraint points total",
                   [=] { return fit_constrained_bspline_curve(p, 1, nullptr, 5, 1); }});
  for (const int degree : {0, 6})
    cases.push_back({"Invalid degree: must be 1-5",
                     [=] { return fit_constrained_bspline_curve(p, 8, nullptr, 0, degree); }});
  cases.push_back({"Invalid degree: must be less than total number of points",
                   [=] { return fit_constrained_bspline_curve(p, 2, p + 6, 1, 3); }});
  cases.push_back(
      {"Engine 3 failed to create curve: Duplicate constraint points detected at "
       "indices 0 and 2",
       [=] { return fit_constrained_bspline_curve(p, 2, p, 3, 3); }});
  const double beyond[] = {0, 0.5, 1.1};
  cases.push_back({"Invalid parameters: must be from 0 to 1, one for each point", [=] {
                     return fit_constrained_bspline_curve_at_parameters(p, beyond, 3, nullptr,
                                                                        nullptr, 0, 2, 0);
                   }});
  for (const Case& each : cases) {
    const int next = g_next_curve_id;
    int result = 0;
    const Printed printed = printedBy([&] { result = each.call(); });
    EXPECT_EQ(result, -1) << each.text;
    EXPECT_EQ(lastError(), each.text);
    EXPECT_THAT(printed.err, StartsWith("❌ ")) << each.text;
    EXPECT_EQ(g_next_curve_id, next);
  }
  EXPECT_THAT(printedBy(cases.front().call).err, "❌ Invalid input: need at least 2 points\n");
}

TEST_F(CurveFitting, FallsBackStepByStep) {
  std::vector<double> points = coil(5, 0.2);
  std::copy_n(points.begin() + 3, 3, points.begin() + 6);  // four different points
  points[12] = points[3], points[13] = points[4], points[14] = points[5];
  int curve = 0;
  const Printed printed = printedBy(
      [&] { curve = fit_bspline_curve_adaptive_parameterization(coil(3, 0.5).data(), 3, 2); });
  EXPECT_GE(curve, 20000);
  EXPECT_THAT(printed.err,
              "❌ Insufficient unique points after filtering (3 < 4)\n"
              "❌ Insufficient unique points after filtering (3 < 4)\n");
  const std::size_t first = printed.out.find("🔄 Fallback to LINE_PROJECTION method...\n");
  const std::size_t second = printed.out.find("🔄 Fallback to original method...\n");
  EXPECT_LT(first, second);
  EXPECT_NE(second, std::string::npos);
  const Printed filtered =
      printedBy([&] { curve = fit_bspline_curve_with_line_projection(points.data(), 5, 2); });
  EXPECT_GE(curve, -1);
  EXPECT_THAT(filtered.out, StartsWith("   📊 Original points: 5\n   📊 Filtered points: 4\n"
                                       "   📊 Removed 1 duplicate points\n"));
}

TEST_F(CurveFitting, CircleAndHelixGoTheirOwnWays) {
  const auto said = [](const std::vector<double>& points) {
    return printedBy([&] {
             fit_bspline_curve_adaptive_parameterization(points.data(), int(points.size() / 3), 3);
           })
        .out;
  };
  EXPECT_THAT(said(coil(60, 0.0)), HasSubstr("Using CIRCULAR_ARC parameterization"));
  EXPECT_THAT(said(coil(60, 0.3)), HasSubstr("Using CENTRIPETAL parameterization"));
}

TEST_F(CurveFitting, InterpolationIsVerifiedPointByPoint) {
  const double points[] = {0, 0, 0, 1, 1, 0, 2, 0, 0};
  const Printed printed = printedBy([&] { interpolate_bspline_curve(points, 3, 2); });
  EXPECT_THAT(printed.out, HasSubstr("🔍 INTERPOLATION VERIFICATION:\n   Point[0] distance: 0 ✅\n"));
  EXPECT_THAT(printed.out,
              EndsWith("✅ Interpolation verified - curve passes through all points\n"));
  EXPECT_THAT(printed.out, Not(HasSubstr("EXCEEDS")));
}

TEST_F(CurveFitting, ConstrainedCurvesPassThroughTheirFirstKind) {
  const std::vector<double> through = {0, 0, 0, 1, 5, 0, 2, 0, 0};
  const std::vector<double> near = {3, -4, 1, 4, -1, 1, 5, 6, 1};
  int curve = -1;
  const Printed printed = printedBy(
      [&] { curve = fit_constrained_bspline_curve(through.data(), 3, near.data(), 3, 3); });
  ASSERT_GE(curve, 20000) << lastError();
  for (int i = 0; i < 3; ++i)  // by x, from 0 to 5
    EXPECT_THAT(curvePoint(curve, 0.2 * i),
                IsNear(Point3D(through[3 * i], through[3 * i + 1], 0), 1e-9));
  EXPECT_THAT(printed.out, HasSubstr("X-monotonic=YES"));
  EXPECT_THAT(printed.out, HasSubstr("  Interp[2] error: "));
  EXPECT_THAT(printed.out, HasSubstr("✅ Max interpolation error: "));

  const double ends[] = {0, 1}, between[] = {0.25, 0.5, 0.75};
  printedBy([&] {
    curve = fit_constrained_bspline_curve_at_parameters(through.data(), ends, 2, near.data(),
                                                        between, 3, 2, 4);
  });
  ASSERT_GE(curve, 20000) << lastError();
  EXPECT_THAT(curvePoint(curve, 1.0), IsNear(Point3D(1, 5, 0), 1e-9));
  double controls[15];
  EXPECT_EQ(get_control_points(curve, controls, 5), 4);
}

}  // namespace
