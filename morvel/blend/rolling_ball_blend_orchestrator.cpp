#include "morvel/blend/rolling_ball_blend_orchestrator.h"

#include <chrono>
#include <cmath>
#include <exception>
#include <iterator>
#include <utility>

#include "morvel/blend/internal/blend_run.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::blend {
namespace {

namespace status = foundation::status;

struct Sides {
  double first;
  double second;
  const char* name;
};

constexpr Sides kSides[] = {{1.0, 1.0, "along both normals"},
                            {-1.0, -1.0, "against both normals"},
                            {1.0, -1.0, "along the first normal, against the second"},
                            {-1.0, 1.0, "against the first normal, along the second"}};

bool isBetween(int value, int low, int high) { return value >= low && value <= high; }

double spineLength(const RollingBallBlendResult& result) {
  double sum = 0.0;
  for (std::size_t k = 0; k + 1 < result.contacts.size(); ++k)
    sum += result.contacts[k].centre.distanceTo(result.contacts[k + 1].centre);
  return sum;
}

bool isBetter(const RollingBallBlendResult& result, const RollingBallBlendResult& best) {
  constexpr double kClearlyLonger = 1.01;
  if (!best.success || result.is_complete != best.is_complete)
    return !best.success || result.is_complete;
  return spineLength(result) > kClearlyLonger * spineLength(best);
}

/// The run of every pair of sides, and the choice among them.
template <class Run>
RollingBallBlendResult bestOf(const Run& run) {
  RollingBallBlendResult best;
  std::vector<std::string> errors;
  foundation::progress::Stage stage("blending");
  double done = 0.0;
  for (const Sides& sides : kSides) {
    const foundation::progress::Stage attempt(nullptr, done, done + 1.0 / std::size(kSides));
    done += 1.0 / std::size(kSides);
    RollingBallBlendResult result = run(sides);
    if (!result.success) {
      std::string text = std::string(sides.name) + ": " + result.status;
      if (!result.errors.empty()) text += " (" + result.errors.back() + ")";
      errors.push_back(std::move(text));
    } else if (isBetter(result, best)) {
      best = std::move(result);
    }
  }
  if (best.success) {
    stage.finish();
    return best;
  }
  best.status = "No sides of the surfaces give a blend";
  best.errors = std::move(errors);
  return best;
}

template <class Run>
RollingBallBlendResult byMethod(BlendMethod method, const Run& run) {
  const int index = static_cast<int>(method);
  return isBetween(index, 0, 3) ? run(kSides[index]) : bestOf(run);
}

}  // namespace

bool RollingBallBlendOrchestrator::validateConfig(const RollingBallBlendConfig& config) {
  return isBetween(config.offset_resolution, 3, 200) && config.offset_step > 0.0 &&
         isBetween(config.intersection_resolution, 5, 100) &&
         isBetween(config.canal_samples_along, 3, 1000) &&
         isBetween(config.canal_samples_across, 3, 100);
}

void RollingBallBlendOrchestrator::logProgress(const char* stage, const char* text) {
  status::progress(status::Symbol::None, "[INFO] ", stage, ": ", text);
}

RollingBallBlendResult RollingBallBlendOrchestrator::announced(RollingBallBlendResult result) {
  for (const std::string& warning : result.warnings)
    status::line(status::Level::Warning, status::Stream::Error, status::Symbol::None, "[WARNING] ",
                 warning);
  if (!result.success)
    status::line(status::Level::Error, status::Stream::Error, status::Symbol::None, "[ERROR] ",
                 result.status);
  return result;
}

RollingBallBlendResult RollingBallBlendOrchestrator::carryOut(Run run) {
  const auto start = std::chrono::steady_clock::now();
  RollingBallBlendResult& result = run.result;
  foundation::progress::Stage stage("blending");
  try {
    result.success = runStages(run);
    if (result.success) stage.finish();
  } catch (const foundation::progress::Cancelled&) {
    throw;
  } catch (const std::exception& e) {
    result.status = std::string("Module 5 orchestration error: ") + e.what();
    result.errors.push_back(result.status);
  }
  if (!result.success) {
    result.blend_surface.reset();
    cleanupIntermediateResults(run);
  }
  const auto elapsed = std::chrono::steady_clock::now() - start;
  result.timing.total_ms = std::chrono::duration<double, std::milli>(elapsed).count();
  return std::move(result);
}

