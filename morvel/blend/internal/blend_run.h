#pragma once

#include <string>
#include <utility>

#include "morvel/blend/rolling_ball_blend_orchestrator.h"

namespace trova::geometry::blend {

/// One blend under way: each stage leaves what the next ones need, or a status and errors.
struct RollingBallBlendOrchestrator::Run {
  Run(const Surface& first, const Surface& second, double toFirst, double toSecond,
      const RollingBallBlendConfig& settings, const RadiusLaw* changing = nullptr)
      : surface1(first),
        surface2(second),
        distance1(toFirst),
        distance2(toSecond),
        config(settings),
        law(changing) {
    result.distance1 = distance1;
    result.distance2 = distance2;
  }

  double radius() const { return distance1 < 0.0 ? -distance1 : distance1; }

  double leastRadius() const { return law ? law->least() : radius(); }

  /// False, for a stage to hand on.
  bool fail(const char* status, const char* error, std::string cause = {}) {
    result.status = status;
    result.errors.emplace_back(error);
    if (!cause.empty()) result.errors.push_back(std::move(cause));
    return false;
  }

  void warn(std::string text) { result.warnings.push_back(std::move(text)); }

  const Surface& surface1;
  const Surface& surface2;
  double distance1;
  double distance2;
  RollingBallBlendConfig config;
  const RadiusLaw* law;  // null for a constant radius
  BallPath path;
  RollingBallBlendResult result;
};

}  // namespace trova::geometry::blend
