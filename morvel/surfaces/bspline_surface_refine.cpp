#include <algorithm>
#include <stdexcept>
#include <utility>

#include "morvel/surfaces/bspline_surface.h"

// Refinement and trimming, exact on the stored knots: a net is a spline in u whose points are its
// rows, and a spline in v whose points are its columns.

namespace trova::geometry {
namespace {

using foundation::nurbs::SplineRows;

/// Knots within this of a parameter are copies of it (stored-knot units).
constexpr double kMultiplicityTolerance = 1e-10;

constexpr int kCoordinates = 3;

SplineRows splineRows(const ControlNet& net, int degree, const std::vector<double>& knots) {
  const double* first = net.data();
  const std::size_t size = net.points().size() * kCoordinates;
  return {degree, net.vCount() * kCoordinates, knots, std::vector<double>(first, first + size)};
}

ControlNet netOf(const SplineRows& rows) {
  return {rows.count(), rows.dim / kCoordinates, rows.coords.data()};
}

std::vector<double> knotSubsequence(const std::vector<double>& knots, int degree, int first,
                                    int last) {
  const std::int64_t end = std::int64_t(last) + degree + 2;
  if (first < 0 || last < first || end > std::int64_t(knots.size()))
    throw std::out_of_range("Control point index out of range");
  return {knots.begin() + first, knots.begin() + end};
}

// Start and end of a trim, moved onto the ends of the stored range where they are within tolerance.
struct Window {
  double start;
  double end;
};

Window windowIn(const std::vector<double>& knots, int degree, double start, double end) {
  const double lowest = knots[degree];
  const double highest = knots[knots.size() - 1 - degree];
  const bool isInside =
      start >= lowest - kMultiplicityTolerance && end <= highest + kMultiplicityTolerance;
  if (!isInside || !(end - start > 2 * kMultiplicityTolerance))
    throw std::invalid_argument("Invalid trim parameters");
  return {std::max(start, lowest), std::min(end, highest)};
}

// The spline on these knots starts and ends where it is trimmed.
std::vector<double> withEnds(std::vector<double> knots, int degree, const Window& window) {
  std::fill_n(knots.begin(), degree + 1, window.start);
  std::fill_n(knots.rbegin(), degree + 1, window.end);
  return knots;
}

}  // namespace

SplineRows BSplineSurface::uRows() const {
  return splineRows(controlNet(), getUDegree(), getUKnotVector());
}

SplineRows BSplineSurface::vRows() const {
  return splineRows(controlNet().transposed(), getVDegree(), getVKnotVector());
}

std::unique_ptr<BSplineSurface> BSplineSurface::withURows(SplineRows rows) const {
  ControlNet net = netOf(rows);
  return std::make_unique<BSplineSurface>(std::move(net), std::move(rows.knots), getVKnotVector(),
                                          rows.degree, getVDegree());
}

std::unique_ptr<BSplineSurface> BSplineSurface::withVRows(SplineRows rows) const {
  ControlNet net = netOf(rows).transposed();
  return std::make_unique<BSplineSurface>(std::move(net), getUKnotVector(), std::move(rows.knots),
                                          getUDegree(), rows.degree);
}

std::unique_ptr<Surface> BSplineSurface::insertUKnot(double u, int times) const {
  if (times < 1) return unchangedCopy();
  SplineRows rows = uRows();
  foundation::nurbs::insertKnot(rows, u, times, kMultiplicityTolerance);
  return withURows(std::move(rows));
}

std::unique_ptr<Surface> BSplineSurface::insertVKnot(double v, int times) const {
  if (times < 1) return unchangedCopy();
  SplineRows rows = vRows();
  foundation::nurbs::insertKnot(rows, v, times, kMultiplicityTolerance);
  return withVRows(std::move(rows));
}

std::unique_ptr<Surface> BSplineSurface::removeUKnot(double, int) const { return unchangedCopy(); }
std::unique_ptr<Surface> BSplineSurface::removeVKnot(double, int) const { return unchangedCopy(); }

std::unique_ptr<Surface> BSplineSurface::elevateUDegree(int times) const {
  return withURows(foundation::nurbs::elevated(uRows(), times));
}

std::unique_ptr<Surface> BSplineSurface::elevateVDegree(int times) const {
  return withVRows(foundation::nurbs::elevated(vRows(), times));
}

std::unique_ptr<BSplineSurface> BSplineSurface::insertKnotIfNeeded(double parameter,
                                                                   bool isU) const {
  SplineRows rows = isU ? uRows() : vRows();
  foundation::nurbs::insertKnot(rows, parameter, rows.degree, kMultiplicityTolerance);
  return isU ? withURows(std::move(rows)) : withVRows(std::move(rows));
}

ControlNet BSplineSurface::extractSubPatch(int uFirst, int uLast, int vFirst, int vLast) const {
  const ControlNet& net = controlNet();
  if (uFirst < 0 || uLast < uFirst || uLast >= net.uCount() || vFirst < 0 || vLast < vFirst ||
      vLast >= net.vCount())
    throw std::out_of_range("Control point index out of range");
  ControlNet part(uLast - uFirst + 1, vLast - vFirst + 1);
  for (int i = 0; i < part.uCount(); ++i) {
    for (int j = 0; j < part.vCount(); ++j)
      part(i, j) = net(uFirst + i, vFirst + j);
  }
  return part;
}

std::vector<double> BSplineSurface::extractUKnotSubsequence(int first, int last) const {
  return knotSubsequence(getUKnotVector(), getUDegree(), first, last);
}

std::vector<double> BSplineSurface::extractVKnotSubsequence(int first, int last) const {
  return knotSubsequence(getVKnotVector(), getVDegree(), first, last);
}

// With the ends of the window at multiplicity degree, the rows of the part are those from the last
// span that starts at its start to the last one before its end.
std::unique_ptr<Surface> BSplineSurface::trim(double uStart, double uEnd, double vStart,
                                              double vEnd) const {
  if (!storedU().isUsable() || !storedV().isUsable() || !isValid())
    throw std::invalid_argument("Invalid surface for trimming");
  const Window u = windowIn(getUKnotVector(), getUDegree(), uStart, uEnd);
  const Window v = windowIn(getVKnotVector(), getVDegree(), vStart, vEnd);
  const auto refined = insertKnotIfNeeded(u.start, true)
                           ->insertKnotIfNeeded(u.end, true)
                           ->insertKnotIfNeeded(v.start, false)
                           ->insertKnotIfNeeded(v.end, false);
  const int uFirst = refined->findUKnotSpan(u.start + kMultiplicityTolerance) - getUDegree();
  const int uLast = refined->findUKnotSpan(u.end - kMultiplicityTolerance);
  const int vFirst = refined->findVKnotSpan(v.start + kMultiplicityTolerance) - getVDegree();
  const int vLast = refined->findVKnotSpan(v.end - kMultiplicityTolerance);
  return std::make_unique<BSplineSurface>(
      refined->extractSubPatch(uFirst, uLast, vFirst, vLast),
      withEnds(refined->extractUKnotSubsequence(uFirst, uLast), getUDegree(), u),
      withEnds(refined->extractVKnotSubsequence(vFirst, vLast), getVDegree(), v), getUDegree(),
      getVDegree());
}

}  // namespace trova::geometry
