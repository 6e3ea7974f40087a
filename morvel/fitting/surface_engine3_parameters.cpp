#include "morvel/fitting/surface_engine3_parameters.h"

#include <cmath>
#include <cstdint>
#include <stdexcept>

#include "morvel/fitting/geometric_core.h"
#include "morvel/fitting/global_interpolation.h"
#include "morvel/fitting/internal/scattered_parameters.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::geometry {

using Method = SurfaceEngine3ParameterizationMethod;

namespace {

std::vector<double> evenParameters(std::size_t count) {
  std::vector<double> even(count, 0.0);
  for (std::size_t k = 1; k < count; ++k)
    even[k] = double(k) / double(count - 1);
  return even;
}

std::vector<double> lineParameters(const std::vector<Point3D>& line, Method method) {
  if (line.size() < 2 || method == Method::UNIFORM) return evenParameters(line.size());
  return GeometricCore::parameterize_points(
      line, method == Method::CENTRIPETAL ? GeometricCore::ParameterizationMethod::CENTRIPETAL
                                          : GeometricCore::ParameterizationMethod::CHORD_LENGTH);
}

/// The mean parameters of `count` lines of `length` points; point(line, k) is the k-th of a line.
template <class PointOf>
std::vector<double> meanParameters(std::size_t count, std::size_t length, Method method,
                                   PointOf point) {
  std::vector<double> mean(length, 0.0);
  std::vector<Point3D> line(length);
  for (std::size_t l = 0; l < count; ++l) {
    for (std::size_t k = 0; k < length; ++k)
      line[k] = point(l, k);
    const std::vector<double> parameters = lineParameters(line, method);
    for (std::size_t k = 0; k < length; ++k)
      mean[k] += parameters[k] / double(count);
  }
  if (length > 1) mean.back() = 1.0;
  return mean;
}

bool isClamped(const std::vector<double>& knots, int degree) {
  const auto p = static_cast<std::size_t>(degree);
  return knots[p] == knots.front() && knots[knots.size() - 1 - p] == knots.back() &&
         knots.front() < knots.back();
}

}  // namespace

std::vector<double> create_clamped_knot_vector(int num_control_points, int degree) {
  return foundation::nurbs::generateUniformKnotVector(degree, num_control_points);
}

std::vector<double> create_averaging_knot_vector(const std::vector<double>& parameters,
                                                 int degree) {
  return generateAverageKnotVector(parameters, degree);
}

bool validate_knot_vector(const std::vector<double>& knots, int num_control_points, int degree) {
  return degree >= 1 && num_control_points > degree && foundation::nurbs::isNonDecreasing(knots) &&
         foundation::nurbs::validateKnotVector(knots, degree, num_control_points) &&
         isClamped(knots, degree);
}

SurfaceParameters compute_square_lattice_parameters(std::size_t count) {
  SurfaceParameters parameters(count, {0.0, 0.0});
  if (count < 2) return parameters;
  const double side = std::sqrt(double(count));
  const auto k = static_cast<std::size_t>(side);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t row = i / k;
    parameters[i] = {double(i % k) / (side - 1.0), double(row) / (side - 1.0)};
  }
  return parameters;
}

SurfaceParameters parameterize_point_grid(const std::vector<Point3D>& points, int rows, int columns,
                                          Method method) {
  if (rows < 1 || columns < 1 || std::int64_t(rows) * columns != std::int64_t(points.size()))
    throw std::invalid_argument("Rows and columns do not fit the number of points");
  if (method > Method::CENTRIPETAL) return internal::projectedParameters(points, method).parameters;
  const auto nR = static_cast<std::size_t>(rows);
  const auto nC = static_cast<std::size_t>(columns);
  const std::vector<double> u = meanParameters(
      nR, nC, method, [&](std::size_t row, std::size_t k) { return points[row * nC + k]; });
  const std::vector<double> v = meanParameters(
      nC, nR, method, [&](std::size_t column, std::size_t k) { return points[k * nC + column]; });
  SurfaceParameters parameters;
  parameters.reserve(points.size());
  for (const double atV : v) {
    for (const double atU : u)
      parameters.emplace_back(atU, atV);
  }
  return parameters;
}

}  // namespace trova::geometry
