#pragma once

#include <memory>
#include <vector>

#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry::internal {

/// A right-handed frame on a path: unit tangent, and two unit vectors across it.
struct PathFrame {
  Point3D origin;
  Vector3D tangent;
  Vector3D normal;
  Vector3D binormal;

  Vector3D place(const Vector3D& local) const {
    return tangent * local.x() + normal * local.y() + binormal * local.z();
  }
  /// The inverse of `place`.
  Vector3D local(const Vector3D& v) const {
    return {v.dot(tangent), v.dot(normal), v.dot(binormal)};
  }
};

/// The frame and how it moves: derivatives by t of the origin and of the angular velocity. A vector
/// w fixed in the frame has the derivative spin x w.
struct PathMotion {
  PathFrame frame;
  Vector3D velocity;
  Vector3D acceleration;
  Vector3D spin;
  Vector3D spinRate;

  Vector3D rate(const Vector3D& w) const { return spin.cross(w); }
  Vector3D secondRate(const Vector3D& w) const {
    return spinRate.cross(w) + spin.cross(spin.cross(w));
  }
};

/// Rotation-minimising frames along a path over t in [0, 1], by the double reflection method (Wang,
/// Juettler, Zheng and Liu, Computation of Rotation Minimizing Frames, ACM Transactions on Graphics
/// 27(1), 2008): stations are computed once, dense where the path bends, and a frame between two of
/// them is one more step from the station before it. Along a smoothly closed path the angle by
/// which the last frame misses the first is undone at a constant rate in t.
///
/// Where the path has no tangent, that of the station before holds.
class PathFrames {
 public:
  explicit PathFrames(const std::shared_ptr<const Curve>& path);

  const Curve& path() const { return path_.curve(); }
  const PathFrame& start() const { return start_; }
  /// The path's ends and its tangents there agree.
  bool isClosedSmoothly() const { return closedSmoothly_; }
  PathFrame at(double t) const;
  /// The exact motion of rotation-minimising frames: spin = C' x C'' / |C'|^2, plus the closing
  /// twist.
  /// @param order  1: velocity and spin; 2: also their derivatives
  PathMotion motionAt(double t, int order) const;

 private:
  struct Station {
    double t;
    Point3D origin;
    Vector3D tangent;
    Vector3D normal;
  };

  Station stationAt(double t, const Vector3D& fallbackTangent) const;
  void addStations(const Station& end, int depth);
  void closeTwist();
  const Station& stationBefore(double t) const;
  PathFrame turned(const Station& station) const;

  UnitCurve path_;
  std::vector<Station> stations_;
  PathFrame start_;
  bool closedSmoothly_ = false;
  double twist_ = 0.0;  // radians about the tangent, over the whole path
};

}  // namespace trova::geometry::internal
