#include "morvel/blend/rolling_ball_blend_orchestrator.h"

#include <cmath>
#include <iterator>
#include <utility>

#include "morvel/blend/internal/blend_run.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::blend {
namespace {

using internal::BlendRun;

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

/// The run of every pair of sides, and the choice among them.
template <class Run>
RollingBallBlendResult bestOf(const Run& run) {
  constexpr double kClearlyLonger = 1.01;
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
    } else if (!best.success || spineLength(result) > kClearlyLonger * spineLength(best)) {
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

RollingBallBlendResult RollingBallBlendOrchestrator::createRollingBallBlend(
    const Surface& surface1, const Surface& surface2, double radius,
    const RollingBallBlendConfig& config) {
  // A radius that is not above 0 is refused after the checks before it.
  const double distance = radius > 0.0 ? radius : 0.0;
  return BlendRun(surface1, surface2, distance, distance, config, nullptr).run();
}

RollingBallBlendResult RollingBallBlendOrchestrator::createWithDistances(
    const Surface& surface1, const Surface& surface2, double distance1, double distance2,
    const RollingBallBlendConfig& config) {
  constexpr double kSameShare = 1e-9;
  const bool areEqual =
      std::abs(std::abs(distance1) - std::abs(distance2)) <= kSameShare * std::abs(distance1);
  return BlendRun(surface1, surface2, areEqual ? distance1 : 0.0, areEqual ? distance2 : 0.0,
                  config, nullptr)
      .run();
}

RollingBallBlendResult RollingBallBlendOrchestrator::createWithMethod(
    const Surface& surface1, const Surface& surface2, double radius, BlendMethod method,
    const RollingBallBlendConfig& config) {
  const double r = radius > 0.0 ? radius : 0.0;
  return byMethod(method, [&](const Sides& sides) {
    return BlendRun(surface1, surface2, sides.first * r, sides.second * r, config, nullptr).run();
  });
}

RollingBallBlendResult RollingBallBlendOrchestrator::createWithLaw(
    const Surface& surface1, const Surface& surface2, const RadiusLaw& law, BlendMethod method,
    const RollingBallBlendConfig& config) {
  // The guide of the planes is the spine of the radius between those at the ends.
  const double r = (law.at(0.0) + law.at(1.0)) / 2;
  const double guide = r > 0.0 ? r : 0.0;
  return byMethod(method, [&](const Sides& sides) {
    return BlendRun(surface1, surface2, sides.first * guide, sides.second * guide, config, &law)
        .run();
  });
}

RollingBallBlendResult RollingBallBlendOrchestrator::createRollingBallBlendFromHandles(
    int, int, double, const RollingBallBlendConfig&) {
  RollingBallBlendResult result;
  result.status = "Handle-based blend not fully implemented (placeholder)";
  result.errors.emplace_back("Using surface handles requires registry integration");
  return result;
}

}  // namespace trova::geometry::blend
