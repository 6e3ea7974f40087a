#pragma once

#include <memory>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/surfaces/surface.h"

namespace trova::geometry {

/// Makers of analytic and swept surfaces that answer with null instead of throwing: for numbers
/// that are not finite, directions of length zero, sizes that are not above 0, null or invalid
/// curves, and whatever else makes a surface that is not valid. Curves are copied.
class MORVEL_API SurfaceFactory {
 public:
  using CurvePointer = std::shared_ptr<const Curve>;

  static std::unique_ptr<Surface> createPlane(const Point3D& origin, const Vector3D& uDirection,
                                              const Vector3D& vDirection, double uExtent,
                                              double vExtent);
  static std::unique_ptr<Surface> createSphere(const Point3D& center, double radius,
                                               const Vector3D& axis = Vector3D::unitZ());
  static std::unique_ptr<Surface> createCylinder(const Point3D& baseCenter, const Vector3D& axis,
                                                 double radius, double height);
  static std::unique_ptr<Surface> createCone(const Point3D& baseCenter, const Vector3D& axis,
                                             double baseRadius, double height);
  static std::unique_ptr<Surface> createTorus(const Point3D& center, const Vector3D& axis,
                                              double majorRadius, double minorRadius);
  static std::unique_ptr<Surface> createExtrude(const CurvePointer& profile,
                                                const Vector3D& direction, double distance);
  static std::unique_ptr<Surface> createRevolve(const CurvePointer& profile,
                                                const Point3D& axisPoint,
                                                const Vector3D& axisDirection, double startAngle,
                                                double endAngle);
  static std::unique_ptr<Surface> createRuled(const CurvePointer& first,
                                              const CurvePointer& second);
  static std::unique_ptr<Surface> createLoft(const std::vector<CurvePointer>& sections,
                                             int degreeV = 3);
  static std::unique_ptr<Surface> createSweep(const CurvePointer& profile,
                                              const CurvePointer& path);
  static std::unique_ptr<Surface> createPipe(const CurvePointer& path, double radius);
};

}  // namespace trova::geometry
