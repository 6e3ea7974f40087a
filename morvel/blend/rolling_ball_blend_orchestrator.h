#pragma once

#include <memory>
#include <optional>
#include <string>

#include "morvel/blend/ball_path.h"
#include "morvel/blend/blend_records.h"
#include "morvel/blend/radius_law.h"
#include "morvel/blend/surface_intersection_generator.h"

// The whole of a rolling-ball blend: offsets, spine, contacts, canal surface, in this order.

namespace trova::geometry::blend {

/// On which sides of the surfaces the ball rolls: where their normals (Su x Sv) point, or not.
enum class BlendMethod : int {
  AlongBoth = 0,
  AgainstBoth = 1,
  AlongFirst = 2,  ///< along the first normal, against the second
  AlongSecond = 3,
  Automatic = 4  ///< the sides with the longest complete spine, else the longest; about equally
                 ///< long, the first of these
};
inline constexpr int kBlendMethods = 5;

class MORVEL_API RollingBallBlendOrchestrator {
 public:
  /// Offsets along both normals. Failures are the result's status and errors.
  static RollingBallBlendResult createRollingBallBlend(const Surface& surface1,
                                                       const Surface& surface2, double radius,
                                                       const RollingBallBlendConfig& config = {});

  /// With signed offsets of one size.
  static RollingBallBlendResult createWithDistances(const Surface& surface1,
                                                    const Surface& surface2, double distance1,
                                                    double distance2,
                                                    const RollingBallBlendConfig& config = {});

  /// Where Automatic finds no sides, the errors say for each which stage failed.
  static RollingBallBlendResult createWithMethod(const Surface& surface1, const Surface& surface2,
                                                 double radius, BlendMethod method,
                                                 const RollingBallBlendConfig& config = {});

  /// A radius that follows a law of the fraction 0 .. 1 of the spine.
  static RollingBallBlendResult createWithLaw(const Surface& surface1, const Surface& surface2,
                                              const RadiusLaw& law, BlendMethod method,
                                              const RollingBallBlendConfig& config = {});

  /// By contract not carried out: a status and an error that say so.
  static RollingBallBlendResult createRollingBallBlendFromHandles(
      int surface1, int surface2, double radius, const RollingBallBlendConfig& config = {});

  static bool validateConfig(const RollingBallBlendConfig& config);

 private:
  struct Run;

  static RollingBallBlendResult carryOut(Run run);
  static bool runStages(Run& run);
  static bool checkInputs(Run& run);
  /// Judges the distances; the offset surfaces, where they are handed out.
  static bool executeModule1(Run& run);
  /// The spine, and the path of the ball along it.
  static bool executeModule2(Run& run);
  static bool chooseBranch(Run& run, const SurfaceIntersection& met);
  static bool followBranch(Run& run, IntersectionBranch branch);
  /// Whether the contacts are found again by a search of their own.
  static bool executeModule3Validation(Run& run);
  /// The surface that the ball sweeps.
  static bool executeModule4(Run& run);
  static bool validateBlendResult(Run& run);
  static void cleanupIntermediateResults(Run& run);
  static void logProgress(const char* stage, const char* text);
  /// Prints warnings, and the failure if it is one; hands the result on.
  static RollingBallBlendResult announced(RollingBallBlendResult result);
};

}  // namespace trova::geometry::blend
