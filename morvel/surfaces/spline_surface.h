#pragma once

#include <span>
#include <vector>

#include "morvel/foundation/spline_basis.h"
#include "morvel/surfaces/parametric_surface.h"

namespace trova::geometry {

/// A tensor-product spline surface: a net, two knot vectors and two degrees. The *stored* knots are
/// what getters, refinement and conversion work on. By contract evaluation does not use them: it
/// works on clamped uniform knots over [0, 1] (see BSplineSurface).
class MORVEL_API SplineSurface : public ParametricSurface {
 public:
  void applyTransformToGeometry(const Transform3D& matrix) override;
  virtual int getUControlPointCount() const { return controlNet().uCount(); }
  virtual int getVControlPointCount() const { return controlNet().vCount(); }
  virtual Point3D getControlPoint(int i, int j) const;  ///< @throws std::out_of_range
  virtual void setControlPoint(int i, int j, const Point3D& point);
  virtual std::vector<std::vector<Point3D>> getControlPoints() const { return controlNet().rows(); }
  virtual int getUDegree() const { return degreeU_; }
  virtual int getVDegree() const { return degreeV_; }
  virtual double getControlPolygonArea() const { return controlNetArea(); }
  virtual const std::vector<double>& getUKnotVector() const { return storedU_.knots(); }
  virtual const std::vector<double>& getVKnotVector() const { return storedV_.knots(); }
  virtual int getUKnotCount() const { return static_cast<int>(getUKnotVector().size()); }
  virtual int getVKnotCount() const { return static_cast<int>(getVKnotVector().size()); }
  virtual int findUKnotSpan(double u) const;  ///< on the stored knots
  virtual int findVKnotSpan(double v) const;
  /// Both stored knot vectors are finite and never decrease.
  virtual bool isValidKnotVectors() const;
  /// On the stored knots; `values` has room for degree + 1 values.
  virtual void evaluateUBasisFunctions(int span, double u, std::span<double> values) const;
  virtual void evaluateVBasisFunctions(int span, double v, std::span<double> values) const;
  /// Rows j = 0 .. order of degree + 1 values.
  virtual void evaluateUBasisDerivatives(int span, double u, int order,
                                         std::span<double> values) const;
  virtual void evaluateVBasisDerivatives(int span, double v, int order,
                                         std::span<double> values) const;
  virtual std::unique_ptr<Surface> insertUKnot(double u, int times) const = 0;
  virtual std::unique_ptr<Surface> insertVKnot(double v, int times) const = 0;
  virtual std::unique_ptr<Surface> removeUKnot(double u, int times) const = 0;
  virtual std::unique_ptr<Surface> removeVKnot(double v, int times) const = 0;
  virtual std::unique_ptr<Surface> elevateUDegree(int times) const = 0;
  virtual std::unique_ptr<Surface> elevateVDegree(int times) const = 0;

 protected:
  SplineSurface(ControlNet net, std::vector<double> uKnots, std::vector<double> vKnots, int degreeU,
                int degreeV);

  /// Counts, degrees and knots fit together.
  bool hasValidShape() const;
  /// @throws std::invalid_argument unless the stored knots can be evaluated on this net
  void requireStoredBases() const;
  /// The clamped uniform bases over [0, 1] on which the surface is evaluated.
  const foundation::nurbs::SplineBasis& uniformU() const { return uniformU_; }
  const foundation::nurbs::SplineBasis& uniformV() const { return uniformV_; }
  /// Ready-made forms of the stored knots.
  const foundation::nurbs::SplineBasis& storedU() const { return storedU_; }
  const foundation::nurbs::SplineBasis& storedV() const { return storedV_; }

 private:
  int degreeU_;
  int degreeV_;
  foundation::nurbs::SplineBasis storedU_;
  foundation::nurbs::SplineBasis storedV_;
  foundation::nurbs::SplineBasis uniformU_;
  foundation::nurbs::SplineBasis uniformV_;
};

}  // namespace trova::geometry
