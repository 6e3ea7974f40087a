#include "morvel/fitting/surface_engine3_options.h"

#include <array>
#include <string_view>

#include "morvel/foundation/status_line.h"

namespace trova::geometry {

namespace status = foundation::status;

namespace {

constexpr int kHighestDegree = 10;
constexpr std::string_view kClosingRule = "============================\n";

constexpr std::array kMethodNames = {
    "UNIFORM",        "CHORD_LENGTH",        "CENTRIPETAL",           "UNIVERSAL",
    "PCA_PROJECTION", "LEAST_SQUARES_PLANE", "CONVEX_HULL_PROJECTION"};

bool isMethod(int code) { return code >= 0 && code < static_cast<int>(kMethodNames.size()); }

bool isDegree(int degree) { return degree >= 1 && degree <= kHighestDegree; }

std::vector<std::string> shapeLines(const SurfaceEngine3Result& result) {
  using status::join;
  return {join("Degrees: [", result.degree_u, ", ", result.degree_v, "]"),
          join("Control grid: ", result.control_points_u, " x ", result.control_points_v),
          join("Total control points: ", result.control_points_u * result.control_points_v),
          join("Max deviation: ", result.max_deviation),
          join("RMS deviation: ", result.rms_deviation),
          join("Condition number: ", result.condition_number),
          join("Constraint satisfaction: ", result.constraint_satisfaction)};
}

std::vector<std::string> countLines(const SurfaceEngine3Result& result) {
  using status::join;
  return {"Constraints used:", join("  Interpolation points: ", result.interpolation_constraints),
          join("  Approximation points: ", result.approximation_constraints),
          join("  Derivative constraints: ", result.derivative_constraints),
          join("  Boundary constraints: ", result.boundary_constraints)};
}

std::vector<std::string> timingLines(const SurfaceEngine3Result& result) {
  using status::join;
  return {"Timing:", join("  Parameterization: ", result.parameterization_time_ms, " ms"),
          join("  Constraint building: ", result.constraint_building_time_ms, " ms"),
          join("  Solving: ", result.solving_time_ms, " ms"),
          join("  Total: ", result.total_time_ms, " ms")};
}

std::vector<std::string> warningLines(const SurfaceEngine3Result& result) {
  std::vector<std::string> lines;
  if (!result.warnings.empty()) lines.push_back("Warnings:");
  for (const std::string& warning : result.warnings)
    lines.push_back("  - " + warning);
  return lines;
}

/// The lines between the heading and the closing rule.
std::vector<std::string> bodyLines(const SurfaceEngine3Result& result) {
  std::vector<std::string> lines{status::join("Success: ", result.success ? "Yes" : "No")};
  if (!result.success) {
    lines.push_back("Error: " + result.error_message);
    return lines;
  }
  for (const auto& part :
       {shapeLines(result), countLines(result), timingLines(result), warningLines(result)})
    lines.insert(lines.end(), part.begin(), part.end());
  return lines;
}

}  // namespace

const char* surface_engine3_parameterization_method_name(int code) {
  return isMethod(code) ? kMethodNames[static_cast<std::size_t>(code)] : "unknown";
}

SurfaceEngine3ParameterizationMethod int_to_param_method(int code) {
  if (isMethod(code)) return static_cast<SurfaceEngine3ParameterizationMethod>(code);
  status::progress(status::Symbol::Warning, "WARNING: Invalid parameterization method ", code,
                   ", using LEAST_SQUARES_PLANE");
  return SurfaceEngine3ParameterizationMethod::LEAST_SQUARES_PLANE;
}

bool SurfaceEngine3Options::validate() const {
  return isDegree(degree_u) && isDegree(degree_v) && control_points_u >= 0 &&
         control_points_v >= 0 && fitting_tolerance >= 0.0 && condition_threshold > 0.0 &&
         regularization_weight > 0.0 && g1_tolerance > 0.0 && constraint_tolerance > 0.0;
}

bool SurfaceEngine3Options::validate(std::string& message) const {
  const bool isValid = validate();
  message = isValid ? "Options validated successfully"
                    : "Invalid options: Check degrees, control points, and tolerance values";
  return isValid;
}

void SurfaceEngine3Result::print_summary() const {
  const auto print = [](std::string_view text) { status::progress(status::Symbol::None, text); };
  print("\n=== Surface Engine3 Results ===");
  for (const std::string& line : bodyLines(*this))
    print(line);
  print(kClosingRule);
}

std::string SurfaceEngine3Result::get_detailed_report() const {
  std::string report = "Surface Engine3 Detailed Report\n===============================\n";
  for (const std::string& line : bodyLines(*this))
    report += line + '\n';
  return report;
}

}  // namespace trova::geometry
