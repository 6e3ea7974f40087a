// An N-sided patch as a surface: everything goes to its B-spline surface.

#include <stdexcept>
#include <utility>

#include "morvel/foundation/progress.h"
#include "morvel/nsided/rbf_nsided_patch.h"

namespace trova::geometry {
namespace {

constexpr int kFewestPreviewPoints = 2;
constexpr int kMostPreviewPoints = 1000;

}  // namespace

const BSplineSurface& RBFNSidedPatch::requireSurface() const {
  if (!surface_) throw std::runtime_error("N-sided patch surface not yet created");
  return *surface_;
}

// The same patch on another form of its surface.
std::unique_ptr<Surface> RBFNSidedPatch::withSurface(std::unique_ptr<Surface> surface) const {
  std::shared_ptr<Surface> form = std::move(surface);
  auto spline = std::dynamic_pointer_cast<BSplineSurface>(form);
  if (!spline) throw std::runtime_error("N-sided patch surface not yet created");
  auto patch = std::make_unique<RBFNSidedPatch>(*this);
  patch->surface_ = std::move(spline);
  patch->resetMatrix();
  return patch;
}

std::unique_ptr<Surface> RBFNSidedPatch::clone() const {
  return std::make_unique<RBFNSidedPatch>(*this);
}

bool RBFNSidedPatch::isValid() const { return surface_ && surface_->isValid(); }

Point3D RBFNSidedPatch::evaluate(double u, double v) const {
  return requireSurface().evaluate(u, v);
}

SurfaceEvaluation RBFNSidedPatch::evaluateDerivatives(double u, double v, int order) const {
  return requireSurface().evaluateDerivatives(u, v, order);
}

BoundingBox RBFNSidedPatch::getBoundingBox() const { return requireSurface().getBoundingBox(); }

std::unique_ptr<Surface> RBFNSidedPatch::transform(const Transform3D& matrix) const {
  auto patch = std::make_unique<RBFNSidedPatch>(*this);
  patch->resetMatrix();
  patch->applyTransformToGeometry(matrix);
  return patch;
}

std::unique_ptr<Surface> RBFNSidedPatch::trim(double uStart, double uEnd, double vStart,
                                              double vEnd) const {
  if (!surface_)
    throw std::runtime_error("Cannot trim N-sided patch without B-spline representation");
  return surface_->trim(uStart, uEnd, vStart, vEnd);
}

std::unique_ptr<Surface> RBFNSidedPatch::reverseU() const {
  return withSurface(requireSurface().reverseU());
}

std::unique_ptr<Surface> RBFNSidedPatch::reverseV() const {
  return withSurface(requireSurface().reverseV());
}

std::unique_ptr<Surface> RBFNSidedPatch::swapUV() const {
  return withSurface(requireSurface().swapUV());
}

// The constraints and fields that the surface was made from stay those of the old place.
void RBFNSidedPatch::applyTransformToGeometry(const Transform3D& matrix) {
  std::shared_ptr<Surface> image = requireSurface().transform(matrix);
  auto spline = std::dynamic_pointer_cast<BSplineSurface>(image);
  if (!spline) throw std::runtime_error("N-sided patch surface cannot be transformed");
  transformBoundary(matrix);
  parameters_.boundaryCurves = getBoundaryCurves();
  surface_ = std::move(spline);
}

std::vector<Point3D> RBFNSidedPatch::generatePreview(int resolution) const {
  if (resolution < kFewestPreviewPoints || resolution > kMostPreviewPoints)
    throw std::invalid_argument("Preview resolution must be from 2 to 1000");
  const BSplineSurface& surface = requireSurface();
  std::vector<Point3D> points;
  foundation::progress::Stage stage("evaluating");
  for (int i = 0; i < resolution; ++i) {
    stage.report(i, resolution);
    for (int j = 0; j < resolution; ++j)
      points.push_back(
          surface.evaluate(double(i) / (resolution - 1), double(j) / (resolution - 1)));
  }
  stage.finish();
  return points;
}

}  // namespace trova::geometry
