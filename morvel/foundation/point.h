#pragma once

#include <Eigen/Core>

#include "morvel/foundation/export.h"
#include "morvel/foundation/tolerance_context.h"

namespace trova::foundation {

class Vector3D;

/// A position in space, in model units. A thin wrapper over a fixed-size Eigen vector, so that
/// solvers take it without copying element by element. Differences of points are vectors
/// (`vector.h`).
class MORVEL_API Point3D {
 public:
  Point3D() : coords_(0.0, 0.0, 0.0) {}
  Point3D(double x, double y, double z) : coords_(x, y, z) {}
  explicit Point3D(const Eigen::Vector3d& coords) : coords_(coords) {}

  static Point3D origin() { return {}; }

  double x() const { return coords_.x(); }
  double y() const { return coords_.y(); }
  double z() const { return coords_.z(); }
  void setX(double value) { coords_.x() = value; }
  void setY(double value) { coords_.y() = value; }
  void setZ(double value) { coords_.z() = value; }

  /// Coordinate 0, 1 or 2.
  double operator[](int axis) const { return coords_[axis]; }
  double& operator[](int axis) { return coords_[axis]; }

  const Eigen::Vector3d& eigen() const { return coords_; }
  Eigen::Vector3d& eigen() { return coords_; }

  double distanceTo(const Point3D& other) const { return (coords_ - other.coords_).norm(); }
  Point3D midpoint(const Point3D& other) const {
    return Point3D(Eigen::Vector3d((coords_ + other.coords_) / 2.0));
  }
  bool isFinite() const { return coords_.allFinite(); }

  /// The distance is at most the geometric tolerance.
  bool isEqual(const Point3D& other, const ToleranceContext& tolerance = {}) const {
    return distanceTo(other) <= tolerance.getGeometricTolerance();
  }

  Point3D& operator+=(const Point3D& other) {
    coords_ += other.coords_;
    return *this;
  }
  Point3D& operator-=(const Point3D& other) {
    coords_ -= other.coords_;
    return *this;
  }

 private:
  Eigen::Vector3d coords_;
};

static_assert(sizeof(Point3D) == 3 * sizeof(double));

inline Point3D operator+(const Point3D& a, const Point3D& b) {
  return Point3D(Eigen::Vector3d(a.eigen() + b.eigen()));
}
inline Point3D operator*(const Point3D& p, double s) {
  return Point3D(Eigen::Vector3d(p.eigen() * s));
}
inline Point3D operator*(double s, const Point3D& p) { return p * s; }
inline Point3D operator/(const Point3D& p, double s) {
  return Point3D(Eigen::Vector3d(p.eigen() / s));
}

/// Equality of points is `isEqual` under a default ToleranceContext: closer than 1e-4 is equal.
inline bool operator==(const Point3D& a, const Point3D& b) { return a.isEqual(b); }
inline bool operator!=(const Point3D& a, const Point3D& b) { return !a.isEqual(b); }

/// A position in a parameter plane.
class MORVEL_API Point2D {
 public:
  Point2D() : coords_(0.0, 0.0) {}
  Point2D(double x, double y) : coords_(x, y) {}
  /// Without the alignment that depends on a program's instruction set.
  using Coordinates = Eigen::Matrix<double, 2, 1, Eigen::DontAlign>;
  explicit Point2D(const Coordinates& coords) : coords_(coords) {}

  static Point2D origin() { return {}; }

  double x() const { return coords_.x(); }
  double y() const { return coords_.y(); }
  void setX(double value) { coords_.x() = value; }
  void setY(double value) { coords_.y() = value; }

  const Coordinates& eigen() const { return coords_; }

  double distanceTo(const Point2D& other) const { return (coords_ - other.coords_).norm(); }
  double squaredDistanceTo(const Point2D& other) const {
    return (coords_ - other.coords_).squaredNorm();
  }
  bool isFinite() const { return coords_.allFinite(); }

  /// The distance is at most the geometric tolerance.
  bool isEqual(const Point2D& other, const ToleranceContext& tolerance = {}) const {
    return distanceTo(other) <= tolerance.getGeometricTolerance();
  }

 private:
  Coordinates coords_;
};

inline Point2D operator+(const Point2D& a, const Point2D& b) {
  return Point2D(Point2D::Coordinates(a.eigen() + b.eigen()));
}
inline Point2D operator-(const Point2D& a, const Point2D& b) {
  return Point2D(Point2D::Coordinates(a.eigen() - b.eigen()));
}
inline Point2D operator*(const Point2D& p, double s) {
  return Point2D(Point2D::Coordinates(p.eigen() * s));
}
inline Point2D operator*(double s, const Point2D& p) { return p * s; }
inline bool operator==(const Point2D& a, const Point2D& b) { return a.isEqual(b); }
inline bool operator!=(const Point2D& a, const Point2D& b) { return !a.isEqual(b); }

}  // namespace trova::foundation
