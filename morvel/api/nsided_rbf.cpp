// N-sided patches by handle.

#include <algorithm>
#include <cmath>
#include <string>

#include "morvel/api/c/nsided_rbf.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/new_surface.h"
#include "morvel/api/internal/nsided_access.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
using namespace trova_internal::nsided;
using trova::foundation::progress::Stage;
using trova::foundation::status::join;
using trova::geometry::NSidedQuality;

namespace {

constexpr int kMostSpans = 100;
constexpr int kMostIterations = 10'000;
constexpr int kMostSamples = 2000;  // of all curves
constexpr int kFewestPreviewPoints = 2;
constexpr int kMostPreviewPoints = 1000;
constexpr double kUntilFilled = 0.8;  // of the time of a preview

constexpr FailureTexts kCreation{"Exception in N-sided patch creation: ", nullptr,
                                 "Unknown error in N-sided patch creation"};
constexpr FailureTexts kPreview{"Exception during preview generation: "};
constexpr FailureTexts kQuality{"Exception during quality analysis: "};
constexpr FailureTexts kSpanAdvice{"Exception during span calculation: "};

bool areSpans(int u, int v) { return u >= 1 && v >= 1 && u <= kMostSpans && v <= kMostSpans; }

/// What a patch is asked for, beside its curves.
struct PatchArguments {
  const int* curves;
  int count;
  const int* continuity;
  const double* weights;
  Kinds kinds;
};

bool areArrays(const PatchArguments& arguments) {
  return isCurveCount(arguments.count) && !anyNull(arguments.curves, arguments.continuity);
}

/// Makes a patch with a sound surface, or refuses; 0 or a code.
int makePatch(const PatchArguments& arguments, NSidedPatchParameters parameters,
              std::unique_ptr<RBFNSidedPatch>& patch) {
  BoundaryCurves curves;
  if (const int bad = findCurves(arguments.curves, arguments.count, arguments.kinds, curves))
    return refuseNSided(kNotFound, join("Invalid curve handle at index ", bad - 1));
  parameters.continuityLevels.assign(arguments.continuity, arguments.continuity + arguments.count);
  if (arguments.weights)
    parameters.curveWeights.assign(arguments.weights, arguments.weights + arguments.count);
  ValidationResults results;
  patch = RBFNSidedPatch::createFromBoundaries(curves, parameters, &results);
  if (!results.isValid)
    return refuseNSided(kBoundaryRefused,
                        join("Boundary validation failed: ", results.errors.front()));
  if (!patch->getBSplineSurface()) return refuseNSided(kNoSurface, "RBF surface creation failed");
  if (!isSound(*patch->getBSplineSurface()))
    return refuseNSided(kNoSurface, "Created surface is invalid or corrupted");
  const NSidedQuality& q = patch->getQuality();
  if (!std::isfinite(q.maxDeviation + q.rmsDeviation + q.conditionNumber + q.maxAngle))
    return refuseNSided(kNoSurface, "Created surface is invalid or corrupted");
  return kSuccess;
}

/// Both or neither. Returns the surface's handle.
int storePatch(std::unique_ptr<RBFNSidedPatch> patch, int* patchHandle) {
  StoredSurface surface(patch->getBSplineSurface()->clone(), "create_nsided_patch");
  if (surface.handle() <= 0) return refuseNSided(kNoSurface, "Failed to store created surface");
  *patchHandle = patchTable().store(std::move(patch));
  return surface.keep();
}

}  // namespace

int create_nsided_patch_rbf(const int* curves, int count, const int* continuity,
                            const double* weights, int spansU, int spansV, double smoothness,
                            int maxIterations, double tolerance, double boundaryTolerance,
                            int useHermite, int fillInSpace, int samplesPerCurve,
                            double regularization, double* maxDeviation, double* rmsDeviation,
                            double* maxAngle, double* conditionNumber, int* patch) {
  return guardedNSided(kCreation, [&] {
    const PatchArguments arguments{curves, count, continuity, weights, Kinds::Both};
    const bool isUsable =
        areArrays(arguments) && areSpans(spansU, spansV) && smoothness >= 0.0 &&
        smoothness <= 1.0 && maxIterations >= 0 && maxIterations <= kMostIterations &&
        isLength(tolerance) && isLength(boundaryTolerance) && samplesPerCurve >= 0 &&
        samplesPerCurve <= kMostSamples / count && regularization >= 0.0 &&
        std::isfinite(regularization) &&
        !anyNull(weights, maxDeviation, rmsDeviation, maxAngle, conditionNumber, patch);
    if (!isUsable) return refuseNSided(kBadArgument, "Invalid input parameters");
    NSidedPatchParameters parameters;
    parameters.spansU = spansU;
    parameters.spansV = spansV;
    parameters.smoothness = smoothness;
    parameters.maxIterations = maxIterations;
    parameters.tolerance = tolerance;
    parameters.boundaryTolerance = boundaryTolerance;
    parameters.useHermite = useHermite != 0;
    parameters.fillInSpace = fillInSpace != 0;
    parameters.updateRBFParameters();
    parameters.autoUpdate = false;
    if (samplesPerCurve > 0) parameters.samplesPerCurve = samplesPerCurve;
    if (regularization > 0.0) parameters.rbfRegularization = regularization;
    std::unique_ptr<RBFNSidedPatch> made;
    if (const int code = makePatch(arguments, parameters, made)) return code;
    const NSidedQuality quality = made->getQuality();
    const int handle = storePatch(std::move(made), patch);
    if (handle <= 0) return handle;
    *maxDeviation = quality.maxDeviation;
    *rmsDeviation = quality.rmsDeviation;
    *maxAngle = quality.maxAngle;
    *conditionNumber = quality.conditionNumber;
    return handle;
  });
}

