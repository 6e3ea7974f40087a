#include "morvel/nsided/nsided_parameters.h"

namespace trova::geometry {
namespace {

constexpr double kRoughRegularization = 0.01;
constexpr double kSmoothRegularization = 0.0001;
constexpr double kFineTolerance = 0.001;
constexpr double kMediumTolerance = 0.01;
constexpr int kFineSamples = 20;
constexpr int kMediumSamples = 15;
constexpr int kCoarseSamples = 10;

}  // namespace

void NSidedPatchParameters::updateRBFParameters() {
  rbfRegularization =
      (1.0 - smoothness) * kRoughRegularization + smoothness * kSmoothRegularization;
  samplesPerCurve = kCoarseSamples;
  if (boundaryTolerance < kMediumTolerance) samplesPerCurve = kMediumSamples;
  if (boundaryTolerance < kFineTolerance) samplesPerCurve = kFineSamples;
}

}  // namespace trova::geometry
