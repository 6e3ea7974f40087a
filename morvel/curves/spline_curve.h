#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "morvel/curves/parametric_curve.h"
#include "morvel/foundation/spline_basis.h"

namespace trova::geometry {

/// A curve with a knot vector. Holds the knots in their ready-made form (`SplineBasis`); children
/// hold the points. Outside its interval a spline goes on along the polynomial of its end span.
///
/// Children are permissive: a curve whose points and knots do not fit together evaluates by the
/// definition of the basis functions, over the points that have one, and the operations that refine
/// it throw std::invalid_argument.
class MORVEL_API SplineCurve : public ParametricCurve {
 public:
  /// (U[p], U[size - p - 1]); (0, 1) for an empty knot vector or one too short for the degree.
  ParameterInterval getParameterInterval() const override;
  int getDegree() const override { return degree_; }
  /// `Curve::getArcLength` knot span by knot span, so that a break between spans costs nothing.
  double getArcLength(double u0, double u1) const override;

  virtual const std::vector<double>& getKnotVector() const { return basis_.knots(); }
  virtual int getKnotCount() const { return static_cast<int>(getKnotVector().size()); }
  /// As `foundation::nurbs::findKnotSpan`, but never an empty span where the interval has others.
  virtual int findKnotSpan(double u) const;
  /// The knots never decrease and are finite.
  virtual bool isValidKnotVector() const;
  /// The degree + 1 non-zero basis values at u; `values` has room for them.
  /// @param span  from `findKnotSpan`
  /// @throws std::invalid_argument where the room is short or the span is not one of the knots'
  virtual void evaluateBasisFunctions(int span, double u, std::span<double> values) const;
  /// Rows j = 0 .. order of degree + 1 values each: the j-th derivatives. Throws likewise.
  virtual void evaluateBasisDerivatives(int span, double u, int order,
                                        std::span<double> values) const;
  virtual std::unique_ptr<Curve> insertKnot(double u, int times) const = 0;
  virtual std::unique_ptr<Curve> removeKnot(double u, int times) const = 0;
  virtual std::unique_ptr<Curve> elevateDegree(int times) const = 0;

  /// The distinct knots inside the interval and its two ends, ascending; the ends alone where the
  /// knots cannot be used.
  std::vector<double> getBreaks() const;

 protected:
  SplineCurve(std::vector<double> knots, int degree);

  const foundation::nurbs::SplineBasis& basis() const { return basis_; }
  /// The knots are usable with that many control points.
  bool isRegular(std::size_t points) const {
    return basis_.isUsable() && points == static_cast<std::size_t>(basis_.count());
  }

 private:
  void requireRoom(int span, std::int64_t order, std::size_t room) const;

  int degree_;
  foundation::nurbs::SplineBasis basis_;
};

}  // namespace trova::geometry
