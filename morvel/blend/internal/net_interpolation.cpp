#include "morvel/blend/internal/net_interpolation.h"

#include <utility>

namespace trova::geometry::blend::internal {
namespace {

constexpr int kDim = 3;

void solveRows(ControlNet& net, int degree) {
  const UniformInterpolation along(net.uCount(), degree);
  along.solve(net(0, 0).eigen().data(), kDim * net.vCount());
}

}  // namespace

std::unique_ptr<BSplineSurface> surfaceThrough(ControlNet net, int degreeU, int degreeV) {
  solveRows(net, degreeU);
  net = net.transposed();
  solveRows(net, degreeV);
  net = net.transposed();
  if (!net.isFinite()) return nullptr;
  return BSplineSurface::createClamped(std::move(net), degreeU, degreeV);
}

}  // namespace trova::geometry::blend::internal
