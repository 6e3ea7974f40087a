// Curves from numbers and arrays.

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <stdexcept>

#include "morvel/api/c/curve.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/last_error.h"
#include "morvel/api/registries.h"
#include "morvel/curves/circle_curve.h"
#include "morvel/curves/curve_factory.h"
#include "morvel/foundation/tolerances.h"

using namespace trova_internal;
using trova::foundation::knotCountFor;
using trova::foundation::Point3D;
using trova::foundation::Vector3D;
using trova::geometry::CurveFactory;
using trova::geometry::kFullTurn;

namespace {

constexpr FailureTexts kLine{.printed = "Error creating line: "};
constexpr FailureTexts kCircle{.printed = "Error creating circle: "};
constexpr FailureTexts kBezier{.printed = "Error creating Bezier: "};

// Arc angles may pass a full turn by rounding; directions closer than this are the same (radians).
constexpr double kAngleRounding = 1e-9;

// Stored as the last error, and nothing printed.
constexpr FailureTexts kArc{};

template <class Make>
int storeMade(const FailureTexts& texts, Make&& make) {
  return guarded(kExceptionCaught, texts, [&] { return storeCurve(make()); });
}

int checkCircle(const char* function, double radius, std::initializer_list<double> others) {
  if (!(radius > 0.0)) return refuse(kBadArgument, "Radius must be positive");
  if (const int refused = checkFinite(function, {radius})) return refused;
  return checkFinite(function, others);
}

// The length of a very long vector overflows; its direction does not.
Vector3D unitNormal(const Vector3D& normal) {
  using namespace trova::foundation;
  if (!std::isfinite(normal.magnitude())) return Vector3D(normal.eigen().stableNormalized());
  return unitOr(normal, kMinDirectionLength, Vector3D::unitZ());
}

// Back to the same direction is a full turn.
double positiveTurn(double angle) {
  if (std::abs(angle) <= kAngleRounding) return kFullTurn;
  return angle > 0.0 ? angle : angle + kFullTurn;
}

// The circle's plane holds the start, whatever the normal: only its part across the radius counts.
std::unique_ptr<Curve> arcAbout(const Point3D& center, const Vector3D& toStart,
                                const Vector3D& toEnd, const Vector3D& normal) {
  const double radius = toStart.magnitude();
  const Vector3D towards = toStart / radius;
  const Vector3D across = unitNormal(normal) - towards * towards.dot(unitNormal(normal));
  if (!(radius > 0.0) || !(across.magnitude() > kAngleRounding))
    throw std::invalid_argument("The start must lie off the axis through the center");
  const Vector3D axis = across / across.magnitude();
  const Vector3D direction(toEnd.eigen().stableNormalized());
  const double along = direction.dot(towards);
  const double aside = direction.dot(axis.cross(towards));
  if (!(std::hypot(along, aside) > kAngleRounding))
    throw std::invalid_argument("The end must lie off the axis through the center");
  return CurveFactory::createArc(center, radius, axis, towards, 0.0,
                                 positiveTurn(std::atan2(aside, along)));
}

// A spline curve as callers hand it over.
struct SplineArrays {
  const double* points;
  int count;
  const double* knots;
  int knotCount;
  int degree;
};

struct SplineTexts {
  const char* badInput;
  const char* badKnotCount;
};

constexpr SplineTexts kBsplineTexts{"Invalid input parameters for B-spline curve",
                                    "Invalid knot vector size for B-spline curve"};
constexpr SplineTexts kNurbsTexts{"Invalid input parameters for NURBS curve",
                                  "Invalid knot vector size for NURBS curve"};
constexpr FailureTexts kBspline{.stored = "B-spline creation failed: ",
                                .unknown = "Unknown error in B-spline creation"};
constexpr FailureTexts kNurbs{.stored = "NURBS curve creation failed: ",
                              .unknown = "Unknown error in NURBS curve creation"};

// The order of the checks is fixed: pointers and counts, number of knots, values, order of the
// knots.
int checkSpline(const char* function, const SplineArrays& in, const SplineTexts& texts) {
  if (!in.points || !in.knots || in.count < 2 || in.knotCount < 1 || in.degree < 1)
    return refuse(kBadArgument, texts.badInput);
  if (in.knotCount != knotCountFor(in.count, in.degree))
    return refuse(kBadArgument, texts.badKnotCount);
  if (const int refused = checkPoints(function, in.points, in.count)) return refused;
  if (const int refused = checkFinite(function, in.knots, in.knotCount)) return refused;
  if (!isNonDecreasing(in.knots, in.knotCount))
    return refuse(kBadArgument, "Knot vector must be non-decreasing");
  return kSuccess;
}

int checkWeights(const char* function, const double* weights, int count) {
  const auto isPositive = [](double weight) { return weight > 0.0; };
  if (!std::all_of(weights, weights + count, isPositive))
    return refuse(kBadArgument, "NURBS weights must be positive");
  return checkFinite(function, weights, count);
}

// One of the two makers on clamped uniform knots.
struct UniformMaker {
  const char* function;
  FailureTexts texts;
  std::unique_ptr<Curve> (*make)(const std::vector<Point3D>& points, int degree);

