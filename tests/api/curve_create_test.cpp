#include <algorithm>
#include <array>
#include <functional>

#include "tests/api/curve_interface.h"
#include "tests/foundation/basis_oracle.h"

namespace morvel_test {
namespace {

using CurveCreate = CurveInterface;

constexpr double kPoints[] = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 0};
constexpr double kKnots[] = {0, 0, 0, 0, 1, 1, 1, 1};
constexpr double kWeights[] = {1, 2, 2, 1};

TEST_F(CurveCreate, LineRunsFromItsStartToItsEnd) {
  const int handle = line();
  EXPECT_THAT(curvePoint(handle, 0.5), IsNear(Point3D(1.5, 2, 0), 0.0));
}

TEST_F(CurveCreate, CircleLiesAboutItsNormalAndStartsAcrossIt) {
  struct Case {
    Vector3D normal, unit, start;
  };
  const double h = std::sqrt(0.5);
  // The start is normal x X, or normal x Y where the normal is close to X.
  for (const auto& [normal, unit, start] :
       {Case{{0, 0, 5}, {0, 0, 1}, {0, 1, 0}}, Case{{0, 0, 0}, {0, 0, 1}, {0, 1, 0}},
        Case{{9e-5, 0, 0}, {0, 0, 1}, {0, 1, 0}}, Case{{2, 0, 0}, {1, 0, 0}, {0, 0, 1}},
        Case{{1, 1, 0}, {h, h, 0}, {0, 0, -1}}, Case{{0, 1e200, 0}, {0, 1, 0}, {0, 0, -1}}}) {
    const int circle = create_curve_circle(1, 2, 3, 2, normal.x(), normal.y(), normal.z());
    ASSERT_GT(circle, 0) << lastError();
    EXPECT_THAT(curvePoint(circle, 0.0), IsNear(Point3D(1, 2, 3) + 2.0 * start, 1e-12));
    EXPECT_THAT(curvePoint(circle, 0.25),
                IsNear(Point3D(1, 2, 3) + 2.0 * unit.cross(start), 1e-12));
    EXPECT_THAT(curvePoint(circle, 1.0), IsNear(curvePoint(circle, 0.0), 1e-12));
  }
}

TEST_F(CurveCreate, ArcsRunWhereTheirDataSay) {
  const int byAngles = create_arc(0, 0, 0, 2, 0, 0, 1, kPi / 2, -kPi / 2);
  EXPECT_THAT(curvePoint(byAngles, 0.0), IsNear(Point3D(-2, 0, 0), 1e-12));
  EXPECT_THAT(curvePoint(byAngles, 0.5), IsNear(Point3D(0, 2, 0), 1e-12));
  EXPECT_THAT(curvePoint(byAngles, 1.0), IsNear(Point3D(2, 0, 0), 1e-12));
  EXPECT_GT(create_arc(0, 0, 0, 2, 0, 0, 1, 1, 1 + 2 * kPi), 0);

  constexpr double a[] = {5, 2, 0}, b[] = {2, 5, 0}, c[] = {-1, 2, 0};
  const int byPoints = create_arc_three_points(a, b, c);
  EXPECT_THAT(curvePoint(byPoints, 0.0), IsNear(Point3D(5, 2, 0), 1e-12));
  EXPECT_THAT(curvePoint(byPoints, 0.5), IsNear(Point3D(2, 5, 0), 1e-12));
  EXPECT_THAT(curvePoint(byPoints, 1.0), IsNear(Point3D(-1, 2, 0), 1e-12));
}

TEST_F(CurveCreate, ArcAboutACenterTurnsByTheRightHandRule) {
  constexpr double center[] = {1, 1, 1}, start[] = {1, 1.5, 1}, up[] = {0, 0, 3},
                   down[] = {0, 5, -2};
  struct Case {
    const double* normal;
    Vector3D end;
    double turn;
  };
  for (const auto& [normal, end, turn] :
       {Case{up, {-9, 0, 0}, kPi / 2}, Case{down, {-9, 0, 0}, 3 * kPi / 2},
        Case{up, {3, 0, 7}, 3 * kPi / 2}, Case{up, {0, 2, 0}, 2 * kPi},
        Case{up, {0, -2, 1}, kPi}}) {
    const double at[] = {1 + end.x(), 1 + end.y(), 1 + end.z()};
    const int arc = create_arc_center_start_end(center, start, at, normal);
    ASSERT_GT(arc, 0) << lastError();
    double length = 0;
    EXPECT_EQ(evaluate_curve_length(arc, 0, 1, &length), 0);
    EXPECT_NEAR(length, 0.5 * turn, 1e-8);
    EXPECT_THAT(curvePoint(arc, 0.0), IsNear(Point3D(1, 1.5, 1), 1e-12));
    const Vector3D flat(end.x(), end.y(), 0);
    EXPECT_THAT(curvePoint(arc, 1.0),
                IsNear(Point3D(1, 1, 1) + flat / flat.magnitude() * 0.5, 1e-9));
  }
}

TEST_F(CurveCreate, EllipseIsParameterisedByItsAngles) {
  constexpr double center[] = {1, 2, 3}, major[] = {0, 7, 0}, normal[] = {0, 0, 1};
  const int ellipse = create_ellipse_enhanced(center, major, normal, 3, 1.5, 0, 2 * kPi);
  for (const double w : {0.0, 0.4, 2.0, 5.5})
    EXPECT_THAT(curvePoint(ellipse, w),
                IsNear(Point3D(1 - 1.5 * std::sin(w), 2 + 3 * std::cos(w), 3), 1e-12));
}

TEST_F(CurveCreate, SplinesAreTheSumOfTheirBasisFunctions) {
  constexpr double points[] = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 0, 6, 1, -2};
  constexpr double uneven[] = {-1, -1, -1, 0.5, 0.5, 2, 2, 2};
  constexpr double weights[] = {1, 0.5, 2, 3, 1};
  const std::vector<double> thirds = {0, 0, 0, 1.0 / 3, 2.0 / 3, 1, 1, 1};
  const std::vector<double> knots(std::begin(uneven), std::end(uneven));
  const double ones[] = {1, 1, 1, 1, 1};
  struct Case {
    int handle;
    const std::vector<double>& knots;
    const double* weights;
  };
  for (const auto& [handle, U, w] :
       {Case{create_curve_bspline_clamped(points, 5, 2), thirds, ones},
        Case{create_curve_bspline_uniform(points, 5, 2), thirds, ones},
        Case{create_curve_bspline(points, 5, uneven, 8, 2), knots, ones},
        Case{create_curve_nurbs(points, 5, weights, uneven, 8, 2), knots, weights}}) {
    for (const double share : {0.1, 0.35, 0.5, 0.9}) {
      const double u = U.front() + share * (U.back() - U.front());
      Point3D sum;
      double total = 0;
      for (int i = 0; i < 5; ++i) {
        const double factor = w[i] * double(oracleBasis(i, 2, u, U));
        sum += Point3D(points[3 * i], points[3 * i + 1], points[3 * i + 2]) * factor;
        total += factor;
      }
      EXPECT_THAT(curvePoint(handle, u), IsNear(sum / total, 1e-12));
    }
  }
}

