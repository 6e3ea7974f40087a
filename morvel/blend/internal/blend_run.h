#pragma once

#include <string>

#include "morvel/blend/rolling_ball_blend_orchestrator.h"

namespace trova::geometry::blend::internal {

/// One run of the stages. Each stage leaves what the next ones need, or a status and errors.
class BlendRun {
 public:
  BlendRun(const Surface& surface1, const Surface& surface2, double distance1, double distance2,
           const RollingBallBlendConfig& config, const RadiusLaw* law);

  RollingBallBlendResult run();

 private:
  bool runStages();
  bool checkInputs();
  bool executeModule1();
  bool executeModule2();
  bool executeModule3Validation();
  bool executeModule4();
  bool validateBlendResult();
  bool chooseBranch(const SurfaceIntersection& met);
  void collectContacts();
  std::unique_ptr<BSplineCurve> centreCurve() const;
  void cleanupIntermediateResults();
  bool fail(const char* status, const char* error, std::string cause = {});
  static void logProgress(const char* stage, const char* text);

  const Surface& surface1_;
  const Surface& surface2_;
  double distance1_;
  double distance2_;
  RollingBallBlendConfig config_;
  const RadiusLaw* law_;
  BallPath path_;
  RollingBallBlendResult result_;
};

}  // namespace trova::geometry::blend::internal
