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
  Automatic = 4  ///< the sides with the longest spine; about equally long, the first of these
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
};

}  // namespace trova::geometry::blend
