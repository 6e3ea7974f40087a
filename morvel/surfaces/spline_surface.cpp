#include "morvel/surfaces/spline_surface.h"

#include <stdexcept>
#include <utility>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {
namespace {

using foundation::nurbs::SplineBasis;

// A basis that cannot be used is not built: its knot vector could be of any size.
SplineBasis uniformBasis(int count, int degree) {
  return degree >= 0 && count > degree ? SplineBasis::clampedUniform(count, degree) : SplineBasis();
}

bool fits(int count, int degree, const std::vector<double>& knots) {
  const auto knotCount = static_cast<std::int64_t>(knots.size());
  return degree >= 1 && knotCount == foundation::knotCountFor(count, degree);
}

void requireRoom(const SplineBasis& basis, int span, int order, std::size_t room) {
  if (!basis.isUsable()) throw std::invalid_argument("Knot vector does not fit the degree");
  if (order < 0) throw std::invalid_argument("Derivative order must not be negative");
  if (span < basis.degree() || span >= basis.count())
    throw std::out_of_range("Knot span out of range");
  const std::int64_t needed =
      foundation::checkedCount({std::int64_t(order) + 1, std::int64_t(basis.degree()) + 1});
  if (std::uint64_t(needed) > room) throw std::invalid_argument("Too little room for basis values");
}

void basisValues(const SplineBasis& basis, int span, double t, std::span<double> values) {
  requireRoom(basis, span, 0, values.size());
  basis.values(t, span, values.data());
}

void basisDerivatives(const SplineBasis& basis, int span, double t, int order,
                      std::span<double> values) {
  requireRoom(basis, span, order, values.size());
  basis.derivatives(t, span, order, values.data());
}

}  // namespace

SplineSurface::SplineSurface(ControlNet net, std::vector<double> uKnots, std::vector<double> vKnots,
                             int degreeU, int degreeV)
    : ParametricSurface(std::move(net)),
      degreeU_(degreeU),
      degreeV_(degreeV),
      storedU_(degreeU, std::move(uKnots)),
      storedV_(degreeV, std::move(vKnots)),
      uniformU_(uniformBasis(controlNet().uCount(), degreeU)),
      uniformV_(uniformBasis(controlNet().vCount(), degreeV)) {}

void SplineSurface::applyTransformToGeometry(const Transform3D& matrix) { transformNet(matrix); }

Point3D SplineSurface::getControlPoint(int i, int j) const { return controlNet().at(i, j); }

void SplineSurface::setControlPoint(int i, int j, const Point3D& point) {
  replaceControlPoint(i, j, point);
}

int SplineSurface::findUKnotSpan(double u) const {
  return foundation::nurbs::findKnotSpan(degreeU_, u, getUKnotVector());
}

int SplineSurface::findVKnotSpan(double v) const {
  return foundation::nurbs::findKnotSpan(degreeV_, v, getVKnotVector());
}

bool SplineSurface::isValidKnotVectors() const {
  return foundation::nurbs::isNonDecreasing(getUKnotVector()) &&
         foundation::nurbs::isNonDecreasing(getVKnotVector());
}

void SplineSurface::evaluateUBasisFunctions(int span, double u, std::span<double> values) const {
  basisValues(storedU_, span, u, values);
}

void SplineSurface::evaluateVBasisFunctions(int span, double v, std::span<double> values) const {
  basisValues(storedV_, span, v, values);
}

void SplineSurface::evaluateUBasisDerivatives(int span, double u, int order,
                                              std::span<double> values) const {
  basisDerivatives(storedU_, span, u, order, values);
}

void SplineSurface::evaluateVBasisDerivatives(int span, double v, int order,
                                              std::span<double> values) const {
  basisDerivatives(storedV_, span, v, order, values);
}

void SplineSurface::requireStoredBases() const {
  const bool fit = storedU_.isUsable() && storedU_.count() == controlNet().uCount() &&
                   storedV_.isUsable() && storedV_.count() == controlNet().vCount();
  if (!fit) throw std::invalid_argument("Stored knots do not fit the control net");
}

bool SplineSurface::hasValidShape() const {
  return !controlNet().isEmpty() && fits(controlNet().uCount(), degreeU_, getUKnotVector()) &&
         fits(controlNet().vCount(), degreeV_, getVKnotVector());
}

}  // namespace trova::geometry
