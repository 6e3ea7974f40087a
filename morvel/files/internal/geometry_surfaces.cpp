// Surfaces.

#include <array>

#include "morvel/files/internal/geometry_types.h"
#include "morvel/files/internal/trimmed_records.h"
#include "morvel/foundation/as_stored.h"
#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/cone_surface.h"
#include "morvel/surfaces/cylinder_surface.h"
#include "morvel/surfaces/extrude_surface.h"
#include "morvel/surfaces/loft_surface.h"
#include "morvel/surfaces/nurbs_surface.h"
#include "morvel/surfaces/path_guided_sweep_surface.h"
#include "morvel/surfaces/pipe_surface.h"
#include "morvel/surfaces/plane_surface.h"
#include "morvel/surfaces/revolve_surface.h"
#include "morvel/surfaces/ruled_surface.h"
#include "morvel/surfaces/sphere_surface.h"
#include "morvel/surfaces/torus_surface.h"

namespace trova::files {
namespace {

using foundation::AsStored;
using geometry::AxisFrame;
using geometry::BezierSurface;
using geometry::BSplineSurface;
using geometry::ConeSurface;
using geometry::CylinderSurface;
using geometry::ExtrudeSurface;
using geometry::LoftSurface;
using geometry::NurbsSurface;
using geometry::ParameterStretch;
using geometry::ParameterWindow;
using geometry::PathGuidedSweepSurface;
using geometry::PipeSurface;
using geometry::PlaneSurface;
using geometry::RevolveSurface;
using geometry::RuledSurface;
using geometry::SphereSurface;
using geometry::TorusSurface;
using geometry::trimmed_surface::RectangularTrimmedSurface;
using geometry::trimmed_surface::TrimmedSurface;
using geometry::trimmed_surface::WireTrimmedSurface;

using Weights = NurbsSurface::Weights;

// ---- what several classes share ----

/// Left out where the surface covers all of its natural parameters the usual way.
void writeWindow(const ParameterWindow& window, MemberWriter& out) {
  const ParameterStretch& s = window.s();
  const ParameterStretch& t = window.t();
  const bool isWhole = s.from == 0.0 && s.to == 1.0 && t.from == 0.0 && t.to == 1.0;
  if (isWhole && !window.isTransposed()) return;
  Json record;
  MemberWriter nested(out.entity() + ", window", out.sink(), record);
  nested.set("s", Point2D(s.from, s.to));
  nested.set("t", Point2D(t.from, t.to));
  nested.set("transposed", window.isTransposed());
  out.set("window", std::move(record));
}

template <class Windowed>
std::unique_ptr<Surface> withWindow(std::unique_ptr<Windowed> surface, MemberReader& in) {
  if (!in.has("window")) return surface;
  MemberReader nested = in.nested("window");
  const auto s = nested.get<Point2D>("s");
  const auto t = nested.get<Point2D>("t");
  const bool isTransposed = nested.get<bool>("transposed");
  nested.finish();
  surface->setParameterWindow({{s.x(), s.y()}, {t.x(), t.y()}, isTransposed});
  return surface;
}

template <class Placed>
void writePlacement(const Placed& surface, MemberWriter& out) {
  out.set("placement", surface.getPlacement());
  writeWindow(surface.parameterWindow(), out);
}

template <class Placed>
std::unique_ptr<Surface> withPlacement(std::unique_ptr<Placed> surface, MemberReader& in) {
  surface->setPlacement(in.get<Transform3D>("placement"));
  return withWindow(std::move(surface), in);
}

void writeFrame(const AxisFrame& frame, MemberWriter& out) {
  out.set("origin", frame.origin);
  out.set("xAxis", frame.x);
  out.set("yAxis", frame.y);
  out.set("zAxis", frame.z);
}

AxisFrame readFrame(MemberReader& in) {
  AxisFrame frame;
  frame.origin = in.get<Point3D>("origin");
  frame.x = in.get<Vector3D>("xAxis");
  frame.y = in.get<Vector3D>("yAxis");
  frame.z = in.get<Vector3D>("zAxis");
  return frame;
}

// ---- with a control net ----

void requireSplineNet(const ControlNet& net, int degreeU, const std::vector<double>& uKnots,
                      int degreeV, const std::vector<double>& vKnots) {
  requireSpline("along u: ", static_cast<std::size_t>(net.uCount()), degreeU, uKnots);
  requireSpline("along v: ", static_cast<std::size_t>(net.vCount()), degreeV, vKnots);
}

void requireNetWeights(const Weights& weights, const ControlNet& net) {
  if (weights.size() != static_cast<std::size_t>(net.uCount()))
    throw std::invalid_argument("there must be one row of weights for each row of points");
  for (const std::vector<double>& row : weights)
    requireWeights(row, static_cast<std::size_t>(net.vCount()));
}

template <class Spline>
void writeSpline(const Spline& surface, MemberWriter& out) {
  const ControlNet& net = surface.controlNet();
  madeFor(out.entity(), [&] {
    requireSplineNet(net, surface.getUDegree(), surface.getUKnotVector(), surface.getVDegree(),
                     surface.getVKnotVector());
  });
  out.set("uDegree", surface.getUDegree());
  out.set("vDegree", surface.getVDegree());
  out.set("uKnots", surface.getUKnotVector());
  out.set("vKnots", surface.getVKnotVector());
  out.set("points", net);
}

struct SplineParts {
  int degreeU;
  int degreeV;
  std::vector<double> uKnots;
  std::vector<double> vKnots;
  ControlNet net;
};

SplineParts readSpline(MemberReader& in) {
  SplineParts parts{in.get<int>("uDegree"), in.get<int>("vDegree"),
                    in.get<std::vector<double>>("uKnots"), in.get<std::vector<double>>("vKnots"),
                    in.get<ControlNet>("points")};
  requireSplineNet(parts.net, parts.degreeU, parts.uKnots, parts.degreeV, parts.vKnots);
  return parts;
}

void writeMembers(const BSplineSurface& surface, MemberWriter& out) { writeSpline(surface, out); }

std::unique_ptr<Surface> readMembers(As<BSplineSurface>, MemberReader& in) {
  SplineParts parts = readSpline(in);
  return std::make_unique<BSplineSurface>(std::move(parts.net), std::move(parts.uKnots),
                                          std::move(parts.vKnots), parts.degreeU, parts.degreeV);
}

void writeMembers(const NurbsSurface& surface, MemberWriter& out) {
  writeSpline(surface, out);
  madeFor(out.entity(), [&] { requireNetWeights(surface.getWeights(), surface.controlNet()); });
  out.set("weights", surface.getWeights());
}

std::unique_ptr<Surface> readMembers(As<NurbsSurface>, MemberReader& in) {
  SplineParts parts = readSpline(in);
  auto weights = in.get<Weights>("weights");
  requireNetWeights(weights, parts.net);
  return std::make_unique<NurbsSurface>(std::move(parts.net), std::move(weights),
                                        std::move(parts.uKnots), std::move(parts.vKnots),
                                        parts.degreeU, parts.degreeV);
}

void writeMembers(const BezierSurface& surface, MemberWriter& out) {
  out.set("points", surface.controlNet());
}

std::unique_ptr<Surface> readMembers(As<BezierSurface>, MemberReader& in) {
  return std::make_unique<BezierSurface>(in.get<ControlNet>("points"));
}

// ---- analytic ----

void writeMembers(const PlaneSurface& plane, MemberWriter& out) {
  out.set("origin", plane.getOrigin());
  out.set("uDirection", plane.getUDirection());
  out.set("vDirection", plane.getVDirection());
  out.set("uExtent", plane.getUExtent());
  out.set("vExtent", plane.getVExtent());
  writeWindow(plane.parameterWindow(), out);
}

std::unique_ptr<Surface> readMembers(As<PlaneSurface>, MemberReader& in) {
  const auto origin = in.get<Point3D>("origin");
  const auto uDirection = in.get<Vector3D>("uDirection");
  const auto vDirection = in.get<Vector3D>("vDirection");
  const auto uExtent = in.get<double>("uExtent");
  return withWindow(std::make_unique<PlaneSurface>(AsStored{}, origin, uDirection, vDirection,
                                                   uExtent, in.get<double>("vExtent")),
                    in);
}

void writeMembers(const SphereSurface& sphere, MemberWriter& out) {
  writeFrame(sphere.getFrame(), out);
  out.set("radius", sphere.getRadius());
  writeWindow(sphere.parameterWindow(), out);
}

std::unique_ptr<Surface> readMembers(As<SphereSurface>, MemberReader& in) {
  const AxisFrame frame = readFrame(in);
  return withWindow(std::make_unique<SphereSurface>(frame, in.get<double>("radius")), in);
}

void writeMembers(const CylinderSurface& cylinder, MemberWriter& out) {
  writeFrame(cylinder.getFrame(), out);
  out.set("radius", cylinder.getRadius());
  out.set("height", cylinder.getHeight());
  writeWindow(cylinder.parameterWindow(), out);
}

std::unique_ptr<Surface> readMembers(As<CylinderSurface>, MemberReader& in) {
  const AxisFrame frame = readFrame(in);
  const auto radius = in.get<double>("radius");
  return withWindow(std::make_unique<CylinderSurface>(frame, radius, in.get<double>("height")), in);
}

void writeMembers(const ConeSurface& cone, MemberWriter& out) {
  writeFrame(cone.getFrame(), out);
  out.set("baseRadius", cone.getBaseRadius());
  out.set("height", cone.getHeight());
  writeWindow(cone.parameterWindow(), out);
}

std::unique_ptr<Surface> readMembers(As<ConeSurface>, MemberReader& in) {
  const AxisFrame frame = readFrame(in);
  const auto radius = in.get<double>("baseRadius");
  return withWindow(std::make_unique<ConeSurface>(frame, radius, in.get<double>("height")), in);
}

void writeMembers(const TorusSurface& torus, MemberWriter& out) {
  writeFrame(torus.getFrame(), out);
  out.set("majorRadius", torus.getMajorRadius());
  out.set("minorRadius", torus.getMinorRadius());
  writeWindow(torus.parameterWindow(), out);
}

std::unique_ptr<Surface> readMembers(As<TorusSurface>, MemberReader& in) {
  const AxisFrame frame = readFrame(in);
  const auto radius = in.get<double>("majorRadius");
  return withWindow(std::make_unique<TorusSurface>(frame, radius, in.get<double>("minorRadius")),
                    in);
}

// ---- made from curves ----

void writeMembers(const ExtrudeSurface& surface, MemberWriter& out) {
  out.set("profile", surface.getProfile());
  out.set("direction", surface.getDirection());
  out.set("distance", surface.getDistance());
  writePlacement(surface, out);
}

std::unique_ptr<Surface> readMembers(As<ExtrudeSurface>, MemberReader& in) {
  const auto profile = in.curve("profile");
  const auto direction = in.get<Vector3D>("direction");
  const auto distance = in.get<double>("distance");
  return withPlacement(std::make_unique<ExtrudeSurface>(AsStored{}, profile, direction, distance),
                       in);
}

void writeMembers(const RevolveSurface& surface, MemberWriter& out) {
  out.set("profile", surface.getProfile());
  out.set("axisPoint", surface.getAxisPoint());
  out.set("axisDirection", surface.getAxisDirection());
  out.set("startAngle", surface.getStartAngle());
  out.set("endAngle", surface.getEndAngle());
  writePlacement(surface, out);
}

std::unique_ptr<Surface> readMembers(As<RevolveSurface>, MemberReader& in) {
  const auto profile = in.curve("profile");
  const auto point = in.get<Point3D>("axisPoint");
  const auto direction = in.get<Vector3D>("axisDirection");
  const auto start = in.get<double>("startAngle");
  const auto end = in.get<double>("endAngle");
  return withPlacement(
      std::make_unique<RevolveSurface>(AsStored{}, profile, point, direction, start, end), in);
}

void writeMembers(const RuledSurface& surface, MemberWriter& out) {
  out.set("first", surface.getFirstCurve());
  out.set("second", surface.getSecondCurve());
  writePlacement(surface, out);
}

std::unique_ptr<Surface> readMembers(As<RuledSurface>, MemberReader& in) {
  const auto first = in.curve("first");
  return withPlacement(std::make_unique<RuledSurface>(first, in.curve("second")), in);
}

void writeMembers(const LoftSurface& surface, MemberWriter& out) {
  Json sections = Json::array();
  for (int k = 0; k < surface.getSectionCount(); ++k)
    sections.push_back(out.sink().referenceTo(surface.getSection(k)));
  out.set("sections", std::move(sections));
  out.set("degree", surface.getSectionDegree());
  writePlacement(surface, out);
}

std::unique_ptr<Surface> readMembers(As<LoftSurface>, MemberReader& in) {
  const auto sections = in.curves("sections");
  return withPlacement(std::make_unique<LoftSurface>(sections, in.get<int>("degree")), in);
}

void writeMembers(const PathGuidedSweepSurface& surface, MemberWriter& out) {
  out.set("profile", surface.getProfile());
  out.set("path", surface.getPath());
  writePlacement(surface, out);
}

std::unique_ptr<Surface> readMembers(As<PathGuidedSweepSurface>, MemberReader& in) {
  const auto profile = in.curve("profile");
  return withPlacement(std::make_unique<PathGuidedSweepSurface>(profile, in.curve("path")), in);
}

void writeMembers(const PipeSurface& surface, MemberWriter& out) {
  out.set("path", surface.getPath());
  out.set("radius", surface.getRadius());
  writePlacement(surface, out);
}

std::unique_ptr<Surface> readMembers(As<PipeSurface>, MemberReader& in) {
  const auto path = in.curve("path");
  return withPlacement(std::make_unique<PipeSurface>(path, in.get<double>("radius")), in);
}

template <class T>
constexpr auto surfaceEntry = recordType<T, Surface, writeMembers, readMembers>;

template <class T>
constexpr auto trimmedEntry = recordType<T, Surface, files::writeMembers, files::readMembers>;

constexpr std::array kSurfaceTypes{
    surfaceEntry<BSplineSurface>("BSplineSurface"),
    surfaceEntry<NurbsSurface>("NurbsSurface"),
    surfaceEntry<BezierSurface>("BezierSurface"),
    surfaceEntry<PlaneSurface>("PlaneSurface"),
    surfaceEntry<SphereSurface>("SphereSurface"),
    surfaceEntry<CylinderSurface>("CylinderSurface"),
    surfaceEntry<ConeSurface>("ConeSurface"),
    surfaceEntry<TorusSurface>("TorusSurface"),
    surfaceEntry<ExtrudeSurface>("ExtrudeSurface"),
    surfaceEntry<RevolveSurface>("RevolveSurface"),
    surfaceEntry<RuledSurface>("RuledSurface"),
    surfaceEntry<LoftSurface>("LoftSurface"),
    surfaceEntry<PathGuidedSweepSurface>("PathGuidedSweepSurface"),
    surfaceEntry<PipeSurface>("PipeSurface"),
    trimmedEntry<TrimmedSurface>("TrimmedSurface"),
    trimmedEntry<RectangularTrimmedSurface>("RectangularTrimmedSurface"),
    trimmedEntry<WireTrimmedSurface>("WireTrimmedSurface"),
};

}  // namespace

const RecordType<Surface>* surfaceRecordType(const Surface& surface) {
  return findRecordType(kSurfaceTypes,
                        [&](const auto& entry) { return *entry.type == typeid(surface); });
}

const RecordType<Surface>* surfaceRecordType(const std::string& name) {
  return findRecordType(kSurfaceTypes, [&](const auto& entry) { return entry.name == name; });
}

}  // namespace trova::files
