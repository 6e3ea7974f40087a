#include "morvel/fitting/surface_engine1.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "tests/support/captured_streams.h"

namespace {

using namespace trova::geometry;
using morvel_test::CapturedStreams;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using Method = SurfaceParameterizationMethod;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Random points of a height field over [0, a] x [0, b].
template <class Height>
std::vector<Point3D> field(int count, double a, double b, Height height) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<Point3D> points;
  for (int k = 0; k < count; ++k) {
    const double x = a * unit(random), y = b * unit(random);
    points.emplace_back(x, y, height(x, y));
  }
  return points;
}

// n x n points of a unit grid.
template <class Height>
std::vector<Point3D> gridField(int n, Height height) {
  std::vector<Point3D> points;
  for (int i = 0; i < n; ++i)
    for (int j = 0; j < n; ++j)
      points.emplace_back(i, j, height(i, j));
  return points;
}

double saddle(double x, double y) { return 0.05 * x * y - 0.02 * y * y + 0.1 * x; }

SurfaceEngine1 quiet(std::vector<Point3D> points, SurfaceEngine1Options options = {}) {
  const CapturedStreams streams;
  SurfaceEngine1 engine(std::move(points), std::move(options));
  engine.initialize();
  return engine;
}

TEST(SurfaceEngine1, FreedomRuleSizesTheNet) {
  const struct {
    int points, degreeU, degreeV, controlU, controlV;
    int expectedU, expectedV, expectedDegreeU, expectedDegreeV;
  } cases[] = {
      {16, 3, 3, 10, 10, 4, 4, 3, 3},       // floor(4 / 4) = 1, raised to 4
      {10000, 3, 3, 0, 0, 25, 25, 3, 3},    // floor(100 / 4)
      {10000, 3, 3, 40, 12, 25, 12, 3, 3},  // a count above the freedom is cut
      {10000, 3, 3, 7, 0, 25, 25, 3, 3},    // one count alone is not kept
      {10000, 9, 2, 0, 0, 10, 10, 9, 2},    // the larger degree decides
      {10000, 40, -1, 0, 0, 25, 25, 3, 3},  // degrees outside 1 .. 22 become 3
      {16, 22, 22, 0, 0, 4, 4, 3, 3},       // and are cut by the counts
      {10000, 3, 3, 2, 25, 2, 25, 1, 3},
  };
  for (const auto& c : cases) {
    SurfaceEngine1Options options;
    options.degree_u = c.degreeU;
    options.degree_v = c.degreeV;
    options.control_points_u = c.controlU;
    options.control_points_v = c.controlV;
    const SurfaceEngine1 engine = quiet(field(c.points, 2, 1, saddle), options);
    EXPECT_TRUE(engine.is_valid()) << engine.get_validation_message();
    EXPECT_EQ(engine.get_control_count_u(), c.expectedU) << c.controlU;
    EXPECT_EQ(engine.get_control_count_v(), c.expectedV);
    EXPECT_EQ(engine.get_degree_u(), c.expectedDegreeU);
    EXPECT_EQ(engine.get_degree_v(), c.expectedDegreeV);
  }
}

TEST(SurfaceEngine1, OtherSizingRules) {
  SurfaceEngine1 engine(std::vector<Point3D>(1000));
  EXPECT_EQ(engine.estimate_control_point_counts_freedom_over_degree(), 10);  // 31.6 / 3
  engine.auto_select_optimal_degrees();
  EXPECT_EQ(engine.get_control_count_u(), 15);  // sqrt(1000 / 4)
  EXPECT_EQ(engine.get_degree_v(), 3);
  EXPECT_EQ(SurfaceEngine1(std::vector<Point3D>(30), 5, 5)
                .estimate_control_point_counts_freedom_over_degree(),
            2);  // 6 by the degree, cut to floor(5.47 / 2)
}

TEST(SurfaceEngine1, InitialisationTellsWhatIsWrong) {
  std::vector<Point3D> notFinite = field(50, 1, 1, saddle), infinite = notFinite;
  notFinite[49] = Point3D(0, 0, kNaN);
  infinite[0] = Point3D(1.0 / 0.0, 0, 0);
  std::vector<Point3D> line;
  for (int k = 0; k < 20; ++k)
    line.emplace_back(k, 2 * k, -k);
  SurfaceEngine1Options single;
  single.control_points_u = single.control_points_v = 1;
  SurfaceEngine1Options negative;
  negative.control_points_u = negative.control_points_v = -7;
  const struct {
    std::vector<Point3D> points;
    SurfaceEngine1Options options;
    const char* message;
  } cases[] = {
      {std::vector<Point3D>(3), {}, "Point validation failed"},
      {notFinite, {}, "Point validation failed"},
      {infinite, {}, "Point validation failed"},
      {field(50, 1, 1, saddle), single, "Degree validation failed"},
      {field(50, 1, 1, saddle), negative, "Degree validation failed"},
      {line, {}, "Failed to compute surface parameterization"},
      {std::vector<Point3D>(9, Point3D(1, 1, 1)), {}, "Failed to compute surface parameterization"},
      {field(50, 1, 1, saddle), {}, "Initialization completed successfully"},
  };
  for (const auto& [points, options, message] : cases) {
    SurfaceEngine1 engine = quiet(points, options);
    EXPECT_EQ(engine.get_validation_message(), message);
    const bool isGood = message == cases[7].message;
    EXPECT_EQ(engine.is_valid(), isGood);
    const CapturedStreams streams;
    const SurfaceFittingResult result = engine.fit_bspline_surface(Method::LEAST_SQUARES_PLANE);
    EXPECT_EQ(result.is_valid, isGood) << message;
    EXPECT_EQ(engine.has_surface(), isGood);
    EXPECT_EQ(result.surface != nullptr, isGood);
  }
}

