#pragma once

#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry {

/// A curve with a control polygon. Indices out of range throw std::out_of_range.
class MORVEL_API ParametricCurve : public Curve {
 public:
  BoundingBox getBoundingBox() const override;  ///< the box of the control points

  virtual int getControlPointCount() const = 0;
  virtual Point3D getControlPoint(int i) const = 0;
  virtual void setControlPoint(int i, const Point3D& point) = 0;
  virtual std::vector<Point3D> getControlPoints() const = 0;
  /// The sum of the distances between consecutive control points.
  virtual double getControlPolygonLength() const;
  virtual int getDegree() const = 0;
};

}  // namespace trova::geometry
