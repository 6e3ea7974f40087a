#include "morvel/blend/internal/net_interpolation.h"

#include <utility>

namespace trova::geometry::blend::internal {
namespace {

constexpr int kDim = 3;
constexpr int kFewestToClose = 4;  // rows: the legs of both ends are apart

void solveRows(ControlNet& net, int degree) {
  const UniformInterpolation along(net.uCount(), degree);
  along.solve(net(0, 0).eigen().data(), kDim * net.vCount());
}

// On uniform knots both ends' derivatives are the same multiple of their first legs.
void levelEnds(ControlNet& net) {
  const int last = net.uCount() - 1;
  for (int j = 0; j < net.vCount(); ++j) {
    const Point3D end = net(0, j).midpoint(net(last, j));
    const Vector3D leg = ((net(1, j) - net(0, j)) + (net(last, j) - net(last - 1, j))) / 2.0;
    net(0, j) = net(last, j) = end;
    net(1, j) = end + leg;
    net(last - 1, j) = end - leg;
  }
}

}  // namespace

std::unique_ptr<BSplineSurface> surfaceThrough(ControlNet net, int degreeU, int degreeV,
                                               bool closesInU) {
  solveRows(net, degreeU);
  net = net.transposed();
  solveRows(net, degreeV);
  net = net.transposed();
  if (closesInU && net.uCount() > kFewestToClose) levelEnds(net);
  if (!net.isFinite()) return nullptr;
  return BSplineSurface::createClamped(std::move(net), degreeU, degreeV);
}

}  // namespace trova::geometry::blend::internal
