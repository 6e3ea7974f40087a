#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "morvel/curves/bspline_curve.h"
#include "morvel/fitting/internal/deviation.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

// What the curve engines ask of their input points, and measure on their curves.

namespace trova::geometry::internal {

inline constexpr double kDuplicateDistance = 1e-12;  // model units

inline bool areFinite(std::span<const Point3D> points) {
  // A product with zero is zero, or NaN where the value is not finite; the sum keeps a NaN.
  Eigen::Vector3d sum = Eigen::Vector3d::Zero();
  for (const Point3D& point : points)
    sum += point.eigen() * 0.0;
  return sum == Eigen::Vector3d::Zero();
}

/// The text about the first point that repeats the one before it; nothing where none does.
inline std::optional<std::string> consecutiveDuplicates(std::span<const Point3D> points) {
  constexpr double kSquare = kDuplicateDistance * kDuplicateDistance;
  for (std::size_t i = 1; i < points.size(); ++i)
    if ((points[i].eigen() - points[i - 1].eigen()).squaredNorm() < kSquare)
      return foundation::status::join("Duplicate consecutive points detected at indices ", i - 1,
                                      " and ", i);
  return std::nullopt;
}

/// visit(i, squared distance between points[i] and the curve at params[i]).
template <class Visit>
void forEachSquaredDistance(const BSplineCurve& curve, std::span<const double> params,
                            std::span<const Point3D> points, Visit visit) {
  constexpr std::size_t kChunk = 256;
  std::array<Point3D, kChunk> at;
  foundation::progress::Stage stage("measuring");
  for (std::size_t first = 0; first < params.size(); first += kChunk) {
    stage.report(double(first), double(params.size()));
    const std::size_t count = std::min(kChunk, params.size() - first);
    curve.evaluateBatch(params.subspan(first, count), 0, at.front().eigen().data());
    for (std::size_t i = 0; i < count; ++i)
      visit(first + i, (at[i].eigen() - points[first + i].eigen()).squaredNorm());
  }
}

inline Deviation deviationOf(const BSplineCurve& curve, std::span<const double> params,
                             std::span<const Point3D> points) {
  Deviation deviation;
  forEachSquaredDistance(curve, params, points,
                         [&](std::size_t, double square) { deviation.addSquare(square); });
  return deviation;
}

/// The curve on these control points (n x 3); null where it is not valid or not finite.
inline std::unique_ptr<BSplineCurve> curveFrom(const Eigen::MatrixXd& controls,
                                               const std::vector<double>& knots, int degree) {
  std::vector<Point3D> points;
  for (Eigen::Index i = 0; i < controls.rows(); ++i)
    points.emplace_back(controls(i, 0), controls(i, 1), controls(i, 2));
  if (!areFinite(points)) return nullptr;
  auto curve = std::make_unique<BSplineCurve>(std::move(points), knots, degree);
  return curve->isValid() ? std::move(curve) : nullptr;
}

/// n x 3.
inline Eigen::MatrixXd coordinatesOf(std::span<const Point3D> points) {
  Eigen::MatrixXd coordinates(Eigen::Index(points.size()), 3);
  for (std::size_t i = 0; i < points.size(); ++i)
    coordinates.row(Eigen::Index(i)) = points[i].eigen().transpose();
  return coordinates;
}

}  // namespace trova::geometry::internal
