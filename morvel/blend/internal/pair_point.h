#pragma once

#include <array>
#include <optional>

#include "morvel/blend/internal/offset_field.h"

// Points that lie on two surfaces, and the iterations that reach them.

namespace trova::geometry::blend::internal {

using PairParameters = std::array<double, 4>;  // u1 v1 u2 v2

/// A point on both surfaces.
struct PairPoint {
  PairParameters p{};
  Jet a;
  Jet b;
  Vector3d point;                       ///< half-way between the two
  Vector3d tangent = Vector3d::Zero();  ///< unit, n1 x n2
  double sine = 0.0;                    ///< |n1 x n2|
};

class SurfacePair {
 public:
  /// @param size  of the surfaces, model units: rounding is judged by it
  SurfacePair(const OffsetField& a, const OffsetField& b, double size)
      : a_(a), b_(b), size_(size) {}

  const OffsetField& first() const { return a_; }
  const OffsetField& second() const { return b_; }
  double size() const { return size_; }

  double low(int k) const;
  double high(int k) const;
  bool contains(const PairParameters& p) const;
  PairParameters clamped(PairParameters p) const;

  PairPoint look(const PairParameters& p) const;

  /// Newton's step from a point to where both tangent planes and the plane through `through` with
  /// the normal meet: where the point on surface 1 would go, and the parameters with it. False
  /// where the planes have no such place.
  bool step(const PairPoint& at, const Vector3d& through, const Vector3d& normal, Vector3d& move,
            PairParameters& steps) const;

  /// What a correction came to.
  enum class Outcome { Settled, Left, Failed };

  /// Newton's steps onto both surfaces and the plane through x0 with the normal T: each goes to the
  /// meeting point of the two tangent planes and that plane.
  /// @param at  the start's parameters in, the point out (of `Left`, the parameters outside)
  Outcome correct(PairPoint& at, const Vector3d& x0, const Vector3d& T) const;

  /// The same to the nearest point on both, without a plane.
  Outcome approach(PairPoint& at) const;

  /// Newton's steps onto both surfaces with parameter `fixed` held.
  Outcome correctOnEdge(PairPoint& at, int fixed) const;

  /// The parameter steps that follow the vector w.
  PairParameters stepsAlong(const PairPoint& at, const Vector3d& w) const;

 private:
  Outcome iterate(PairPoint& at, const Vector3d* x0, const Vector3d* T) const;
  bool isSettled(const PairPoint& at) const;

  const OffsetField& a_;
  const OffsetField& b_;
  double size_;
};

}  // namespace trova::geometry::blend::internal