TEST_F(CurveCreate, DemonstrationCurvesAreValid) {
  const int spline = create_curve_bspline_simple();
  EXPECT_EQ(get_curve_type(spline), 4);
  EXPECT_EQ(get_curve_degree(spline), 2);
  double out[15];
  EXPECT_EQ(get_control_points(spline, out, 5), 5);
  EXPECT_EQ(is_curve_valid(spline), 1);
  EXPECT_EQ(get_curve_type(create_curve_bezier_simple()), 3);
}

TEST_F(CurveCreate, CirclesAndArcsRefuseBadNumbers) {
  constexpr double o[] = {0, 0, 0}, x[] = {1, 0, 0}, xx[] = {2, 0, 0}, bad[] = {kNaN, 0, 0};
  std::vector<Refusal> refusals = {
      {-1, "finite", [] { return create_curve_line(0, 0, 0, 0, 0, kNaN); }},
      {-1, "finite", [] { return create_curve_circle(0, 0, 0, kInfinity, 0, 0, 1); }},
      {-1, "finite", [] { return create_curve_circle(0, 0, 0, 1, 0, kInfinity, 1); }},
      {-1, "differ", [] { return create_arc(0, 0, 0, 1, 0, 0, 1, 2, 2); }},
      {-1, "2 pi", [] { return create_arc(0, 0, 0, 1, 0, 0, 1, 0, 6.3); }},
      {-1, "null", [&] { return create_arc_three_points(o, nullptr, x); }},
      {-1, "finite", [&] { return create_arc_three_points(o, bad, x); }},
      {-4, "line", [&] { return create_arc_three_points(o, x, xx); }},
      {-4, "start", [&] { return create_arc_center_start_end(o, o, x, o); }},
      {-4, "start", [&] { return create_arc_center_start_end(o, x, xx, x); }},
      {-4, "end", [&] { return create_arc_center_start_end(o, x, o, o); }},
      {-1, "semi-axes", [&] { return create_ellipse_enhanced(o, x, o, 1, -1, 0, 1); }},
      {-1, "differ", [&] { return create_ellipse_enhanced(o, x, o, 2, 1, 1, 1); }},
      {-4, "direction", [&] { return create_ellipse_enhanced(o, o, x, 2, 1, 0, 1); }},
  };
  const std::string positive = "Radius must be positive";
  for (const double radius : {0.0, -1.0, kNaN, -kInfinity}) {
    refusals.push_back(
        {-1, positive, [=] { return create_curve_circle(0, 0, 0, radius, 0, 0, 1); }});
    refusals.push_back({-1, positive, [=] { return create_arc(0, 0, 0, radius, 0, 0, 1, 0, 1); }});
  }
  expectRefusals(refusals);
}

