#pragma once

#include <Eigen/Core>
#include <span>
#include <utility>
#include <vector>

#include "morvel/surfaces/surface.h"

// A surface cut into nearly flat cells, each inside a box along its own directions.

namespace trova::projection::internal {

using Eigen::Vector3d;

/// A rectangle of parameters, the box that its part of the surface lies in, and a linear map back.
struct SurfaceCell {
  geometry::ParameterDomain domain;
  Vector3d middle;        ///< the surface's point at the middle of `domain`
  Vector3d corner[2][2];  ///< those at its corners, of u and v
  // The box: middle + sum of t[k] axis[k], low[k] <= t[k] <= high[k]; the axes are orthonormal, the
  // last one about normal to the surface.
  Vector3d axis[3];
  Vector3d low;
  Vector3d high;
  // (x - middle) . toU is about -1 .. 1 over the domain.
  Vector3d toU;
  Vector3d toV;

  /// Where a descent to the point's foot starts: below the point, or at a corner if that is closer.
  std::pair<double, double> startFor(const Vector3d& point) const;

  bool contains(double u, double v) const;
  double uAt(double s) const;  ///< s in -1 .. 1
  double vAt(double t) const;
  /// The squared distance from a point to the box.
  double squaredDistance(const Vector3d& point) const;
  /// Whether a line of a unit direction meets the box, widened by `margin`.
  bool isMetBy(const Vector3d& point, const Vector3d& direction, double margin) const;
};

/// What the cell of some points is made of: the corners of the rectangle's image say the
/// directions.
struct CellPoints {
  std::span<const Vector3d> hull;  ///< whose convex hull contains the part of the surface
  Vector3d corner[2][2];           ///< of u and v
  Vector3d middle;
  double margin = 0.0;  ///< by which the hull may be too small
};

SurfaceCell cellOf(const geometry::ParameterDomain& domain, const CellPoints& points);

/// The axis-aligned box of a cell's box.
struct AxisBox {
  Vector3d low;
  Vector3d high;

  void add(const AxisBox& other);
  Vector3d center() const { return (low + high) / 2.0; }
  double squaredDistance(const Vector3d& point) const;
  bool isMetBy(const Vector3d& point, const Vector3d& direction, double margin) const;
};
AxisBox axisBoxOf(const SurfaceCell& cell);

/// How much is spent on one surface; a net with more patches has a cell for each.
inline constexpr int kMostCells = 1 << 14;

/// The cells of a surface; none where it is not finite.
std::vector<SurfaceCell> cellsOf(const geometry::Surface& surface);
/// Those of a spline or Bezier surface with positive weights, by its Bezier pieces. False, and no
/// cells, for any other.
bool appendSplineCells(const geometry::Surface& surface, std::vector<SurfaceCell>& cells);
/// Those of any surface, by samples.
void appendSampledCells(const geometry::Surface& surface, std::vector<SurfaceCell>& cells);

/// How far the points of a rectangle are from an affine map of it, as a share of its extent: small
/// enough to leave it whole.
bool isFlatEnough(double deviation, double extent);

}  // namespace trova::projection::internal
