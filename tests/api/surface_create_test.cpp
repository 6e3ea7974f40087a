#include "tests/api/surface_interface.h"

// Making surfaces: orders of the nets, closed forms, refusals and their order, records.

namespace morvel_test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using trova::foundation::BoundingBox;

using SurfaceCreate = SurfaceInterface;

const double kUKnots[] = {0, 0, 0, 1, 1, 1};
const double kVKnots[] = {0, 0, 1, 1};

double distanceToZAxis(const Point3D& p) { return std::hypot(p.x(), p.y()); }

/// Calls `visit` with points on a 9 x 9 grid.
template <class Visit>
void forGrid(int surface, Visit visit) {
  for (int a = 0; a <= 8; ++a)
    for (int b = 0; b <= 8; ++b)
      visit(a / 8.0, b / 8.0, pointOf(surface, a / 8.0, b / 8.0));
}

TEST_F(SurfaceCreate, EachMakerKeepsItsOwnOrderOfTheNet) {
  std::vector<double> given;
  for (int k = 0; k < 18; ++k)
    given.push_back(k);
  const double* p = given.data();
  const int uOuter[] = {create_bspline_surface(p, 3, 2, 2, 1, kUKnots, 6, kVKnots, 4),
                        create_surface_bspline_clamped(p, 3, 2, 2, 1)};
  const int vOuter[] = {create_surface_bspline(p, 3, 2, kUKnots, 6, kVKnots, 4, 2, 1),
                        create_surface_bezier(p, 3, 2)};
  std::vector<double> read(18);
  int count = 0, nU = 0, nV = 0;
  for (const int surface : uOuter) {
    ASSERT_EQ(get_surface_control_points(surface, read.data(), 6, &count, &nU, &nV), 0);
    EXPECT_THAT(read, ElementsAreArray(given));
  }
  for (const int surface : vOuter) {
    ASSERT_EQ(get_surface_control_points(surface, read.data(), 6, &count, &nU, &nV), 0);
    EXPECT_THAT(std::make_pair(nU, nV), testing::Pair(3, 2));
    // Point (i, j) was given at j 3 + i, and is read at i 2 + j.
    EXPECT_THAT(read, ElementsAre(0, 1, 2, 9, 10, 11, 3, 4, 5, 12, 13, 14, 6, 7, 8, 15, 16, 17));
  }
  EXPECT_THAT(uOuter, ElementsAre(40000, 40001));
  EXPECT_THAT(vOuter, ElementsAre(40002, 40003));
}

