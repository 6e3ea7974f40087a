#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/nurbs_basis.h"
#include "morvel/foundation/tolerances.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/foot_point.h"
#include "morvel/surfaces/grid_sampling.h"
#include "morvel/surfaces/internal/batch_results.h"
#include "morvel/surfaces/internal/bicubic_batch.h"
#include "morvel/surfaces/internal/full_sum.h"
#include "morvel/surfaces/internal/tensor_grid.h"
#include "morvel/surfaces/internal/unit_normal.h"

namespace trova::geometry {
namespace {

constexpr int kDim = 3;
constexpr int kMaxOrder = 2;

Point3D pointAt(const double* results) { return {results[0], results[1], results[2]}; }

Vector3D vectorAt(const double* results, int index) {
  results += index * kDim;
  return {results[0], results[1], results[2]};
}

// Points on either pair of bases, clamped to their range.
template <int Order>
void batchOn(const ControlNet& net, const foundation::nurbs::SplineBasis& basisU,
             const foundation::nurbs::SplineBasis& basisV, std::span<const double> uv,
             double* out) {
  using foundation::nurbs::kCubicDegree;
  if (basisU.degree() == kCubicDegree && basisV.degree() == kCubicDegree)
    return internal::bicubicBatch<Order>(net.data(), basisU, basisV, uv, out);
  double results[kDim * internal::derivativeCount(Order)];
  for (std::size_t k = 0; k + 1 < uv.size(); k += 2, out += batchWidth(Order)) {
    internal::tensorPoint<kDim, Order>(net.data(), basisU, basisV, basisU.clamped(uv[k]),
                                       basisV.clamped(uv[k + 1]), results);
    internal::writeResults<Order>(results, out);
  }
}

// Where a grid's results go: into the layout of a batch.
template <int Order>
struct BatchSink {
  double* out;
  std::size_t countV;

  [[gnu::always_inline]] void operator()(
      int a, int b, int size,
      const foundation::Quad (*results)[internal::derivativeCount(Order)]) const {
    internal::writeGroup<Order>(results, size, out + (a * countV + b) * batchWidth(Order));
  }
};

// Into a mesh that has the room.
struct MeshSink {
  Point3D* vertices;
  Vector3D* normals;
  std::size_t countV;

