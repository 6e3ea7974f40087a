#include <cmath>
#include <cstdint>
#include <utility>

#include "morvel/foundation/knot_vector.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/internal/surface_sides.h"

// Extension patches. Each is a Bezier patch across the side and follows the side's own spline along
// it; its rows are combinations of the surface's rows near the side with the same factors
// everywhere, so that the joint holds for the whole side and not only at its control points.

namespace trova::geometry {
namespace {

using internal::isAcrossU;
using internal::isAtMax;

using foundation::nurbs::SplineBasis;

/// Samples along a side for the mean length of a derivative across it.
constexpr int kSideSamples = 64;

// Row 0 lies on the side, further rows follow inward.
ControlNet rowsInward(const ControlNet& net, SurfaceSide side) {
  const ControlNet rows = isAcrossU(side) ? net : net.transposed();
  return isAtMax(side) ? rows.reversedU() : rows;
}

// From rows that leave the side to the net of a patch in the surface's directions.
ControlNet netOfRowsOutward(const ControlNet& rows, SurfaceSide side) {
  const ControlNet ordered = isAtMax(side) ? rows : rows.reversedU();
  return isAcrossU(side) ? ordered : ordered.transposed();
}

using VectorRow = std::vector<Vector3D>;

// The control vectors of the outward derivative of this order along the side. The uniform basis is
// symmetric, so that its end at 1 serves both sides.
VectorRow derivativeRow(const ControlNet& inward, const SplineBasis& across, int order) {
  const int p = across.degree();
  std::vector<double> table((order + std::size_t(1)) * (p + 1));
  across.derivatives(across.end(), across.span(across.end()), order, table.data());
  const double* weights = table.data() + std::size_t(order) * (p + 1);
  VectorRow row(inward.vCount());
  for (int r = 0; r <= p; ++r) {
    for (int j = 0; j < inward.vCount(); ++j)
      row[j] += weights[r] * (inward(p - r, j) - Point3D::origin());
  }
  return row;
}

double meanLength(const VectorRow& row, const SplineBasis& along) {
  std::vector<double> values(along.degree() + std::size_t(1));
  double sum = 0.0;
  for (int s = 0; s < kSideSamples; ++s) {
    const double t = (s + 0.5) / kSideSamples;
    const int span = along.span(t);
    along.values(t, span, values.data());
    Vector3D vector;
    for (int r = 0; r <= along.degree(); ++r)
      vector += values[r] * row[span - along.degree() + r];
    sum += vector.magnitude();
  }
  return sum / kSideSamples;
}

// The Bezier rows of edge + s first + s^2 / 2 second for s from 0 to 1.
ControlNet taylorRows(const ControlNet& inward, int degree, const VectorRow& first,
                      const VectorRow& second) {
  ControlNet rows(degree + 1, inward.vCount());
  for (int k = 0; k <= degree; ++k) {
    const double linear = double(k) / degree;
    const double quadratic = k < 2 ? 0.0 : linear * (k - 1) / (degree - 1) / 2;
    for (int j = 0; j < rows.vCount(); ++j)
      rows(k, j) = inward(0, j) + linear * first[j] + quadratic * second[j];
  }
  return rows;
}

VectorRow scaled(VectorRow row, double factor) {
  for (Vector3D& vector : row)
    vector = vector * factor;
  return row;
}

// Straight (with the second derivative zero) or parabolic continuation.
ControlNet continuedRows(const ControlNet& inward, const SplineBasis& across,
                         const SplineBasis& along, double distance, bool isStraight) {
  const VectorRow first = derivativeRow(inward, across, 1);
  const double stretch = distance / meanLength(first, along);
  const VectorRow second = isStraight ? VectorRow(first.size()) : derivativeRow(inward, across, 2);
  return taylorRows(inward, across.degree(), scaled(first, stretch),
                    scaled(second, stretch * stretch));
}

ControlNet mirroredRows(const ControlNet& inward, const SplineBasis& across,
                        const SplineBasis& along, double distance) {
  VectorRow legs(inward.vCount());
  for (int j = 0; j < inward.vCount(); ++j)
    legs[j] = inward(0, j) - inward(1, j);
  const double stretch = distance / (across.degree() * meanLength(legs, along));
  ControlNet rows(across.degree() + 1, inward.vCount());
  for (int k = 0; k < rows.uCount(); ++k) {
    for (int j = 0; j < rows.vCount(); ++j)
      rows(k, j) = inward(0, j) + stretch * (inward(0, j) - inward(k, j));
  }
  return rows;
}

template <class Builder>
auto byType(SurfaceExtension type, Builder natural, Builder linear, Builder reflect) {
  switch (type) {
    case SurfaceExtension::Natural:
      return natural;
    case SurfaceExtension::Linear:
      return linear;
    case SurfaceExtension::Reflect:
      return reflect;
  }
  return Builder(nullptr);
}

}  // namespace

std::unique_ptr<BSplineSurface> BSplineSurface::extend(double distance, int side, int type) const {
  const bool isSide = side >= int(SurfaceSide::UMin) && side <= int(SurfaceSide::VMax);
  const bool isType =
      type >= int(SurfaceExtension::Natural) && type <= int(SurfaceExtension::Reflect);
  if (!(distance > 0) || !isSide || !isType || !isValid()) return nullptr;
  return createExtensionSegment(distance, SurfaceSide(side), SurfaceExtension(type));
}

std::unique_ptr<BSplineSurface> BSplineSurface::createExtensionSegment(
    double distance, SurfaceSide side, SurfaceExtension type) const {
  switch (side) {
    case SurfaceSide::UMin:
      return createUMinExtensionSegment(distance, type);
    case SurfaceSide::UMax:
      return createUMaxExtensionSegment(distance, type);
    case SurfaceSide::VMin:
      return createVMinExtensionSegment(distance, type);
    case SurfaceSide::VMax:
      return createVMaxExtensionSegment(distance, type);
  }
  return nullptr;
}

// A length across the side that is zero or not finite shows in the net.
std::unique_ptr<BSplineSurface> BSplineSurface::extensionPatch(double distance, SurfaceSide side,
                                                               SurfaceExtension type) const {
  if (!(distance > 0) || !isValid() || !usesLocalSupport()) return nullptr;
  const bool isU = isAcrossU(side);
  const SplineBasis& across = isU ? uniformU() : uniformV();
  const SplineBasis& along = isU ? uniformV() : uniformU();
  const ControlNet inward = rowsInward(controlNet(), side);
  const ControlNet rows =
      type == SurfaceExtension::Reflect
          ? mirroredRows(inward, across, along, distance)
          : continuedRows(inward, across, along, distance, type == SurfaceExtension::Linear);
  if (!rows.isFinite()) return nullptr;
  const int p = across.degree();
  const std::vector<double> bezierKnots = foundation::nurbs::clampedUniformKnots(p + 1, p);
  return std::make_unique<BSplineSurface>(
      netOfRowsOutward(rows, side), isU ? bezierKnots : getUKnotVector(),
      isU ? getVKnotVector() : bezierKnots, getUDegree(), getVDegree());
}

std::unique_ptr<BSplineSurface> BSplineSurface::createUMinExtensionSegment(
    double distance, SurfaceExtension type) const {
  const auto create =
      byType(type, &BSplineSurface::createG2UMinExtension, &BSplineSurface::createG1UMinExtension,
             &BSplineSurface::createReflectedUMinExtension);
  return create ? (this->*create)(distance) : nullptr;
}

std::unique_ptr<BSplineSurface> BSplineSurface::createUMaxExtensionSegment(
    double distance, SurfaceExtension type) const {
  const auto create =
      byType(type, &BSplineSurface::createG2UMaxExtension, &BSplineSurface::createG1UMaxExtension,
             &BSplineSurface::createReflectedUMaxExtension);
  return create ? (this->*create)(distance) : nullptr;
}

std::unique_ptr<BSplineSurface> BSplineSurface::createVMinExtensionSegment(
    double distance, SurfaceExtension type) const {
  const auto create =
      byType(type, &BSplineSurface::createG2VMinExtension, &BSplineSurface::createG1VMinExtension,
             &BSplineSurface::createReflectedVMinExtension);
  return create ? (this->*create)(distance) : nullptr;
}

std::unique_ptr<BSplineSurface> BSplineSurface::createVMaxExtensionSegment(
    double distance, SurfaceExtension type) const {
  const auto create =
      byType(type, &BSplineSurface::createG2VMaxExtension, &BSplineSurface::createG1VMaxExtension,
             &BSplineSurface::createReflectedVMaxExtension);
  return create ? (this->*create)(distance) : nullptr;
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG1UMinExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::UMin, SurfaceExtension::Linear);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG1UMaxExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::UMax, SurfaceExtension::Linear);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG1VMinExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::VMin, SurfaceExtension::Linear);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG1VMaxExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::VMax, SurfaceExtension::Linear);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG2UMinExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::UMin, SurfaceExtension::Natural);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG2UMaxExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::UMax, SurfaceExtension::Natural);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG2VMinExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::VMin, SurfaceExtension::Natural);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createG2VMaxExtension(double distance) const {
  return extensionPatch(distance, SurfaceSide::VMax, SurfaceExtension::Natural);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createReflectedUMinExtension(
    double distance) const {
  return extensionPatch(distance, SurfaceSide::UMin, SurfaceExtension::Reflect);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createReflectedUMaxExtension(
    double distance) const {
  return extensionPatch(distance, SurfaceSide::UMax, SurfaceExtension::Reflect);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createReflectedVMinExtension(
    double distance) const {
  return extensionPatch(distance, SurfaceSide::VMin, SurfaceExtension::Reflect);
}

std::unique_ptr<BSplineSurface> BSplineSurface::createReflectedVMaxExtension(
    double distance) const {
  return extensionPatch(distance, SurfaceSide::VMax, SurfaceExtension::Reflect);
}

}  // namespace trova::geometry
