// What a registered curve is.

#include <algorithm>
#include <cstddef>

#include "morvel/api/c/curve.h"
#include "morvel/api/copy_arrays.h"
#include "morvel/api/internal/finite_results.h"
#include "morvel/api/internal/lookup.h"
#include "morvel/api/last_error.h"
#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/circle_curve.h"
#include "morvel/curves/ellipse_curve.h"
#include "morvel/curves/line_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/curve_on_surface.h"

using namespace trova_internal;
using namespace trova::geometry;
using trova::foundation::status::join;

namespace {

struct TypeCode {
  bool (*matches)(const Curve& curve);
  int code;
};

template <class T>
constexpr TypeCode codeOf(int code) {
  return {[](const Curve& curve) { return dynamic_cast<const T*>(&curve) != nullptr; }, code};
}

// By contract: the numbers do not follow the order of the tests; the first class that matches wins.
constexpr TypeCode kTypeCodes[] = {
    codeOf<LineCurve>(1),      codeOf<CircleCurve>(2), codeOf<EllipseCurve>(6),
    codeOf<BezierCurve>(3),    codeOf<NurbsCurve>(5),  codeOf<BSplineCurve>(4),
    codeOf<CurveOnSurface>(7), codeOf<OffsetCurve>(8),
};
constexpr int kOtherType = 0;

int typeCode(const Curve& curve) {
  const auto* found = std::ranges::find_if(
      kTypeCodes, [&](const TypeCode& candidate) { return candidate.matches(curve); });
  return found == std::end(kTypeCodes) ? kOtherType : found->code;
}

std::string description(const Curve& curve) {
  const auto [start, end] = curve.getParameterInterval();
  const auto* parametric = dynamic_cast<const ParametricCurve*>(&curve);
  const std::string control = parametric
                                  ? join("degree ", parametric->getDegree(), ", ",
                                         parametric->getControlPointCount(), " control points, ")
                                  : "";
  return join(curve.getTypeIdentifier(), ": ", control, "parameters ", start, " to ", end, ", ",
              curve.isClosed() ? "closed" : "open");
}

/// Runs `work` on the curve as a `T`; -6 for another type.
template <class T, class Work>
int onCurveOfType(const char* function, int handle, const char* otherType, Work&& work) {
  return onCurve(function, handle, [&](const Curve& curve) {
    const auto* typed = dynamic_cast<const T*>(&curve);
    if (!typed) return refuseIn(function, otherType, kUnsupported);
    work(*typed);
    return kSuccess;
  });
}

void writeCircle(const CircleCurve& circle, double* center, double* normal, double* radius) {
  writeTriple(circle.getCenter(), center);
  writeTriple(circle.getNormal().normalized(), normal);
  *radius = circle.getRadius();
}

constexpr const char* kNoCircle = "the curve is no circle or arc";

}  // namespace

int get_curve_type(int curve) { return onCurve(__func__, curve, typeCode); }

int is_curve_valid(int curve) {
  return onCurve(__func__, curve, [](const Curve& found) { return found.isValid() ? 1 : 0; });
}

int get_control_points(int curve, double* out, int maxPoints) {
  if (!out || maxPoints < 1)
    return refuseIn(__func__, "out must not be null and maxPoints at least 1");
  return onCurve(__func__, curve, [&](const Curve& found) {
    const auto* parametric = dynamic_cast<const ParametricCurve*>(&found);
    if (!parametric) return refuse(kBadArgument, "Curve is not parametric");
    const auto points = finiteResult(parametric->getControlPoints());
    const auto written = std::min(points.size(), static_cast<std::size_t>(maxPoints));
    writePoints(std::span(points).first(written), out);
    return static_cast<int>(written);
  });
}

int get_curve_control_points(int curve, double* out, int maxPoints) {
  return get_control_points(curve, out, maxPoints);
}

int get_curve_degree(int curve) {
  if (!isValidCurveId(curve)) return refuse(kNotFound, "Invalid curve handle");
  return onCurve(__func__, curve, [](const Curve& found) {
    const auto* parametric = dynamic_cast<const ParametricCurve*>(&found);
    return parametric ? parametric->getDegree()
                      : refuse(kNoDegreeOrKnots, "Curve type does not have a degree");
  });
}

int get_curve_info(int curve, char* buffer, int size) {
  if (!buffer || size < 1) return refuseIn(__func__, "buffer must not be null and size at least 1");
  if (!isValidCurveId(curve)) return copyText("Not Found", buffer, size);
  const int copied = onCurve(__func__, curve, [&](const Curve& found) {
    return copyText(description(found), buffer, size);
  });
  return copied < 0 ? copyText("Error", buffer, size) : copied;
}

int get_circle_parameters(int curve, double* center, double* normal, double* radius) {
  if (anyNull(center, normal, radius)) return refuseIn(__func__, "no output may be null");
  return onCurveOfType<CircleCurve>(__func__, curve, kNoCircle, [&](const CircleCurve& circle) {
    writeCircle(circle, center, normal, radius);
  });
}

int get_arc_properties(int curve, double* center, double* normal, double* radius,
                       double* startAngle, double* endAngle, double* length) {
  if (anyNull(center, normal, radius, startAngle, endAngle, length))
    return refuseIn(__func__, "no output may be null");
  return onCurveOfType<CircleCurve>(__func__, curve, kNoCircle, [&](const CircleCurve& arc) {
    *length = finiteResult(arc.getTotalLength());
    writeCircle(arc, center, normal, radius);
    *startAngle = arc.getStartAngle();
    *endAngle = arc.getEndAngle();
  });
}

int get_ellipse_properties(int curve, double* center, double* majorAxis, double* normal, double* a,
                           double* b, double* start, double* end) {
  if (anyNull(center, majorAxis, normal, a, b, start, end))
    return refuseIn(__func__, "no output may be null");
  return onCurveOfType<EllipseCurve>(__func__, curve, "the curve is no ellipse",
                                     [&](const EllipseCurve& ellipse) {
                                       writeTriple(ellipse.getCenter(), center);
                                       writeTriple(ellipse.getMajorAxis().normalized(), majorAxis);
                                       writeTriple(ellipse.getNormal(), normal);
                                       *a = ellipse.getSemiMajor();
                                       *b = ellipse.getSemiMinor();
                                       *start = ellipse.getStartAngle();
                                       *end = ellipse.getEndAngle();
                                     });
}
