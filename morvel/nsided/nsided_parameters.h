#pragma once

#include <string>
#include <vector>

#include "morvel/nsided/boundary_constraints.h"

namespace trova::geometry {

/// What an N-sided patch is made from, and how.
struct MORVEL_API NSidedPatchParameters {
  NSidedPatchParameters() { updateRBFParameters(); }

  BoundaryCurves boundaryCurves;      ///< each curve's end meets the start of the next
  std::vector<int> continuityLevels;  ///< one a curve: 0 position, 1 tangent, 2 curvature
  std::vector<double> curveWeights;   ///< one a curve, above 0; none: 1 throughout
  int spansU = 8;
  int spansV = 8;
  double smoothness = 0.5;     ///< 0 .. 1; the regularisation follows from it
  int maxIterations = 50;      ///< of the smoothing of a Hermite net where samples found no surface
  double tolerance = 1e-6;     ///< of that smoothing, relative to the size of the hole
  bool optimizeSpans = false;  ///< the spans are those of calculateOptimalSpans
  double boundaryTolerance = 0.001;  ///< model units
  double blendFactor = 0.5;    ///< of two normals where the curves of a corner disagree, the share
                               ///< of the curve that ends there (Hermite)
  double tangentFactor = 0.1;  ///< in space: weight of the length of derivatives across the
                               ///< boundary beside that of their tangent planes
  double plateFactor = 0.01;   ///< in space: pull of the fitted plates on the inside of the net,
                               ///< against its bending
  int userTag = 0;             ///< the caller's own; nothing reads it
  double rbfRegularization = 0.0;  ///< derived: (1 - smoothness) 0.01 + smoothness 0.0001
  bool usePolynomialTerms = true;
  int samplesPerCurve = 0;  ///< derived: 20 for a boundary tolerance below 0.001, 15 below 0.01,
                            ///< else 10; 15 by default
  bool autoUpdate = true;   ///< createFromBoundaries derives both fields again
  std::string name = "NSided_Patch";
  bool useHermite = false;     ///< the Hermite interpolator in place of the thin plate
  bool measureQuality = true;  ///< createFromBoundaries ends with computeQualityMetrics
  bool verbose = false;        ///< progress lines
  bool fillInSpace = false;  ///< the surface follows the boundary in space; goes before useHermite

  /// Derives the regularisation and the samples per curve.
  void updateRBFParameters();
};

}  // namespace trova::geometry
