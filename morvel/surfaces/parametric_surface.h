#pragma once

#include "morvel/surfaces/control_net.h"
#include "morvel/surfaces/surface.h"

namespace trova::geometry {

/// A surface with a control net.
class MORVEL_API ParametricSurface : public Surface {
 public:
  BoundingBox getBoundingBox() const override;  ///< the box of the control points

  const ControlNet& controlNet() const { return net_; }

 protected:
  explicit ParametricSurface(ControlNet net);

  /// The area of the net's cells, each cut into two triangles by its diagonal (i, j), (i + 1, j +
  /// 1).
  double controlNetArea() const;
  /// @throws std::out_of_range; std::invalid_argument for a point that is not finite
  void replaceControlPoint(int i, int j, const Point3D& point);
  void transformNet(const Transform3D& matrix);
  /// Whether every coordinate of the net is finite: only then do sums over the local support equal
  /// the full sums.
  bool netIsFinite() const { return netIsFinite_; }

 private:
  ControlNet net_;
  bool netIsFinite_ = true;
};

}  // namespace trova::geometry
