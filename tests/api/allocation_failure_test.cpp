#include <cstdlib>
#include <memory>
#include <new>
#include <span>

#include "tests/api/curve_interface.h"

// Every allocation of a session that uses all families fails once: no exception leaves the
// interface, the registries are as before, and the same call succeeds when it is made again.

namespace {

constexpr long kNever = -1;

// Counts down to the allocation that fails.
long allocationsUntilFailure = kNever;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  const bool fails = allocationsUntilFailure == 0;
  if (allocationsUntilFailure >= 0) --allocationsUntilFailure;
  return fails ? nullptr : std::malloc(size > 0 ? size : 1);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* memory = operator new(size, std::nothrow);
  if (!memory) throw std::bad_alloc();
  return memory;
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace morvel_test {
namespace {

constexpr double kPoints[] = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 0};
constexpr double kKnots[] = {0, 0, 0, 0, 1, 1, 1, 1};
constexpr double kWeights[] = {1, 2, 2, 1};
constexpr double kNet[] = {0, 0, 0, 1, 0, 1, 2, 0, 0, 0, 1, 1, 1, 1,
                           2, 2, 1, 1, 0, 2, 0, 1, 2, 1, 2, 2, 0};
constexpr double kNetKnots[] = {0, 0, 0, 1, 1, 1};
constexpr double kMatrix[] = {0, -1, 0, 1, 1, 0, 0, 2, 0, 0, 1, 3, 0, 0, 0, 1};
constexpr double kNetWeights[] = {1, 2, 1, 2, 3, 2, 1, 2, 1};
constexpr double kParameters[] = {0.1, 0.7, 0.3, 0.3, 1, 0};  // or pairs of them, or two points
constexpr double kX[] = {1, 0, 0}, kY[] = {0, 1, 0}, kZ[] = {0, 0, 1};

// The handles that every session starts with, in the order of their making.
enum StartCurve { kLine = 20000, kCircle, kEllipse, kBezierCurve, kBspline, kNurbs, kOffset };
enum StartSurface { kPatch = 40000, kPlane, kSphere, kBezierSurface, kRational };
constexpr int kPoint = 2000;
constexpr int kOnPatch = 60000;
constexpr int kKernelSurface = 1;

double room[4000];
int numbers[8000];
char text[200];

void dropLine(trova::foundation::status::Level, std::string_view, void*) {}

// One call of the interface; it says whether it succeeded, and allocates nothing itself.
struct Step {
  const char* name;
  bool (*succeeds)();
};

// clang-format off
#define STEP(call, condition) {#call, [] { const auto result = call; return result condition; }}
// clang-format on
#define MADE(call) STEP(call, > 0)
#define DONE(call) STEP(call, == 0)

const Step kCurveSteps[] = {
    MADE(create_point(1, 2, 3)),
    DONE(delete_point(kPoint)),
    MADE(create_curve_line(0, 0, 0, 1, 2, 3)),
    MADE(create_curve_circle(0, 0, 0, 1, 0, 0, 1)),
    MADE(create_arc(0, 0, 0, 1, 0, 0, 1, 0, 1)),
    MADE(create_arc_three_points(kX, kY, kZ)),
    MADE(create_arc_center_start_end(kX, kY, kZ, kX)),
    MADE(create_ellipse_enhanced(kX, kY, kZ, 2, 1, 0, 1)),
    MADE(create_curve_bezier(kPoints, 4)),
    MADE(create_curve_bspline_clamped(kPoints, 4, 2)),
    MADE(create_curve_bspline(kPoints, 4, kKnots, 8, 3)),
    MADE(create_curve_nurbs(kPoints, 4, kWeights, kKnots, 8, 3)),
    MADE(get_control_points(kBspline, room, 4)),
    MADE(get_curve_info(kBspline, text, 200)),
    DONE(get_arc_properties(kCircle, room, room, room, room, room, room)),
    DONE(evaluate_curve_at_parameter(kNurbs, 0.3, room)),
    DONE(evaluate_curve_derivatives(kNurbs, 0.3, 5, room)),
    DONE(evaluate_curve_normal(kBspline, 0.3, room)),
    DONE(evaluate_curve_curvature(kBspline, 0.3, room)),
    DONE(evaluate_curve_length(kBezierCurve, 0, 0.001, room)),
    DONE(get_curve_point(kOffset, 3, room, room, room)),
    MADE(get_curve_mesh_data(kBspline, room, 100)),
    DONE(sample_curve_advanced(kBspline, 0, 20, 0, room, 100, numbers)),
    DONE(sample_curve_advanced(kLine, 1, 4, 0, room, 100, numbers)),
    DONE(sample_curve_advanced(kBspline, 2, 0, 0.1, room, 100, numbers)),
    MADE(reverse_curve(kNurbs)),
    MADE(create_curve_normal_offset(kBspline, 0.1, 0, 0, 1)),
    MADE(create_curve_directional_offset(kOffset, 0, 0, 1, 2)),
    DONE(split_curve(kNurbs, 0.4, numbers, numbers + 1)),
    DONE(split_curve(kEllipse, 0.4, numbers, numbers + 1)),
    MADE(trim_curve(kBspline, 0.2, 0.4)),
    MADE(extend_curve(kBezierCurve, 0.5, 1, 0)),
    MADE(extend_curve(kBspline, 0.5, 0, 1)),
    MADE(elevate_curve_degree(kBspline, 1)),
    MADE(elevate_curve_degree(kCircle, 1)),
    MADE(transform_curve(kCircle, kMatrix)),
    MADE(simplify_curve(kLine, 0.1)),
    MADE(rebuild_curve(kBezierCurve, 5, 2, room)),
    DONE(set_curve_matrix(kLine, kMatrix)),
    DONE(apply_curve_matrix(kBspline)),
    MADE(copy_curve(kNurbs)),
    DONE(modify_curve_control_point(kNurbs, 1, 5, 6, 7)),
    DONE(get_curve_parameter_interval(kOffset, room, room + 1)),
    DONE(get_curve_knot_vector(kNurbs, room, 100, numbers)),
    DONE(get_curve_weights(kNurbs, room, 100, numbers)),
    DONE(get_curve_length(kEllipse, room)),
    DONE(get_curve_bounding_box(kOffset, room, room + 3)),
    DONE(get_curve_closest_parameter(kNurbs, 1, 2, 3, room)),
    DONE(delete_curve(kLine)),
    STEP(replace_curve_handle(kLine, kCircle), == true),
    STEP(get_next_surface_handle(), > 0),
    STEP(ensure_surface_in_registry(kPlane), == true),
    STEP(foundation_evaluate_basis_function(1, 3, 0.5, kKnots, 8), > 0),
    STEP(foundation_evaluate_all_basis_functions(3, 0.5, kKnots, 8, room), == 3),
    STEP(foundation_get_domain_from_knots(kKnots, 8, room, room), == 1),
};

const Step kBatchSteps[] = {
    DONE(evaluate_curve_batch(kNurbs, kParameters, 6, 4, room)),
    DONE(evaluate_curve_batch(kOffset, kParameters, 6, 1, room)),
    DONE(evaluate_curve_tangent_batch(kEllipse, kParameters, 6, room)),
    DONE(evaluate_curve_normal_batch(kNurbs, kParameters, 6, room)),
    DONE(evaluate_curve_curvature_batch(kBezierCurve, kParameters, 6, room)),
    DONE(evaluate_curve_length_batch(kLine, kParameters, 3, room)),
    DONE(get_curve_closest_parameter_batch(kBspline, kParameters, 2, room)),
    DONE(evaluate_surface_batch(kBezierSurface, kParameters, 3, 2, room)),
    DONE(evaluate_surface_grid(kPatch, kParameters, 6, kParameters, 3, 1, room)),
    DONE(evaluate_surface_exact_batch(kRational, kParameters, 3, 2, room)),
    DONE(get_surface_normal_batch(kPatch, kParameters, 3, room)),
    DONE(get_surface_closest_parameter_batch(kPlane, kParameters, 2, room)),
    MADE(create_curve_on_surface(kPatch, kParameters, 3, 2)),
    DONE(get_curve_on_surface_interval(kOnPatch, room, room + 1)),
    DONE(evaluate_curve_on_surface(kOnPatch, 0.5, room)),
    DONE(evaluate_curve_on_surface_uv(kOnPatch, 0.5, room)),
    DONE(evaluate_curve_on_surface_batch(kOnPatch, kParameters, 6, room)),
    DONE(evaluate_curve_on_surface_uv_batch(kOnPatch, kParameters, 6, room)),
    STEP(get_curve_on_surface_base(kOnPatch), == kPatch),
    STEP(get_all_curves_on_surfaces(numbers, 5), == 1),
    DONE(delete_curve_on_surface(kOnPatch)),
    STEP(get_all_points(numbers, 5), == 1),
    {"a line to a host's callback",
     [] {
       set_log_callback([](int, const char*, void*) {}, nullptr);
       const bool isMade = create_point(1, 2, 3) > 0;
       trova::foundation::status::setSink(dropLine, nullptr);
       return isMade;
     }},
};

const auto kSharedCurve = std::make_shared<BSplineCurve>(unevenCubic());
const auto kSharedSurface = std::make_shared<SphereSurface>(Point3D(), 1.0);

const Step kObjectSteps[] = {
    MADE(create_curve_handle(kSharedCurve)),
    STEP(get_curve_from_handle(kCircle), != nullptr),
    STEP(get_curve_from_handle(kBspline), != nullptr),
    STEP(get_surface_from_handle(kPatch), != nullptr),
    {"registerSurface",
     [] {
       constexpr int reserved = 49000;
       registerSurface(reserved, kSharedSurface);
       return trova_internal::isValidSurfaceId(reserved);
     }},
};

const Step kSurfaceSteps[] = {
    STEP(initialize_kernel(), == 1),
    MADE(create_nurbs_surface(kNet, 3, 3, kNetKnots, 6, kNetKnots, 6, 2, 2)),
    MADE(create_bspline_surface(kNet, 3, 3, 2, 2, kNetKnots, 6, kNetKnots, 6)),
    MADE(create_surface_bspline(kNet, 3, 3, kNetKnots, 6, kNetKnots, 6, 2, 2)),
    MADE(create_surface_bspline_clamped(kNet, 3, 3, 2, 1)),
    MADE(create_surface_bezier(kNet, 3, 3)),
    MADE(create_surface_nurbs(kNet, 3, 3, kNetWeights, kNetKnots, 6, kNetKnots, 6, 2, 2)),
    MADE(create_surface_plane(kX, kY, kZ)),
    MADE(create_surface_sphere(0, 0, 0, 1)),
    MADE(create_surface_extrude(kBspline, 0, 0, 1, 2)),
    MADE(create_surface_revolve(kLine, 5, 0, 0, 0, 0, 1, 0, 1)),
    MADE(create_surface_ruled(kLine, kBezierCurve)),
    MADE(create_surface_pipe(kLine, 0.1)),
    MADE(create_surface_sweep(kCircle, kLine)),
    {"create_surface_loft",
     [] {
       constexpr int sections[] = {kBspline, kBezierCurve};
       return create_surface_loft(sections, 2, 1) > 0;
     }},
    MADE(create_cube(kX, 2, numbers)),
    DONE(get_surface_type(kPatch, text, 200)),
    DONE(get_surface_u_knot_vector(kPatch, room, 100, numbers)),
    DONE(get_surface_control_points(kPatch, room, 100, numbers, numbers, numbers)),
    STEP(get_surface_area(kPlane, 0.1), > 0),
    STEP(evaluate_surface_at_parameter(kPlane, 0.5, 0.5).x, > 0),
    DONE(get_surface_first_derivatives(kPatch, 0.5, 0.5, room, room)),
    STEP(evaluate_surface_derivatives_at_uv(kPatch, 0.5, 0.5, room, room, room), == 1),
    DONE(tessellate_surface(kPatch, 4, room, numbers, numbers + 1, numbers)),
    DONE(get_surface_tessellation_data(kPlane, 0.1, room, 1000, numbers, numbers + 2, 5000,
                                       numbers + 1)),
    DONE(regenerate_surface_tessellation(kPlane, 3, 3)),
    {"get_surface_mesh",
     [] {
       MorvelSurfaceData* const mesh = get_surface_mesh(kKernelSurface, 3);
       free_surface_data(mesh);
       return mesh != nullptr;
     }},
    STEP(split_surface_at_u(kPatch, 0.5, numbers, numbers + 1), == 2),
    MADE(extend_surface(kPatch, 0, 1, 0, 0, 1)),
    MADE(reverse_surface_u(kPatch)),
    MADE(transpose_bspline_surface(kPatch)),
    DONE(elevate_surface_u_degree(kPatch, 1, numbers)),
    MADE(convert_surface_to_bspline(kBezierSurface)),
    MADE(convert_surface_to_nurbs(kPlane)),
    DONE(modify_surface_control_point(kPatch, 1, 1, 0, 0, 5)),
    MADE(surface_arithmetic_operation(kPatch, kPatch, 0, 0)),
    MADE(copy_surface(kRational)),
    DONE(get_surface_weights(kRational, room, 100, numbers)),
    DONE(get_surface_bounding_box(kSphere, room, room + 3)),
    DONE(get_surface_closest_parameter(kBezierSurface, 1, 2, 3, room, room + 1)),
    STEP(set_surface_matrix(kPlane, kMatrix), == 1),
    STEP(apply_surface_matrix(kPatch), == 1),
};

class AllocationFailure : public KernelSession {
 protected:
  AllocationFailure() { trova::foundation::status::setSink(dropLine, nullptr); }
  ~AllocationFailure() override {
    clearCurvesOnSurfaces();
    trova::foundation::status::setSink(nullptr, nullptr);
  }

  // No exported function restarts their numbering.
  static void clearCurvesOnSurfaces() {
    trova_internal::g_curve_on_surfaces.clear();
    g_next_curve_on_surface_id = kOnPatch;
  }

  static void startSession() {
    empty();
    clearCurvesOnSurfaces();
    initialize_kernel();
    create_nurbs_surface(kNet, 3, 3, kNetKnots, 6, kNetKnots, 6, 2, 2);
    create_point(0, 0, 0);
    line();
    unitCircle();
    create_ellipse_enhanced(kX, kY, kZ, 2, 1, 0, 1);
    create_curve_bezier(kPoints, 4);
    create_curve_bspline(kPoints, 4, kKnots, 8, 3);
    create_curve_nurbs(kPoints, 4, kWeights, kKnots, 8, 3);
    create_curve_normal_offset(kBspline, 0.1, 0, 0, 1);
    create_bspline_surface(kNet, 3, 3, 2, 2, kNetKnots, 6, kNetKnots, 6);
    plane();
    sphere();
    create_surface_bezier(kNet, 3, 3);
    create_surface_nurbs(kNet, 3, 3, kNetWeights, kNetKnots, 6, kNetKnots, 6, 2, 2);
    create_curve_on_surface(kPatch, kParameters, 3, 2);
    set_curve_matrix(kBspline, kMatrix);
    set_surface_matrix(kPatch, kMatrix);
    trova_internal::setLastError("");
  }

  struct Counts {
    int curves = get_curve_count();
    int surfaces = get_surfaces_count();
    int kernelSurfaces = get_kernel_surface_count();
    int points = get_point_count();
    int curvesOnSurfaces = get_curve_on_surface_count();
    std::size_t records = g_loft_params.size() + g_sweep_params.size() + g_revolve_params.size() +
                          g_pipe_params.size();
    bool operator==(const Counts&) const = default;
  };

  // Whether the failing allocation was reached, and what the call said.
  struct Outcome {
    bool isReached;
    bool isSuccess;
    bool escaped = false;
  };
  static Outcome callWithFailure(const Step& step, long allocation) {
    allocationsUntilFailure = allocation;
    try {
      const bool isSuccess = step.succeeds();
      const bool isReached = allocationsUntilFailure == kNever;
      allocationsUntilFailure = kNever;
      return {isReached, isSuccess};
    } catch (...) {
      allocationsUntilFailure = kNever;
      return {true, false, true};
    }
  }

  static void expectEndures(const Step& step) {
    SCOPED_TRACE(step.name);
    startSession();
    ASSERT_TRUE(step.succeeds()) << lastError();
    const Counts afterwards;
    for (long allocation = 0;; ++allocation) {
      startSession();
      const Counts before;
      const Outcome outcome = callWithFailure(step, allocation);
      if (!outcome.isReached) break;
      ASSERT_FALSE(outcome.escaped) << "an exception left at allocation " << allocation;
      if (outcome.isSuccess) continue;
      ASSERT_EQ(Counts(), before) << "allocation " << allocation;
      ASSERT_TRUE(step.succeeds())
          << "again, after allocation " << allocation << ": " << lastError();
      ASSERT_EQ(Counts(), afterwards) << "allocation " << allocation;
    }
  }
};

TEST_F(AllocationFailure, IsEnduredByEveryFamily) {
  const std::span<const Step> families[] = {kCurveSteps, kObjectSteps, kSurfaceSteps, kBatchSteps};
  for (const auto family : families)
    for (const Step& step : family)
      expectEndures(step);
}

TEST_F(AllocationFailure, IsToldAsAnException) {
  startSession();
  const Outcome outcome =
      callWithFailure(Step{"", [] { return reverse_curve(kBspline) != -4; }}, 0);
  EXPECT_TRUE(outcome.isReached);
  EXPECT_FALSE(outcome.isSuccess) << "-4";
  EXPECT_EQ(lastError(), "std::bad_alloc");
}

}  // namespace
}  // namespace morvel_test
