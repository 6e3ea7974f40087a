#include "morvel/trimmed_surface/wire_chain.h"

#include "morvel/trimmed_surface/internal/sampled_loop.h"

namespace trova::geometry::trimmed_surface {
namespace {

Point3D startOf(const CurveOnSurface& curve) {
  return curve.evaluate(curve.getParameterInterval().start);
}

Point3D endOf(const CurveOnSurface& curve) {
  return curve.evaluate(curve.getParameterInterval().end);
}

std::shared_ptr<CurveOnSurface> reversed(const CurveOnSurface& curve) {
  return std::make_shared<CurveOnSurface>(curve.getBaseSurface(),
                                          curve.getParameterCurve().reverse());
}

}  // namespace

TrimLoop chainedLoop(std::vector<std::shared_ptr<CurveOnSurface>> pieces, double joinDistance) {
  for (std::size_t k = 0; k + 1 < pieces.size(); ++k) {
    const Point3D end = endOf(*pieces[k]);
    const double toEnd = end.distanceTo(endOf(*pieces[k + 1]));
    const double toStart = end.distanceTo(startOf(*pieces[k + 1]));
    if (toEnd < toStart && toEnd < joinDistance) pieces[k + 1] = reversed(*pieces[k + 1]);
  }
  TrimLoop loop;
  loop.isClosed = true;
  for (const auto& piece : pieces) {
    const std::vector<Point2D> line = internal::sampledCurve(*piece, internal::kBoundarySteps);
    // The end of a piece is the start of the next one.
    loop.polygon.insert(loop.polygon.end(), line.begin(), line.end() - 1);
  }
  loop.curves = std::move(pieces);
  return loop;
}

}  // namespace trova::geometry::trimmed_surface
