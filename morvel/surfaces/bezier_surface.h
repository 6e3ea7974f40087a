#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "morvel/surfaces/parametric_surface.h"

namespace trova::geometry {

/// The Bernstein polynomial B(n, i) at t: 0 unless 0 <= i <= n.
MORVEL_API double bernsteinBasis(int i, int n, double t);

/// One polynomial patch in the Bernstein basis, over [0, 1] x [0, 1]. Its degrees are the counts of
/// its net less one; it has no knots. Parameters are not clamped; see `deCasteljau` for what that
/// gives.
class MORVEL_API BezierSurface : public ParametricSurface {
 public:
  using Net = std::vector<std::vector<Point3D>>;

  /// @throws std::invalid_argument for rows of unequal lengths
  explicit BezierSurface(const Net& net);
  explicit BezierSurface(ControlNet net);

  std::string getTypeIdentifier() const override { return "BezierSurface"; }
  std::unique_ptr<Surface> clone() const override;
  /// At least two points in either direction.
  bool isValid() const override;
  Point3D evaluate(double u, double v) const override { return deCasteljau(u, v); }
  SurfaceEvaluation evaluateDerivatives(double u, double v, int order) const override;
  std::unique_ptr<Surface> transform(const Transform3D& matrix) const override;
  /// Exact, by subdivision; the part runs over [0, 1] x [0, 1] again.
  /// @throws std::invalid_argument unless 0 <= start < end <= 1 in both directions
  std::unique_ptr<Surface> trim(double uStart, double uEnd, double vStart,
                                double vEnd) const override;
  /// By contract: unchanged copies.
  std::unique_ptr<Surface> reverseU() const override;
  std::unique_ptr<Surface> reverseV() const override;
  std::unique_ptr<Surface> swapUV() const override;
  SurfaceMesh tessellateUniform(int uCount, int vCount) const override;
  /// Exact: the same net on knots 0 and 1.
  std::shared_ptr<BSplineSurface> toNurbs(
      double tolerance = kDefaultToNurbsTolerance) const override;

  void applyTransformToGeometry(const Transform3D& matrix) override;
  virtual int getUControlPointCount() const { return controlNet().uCount(); }
  virtual int getVControlPointCount() const { return controlNet().vCount(); }
  virtual Point3D getControlPoint(int i, int j) const;  ///< @throws std::out_of_range
  /// @throws std::out_of_range; std::invalid_argument for a point that is not finite
  virtual void setControlPoint(int i, int j, const Point3D& point);
  virtual std::vector<std::vector<Point3D>> getControlPoints() const { return controlNet().rows(); }
  virtual int getUDegree() const { return controlNet().uCount() - 1; }
  virtual int getVDegree() const { return controlNet().vCount() - 1; }
  virtual double getControlPolygonArea() const { return controlNetArea(); }

  /// The tensor Bernstein sum. By contract: a term whose product of basis values is not above 1e-15
  /// is left out, which outside [0, 1] x [0, 1] means every negative term (`deCasteljauDerivatives`
  /// continues the polynomial there), and at a parameter that is not a number all of them. The
  /// origin for an empty net.
  Point3D deCasteljau(double u, double v) const;
  /// Point (that of `deCasteljau`), derivatives up to `order` (0, 1 or 2) by their full sums, and
  /// unit normal.
  SurfaceEvaluation deCasteljauDerivatives(double u, double v, int order) const;

  /// The parts below and above t in one direction, by de Casteljau subdivision of every line of the
  /// net; each runs over [0, 1] x [0, 1] and keeps the degrees.
  /// @throws std::invalid_argument for t that is not finite
  std::pair<BezierSurface, BezierSurface> splitU(double t) const;
  std::pair<BezierSurface, BezierSurface> splitV(double t) const;

 private:
  std::unique_ptr<BezierSurface> unchangedCopy() const;
};

}  // namespace trova::geometry
