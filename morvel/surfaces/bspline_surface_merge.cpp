#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/internal/surface_sides.h"

// Joining surfaces across a side, exact on the stored knots.

namespace trova::geometry {
namespace {

using foundation::nurbs::SplineRows;
using internal::isAcrossU;
using internal::isAtMax;

/// Knots of two surfaces within this of each other are one knot (stored-knot units).
constexpr double kCommonKnotTolerance = 1e-10;

// Maps the knots so that their first and last become `first` and `last`, exactly.
void mapKnots(std::vector<double>& knots, double first, double last) {
  const double from = knots.front();
  const double extent = knots.back() - from;
  if (!(extent > 0)) throw std::invalid_argument("Invalid surface for merging");
  for (double& knot : knots)
    knot = knot - from == extent ? last : first + (knot - from) / extent * (last - first);
}

// Inserts the knots of another spline that this one does not have as often.
void insertMissing(SplineRows& rows, const std::vector<double>& others) {
  using foundation::nurbs::knotMultiplicity;
  for (std::size_t k = 0; k < others.size();) {
    const double knot = others[k];
    const int wanted = knotMultiplicity(knot, others, kCommonKnotTolerance);
    const int missing = wanted - knotMultiplicity(knot, rows.knots, kCommonKnotTolerance);
    if (missing > 0) foundation::nurbs::insertKnot(rows, knot, missing, kCommonKnotTolerance);
    while (k < others.size() && others[k] <= knot + kCommonKnotTolerance)
      ++k;
  }
}

// Both clamped, on the degree of the higher one.
void raiseToCommonDegree(SplineRows& a, SplineRows& b) {
  const int degree = std::max(a.degree, b.degree);
  a = foundation::nurbs::elevated(foundation::nurbs::clamped(a), degree - a.degree);
  b = foundation::nurbs::elevated(foundation::nurbs::clamped(b), degree - b.degree);
}

void shareKnots(SplineRows& surface, SplineRows& patch) {
  raiseToCommonDegree(surface, patch);
  mapKnots(patch.knots, surface.knots.front(), surface.knots.back());
  const std::vector<double> own = surface.knots;
  insertMissing(surface, patch.knots);
  insertMissing(patch, own);
}

// The knots of two clamped splines one behind the other, with one copy of the joint's knots less.
// The patch's knots are moved to it; those of the surface stay.
std::vector<double> joinedKnots(const std::vector<double>& own, const std::vector<double>& patch,
                                int degree, bool isPatchBehind) {
  const double joint = isPatchBehind ? own.back() : own.front();
  const double shift = joint - (isPatchBehind ? patch.front() : patch.back());
  std::vector<double> moved = patch;
  for (double& knot : moved)
    knot += shift;
  const std::vector<double>& first = isPatchBehind ? own : moved;
  const std::vector<double>& second = isPatchBehind ? moved : own;
  std::vector<double> knots(first.begin(), first.end() - degree - 1);
  knots.insert(knots.end(), degree, joint);
  knots.insert(knots.end(), second.begin() + degree + 1, second.end());
  return knots;
}

bool meetAlong(const ControlNet& first, const ControlNet& second, bool isU) {
  const ControlNet before = isU ? first : first.transposed();
  const ControlNet behind = isU ? second : second.transposed();
  if (before.vCount() != behind.vCount()) return false;
  for (int j = 0; j < before.vCount(); ++j) {
    if (!before(before.uCount() - 1, j).isEqual(behind(0, j))) return false;
  }
  return true;
}

}  // namespace

std::pair<std::unique_ptr<BSplineSurface>, std::unique_ptr<BSplineSurface>>
BSplineSurface::makeSurfacesCompatible(const BSplineSurface& surface, const BSplineSurface& patch,
                                       SurfaceSide side) {
  if (!surface.isValid() || !patch.isValid())
    throw std::invalid_argument("Invalid surface for merging");
  const bool isU = isAcrossU(side);
  SplineRows across[2] = {isU ? surface.uRows() : surface.vRows(),
                          isU ? patch.uRows() : patch.vRows()};
  raiseToCommonDegree(across[0], across[1]);
  const auto raised = isU ? surface.withURows(across[0]) : surface.withVRows(across[0]);
  const auto raisedPatch = isU ? patch.withURows(across[1]) : patch.withVRows(across[1]);
  SplineRows along[2] = {isU ? raised->vRows() : raised->uRows(),
                         isU ? raisedPatch->vRows() : raisedPatch->uRows()};
  shareKnots(along[0], along[1]);
  if (isU) return {raised->withVRows(along[0]), raisedPatch->withVRows(along[1])};
  return {raised->withURows(along[0]), raisedPatch->withURows(along[1])};
}

std::unique_ptr<BSplineSurface> BSplineSurface::mergeSurfaces(const BSplineSurface& surface,
                                                              const BSplineSurface& patch,
                                                              SurfaceSide side) {
  const auto [own, other] = makeSurfacesCompatible(surface, patch, side);
  const bool isU = isAcrossU(side);
  const BSplineSurface& first = isAtMax(side) ? *own : *other;
  const BSplineSurface& second = isAtMax(side) ? *other : *own;
  if (!meetAlong(first.controlNet(), second.controlNet(), isU))
    throw std::invalid_argument("Surfaces do not meet along the side");
  ControlNet net = mergeSurfaceControlNets(own->controlNet(), other->controlNet(), side);
  const int p = own->getUDegree();
  const int q = own->getVDegree();
  std::vector<double> uKnots = own->getUKnotVector();
  std::vector<double> vKnots = own->getVKnotVector();
  if (isU)
    uKnots = joinedKnots(uKnots, other->getUKnotVector(), p, isAtMax(side));
  else
    vKnots = joinedKnots(vKnots, other->getVKnotVector(), q, isAtMax(side));
  return std::make_unique<BSplineSurface>(std::move(net), std::move(uKnots), std::move(vKnots), p,
                                          q);
}

ControlNet BSplineSurface::mergeSurfaceControlNets(const ControlNet& surface,
                                                   const ControlNet& patch, SurfaceSide side) {
  const bool isU = isAcrossU(side);
  const ControlNet own = isU ? surface : surface.transposed();
  const ControlNet other = isU ? patch : patch.transposed();
  // Reversed, the surface comes first and its row is the one that is kept.
  const ControlNet merged =
      isAtMax(side) ? mergeUSurfaceControlNets(own, other)
                    : mergeUSurfaceControlNets(own.reversedU(), other.reversedU()).reversedU();
  return isU ? merged : merged.transposed();
}

ControlNet BSplineSurface::mergeUSurfaceControlNets(const ControlNet& first,
                                                    const ControlNet& second) {
  if (first.isEmpty() || second.isEmpty() || first.vCount() != second.vCount())
    throw std::invalid_argument("Control nets do not fit");
  const std::int64_t rowCount = std::int64_t(first.uCount()) + second.uCount() - 1;
  ControlNet merged(int(foundation::checkedCount({rowCount})), first.vCount());
  for (int i = 0; i < merged.uCount(); ++i) {
    const int beyond = i - first.uCount() + 1;
    for (int j = 0; j < merged.vCount(); ++j)
      merged(i, j) = beyond > 0 ? second(beyond, j) : first(i, j);
  }
  return merged;
}

ControlNet BSplineSurface::mergeVSurfaceControlNets(const ControlNet& first,
                                                    const ControlNet& second) {
  return mergeUSurfaceControlNets(first.transposed(), second.transposed()).transposed();
}

}  // namespace trova::geometry
