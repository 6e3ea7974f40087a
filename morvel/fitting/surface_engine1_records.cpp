// The options and the result of SurfaceEngine1.

#include "morvel/fitting/surface_engine1.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry {
namespace {

namespace status = foundation::status;

template <class... Parts>
void say(const Parts&... parts) {
  status::progress(status::Symbol::None, parts...);
}

}  // namespace

void SurfaceEngine1Options::configure_from_fitting_mode(int mode) {
  fitting_mode = mode;
  if (mode == int(SurfaceFittingMode::EXPERT)) return;
  force_regularization = false;
  const bool isFast = mode == int(SurfaceFittingMode::FAST);
  condition_analysis = !isFast;
  advanced_parameterization = shape_analysis = boundary_analysis = !isFast;
  if (isFast) {
    parameterization_method = int(SurfaceParameterizationMethod::LEAST_SQUARES_PLANE);
    say("🚀 FAST Mode: Speed-optimized configuration applied");
    return;
  }
  if (mode != int(SurfaceFittingMode::SMART)) {
    status::line(status::Level::Warning, status::Stream::Output, status::Symbol::Warning,
                 "Unknown fitting mode ", mode, ", using SMART");
    fitting_mode = int(SurfaceFittingMode::SMART);
  }
  parameterization_method = int(SurfaceParameterizationMethod::UNIVERSAL);
  adaptive = true;
  say("🧠 SMART Mode: Intelligent optimization configuration applied");
}

void SurfaceFittingResult::print_summary() const {
  say("");
  say("=== Surface Fitting Results ===");
  say("Valid: ", is_valid ? "Yes" : "No");
  say("Method: ", method_used);
  say("Data points: ", data_points);
  say("Degrees: [", degree_u, ", ", degree_v, "]");
  say("Control grid: ", control_points_u, " x ", control_points_v);
  say("Total control points: ", std::int64_t(control_points_u) * control_points_v);
  say("Max deviation: ", max_deviation);
  say("RMS deviation: ", rms_deviation);
  say("Condition number: ", condition_number);
  say("Total time: ", total_time_ms, " ms");
  say("Mathematical tests: ", mathematical_tests_passed ? "Pass" : "Fail");
  if (!warnings.empty()) say("Warnings:");
  for (const std::string& warning : warnings)
    say("  - ", warning);
  say("============================");
  say("");
}

}  // namespace trova::geometry