int create_rbf_nsided_patch_with_cos(const int* curvesOnSurfaces, int count, const int* continuity,
                                     double boundaryTolerance, int fillInSpace,
                                     double* maxDeviation, double* maxAngle, int* patch) {
  return guardedNSided(kCreation, [&] {
    const PatchArguments arguments{curvesOnSurfaces, count, continuity, nullptr, Kinds::OnSurfaces};
    if (!areArrays(arguments) || !isLength(boundaryTolerance) ||
        anyNull(maxDeviation, maxAngle, patch))
      return refuseNSided(kBadArgument, "Invalid input parameters");
    NSidedPatchParameters parameters;
    parameters.boundaryTolerance = boundaryTolerance;
    parameters.fillInSpace = fillInSpace != 0;
    std::unique_ptr<RBFNSidedPatch> made;
    if (const int code = makePatch(arguments, parameters, made)) return code;
    const NSidedQuality quality = made->getQuality();
    const int handle = storePatch(std::move(made), patch);
    if (handle <= 0) return handle;
    *maxDeviation = quality.maxDeviation;
    *maxAngle = quality.maxAngle;
    return handle;
  });
}

int generate_nsided_preview_rbf(const int* curves, int count, const int* continuity,
                                const double* weights, int spansU, int spansV,
                                double boundaryTolerance, int fillInSpace, int resolution,
                                double* points, int capacity, int* pointCount,
                                double* maxDeviation) {
  return guardedNSided(kPreview, [&] {
    const PatchArguments arguments{curves, count, continuity, weights, Kinds::Both};
    if (!areArrays(arguments) || !areSpans(spansU, spansV) || !isLength(boundaryTolerance) ||
        resolution < kFewestPreviewPoints || resolution > kMostPreviewPoints ||
        anyNull(weights, points, pointCount, maxDeviation))
      return refuseNSided(kBadArgument, "Invalid input parameters");
    *pointCount = resolution * resolution;
    if (*pointCount > capacity) return refuseNSided(kBufferTooSmall, "Buffer too small");
    NSidedPatchParameters parameters;
    parameters.spansU = spansU;
    parameters.spansV = spansV;
    parameters.boundaryTolerance = boundaryTolerance;
    parameters.fillInSpace = fillInSpace != 0;
    Stage stage("previewing a fill");
    std::unique_ptr<RBFNSidedPatch> made;
    {
      const Stage step(nullptr, 0.0, kUntilFilled);
      if (const int code = makePatch(arguments, parameters, made)) return code;
    }
    const Stage step(nullptr, kUntilFilled);
    const auto preview = made->generatePreview(resolution);
    stage.finish();
    writePoints(preview, points);
    *maxDeviation = made->getQuality().maxDeviation;
    return kSuccess;
  });
}

int calculate_optimal_spans_rbf(int sides, double boundaryTolerance, int* spansU, int* spansV) {
  return guardedNSided(kSpanAdvice, [&] {
    if (!isCurveCount(sides) || !isLength(boundaryTolerance) || anyNull(spansU, spansV))
      return refuseNSided(kBadArgument, "Invalid input parameters");
    NSidedPatchParameters parameters;
    parameters.boundaryCurves.resize(static_cast<std::size_t>(sides));
    parameters.boundaryTolerance = boundaryTolerance;
    RBFNSidedPatch::calculateOptimalSpans(parameters, *spansU, *spansV);
    return kSuccess;
  });
}

int analyze_nsided_surface_quality_rbf(int patch, double* quality) {
  return guardedNSided(kQuality, [&] {
    if (!quality) return refuseNSided(kBadArgument, "Invalid input parameters");
    const auto write = [quality](const NSidedQuality& q) {
      quality[0] = q.maxDeviation;
      quality[1] = q.rmsDeviation;
      quality[2] = q.conditionNumber;
      quality[3] = q.maxAngle;
    };
    write({});
    const auto* found = patchTable().findAs<RBFNSidedPatch>(patch);
    if (!found) return refuseNSided(kNotFound, "Invalid patch handle");
    write(found->analyzeSurfaceQuality());
    return kSuccess;
  });
}

int delete_nsided_patch_rbf(int patch) {
  return patchTable().erase(patch) ? kSuccess : refuseNSided(kNotFound, "Invalid patch handle");
}
