// Trimmed surfaces by handle: codes and texts, the two tables in step, wires, meshes, loops.

#include <gmock/gmock.h>

#include <random>

#include "tests/api/surface_interface.h"

using namespace morvel_test;
using trova_internal::trimmedSurfaceError;

namespace {

constexpr int kSquare[] = {4};

class TrimmedSurfaces : public SurfaceInterface {
 protected:
  /// A unit square on the plane z = 0.
  TrimmedSurfaces() {
    const double corner[] = {0, 0, 0}, u[] = {1, 0, 0}, v[] = {0, 1, 0};
    base_ = create_surface_plane(corner, u, v);
  }

  int holed(const MorvelTrimOptions* options = nullptr) const {
    return create_trimmed_surface_with_circular_hole(base_, 0.5, 0.5, 0.25, options);
  }

  struct TrimRefusal {
    const char* text;
    int code;
    std::function<int()> call;
  };
  static void expectTrimRefusals(const std::vector<TrimRefusal>& refusals) {
    for (const TrimRefusal& refusal : refusals) {
      const int surfaces = get_surfaces_count();
      EXPECT_EQ(refusal.call(), refusal.code) << refusal.text;
      EXPECT_EQ(trimmedSurfaceError(), refusal.text);
      EXPECT_EQ(get_surfaces_count(), surfaces) << refusal.text;
      EXPECT_EQ(g_last_error, "") << refusal.text;
    }
  }

  static int classified(int surface, double u, double v) {
    int result = -1;
    const int code = classify_point_in_trimmed_surface(surface, u, v, &result);
    return code < 0 ? code : result;
  }

  CapturedStreams streams_;
  int base_ = 0;
};

}  // namespace

TEST_F(TrimmedSurfaces, RefuseWithTheirOwnTexts) {
  const int whole = base_, made = holed();
  g_trimmed_surfaces[77] = nullptr;
  int out = 0;
  const auto rectangle = [&](int base, double u0, double u1, double v0, double v1) {
    return [=] { return create_rectangular_trimmed_surface(base, u0, u1, v0, v1, 1, 1, nullptr); };
  };
  const auto wire = [&](int outer, int inner) {
    return [=] {
      return create_wire_trimmed_surface(whole, outer, nullptr, inner, kSquare, nullptr, nullptr);
    };
  };
  double xyz = 0;
  const auto mesh = [&](int surface, int count, double* vertices) {
    return [=, &out] {
      return tessellate_trimmed_surface_visible_region(surface, count, count, vertices, 0, &out,
                                                       &out, 0, &out);
    };
  };
  expectTrimRefusals({
      {"Invalid base surface handle", -1, rectangle(kNoHandle, 0, 1, 0, 1)},
      {"Invalid U bounds: u_min must be less than u_max", -2, rectangle(whole, 1, 0, 0, 1)},
      {"Invalid V bounds: v_min must be less than v_max", -3, rectangle(whole, 0, 1, 1, 1)},
      {"Exception in create_rectangular_trimmed_surface: U trim bounds exceed base surface domain",
       -4, rectangle(whole, -1, 1, 0, 1)},
      {"Hole radius must be positive", -2,
       [&] { return create_trimmed_surface_with_circular_hole(whole, 0, 0, 0, nullptr); }},
      {"outer_curve_handles cannot be NULL when num_outer_curves > 0", -2, wire(1, 0)},
      {"inner_loop_sizes and inner_curve_handles cannot be NULL when num_inner_loops > 0", -3,
       wire(0, 1)},
      {"classification_result cannot be NULL", -1,
       [&] { return classify_point_in_trimmed_surface(made, 0, 0, nullptr); }},
      {"Invalid trimmed surface handle", -2,
       [&] { return classify_point_in_trimmed_surface(whole, 0, 0, &out); }},
      {"Trimmed surface is NULL", -3,
       [&] { return is_point_visible_in_trimmed_surface(77, 0, 0, &out); }},
      {"is_visible cannot be NULL", -1,
       [&] { return is_point_visible_in_trimmed_surface(made, 0, 0, nullptr); }},
      {"Invalid trimmed surface handle", -1,
       [&] { return get_trimmed_surface_info(whole, nullptr, &out, &out, &out, &out); }},
      {"Trimmed surface is NULL", -2,
       [&] { return validate_trimmed_surface(77, nullptr, 0, nullptr); }},
      {"base_surface_handle_out cannot be NULL", -1,
       [&] { return get_trimmed_surface_base_surface(made, nullptr); }},
      {"Invalid surface handle", -2,
       [&] { return get_trimmed_surface_base_surface(kNoHandle, &out); }},
      {"Handle is not a trimmed surface", -8,
       [&] { return get_trimmed_surface_base_surface(whole, &out); }},
      {"Output buffers cannot be NULL", -1, mesh(made, 5, nullptr)},
      {"Resolutions must be between 2 and 2000", -1, mesh(made, 1, &xyz)},
      {"Invalid trimmed surface handle - not found in any registry", -2, mesh(kNoHandle, 5, &xyz)},
      {"Insufficient vertex buffer size", -5, mesh(made, 5, &xyz)},
      {"The plane does not cut the surface", -3,
       [&] { return snip_surface_with_plane(whole, 0, 0, 1, 0, 0, 1, nullptr); }},
      {"The wire has no curves", -2,
       [&] { return snip_surface_with_wire_3d(whole, nullptr, 0, 1, nullptr); }},
  });
  g_trimmed_surfaces.erase(77);
}

