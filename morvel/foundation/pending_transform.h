#pragma once

#include "morvel/foundation/transform3d.h"

namespace trova::foundation {

/// A transform that has been recorded for an object but not yet applied to its geometry. Starts as
/// the identity; whether it counts as one is judged under a default ToleranceContext.
class PendingTransform {
 public:
  void set(const Transform3D& transform) { transform_ = transform; }
  const Transform3D& get() const { return transform_; }
  bool isPending() const { return !transform_.isIdentity(); }
  void reset() { transform_ = Transform3D::identity(); }

  /// Hands a transform that differs from the identity to `move` and then resets it. A transform
  /// within tolerance of the identity is neither applied nor reset. Where `move` throws it stays
  /// pending.
  template <class Move>
  void applyWith(Move&& move) {
    if (!isPending()) return;
    move(transform_);
    reset();
  }

 private:
  Transform3D transform_;
};

}  // namespace trova::foundation
