#include <functional>

#include "tests/api/curve_interface.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;
using CurveQuery = CurveInterface;

std::string infoOf(int curve) {
  char text[200];
  EXPECT_GE(get_curve_info(curve, text, sizeof text), 0);
  return text;
}

// A curve of a class that the kernel does not know, and that fails where it is asked.
class FaultyCurve : public LineCurve {
 public:
  FaultyCurve() : LineCurve({0, 0, 0}, {1, 0, 0}) {}
  std::string getTypeIdentifier() const override { throw 42; }
  bool isValid() const override { throw std::runtime_error("cannot tell"); }
};

int faulty() { return trova_internal::storeCurve(std::make_unique<FaultyCurve>()); }

TEST_F(CurveQuery, TypesHaveFixedNumbers) {
  std::vector<int> codes;
  for (const int handle : everyType())
    codes.push_back(get_curve_type(handle));
  EXPECT_THAT(codes, ElementsAre(1, 2, 2, 6, 6, 3, 5, 4, 7, 8));
}

TEST_F(CurveQuery, DegreesBelongToControlPointCurvesOnly) {
  EXPECT_EQ(get_curve_degree(bezier()), 3);
  EXPECT_EQ(get_curve_degree(store(quarterCircle())), 2);
  expectRefusals(
      {{-7, "Curve type does not have a degree", [h = line()] { return get_curve_degree(h); }},
       {-3, "Invalid curve handle", [] { return get_curve_degree(1); }}});
}

TEST_F(CurveQuery, ControlPointsAreCutToTheRoom) {
  const int handle = bezier(), straight = line();
  for (const auto read : {get_control_points, get_curve_control_points}) {
    Guarded<double> all(12), two(6);
    EXPECT_EQ(read(handle, all.data(), 4), 4);
    EXPECT_EQ(all[7], 2);
    EXPECT_TRUE(all.isIntact());
    EXPECT_EQ(read(handle, two.data(), 2), 2);
    EXPECT_EQ(two[4], 2);
    EXPECT_TRUE(two.isIntact());
    EXPECT_EQ(read(handle, all.data(), kLargestInt), 4);
    EXPECT_TRUE(all.isIntact());
    expectRefusals(
        {{-1, "null", [&] { return read(handle, nullptr, 4); }},
         {-1, "maxPoints", [&] { return read(handle, all.data(), 0); }},
         {-1, "maxPoints", [&] { return read(1, all.data(), -1); }},
         {-3, "1", [&] { return read(1, all.data(), 4); }},
         {-1, "Curve is not parametric", [&] { return read(straight, all.data(), 4); }}});
  }
}

TEST_F(CurveQuery, ValidityIsTheCurvesOwn) {
  EXPECT_EQ(is_curve_valid(line()), 1);
  EXPECT_EQ(is_curve_valid(create_curve_line(0, 0, 0, 0, 0, 1e-5)), 0);
  expectRefusals({{-3, "is_curve_valid", [] { return is_curve_valid(40000); }},
                  {-3, "get_curve_type", [] { return get_curve_type(-1); }},
                  {-4, "cannot tell", [h = faulty()] { return is_curve_valid(h); }}});
}

TEST_F(CurveQuery, PointCountIsFixed) {
  for (const int handle : everyType())
    EXPECT_EQ(get_curve_point_count(handle), 100);
  EXPECT_EQ(get_curve_point_count(1), 0);
}

TEST_F(CurveQuery, InfoIsOneLine) {
  EXPECT_EQ(infoOf(store(unevenCubic())),
            "BSplineCurve: degree 3, 7 control points, parameters -1 to 4, open");
  EXPECT_EQ(infoOf(unitCircle()), "CircleCurve: parameters 0 to 1, closed");
  EXPECT_EQ(infoOf(1), "Not Found");
  EXPECT_EQ(infoOf(faulty()), "Error") << "something that is no exception was thrown";
  char text[200] = "#########";
  EXPECT_EQ(get_curve_info(1, text, 4), 3);
  EXPECT_STREQ(text, "Not");
  EXPECT_EQ(get_curve_info(1, nullptr, 4), -1);
  EXPECT_EQ(get_curve_info(1, text, 0), -1);
  EXPECT_STREQ(text, "Not");
}

TEST_F(CurveQuery, ConicsTellTheirData) {
  double center[3], axis[3], normal[3], radius = 0, start = 0, end = 0, length = 0, a = 0, b = 0;
  const int arc = create_arc(1, 2, 3, 2, 0, 3, 4, 0.5, -1.5);
  EXPECT_EQ(get_circle_parameters(arc, center, normal, &radius), 0);
  EXPECT_THAT(center, ElementsAre(1, 2, 3));
  EXPECT_THAT(normal, ElementsAre(0, testing::DoubleEq(0.6), testing::DoubleEq(0.8)));
  EXPECT_EQ(radius, 2);
  EXPECT_EQ(get_arc_properties(arc, center, normal, &radius, &start, &end, &length), 0);
  EXPECT_EQ(start, 0.5);
  EXPECT_EQ(end, -1.5);
  EXPECT_NEAR(length, 4.0, 1e-8);
  const int ellipse = store(halfEllipse()), straight = line();
  EXPECT_EQ(get_ellipse_properties(ellipse, center, axis, normal, &a, &b, &start, &end), 0);
  EXPECT_THAT(axis, ElementsAre(testing::DoubleEq(0.6), testing::DoubleEq(0.8), 0));
  EXPECT_THAT((std::vector{a, b, start, end}), ElementsAre(3, 1, 0.5, 0.5 + kPi));

  expectRefusals(
      {{-6, "circle", [&] { return get_circle_parameters(straight, center, normal, &radius); }},
       {-6, "ellipse",
        [&] { return get_ellipse_properties(arc, center, axis, normal, &a, &b, &start, &end); }}});
}

}  // namespace
}  // namespace morvel_test