TEST_F(TrimmedSurfaces, AnswerAboutAHole) {
  const int surface = holed();
  EXPECT_EQ(classified(surface, 0.1, 0.1), 1);
  EXPECT_EQ(classified(surface, 0.5, 0.6), 0);
  EXPECT_EQ(classified(surface, 0.75, 0.5), 2);
  double area = 0;
  int loops = 0, outer = 0, inner = 0, valid = 0, base = 0;
  EXPECT_EQ(get_trimmed_surface_info(surface, &area, &loops, &outer, &inner, &valid), 0);
  EXPECT_NEAR(area, 1 - kPi / 16, 2e-4);
  EXPECT_EQ((std::vector{loops, outer, inner, valid}), (std::vector{2, 1, 1, 1}));
  EXPECT_EQ(get_trimmed_surface_base_surface(surface, &base), 0);
  EXPECT_EQ(base, base_);
  delete_surface(base_);
  EXPECT_EQ(classified(surface, 0.5, 0.6), 0);
  EXPECT_EQ(get_trimmed_surface_base_surface(surface, &base), -5);
}

TEST_F(TrimmedSurfaces, NumberTheirErrors) {
  const int surface = create_rectangular_trimmed_surface(base_, 0.1, 0.9, 0, 1, 1, 0, nullptr);
  char text[64];
  int count = 0;
  EXPECT_EQ(validate_trimmed_surface(surface, text, sizeof text, &count), 1);
  EXPECT_STREQ(text, "Error 1: Trim loop 0 is invalid");
  EXPECT_EQ(count, 1);
  EXPECT_EQ(validate_trimmed_surface(surface, text, 8, nullptr), 1);
  EXPECT_STREQ(text, "Error 1");
  EXPECT_EQ(classified(surface, 0.5, 7.0), 1);  // v is open
}

TEST_F(TrimmedSurfaces, ComeAndGoWithTheTableOfSurfaces) {
  const int a = holed(), b = create_rectangular_trimmed_surface(base_, 0, 0.5, 0, 1, 1, 1, nullptr);
  EXPECT_TRUE(replace_surface_handle(a, b));
  EXPECT_EQ(classified(a, 0.9, 0.9), 0);
  EXPECT_EQ(classified(b, 0.9, 0.9), -2);
  const int reserved = get_next_surface_handle();
  registerSurface(reserved, g_surfaces.at(a));
  EXPECT_EQ(classified(reserved, 0.25, 0.4), 1);
  registerSurface(a, g_surfaces.at(base_));
  EXPECT_EQ(classified(a, 0.9, 0.9), -2);
  delete_surface(reserved);
  EXPECT_EQ(classified(reserved, 0.9, 0.9), -2);
  holed();
  cleanup_all_surfaces();
  EXPECT_TRUE(g_trimmed_surfaces.empty());
}