TEST_F(SurfaceCreate, NetsAreRefusedInTheStatedOrder) {
  const std::vector<double> good = wavyPoints(3, 2);
  std::vector<double> bad = good;
  bad[17] = kInfinity;
  const double decreasing[] = {0, 0, 1, 0};
  const double notFinite[] = {0, 0, kNaN, 1};
  const double* p = good.data();
  const auto bspline = [&](const double* points, int nU, int nV, int degree, const double* knots,
                           int knotCount, const double* vKnots) {
    return create_bspline_surface(points, nU, nV, degree, 1, knots, knotCount, vKnots, 4);
  };
  const auto surfaceBspline = [&](const double* points, int nU, int nV, int degree,
                                  const double* knots, int knotCount, const double* vKnots) {
    return create_surface_bspline(points, nU, nV, knots, knotCount, vKnots, 4, degree, 1);
  };
  const char* counts = "create_bspline_surface: Invalid control points or degrees";
  const char* validation = "create_bspline_surface: Created surface validation failed";
  const char* parameters = "Invalid surface parameters";
  const char* ordered = "create_surface_bspline: knots must be finite and never decrease";
  const char* clamped = "Invalid control points count or degrees";
  const char* bezier = "Invalid Bezier surface parameters";
  expectRefusals({
      {"create_bspline_surface: Null pointer inputs", -1,
       [&] { return bspline(nullptr, 0, 0, 0, kUKnots, 0, kVKnots); }},
      {"create_bspline_surface: Null pointer inputs", -1,
       [&] { return bspline(p, 3, 2, 2, nullptr, 6, kVKnots); }},
      {counts, -1, [&] { return bspline(p, 3, 1, 2, kUKnots, 0, kVKnots); }},
      {counts, -1, [&] { return bspline(p, 3, 2, 0, kUKnots, 4, kVKnots); }},
      {counts, -1, [&] { return bspline(p, 3, 2, 1000, kUKnots, 1004, kVKnots); }},
      {counts, -1, [&] { return bspline(p, 46341, 46341, 2, kUKnots, 6, kVKnots); }},
      {counts, -1, [&] { return bspline(p, kMany, kMany, kMany - 1, kUKnots, -1, kVKnots); }},
      {"create_bspline_surface: Invalid knot vector sizes", -1,
       [&] { return bspline(p, 3, 2, 2, kUKnots, 5, kVKnots); }},
      {"create_bspline_surface: control points must be finite", -1,
       [&] { return bspline(bad.data(), 3, 2, 2, kUKnots, 6, kVKnots); }},
      {validation, -1, [&] { return bspline(p, 3, 2, 2, kUKnots, 6, decreasing); }},
      {validation, -1, [&] { return bspline(p, 3, 2, 2, kUKnots, 6, notFinite); }},
      {"Invalid input arrays", -1, [&] { return surfaceBspline(p, 0, 0, 0, nullptr, 6, kVKnots); }},
      {parameters, -1, [&] { return surfaceBspline(p, 1, 2, 2, kUKnots, 6, kVKnots); }},
      {parameters, -1, [&] { return surfaceBspline(p, 3, 2, 0, kUKnots, 6, kVKnots); }},
      {parameters, -1, [&] { return surfaceBspline(p, kMany, 2, 2, kUKnots, 6, kVKnots); }},
      {"create_surface_bspline: Degree must be less than control point count", -1,
       [&] { return surfaceBspline(p, 3, 2, 3, kUKnots, 7, kVKnots); }},
      {"create_surface_bspline: knot counts must be control point count + degree + 1", -1,
       [&] { return surfaceBspline(p, 3, 2, 2, kUKnots, kMany, kVKnots); }},
      {ordered, -1, [&] { return surfaceBspline(p, 3, 2, 2, kUKnots, 6, decreasing); }},
      {ordered, -1, [&] { return surfaceBspline(p, 3, 2, 2, kUKnots, 6, notFinite); }},
      {"Null control points array", -1,
       [&] { return create_surface_bspline_clamped(nullptr, 0, 0, 0, 0); }},
      {clamped, -1, [&] { return create_surface_bspline_clamped(p, 3, 0, 2, 1); }},
      {clamped, -1, [&] { return create_surface_bspline_clamped(p, 3, 2, 2, -1); }},
      {clamped, -1, [&] { return create_surface_bspline_clamped(p, kMany, kMany, 2, 1); }},
      {"Degree must be less than control point count", -1,
       [&] { return create_surface_bspline_clamped(p, 3, 2, 3, 1); }},
      {"Control points must be finite", -1,
       [&] { return create_surface_bspline_clamped(bad.data(), 3, 2, 2, 1); }},
      {bezier, -1, [&] { return create_surface_bezier(nullptr, 3, 2); }},
      {bezier, -1, [&] { return create_surface_bezier(p, 1, 6); }},
      {bezier, -1, [&] { return create_surface_bezier(p, kMany, kMany); }},
      {"create_surface_bezier: control points must be finite", -1,
       [&] { return create_surface_bezier(bad.data(), 3, 2); }},
  });
  EXPECT_EQ(streams_.out() + streams_.err(), "");
}

TEST_F(SurfaceCreate, DumpsAndOperationsAreDebugLines) {
  using namespace trova::foundation;
  status::setLevel(status::Level::Debug);
  create_surface_bspline(wavyPoints(3, 2).data(), 3, 2, kUKnots, 6, kVKnots, 4, 2, 1);
  create_surface_bspline_clamped(nullptr, 3, 2, 2, 1);
  status::setLevel(status::Level::Info);
  EXPECT_EQ(streams_.out(),
            "create_surface_bspline: grid 3 x 2, degrees 2, 1\n"
            "  u knots: 0 0 0 1 1 1\n"
            "  v knots: 0 0 1 1\n"
            "surface operation: create_bspline 40000\n"
            "create_surface_bspline_clamped: Null control points array\n");
}

