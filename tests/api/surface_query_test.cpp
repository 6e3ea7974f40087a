#include "tests/api/surface_interface.h"

// What surfaces answer: types, degrees, knots, nets, domains, areas, and their codes.

namespace morvel_test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using SurfaceQuery = SurfaceInterface;

std::string typeOf(int surface) {
  char name[64] = {};
  EXPECT_EQ(get_surface_type(surface, name, sizeof name), 0);
  char again[64] = {};
  EXPECT_EQ(get_surface_type_c(surface, again, sizeof again), 0);
  EXPECT_STREQ(name, again);
  return name;
}

int rationalSurface(double weight) {
  auto surface = trova::geometry::NurbsSurface::createBilinearPatch({0, 0, 0}, {1, 0, 0}, {0, 1, 0},
                                                                    {1, 1, 0});
  surface->setWeight(1, 1, weight);
  return trova_internal::storeSurface(std::move(surface));
}

TEST_F(SurfaceQuery, TypesHaveTheirNames) {
  const int line = create_curve_line(2, 0, 0, 2, 0, 3);
  const int circle = create_curve_circle(0, 0, 0, 1, 0, 0, 1);
  const std::pair<int, const char*> named[] = {
      {unevenSpline(), "bspline_surface"},
      {bilinearPatch(), "bezier_surface"},
      {rationalSurface(2.0), "nurbs_surface"},
      {unitPlane(), "plane_surface"},
      {create_surface_sphere(0, 0, 0, 1), "sphere_surface"},
      {create_surface_cylinder(0, 0, 0, 1, 0, 0, 1, 1), "cylinder_surface"},
      {create_surface_cone(0, 0, 0, 0, 0, 1, 1, 1), "cone_surface"},
      {create_surface_torus(0, 0, 0, 0, 0, 1, 2, 1), "torus_surface"},
      {create_surface_extrude(line, 1, 0, 0, 1), "extrude_surface"},
      {create_surface_revolve_full(line, 0, 0, 0, 0, 0, 1), "revolve_surface"},
      {sampleLoft(), "loft_surface"},
      {create_surface_ruled(line, circle), "ruled_surface"},
      {create_surface_sweep(circle, line), "sweep_surface"},
      {create_surface_pipe(line, 1), "pipe_surface"},
      {FaultyPlane::store(FaultyPlane::kNone, "CoonsPatch"), "coons_patch"},
      {FaultyPlane::store(FaultyPlane::kNone, "ThroughCurveNetworkSurface"), "net_surface"},
      {FaultyPlane::store(FaultyPlane::kNone, "OffsetSurface"), "offset_surface"},
      {FaultyPlane::store(FaultyPlane::kNone, "SomethingElse"), "unknown_surface"},
  };
  for (const auto& [surface, name] : named)
    EXPECT_EQ(typeOf(surface), name);
}

TEST_F(SurfaceQuery, TypeNeedsRoomForItsTerminator) {
  const int plane = unitPlane();
  Guarded<char> name(14);
  expectRefusals({
      {"Invalid output buffer", -1, [] { return get_surface_type(kNoHandle, nullptr, 64); }},
      {"Invalid output buffer", -1, [&] { return get_surface_type(plane, name.data(), 0); }},
      {"Invalid surface handle", -1, [&] { return get_surface_type(kNoHandle, name.data(), 1); }},
      {"Buffer too small for surface type string", -2,
       [&] { return get_surface_type(plane, name.data(), 13); }},
  });
  EXPECT_TRUE(name.isUntouched());
  EXPECT_EQ(get_surface_type(plane, name.data(), 14), 0);
  EXPECT_STREQ(name.data(), "plane_surface");
  EXPECT_TRUE(name.isIntact());
}

TEST_F(SurfaceQuery, InfoIsTheClassNameAndSetsNoText) {
  const int plane = unitPlane();
  Guarded<char> name(13);
  expectRefusals({
      {"", -1, [&] { return get_surface_info(plane, nullptr, 13); }},
      {"", -1, [&] { return get_surface_info(plane, name.data(), -1); }},
      {"", -3, [&] { return get_surface_info(kNoHandle, name.data(), 1); }},
      {"", -1, [&] { return get_surface_info(plane, name.data(), 12); }},
  });
  EXPECT_EQ(get_surface_info(plane, name.data(), 13), 1);
  EXPECT_STREQ(name.data(), "PlaneSurface");
}

