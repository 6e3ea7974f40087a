// Long calls tell a host how far they are, and stop where it says so.

#include "tests/api/surface_interface.h"

namespace morvel_test {
namespace {

using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::SizeIs;

constexpr double kNever = 2.0;

/// Listens while it lives, and cancels from a fraction on.
class Host {
 public:
  explicit Host(double cancelFrom = kNever) : cancelFrom_(cancelFrom) {
    set_progress_callback(hear, this);
  }
  ~Host() { set_progress_callback(nullptr, nullptr); }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  std::vector<double> fractions;
  std::vector<std::string> stages;

 private:
  static int hear(double fraction, const char* stage, void* user) {
    auto& host = *static_cast<Host*>(user);
    host.fractions.push_back(fraction);
    host.stages.emplace_back(stage);
    return fraction >= host.cancelFrom_ ? 7 : 0;
  }

  double cancelFrom_;
};

std::string nsidedError() {
  char text[1024];
  get_last_nsided_error(text, sizeof text);
  return text;
}

/// count points x y z of a hill over [0, 10] x [0, 10], in no order.
std::vector<double> hill(int count) {
  std::vector<double> points;
  for (int k = 0; k < count; ++k) {
    const double x = std::fmod(k * 6.18033988, 10.0), y = 10.0 * k / count;
    points.insert(points.end(), {x, y, std::sin(x) * std::cos(0.5 * y)});
  }
  return points;
}

std::vector<double> helix(int count) {
  std::vector<double> points;
  for (int k = 0; k < count; ++k)
    points.insert(points.end(), {std::cos(0.01 * k), std::sin(0.01 * k), 0.003 * k});
  return points;
}

/// A call and what it says where it was cancelled.
struct LongCall {
  const char* name;
  int cancelled;
  std::function<int()> call;
};

class Progress : public SurfaceInterface {
 protected:
  Progress() {
    initialize_surface_engine1(engine1_);
    initialize_surface_engine2(engine2_);
    create_surface_engine2_interpolated_surface(measured2_);
  }
  ~Progress() override {
    set_progress_callback(nullptr, nullptr);
    for (const auto& [handle, curve] : std::unordered_map(trova_internal::g_curve_on_surfaces))
      delete_curve_on_surface(handle);
    cleanup_surface_engine1();
    cleanup_surface_engine2();
    cleanup_surface_engine3();
  }

  /// Of every registry that a call could store in.
  static std::vector<std::size_t> counts() {
    return {std::size_t(get_curve_count()), std::size_t(get_surfaces_count()),
            std::size_t(get_point_count()), trova_internal::g_curve_on_surfaces.size(),
            g_trimmed_surfaces.size()};
  }

