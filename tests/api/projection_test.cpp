#include "tests/api/surface_interface.h"

namespace morvel_test {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

class Projections : public SurfaceInterface {
 protected:
  ~Projections() override { trova_internal::g_curve_on_surfaces.clear(); }

  // z = 0, x and y from 0 to 10
  static int flat() {
    constexpr double origin[] = {0, 0, 0}, u[] = {10, 0, 0}, v[] = {0, 10, 0};
    return create_surface_plane(origin, u, v);
  }
  static int line() { return create_curve_line(1, 2, 3, 9, 4, 5); }

  // project_geometry_unified of one curve onto one surface, with what it writes.
  struct Result {
    int code = -9, onSurfaceCount = -9, inSpaceCount = -9;
    int onSurface[4] = {}, inSpace[4] = {};
    double deviation = -9;
    std::string message;
  };
  struct Request {
    const char* type = "view";
    double z = -1;
    const char* result = "both";
    const char* fitting = "adaptive";
    double tolerance = 1e-6;
    int capacity = 4;
  };
  static Result project(int curve, int surface, const Request& request) {
    Result r;
    char message[80] = "?";
    r.code = project_geometry_unified(&curve, 1, &surface, 1, request.type, 0, 0, request.z,
                                      request.result, request.fitting, request.tolerance, 0, 0,
                                      "nearest", 0, r.onSurface, &r.onSurfaceCount, r.inSpace,
                                      &r.inSpaceCount, request.capacity, &r.deviation, message, 80);
    r.message = message;
    return r;
  }
};

TEST_F(Projections, MakeTheCurvesThatTheResultTypeNames) {
  const int surface = flat(), curve = line();
  struct Case {
    const char* type;
    int onSurface, inSpace;
  };
  for (const Case& c : {Case{"curve_on_surface", 1, 0},
                        {"3d_curve", 0, 1},
                        {"both", 1, 1},
                        {nullptr, 1, 0},
                        {"neither", 1, 0}}) {
    const Result r = project(curve, surface, {.result = c.type});
    ASSERT_EQ(r.code, 1) << lastError();
    EXPECT_EQ(r.message, "");
    EXPECT_EQ(r.onSurfaceCount, c.onSurface);
    EXPECT_EQ(r.inSpaceCount, c.inSpace);
    EXPECT_LE(r.deviation, 1e-9);
    double uv[2];
    if (c.onSurface) {
      ASSERT_EQ(evaluate_curve_on_surface_uv(r.onSurface[0], 0.25, uv), 0);
      EXPECT_NEAR(uv[0], 0.3, 1e-9);
      EXPECT_NEAR(uv[1], 0.25, 1e-9);
      EXPECT_EQ(get_curve_on_surface_base(r.onSurface[0]), surface);
    }
    double point[3];
    if (c.inSpace) {
      ASSERT_EQ(evaluate_curve_at_parameter(r.inSpace[0], 0.25, point), 0);
      EXPECT_THAT(toPoint(point), IsNear(Point3D(3, 2.5, 0), 1e-9));
    }
  }
}

TEST_F(Projections, RefuseWithTheirTextsAndStoreNothing) {
  const int surface = flat(), curve = line(), beside = create_curve_line(20, 0, 1, 30, 0, 1);
  const int curves = get_curve_count();
  struct Case {
    const char* text;
    int curve, surface;
    Request request;
  };
  for (const Case& c : std::vector<Case>{
           {"Invalid projection parameters", curve, surface, {.tolerance = 0}},
           {"Invalid projection parameters", curve, surface, {.tolerance = kNaN}},
           {"Invalid projection parameters", curve, surface, {.type = "custom_vector", .z = 0}},
           {"Invalid surface handle: 12345", curve, kNoHandle, {}},
           {"Invalid surface handle: 12345", kNoHandle, kNoHandle, {}},
           {"Invalid curve handle: 12345", kNoHandle, surface, {}},
           {"Exception: Projection direction must be finite", curve, surface, {.z = kNaN}},
           {"The projections miss the surfaces", beside, surface, {}},
           {"The output arrays are too small", curve, surface, {.capacity = 0}},
           {"Output arrays must not be null", curve, surface, {.capacity = -1}},
       }) {
    const Result r = project(c.curve, c.surface, c.request);
    EXPECT_EQ(r.code, 0) << c.text;
    EXPECT_EQ(r.message, c.text);
    EXPECT_EQ(lastError(), c.text);
  }
  int count = -1;
  EXPECT_EQ(
      project_geometry_unified(nullptr, 1, &surface, 1, "view", 0, 0, -1, "both", "loose", 0, 0, 0,
                               "all", 0, nullptr, &count, nullptr, nullptr, 0, nullptr, nullptr, 0),
      0);
  EXPECT_EQ(lastError(), "Invalid input parameters");  // before the tolerance is judged
  EXPECT_EQ(count, 0);
  EXPECT_EQ(project_geometry_unified(&curve, 1, &surface, 1, "view", 0, 0, -1, "both", "loose", 1,
                                     0, 0, "all", 0, nullptr, nullptr, nullptr, nullptr, 5, nullptr,
                                     nullptr, 0),
            0);
  EXPECT_EQ(lastError(), "Output arrays must not be null");
  EXPECT_EQ(get_curve_count(), curves);
  EXPECT_EQ(get_curve_on_surface_count(), 0);
}

TEST_F(Projections, OfAPointAreWrittenAsFarAsThereIsRoom) {
  const int sphere = create_surface_sphere(0, 0, 0, 2);
  double points[6], uv[4], distances[2] = {-1, -1};
  int converged[2] = {}, hits = 0;
  const auto project = [&](double x, const char* type, const char* choice, int capacity) {
    return project_point_to_surface_unified(x, 0.1, 0.2, sphere, type, 1, 0, 0, choice, capacity,
                                            points, uv, distances, converged, &hits);
  };
  ASSERT_EQ(project(5, nullptr, nullptr, 2), 1) << lastError();
  EXPECT_EQ(hits, 1);
  EXPECT_NEAR(distances[0], std::hypot(5, 0.1, 0.2) - 2, 1e-12);
  EXPECT_THAT(toPoint(points), IsNear(pointOf(sphere, uv[0], uv[1]), 1e-12));
  EXPECT_EQ(converged[0], 1);
  ASSERT_EQ(project(5, "custom_vector", "all", 1), 1);
  EXPECT_EQ(hits, 2);
  EXPECT_NEAR(points[0], std::sqrt(4 - 0.05), 1e-9);
  EXPECT_EQ(distances[1], -1);

  EXPECT_EQ(project(kNaN, "closest_point", nullptr, 2), 0);
  EXPECT_EQ(lastError(), "Exception: Point must be finite");
  EXPECT_EQ(hits, 0);
  EXPECT_EQ(project_point_to_surface_unified(1, 2, 3, sphere, "view", 0, 0, 1, nullptr, 1, points,
                                             nullptr, nullptr, nullptr, &hits),
            0);
  EXPECT_EQ(lastError(), "The projection misses the surface");
  EXPECT_EQ(project_point_to_surface_unified(1, 2, 3, sphere, nullptr, 0, 0, 1, nullptr, 1, nullptr,
                                             nullptr, nullptr, nullptr, nullptr),
            0);
  EXPECT_EQ(lastError(), "Invalid input parameters");
  EXPECT_EQ(project_point_to_surface_unified(1, 2, 3, kNoHandle, nullptr, 0, 0, 1, nullptr, 1,
                                             points, nullptr, nullptr, nullptr, nullptr),
            0);
  EXPECT_EQ(lastError(), "Invalid surface handle: 12345");
}

TEST_F(Projections, OfManyPointsAnswerForTheBaseOfATrimmedSurface) {
  const int sphere = create_surface_sphere(1, 0, 0, 2);
  constexpr double xyz[] = {5, 0, 0, 1, 9, 0, 1, 0, 0.5};
  double uv[6], points[9], distances[3];
  ASSERT_EQ(project_points_to_surface_batch(sphere, xyz, 3, uv, points, distances), 0);
  EXPECT_THAT(distances, testing::Pointwise(testing::DoubleNear(1e-12), {2.0, 7.0, 1.5}));
  EXPECT_THAT(toPoint(points + 3), IsNear(Point3D(1, 2, 0), 1e-9));
  EXPECT_THAT(pointOf(sphere, uv[4], uv[5]), IsNear(Point3D(1, 0, 2), 1e-9));
  const int trimmed = create_trimmed_surface_with_circular_hole(sphere, 0.5, 0.5, 0.3, nullptr);
  ASSERT_GT(trimmed, 0) << lastError();
  double ofBase[3];
  ASSERT_EQ(project_points_to_surface_batch(trimmed, xyz, 3, nullptr, nullptr, ofBase), 0);
  EXPECT_THAT(ofBase, testing::ElementsAreArray(distances));
  EXPECT_EQ(project_points_to_surface_batch(sphere, xyz, 3, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(project_points_to_surface_batch(sphere, xyz, 0, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(project_points_to_surface_batch(sphere, nullptr, 3, uv, points, distances), -1);
  EXPECT_EQ(project_points_to_surface_batch(sphere, xyz, -1, uv, points, distances), -1);
  EXPECT_EQ(project_points_to_surface_batch(kNoHandle, xyz, 3, uv, points, distances), -3);
  const double far[] = {0, kNaN, 0};
  EXPECT_EQ(project_points_to_surface_batch(sphere, far, 1, uv, points, distances), -1);
}

TEST_F(Projections, AreReportedAsMeasuredBesideThePlaceholders) {
  const int surface = create_surface_sphere(0, 0, 0, 2),
            curve = create_curve_line(3, 0.5, 1, 3, 2, -1);
  double deviation = -1, mean = -1, fit = -1, farthest = -1, score = -1;
  int pieces = -1, samples = -1, iterations = -1;
  const auto report = [&](int handle) {
    return get_projection_report(handle, &deviation, &mean, &fit, &pieces, &samples, &iterations,
                                 &farthest, &score);
  };
  EXPECT_EQ(report(surface), -3);
  EXPECT_EQ(report(kNoHandle), -3);
  const Result r = project(curve, surface, {.type = "closest_point", .tolerance = 1e-5});
  ASSERT_EQ(r.code, 1) << lastError();
  ASSERT_EQ(report(surface), 0);
  EXPECT_EQ(std::max(deviation, fit), r.deviation);
  EXPECT_GT(deviation, 0);
  EXPECT_LE(deviation, 2e-5);
  EXPECT_LE(mean, deviation);
  EXPECT_EQ(pieces, 1);
  EXPECT_GE(samples, 50);
  EXPECT_GE(iterations, samples);
  EXPECT_NEAR(farthest, std::sqrt(9 + 4 + 1) - 2, 1e-3);
  EXPECT_GT(score, 50);
  EXPECT_EQ(project(curve, surface, {.tolerance = -1}).code, 0);  // a failure measures nothing
  EXPECT_EQ(report(surface), 0);

  ASSERT_EQ(
      get_projection_quality_metrics(kNoHandle, &deviation, &mean, &samples, &iterations, &score),
      1);
  EXPECT_THAT((std::vector<double>{deviation, mean, double(samples), double(iterations), score}),
              testing::ElementsAre(0.001, 0.0005, 10, 3, 50));
  EXPECT_EQ(get_projection_quality_metrics(0, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  delete_surface(surface);
  EXPECT_EQ(report(surface), -3);
}

TEST_F(Projections, ArePreviewedAsPolylines) {
  const int surface = flat(), curve = create_curve_line(-5, 2, 3, 5, 2, 3);
  double points[3 * 80];
  int pointCount = 0, ends[3] = {}, lines = 0;
  const auto preview = [&](int capacity) {
    return generate_projection_preview(&curve, 1, &surface, 1, "view", 0, 0, 0, points, capacity,
                                       &pointCount, ends, 3, &lines);
  };
  ASSERT_EQ(preview(80), 1) << lastError();
  EXPECT_EQ(lines, 1);
  EXPECT_EQ(ends[0], pointCount);
  EXPECT_THAT(toPoint(points), IsNear(Point3D(0, 2, 0), 1e-6));
  EXPECT_THAT(toPoint(points + 3 * (pointCount - 1)), IsNear(Point3D(5, 2, 0), 1e-9));
  EXPECT_EQ(preview(3), 0);
  EXPECT_EQ(lastError(), "The output arrays are too small");
  EXPECT_GT(pointCount, 3);
  EXPECT_EQ(get_curve_on_surface_count(), 0);
}

TEST_F(Projections, CheckOptionsAndKeepAnEmptyCache) {
  char text[40] = "?";
  const auto validate = [&](const char* type, double z, double tolerance) {
    return validate_projection_parameters(type, 0, 0, z, "both", "loose", tolerance, text, 40);
  };
  EXPECT_EQ(validate("custom_vector", 1, 0.1), 1);
  EXPECT_STREQ(text, "?");
  EXPECT_EQ(validate("unknown", 0, 0.1), 1);
  EXPECT_EQ(validate("custom_vector", 0, 0.1), 0);
  EXPECT_STREQ(text, "Invalid parameters");
  EXPECT_EQ(validate_projection_parameters(nullptr, 0, 0, 0, nullptr, nullptr, 0, nullptr, 0), 0);
  EXPECT_EQ(set_projection_advanced_options(1, 1e-9, 7), 1);
  EXPECT_EQ(set_projection_advanced_options(0, 1e-9, 0), 0);
  EXPECT_EQ(set_projection_advanced_options(1, kNaN, 0), 0);
  int entries = 5, hits = 5;
  EXPECT_EQ(get_projection_cache_stats(&entries, &hits), 1);
  EXPECT_EQ(entries + hits, 0);
  EXPECT_EQ(get_projection_cache_stats(nullptr, nullptr), 1);
  EXPECT_EQ(clear_projection_cache(), 1);
}

}  // namespace
}  // namespace morvel_test
