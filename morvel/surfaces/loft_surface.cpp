#include "morvel/surfaces/loft_surface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/scratch_buffer.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/internal/section_spline.h"
#include "morvel/surfaces/internal/uniform_spline.h"

namespace trova::geometry {
namespace {

using foundation::kMaxStackDegree;
using foundation::nurbs::SplineBasis;

constexpr int kCountAlongSections = 16;
constexpr int kChecksPerSpan = 4;
/// Weights of this many sections fit on the stack, with two derivatives.
constexpr std::size_t kStackWeights = 96;
constexpr int kRows = 3;

std::vector<UnitCurve> copiedSections(const std::vector<std::shared_ptr<const Curve>>& sections) {
  if (sections.size() < 2 || sections.size() > LoftSurface::kMaxSections)
    throw std::invalid_argument("Loft needs 2 to 1000 sections");
  std::vector<UnitCurve> copies;
  copies.reserve(sections.size());
  for (const auto& section : sections)
    copies.emplace_back(section, "Loft section");
  return copies;
}

int usedDegree(int degreeV, std::size_t sectionCount) {
  if (degreeV < 1) throw std::invalid_argument("Loft degree must be at least 1");
  return std::min({degreeV, static_cast<int>(sectionCount) - 1, kMaxStackDegree});
}

std::vector<double> sectionParameters(const SplineBasis& basis) {
  std::vector<double> parameters;
  parameters.reserve(static_cast<std::size_t>(basis.count()));
  for (int k = 0; k < basis.count(); ++k)
    parameters.push_back(internal::grevilleAbscissa(basis.knots(), basis.degree(), k));
  parameters.front() = 0.0;
  parameters.back() = 1.0;
  return parameters;
}

/// The inverse of the matrix of basis values at the parameters, row by row.
std::vector<double> interpolationInverse(const SplineBasis& basis,
                                         const std::vector<double>& parameters) {
  const int count = basis.count();
  const int degree = basis.degree();
  foundation::BandedSystem system(count, degree, degree);
  std::array<double, kMaxStackDegree + 1> values{};
  for (int row = 0; row < count; ++row) {
    const int span = basis.span(parameters[row]);
    basis.values(parameters[row], span, values.data());
    for (int r = 0; r <= degree; ++r) {
      if (values[r] != 0.0) system.add(row, span - degree + r, values[r]);
    }
  }
  if (!system.factor()) throw std::invalid_argument("Loft sections cannot be interpolated");
  std::vector<double> inverse(static_cast<std::size_t>(count) * count, 0.0);
  for (int k = 0; k < count; ++k)
    inverse[static_cast<std::size_t>(k) * count + k] = 1.0;
  system.solve(inverse.data(), count);
  return inverse;
}

}  // namespace

LoftSurface::LoftSurface(const std::vector<std::shared_ptr<const Curve>>& sections, int degreeV)
    : sections_(copiedSections(sections)),
      basis_(SplineBasis::clampedUniform(getSectionCount(), usedDegree(degreeV, sections.size()))),
      parameters_(sectionParameters(basis_)),
      toControls_(
          std::make_shared<const std::vector<double>>(interpolationInverse(basis_, parameters_))) {}

const Curve& LoftSurface::getSection(int k) const {
  return sections_.at(static_cast<std::size_t>(k)).curve();
}

double LoftSurface::getSectionParameter(int k) const {
  return parameters_.at(static_cast<std::size_t>(k));
}

bool LoftSurface::isValid() const {
  return std::all_of(sections_.begin(), sections_.end(),
                     [](const UnitCurve& section) { return section.curve().isValid(); });
}

bool LoftSurface::isNaturallyPeriodicS() const {
  return std::all_of(sections_.begin(), sections_.end(),
                     [](const UnitCurve& section) { return section.curve().isPeriodic(); });
}

void LoftSurface::sectionWeights(double t, int order, double* weights) const {
  const int count = basis_.count();
  const int width = basis_.degree() + 1;
  std::array<double, kRows*(kMaxStackDegree + 1)> values{};
  const int span = basis_.span(t);
  basis_.derivatives(t, span, order, values.data());
  std::fill(weights, weights + static_cast<std::ptrdiff_t>(order + 1) * count, 0.0);
  for (int row = 0; row <= order; ++row) {
    for (int r = 0; r < width; ++r) {
      const std::ptrdiff_t control = span - basis_.degree() + r;
      const double* shares = toControls_->data() + control * count;
      const double value = values[row * width + r];
      for (int k = 0; k < count; ++k)
        weights[row * count + k] += value * shares[k];
    }
  }
}

Point3D LoftSurface::localPoint(double s, double t) const {
  foundation::ScratchBuffer<double, kStackWeights> weights(sections_.size());
  sectionWeights(t, 0, weights.data());
  Point3D sum;
  for (std::size_t k = 0; k < sections_.size(); ++k)
    sum += sections_[k].point(s) * weights[k];
  return sum;
}

void LoftSurface::localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const {
  const std::size_t count = sections_.size();
  foundation::ScratchBuffer<double, kRows * kStackWeights> weights(kRows * count);
  sectionWeights(t, order, weights.data());
  for (std::size_t k = 0; k < count; ++k) {
    const CurveJet jet = sections_[k].jet(s, order);
    const Vector3D place = jet.point - Point3D::origin();
    out.point += jet.point * weights[k];
    if (order < 1) continue;
    out.Su += jet.derivatives[0] * weights[k];
    out.Sv += place * weights[count + k];
    if (order < 2) continue;
    out.Suu += jet.derivatives[1] * weights[k];
    out.Suv += jet.derivatives[0] * weights[count + k];
    out.Svv += place * weights[2 * count + k];
  }
}

// The spline in t lies within the hull of its control points: box j of them is the sum of the
// sections' boxes, each stretched by its share.
BoundingBox LoftSurface::localBox() const {
  std::vector<BoundingBox> boxes;
  for (const UnitCurve& section : sections_)
    boxes.push_back(section.curve().getBoundingBox());
  BoundingBox all;
  for (std::size_t j = 0; j < boxes.size(); ++j) {
    Point3D low;
    Point3D high;
    for (std::size_t k = 0; k < boxes.size(); ++k) {
      const double share = (*toControls_)[j * boxes.size() + k];
      low += (share < 0.0 ? boxes[k].max : boxes[k].min) * share;
      high += (share < 0.0 ? boxes[k].min : boxes[k].max) * share;
    }
    all.addBoundingBox({low, high});
  }
  return all;
}

std::pair<int, int> LoftSurface::naturalNurbsCounts() const {
  return {kCountAlongSections, std::max(getSectionCount(), 4)};
}

std::shared_ptr<BSplineSurface> LoftSurface::toNurbs(double tolerance) const {
  std::vector<internal::Section> sections;
  for (const UnitCurve& section : sections_)
    sections.push_back({&section, getPlacement()});
  internal::AcrossSections across{basis_.degree(), toControls_->data(), 1.0};
  std::vector<double> weights(sections_.size());
  const int checks = kChecksPerSpan * (basis_.count() - basis_.degree());
  for (int c = 0; c <= checks; ++c) {
    sectionWeights(static_cast<double>(c) / checks, 0, weights.data());
    double sum = 0.0;
    for (const double weight : weights)
      sum += std::abs(weight);
    across.amplification = std::max(across.amplification, sum);
  }
  auto result =
      internal::surfaceThroughSections(*this, sections, across, parameterWindow(), tolerance);
  return result ? result : Surface::toNurbs(tolerance);
}

std::unique_ptr<BSplineSurface> LoftSurface::toBSpline() const {
  return std::make_unique<BSplineSurface>(*toNurbs());
}

}  // namespace trova::geometry
