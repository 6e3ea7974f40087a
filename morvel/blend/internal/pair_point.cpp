#include "morvel/blend/internal/pair_point.h"

#include <algorithm>
#include <cmath>

namespace trova::geometry::blend::internal {
namespace {

constexpr int kIterations = 12;
constexpr double kSettledShare = 1e-11;  // of the size: distance between both surfaces' points
constexpr double kLeastDeterminant = 1e-9;
constexpr double kLongestStep = 0.25;  // of the parameter ranges, within one iteration

double triple(const Vector3d& a, const Vector3d& b, const Vector3d& c) {
  return a.dot(cross(b, c));
}

}  // namespace

double SurfacePair::low(int k) const {
  const ParameterDomain& d = k < 2 ? a_.domain() : b_.domain();
  return k % 2 == 0 ? d.uMin : d.vMin;
}

double SurfacePair::high(int k) const {
  const ParameterDomain& d = k < 2 ? a_.domain() : b_.domain();
  return k % 2 == 0 ? d.uMax : d.vMax;
}

bool SurfacePair::contains(const PairParameters& p) const {
  for (int k = 0; k < 4; ++k)
    if (!(p[k] >= low(k) && p[k] <= high(k))) return false;
  return true;
}

PairParameters SurfacePair::clamped(PairParameters p) const {
  for (int k = 0; k < 4; ++k)
    p[k] = std::clamp(p[k], low(k), high(k));
  return p;
}

PairPoint SurfacePair::look(const PairParameters& p) const {
  PairPoint at;
  at.p = p;
  at.a = a_.at(p[0], p[1]);
  at.b = b_.at(p[2], p[3]);
  at.point = (at.a.point + at.b.point) / 2;
  if (!at.a.usable || !at.b.usable) return at;
  at.tangent = cross(at.a.normal, at.b.normal);
  at.sine = at.tangent.norm();
  if (at.sine > 0.0) at.tangent /= at.sine;
  return at;
}

PairParameters SurfacePair::stepsAlong(const PairPoint& at, const Vector3d& w) const {
  return {at.a.alongU(w), at.a.alongV(w), at.b.alongU(w), at.b.alongV(w)};
}

bool SurfacePair::isSettled(const PairPoint& at) const {
  return (at.a.point - at.b.point).norm() <= kSettledShare * size_;
}

bool SurfacePair::step(const PairPoint& at, const Vector3d& through, const Vector3d& normal,
                       Vector3d& move, PairParameters& steps) const {
  const Vector3d& n1 = at.a.normal;
  const Vector3d& n2 = at.b.normal;
  const double det = triple(n1, n2, normal);
  if (!(std::abs(det) > kLeastDeterminant)) return false;
  const Vector3d apart = at.a.point - at.b.point;
  const double offPlane = normal.dot(through - at.a.point);
  move = (offPlane * cross(n1, n2) - n2.dot(apart) * cross(normal, n1)) / det;
  const Vector3d other = move + apart;
  steps = {at.a.alongU(move), at.a.alongV(move), at.b.alongU(other), at.b.alongV(other)};
  return true;
}

SurfacePair::Outcome SurfacePair::iterate(PairPoint& at, const Vector3d* x0,
                                          const Vector3d* T) const {
  at = look(at.p);
  for (int iteration = 0; iteration < kIterations; ++iteration) {
    if (!at.a.usable || !at.b.usable) return Outcome::Failed;
    const Vector3d& normal = T ? *T : at.tangent;
    const Vector3d& through = x0 ? *x0 : at.point;
    const double offPlane = normal.dot(through - at.a.point);
    const bool isOnPlane = !T || std::abs(offPlane) <= kSettledShare * size_;
    if (isSettled(at) && isOnPlane) return at.sine > 0.0 ? Outcome::Settled : Outcome::Failed;
    Vector3d move;
    PairParameters steps;
    if (!step(at, through, normal, move, steps)) return Outcome::Failed;
    PairParameters next = at.p;
    for (int k = 0; k < 4; ++k) {
      if (!(std::abs(steps[k]) <= kLongestStep * (high(k) - low(k)))) return Outcome::Failed;
      next[k] += steps[k];
    }
    if (!contains(next)) {
      at.p = next;
      return Outcome::Left;
    }
    at = look(next);
  }
  return Outcome::Failed;
}

SurfacePair::Outcome SurfacePair::correct(PairPoint& at, const Vector3d& x0,
                                          const Vector3d& T) const {
  return iterate(at, &x0, &T);
}

SurfacePair::Outcome SurfacePair::approach(PairPoint& at) const {
  return iterate(at, nullptr, nullptr);
}

SurfacePair::Outcome SurfacePair::correctOnEdge(PairPoint& at, int fixed) const {
  at = look(at.p);
  for (int iteration = 0; iteration < kIterations; ++iteration) {
    if (!at.a.usable || !at.b.usable) return Outcome::Failed;
    if (isSettled(at)) return Outcome::Settled;
    const Vector3d columns[4] = {at.a.du, at.a.dv, -at.b.du, -at.b.dv};
    int free[3];
    for (int k = 0, n = 0; k < 4; ++k)
      if (k != fixed) free[n++] = k;
    const Vector3d &x = columns[free[0]], &y = columns[free[1]], &z = columns[free[2]];
    const double det = triple(x, y, z);
    if (!(std::abs(det) > kLeastDeterminant * x.norm() * y.norm() * z.norm()))
      return Outcome::Failed;
    const Vector3d d = at.b.point - at.a.point;
    const double steps[3] = {triple(d, y, z) / det, triple(x, d, z) / det, triple(x, y, d) / det};
    PairParameters next = at.p;
    for (int k = 0; k < 3; ++k) {
      const int which = free[k];
      if (!(std::abs(steps[k]) <= kLongestStep * (high(which) - low(which))))
        return Outcome::Failed;
      next[which] += steps[k];
    }
    if (!contains(next)) {
      at.p = next;
      return Outcome::Left;
    }
    at = look(next);
  }
  return Outcome::Failed;
}

}  // namespace trova::geometry::blend::internal
