#pragma once

#include <memory>
#include <string>
#include <vector>

#include "morvel/curves/curve.h"

// What the boundary of a hole asks of the height field that fills it, sampled along its curves.
//
// A height field knows x and y only as its parameters: u and v run over the box of the loop's
// samples in x and y, [0, 1] each (where the box has no width, 0.5), and the height is z. A slope
// is a derivative of z by u or v.

namespace trova::geometry {

// In a namespace of their own: the constrained fit of surfaces has a G1Constraint too.
namespace nsided {

/// The position of the surface at (u, v); the height is its z.
struct MORVEL_API G0Constraint {
  double u = 0.0;
  double v = 0.0;
  Point3D target;
  double weight = 1.0;

  /// (u, v) in [0, 1] x [0, 1], weight above 0, all finite. Where not, `message` gets the reason.
  bool isValid(std::string* message = nullptr) const;
};

/// The tangent plane of the surface at (u, v), by the slopes in one direction or both, or by a
/// normal in (u, v, height).
struct MORVEL_API G1Constraint {
  double u = 0.0;
  double v = 0.0;
  double slopeU = 0.0;
  double slopeV = 0.0;
  Vector3D normal;  ///< not zero: it counts instead of the slopes
  bool constrainU = true;
  bool constrainV = true;
  double weight = 1.0;

  bool isValid(std::string* message = nullptr) const;
};

/// The second derivatives of the height at (u, v).
struct MORVEL_API G2Constraint {
  double u = 0.0;
  double v = 0.0;
  double bendUU = 0.0;
  double bendUV = 0.0;
  double bendVV = 0.0;
  double weight = 1.0;

  bool isValid(std::string* message = nullptr) const;
};

}  // namespace nsided

/// How a boundary curve is given: by itself, or on a surface, where lines of constant u and of
/// constant v are told from others.
enum class BoundaryKind { Free = 0, OnSurface = 1, IsoU = 2, IsoV = 3 };

struct MORVEL_API BoundaryConstraints {
  std::vector<nsided::G0Constraint> positions;
  std::vector<nsided::G1Constraint> tangents;
  std::vector<nsided::G2Constraint> curvatures;
  std::vector<BoundaryKind> kinds;  ///< one a curve
};

using BoundaryCurves = std::vector<std::shared_ptr<const Curve>>;

/// The continuity that a boundary curve may ask for.
inline constexpr int kPositionContinuity = 0;
inline constexpr int kTangentContinuity = 1;
inline constexpr int kCurvatureContinuity = 2;

/// The type's name contains "CurveOnSurface".
MORVEL_API bool isOnSurface(const Curve& curve);

/// Samples constraints along boundary curves.
class MORVEL_API BoundaryConstraintExtractor {
 public:
  /// `samplesPerCurve` positions a curve, at equal parameter steps from its start on; its end is
  /// the start of the next. A curve on a surface that asks for tangent continuity also gives the
  /// surface's tangent planes there, for curvature continuity the bends of the height too, as far
  /// as the surface is a height over x and y. By contract a curve that lies on no surface gives
  /// positions only: it has no neighbour to be tangent to.
  /// @param weights  one a curve, or none for 1 throughout
  /// @throws std::invalid_argument "Boundary curves and continuity levels size mismatch", or
  ///         "Constraint extraction failed: " with the reason
  static BoundaryConstraints extractFromCurves(const BoundaryCurves& curves,
                                               const std::vector<int>& continuityLevels,
                                               int samplesPerCurve,
                                               const std::vector<double>& weights = {});

  /// By the type name of the curve and, on a surface, of its plane curve ("IsoCurve2D_u",
  /// "IsoCurve2D_v").
  static BoundaryKind kindOf(const Curve& curve);
};

}  // namespace trova::geometry
