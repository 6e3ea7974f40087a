#include "morvel/surfaces/bezier_surface.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/bernstein.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/scratch_buffer.h"
#include "morvel/foundation/tolerances.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/grid_sampling.h"
#include "morvel/surfaces/internal/tensor_evaluate.h"
#include "morvel/surfaces/internal/unit_normal.h"

namespace trova::geometry {
namespace {

using foundation::nurbs::bernsteinValues;
using foundation::nurbs::clampedUniformKnots;

/// By contract: terms whose product of basis values is not above this are left out of the point.
constexpr double kSkippedProduct = 1e-15;

constexpr int kDim = 3;
constexpr int kMaxOrder = 2;

using BernsteinRow = foundation::ScratchBuffer<double, foundation::kMaxStackDegree + 1>;
using BernsteinRows = foundation::ScratchBuffer<double, 3 * (foundation::kMaxStackDegree + 1)>;

// Rows 0 .. order of the derivatives of all n + 1 Bernstein polynomials: each row is built from the
// polynomials of a lower degree by differences.
void bernsteinDerivatives(int n, double t, int order, double* rows) {
  const std::size_t width = std::size_t(n) + 1;
  for (int k = 0; k <= order; ++k) {
    double* row = rows + k * width;
    std::fill_n(row, width, 0.0);
    if (k > n) continue;
    bernsteinValues(n - k, t, row);
    for (int degree = n - k + 1; degree <= n; ++degree) {
      for (int i = degree; i >= 0; --i) {
        const double before = i > 0 ? row[i - 1] : 0.0;
        const double own = i < degree ? row[i] : 0.0;
        row[i] = degree * (before - own);
      }
    }
  }
}

// The sum that `deCasteljau` states.
Point3D bernsteinPoint(const ControlNet& net, const double* inU, const double* inV) {
  Eigen::Vector3d sum = Eigen::Vector3d::Zero();
  for (int i = 0; i < net.uCount(); ++i) {
    for (int j = 0; j < net.vCount(); ++j) {
      const double product = inU[i] * inV[j];
      if (product > kSkippedProduct) sum += product * net(i, j).eigen();
    }
  }
  return Point3D(sum);
}

// The tensor sum of any two rows, over all points.
Vector3D bernsteinVector(const ControlNet& net, const double* inU, const double* inV) {
  double result[kDim];
  BernsteinRows sums(std::size_t(net.vCount()) * kDim);
  const std::size_t stride = std::size_t(net.vCount()) * kDim;
  internal::contractRows<0>(net.data(), stride, net.uCount(), inU, int(stride), sums.data());
  internal::contractColumns<kDim>(sums.data(), net.vCount(), inV, result);
  return {result[0], result[1], result[2]};
}

SurfaceEvaluation evaluationOf(const ControlNet& net, const double* inU, const double* inV,
                               int order) {
  const std::size_t p = net.uCount();
  const std::size_t q = net.vCount();
  SurfaceEvaluation at;
  at.point = bernsteinPoint(net, inU, inV);
  if (order < 1) return at;
  at.Su = bernsteinVector(net, inU + p, inV);
  at.Sv = bernsteinVector(net, inU, inV + q);
  at.normal = internal::evaluationNormal(at.Su, at.Sv);
  if (order < 2) return at;
  at.Suu = bernsteinVector(net, inU + 2 * p, inV);
  at.Suv = bernsteinVector(net, inU + p, inV + q);
  at.Svv = bernsteinVector(net, inU, inV + 2 * q);
  return at;
}

// Both parts of every row of points, subdivided at t along u.
std::pair<ControlNet, ControlNet> subdivided(const ControlNet& net, double t) {
  if (!std::isfinite(t)) throw std::invalid_argument("Split parameter must be finite");
  const int n = net.uCount() - 1;
  ControlNet left = net;
  ControlNet right = net;
  for (int level = 1; level <= n; ++level) {
    for (int i = 0; i <= n - level; ++i) {
      for (int j = 0; j < net.vCount(); ++j)
        right(i, j) = (1.0 - t) * right(i, j) + t * right(i + 1, j);
    }
    for (int j = 0; j < net.vCount(); ++j)
      left(level, j) = right(0, j);
  }
  return {std::move(left), std::move(right)};
}

void requireWindow(double start, double end) {
  if (!(start >= 0.0 && start < end && end <= 1.0))
    throw std::invalid_argument("Invalid trim parameters");
}

// The part of the net over [start, end] along u.
ControlNet windowOf(const ControlNet& net, double start, double end) {
  const ControlNet below = end < 1.0 ? subdivided(net, end).first : net;
  return start > 0.0 ? subdivided(below, start / end).second : below;
}

}  // namespace

double bernsteinBasis(int i, int n, double t) {
  return foundation::nurbs::evaluateBernsteinBasis(i, n, t);
}

BezierSurface::BezierSurface(const Net& net) : BezierSurface(ControlNet(net)) {}
BezierSurface::BezierSurface(ControlNet net) : ParametricSurface(std::move(net)) {}

std::unique_ptr<Surface> BezierSurface::clone() const {
  return std::make_unique<BezierSurface>(*this);
}

std::unique_ptr<BezierSurface> BezierSurface::unchangedCopy() const {
  return std::make_unique<BezierSurface>(controlNet());
}

bool BezierSurface::isValid() const {
  return controlNet().uCount() >= 2 && controlNet().vCount() >= 2;
}

Point3D BezierSurface::deCasteljau(double u, double v) const {
  const ControlNet& net = controlNet();
  if (net.isEmpty()) return Point3D::origin();
  BernsteinRow inU(net.uCount());
  BernsteinRow inV(net.vCount());
  bernsteinValues(getUDegree(), u, inU.data());
  bernsteinValues(getVDegree(), v, inV.data());
  return bernsteinPoint(net, inU.data(), inV.data());
}

SurfaceEvaluation BezierSurface::deCasteljauDerivatives(double u, double v, int order) const {
  const ControlNet& net = controlNet();
  if (net.isEmpty()) return {};
  order = std::clamp(order, 0, kMaxOrder);
  BernsteinRows inU(std::size_t(net.uCount()) * (order + 1));
  BernsteinRows inV(std::size_t(net.vCount()) * (order + 1));
  bernsteinDerivatives(getUDegree(), u, order, inU.data());
  bernsteinDerivatives(getVDegree(), v, order, inV.data());
  return evaluationOf(net, inU.data(), inV.data(), order);
}

SurfaceEvaluation BezierSurface::evaluateDerivatives(double u, double v, int order) const {
  return deCasteljauDerivatives(u, v, order);
}

SurfaceMesh BezierSurface::tessellateUniform(int uCount, int vCount) const {
  if (controlNet().isEmpty()) return Surface::tessellateUniform(uCount, vCount);
  SurfaceMesh mesh = gridMesh(getParameterDomain(), uCount, vCount);
  std::size_t next = 0;
  const std::vector<double> us = gridParameters(0.0, 1.0, uCount);
  const std::vector<double> vs = gridParameters(0.0, 1.0, vCount);
  const std::size_t size = 2 * std::size_t(controlNet().vCount());
  std::vector<double> inU(2 * std::size_t(controlNet().uCount()));
  std::vector<double> inV(size * vs.size());
  for (std::size_t b = 0; b < vs.size(); ++b)
    bernsteinDerivatives(getVDegree(), vs[b], 1, inV.data() + b * size);
  for (const double u : us) {
    bernsteinDerivatives(getUDegree(), u, 1, inU.data());
    for (std::size_t b = 0; b < vs.size(); ++b) {
      const SurfaceEvaluation at = evaluationOf(controlNet(), inU.data(), inV.data() + b * size, 1);
      mesh.vertices[next] = at.point;
      mesh.normals[next++] = internal::surfaceNormal(at.Su, at.Sv);
    }
  }
  return mesh;
}

std::unique_ptr<Surface> BezierSurface::transform(const Transform3D& matrix) const {
  auto moved = unchangedCopy();
  moved->applyTransformToGeometry(matrix);
  return moved;
}

std::pair<BezierSurface, BezierSurface> BezierSurface::splitU(double t) const {
  auto [left, right] = subdivided(controlNet(), t);
  return {BezierSurface(std::move(left)), BezierSurface(std::move(right))};
}

std::pair<BezierSurface, BezierSurface> BezierSurface::splitV(double t) const {
  const auto [left, right] = subdivided(controlNet().transposed(), t);
  return {BezierSurface(left.transposed()), BezierSurface(right.transposed())};
}

std::unique_ptr<Surface> BezierSurface::trim(double uStart, double uEnd, double vStart,
                                             double vEnd) const {
  requireWindow(uStart, uEnd);
  requireWindow(vStart, vEnd);
  const ControlNet inU = windowOf(controlNet(), uStart, uEnd);
  return std::make_unique<BezierSurface>(windowOf(inU.transposed(), vStart, vEnd).transposed());
}

// By contract: unchanged copies.
std::unique_ptr<Surface> BezierSurface::reverseU() const { return unchangedCopy(); }
std::unique_ptr<Surface> BezierSurface::reverseV() const { return unchangedCopy(); }
std::unique_ptr<Surface> BezierSurface::swapUV() const { return unchangedCopy(); }

std::shared_ptr<BSplineSurface> BezierSurface::toNurbs(double tolerance) const {
  if (!isValid()) return Surface::toNurbs(tolerance);
  const int p = getUDegree();
  const int q = getVDegree();
  return std::make_shared<BSplineSurface>(controlNet(), clampedUniformKnots(p + 1, p),
                                          clampedUniformKnots(q + 1, q), p, q);
}

void BezierSurface::applyTransformToGeometry(const Transform3D& matrix) { transformNet(matrix); }

Point3D BezierSurface::getControlPoint(int i, int j) const { return controlNet().at(i, j); }

void BezierSurface::setControlPoint(int i, int j, const Point3D& point) {
  replaceControlPoint(i, j, point);
}

}  // namespace trova::geometry
