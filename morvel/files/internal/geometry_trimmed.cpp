#include "morvel/files/internal/trimmed_records.h"

namespace trova::files {
namespace {

using geometry::trimmed_surface::RectangularTrimmedSurface;
using geometry::trimmed_surface::TrimBounds;
using geometry::trimmed_surface::TrimLoop;
using geometry::trimmed_surface::TrimmedSurface;
using geometry::trimmed_surface::TrimmedSurfaceOptions;
using geometry::trimmed_surface::WireTrimmedSurface;

Json optionsRecord(const TrimmedSurfaceOptions& options, const MemberWriter& owner) {
  Json record;
  MemberWriter out(owner.entity() + ", options", owner.sink(), record);
  out.set("boundaryTolerance", options.boundaryTolerance);
  out.set("approximationTolerance", options.approximationTolerance);
  out.set("firstSwitch", options.firstSwitch);
  out.set("secondSwitch", options.secondSwitch);
  out.set("thirdSwitch", options.thirdSwitch);
  out.set("level", options.level);
  out.set("hostValue", options.hostValue);
  out.set("reserved", options.reserved);
  return record;
}

TrimmedSurfaceOptions readOptions(MemberReader in) {
  TrimmedSurfaceOptions options;
  options.boundaryTolerance = in.get<double>("boundaryTolerance");
  options.approximationTolerance = in.get<double>("approximationTolerance");
  options.firstSwitch = in.get<bool>("firstSwitch");
  options.secondSwitch = in.get<bool>("secondSwitch");
  options.thirdSwitch = in.get<bool>("thirdSwitch");
  options.level = in.get<int>("level");
  options.hostValue = in.get<std::int64_t>("hostValue");
  options.reserved = in.get<std::int64_t>("reserved");
  in.finish();
  return options;
}

Json curveReferences(const TrimLoop& loop, const MemberWriter& out) {
  Json references = Json::array();
  for (const auto& curve : loop.curves)
    references.push_back(curve ? out.sink().referenceTo(*curve) : Json(nullptr));
  return references;
}

Json loopRecord(const TrimLoop& loop, const std::string& place, ReferenceSink& sink) {
  Json record;
  MemberWriter out(place, sink, record);
  out.set("type", loop.type);
  out.set("isOuter", loop.isOuter);
  out.set("isClosed", loop.isClosed);
  out.set("tolerance", loop.tolerance);
  out.set("name", loop.name);
  out.set("id", loop.id);
  out.set("curves", curveReferences(loop, out));
  out.set("polygon", loop.polygon);
  return record;
}

TrimLoop readLoop(MemberReader& in) {
  TrimLoop loop;
  loop.type = in.get<int>("type");
  loop.isOuter = in.get<bool>("isOuter");
  loop.isClosed = in.get<bool>("isClosed");
  loop.tolerance = in.get<double>("tolerance");
  loop.name = in.get<std::string>("name");
  loop.id = in.get<int>("id");
  loop.curves = in.curvesOnSurfaces("curves");
  loop.polygon = in.get<std::vector<Point2D>>("polygon");
  in.finish();
  return loop;
}

void writeCommon(const TrimmedSurface& surface, MemberWriter& out) {
  out.set("base", *surface.getBaseSurface());
  out.set("options", optionsRecord(surface.getOptions(), out));
  Json loops = Json::array();
  for (const TrimLoop& loop : surface.getTrimLoops()) {
    const std::string place = out.entity() + ", loops " + std::to_string(loops.size());
    loops.push_back(loopRecord(loop, place, out.sink()));
  }
  out.set("loops", std::move(loops));
}

template <class Trimmed>
std::unique_ptr<Trimmed> withLoops(std::unique_ptr<Trimmed> surface, MemberReader& in) {
  std::vector<TrimLoop> loops;
  for (MemberReader& record : in.list("loops"))
    loops.push_back(readLoop(record));
  surface->setTrimLoops(std::move(loops));
  return surface;
}

}  // namespace

void writeMembers(const TrimmedSurface& surface, MemberWriter& out) { writeCommon(surface, out); }

std::unique_ptr<Surface> readMembers(As<TrimmedSurface>, MemberReader& in) {
  auto base = in.surface("base");
  const auto options = readOptions(in.nested("options"));
  return withLoops(std::make_unique<TrimmedSurface>(std::move(base), options), in);
}

void writeMembers(const RectangularTrimmedSurface& surface, MemberWriter& out) {
  writeCommon(surface, out);
  const TrimBounds& bounds = surface.getTrimBounds();
  out.set("uBounds", Point2D(bounds.uMin, bounds.uMax));
  out.set("vBounds", Point2D(bounds.vMin, bounds.vMax));
  out.set("boundedInU", surface.isTrimmedU());
  out.set("boundedInV", surface.isTrimmedV());
}

std::unique_ptr<Surface> readMembers(As<RectangularTrimmedSurface>, MemberReader& in) {
  auto base = in.surface("base");
  const auto options = readOptions(in.nested("options"));
  const auto u = in.get<Point2D>("uBounds");
  const auto v = in.get<Point2D>("vBounds");
  const bool isBoundedU = in.get<bool>("boundedInU");
  const bool isBoundedV = in.get<bool>("boundedInV");
  const TrimBounds bounds{u.x(), u.y(), v.x(), v.y()};
  return withLoops(std::make_unique<RectangularTrimmedSurface>(std::move(base), bounds, isBoundedU,
                                                               isBoundedV, options),
                   in);
}

void writeMembers(const WireTrimmedSurface& surface, MemberWriter& out) {
  writeCommon(surface, out);
  out.set("usesSpatialIndex", surface.getUseSpatialIndex());
}

std::unique_ptr<Surface> readMembers(As<WireTrimmedSurface>, MemberReader& in) {
  auto base = in.surface("base");
  const auto options = readOptions(in.nested("options"));
  auto surface = withLoops(std::make_unique<WireTrimmedSurface>(std::move(base), options), in);
  surface->setUseSpatialIndex(in.get<bool>("usesSpatialIndex"));
  return surface;
}

}  // namespace trova::files
