#include "morvel/surfaces/path_guided_sweep_surface.h"

#include <algorithm>

#include "morvel/surfaces/internal/path_frames.h"

namespace trova::geometry {
namespace {

constexpr int kCountAlongProfile = 16;
constexpr int kCountAlongPath = 32;

}  // namespace

PathGuidedSweepSurface::PathGuidedSweepSurface(const std::shared_ptr<const Curve>& profile,
                                               const std::shared_ptr<const Curve>& path)
    : profile_(profile, "Sweep profile"),
      frames_(std::make_shared<const internal::PathFrames>(path)) {}

const Curve& PathGuidedSweepSurface::getPath() const { return frames_->path(); }

bool PathGuidedSweepSurface::isValid() const {
  return profile_.curve().isValid() && getPath().isValid();
}

bool PathGuidedSweepSurface::isNaturallyPeriodicT() const { return frames_->isClosedSmoothly(); }

bool PathGuidedSweepSurface::isClosed() const {
  return profile_.curve().isClosed() && frames_->isClosedSmoothly() &&
         parameterWindow().s().isFull() && parameterWindow().t().isFull();
}

Point3D PathGuidedSweepSurface::localPoint(double s, double t) const {
  const internal::PathFrame& start = frames_->start();
  const internal::PathFrame frame = frames_->at(t);
  return frame.origin + frame.place(start.local(profile_.point(s) - start.origin));
}

void PathGuidedSweepSurface::localDerivatives(double s, double t, int order,
                                              SurfaceEvaluation& out) const {
  if (order < 1) {
    out.point = localPoint(s, t);
    return;
  }
  const internal::PathFrame& start = frames_->start();
  const internal::PathMotion motion = frames_->motionAt(t, order);
  const CurveJet jet = profile_.jet(s, order);
  const auto carried = [&](const Vector3D& v) { return motion.frame.place(start.local(v)); };
  const Vector3D arm = carried(jet.point - start.origin);
  out.point = motion.frame.origin + arm;
  out.Su = carried(jet.derivatives[0]);
  out.Sv = motion.velocity + motion.rate(arm);
  if (order < 2) return;
  out.Suu = carried(jet.derivatives[1]);
  out.Suv = motion.rate(out.Su);
  out.Svv = motion.acceleration + motion.secondRate(arm);
}

// The profile turns about the path's point: it stays within its greatest distance from the start.
BoundingBox PathGuidedSweepSurface::localBox() const {
  const BoundingBox profile = profile_.curve().getBoundingBox();
  BoundingBox box = getPath().getBoundingBox();
  if (profile.isEmpty()) return box;
  const Point3D& start = frames_->start().origin;
  Vector3D reach;
  for (int k = 0; k < 3; ++k)
    reach[k] = std::max(profile.max[k] - start[k], start[k] - profile.min[k]);
  box.expand(reach.magnitude());
  return box;
}

std::pair<int, int> PathGuidedSweepSurface::naturalNurbsCounts() const {
  return {kCountAlongProfile, kCountAlongPath};
}

}  // namespace trova::geometry
