#include "morvel/fitting/global_interpolation.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "morvel/curves/chord_length.h"
#include "morvel/fitting/geometric_core.h"
#include "morvel/fitting/internal/collocation.h"

namespace trova::geometry {
namespace {

bool areFinite(const std::vector<double>& params) {
  return std::all_of(params.begin(), params.end(), [](double t) { return std::isfinite(t); });
}

}  // namespace

std::vector<double> getChordParameterization(const std::vector<Point3D>& points) {
  if (points.size() < 2) return {};
  std::vector<double> params = cumulativeChordLengths(points);
  const double total = params.back();
  if (!(total > 0.0) || !std::isfinite(total)) {
    using enum GeometricCore::ParameterizationMethod;
    return GeometricCore::parameterize_points(points, UNIFORM);
  }
  for (double& t : params)
    t /= total;
  return params;
}

std::vector<double> generateAverageKnotVector(const std::vector<double>& params, int degree) {
  if (degree < 1 || static_cast<std::size_t>(degree) >= params.size())
    throw std::invalid_argument("Averaged knots need a degree from 1 to below the point count");
  const std::size_t p = static_cast<std::size_t>(degree);
  std::vector<double> knots(params.size() + p + 1, 0.0);
  for (std::size_t j = 1; j + p < params.size(); ++j) {
    double sum = 0.0;
    for (std::size_t i = j; i < j + p; ++i)
      sum += params[i];
    knots[j + p] = sum / degree;
  }
  std::fill(knots.end() - std::ptrdiff_t(p + 1), knots.end(), 1.0);
  return knots;
}

std::unique_ptr<BSplineCurve> globalInterpolation(const std::vector<Point3D>& points, int degree,
                                                  const std::vector<double>& params) {
  const bool fits = points.size() == params.size() && degree >= 1 &&
                    static_cast<std::size_t>(degree) < points.size();
  if (!fits || !areFinite(params)) return nullptr;
  internal::Collocation collocation(params, degree);
  std::vector<Point3D> controls = points;
  if (!collocation.factor() || !collocation.solve(controls.front().eigen().data(), 3))
    return nullptr;
  return std::make_unique<BSplineCurve>(std::move(controls), collocation.knots(), degree);
}

}  // namespace trova::geometry
