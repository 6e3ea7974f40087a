#include "morvel/fitting/geometric_engine.h"

#include <utility>

namespace trova::geometry {

GeometricEngine::GeometricEngine(std::vector<Point3D> points) : points_(std::move(points)) {}

GeometricEngine::~GeometricEngine() = default;

bool GeometricEngine::set_error(std::string text) {
  last_error_ = std::move(text);
  return false;
}

}  // namespace trova::geometry
