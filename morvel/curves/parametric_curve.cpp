#include "morvel/curves/parametric_curve.h"

#include "morvel/curves/chord_length.h"

namespace trova::geometry {

BoundingBox ParametricCurve::getBoundingBox() const {
  BoundingBox box;
  for (const Point3D& point : getControlPoints())
    box.addPoint(point);
  return box;
}

double ParametricCurve::getControlPolygonLength() const {
  const std::vector<double> lengths = cumulativeChordLengths(getControlPoints());
  return lengths.empty() ? 0.0 : lengths.back();
}

}  // namespace trova::geometry
