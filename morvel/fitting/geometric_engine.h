#pragma once

#include <memory>
#include <string>
#include <vector>

#include "morvel/curves/bspline_curve.h"

namespace trova::geometry {

/// The root of the curve engines. An engine is made for one fit: it holds the points and, in the
/// derived class, the options of that fit, and says in `last_error` why it has no curve.
class MORVEL_API GeometricEngine {
 public:
  virtual ~GeometricEngine();
  /// Runs all steps; null where one fails.
  virtual std::unique_ptr<BSplineCurve> create_geometry() = 0;
  virtual bool validate_inputs() = 0;

  const std::vector<Point3D>& points() const { return points_; }
  /// Empty while nothing has failed.
  const std::string& last_error() const { return last_error_; }

 protected:
  explicit GeometricEngine(std::vector<Point3D> points);
  GeometricEngine(const GeometricEngine&) = default;
  GeometricEngine& operator=(const GeometricEngine&) = default;

  /// Keeps the text; false, so that a step can end with it.
  bool set_error(std::string text);

 private:
  std::vector<Point3D> points_;
  std::string last_error_;
};

}  // namespace trova::geometry
