#pragma once

#include <vector>

namespace trova::projection::internal {

/// A cubic spline through points with given derivatives: C1, or with a corner where the derivatives
/// of both sides differ.
template <class Point>
struct HermiteSpline {
  static constexpr int kDegree = 3;

  std::vector<Point> controlPoints;
  std::vector<double> knots;

  HermiteSpline(double start, const Point& point) : knots(kDegree + 1, start), last_(start) {
    controlPoints.push_back(point);
  }

  /// Goes on to `point` at `t`, leaving the last point with `leaving` and arriving with `arriving`.
  /// `isSmooth`: the last point was arrived at with `leaving` too.
  void append(double t, const Point& point, const Point& leaving, const Point& arriving,
              bool isSmooth) {
    const double third = (t - last_) / kDegree;
    const Point from = controlPoints.back();
    if (isInside_) {
      // Where the curve is smooth, its point lies between the control points on either side.
      if (isSmooth) controlPoints.pop_back();
      knots.insert(knots.end(), isSmooth ? kDegree - 1 : kDegree, last_);
    }
    controlPoints.push_back(from + leaving * third);
    controlPoints.push_back(point + arriving * -third);
    controlPoints.push_back(point);
    last_ = t;
    isInside_ = true;
  }

  void finish() { knots.insert(knots.end(), kDegree + 1, last_); }

 private:
  double last_;
  bool isInside_ = false;
};

}  // namespace trova::projection::internal