TEST_F(SurfaceCreate, AnalyticSurfacesHaveTheirClosedForms) {
  const double origin[] = {1, 2, 3}, u[] = {0, 4, 0}, v[] = {0, 3, 5};
  forGrid(create_surface_plane(origin, u, v), [&](double s, double t, const Point3D& p) {
    EXPECT_THAT(p, IsNear(Point3D(1, 2 + 4 * s + 3 * t, 3 + 5 * t), 1e-13));
  });
  forGrid(create_surface_sphere(1, 2, 3, 2.5), [](double, double, const Point3D& p) {
    EXPECT_NEAR(p.distanceTo({1, 2, 3}), 2.5, 1e-13);
  });
  forGrid(create_surface_cylinder(0, 0, 1, 2, 0, 0, 7, 5), [](double, double t, const Point3D& p) {
    EXPECT_NEAR(distanceToZAxis(p), 2.0, 1e-13);
    EXPECT_NEAR(p.z(), 1 + 5 * t, 1e-13);
  });
  forGrid(create_surface_cone(0, 0, 1, 0, 0, 0.1, 2, 6), [](double, double t, const Point3D& p) {
    EXPECT_NEAR(p.z(), 1 + 6 * t, 1e-13);
    EXPECT_NEAR(distanceToZAxis(p), 2 * (1 - t), 1e-13);
  });
  EXPECT_EQ(streams_.out(), "✅ Cone surface created with handle: 40003\n");
  forGrid(create_surface_torus(0, 0, 0, 0, 0, -2, 3, 1), [](double, double, const Point3D& p) {
    EXPECT_NEAR(std::hypot(distanceToZAxis(p) - 3, p.z()), 1.0, 1e-13);
  });
}

TEST_F(SurfaceCreate, AnalyticSurfacesAreRefusedWithTheirTexts) {
  const double o[] = {0, 0, 0}, x[] = {1, 0, 0}, bad[] = {0, kNaN, 0};
  const char* sphere = "Sphere radius must be positive";
  const char* cylinder = "Cylinder radius and height must be positive";
  const char* torus = "Torus major and minor radii must be positive";
  const char* plane = "create_surface_plane: u and v vectors must be longer than 1e-10";
  expectRefusals({
      {"create_surface_plane: origin and vectors must not be null", -1,
       [&] { return create_surface_plane(o, x, nullptr); }},
      {"create_surface_plane: coordinates must be finite", -1,
       [&] { return create_surface_plane(bad, x, o); }},
      {plane, -1, [&] { return create_surface_plane(o, x, o); }},
      {"Plane creation failed in SurfaceFactory", -1,
       [&] { return create_surface_plane(o, x, x); }},
      {sphere, -1, [] { return create_surface_sphere(kNaN, 0, 0, 0); }},
      {sphere, -1, [] { return create_surface_sphere(0, 0, 0, kNaN); }},
      {"create_surface_sphere: numbers must be finite", -1,
       [] { return create_surface_sphere(0, 0, 0, kInfinity); }},
      {cylinder, -1, [] { return create_surface_cylinder(0, 0, 0, -1, 0, 0, 1, 1); }},
      {cylinder, -1, [] { return create_surface_cylinder(0, 0, 0, 1, 0, 0, 0, kNaN); }},
      {"Cylinder axis vector cannot be zero", -1,
       [] { return create_surface_cylinder(0, 0, 0, 1, 0, 0, 0, 1); }},
      {"Cone base radius must be positive", -1,
       [] { return create_surface_cone(0, 0, 0, 0, 0, 0, 0, 0); }},
      {"Cone height must be positive", -1,
       [] { return create_surface_cone(0, 0, 0, 0, 0, 0, 1, 0); }},
      {"Cone axis vector cannot be zero", -1,
       [] { return create_surface_cone(0, 0, 0, 0, 0, 0, 1, 1); }},
      {torus, -1, [] { return create_surface_torus(0, 0, 0, 0, 0, 0, 3, 0); }},
      {"Torus axis vector cannot be zero", -1,
       [] { return create_surface_torus(0, 0, 0, 0, 0, 0, 3, 1); }},
      {"create_surface_torus: numbers must be finite", -1,
       [] { return create_surface_torus(0, kInfinity, 0, 0, 0, 1, 3, 1); }},
  });
  EXPECT_EQ(streams_.out() + streams_.err(), "");
}