  [[gnu::always_inline]] void operator()(
      int a, int b, int size,
      const foundation::Quad (*results)[internal::derivativeCount(1)]) const {
    foundation::Quad unit[foundation::kQuad];
    internal::groupNormals(internal::kSurfaceNormal, results, unit);
    for (int k = 0; k < size; ++k) {
      const std::size_t index = a * countV + b + k;
      foundation::store<kDim>(results[k][0], vertices[index].eigen().data());
      foundation::store<kDim>(unit[k], normals[index].eigen().data());
    }
  }
};

// Degree 0: 1 on [i / n, (i + 1) / n), and the last function also at 1.
double stepFunction(int i, double t, int n) {
  if (std::abs(t) < foundation::kKnotTolerance) t = 0.0;
  if (std::abs(t - 1.0) < foundation::kKnotTolerance) t = 1.0;
  if (t == 1.0) return i == n - 1 ? 1.0 : 0.0;
  const double count = n;
  return i / count <= t && t < (i + 1) / count ? 1.0 : 0.0;
}

}  // namespace

double computeUniformBasisFunction(int i, int p, double t, int n) {
  if (i < 0 || i >= n || p < 0) return 0.0;
  if (p == 0) return stepFunction(i, t, n);
  return foundation::nurbs::evaluateBasisFunction(i, p, t,
                                                  foundation::nurbs::clampedUniformKnots(n, p));
}

// Where a value of the net is not finite, its products with zero are not zero: only the full sum is
// right then.
bool BSplineSurface::usesLocalSupport() const {
  return netIsFinite() && uniformU().isUsable() && uniformV().isUsable();
}

template <int Order>
[[gnu::always_inline]] inline void BSplineSurface::evaluateInto(double u, double v,
                                                                double* out) const {
  if (!usesLocalSupport() || std::isunordered(u, v))
    evaluateByDefinition(u, v, Order, out);
  else
    internal::tensorPoint<kDim, Order>(controlNet().data(), uniformU(), uniformV(),
                                       internal::clampedToUnit(u), internal::clampedToUnit(v), out);
}

// The results of `tensorPoint` with Dim = 3 where the local support does not serve: empty nets,
// nets and parameters that are not finite, counts that the degree is too high for.
[[gnu::noinline]] void BSplineSurface::evaluateByDefinition(double u, double v, int order,
                                                            double* out) const {
  const bool isNumber = !std::isnan(u) && !std::isnan(v);
  if (isNumber && !controlNet().isEmpty()) {
    internal::fullSum(controlNet().data(), kDim, {controlNet().uCount(), getUDegree()},
                      {controlNet().vCount(), getVDegree()}, internal::clampedToUnit(u),
                      internal::clampedToUnit(v), order, out);
    return;
  }
  std::fill_n(out, kDim * internal::derivativeCount(order),
              controlNet().isEmpty() ? 0.0 : std::numeric_limits<double>::quiet_NaN());
}

Point3D BSplineSurface::evaluate(double u, double v) const {
  double results[kDim];
  evaluateInto<0>(u, v, results);
  return pointAt(results);
}

SurfaceEvaluation BSplineSurface::evaluateDerivatives(double u, double v, int order) const {
  order = std::clamp(order, 0, kMaxOrder);
  double results[kDim * internal::derivativeCount(kMaxOrder)];
  if (order == 0)
    evaluateInto<0>(u, v, results);
  else if (order == 1)
    evaluateInto<1>(u, v, results);
  else
    evaluateInto<kMaxOrder>(u, v, results);
  SurfaceEvaluation at;
  at.point = pointAt(results);
  if (order == 0) return at;
  at.Su = vectorAt(results, 1);
  at.Sv = vectorAt(results, 2);
  at.normal = internal::evaluationNormal(at.Su, at.Sv);
  if (order == 1) return at;
  at.Suu = vectorAt(results, 3);
  at.Suv = vectorAt(results, 4);
  at.Svv = vectorAt(results, 5);
  return at;
}

void BSplineSurface::evaluateBatch(std::span<const double> uv, int order, double* out) const {
  internal::withConstantOrder(order, [&](auto known) {
    constexpr int kOrder = decltype(known)::value;
    if (usesLocalSupport()) return batchOn<kOrder>(controlNet(), uniformU(), uniformV(), uv, out);
    double results[kDim * internal::derivativeCount(kOrder)];
    for (std::size_t k = 0; k + 1 < uv.size(); k += 2, out += batchWidth(kOrder)) {
      evaluateInto<kOrder>(uv[k], uv[k + 1], results);
      internal::writeResults<kOrder>(results, out);
    }
  });
}

void BSplineSurface::evaluateExactBatch(std::span<const double> uv, int order, double* out) const {
  requireStoredBases();
  if (!netIsFinite()) throw std::invalid_argument("Control points must be finite");
  internal::withConstantOrder(order, [&](auto known) {
    batchOn<decltype(known)::value>(controlNet(), storedU(), storedV(), uv, out);
  });
}

void BSplineSurface::evaluateGrid(std::span<const double> u, std::span<const double> v, int order,
                                  double* out) const {
  internal::withConstantOrder(order, [&](auto known) {
    constexpr int kOrder = decltype(known)::value;
    if (!usesLocalSupport()) {
      for (const double s : u) {
        for (const double t : v) {
          evaluateBatch(std::array{s, t}, kOrder, out);
          out += batchWidth(kOrder);
        }
      }
      return;
    }
    internal::tensorGridGroups<kDim, kOrder>(controlNet().data(), uniformU(), uniformV(),
                                             internal::clampedToUnit(u), internal::clampedToUnit(v),
                                             BatchSink<kOrder>{out, v.size()});
  });
}

SurfaceMesh BSplineSurface::tessellateUniform(int uCount, int vCount) const {
  if (!usesLocalSupport()) return Surface::tessellateUniform(uCount, vCount);
  SurfaceMesh mesh = gridMesh(getParameterDomain(), uCount, vCount);
  const std::vector<double> us = gridParameters(0.0, 1.0, uCount);
  const std::vector<double> vs = gridParameters(0.0, 1.0, vCount);
  internal::tensorGridGroups<kDim, 1>(
      controlNet().data(), uniformU(), uniformV(), us, vs,
      MeshSink{mesh.vertices.data(), mesh.normals.data(), vs.size()});
  return mesh;
}

std::pair<double, double> BSplineSurface::getClosestParameter(const Point3D& point) const {
  const FootPoint foot = closestFootPoint(
      [this](double u, double v) { return evaluate(u, v); },
      [this](double u, double v) { return evaluateDerivatives(u, v, 2); }, getParameterDomain(),
      point, footPointSamples(controlNet().uCount()), footPointSamples(controlNet().vCount()));
  return {foot.u, foot.v};
}

}  // namespace trova::geometry
