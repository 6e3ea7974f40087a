#include "morvel/surfaces/bspline_surface.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

using foundation::nurbs::clampedUniformKnots;

// For a degree that the count does not allow: the two runs of end knots alone, which are no knot
// vector of that count; `isValid` then says so.
std::vector<double> createdKnots(int count, int degree) {
  if (degree < count || degree < 0) return clampedUniformKnots(count, degree);
  const std::size_t run = std::size_t(degree) + 1;
  std::vector<double> knots(2 * run, 1.0);
  std::fill_n(knots.begin(), run, 0.0);
  return knots;
}

}  // namespace

BSplineSurface::BSplineSurface(const Net& net, std::vector<double> uKnots,
                               std::vector<double> vKnots, int degreeU, int degreeV)
    : BSplineSurface(ControlNet(net), std::move(uKnots), std::move(vKnots), degreeU, degreeV) {}

BSplineSurface::BSplineSurface(ControlNet net, std::vector<double> uKnots,
                               std::vector<double> vKnots, int degreeU, int degreeV)
    : SplineSurface(std::move(net), std::move(uKnots), std::move(vKnots), degreeU, degreeV) {}

std::unique_ptr<BSplineSurface> BSplineSurface::createClamped(const Net& net, int degreeU,
                                                              int degreeV) {
  if (net.empty() || net.front().empty())
    throw std::invalid_argument("Control points cannot be empty");
  return createClamped(ControlNet(net), degreeU, degreeV);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createClamped(ControlNet net, int degreeU,
                                                              int degreeV) {
  if (net.isEmpty()) throw std::invalid_argument("Control points cannot be empty");
  std::vector<double> uKnots = createdKnots(net.uCount(), degreeU);
  std::vector<double> vKnots = createdKnots(net.vCount(), degreeV);
  return std::make_unique<BSplineSurface>(std::move(net), std::move(uKnots), std::move(vKnots),
                                          degreeU, degreeV);
}

std::unique_ptr<Surface> BSplineSurface::clone() const {
  return std::make_unique<BSplineSurface>(*this);
}

std::unique_ptr<BSplineSurface> BSplineSurface::unchangedCopy() const {
  auto copy = std::make_unique<BSplineSurface>(*this);
  copy->resetMatrix();
  return copy;
}

bool BSplineSurface::isValid() const { return hasValidShape() && isValidKnotVectors(); }

std::unique_ptr<Surface> BSplineSurface::transform(const Transform3D& matrix) const {
  auto moved = unchangedCopy();
  moved->applyTransformToGeometry(matrix);
  return moved;
}

// By contract: where the reversed surface cannot be made the answer is a plain copy.
std::unique_ptr<BSplineSurface> BSplineSurface::reversed(bool isU) const {
  using foundation::nurbs::reversedKnots;
  try {
    return std::make_unique<BSplineSurface>(
        isU ? controlNet().reversedU() : controlNet().reversedV(),
        isU ? reversedKnots(getUKnotVector()) : getUKnotVector(),
        isU ? getVKnotVector() : reversedKnots(getVKnotVector()), getUDegree(), getVDegree());
  } catch (const std::exception&) {
    return unchangedCopy();
  }
}

std::unique_ptr<Surface> BSplineSurface::reverseU() const { return reversed(true); }
std::unique_ptr<Surface> BSplineSurface::reverseV() const { return reversed(false); }
std::unique_ptr<Surface> BSplineSurface::swapUV() const { return unchangedCopy(); }

std::shared_ptr<BSplineSurface> BSplineSurface::toNurbs(double) const { return unchangedCopy(); }

}  // namespace trova::geometry