bool RollingBallBlendOrchestrator::runStages(Run& run) {
  logProgress("MODULE 5", "Starting Rolling Ball Blend Orchestration");
  if (!checkInputs(run)) return false;
  logProgress("MODULE 1", "Creating offset surfaces");
  if (!executeModule1(run)) return false;
  logProgress("MODULE 2", "Computing spine curve");
  if (!executeModule2(run)) return false;
  if (run.config.validate) {
    logProgress("MODULE 3", "Validating contact constraints");
    if (!executeModule3Validation(run))
      run.warn("Contact point validation warnings (proceeding anyway)");
  }
  logProgress("MODULE 4", "Constructing canal surface");
  if (!executeModule4(run)) return false;
  if (run.config.blend_only) cleanupIntermediateResults(run);
  if (run.config.validate) {
    logProgress("MODULE 5", "Final validation");
    if (!validateBlendResult(run)) return false;
  }
  run.result.status = "Rolling ball blend completed successfully";
  logProgress("MODULE 5", run.result.status.c_str());
  return true;
}

bool RollingBallBlendOrchestrator::checkInputs(Run& run) {
  if (!validateConfig(run.config))
    return run.fail("Configuration validation failed", "Invalid configuration parameters");
  if (!run.surface1.isValid() || !run.surface2.isValid())
    return run.fail("One or both input surfaces are invalid", "Invalid input surfaces");
  if (!(run.radius() > 0.0) || !std::isfinite(run.distance1) || !std::isfinite(run.distance2))
    return run.fail("Invalid radius", "Radius must be positive");
  return true;
}

RollingBallBlendResult RollingBallBlendOrchestrator::createRollingBallBlend(
    const Surface& surface1, const Surface& surface2, double radius,
    const RollingBallBlendConfig& config) {
  // A radius that is not above 0 is refused after the checks before it.
  const double distance = radius > 0.0 ? radius : 0.0;
  return announced(carryOut({surface1, surface2, distance, distance, config}));
}

RollingBallBlendResult RollingBallBlendOrchestrator::createWithDistances(
    const Surface& surface1, const Surface& surface2, double distance1, double distance2,
    const RollingBallBlendConfig& config) {
  constexpr double kSameShare = 1e-9;
  const bool areEqual =
      std::abs(std::abs(distance1) - std::abs(distance2)) <= kSameShare * std::abs(distance1);
  return announced(carryOut(
      {surface1, surface2, areEqual ? distance1 : 0.0, areEqual ? distance2 : 0.0, config}));
}

RollingBallBlendResult RollingBallBlendOrchestrator::createWithMethod(
    const Surface& surface1, const Surface& surface2, double radius, BlendMethod method,
    const RollingBallBlendConfig& config) {
  const double r = radius > 0.0 ? radius : 0.0;
  return announced(byMethod(method, [&](const Sides& sides) {
    return carryOut({surface1, surface2, sides.first * r, sides.second * r, config});
  }));
}

RollingBallBlendResult RollingBallBlendOrchestrator::createWithLaw(
    const Surface& surface1, const Surface& surface2, const RadiusLaw& law, BlendMethod method,
    const RollingBallBlendConfig& config) {
  // The guide of the planes is the spine of the radius between those at the ends.
  const double r = (law.at(0.0) + law.at(1.0)) / 2;
  const double guide = r > 0.0 ? r : 0.0;
  return announced(byMethod(method, [&](const Sides& sides) {
    return carryOut({surface1, surface2, sides.first * guide, sides.second * guide, config, &law});
  }));
}

RollingBallBlendResult RollingBallBlendOrchestrator::createRollingBallBlendFromHandles(
    int, int, double, const RollingBallBlendConfig&) {
  RollingBallBlendResult result;
  try {
    result.status = "Handle-based blend not fully implemented (placeholder)";
    result.errors.emplace_back("Using surface handles requires registry integration");
  } catch (const std::exception& e) {
    result.status = std::string("Handle validation error: ") + e.what();
  }
  return result;
}

}  // namespace trova::geometry::blend
