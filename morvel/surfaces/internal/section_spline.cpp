#include "morvel/surfaces/internal/section_spline.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "morvel/foundation/knot_vector.h"
#include "morvel/foundation/spline_basis.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/internal/uniform_spline.h"
#include "morvel/surfaces/to_nurbs.h"

namespace trova::geometry::internal {

namespace nurbs = foundation::nurbs;

namespace {

constexpr int kMaxFitSpans = 2048;
constexpr int kChecksPerSpan = 4;

std::optional<std::vector<UniformRows>> exactForms(const std::vector<const UnitCurve*>& curves,
                                                   const ParameterStretch& stretch) {
  std::vector<UniformRows> forms;
  for (const UnitCurve* curve : curves) {
    std::optional<UniformRows> form = exactUniformForm(*curve, stretch);
    if (!form) return std::nullopt;
    forms.push_back(std::move(*form));
  }
  if (!makeCompatible(forms)) return std::nullopt;
  return forms;
}

Point3D rowPoint(const UniformRows& spline, int i) {
  const double* at = spline.coords.data() + static_cast<std::ptrdiff_t>(3) * i;
  return {at[0], at[1], at[2]};
}

Point3D splinePoint(const UniformRows& spline, const nurbs::SplineBasis& basis, double s) {
  std::array<double, foundation::kMaxStackDegree + 1> values{};
  const int span = basis.span(s);
  basis.values(s, span, values.data());
  Point3D sum;
  for (int r = 0; r <= basis.degree(); ++r)
    sum += rowPoint(spline, span - basis.degree() + r) * values[r];
  return sum;
}

/// The largest distance between fits and sections, between the parameters that the fits pass
/// through.
double largestDeviation(const std::vector<Section>& sections, const std::vector<UniformRows>& fits,
                        const ParameterStretch& stretch, int spans) {
  const auto basis = nurbs::SplineBasis::clampedUniform(fits[0].count(), fits[0].degree);
  const int checks = kChecksPerSpan * spans;
  double largest = 0.0;
  for (std::size_t k = 0; k < sections.size(); ++k) {
    for (int c = 0; c < checks; ++c) {
      const double s = (c + 0.5) / checks;
      const Vector3D gap = sections[k].curve->point(stretch.at(s)) - splinePoint(fits[k], basis, s);
      const double distance = sections[k].placement.transform(gap).magnitude();
      if (std::isnan(distance)) return distance;
      largest = std::max(largest, distance);
    }
  }
  return largest;
}

std::vector<UniformRows> fittedForms(const std::vector<Section>& sections,
                                     const std::vector<const UnitCurve*>& curves,
                                     const ParameterStretch& stretch, double amplification,
                                     double tolerance) {
  const FitPlan plan = fitPlan(curves, stretch);
  double best = HUGE_VAL;
  for (int spans = plan.spans; spans <= kMaxFitSpans; spans *= 2) {
    for (int degree = plan.degree; degree <= plan.highestDegree; ++degree) {
      std::vector<UniformRows> fits = interpolatedUniform(curves, stretch, degree, spans);
      const double gap = amplification * largestDeviation(sections, fits, stretch, spans);
      if (gap <= tolerance) return fits;
      best = std::min(best, gap);
    }
  }
  throw ToNurbsConvergenceException(best, tolerance);
}

/// The placed control points of all sections as a spline in t, one row for each of its control
/// points.
nurbs::SplineRows splineAcross(const std::vector<Section>& sections,
                               const std::vector<UniformRows>& forms,
                               const AcrossSections& across) {
  const int sectionCount = static_cast<int>(sections.size());
  const int pointCount = forms[0].count();
  nurbs::SplineRows rows{
      across.degree, 3 * pointCount, nurbs::clampedUniformKnots(sectionCount, across.degree), {}};
  rows.coords.assign(static_cast<std::size_t>(sectionCount) * rows.dim, 0.0);
  for (int k = 0; k < sectionCount; ++k) {
    for (int i = 0; i < pointCount; ++i) {
      const Point3D point = sections[k].placement.transform(rowPoint(forms[k], i));
      for (int j = 0; j < sectionCount; ++j) {
        const double share = across.toControls ? across.toControls[j * sectionCount + k] : j == k;
        double* target = rows.coords.data() + static_cast<std::size_t>(j) * rows.dim + 3 * i;
        for (int axis = 0; axis < 3; ++axis)
          target[axis] += share * point[axis];
      }
    }
  }
  return rows;
}

std::shared_ptr<BSplineSurface> assembled(const nurbs::SplineRows& across, int degreeAlong,
                                          bool transposed) {
  const int along = across.dim / 3;
  ControlNet net(along, across.count());
  for (int i = 0; i < along; ++i) {
    for (int j = 0; j < across.count(); ++j)
      net(i, j) = rowPoint(across, j * along + i);
  }
  return transposed ? BSplineSurface::createClamped(net.transposed(), across.degree, degreeAlong)
                    : BSplineSurface::createClamped(std::move(net), degreeAlong, across.degree);
}

}  // namespace

std::shared_ptr<BSplineSurface> surfaceThroughSections(const Surface& surface,
                                                       const std::vector<Section>& sections,
                                                       const AcrossSections& across,
                                                       const ParameterWindow& window,
                                                       double tolerance) {
  if (!surface.isValid()) throw ToNurbsInvalidSurfaceException(surface.getTypeIdentifier());
  std::vector<const UnitCurve*> curves;
  curves.reserve(sections.size());
  for (const Section& section : sections)
    curves.push_back(section.curve);
  std::optional<std::vector<UniformRows>> forms = exactForms(curves, window.s());
  if (!forms) forms = fittedForms(sections, curves, window.s(), across.amplification, tolerance);
  const auto rows = uniformPart(splineAcross(sections, *forms, across), window.t());
  if (!rows) return nullptr;
  return assembled(*rows, forms->front().degree, window.isTransposed());
}

}  // namespace trova::geometry::internal