TEST_F(TrimmedSurfaces, MeasureABaseThatChangesInPlace) {
  const int surface = holed();
  double before = 0, after = 0;
  get_trimmed_surface_info(surface, &before, nullptr, nullptr, nullptr, nullptr);
  const double twice[] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};
  set_surface_matrix(base_, twice);
  EXPECT_EQ(apply_surface_matrix(base_), 1);
  get_trimmed_surface_info(surface, &after, nullptr, nullptr, nullptr, nullptr);
  EXPECT_NEAR(after, 4 * before, 1e-9);
}

TEST_F(TrimmedSurfaces, ClassifyManyPointsLikeOne) {
  // A ring of three loops, so that the single call takes candidates; its cache is left alone.
  const double uv[] = {0.1, 0.1, 0.9, 0.1, 0.9, 0.9, 0.1, 0.9, 0.2, 0.2, 0.4,
                       0.2, 0.4, 0.4, 0.6, 0.6, 0.8, 0.6, 0.8, 0.8, 0.6, 0.8};
  const int sizes[] = {4, 3, 4}, types[] = {0, 1, 1}, roles[] = {1, 0, 0};
  const int surface =
      create_trimmed_surface_from_polygons(base_, uv, 11, sizes, types, roles, 3, nullptr);
  std::mt19937 random(1);
  std::uniform_real_distribution<double> number(-0.1, 1.1);
  std::vector<double> points(4000);
  for (double& x : points)
    x = number(random);
  points[0] = 0.1, points[1] = 0.5;
  points[2] = points[4] = std::nan("");
  std::vector<int> many(points.size() / 2);
  EXPECT_EQ(classify_points_in_trimmed_surface(surface, points.data(), 2000, many.data()), 0);
  for (std::size_t k = 0; k < many.size(); ++k)
    ASSERT_EQ(many[k], classified(surface, points[2 * k], points[2 * k + 1])) << k;
  EXPECT_EQ(many[0], 2);
  EXPECT_EQ(get_trim_loop_count(surface), 3);
  int type = 0, role = 1, corners = 0, curves = 7;
  double polygon[8];
  EXPECT_EQ(get_trim_loop_info(surface, 2, &type, &role, &corners, &curves), 0);
  EXPECT_EQ((std::vector{type, role, corners, curves}), (std::vector{1, 0, 4, 0}));
  EXPECT_EQ(get_trim_loop_polygon(surface, 2, polygon, 4, &corners), 0);
  EXPECT_EQ(polygon[0], 0.6);  // now clockwise: the last corner comes first
  EXPECT_EQ(polygon[1], 0.8);
  const int wrong[] = {4, 3, 5};
  expectRefusals({
      {"create_trimmed_surface_from_polygons: the loop sizes do not sum up to the points", -2,
       [&] {
         return create_trimmed_surface_from_polygons(base_, uv, 11, wrong, types, roles, 3,
                                                     nullptr);
       }},
      {"Trim loop index out of range", -2,
       [&] { return get_trim_loop_polygon(surface, 3, polygon, 4, &corners); }},
      {"Buffer too small", -5,
       [&] { return get_trim_loop_polygon(surface, 2, polygon, 3, &corners); }},
      {"classify_points_in_trimmed_surface: no trimmed surface has the handle 12345", -3,
       [&] {
         return classify_points_in_trimmed_surface(kNoHandle, points.data(), 1, many.data());
       }},
  });
}