TEST_F(SurfaceCreate, CubeHasSixOutwardFaces) {
  const double center[] = {1, 2, 3};
  Guarded<int> faces(6);
  ASSERT_EQ(create_cube(center, 4, faces.data()), 1);
  Vector3D sum;
  for (int k = 0; k < 6; ++k) {
    const Point3D middle = pointOf(faces[k], 0.5, 0.5);
    const Vector3D outward = (middle - Point3D(1, 2, 3)) / 2.0;
    EXPECT_NEAR(outward.magnitude(), 1.0, 1e-14);
    EXPECT_THAT(Vector3D(Point3D(), toPoint(get_surface_normal_at_parameter(faces[k], 0.5, 0.5))),
                IsNear(outward, 1e-14));
    EXPECT_NEAR(get_surface_area(faces[k], 1e-3), 16.0, 1e-12);
    sum += outward;
  }
  EXPECT_THAT(sum, IsNear(Vector3D(), 1e-14));
  EXPECT_TRUE(faces.isIntact());
}

TEST_F(SurfaceCreate, CubeIsRefusedWithoutTouchingTheSlots) {
  const double center[] = {1, 2, 3}, farAway[] = {1e300, 0, 0};
  Guarded<int> faces(6);
  expectRefusals({
      {"Output face handles array cannot be NULL", -1,
       [&] { return create_cube(center, 0, nullptr); }},
      {"Cube side length must be positive", -1,
       [&] { return create_cube(nullptr, kNaN, faces.data()); }},
      {"create_cube: center must not be null", -1,
       [&] { return create_cube(nullptr, 1, faces.data()); }},
  });
  EXPECT_TRUE(faces.isUntouched());
  expectRefusals({{"Failed to create all cube faces", -4,
                   [&] { return create_cube(farAway, 1e-20, faces.data()); }}});
  for (int k = 0; k < 6; ++k)
    EXPECT_EQ(faces[k], -1);
}

TEST_F(SurfaceCreate, CurvesMakeSurfacesThatOutliveThem) {
  const int line = create_curve_line(2, 0, 0, 2, 0, 3);
  const int other = create_curve_line(0, 5, 0, 0, 5, 3);
  const int circle = create_curve_circle(0, 0, 0, 1, 0, 0, 1);
  const int extruded = create_surface_extrude(line, 0, 2, 0, 5);
  const int revolved = create_surface_revolve(line, 0, 0, 0, 0, 0, 1, 0, kPi / 2);
  const int full = create_surface_revolve_full(line, 0, 0, 9, 0, 0, 0.5);
  const int ruled = create_surface_ruled(line, other);
  const int swept = create_surface_sweep(circle, line);
  const int pipe = create_surface_pipe(line, 0.5);
  clear_all_curves();
  forGrid(extruded, [](double s, double t, const Point3D& p) {
    EXPECT_THAT(p, IsNear(Point3D(2, 5 * t, 3 * s), 1e-13));
  });
  forGrid(revolved, [](double s, double t, const Point3D& p) {
    const double angle = t * kPi / 2;
    EXPECT_THAT(p, IsNear(Point3D(2 * std::cos(angle), 2 * std::sin(angle), 3 * s), 1e-13));
  });
  EXPECT_THAT(pointOf(full, 0.5, 0.5), IsNear(Point3D(-2, 0, 1.5), 1e-13));
  forGrid(ruled, [](double s, double t, const Point3D& p) {
    EXPECT_THAT(p, IsNear(Point3D(2 * (1 - t), 5 * t, 3 * s), 1e-13));
  });
  forGrid(swept, [](double, double t, const Point3D& p) {
    EXPECT_THAT(p, IsNear(Point3D(p.x(), p.y(), 3 * t), 1e-12));
    EXPECT_NEAR(distanceToZAxis(p), 1.0, 1e-12);
  });
  forGrid(pipe, [](double, double t, const Point3D& p) {
    EXPECT_NEAR(std::hypot(p.x() - 2, p.y()), 0.5, 1e-12);
    EXPECT_NEAR(p.z(), 3 * t, 1e-12);
  });
}

TEST_F(SurfaceCreate, LoftPassesThroughItsSections) {
  const int loft = sampleLoft();
  for (const double s : {0.0, 0.3, 1.0}) {
    EXPECT_THAT(pointOf(loft, s, 0.0), IsNear(Point3D(2 * s, 0, 0), 1e-12));
    EXPECT_THAT(pointOf(loft, s, 0.5), IsNear(Point3D(2 * s, 1, 2 * s * (1 - s)), 1e-12));
    EXPECT_THAT(pointOf(loft, s, 1.0), IsNear(Point3D(2 * s, 2, 0), 1e-12));
  }
}