  std::vector<LongCall> longCalls() {
    return {
        {"fit_bspline_curve_simple", -1,
         [&] { return fit_bspline_curve_simple(helix_.data(), 2000, 3); }},
        {"fit_bspline_curve_adaptive_parameterization", -1,
         [&] { return fit_bspline_curve_adaptive_parameterization(helix_.data(), 2000, 3); }},
        {"interpolate_bspline_curve", -1,
         [&] { return interpolate_bspline_curve(helix_.data(), 300, 3); }},
        {"fit_constrained_bspline_curve", -1,
         [&] {
           return fit_constrained_bspline_curve(helix_.data(), 2, helix_.data() + 6, 300, 3);
         }},
        {"initialize_surface_engine1", -2, [&] { return initialize_surface_engine1(engine1_); }},
        {"fit_surface_engine1", -2, [&] { return fit_surface_engine1(engine1_, 5); }},
        {"initialize_surface_engine2", -2, [&] { return initialize_surface_engine2(engine2_); }},
        {"create_surface_engine2_interpolated_surface", -2,
         [&] { return create_surface_engine2_interpolated_surface(engine2_); }},
        {"get_surface_engine2_max_deviation", -2,
         [&] { return int(std::floor(get_surface_engine2_max_deviation(measured2_))); }},
        {"create_surface_engine3", -1,
         [&] { return create_surface_engine3(hill_.data(), 1600, 5); }},
        {"create_surface_engine3_with_constraints", -1,
         [&] {
           return create_surface_engine3_with_constraints(hill_.data(), nullptr, nullptr, 1600,
                                                          hill_.data(), nullptr, 3, 3, 3, 30, 30, 5,
                                                          0.0);
         }},
        {"surface_engine3_apply_g1_constraints", -1,
         [&] { return surface_engine3_apply_g1_constraints(engine3_); }},
        {"create_rolling_ball_blend", -4,
         [&] {
           return create_rolling_ball_blend(ground_, wall_, 0.5, 20, 20, 50, 20, 0, 1, nullptr,
                                            nullptr, nullptr);
         }},
        {"create_rolling_ball_blend_with_method", -4,
         [&] {
           return create_rolling_ball_blend_with_method(ground_, wall_, 0.5, 4, 1e-4, 20, 20, 50,
                                                        20, 1, 1, nullptr, nullptr, nullptr,
                                                        nullptr, nullptr, 0, nullptr, nullptr, 0);
         }},
        {"create_variable_rolling_ball_blend", -4,
         [&] {
           const double t[] = {0, 1}, r[] = {0.4, 0.6};
           return create_variable_rolling_ball_blend(ground_, wall_, t, r, 2, 0, 0, 20, 20, 10,
                                                     nullptr, nullptr, nullptr, 0);
         }},
        {"compute_surface_intersection", -4,
         [&] {
           int points = 0;
           return compute_surface_intersection(ground_, wall_, 1e-4, 20, nullptr, nullptr, nullptr,
                                               0, nullptr, nullptr, nullptr, 0, nullptr, 0, &points,
                                               nullptr, nullptr, nullptr);
         }},
        {"compute_contact_points", -4,
         [&] {
           return compute_contact_points(ground_, wall_, helix_.data(), 20, 0.5, nullptr, nullptr,
                                         nullptr, nullptr, nullptr);
         }},
        {"create_variable_offset_surface", -4,
         [&] {
           const double t[] = {0, 1}, r[] = {0.4, 0.6};
           return create_variable_offset_surface(wavy_, t, r, 2, 0, 0, 40);
         }},
        {"create_nsided_patch_rbf", -4, [&] { return filled(0, 0); }},
        {"create_nsided_patch_rbf, in space", -4, [&] { return filled(0, 1); }},
        {"create_nsided_patch_rbf, by a Hermite field", -4, [&] { return filled(1, 0); }},
        {"generate_nsided_preview_rbf", -4,
         [&] {
           const std::vector<int> levels(4, 0);
           const std::vector<double> weights(4, 1.0);
           std::vector<double> points(3 * 400);
           int count = 0;
           double deviation = 0.0;
           return generate_nsided_preview_rbf(loop_.data(), 4, levels.data(), weights.data(), 8, 8,
                                              1e-3, 1, 20, points.data(), 400, &count, &deviation);
         }},
        {"project_points_to_surface_batch", -4,
         [&] {
           std::vector<double> uv(2 * 1600);
           return project_points_to_surface_batch(wavy_, hill_.data(), 1600, uv.data(), nullptr,
                                                  nullptr);
         }},
        {"project_geometry_unified", 0, [&] { return projected(); }},
        {"generate_projection_preview", 0,
         [&] {
           int points = 0;
           return generate_projection_preview(&drawn_, 1, &wavy_, 1, "view", 0, 0, -1, nullptr, 0,
                                              &points, nullptr, 0, nullptr);
         }},
        {"create_wire_trimmed_surface", -4,
         [&] {
           const int sizes[] = {1, 1}, inner[] = {ring_, ring_};
           return create_wire_trimmed_surface(wavy_, 1, &ring_, 2, sizes, inner, nullptr);
         }},
        {"snip_surface_with_wire_3d", -4,
         [&] { return snip_surface_with_wire_3d(wavy_, &ring_, 1, 1, nullptr); }},
        {"tessellate_trimmed_surface_visible_region", -4,
         [&] {
           std::vector<double> vertices(3 * 20'000);
           std::vector<int> indices(120'000);
           int vertexCount = 0, indexCount = 0;
           return tessellate_trimmed_surface_visible_region(holed_, 60, 60, vertices.data(), 20'000,
                                                            &vertexCount, indices.data(), 120'000,
                                                            &indexCount);
         }},
        {"convert_surface_to_bspline", -4, [&] { return convert_surface_to_bspline(ball_); }},
        {"surface_arithmetic_operation", -1,
         [&] { return surface_arithmetic_operation(ball_, ball_, 0, 0); }},
    };
  }

  int filled(int hermite, int inSpace) const {
    const int levels[] = {0, 0, 0, 0};
    const double weights[] = {1, 1, 1, 1};
    double figures[4];
    int patch = 0;
    const int surface = create_nsided_patch_rbf(loop_.data(), 4, levels, weights, 8, 8, 0.5, 20,
                                                1e-6, 1e-3, hermite, inSpace, 12, 0.0, figures,
                                                figures + 1, figures + 2, figures + 3, &patch);
    if (surface > 0) delete_nsided_patch_rbf(patch);
    return surface;
  }

  int projected() const {
    int onSurface[4], inSpace[4];
    return project_geometry_unified(&drawn_, 1, &wavy_, 1, "view", 0, 0, -1, "both", "adaptive",
                                    1e-6, 0, 0, "nearest", 0, onSurface, nullptr, inSpace, nullptr,
                                    4, nullptr, nullptr, 0);
  }

  const std::vector<double> hill_ = hill(1600);
  const std::vector<double> helix_ = helix(2000);
  const std::vector<double> grid_ = wavyPoints(30, 40);
  const int engine1_ = create_surface_engine1(hill_.data(), 1600);
  const int engine2_ = create_surface_engine2(grid_.data(), 30, 40, 3, 3, 0);
  const int measured2_ = [&] {
    const int engine = create_surface_engine2(grid_.data(), 30, 40, 3, 3, 0);
    initialize_surface_engine2(engine);
    return engine;
  }();
  const int engine3_ = create_surface_engine3(hill_.data(), 1600, 5);
  const int ground_ = [] {
    const double corner[] = {-4, -4, 0}, x[] = {8, 0, 0}, y[] = {0, 8, 0};
    return create_surface_plane(corner, x, y);
  }();
  const int wall_ = [] {
    const double corner[] = {0, -3, -2}, along[] = {0, 6, 0}, up[] = {0, 0, 5};
    return create_surface_plane(corner, along, up);
  }();
  const int wavy_ = wavyClamped(12, 12, 3, 3);  // over [0, 11] x [0, 11]
  const int ball_ = create_surface_sphere(0, 0, 0, 1);
  const int ring_ = create_curve_circle(5, 5, 3, 2, 0, 0, 1);
  const int drawn_ = create_curve_line(1, 2, 5, 9, 8, 5);
  const int holed_ = create_trimmed_surface_with_circular_hole(wavy_, 0.5, 0.5, 0.25, nullptr);
  const std::vector<int> loop_ = {
      create_curve_line(0, 0, 0, 4, 0, 1), create_curve_line(4, 0, 1, 4, 3, 0),
      create_curve_line(4, 3, 0, 0, 3, 1), create_curve_line(0, 3, 1, 0, 0, 0)};
};

TEST_F(Progress, FractionsRiseFromNothingToOne) {
  for (const LongCall& call : longCalls()) {
    Host host;
    g_last_error.clear();
    const int result = call.call();
    ASSERT_TRUE(result >= 0 && result != call.cancelled) << call.name << ": " << lastError();
    ASSERT_THAT(host.fractions, SizeIs(testing::Ge(2u))) << call.name;
    EXPECT_TRUE(std::is_sorted(host.fractions.begin(), host.fractions.end())) << call.name;
    EXPECT_EQ(host.fractions.front(), 0.0) << call.name;
    EXPECT_EQ(host.fractions.back(), 1.0) << call.name;
    EXPECT_EQ(std::count(host.fractions.begin(), host.fractions.end(), 1.0), 1) << call.name;
    EXPECT_THAT(host.stages, Each(testing::Not(testing::IsEmpty()))) << call.name;
  }
}

TEST_F(Progress, CancellingStoresNothingAndSpoilsNothing) {
  for (const LongCall& call : longCalls()) {
    for (const double from : {0.0, 0.3, 1.0}) {
      g_last_error.clear();
      const auto before = counts();
      {
        Host host(from);
        EXPECT_EQ(call.call(), call.cancelled) << call.name << " from " << from;
        EXPECT_GE(host.fractions.back(), from) << call.name;
      }
      EXPECT_EQ(counts(), before) << call.name << " from " << from;
      EXPECT_THAT(lastError() + trova_internal::trimmedSurfaceError(),
                  HasSubstr("Cancelled in stage '"))
          << call.name;
    }
    const int again = call.call();
    EXPECT_TRUE(again >= 0 && again != call.cancelled) << call.name << ": " << lastError();
  }
}

TEST_F(Progress, CancelledFamiliesKeepTheTextWhereTheirOwnIs) {
  const Host host(0.2);
  EXPECT_EQ(filled(0, 1), -4);
  EXPECT_THAT(nsidedError(), HasSubstr("Cancelled in stage '"));
  EXPECT_EQ(nsidedError(), lastError());
  EXPECT_EQ(snip_surface_with_wire_3d(wavy_, &ring_, 1, 1, nullptr), -4);
  EXPECT_THAT(trova_internal::trimmedSurfaceError(),
              HasSubstr("Exception in snip_surface_with_wire_3d: Cancelled in stage '"));
}

TEST_F(Progress, CancelledEnginesAreThereAndEmptyOrNotThereAtAll) {
  ASSERT_EQ(fit_surface_engine1(engine1_, 2), 1);
  {
    const Host host(0.5);
    EXPECT_EQ(fit_surface_engine1(engine1_, 2), -2);
    EXPECT_EQ(create_surface_engine2_interpolated_surface(measured2_), -2);
    EXPECT_EQ(create_surface_engine3(hill_.data(), 1600, 5), -1);
  }
  EXPECT_EQ(surface_engine1_has_surface(engine1_), 0);
  EXPECT_EQ(surface_engine2_has_surface(measured2_), 0);
  EXPECT_EQ(register_surface_engine1_in_main_system(engine1_), -2);
  EXPECT_EQ(fit_surface_engine1(engine1_, 2), 1);
  EXPECT_EQ(cleanup_surface_engine3(), 1);  // the one that was made before
}

// The callback deletes what the call is at work on.
TEST_F(Progress, TheCallbackMayDeleteButBeginNothing) {
  struct Meddler {
    int surface, curve;
    std::vector<int> results;
  } meddler{wavy_, drawn_, {}};
  set_progress_callback(
      [](double, const char*, void* user) {
        auto& own = *static_cast<Meddler*>(user);
        if (!own.results.empty()) return 0;
        own.results = {create_surface_sphere(0, 0, 0, 1), get_surface_u_degree(own.surface),
                       delete_curve(own.curve), get_curve_count()};
        delete_surface(own.surface);
        clear_all_curves();
        return 0;
      },
      &meddler);
  const int curves = get_curve_count();
  EXPECT_EQ(projected(), 1) << lastError();
  EXPECT_THAT(meddler.results, testing::ElementsAre(-4, -4, 0, curves - 1));
  EXPECT_EQ(get_curve_count(), 1);  // the projected one
}

TEST_F(Progress, ACallbackMayTakeItselfOut) {
  int heard = 0;
  set_progress_callback(
      [](double, const char*, void* user) {
        ++*static_cast<int*>(user);
        set_progress_callback(nullptr, nullptr);
        return 0;
      },
      &heard);
  EXPECT_EQ(projected(), 1);
  EXPECT_EQ(projected(), 1);
  EXPECT_EQ(heard, 1);
}

// Half the fallback's work would be wasted if the first attempt's failing started it.
TEST_F(Progress, NothingElseIsTriedAfterACancelledFit) {
  Host host(0.0);
  EXPECT_EQ(fit_bspline_curve_adaptive_parameterization(helix_.data(), 2000, 3), -1);
  EXPECT_THAT(host.fractions, SizeIs(1));
  EXPECT_THAT(lastError(), HasSubstr("Cancelled in stage 'fitting a curve' at 0 %"));
}

}  // namespace
}  // namespace morvel_test
