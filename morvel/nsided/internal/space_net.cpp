#include "morvel/nsided/internal/space_net.h"

#include <Eigen/Core>
#include <array>
#include <cmath>
#include <map>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "morvel/foundation/linear_solvers.h"
#include "morvel/foundation/progress.h"
#include "morvel/nsided/internal/loop_layout.h"

namespace trova::geometry::internal {
namespace {

using foundation::BandedSystem;
using foundation::SymmetricBandedSystem;
using foundation::Vector3D;
using foundation::nurbs::SplineBasis;

constexpr int kDegree = SpaceNet::kDegree;
constexpr int kOrder = kDegree + 1;
constexpr int kAxes = 3;
constexpr double kGaussNode = 0.21132486540518713;  // of the two points on [0, 1]
constexpr double kDiagonalShare = 1e-12;            // keeps the smoothing system definite

double greville(const SplineBasis& basis, int i) {
  const std::vector<double>& U = basis.knots();
  return (U[i + 1] + U[i + 2] + U[i + 3]) / kDegree;
}

/// Interpolation at the Greville points, the first and the last included.
void interpolateRows(const SplineBasis& basis, double* rows, int width) {
  BandedSystem system(basis.count(), kDegree, kDegree);
  for (int i = 0; i < basis.count(); ++i) {
    const double u = greville(basis, i);
    const int span = basis.span(u);
    std::array<double, kOrder> values{};
    basis.values(u, span, values.data());
    for (int r = 0; r < kOrder; ++r) {
      if (values[r] != 0.0) system.add(i, span - kDegree + r, values[r]);
    }
  }
  if (!system.factor()) throw std::runtime_error("the net cannot be solved");
  system.solve(rows, width);
}

/// Values and derivatives of the four functions that are not 0 at a place.
struct LocalBasis {
  int first;
  std::array<std::array<double, kOrder>, 3> d;

