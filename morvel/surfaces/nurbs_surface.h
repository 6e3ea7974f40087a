#pragma once

#include <memory>
#include <span>
#include <vector>

#include "morvel/surfaces/spline_surface.h"

namespace trova::geometry {

/// A rational tensor-product spline surface: a B-spline surface with one weight per control point.
/// A sibling of BSplineSurface, not a child; `fromBSpline` converts.
///
/// By contract: evaluated on the clamped uniform basis over [0, 1] x [0, 1] like BSplineSurface,
/// whatever the stored knots are; `evaluateDerivatives` is a fixed placeholder (the unit x and y
/// vectors, normal (0, 0, 1), no second derivatives), so that `getNormal` and meshes show (0, 0, 1)
/// everywhere; knot insertion, knot removal, degree elevation and `trim` give unchanged copies.
/// `evaluateRationalDerivatives` gives the true derivatives.
class MORVEL_API NurbsSurface : public SplineSurface {
 public:
  using Net = std::vector<std::vector<Point3D>>;
  using Weights = std::vector<std::vector<double>>;

  /// Takes its members as given; `isValid` judges them. A surface whose weights do not have the
  /// shape of its net evaluates to the origin.
  /// @throws std::invalid_argument for net rows of unequal lengths
  NurbsSurface(const Net& net, Weights weights, std::vector<double> uKnots,
               std::vector<double> vKnots, int degreeU, int degreeV);
  NurbsSurface(ControlNet net, Weights weights, std::vector<double> uKnots,
               std::vector<double> vKnots, int degreeU, int degreeV);

  /// The same net, knots and degrees; every weight is 1.
  static std::unique_ptr<NurbsSurface> fromBSpline(const BSplineSurface& surface);
  /// Degree 1 both ways, weights 1; p10 lies at (u, v) = (1, 0), p01 at (0, 1).
  static std::unique_ptr<NurbsSurface> createBilinearPatch(const Point3D& p00, const Point3D& p10,
                                                           const Point3D& p01, const Point3D& p11);

  std::string getTypeIdentifier() const override { return "NurbsSurface"; }
  std::unique_ptr<Surface> clone() const override;
  /// As BSplineSurface; and the weights have the net's shape, each finite and above 0.
  bool isValid() const override;
  Point3D evaluate(double u, double v) const override { return evaluateRational(u, v); }
  /// By contract: the placeholder described above, whatever the order; the point is true.
  SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const override;
  /// On the true derivatives.
  std::pair<double, double> getClosestParameter(const Point3D& point) const override;
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  /// By contract: an unchanged copy.
  std::unique_ptr<Surface> trim(double uStart, double uEnd, double vStart,
                                double vEnd) const override;
  std::unique_ptr<Surface> reverseU() const override;
  std::unique_ptr<Surface> reverseV() const override;
  /// Net and weights transposed, knots and degrees exchanged.
  /// @throws std::invalid_argument where the weights do not have the net's shape
  std::unique_ptr<Surface> swapUV() const override;
  SurfaceMesh tessellateUniform(int uCount, int vCount) const override;
  /// The same net where no weight differs from 1, else the default refit.
  std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const override;
  bool isNurbs() const override { return true; }
  void applyTransformToGeometry(const Transform3D& matrix) override;
  void setControlPoint(int i, int j, const Point3D& point) override;

  /// By contract: unchanged copies.
  std::unique_ptr<Surface> insertUKnot(double u, int times) const override;
  std::unique_ptr<Surface> insertVKnot(double v, int times) const override;
  std::unique_ptr<Surface> removeUKnot(double u, int times) const override;
  std::unique_ptr<Surface> removeVKnot(double v, int times) const override;
  std::unique_ptr<Surface> elevateUDegree(int times) const override;
  std::unique_ptr<Surface> elevateVDegree(int times) const override;

  double getWeight(int i, int j) const;  ///< @throws std::out_of_range
  const Weights& getWeights() const { return weights_; }
  /// @throws std::out_of_range; std::invalid_argument for a weight that is not finite and above 0
  void setWeight(int i, int j, double weight);
  /// Any weight differs from 1 by more than 1e-12.
  bool isRational() const;

  /// The weighted sum over the sum of the weighted basis; the origin where the latter is not above
  /// 1e-12. u and v are clamped to [0, 1].
  Point3D evaluateRational(double u, double v) const;
  /// The true derivatives up to `order` (0, 1 or 2) by the quotient rule (Piegl and Tiller, The
  /// NURBS Book, A4.4), with the unit normal of BSplineSurface. All zero where the denominator is
  /// not above 1e-12, with the normal (0, 0, 1) from order 1 on.
  SurfaceEvaluation evaluateRationalDerivatives(double u, double v, int order) const;

  /// Many points at a time, in the layout of surface_batch.h, with the bits of
  /// `evaluateDerivatives`.
  void evaluateBatch(std::span<const double> uv, int order, double* out) const;
  void evaluateGrid(std::span<const double> u, std::span<const double> v, int order,
                    double* out) const;
  /// The rational surface, with true derivatives and normals, on the *stored* knots, at parameters
  /// in their units, clamped to their range.
  /// @throws std::invalid_argument where net or knots do not define it
  void evaluateExactBatch(std::span<const double> uv, int order, double* out) const;

 private:
  std::unique_ptr<NurbsSurface> unchangedCopy() const;
  std::unique_ptr<NurbsSurface> reversed(bool isU) const;
  bool weightsFitNet() const;
  bool usesLocalSupport() const;
  void rebuildHomogeneous();
  void homogeneousAt(double u, double v, int order, double* sums) const;

  Weights weights_;
  std::vector<double> homogeneous_;  // (w x, w y, w z, w) per point, u outer; empty if no fit
  bool homogeneousIsFinite_ = false;
};

}  // namespace trova::geometry