TEST_F(SurfaceQuery, SplinesTellDegreesCountsKnotsAndNet) {
  const ReadSpline spline = readSpline(unevenSpline());
  EXPECT_EQ(spline.degreeU, 2);
  EXPECT_EQ(spline.degreeV, 3);
  EXPECT_EQ(spline.nU, 5);
  EXPECT_EQ(spline.nV, 6);
  EXPECT_THAT(spline.u, ElementsAre(0, 0, 0, 0.2, 0.7, 1, 1, 1));
  EXPECT_THAT(spline.v, ElementsAre(1, 1, 1, 1, 2, 2.5, 4, 4, 4, 4));
  EXPECT_THAT(spline.net[3 * 6 + 4], IsNear(Point3D(3, 4, std::sin(11.0)), 0.0));
}

TEST_F(SurfaceQuery, QuestionsAboutDegreesAndPointsHaveTheirCodes) {
  const int plane = unitPlane();
  const int patch = bilinearPatch();
  EXPECT_EQ(get_surface_u_degree(patch), 1);
  EXPECT_EQ(get_surface_v_control_points_count(patch), 2);
  EXPECT_EQ(get_surface_u_knots_count(patch), 0);
  EXPECT_EQ(get_surface_v_knots_count(plane), 0);
  const char* unknown = "Invalid surface handle";
  const char* degree = "Surface type does not have a degree";
  const char* points = "Surface type does not have control points";
  int out = 0;
  expectRefusals({
      {unknown, -3, [] { return get_surface_u_degree(kNoHandle); }},
      {degree, -7, [&] { return get_surface_v_degree(plane); }},
      {unknown, -3, [] { return get_surface_v_control_points_count(kNoHandle); }},
      {points, -7, [&] { return get_surface_u_control_points_count(plane); }},
      {unknown, -3, [] { return get_surface_u_knots_count(-1); }},
      {unknown, -3, [] { return is_surface_rational(kNoHandle); }},
      {"", -1, [&] { return get_surface_degrees_ex(kNoHandle, &out, nullptr); }},
      {"", -3, [&] { return get_surface_degrees_ex(kNoHandle, &out, &out); }},
      {"", -7, [&] { return get_surface_degrees_ex(plane, &out, &out); }},
  });
}

TEST_F(SurfaceQuery, KnotVectorsAreWrittenWholeOrNotAtAll) {
  const int spline = unevenSpline();
  const int plane = unitPlane();
  struct Twin {
    int (*get)(int, double*, int, int*);
    bool hasText;
    std::string name;
    int knots;
  };
  const Twin twins[] = {{get_surface_u_knot_vector, true, "U", 8},
                        {get_surface_v_knot_vector, true, "V", 10},
                        {get_surface_u_knot_vector_ex, false, "U", 8},
                        {get_surface_v_knot_vector_ex, false, "V", 10}};
  for (const Twin& twin : twins) {
    Guarded<double> out(twin.knots);
    int count = 0;
    const auto text = [&](const std::string& words) { return twin.hasText ? words : ""; };
    const std::string null = text("Output buffers cannot be null"),
                      unknown = text("Invalid surface handle"),
                      none = text("Surface type does not have a " + twin.name + " knot vector"),
                      small = text("Buffer too small for " + twin.name + " knot vector");
    expectRefusals({
        {null.c_str(), -1, [&] { return twin.get(kNoHandle, nullptr, 99, &count); }},
        {null.c_str(), -1, [&] { return twin.get(spline, out.data(), 99, nullptr); }},
        {unknown.c_str(), -3, [&] { return twin.get(kNoHandle, out.data(), 99, &count); }},
        {none.c_str(), -7, [&] { return twin.get(plane, out.data(), 99, &count); }},
        {small.c_str(), -2, [&] { return twin.get(spline, out.data(), twin.knots - 1, &count); }},
        {small.c_str(), -2, [&] { return twin.get(spline, out.data(), -1, &count); }},
    });
    EXPECT_TRUE(out.isUntouched());
    EXPECT_EQ(count, twin.knots);
    EXPECT_EQ(twin.get(spline, out.data(), twin.knots, &count), 0);
    EXPECT_TRUE(out.isIntact());
  }
}

