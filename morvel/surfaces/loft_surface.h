#pragma once

#include <vector>

#include "morvel/foundation/spline_basis.h"
#include "morvel/surfaces/placed_surface.h"
#include "morvel/surfaces/unit_curve.h"

namespace trova::geometry {

/// A surface through a row of section curves: s runs over every section's interval from start to
/// end, and for fixed s the points of the sections are interpolated by a spline in t.
///
/// That spline has one control point per section, on clamped uniform knots, and passes through
/// section k at the k-th Greville abscissa of these knots (the mean of `degree` successive knots),
/// where interpolation is well conditioned. Sections should be given in order and run the same way.
class MORVEL_API LoftSurface : public PlacedSurface<LoftSurface> {
 public:
  static constexpr int kMaxSections = 1000;

  /// Copies the sections. The degree along t is `degreeV`, at most the number of sections less one,
  /// and at most 29.
  /// @throws std::invalid_argument for fewer than 2 or more than kMaxSections sections, a null one,
  /// or
  ///         degreeV < 1
  explicit LoftSurface(const std::vector<std::shared_ptr<const Curve>>& sections, int degreeV = 3);

  int getSectionCount() const { return static_cast<int>(sections_.size()); }
  const Curve& getSection(int k) const;  ///< @throws std::out_of_range
  /// The t at which the loft passes through section k: 0 for the first, 1 for the last.
  double getSectionParameter(int k) const;  ///< @throws std::out_of_range
  /// The degree along t in use.
  int getSectionDegree() const { return basis_.degree(); }

  std::string getTypeIdentifier() const override { return "LoftSurface"; }
  bool isValid() const override;  ///< every section is
  /// Exact where all sections are polynomials on uniform knots that have a common such form and the
  /// loft is not trimmed along t (or is one polynomial along t); else fitted within the tolerance.
  /// @throws as RuledSurface::toNurbs
  std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const override;
  /// `toNurbs` at the default tolerance, owned by the caller.
  std::unique_ptr<BSplineSurface> toBSpline() const;

 private:
  friend class WindowedSurface<LoftSurface, Surface>;
  friend class PlacedSurface<LoftSurface>;

  /// How much each section counts at t: row r holds the r-th derivatives, one value per section.
  void sectionWeights(double t, int order, double* weights) const;
  Point3D localPoint(double s, double t) const;
  void localDerivatives(double s, double t, int order, SurfaceEvaluation& out) const;
  BoundingBox localBox() const;
  bool isNaturallyPeriodicS() const;
  bool isNaturallyPeriodicT() const { return false; }
  std::pair<int, int> naturalNurbsCounts() const;

  std::vector<UnitCurve> sections_;
  foundation::nurbs::SplineBasis basis_;  // along t
  std::vector<double> parameters_;        // where the sections lie, in t
  // Control point j of the spline in t is the sum of toControls_[j * count + k] section k.
  std::shared_ptr<const std::vector<double>> toControls_;
};

}  // namespace trova::geometry
