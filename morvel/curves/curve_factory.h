#pragma once

#include <memory>
#include <vector>

#include "morvel/curves/curve.h"

namespace trova::geometry {

/// Makers of curves from checked data. They return the classes that the constructors make, and
/// refuse what those leave to `isValid`.
///
/// All throw std::invalid_argument for numbers that are not finite and for what their comment
/// names; only `createCircle` answers with null.
class MORVEL_API CurveFactory {
 public:
  static std::unique_ptr<Curve> createLine(const Point3D& start, const Point3D& end);
  /// A full CircleCurve. A normal shorter than 1e-4 counts as the z axis. Null where the center or
  /// the radius is not finite, or the radius is not above 0.
  static std::unique_ptr<Curve> createCircle(const Point3D& center, double radius,
                                             const Vector3D& normal,
                                             const Vector3D& startDirection);
  /// A CircleCurve between two different angles (radians) from the start direction, either way
  /// round.
  static std::unique_ptr<Curve> createArc(const Point3D& center, double radius,
                                          const Vector3D& normal, const Vector3D& startDirection,
                                          double startAngle, double endAngle);
  /// The CircleCurve from the first point over the second to the third; they may not lie on a line.
  static std::unique_ptr<Curve> createArcThreePoints(const Point3D& first, const Point3D& second,
                                                     const Point3D& third);
  /// An EllipseCurve; semi-axes above 0, a major axis with a direction, two different angles.
  static std::unique_ptr<Curve> createEllipse(const Point3D& center, const Vector3D& majorAxis,
                                              const Vector3D& normal, double semiMajor,
                                              double semiMinor, double startAngle, double endAngle);
  static std::unique_ptr<Curve> createBezier(const std::vector<Point3D>& points);
  /// Points, knots and degree as they are: degree >= 1, at least degree + 1 points, points + degree
  /// + 1 knots that never decrease.
  static std::unique_ptr<Curve> createBSpline(const std::vector<Point3D>& points,
                                              const std::vector<double>& knots, int degree);
  /// Both on the clamped uniform knots.
  static std::unique_ptr<Curve> createClampedBSpline(const std::vector<Point3D>& points,
                                                     int degree);
  static std::unique_ptr<Curve> createUniformBSpline(const std::vector<Point3D>& points,
                                                     int degree);
  /// As `createBSpline`, with one weight above 0 for every point.
  static std::unique_ptr<Curve> createNurbs(const std::vector<Point3D>& points,
                                            const std::vector<double>& weights,
                                            const std::vector<double>& knots, int degree);
};

}  // namespace trova::geometry