TEST(SurfaceEngine1, SurfacesOfItsOwnSpaceAreReproduced) {
  // A plane and a quadric whose least-squares plane is its own parameter plane.
  const auto quadric = [](double x, double y) { return 0.1 * (x * x - y * y); };
  std::vector<Point3D> symmetric;
  for (const Point3D& p : field(400, 2, 1, quadric))
    for (const double sx : {-1.0, 1.0})
      for (const double sy : {-1.0, 1.0})
        symmetric.emplace_back(sx * p.x(), sy * p.y(), quadric(p.x(), p.y()));
  for (const auto& points :
       {field(700, 3, 1, [](double x, double y) { return 2 * x - y; }), symmetric}) {
    SurfaceEngine1 engine = quiet(points);
    const SurfaceFittingResult result = engine.fit_bspline_surface(Method::LEAST_SQUARES_PLANE);
    ASSERT_TRUE(result.is_valid);
    EXPECT_LT(result.max_deviation, 1e-9);
    EXPECT_TRUE(result.mathematical_tests_passed);
    EXPECT_EQ(result.condition_number, 1e6);
    for (std::size_t k = 0; k < points.size(); k += 37) {
      const Point3D on =
          engine.evaluate_surface(engine.get_u_parameters()[k], engine.get_v_parameters()[k]);
      EXPECT_LT(on.distanceTo(points[k]), 1e-9);
    }
  }
}

TEST(SurfaceEngine1, DeviationsAreThoseAtTheParameters) {
  const std::vector<Point3D> points =
      field(3000, 4, 3, [](double x, double y) { return std::sin(3 * x) * std::cos(2 * y); });
  for (const Method method :
       {Method::LEAST_SQUARES_PLANE, Method::PCA_PROJECTION, Method::CONVEX_HULL_PROJECTION}) {
    SurfaceEngine1 engine = quiet(points);
    const SurfaceFittingResult result = engine.fit_bspline_surface(method);
    ASSERT_TRUE(result.is_valid);
    double largest = 0, squares = 0;
    for (std::size_t k = 0; k < points.size(); ++k) {
      const double distance = points[k].distanceTo(
          result.surface->evaluate(engine.get_u_parameters()[k], engine.get_v_parameters()[k]));
      largest = std::max(largest, distance);
      squares += distance * distance;
    }
    EXPECT_NEAR(result.max_deviation, largest, 1e-12);
    EXPECT_NEAR(result.rms_deviation, std::sqrt(squares / double(points.size())), 1e-12);
    EXPECT_LE(result.parameterization_time_ms + result.solve_time_ms, result.total_time_ms);
  }
}

TEST(SurfaceEngine1, RegularisesAboveTheThresholdOnly) {
  const std::vector<Point3D> points = field(900, 2, 1, saddle);
  SurfaceEngine1Options options;
  options.condition_analysis = true;
  const SurfaceFittingResult plain =
      quiet(points, options).fit_bspline_surface(Method::LEAST_SQUARES_PLANE);
  EXPECT_GT(plain.condition_number, 10.0);
  EXPECT_TRUE(plain.warnings.empty());
  options.condition_threshold = plain.condition_number / 2;
  options.regularization_lambda = 0.01;
  const SurfaceFittingResult ridged =
      quiet(points, options).fit_bspline_surface(Method::LEAST_SQUARES_PLANE);
  EXPECT_LT(ridged.condition_number, 101.0);  // (1 + lambda) / lambda at most
  EXPECT_GT(ridged.max_deviation, plain.max_deviation);
  EXPECT_EQ(ridged.warnings.size(), 1u);
  options.condition_analysis = false;  // then 1e6 is taken for granted
  options.condition_threshold = 1e5;
  const SurfaceFittingResult granted =
      quiet(points, options).fit_bspline_surface(Method::LEAST_SQUARES_PLANE);
  EXPECT_EQ(granted.condition_number, 1e6);
  EXPECT_EQ(granted.max_deviation, ridged.max_deviation);
}

