#include "morvel/surfaces/pipe_surface.h"

#include <cmath>
#include <numbers>

#include "morvel/surfaces/internal/path_frames.h"

namespace trova::geometry {
namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;
constexpr int kCountAround = 32;
constexpr int kCountAlongPath = 32;

}  // namespace

PipeSurface::PipeSurface(const std::shared_ptr<const Curve>& path, double radius)
    : radius_(requireFinite(radius, "Pipe radius")),
      frames_(std::make_shared<const internal::PathFrames>(path)) {}

const Curve& PipeSurface::getPath() const { return frames_->path(); }

bool PipeSurface::isValid() const { return radius_ > 0.0 && getPath().isValid(); }

bool PipeSurface::isNaturallyPeriodicT() const { return frames_->isClosedSmoothly(); }

bool PipeSurface::isClosed() const {
  return frames_->isClosedSmoothly() && parameterWindow().s().isFull() &&
         parameterWindow().t().isFull();
}

Point3D PipeSurface::localPoint(double s, double t) const {
  const internal::PathFrame frame = frames_->at(t);
  const CirclePoint around = CirclePoint::atTurns(s);
  return frame.origin + (frame.normal * around.cosine + frame.binormal * around.sine) * radius_;
}

void PipeSurface::localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  if (order < 1) {
    out.point = localPoint(s, t);
    return;
  }
  const internal::PathMotion motion = frames_->motionAt(t, order);
  const internal::PathFrame& frame = motion.frame;
  const CirclePoint around = CirclePoint::atTurns(s);
  const Vector3D arm = (frame.normal * around.cosine + frame.binormal * around.sine) * radius_;
  const Vector3D side = frame.binormal * around.cosine - frame.normal * around.sine;
  out.point = frame.origin + arm;
  out.Su = side * (radius_ * kTurn);
  out.Sv = motion.velocity + motion.rate(arm);
  if (order < 2) return;
  out.Suu = arm * (-kTurn * kTurn);
  out.Suv = motion.rate(out.Su);
  out.Svv = motion.acceleration + motion.secondRate(arm);
}

BoundingBox PipeSurface::localBox() const {
  BoundingBox box = getPath().getBoundingBox();
  box.expand(std::abs(radius_));
  return box;
}

std::pair<int, int> PipeSurface::naturalNurbsCounts() const {
  return {kCountAround, kCountAlongPath};
}

}  // namespace trova::geometry