TEST_F(TrimmedSurfaces, TakeWiresInSpace) {
  // A triangle above the plane whose second side runs backwards, and a circle as a hole.
  const int outer[] = {create_curve_line(0.1, 0.1, 1, 0.9, 0.1, 1),
                       create_curve_line(0.5, 0.9, 1, 0.9, 0.1, 1),
                       create_curve_line(0.5, 0.9, 1, 0.1, 0.1, 1), kNoHandle};
  const int inner[] = {create_curve_circle(0.5, 0.3, 2, 0.1, 0, 0, 1)};
  const int sizes[] = {0, 1};
  const int surface = create_wire_trimmed_surface(base_, 4, outer, 2, sizes, inner, nullptr);
  ASSERT_GT(surface, 0) << trimmedSurfaceError();
  EXPECT_NE(streams_.err().find("[ERROR] Failed to project curve 12345 to surface"),
            std::string::npos);
  EXPECT_NE(streams_.err().find("[WARNING] Skipping inner loop 0 with invalid size 0"),
            std::string::npos);
  EXPECT_EQ(classified(surface, 0.5, 0.6), 1);
  EXPECT_EQ(classified(surface, 0.5, 0.3), 0);
  EXPECT_EQ(classified(surface, 0.2, 0.6), 0);
  EXPECT_EQ(classified(surface, 0.5, 0.1), 2);
  EXPECT_EQ(get_trim_loop_count(surface), 2);

  // The second hole needs number 2 of the curves, and 2 loops of 1 curve have none.
  const int counts[] = {2, 1};
  const int three[] = {inner[0], inner[0], inner[0]};
  const int bounded = create_wire_trimmed_surface(base_, 0, nullptr, 2, counts, three, nullptr);
  EXPECT_NE(streams_.err().find("[ERROR] Inner curve index 2 exceeds available curves"),
            std::string::npos);
  EXPECT_EQ(get_trim_loop_count(bounded), 2);

  const int disc = snip_surface_with_wire_3d(base_, inner, 1, 1, nullptr);
  const int rest = snip_surface_with_wire_3d(base_, inner, 1, 0, nullptr);
  EXPECT_EQ(classified(disc, 0.5, 0.3), 1);
  EXPECT_EQ(classified(rest, 0.5, 0.3), 0);
  const int half = snip_surface_with_plane(base_, 0.4, 0, 0, 1, 0, 0, nullptr);
  EXPECT_EQ(classified(half, 0.41, 0.5), 1);
  EXPECT_EQ(classified(half, 0.39, 0.5), 0);
}

TEST_F(TrimmedSurfaces, AnswerForTheirBaseInExactBatches) {
  const double net[] = {0, 0, 0, 0, 2, 0, 1, 0, 1, 1, 2, 0, 3, 0, 0, 3, 2, 2};
  const double weights[] = {1, 2, 1, 3, 1, 1}, uKnots[] = {0, 0, 0, 1, 1, 1},
               vKnots[] = {0, 0, 1, 1};
  const int rational = create_surface_nurbs(net, 3, 2, weights, uKnots, 6, vKnots, 4, 2, 1);
  const int trimmed = create_trimmed_surface_with_circular_hole(rational, 0.5, 0.5, 0.1, nullptr);
  const double at[] = {0.3, 0.7};
  double direct[12], through[12];
  ASSERT_EQ(evaluate_surface_exact_batch(rational, at, 1, 1, direct), 0);
  ASSERT_EQ(evaluate_surface_exact_batch(trimmed, at, 1, 1, through), 0);
  EXPECT_TRUE(std::equal(direct, direct + 12, through));
}

TEST_F(TrimmedSurfaces, TessellateWhatIsVisible) {
  const int surface = holed();
  std::vector<double> vertices(3 * 2000);
  std::vector<int> indices(3 * 4000);
  int vertexCount = 0, indexCount = 0;
  ASSERT_EQ(
      tessellate_trimmed_surface_visible_region(surface, 12, 9, vertices.data(), 2000, &vertexCount,
                                                indices.data(), 12000, &indexCount),
      0);
  double area = 0;
  for (int k = 0; k < indexCount; k += 3) {
    const Point3D a = toPoint(&vertices[3 * indices[k]]),
                  b = toPoint(&vertices[3 * indices[k + 1]]),
                  c = toPoint(&vertices[3 * indices[k + 2]]);
    area += 0.5 * (b - a).cross(c - a).z();
  }
  EXPECT_NEAR(area, 1 - 50 * 0.0625 * std::sin(kPi / 50), 1e-8);
}
