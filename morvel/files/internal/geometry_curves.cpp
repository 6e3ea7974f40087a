// Curves in space and in a parameter plane.

#include <algorithm>
#include <array>
#include <cmath>

#include "morvel/curves/bezier_curve.h"
#include "morvel/curves/bspline_curve.h"
#include "morvel/curves/circle_curve.h"
#include "morvel/curves/curve2d.h"
#include "morvel/curves/ellipse_curve.h"
#include "morvel/curves/line_curve.h"
#include "morvel/curves/nurbs_curve.h"
#include "morvel/curves/offset_curve.h"
#include "morvel/files/internal/geometry_types.h"
#include "morvel/foundation/as_stored.h"
#include "morvel/foundation/checked_count.h"
#include "morvel/foundation/knot_vector.h"

namespace trova::files {

void requireSpline(const char* direction, std::size_t pointCount, int degree,
                   const std::vector<double>& knots) {
  const auto refuse = [direction](const std::string& fault) {
    throw std::invalid_argument(direction + fault);
  };
  if (pointCount == 0) refuse("no control points");
  if (degree < 1) refuse("the degree must be at least 1");
  const std::int64_t needed =
      foundation::knotCountFor(static_cast<std::int64_t>(pointCount), degree);
  if (static_cast<std::int64_t>(knots.size()) != needed) {
    refuse(std::to_string(needed) + " knots (points + degree + 1) are needed, not " +
           std::to_string(knots.size()));
  }
  if (!foundation::nurbs::isNonDecreasing(knots)) refuse("knots must never decrease");
}

void requireWeights(const std::vector<double>& weights, std::size_t pointCount) {
  if (weights.size() != pointCount)
    throw std::invalid_argument("there must be one weight for each control point");
  if (!std::all_of(weights.begin(), weights.end(), [](double w) { return w > 0.0; }))
    throw std::invalid_argument("weights must be above 0");
}

namespace {

using foundation::AsStored;
using geometry::BezierCurve;
using geometry::BSplineCurve;
using geometry::BSplineCurve2D;
using geometry::CircleCurve;
using geometry::EllipseCurve;
using geometry::IsoCurve2D;
using geometry::IsoDirection;
using geometry::LinearCurve2D;
using geometry::LineCurve;
using geometry::NurbsCurve;
using geometry::OffsetCurve;
using geometry::ParametricCurve2D;

void writeMembers(const LineCurve& line, MemberWriter& out) {
  out.set("start", line.getStartPoint());
  out.set("end", line.getEndPoint());
}

std::unique_ptr<Curve> readMembers(As<LineCurve>, MemberReader& in) {
  const auto start = in.get<Point3D>("start");
  return std::make_unique<LineCurve>(start, in.get<Point3D>("end"));
}

void writeMembers(const CircleCurve& circle, MemberWriter& out) {
  out.set("center", circle.getCenter());
  out.set("normal", circle.getNormal());
  out.set("startAxis", circle.getStartAxis());
  out.set("secondAxis", circle.getSecondAxis());
  out.set("radius", circle.getRadius());
  out.set("startAngle", circle.getStartAngle());
  out.set("endAngle", circle.getEndAngle());
}

std::unique_ptr<Curve> readMembers(As<CircleCurve>, MemberReader& in) {
  const auto center = in.get<Point3D>("center");
  const auto normal = in.get<Vector3D>("normal");
  const auto startAxis = in.get<Vector3D>("startAxis");
  const auto secondAxis = in.get<Vector3D>("secondAxis");
  const auto radius = in.get<double>("radius");
  const auto start = in.get<double>("startAngle");
  return std::make_unique<CircleCurve>(AsStored{}, center, normal, startAxis, secondAxis, radius,
                                       start, in.get<double>("endAngle"));
}

void writeMembers(const EllipseCurve& ellipse, MemberWriter& out) {
  out.set("center", ellipse.getCenter());
  out.set("majorAxis", ellipse.getMajorAxis());
  out.set("normal", ellipse.getNormal());
  out.set("semiMajor", ellipse.getSemiMajor());
  out.set("semiMinor", ellipse.getSemiMinor());
  out.set("startAngle", ellipse.getStartAngle());
  out.set("endAngle", ellipse.getEndAngle());
}

std::unique_ptr<Curve> readMembers(As<EllipseCurve>, MemberReader& in) {
  const auto center = in.get<Point3D>("center");
  const auto majorAxis = in.get<Vector3D>("majorAxis");
  const auto normal = in.get<Vector3D>("normal");
  const auto semiMajor = in.get<double>("semiMajor");
  const auto semiMinor = in.get<double>("semiMinor");
  const auto start = in.get<double>("startAngle");
  return std::make_unique<EllipseCurve>(center, majorAxis, normal, semiMajor, semiMinor, start,
                                        in.get<double>("endAngle"));
}

void writeMembers(const BezierCurve& curve, MemberWriter& out) {
  out.set("points", curve.getControlPoints());
}

std::unique_ptr<Curve> readMembers(As<BezierCurve>, MemberReader& in) {
  return std::make_unique<BezierCurve>(in.get<std::vector<Point3D>>("points"));
}

template <class Spline>
void writeSpline(const Spline& curve, MemberWriter& out) {
  const auto points = curve.getControlPoints();
  madeFor(out.entity(),
          [&] { requireSpline("", points.size(), curve.getDegree(), curve.getKnotVector()); });
  out.set("degree", curve.getDegree());
  out.set("knots", curve.getKnotVector());
  out.set("points", points);
}

void writeMembers(const BSplineCurve& curve, MemberWriter& out) { writeSpline(curve, out); }

std::unique_ptr<Curve> readMembers(As<BSplineCurve>, MemberReader& in) {
  const int degree = in.get<int>("degree");
  auto knots = in.get<std::vector<double>>("knots");
  auto points = in.get<std::vector<Point3D>>("points");
  requireSpline("", points.size(), degree, knots);
  return std::make_unique<BSplineCurve>(std::move(points), std::move(knots), degree);
}

void writeMembers(const NurbsCurve& curve, MemberWriter& out) {
  writeSpline(curve, out);
  madeFor(out.entity(), [&] {
    requireWeights(curve.getWeights(), static_cast<std::size_t>(curve.getControlPointCount()));
  });
  out.set("weights", curve.getWeights());
}

std::unique_ptr<Curve> readMembers(As<NurbsCurve>, MemberReader& in) {
  const int degree = in.get<int>("degree");
  auto knots = in.get<std::vector<double>>("knots");
  auto points = in.get<std::vector<Point3D>>("points");
  auto weights = in.get<std::vector<double>>("weights");
  requireSpline("", points.size(), degree, knots);
  requireWeights(weights, points.size());
  return std::make_unique<NurbsCurve>(std::move(points), std::move(weights), std::move(knots),
                                      degree);
}

void writeMembers(const OffsetCurve& curve, MemberWriter& out) {
  out.set("base", *curve.getBaseCurve());
  out.set("distance", curve.getDistance());
  out.set("planeNormal", curve.getPlaneNormal());
}

std::unique_ptr<Curve> readMembers(As<OffsetCurve>, MemberReader& in) {
  auto base = in.curve("base");
  const auto distance = in.get<double>("distance");
  return std::make_unique<OffsetCurve>(AsStored{}, std::move(base), distance,
                                       in.get<Vector3D>("planeNormal"));
}

// ---- curves in a parameter plane: records within the record of a curve on a surface ----

void writePlaneMembers(const BSplineCurve2D& curve, MemberWriter& out) { writeSpline(curve, out); }

std::unique_ptr<ParametricCurve2D> readPlaneMembers(As<BSplineCurve2D>, MemberReader& in) {
  const int degree = in.get<int>("degree");
  auto knots = in.get<std::vector<double>>("knots");
  const auto points = in.get<std::vector<Point2D>>("points");
  requireSpline("", points.size(), degree, knots);
  return std::make_unique<BSplineCurve2D>(points, std::move(knots), degree);
}

void writePlaneMembers(const LinearCurve2D& line, MemberWriter& out) {
  out.set("start", line.getStartPoint());
  out.set("end", line.getEndPoint());
}

std::unique_ptr<ParametricCurve2D> readPlaneMembers(As<LinearCurve2D>, MemberReader& in) {
  const auto start = in.get<Point2D>("start");
  return std::make_unique<LinearCurve2D>(start, in.get<Point2D>("end"));
}

void writePlaneMembers(const IsoCurve2D& line, MemberWriter& out) {
  out.set("constant", line.getDirection() == IsoDirection::ConstantU ? "u" : "v");
  out.set("value", line.getValue());
  out.set("start", line.getStart());
  out.set("end", line.getEnd());
}

std::unique_ptr<ParametricCurve2D> readPlaneMembers(As<IsoCurve2D>, MemberReader& in) {
  const auto constant = in.get<std::string>("constant");
  if (constant != "u" && constant != "v") failAt(in.entity(), "constant", R"(must be "u" or "v")");
  const auto value = in.get<double>("value");
  const auto start = in.get<double>("start");
  return std::make_unique<IsoCurve2D>(
      constant == "u" ? IsoDirection::ConstantU : IsoDirection::ConstantV, value, start,
      in.get<double>("end"));
}

void writePlaneMembers(const CircularCurve2D& circle, MemberWriter& out) {
  out.set("center", circle.getCenter());
  out.set("radius", circle.getRadius());
  out.set("startAngle", circle.getStartAngle());
  out.set("endAngle", circle.getEndAngle());
}

std::unique_ptr<ParametricCurve2D> readPlaneMembers(As<CircularCurve2D>, MemberReader& in) {
  const auto center = in.get<Point2D>("center");
  const auto radius = in.get<double>("radius");
  const auto start = in.get<double>("startAngle");
  return std::make_unique<CircularCurve2D>(center, radius, start, in.get<double>("endAngle"));
}

template <class T>
constexpr auto planeEntry = recordType<T, ParametricCurve2D, writePlaneMembers, readPlaneMembers>;

constexpr std::array kPlaneTypes{
    planeEntry<BSplineCurve2D>("BSplineCurve2D"),
    planeEntry<LinearCurve2D>("LinearCurve2D"),
    planeEntry<IsoCurve2D>("IsoCurve2D"),
    planeEntry<CircularCurve2D>("CircularCurve2D"),
};

void writeMembers(const CurveOnSurface& curve, MemberWriter& out) {
  const ParametricCurve2D& inPlane = curve.getParameterCurve();
  out.set("base", *curve.getBaseSurface());
  const auto* type = findRecordType(
      kPlaneTypes, [&](const auto& entry) { return *entry.type == typeid(inPlane); });
  if (!type)
    failAt(out.entity(), "parameterCurve",
           "its class has no record: " + inPlane.getTypeIdentifier());
  Json record;
  MemberWriter nested(out.entity() + ", parameterCurve", out.sink(), record);
  nested.set("type", type->name);
  type->write(inPlane, nested);
  out.set("parameterCurve", std::move(record));
}

std::unique_ptr<Curve> readMembers(As<CurveOnSurface>, MemberReader& in) {
  auto base = in.surface("base");
  MemberReader nested = in.nested("parameterCurve");
  const auto name = nested.get<std::string>("type");
  const auto* type =
      findRecordType(kPlaneTypes, [&](const auto& entry) { return entry.name == name; });
  if (!type) failAt(nested.entity(), "type", "is unknown");
  auto inPlane = madeFor(nested.entity(), [&] { return type->read(nested); });
  nested.finish();
  return std::make_unique<CurveOnSurface>(std::move(base), std::move(inPlane));
}

template <class T>
constexpr auto curveEntry = recordType<T, Curve, writeMembers, readMembers>;

constexpr std::array kCurveTypes{
    curveEntry<LineCurve>("LineCurve"),       curveEntry<CircleCurve>("CircleCurve"),
    curveEntry<EllipseCurve>("EllipseCurve"), curveEntry<BezierCurve>("BezierCurve"),
    curveEntry<BSplineCurve>("BSplineCurve"), curveEntry<NurbsCurve>("NurbsCurve"),
    curveEntry<OffsetCurve>("OffsetCurve"),   curveEntry<CurveOnSurface>("CurveOnSurface"),
};

}  // namespace

const RecordType<Curve>* curveRecordType(const Curve& curve) {
  return findRecordType(kCurveTypes,
                        [&](const auto& entry) { return *entry.type == typeid(curve); });
}

const RecordType<Curve>* curveRecordType(const std::string& name) {
  return findRecordType(kCurveTypes, [&](const auto& entry) { return entry.name == name; });
}

}  // namespace trova::files
