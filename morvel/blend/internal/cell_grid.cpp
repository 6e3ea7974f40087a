#include "morvel/blend/internal/cell_grid.h"

#include <algorithm>

#include "morvel/surfaces/grid_sampling.h"
#include "morvel/surfaces/surface_batch.h"

namespace trova::geometry::blend::internal {
namespace {

constexpr int kFewestCells = 8;
constexpr int kCellsPerSpan = 2;
constexpr int kCellsOfOthers = 24;  // per direction of surfaces that are no splines
/// Of the second differences of the samples: between samples a curve of constant bend leaves the
/// chord by an eighth of them; twice that for bends that change.
constexpr double kBendShare = 0.25;

int cellsFor(int spans, int most) {
  return std::clamp(kCellsPerSpan * spans, std::min(kFewestCells, most), most);
}

}  // namespace

CellGrid::CellGrid(const OffsetField& field, int mostCells) : domain_(field.domain()) {
  const auto* spline = dynamic_cast<const SplineSurface*>(&field.surface());
  const int most = std::max(mostCells, 2);
  if (spline) {
    cellsU_ = cellsFor(spline->getUControlPointCount() - spline->getUDegree(), most);
    cellsV_ = cellsFor(spline->getVControlPointCount() - spline->getVDegree(), most);
  } else {
    cellsU_ = cellsV_ = std::min(kCellsOfOthers, most);
  }
  sample(field);
  if (!isFinite_) return;
  makeCells();
  makeLevels();
  size_ = (levels_.back().boxes.front().high - levels_.back().boxes.front().low).norm();
}

double CellGrid::uAt(double i) const {
  return domain_.uMin + (domain_.uMax - domain_.uMin) * i / cellsU_;
}

double CellGrid::vAt(double j) const {
  return domain_.vMin + (domain_.vMax - domain_.vMin) * j / cellsV_;
}

void CellGrid::sample(const OffsetField& field) {
  const std::vector<double> us = gridParameters(domain_.uMin, domain_.uMax, cellsU_ + 1);
  const std::vector<double> vs = gridParameters(domain_.vMin, domain_.vMax, cellsV_ + 1);
  samples_.resize(us.size() * vs.size());
  if (field.distance() == 0.0) {
    evaluateSurfaceGrid(field.surface(), us, vs, 0, samples_.front().data());
  } else {
    std::size_t k = 0;
    for (const double u : us)
      for (const double v : vs) {
        const Jet jet = field.at(u, v);
        samples_[k++] = jet.point;
      }
  }
  isFinite_ = std::all_of(samples_.begin(), samples_.end(),
                          [](const Vector3d& p) { return p.allFinite(); });
}

// The second differences at a sample, of either direction; at an edge those next to it.
Vector3d CellGrid::bend(int i, int j) const {
  const int a = std::clamp(i, 1, cellsU_ - 1), b = std::clamp(j, 1, cellsV_ - 1);
  const Vector3d u = corner(a - 1, j) - 2 * corner(a, j) + corner(a + 1, j);
  const Vector3d v = corner(i, b - 1) - 2 * corner(i, b) + corner(i, b + 1);
  return u.cwiseAbs() + v.cwiseAbs();
}

void CellGrid::makeCells() {
  std::vector<Vector3d> bends(samples_.size());
  for (int i = 0; i <= cellsU_; ++i)
    for (int j = 0; j <= cellsV_; ++j)
      bends[sampleIndex(i, j)] = bend(i, j);
  Level cells{cellsU_, cellsV_, std::vector<Box>(std::size_t(cellsU_) * std::size_t(cellsV_))};
  margins_.resize(cells.boxes.size());
  for (int i = 0; i < cellsU_; ++i)
    for (int j = 0; j < cellsV_; ++j) {
      const std::size_t at[4] = {sampleIndex(i, j), sampleIndex(i + 1, j), sampleIndex(i, j + 1),
                                 sampleIndex(i + 1, j + 1)};
      Box box{samples_[at[0]], samples_[at[0]]};
      Vector3d most = bends[at[0]];
      for (int k = 1; k < 4; ++k) {
        box.add({samples_[at[k]], samples_[at[k]]});
        most = most.cwiseMax(bends[at[k]]);
      }
      most *= kBendShare;
      margins_[cellIndex(i, j)] = most;
      cells.boxes[cellIndex(i, j)] = {box.low - most, box.high + most};
    }
  levels_.push_back(std::move(cells));
}

void CellGrid::makeLevels() {
  while (levels_.back().boxes.size() > 1) {
    const Level& below = levels_.back();
    Level above{(below.nU + 1) / 2, (below.nV + 1) / 2, {}};
    above.boxes.resize(std::size_t(above.nU) * std::size_t(above.nV));
    for (int i = 0; i < above.nU; ++i)
      for (int j = 0; j < above.nV; ++j) {
        const auto part = [&](int a, int b) -> const Box& {
          return below.boxes[std::size_t(std::min(a, below.nU - 1)) * std::size_t(below.nV) +
                             std::size_t(std::min(b, below.nV - 1))];
        };
        Box box = part(2 * i, 2 * j);
        box.add(part(2 * i + 1, 2 * j));
        box.add(part(2 * i, 2 * j + 1));
        box.add(part(2 * i + 1, 2 * j + 1));
        above.boxes[std::size_t(i) * std::size_t(above.nV) + std::size_t(j)] = box;
      }
    levels_.push_back(std::move(above));
  }
}

const Box& CellGrid::box(const Node& node) const {
  const Level& level = levels_[std::size_t(node.level)];
  return level.boxes[std::size_t(node.i) * std::size_t(level.nV) + std::size_t(node.j)];
}

}  // namespace trova::geometry::blend::internal
