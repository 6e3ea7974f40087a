#include "morvel/surfaces/nurbs_surface.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/knot_vector.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/foot_point.h"
#include "morvel/surfaces/grid_sampling.h"
#include "morvel/surfaces/internal/batch_results.h"
#include "morvel/surfaces/internal/full_sum.h"
#include "morvel/surfaces/internal/tensor_grid.h"
#include "morvel/surfaces/internal/unit_normal.h"

namespace trova::geometry {
namespace {

constexpr int kDim = 4;  // w x, w y, w z, w
constexpr int kMaxOrder = 2;

/// A weight this close to 1 does not make a surface rational.
constexpr double kUnitWeightTolerance = 1e-12;
/// A sum of weighted basis functions at or below this gives the origin.
constexpr double kMinDenominator = 1e-12;

Point3D projected(const double* sums) {
  const double w = sums[3];
  if (!(w > kMinDenominator)) return Point3D::origin();
  return {sums[0] / w, sums[1] / w, sums[2] / w};
}

// One homogeneous derivative: the weighted vector and the derivative of the denominator.
struct Weighted {
  Vector3D A;
  double w;
};

Weighted weightedAt(const double* sums, int index) {
  sums += index * kDim;
  return {{sums[0], sums[1], sums[2]}, sums[3]};
}

Vector3D firstDerivative(const Weighted& dA, const Vector3D& S, double w) {
  return (dA.A - dA.w * S) / w;
}

// S_ab = (A_ab - w_a S_b - w_b S_a - w_ab S) / w.
Vector3D secondDerivative(const Weighted& dA, double wa, const Vector3D& Sb, double wb,
                          const Vector3D& Sa, const Vector3D& S, double w) {
  return (dA.A - wa * Sb - wb * Sa - dA.w * S) / w;
}

// The quotient rule on the results of `tensorPoint` with Dim = 4.
SurfaceEvaluation rationalResults(const double* sums, int order) {
  SurfaceEvaluation at;
  at.point = projected(sums);
  if (order == 0) return at;
  const double w = sums[3];
  if (!(w > kMinDenominator)) {
    at.normal = Vector3D::unitZ();
    return at;
  }
  const Vector3D S = at.point - Point3D::origin();
  const Weighted du = weightedAt(sums, 1);
  const Weighted dv = weightedAt(sums, 2);
  at.Su = firstDerivative(du, S, w);
  at.Sv = firstDerivative(dv, S, w);
  at.normal = internal::evaluationNormal(at.Su, at.Sv);
  if (order == 1) return at;
  at.Suu = secondDerivative(weightedAt(sums, 3), du.w, at.Su, du.w, at.Su, S, w);
  at.Suv = secondDerivative(weightedAt(sums, 4), du.w, at.Sv, dv.w, at.Su, S, w);
  at.Svv = secondDerivative(weightedAt(sums, 5), dv.w, at.Sv, dv.w, at.Sv, S, w);
  return at;
}

// By contract: a placeholder whatever the order; only the point is true.
SurfaceEvaluation placeholderAt(const Point3D& point) {
  SurfaceEvaluation at;
  at.point = point;
  at.Su = Vector3D::unitX();
  at.Sv = Vector3D::unitY();
  at.normal = Vector3D::unitZ();
  return at;
}

bool isPositive(double weight) { return std::isfinite(weight) && weight > 0; }

NurbsSurface::Weights transposedWeights(const NurbsSurface::Weights& weights) {
  if (weights.empty()) return {};
  NurbsSurface::Weights result(weights.front().size(), std::vector<double>(weights.size()));
  for (std::size_t i = 0; i < weights.size(); ++i) {
    for (std::size_t j = 0; j < result.size(); ++j)
      result[j][i] = weights[i][j];
  }
  return result;
}

}  // namespace

NurbsSurface::NurbsSurface(const Net& net, Weights weights, std::vector<double> uKnots,
                           std::vector<double> vKnots, int degreeU, int degreeV)
    : NurbsSurface(ControlNet(net), std::move(weights), std::move(uKnots), std::move(vKnots),
                   degreeU, degreeV) {}

NurbsSurface::NurbsSurface(ControlNet net, Weights weights, std::vector<double> uKnots,
                           std::vector<double> vKnots, int degreeU, int degreeV)
    : SplineSurface(std::move(net), std::move(uKnots), std::move(vKnots), degreeU, degreeV),
      weights_(std::move(weights)) {
  rebuildHomogeneous();
}

std::unique_ptr<NurbsSurface> NurbsSurface::fromBSpline(const BSplineSurface& surface) {
  const ControlNet& net = surface.controlNet();
  Weights weights(net.uCount(), std::vector<double>(net.vCount(), 1.0));
  return std::make_unique<NurbsSurface>(net, std::move(weights), surface.getUKnotVector(),
                                        surface.getVKnotVector(), surface.getUDegree(),
                                        surface.getVDegree());
}

std::unique_ptr<NurbsSurface> NurbsSurface::createBilinearPatch(const Point3D& p00,
                                                                const Point3D& p10,
                                                                const Point3D& p01,
                                                                const Point3D& p11) {
  return fromBSpline(*BSplineSurface::createClamped(Net{{p00, p01}, {p10, p11}}, 1, 1));
}

std::unique_ptr<Surface> NurbsSurface::clone() const {
  return std::make_unique<NurbsSurface>(*this);
}

std::unique_ptr<NurbsSurface> NurbsSurface::unchangedCopy() const {
  auto copy = std::make_unique<NurbsSurface>(*this);
  copy->resetMatrix();
  return copy;
}

bool NurbsSurface::weightsFitNet() const {
  return weights_.size() == std::size_t(controlNet().uCount()) &&
         std::all_of(weights_.begin(), weights_.end(), [&](const std::vector<double>& row) {
           return row.size() == std::size_t(controlNet().vCount());
         });
}

bool NurbsSurface::isValid() const {
  if (!hasValidShape() || !isValidKnotVectors() || !weightsFitNet()) return false;
  return std::all_of(weights_.begin(), weights_.end(), [](const std::vector<double>& row) {
    return std::all_of(row.begin(), row.end(), isPositive);
  });
}

void NurbsSurface::rebuildHomogeneous() {
  homogeneous_.clear();
  if (weightsFitNet()) {
    homogeneous_.reserve(controlNet().points().size() * kDim);
    for (int i = 0; i < controlNet().uCount(); ++i) {
      for (int j = 0; j < controlNet().vCount(); ++j) {
        const double w = weights_[i][j];
        const Point3D point = w * controlNet()(i, j);
        homogeneous_.insert(homogeneous_.end(), {point.x(), point.y(), point.z(), w});
      }
    }
  }
  homogeneousIsFinite_ = std::all_of(homogeneous_.begin(), homogeneous_.end(),
                                     [](double value) { return std::isfinite(value); });
}

bool NurbsSurface::usesLocalSupport() const {
  return homogeneousIsFinite_ && !homogeneous_.empty() && uniformU().isUsable() &&
         uniformV().isUsable();
}

// The results of `tensorPoint` with Dim = 4; all zero for weights that do not fit the net. At a
// parameter that is not a number the vectors are not numbers, over a denominator of 1.
void NurbsSurface::homogeneousAt(double u, double v, int order, double* sums) const {
  if (homogeneous_.empty() || std::isnan(u) || std::isnan(v)) {
    std::fill_n(sums, kDim * internal::derivativeCount(order),
                homogeneous_.empty() ? 0.0 : std::numeric_limits<double>::quiet_NaN());
    sums[3] = homogeneous_.empty() ? 0.0 : 1.0;
    return;
  }
  u = internal::clampedToUnit(u);
  v = internal::clampedToUnit(v);
  const double* net = homogeneous_.data();
  if (!usesLocalSupport())
    internal::fullSum(net, kDim, {controlNet().uCount(), getUDegree()},
                      {controlNet().vCount(), getVDegree()}, u, v, order, sums);
  else if (order == 0)
    internal::tensorPoint<kDim, 0>(net, uniformU(), uniformV(), u, v, sums);
  else if (order == 1)
    internal::tensorPoint<kDim, 1>(net, uniformU(), uniformV(), u, v, sums);
  else
    internal::tensorPoint<kDim, kMaxOrder>(net, uniformU(), uniformV(), u, v, sums);
}

Point3D NurbsSurface::evaluateRational(double u, double v) const {
  double sums[kDim];
  homogeneousAt(u, v, 0, sums);
  return projected(sums);
}

SurfaceEvaluation NurbsSurface::evaluateRationalDerivatives(double u, double v, int order) const {
  order = std::clamp(order, 0, kMaxOrder);
  double sums[kDim * internal::derivativeCount(kMaxOrder)];
  homogeneousAt(u, v, order, sums);
  return rationalResults(sums, order);
}

SurfaceEvaluation NurbsSurface::evaluateDerivatives(double u, double v, int) const {
  return placeholderAt(evaluate(u, v));
}

void NurbsSurface::evaluateBatch(std::span<const double> uv, int order, double* out) const {
  internal::withConstantOrder(order, [&](auto known) {
    for (std::size_t k = 0; k + 1 < uv.size(); k += 2, out += batchWidth(known))
      internal::writeEvaluation(placeholderAt(evaluateRational(uv[k], uv[k + 1])), known, out);
  });
}

void NurbsSurface::evaluateGrid(std::span<const double> u, std::span<const double> v, int order,
                                double* out) const {
  const bool areNumbers = internal::areNumbers(u) && internal::areNumbers(v);
  const auto write = [&](std::size_t a, std::size_t b, const Point3D& point) {
    internal::writeEvaluation(placeholderAt(point), order,
                              out + (a * v.size() + b) * batchWidth(order));
  };
  internal::withConstantOrder(order, [](auto) {});
  if (usesLocalSupport() && areNumbers) {
    internal::tensorGrid<kDim, 0>(
        homogeneous_.data(), uniformU(), uniformV(), internal::clampedToUnit(u),
        internal::clampedToUnit(v),
        [&](int a, int b, const double* sums) { write(a, b, projected(sums)); });
    return;
  }
  for (std::size_t a = 0; a < u.size(); ++a) {
    for (std::size_t b = 0; b < v.size(); ++b)
      write(a, b, evaluateRational(u[a], v[b]));
  }
}

void NurbsSurface::evaluateExactBatch(std::span<const double> uv, int order, double* out) const {
  requireStoredBases();
  if (homogeneous_.empty() || !homogeneousIsFinite_)
    throw std::invalid_argument("Weights must fit the control net, and both be finite");
  internal::withConstantOrder(order, [&](auto known) {
    constexpr int kOrder = decltype(known)::value;
    double sums[kDim * internal::derivativeCount(kOrder)];
    for (std::size_t k = 0; k + 1 < uv.size(); k += 2, out += batchWidth(kOrder)) {
      internal::tensorPoint<kDim, kOrder>(homogeneous_.data(), storedU(), storedV(),
                                          storedU().clamped(uv[k]), storedV().clamped(uv[k + 1]),
                                          sums);
      internal::writeEvaluation(rationalResults(sums, kOrder), kOrder, out);
    }
  });
}

std::pair<double, double> NurbsSurface::getClosestParameter(const Point3D& point) const {
  const FootPoint foot =
      closestFootPoint([this](double u, double v) { return evaluateRational(u, v); },
                       [this](double u, double v) { return evaluateRationalDerivatives(u, v, 2); },
                       getParameterDomain(), point, footPointSamples(controlNet().uCount()),
                       footPointSamples(controlNet().vCount()));
  return {foot.u, foot.v};
}

SurfaceMesh NurbsSurface::tessellateUniform(int uCount, int vCount) const {
  if (!usesLocalSupport()) return Surface::tessellateUniform(uCount, vCount);
  SurfaceMesh mesh = gridMesh(getParameterDomain(), uCount, vCount);
  const std::vector<double> us = gridParameters(0.0, 1.0, uCount);
  const std::vector<double> vs = gridParameters(0.0, 1.0, vCount);
  std::fill(mesh.normals.begin(), mesh.normals.end(),
            internal::surfaceNormal(Vector3D::unitX(), Vector3D::unitY()));
  internal::tensorGrid<kDim, 0>(
      homogeneous_.data(), uniformU(), uniformV(), us, vs, [&](int a, int b, const double* sums) {
        mesh.vertices[std::size_t(a) * vs.size() + std::size_t(b)] = projected(sums);
      });
  return mesh;
}

void NurbsSurface::applyTransformToGeometry(const Transform3D& matrix) {
  SplineSurface::applyTransformToGeometry(matrix);
  rebuildHomogeneous();
}

void NurbsSurface::setControlPoint(int i, int j, const Point3D& point) {
  SplineSurface::setControlPoint(i, j, point);
  rebuildHomogeneous();
}

double NurbsSurface::getWeight(int i, int j) const {
  if (i < 0 || j < 0 || std::size_t(i) >= weights_.size() || std::size_t(j) >= weights_[i].size())
    throw std::out_of_range("Weight index out of range");
  return weights_[i][j];
}

void NurbsSurface::setWeight(int i, int j, double weight) {
  static_cast<void>(getWeight(i, j));
  if (!isPositive(weight)) throw std::invalid_argument("Weight must be finite and positive");
  weights_[i][j] = weight;
  rebuildHomogeneous();
}

bool NurbsSurface::isRational() const {
  return std::any_of(weights_.begin(), weights_.end(), [](const std::vector<double>& row) {
    return std::any_of(row.begin(), row.end(),
                       [](double w) { return !(std::abs(w - 1.0) <= kUnitWeightTolerance); });
  });
}

std::unique_ptr<Surface> NurbsSurface::transform(const Transform3D& matrix) const {
  auto moved = unchangedCopy();
  moved->applyTransformToGeometry(matrix);
  return moved;
}

// By contract: where the reversed surface cannot be made the answer is a plain copy.
std::unique_ptr<NurbsSurface> NurbsSurface::reversed(bool isU) const {
  using foundation::nurbs::reversedKnots;
  try {
    Weights weights = weights_;
    if (isU) std::reverse(weights.begin(), weights.end());
    for (std::vector<double>& row : weights) {
      if (!isU) std::reverse(row.begin(), row.end());
    }
    return std::make_unique<NurbsSurface>(
        isU ? controlNet().reversedU() : controlNet().reversedV(), std::move(weights),
        isU ? reversedKnots(getUKnotVector()) : getUKnotVector(),
        isU ? getVKnotVector() : reversedKnots(getVKnotVector()), getUDegree(), getVDegree());
  } catch (const std::exception&) {
    return unchangedCopy();
  }
}

std::unique_ptr<Surface> NurbsSurface::reverseU() const { return reversed(true); }
std::unique_ptr<Surface> NurbsSurface::reverseV() const { return reversed(false); }

std::unique_ptr<Surface> NurbsSurface::swapUV() const {
  if (!weightsFitNet()) throw std::invalid_argument("Weights do not fit the control net");
  return std::make_unique<NurbsSurface>(controlNet().transposed(), transposedWeights(weights_),
                                        getVKnotVector(), getUKnotVector(), getVDegree(),
                                        getUDegree());
}

std::shared_ptr<BSplineSurface> NurbsSurface::toNurbs(double tolerance) const {
  if (!isValid() || isRational()) return Surface::toNurbs(tolerance);
  return std::make_shared<BSplineSurface>(controlNet(), getUKnotVector(), getVKnotVector(),
                                          getUDegree(), getVDegree());
}

// By contract: unchanged copies.
std::unique_ptr<Surface> NurbsSurface::trim(double, double, double, double) const {
  return unchangedCopy();
}
std::unique_ptr<Surface> NurbsSurface::insertUKnot(double, int) const { return unchangedCopy(); }
std::unique_ptr<Surface> NurbsSurface::insertVKnot(double, int) const { return unchangedCopy(); }
std::unique_ptr<Surface> NurbsSurface::removeUKnot(double, int) const { return unchangedCopy(); }
std::unique_ptr<Surface> NurbsSurface::removeVKnot(double, int) const { return unchangedCopy(); }
std::unique_ptr<Surface> NurbsSurface::elevateUDegree(int) const { return unchangedCopy(); }
std::unique_ptr<Surface> NurbsSurface::elevateVDegree(int) const { return unchangedCopy(); }

}  // namespace trova::geometry