TEST_F(SurfaceQuery, ControlPointsNeedRoomForTheWholeNet) {
  const int spline = wavyClamped(3, 2, 1, 1);
  const int plane = unitPlane();
  Guarded<double> out(18);
  int count = 0;
  const char* parameters = "Invalid output parameters";
  const char* small = "Insufficient buffer size for control points";
  const char* unsupported = "Surface type does not support control point access";
  const auto get = [&](int surface, double* buffer, int capacity, int* written) {
    return get_surface_control_points(surface, buffer, capacity, written, nullptr, nullptr);
  };
  expectRefusals({
      {parameters, -1, [&] { return get(kNoHandle, nullptr, 6, &count); }},
      {parameters, -1, [&] { return get(kNoHandle, out.data(), 6, nullptr); }},
      {"Invalid surface handle", -3, [&] { return get(kNoHandle, out.data(), 6, &count); }},
      {unsupported, -6, [&] { return get(plane, out.data(), 6, &count); }},
      {small, -5, [&] { return get(spline, out.data(), 5, &count); }},
      {small, -2, [&] { return get_surface_control_points_ex(spline, out.data(), 5, &count); }},
  });
  EXPECT_EQ(count, 6);
  EXPECT_TRUE(out.isUntouched());
  EXPECT_EQ(get(spline, out.data(), 6, &count), 0);
  EXPECT_TRUE(out.isIntact());
  EXPECT_EQ(std::vector<double>(out.data(), out.data() + 18), wavyPoints(3, 2));
  EXPECT_EQ(get_surface_control_points_ex(spline, out.data(), 6, &count), 0);
}

TEST_F(SurfaceQuery, LoftShowsTheNetOfItsSplineForm) {
  const int loft = sampleLoft();
  Guarded<double> out(27);
  int count = 0, nU = 0, nV = 0;
  const auto get = [&](int capacity) {
    return get_surface_control_points(loft, out.data(), capacity, &count, &nU, &nV);
  };
  expectRefusals({{"Insufficient buffer size for rebuilt loft surface control points", -5,
                   [&] { return get(8); }}});
  ASSERT_EQ(get(9), 0);
  EXPECT_EQ(count, 9);
  EXPECT_EQ(get_surfaces_count(), 1);
  // Quadratic both ways: the middle section lies at v = 1/2, so its column is 2 M - (A + B) / 2.
  EXPECT_THAT(toPoint(out.data() + 3 * (1 * nV + 1)), IsNear(Point3D(1, 1, 2), 1e-9));
}

TEST_F(SurfaceQuery, OnlyDifferingWeightsAreRational) {
  EXPECT_EQ(is_surface_rational(rationalSurface(2.0)), 1);
  EXPECT_EQ(is_surface_rational(rationalSurface(1.0)), 0);
  EXPECT_EQ(is_surface_rational(unitPlane()), 0);
}

TEST_F(SurfaceQuery, DomainIsTheUnitSquareWhateverTheKnots) {
  const int spline = unevenSpline();
  double uMin = -1, uMax = -1, vMin = -1, vMax = -1;
  ASSERT_EQ(get_surface_parameter_domain(spline, &uMin, &uMax, &vMin, &vMax), 0);
  EXPECT_THAT((std::vector<double>{uMin, uMax, vMin, vMax}), ElementsAre(0, 1, 0, 1));
  EXPECT_EQ(get_surface_parameter_ranges(spline, &uMin, &uMax, &vMin, &vMax), 1);
  const char* outputs = "Invalid output parameters";
  const char* unknown = "Invalid surface handle";
  expectRefusals({
      {outputs, -1,
       [&] { return get_surface_parameter_domain(kNoHandle, &uMin, nullptr, &vMin, &vMax); }},
      {unknown, -3,
       [&] { return get_surface_parameter_domain(kNoHandle, &uMin, &uMax, &vMin, &vMax); }},
      {outputs, 0,
       [&] { return get_surface_parameter_ranges(spline, &uMin, &uMax, &vMin, nullptr); }},
      {unknown, 0,
       [&] { return get_surface_parameter_ranges(kNoHandle, &uMin, &uMax, &vMin, &vMax); }},
  });
}

TEST_F(SurfaceQuery, AreaIsThatOfATwentyByTwentyPolyhedron) {
  EXPECT_NEAR(get_surface_area(bilinearPatch(), 1e-3), 6.0, 1e-13);
  // Around a cylinder of radius 1 and height 2 stand 19 flat strips.
  const double strips = 19 * 2 * std::sin(kPi / 19) * 2;
  const int cylinder = create_surface_cylinder(0, 0, 0, 1, 0, 0, 1, 2);
  for (const double tolerance : {1e-9, 10.0, kNaN})
    EXPECT_NEAR(get_surface_area(cylinder, tolerance), strips, 1e-12);
  EXPECT_EQ(get_surface_area(kNoHandle, 1e-3), -1.0);
  EXPECT_EQ(lastError(), "Invalid surface handle");
  EXPECT_EQ(get_surface_area(FaultyPlane::store(FaultyPlane::kNotANumber), 1e-3), -4.0);
}

}  // namespace
}  // namespace morvel_test