TEST_F(CurveCreate, SimpleMakersRefuseBadPoints) {
  constexpr double bad[] = {0, 0, 0, 1, kInfinity, 0, 2, 0, 0};
  const std::string few = "Need at least 2 control points for Bezier curve";
  std::vector<Refusal> refusals = {
      {-2, few, [] { return create_curve_bezier(nullptr, 4); }},
      {-2, few, [] { return create_curve_bezier(kPoints, 1); }},
      {-2, few, [] { return create_curve_bezier(kPoints, -kLargestInt - 1); }},
      {-1, "finite", [&] { return create_curve_bezier(bad, 3); }},
      {-1, "count", [] { return create_curve_bezier(kPoints, kLargestInt); }},
  };
  for (const auto make : {create_curve_bspline_clamped, create_curve_bspline_uniform}) {
    const std::string insufficient = "Insufficient control points for B-spline degree";
    refusals.insert(refusals.end(),
                    {{-2, insufficient, [=] { return make(kPoints, 3, 3); }},
                     {-2, insufficient, [=] { return make(kPoints, -5, 3); }},
                     {-2, insufficient, [=] { return make(kPoints, 4, kLargestInt); }},
                     {-1, "null", [=] { return make(nullptr, 4, 3); }},
                     {-1, "degree", [=] { return make(kPoints, 4, 0); }},
                     {-1, "count", [=] { return make(kPoints, kLargestInt, 3); }},
                     {-1, "finite", [=, &bad] { return make(bad, 3, 2); }}});
  }
  expectRefusals(refusals);
}

// Which of several faults is named follows from the order of the checks.
TEST_F(CurveCreate, SplinesRefuseInTheFixedOrder) {
  constexpr double down[] = {0, 0, 0, 0, 1, 0.5, 1, 1}, nan[] = {0, 0, 0, kNaN, 1, 1, 1, 1};
  constexpr double wild[] = {0, 0, 0, 1, kNaN, 0, 3, 2, 1, 4, 0, 0};
  constexpr double w0[] = {1, 0, 1, 1}, wNan[] = {1, 1, kNaN, 1}, wBig[] = {1, 1, 1, kInfinity};
  const auto nurbs = [](const double* p, int n, const double* U, int m, int degree) {
    return create_curve_nurbs(p, n, kWeights, U, m, degree);
  };
  struct Maker {
    std::string name, creation;
    std::function<int(const double*, int, const double*, int, int)> make;
  };
  std::vector<Refusal> refusals;
  for (const auto& [name, creation, make] :
       {Maker{"B-spline curve", "B-spline creation failed: ", create_curve_bspline},
        Maker{"NURBS curve", "NURBS curve creation failed: ", nurbs}}) {
    const std::string input = "Invalid input parameters for " + name;
    const std::string count = "Invalid knot vector size for " + name;
    const std::string order = "Knot vector must be non-decreasing";
    const auto refuse = [&](int code, const std::string& text, const double* p, int n,
                            const double* U, int m, int degree) {
      refusals.push_back({code, text, [=, make = make] { return make(p, n, U, m, degree); }});
    };
    refuse(-1, input, nullptr, 4, kKnots, 8, 3);
    refuse(-1, input, kPoints, 4, nullptr, 8, 3);
    refuse(-1, input, kPoints, 1, kKnots, 7, 3);
    refuse(-1, input, kPoints, 4, kKnots, 0, 3);
    refuse(-1, input, kPoints, 4, kKnots, 8, 0);
    refuse(-1, count, kPoints, 4, kKnots, 7, 3);
    refuse(-1, count, kPoints, kLargestInt, kKnots, 8, 3);
    refuse(-1, count, kPoints, kLargestInt, kKnots, 8, kLargestInt);
    refuse(-1, "count", kPoints, kLargestInt - 4, kKnots, kLargestInt, 3);
    refuse(-1, count, wild, 4, down, 7, 3);
    refuse(-1, "finite", wild, 4, down, 8, 3);
    refuse(-1, "finite", kPoints, 4, nan, 8, 3);
    refuse(-1, order, kPoints, 4, down, 8, 3);
    refuse(-4, creation + "Insufficient", kPoints, 3, kKnots, 8, 4);
  }
  const std::string positive = "NURBS weights must be positive";
  const auto weigh = [](const double* w, const double* U) {
    return [=] { return create_curve_nurbs(kPoints, 4, w, U, 8, 3); };
  };
  refusals.push_back({-1, "Invalid input parameters for NURBS curve", weigh(nullptr, kKnots)});
  refusals.push_back({-1, positive, weigh(w0, kKnots)});
  refusals.push_back({-1, positive, weigh(wNan, kKnots)});
  refusals.push_back({-1, "finite", weigh(wBig, kKnots)});
  refusals.push_back({-1, "Knot vector must be non-decreasing", weigh(w0, down)});
  expectRefusals(refusals);
}

}  // namespace
}  // namespace morvel_test