TEST(SurfaceEngine1, UniversalTellsWhatItChose) {
  const auto flat = [](double, double) { return 1.0; };
  const auto wavy = [](double x, double y) { return 0.3 * std::sin(x) * std::cos(2 * y); };
  std::vector<Point3D> uneven = field(150, 1, 1, wavy);
  for (int k = 0; k < 100; ++k)
    uneven.emplace_back(0.5 + 1e-7 * k, 0.5, 0.0);
  // A sunflower has no straight boundary.
  std::vector<Point3D> disc;
  for (int k = 0; k < 60; ++k) {
    const double r = std::sqrt(k + 0.5), a = 2.399963 * k;
    disc.emplace_back(r * std::cos(a), r * std::sin(a), 0.05 * r * r);
  }
  const struct {
    std::vector<Point3D> points;
    const char* text;
    const char* method;
  } cases[] = {
      {field(8, 1, 1, wavy), "LEAST_SQUARES_PLANE (small dataset)",
       "Least Squares Plane Projection"},
      {gridField(6, flat), "LEAST_SQUARES_PLANE (coplanar data)", "Least Squares Plane Projection"},
      {field(300, 9, 1, wavy), "PCA_PROJECTION (high aspect ratio or density variation)",
       "PCA-Based Projection"},
      {uneven, "PCA_PROJECTION (high aspect ratio or density variation)", "PCA-Based Projection"},
      {gridField(7, wavy), "CONVEX_HULL_PROJECTION (clear boundary structure)",
       "Convex Hull Projection"},
      {gridField(30, wavy), "LEAST_SQUARES_PLANE (large dataset stability)",
       "Least Squares Plane Projection"},
      {disc, "CONVEX_HULL_PROJECTION (optimal conditions)", "Convex Hull Projection"},
  };
  for (const auto& [points, text, method] : cases) {
    SurfaceEngine1 engine = quiet(points);
    const CapturedStreams streams;
    const SurfaceFittingResult result = engine.fit_bspline_surface(Method::UNIVERSAL);
    EXPECT_THAT(streams.out(), HasSubstr("🎯 DEBUG Universal Selection Analysis:\n   Points: " +
                                         std::to_string(points.size()) + ", Good distribution: "));
    EXPECT_THAT(streams.out(), HasSubstr(std::string("   → Selected: ") + text + "\n"));
    EXPECT_EQ(result.method_used, method);
  }
}

TEST(SurfaceEngine1, ModesRewriteTheOptions) {
  const struct {
    int mode, method;
    bool analysis;
    const char* line;
  } cases[] = {
      {0, 2, false, "🚀 FAST Mode: Speed-optimized configuration applied\n"},
      {1, 5, true, "🧠 SMART Mode: Intelligent optimization configuration applied\n"},
      {2, 4, false, ""},
      {9, 5, true,
       "⚠️ Unknown fitting mode 9, using SMART\n"
       "🧠 SMART Mode: Intelligent optimization configuration applied\n"},
  };
  for (const auto& [mode, method, analysis, line] : cases) {
    SurfaceEngine1Options options;
    options.parameterization_method = 4;
    const CapturedStreams streams;
    options.configure_from_fitting_mode(mode);
    EXPECT_EQ(options.parameterization_method, method);
    EXPECT_EQ(options.condition_analysis, analysis);
    EXPECT_EQ(options.shape_analysis, analysis);
    EXPECT_EQ(streams.out(), line);
  }
}

TEST(SurfaceEngine1, SummaryListsTheRecord) {
  SurfaceEngine1 engine = quiet(field(100, 2, 1, saddle));
  const SurfaceFittingResult result = engine.fit_bspline_surface(Method::UNIFORM);
  const CapturedStreams streams;
  result.print_summary();
  EXPECT_THAT(
      streams.out(),
      HasSubstr("\n=== Surface Fitting Results ===\nValid: Yes\nMethod: Least Squares Plane "
                "Projection\nData points: 100\nDegrees: [3, 3]\nControl grid: 4 x 4\nTotal "
                "control points: 16\nMax deviation: "));
  EXPECT_THAT(streams.out(), HasSubstr("Condition number: 1e+06\nTotal time: "));
  EXPECT_THAT(streams.out(), HasSubstr("Mathematical tests: Pass\n============================\n"));
}

TEST(SurfaceEngine1, RepeatedPointsAndTinySetsStayFinite) {
  std::vector<Point3D> corners = {{0, 0, 0}, {1, 0, 0}, {1, 1, 1}, {0, 1, 0}};
  std::vector<Point3D> repeated;
  for (int k = 0; k < 40; ++k)
    repeated.push_back(corners[k % 4]);
  for (const auto& points : {corners, repeated}) {
    SurfaceEngine1 engine = quiet(points);
    const SurfaceFittingResult result = engine.fit_bspline_surface(Method::UNIVERSAL);
    ASSERT_TRUE(result.is_valid);
    EXPECT_LT(result.max_deviation, 1e-6);
    EXPECT_TRUE(result.surface->evaluate(0.3, 0.6).isFinite());
  }
}

}  // namespace