  LocalBasis(const SplineBasis& basis, double u) {
    const int span = basis.span(u);
    first = span - kDegree;
    basis.derivatives(u, span, 2, d[0].data());
  }
};

double* coordinates(ControlNet& net) { return net(0, 0).eigen().data(); }

}  // namespace

SpaceNet::SpaceNet(int spansU, int spansV)
    : nU_(spansU + kDegree),
      nV_(spansV + kDegree),
      basisU_(SplineBasis::clampedUniform(nU_, kDegree)),
      basisV_(SplineBasis::clampedUniform(nV_, kDegree)),
      net_(nU_, nV_),
      fixed_(static_cast<std::size_t>(nU_) * nV_, false) {
  for (int edge = 0; edge < kSquareEdges; ++edge) {
    for (int k = 0; k < countAlong(edge); ++k)
      fix(place(edge, k, 0));
  }
}

int SpaceNet::spans(int edge) const { return countAlong(edge) - kDegree; }

int SpaceNet::countAlong(int edge) const { return edge % 2 == 0 ? nU_ : nV_; }

const SplineBasis& SpaceNet::basisAlong(int edge) const {
  return edge % 2 == 0 ? basisU_ : basisV_;
}

// Points are counted along the edge's own direction.
SpaceNet::Place SpaceNet::place(int edge, int along, int ring) const {
  switch (edge) {
    case 0:
      return {along, ring};
    case 1:
      return {nU_ - 1 - ring, along};
    case 2:
      return {nU_ - 1 - along, nV_ - 1 - ring};
    default:
      return {ring, nV_ - 1 - along};
  }
}

void SpaceNet::interpolate(const SpaceMap& map) {
  foundation::progress::Stage stage("following the boundary");
  for (int i = 0; i < nU_; ++i) {
    stage.report(i, nU_);
    for (int j = 0; j < nV_; ++j)
      net_(i, j) = map(greville(basisU_, i), greville(basisV_, j));
  }
  interpolateRows(basisU_, coordinates(net_), kAxes * nV_);
  ControlNet turned = net_.transposed();
  interpolateRows(basisV_, coordinates(turned), kAxes * nU_);
  net_ = turned.transposed();
}

std::array<Vector3D, 3> SpaceNet::rowsAt(int edge, double x) const {
  const LocalBasis basis(basisAlong(edge), x);
  std::array<Vector3D, 3> rows;
  for (int ring = 0; ring < 3; ++ring) {
    for (int r = 0; r < kOrder; ++r) {
      const Place at = place(edge, basis.first + r, ring);
      rows[ring] += (net_(at.i, at.j) - Point3D::origin()) * basis.d[0][r];
    }
  }
  return rows;
}

void SpaceNet::meetDemands(const std::vector<RingDemand>& demands, int ring, double stiffness) {
  std::map<std::pair<int, int>, int> numbers;  // of the points that may move
  for (const RingDemand& demand : demands) {
    const LocalBasis basis(basisAlong(demand.edge), demand.x);
    for (int r = 0; r < kOrder; ++r) {
      const Place at = place(demand.edge, basis.first + r, ring);
      if (!isFixed(at)) numbers.emplace(std::pair(at.i, at.j), 0);
    }
  }
  if (numbers.empty()) return;
  int count = 0;
  for (auto& [at, number] : numbers)
    number = count++;
  Eigen::MatrixXd normal = stiffness * Eigen::MatrixXd::Identity(kAxes * count, kAxes * count);
  Eigen::VectorXd right = Eigen::VectorXd::Zero(kAxes * count);
  for (const RingDemand& demand : demands) {
    const LocalBasis basis(basisAlong(demand.edge), demand.x);
    const double missing = demand.value - rowsAt(demand.edge, demand.x)[ring].dot(demand.normal);
    std::array<int, kOrder> columns{};
    for (int r = 0; r < kOrder; ++r) {
      const Place at = place(demand.edge, basis.first + r, ring);
      columns[r] = isFixed(at) ? -1 : kAxes * numbers.at({at.i, at.j});
    }
    for (int r = 0; r < kOrder; ++r) {
      if (columns[r] < 0) continue;
      const Vector3D a = demand.normal * (demand.weight * basis.d[0][r]);
      right.segment<kAxes>(columns[r]) += a.eigen() * missing;
      for (int s = 0; s < kOrder; ++s) {
        if (columns[s] < 0) continue;
        normal.block<kAxes, kAxes>(columns[r], columns[s]) +=
            a.eigen() * (demand.normal.eigen() * basis.d[0][s]).transpose();
      }
    }
  }
  const auto moves = foundation::solveSymmetric(normal, right);
  if (!moves) return;
  for (const auto& [at, number] : numbers) {
    net_(at.first, at.second).eigen() += moves->block<kAxes, 1>(kAxes * number, 0);
    fix({at.first, at.second});
  }
}

void SpaceNet::smooth(const SpaceMap& map, double pull) {
  const int size = nU_ * nV_;
  SymmetricBandedSystem system(size, kDegree * nV_ + kDegree);
  std::vector<double> right(static_cast<std::size_t>(kAxes) * size, 0.0);
  std::vector<double> diagonal(size, 0.0);
  const auto number = [this](int i, int j) { return i * nV_ + j; };
  const std::array<double, 2> nodes = {kGaussNode, 1.0 - kGaussNode};
  foundation::progress::Stage stage("smoothing");
  const int cells = 4 * spans(0) * spans(1);
  for (int cell = 0; cell < cells; ++cell) {
    stage.report(cell, 2.0 * cells);
    const int cellU = cell / 4 / spans(1);
    const int cellV = cell / 4 % spans(1);
    const double u = (cellU + nodes[cell % 2]) / spans(0);
    const double v = (cellV + nodes[cell / 2 % 2]) / spans(1);
    const LocalBasis a(basisU_, u);
    const LocalBasis b(basisV_, v);
    const Eigen::Vector3d target = map(u, v).eigen();
    constexpr int kLocal = kOrder * kOrder;
    std::array<int, kLocal> index{};
    std::array<std::array<double, 4>, kLocal> rows{};  // value, uu, uv, vv
    const double root = std::sqrt(pull);
    for (int p = 0; p < kLocal; ++p) {
      const int r = p / kOrder;
      const int s = p % kOrder;
      index[p] = number(a.first + r, b.first + s);
      rows[p] = {root * a.d[0][r] * b.d[0][s], a.d[2][r] * b.d[0][s],
                 std::numbers::sqrt2 * a.d[1][r] * b.d[1][s], a.d[0][r] * b.d[2][s]};
    }
    for (int p = 0; p < kLocal; ++p) {
      if (fixed_[index[p]]) continue;
      Eigen::Map<Eigen::Vector3d> sum(right.data() + kAxes * index[p]);
      sum += rows[p][0] * root * target;
      for (int q = 0; q < kLocal; ++q) {
        double product = 0.0;
        for (int k = 0; k < 4; ++k)
          product += rows[p][k] * rows[q][k];
        if (fixed_[index[q]])
          sum -= product * net_.points()[index[q]].eigen();
        else if (index[q] <= index[p])
          system.add(index[p], index[q], product);
        if (p == q) diagonal[index[p]] += product;
      }
    }
  }
  for (int k = 0; k < size; ++k) {
    system.add(k, k, fixed_[k] ? 1.0 : kDiagonalShare * diagonal[k]);
    if (fixed_[k]) Eigen::Map<Eigen::Vector3d>(right.data() + kAxes * k) = net_.points()[k].eigen();
  }
  foundation::progress::Stage solving("smoothing", 0.5);
  if (!system.factor(&solving)) throw std::runtime_error("the net cannot be smoothed");
  system.solve(right.data(), kAxes);
  net_ = ControlNet(nU_, nV_, right.data());
}

}  // namespace trova::geometry::internal
