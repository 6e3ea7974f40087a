#pragma once

#include <Eigen/Core>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/tolerance_context.h"
#include "morvel/foundation/tolerances.h"

namespace trova::foundation {

/// A direction or displacement in space, in model units.
class MORVEL_API Vector3D {
 public:
  Vector3D() : coords_(0.0, 0.0, 0.0) {}
  Vector3D(double x, double y, double z) : coords_(x, y, z) {}
  Vector3D(const Point3D& from, const Point3D& to) : coords_(to.eigen() - from.eigen()) {}
  explicit Vector3D(const Eigen::Vector3d& coords) : coords_(coords) {}

  static Vector3D zero() { return {}; }
  static Vector3D unitX() { return {1.0, 0.0, 0.0}; }
  static Vector3D unitY() { return {0.0, 1.0, 0.0}; }
  static Vector3D unitZ() { return {0.0, 0.0, 1.0}; }

  double x() const { return coords_.x(); }
  double y() const { return coords_.y(); }
  double z() const { return coords_.z(); }
  void setX(double value) { coords_.x() = value; }
  void setY(double value) { coords_.y() = value; }
  void setZ(double value) { coords_.z() = value; }

  /// Component 0, 1 or 2.
  double operator[](int axis) const { return coords_[axis]; }
  double& operator[](int axis) { return coords_[axis]; }

  const Eigen::Vector3d& eigen() const { return coords_; }
  Eigen::Vector3d& eigen() { return coords_; }

  double dot(const Vector3D& other) const { return coords_.dot(other.coords_); }
  Vector3D cross(const Vector3D& other) const {
    const Eigen::Vector3d& a = coords_;
    const Eigen::Vector3d& b = other.coords_;
    return {a.y() * b.z() - a.z() * b.y(), a.z() * b.x() - a.x() * b.z(),
            a.x() * b.y() - a.y() * b.x()};
  }
  double magnitude() const { return coords_.norm(); }
  double squaredMagnitude() const { return coords_.squaredNorm(); }
  bool isFinite() const { return coords_.allFinite(); }

  /// The vector over its magnitude; the zero vector where that is below `kMinDirectionLength`.
  Vector3D normalized() const;
  void normalize() { *this = normalized(); }

  /// The magnitude is at most the geometric tolerance.
  bool isZero(const ToleranceContext& tolerance = {}) const {
    return magnitude() <= tolerance.getGeometricTolerance();
  }

  /// Angle in radians, 0 to pi; not a number where either vector is zero.
  double angleTo(const Vector3D& other) const;

  Vector3D& operator+=(const Vector3D& other) {
    coords_ += other.coords_;
    return *this;
  }
  Vector3D& operator-=(const Vector3D& other) {
    coords_ -= other.coords_;
    return *this;
  }

 private:
  Eigen::Vector3d coords_;
};

static_assert(sizeof(Vector3D) == 3 * sizeof(double));

inline Vector3D operator+(const Vector3D& a, const Vector3D& b) {
  return Vector3D(Eigen::Vector3d(a.eigen() + b.eigen()));
}
inline Vector3D operator-(const Vector3D& a, const Vector3D& b) {
  return Vector3D(Eigen::Vector3d(a.eigen() - b.eigen()));
}
inline Vector3D operator-(const Vector3D& v) { return Vector3D(Eigen::Vector3d(-v.eigen())); }
inline Vector3D operator*(const Vector3D& v, double s) {
  return Vector3D(Eigen::Vector3d(v.eigen() * s));
}
inline Vector3D operator*(double s, const Vector3D& v) { return v * s; }
inline Vector3D operator/(const Vector3D& v, double s) {
  return Vector3D(Eigen::Vector3d(v.eigen() / s));
}

inline Vector3D operator-(const Point3D& a, const Point3D& b) { return {b, a}; }
inline Point3D operator+(const Point3D& p, const Vector3D& v) {
  return Point3D(Eigen::Vector3d(p.eigen() + v.eigen()));
}
inline Point3D operator-(const Point3D& p, const Vector3D& v) {
  return Point3D(Eigen::Vector3d(p.eigen() - v.eigen()));
}

/// v over its length where that is at least `minLength`, else `fallback`. The callers' thresholds
/// and fallbacks differ on purpose: each is named where it is used.
inline Vector3D unitOr(const Vector3D& v, double minLength, const Vector3D& fallback) {
  const double length = v.magnitude();
  return length >= minLength ? v / length : fallback;
}

/// A unit vector perpendicular to the unit vector `normal`: its cross product with x, or with y
/// where x is closer to it than about 26 degrees (|normal . x| >= 0.9).
MORVEL_API Vector3D anyPerpendicular(const Vector3D& normal);

}  // namespace trova::foundation
