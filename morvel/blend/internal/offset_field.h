#pragma once

#include <Eigen/Core>
#include <cmath>

#include "morvel/blend/internal/cross.h"
#include "morvel/blend/internal/true_derivatives.h"

namespace trova::geometry::blend::internal {

/// A point of an offset with its first derivatives.
struct Jet {
  Vector3d point;
  Vector3d du;
  Vector3d dv;
  Vector3d normal = Vector3d::Zero();  ///< unit, of the base surface
  double area = 0.0;    ///< normal . (du x dv); below 0 where the offset has turned over
  bool usable = false;  ///< finite, with a normal, and not folded
  bool folded = false;  ///< the distance exceeds a radius of curvature

  /// The parameter steps that lead along the tangent vector w.
  double alongU(const Vector3d& w) const { return cross(w, dv).dot(normal) / area; }
  double alongV(const Vector3d& w) const { return cross(du, w).dot(normal) / area; }
};

/// The exact surface at a signed distance along the unit normals of another (Su x Sv).
class OffsetField {
 public:
  OffsetField(const Surface& surface, double distance)
      : derivatives_(surface), domain_(surface.getParameterDomain()), distance_(distance) {}

  Jet at(double u, double v) const {
    const SurfaceEvaluation s = derivatives_(u, v, distance_ == 0.0 ? 1 : 2);
    Jet jet;
    jet.point = s.point.eigen();
    jet.du = s.Su.eigen();
    jet.dv = s.Sv.eigen();
    const Vector3d product = cross(jet.du, jet.dv);
    const double length = product.norm();
    constexpr double kSmallestSine = 1e-9;  // of the angle between Su and Sv
    if (!(length > kSmallestSine * jet.du.norm() * jet.dv.norm())) return jet;
    jet.normal = product / length;
    if (distance_ == 0.0)
      jet.area = length;
    else
      moveOut(jet, s, length);
    jet.usable = !jet.folded && std::isfinite(jet.area) && jet.point.allFinite();
    return jet;
  }

  const Surface& surface() const { return derivatives_.surface(); }
  const ParameterDomain& domain() const { return domain_; }
  double distance() const { return distance_; }

 private:
  void moveOut(Jet& jet, const SurfaceEvaluation& s, double length) const {
    const Vector3d& n = jet.normal;
    const auto normalStep = [&](const Vector3d& change) {
      return Vector3d((change - n * n.dot(change)) / length);
    };
    const Vector3d nu = normalStep(cross(s.Suu.eigen(), jet.dv) + cross(jet.du, s.Suv.eigen()));
    const Vector3d nv = normalStep(cross(s.Suv.eigen(), jet.dv) + cross(jet.du, s.Svv.eigen()));
    const Vector3d du = jet.du + distance_ * nu;
    const Vector3d dv = jet.dv + distance_ * nv;
    // Of the map from the surface to its offset: the product and the sum of both stretches.
    const double product = n.dot(cross(du, dv)) / length;
    const double sum = n.dot(cross(du, jet.dv) + cross(jet.du, dv)) / length;
    constexpr double kLeastStretch = 1e-3;
    jet.folded = !(product > kLeastStretch && sum > 0.0);
    jet.point += distance_ * n;
    jet.du = du;
    jet.dv = dv;
    jet.area = product * length;
  }

  TrueDerivatives derivatives_;
  ParameterDomain domain_;
  double distance_;
};

}  // namespace trova::geometry::blend::internal