TEST_F(SurfaceCreate, RecordsOfHowSurfacesWereMadeGoWithThem) {
  const int line = create_curve_line(2, 0, 0, 2, 0, 3);
  const int circle = create_curve_circle(0, 0, 0, 1, 0, 0, 1);
  const int loft = sampleLoft();
  const int revolved = create_surface_revolve_full(line, 0, 1, 0, 0, 0, 1);
  const int swept = create_surface_sweep(circle, line);
  const int pipe = create_surface_pipe(line, 0.5);
  EXPECT_THAT(g_loft_params.at(loft).sectionCurves, ElementsAre(20002, 20003, 20004));
  EXPECT_EQ(g_loft_params.at(loft).degreeV, 2);
  EXPECT_EQ(g_revolve_params.at(revolved).profileCurve, line);
  EXPECT_THAT(g_revolve_params.at(revolved).axisPoint, IsNear(Point3D(0, 1, 0), 0.0));
  EXPECT_NEAR(g_revolve_params.at(revolved).endAngle, 2 * kPi, 1e-15);
  EXPECT_EQ(g_sweep_params.at(swept).profileCurve, circle);
  EXPECT_EQ(g_sweep_params.at(swept).pathCurve, line);
  EXPECT_EQ(g_pipe_params.at(pipe).radius, 0.5);
  delete_surface(loft);
  EXPECT_TRUE(g_loft_params.empty());
  cleanup_all_surfaces();
  EXPECT_TRUE(g_revolve_params.empty() && g_sweep_params.empty() && g_pipe_params.empty());
}

TEST_F(SurfaceCreate, CurvesAndTheirNumbersAreRefusedInTheStatedOrder) {
  const int line = create_curve_line(2, 0, 0, 2, 0, 3);
  const int surface = unitPlane();
  const int sections[] = {line, line, surface};
  const char* profile = "Invalid profile curve ID";
  const char* angles = "End angle must be greater than start angle";
  const char* count = "create_surface_loft: section count must be from 2 to 1000";
  expectRefusals({
      {profile, -1, [&] { return create_surface_extrude(surface, 0, 0, 0, 0); }},
      {"Direction vector must be non-zero", -1,
       [&] { return create_surface_extrude(line, 0, 9e-11, 0, 0); }},
      {"Extrude distance must be positive", -1,
       [&] { return create_surface_extrude(line, 0, 2e-10, 0, kNaN); }},
      {"create_surface_extrude: numbers must be finite", -1,
       [&] { return create_surface_extrude(line, 0, 1, 0, kInfinity); }},
      {profile, -1, [&] { return create_surface_revolve_full(kNoHandle, 0, 0, 0, 0, 0, 0); }},
      {"Axis direction vector must be non-zero", -1,
       [&] { return create_surface_revolve(line, 0, 0, 0, 0, 0, 9e-11, 1, 0); }},
      {angles, -3, [&] { return create_surface_revolve(line, 0, 0, 0, 0, 0, 1, 1, 1); }},
      {angles, -3, [&] { return create_surface_revolve(line, 0, 0, 0, 0, 0, 1, 0, kNaN); }},
      {"create_surface_revolve: numbers must be finite", -1,
       [&] { return create_surface_revolve(line, kNaN, 0, 0, 0, 0, 1, 0, 1); }},
      {"Invalid second curve ID", -1, [&] { return create_surface_ruled(line, surface); }},
      {"create_surface_loft: section curves must not be null", -1,
       [] { return create_surface_loft(nullptr, 3, 3); }},
      {count, -1, [&] { return create_surface_loft(sections, 1, 3); }},
      {count, -1, [&] { return create_surface_loft(sections, kMany, 3); }},
      {"create_surface_loft: degree must be at least 1", -1,
       [&] { return create_surface_loft(sections, 2, 0); }},
      {"Invalid section curve ID", -1, [&] { return create_surface_loft(sections, 3, 3); }},
      {"Invalid path curve ID", -1, [&] { return create_surface_sweep(line, -1); }},
      {"Pipe radius must be positive", -1, [&] { return create_surface_pipe(line, kNaN); }},
  });
}

}  // namespace
}  // namespace morvel_test
