#pragma once

#include <array>
#include <functional>
#include <vector>

#include "morvel/foundation/spline_basis.h"
#include "morvel/foundation/vector.h"
#include "morvel/surfaces/control_net.h"

// Control nets of bicubic surfaces on clamped uniform knots: solved to pass through points, to be
// tangent to planes along the edges, and to be smooth inside.

namespace trova::geometry::internal {

using foundation::Point3D;

/// The point at (u, v) that a net is to follow.
using SpaceMap = std::function<Point3D(double u, double v)>;

/// A demand on the net's row number `ring` beside an edge (1: tangent planes, 2: curvatures): the
/// spline along the edge with that row's points has, at x, the product `value` with `normal`.
struct RingDemand {
  int edge = 0;
  double x = 0.0;
  foundation::Vector3D normal;  ///< unit
  double value = 0.0;           ///< model units
  double weight = 1.0;
};

class SpaceNet {
 public:
  static constexpr int kDegree = 3;

  SpaceNet(int spansU, int spansV);

  const ControlNet& net() const { return net_; }
  int spans(int edge) const;

  /// The net whose surface passes through the map at the Greville points, the boundary included.
  void interpolate(const SpaceMap& map);
  /// Moves the points of a row beside the edges so that the demands are met in the least-squares
  /// sense, and otherwise as little as possible; rows outside of it stay. `stiffness` weighs the
  /// moves against the demands. Points that no demand reaches stay.
  void meetDemands(const std::vector<RingDemand>& demands, int ring, double stiffness);
  /// Moves all points that are neither on the boundary nor in a row that met demands, to the least
  /// of |second derivatives|^2 + pull |S - map|^2, integrated.
  void smooth(const SpaceMap& map, double pull);

  /// What rows 0 .. 2 beside the edge give at x: the spline of each row's points there.
  std::array<foundation::Vector3D, 3> rowsAt(int edge, double x) const;

 private:
  struct Place {
    int i;
    int j;
  };
  Place place(int edge, int along, int ring) const;
  int countAlong(int edge) const;
  const foundation::nurbs::SplineBasis& basisAlong(int edge) const;
  bool isFixed(Place at) const { return fixed_[static_cast<std::size_t>(at.i) * nV_ + at.j]; }
  void fix(Place at) { fixed_[static_cast<std::size_t>(at.i) * nV_ + at.j] = true; }

  int nU_;
  int nV_;
  foundation::nurbs::SplineBasis basisU_;
  foundation::nurbs::SplineBasis basisV_;
  ControlNet net_;
  std::vector<bool> fixed_;
};

}  // namespace trova::geometry::internal