  int operator()(const double* points, int count, int degree) const {
    if (!points) return refuseIn(function, "the points are null");
    if (degree < 1) return refuseIn(function, "the degree must be at least 1");
    if (count <= degree)
      return refuse(kTooFewPoints, "Insufficient control points for B-spline degree");
    if (const int refused = checkPoints(function, points, count)) return refused;
    return storeMade(texts, [&] { return make(copyPoints(points, count), degree); });
  }
};

constexpr UniformMaker kClampedMaker{"create_curve_bspline_clamped",
                                     {.printed = "Error creating clamped B-spline: "},
                                     CurveFactory::createClampedBSpline};
constexpr UniformMaker kUniformMaker{"create_curve_bspline_uniform",
                                     {.printed = "Error creating uniform B-spline: "},
                                     CurveFactory::createUniformBSpline};

// The two curves for demonstration.
constexpr double kDemoSpline[] = {0, 0, 0, 1, 2, 0, 3, 3, 1, 5, 1, 1, 6, 0, 0};
constexpr int kDemoSplineDegree = 2;
constexpr double kDemoBezier[] = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 0};

}  // namespace

int create_curve_line(double x0, double y0, double z0, double x1, double y1, double z1) {
  if (const int refused = checkFinite(__func__, {x0, y0, z0, x1, y1, z1})) return refused;
  return storeMade(kLine, [&] { return CurveFactory::createLine({x0, y0, z0}, {x1, y1, z1}); });
}

int create_curve_circle(double cx, double cy, double cz, double radius, double nx, double ny,
                        double nz) {
  if (const int refused = checkCircle(__func__, radius, {cx, cy, cz, nx, ny, nz})) return refused;
  return guarded(kExceptionCaught, kCircle, [&] {
    const Vector3D normal = unitNormal({nx, ny, nz});
    auto circle = CurveFactory::createCircle({cx, cy, cz}, radius, normal,
                                             trova::foundation::anyPerpendicular(normal));
    if (!circle) return refuse(kExceptionCaught, "Circle creation failed in CurveFactory");
    return storeCurve(std::move(circle));
  });
}

int create_arc(double cx, double cy, double cz, double radius, double nx, double ny, double nz,
               double startAngle, double endAngle) {
  if (const int refused =
          checkCircle(__func__, radius, {cx, cy, cz, nx, ny, nz, startAngle, endAngle}))
    return refused;
  if (startAngle == endAngle || std::abs(endAngle - startAngle) > kFullTurn + kAngleRounding)
    return refuseIn(__func__, "the angles must differ, by 2 pi at most");
  return storeMade(kArc, [&] {
    const Vector3D normal = unitNormal({nx, ny, nz});
    return CurveFactory::createArc({cx, cy, cz}, radius, normal,
                                   trova::foundation::anyPerpendicular(normal), startAngle,
                                   endAngle);
  });
}

int create_arc_three_points(const double* start, const double* through, const double* end) {
  for (const double* point : {start, through, end})
    if (const int refused = checkPoints(__func__, point, 1)) return refused;
  return storeMade(kArc, [&] {
    return CurveFactory::createArcThreePoints(readPoint(start), readPoint(through), readPoint(end));
  });
}

int create_arc_center_start_end(const double* center, const double* start, const double* end,
                                const double* normal) {
  for (const double* triple : {center, start, end, normal})
    if (const int refused = checkPoints(__func__, triple, 1)) return refused;
  return storeMade(kArc, [&] {
    const Point3D about = readPoint(center);
    return arcAbout(about, readPoint(start) - about, readPoint(end) - about, readVector(normal));
  });
}

int create_ellipse_enhanced(const double* center, const double* majorAxis, const double* normal,
                            double a, double b, double start, double end) {
  for (const double* triple : {center, majorAxis, normal})
    if (const int refused = checkPoints(__func__, triple, 1)) return refused;
  if (const int refused = checkFinite(__func__, {a, b, start, end})) return refused;
  if (!(a > 0.0) || !(b > 0.0)) return refuseIn(__func__, "the semi-axes must be above 0");
  if (start == end) return refuseIn(__func__, "start and end must differ");
  return storeMade(kArc, [&] {
    return CurveFactory::createEllipse(readPoint(center), readVector(majorAxis), readVector(normal),
                                       a, b, start, end);
  });
}

int create_curve_bezier(const double* points, int count) {
  if (!points || count < 2)
    return refuse(kTooFewPoints, "Need at least 2 control points for Bezier curve");
  if (const int refused = checkPoints(__func__, points, count)) return refused;
  return storeMade(kBezier, [&] { return CurveFactory::createBezier(copyPoints(points, count)); });
}

int create_curve_bspline_clamped(const double* points, int count, int degree) {
  return kClampedMaker(points, count, degree);
}

int create_curve_bspline_uniform(const double* points, int count, int degree) {
  return kUniformMaker(points, count, degree);
}

int create_curve_bspline(const double* points, int count, const double* knots, int knotCount,
                         int degree) {
  const SplineArrays in{points, count, knots, knotCount, degree};
  if (const int refused = checkSpline(__func__, in, kBsplineTexts)) return refused;
  return storeMade(kBspline, [&] {
    return CurveFactory::createBSpline(copyPoints(points, count), copyValues(knots, knotCount),
                                       degree);
  });
}

int create_curve_nurbs(const double* points, int count, const double* weights, const double* knots,
                       int knotCount, int degree) {
  if (!weights) return refuse(kBadArgument, kNurbsTexts.badInput);
  const SplineArrays in{points, count, knots, knotCount, degree};
  if (const int refused = checkSpline(__func__, in, kNurbsTexts)) return refused;
  if (const int refused = checkWeights(__func__, weights, count)) return refused;
  return storeMade(kNurbs, [&] {
    return CurveFactory::createNurbs(copyPoints(points, count), copyValues(weights, count),
                                     copyValues(knots, knotCount), degree);
  });
}

int create_curve_bspline_simple() {
  return create_curve_bspline_clamped(kDemoSpline, std::size(kDemoSpline) / kDoublesPerPoint,
                                      kDemoSplineDegree);
}

int create_curve_bezier_simple() {
  return create_curve_bezier(kDemoBezier, std::size(kDemoBezier) / kDoublesPerPoint);
}
