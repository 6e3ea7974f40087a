#include "morvel/blend/internal/cell_grid.h"

#include <algorithm>

#include "morvel/surfaces/grid_sampling.h"
#include "morvel/surfaces/surface_batch.h"

namespace trova::geometry::blend::internal {
namespace {

constexpr int kFewestCells = 8;
constexpr int kMostCells = 2000;
constexpr int kCellsPerSpan = 2;
constexpr int kCellsOfOthers = 24;  // per direction of surfaces that are no splines
/// Of the second differences of the samples: between samples a curve of constant bend leaves the
/// chord by an eighth of them; twice that for bends that change.
constexpr double kBendShare = 0.25;

int cellsFor(int wanted, int fewest, int most) {
  return std::clamp(wanted, std::min(fewest, most), most);
}

constexpr std::size_t kMostSpare = 2;              // grids of one search
constexpr std::size_t kMostKeptSamples = 1 << 13;  // some 2 MB with all that belongs to them

class Spares {
 public:
  Spares() { kept_.reserve(kMostSpare); }

  GridMemory take() {
    if (kept_.empty()) return {};
    GridMemory memory = std::move(kept_.back());
    kept_.pop_back();
    return memory;
  }
  void keep(GridMemory memory) noexcept {
    const bool isWanted =
        kept_.size() < kMostSpare && memory.samples.capacity() <= kMostKeptSamples;
    if (isWanted) kept_.push_back(std::move(memory));
  }

 private:
  std::vector<GridMemory> kept_;
};

Spares& spares() {
  thread_local Spares ofThread;
  return ofThread;
}

}  // namespace

CellGrid::CellGrid(const OffsetField& field, int fewestCells, int mostCells)
    : domain_(field.domain()), memory_(spares().take()) {
  const auto* spline = dynamic_cast<const SplineSurface*>(&field.surface());
  const int most = std::clamp(mostCells, 2, kMostCells);
  const int fewest = fewestCells > 0 ? fewestCells : kFewestCells;
  int wantedU = kCellsOfOthers, wantedV = kCellsOfOthers;
  if (spline) {
    wantedU = kCellsPerSpan * (spline->getUControlPointCount() - spline->getUDegree());
    wantedV = kCellsPerSpan * (spline->getVControlPointCount() - spline->getVDegree());
  }
  cellsU_ = cellsFor(wantedU, fewest, most);
  cellsV_ = cellsFor(wantedV, fewest, most);
  sample(field);
  if (!isFinite_) return;
  makeCells();
  makeLevels();
  const Box& whole = box(root());
  size_ = (whole.high - whole.low).norm();
}

CellGrid::~CellGrid() { spares().keep(std::move(memory_)); }

double CellGrid::uAt(double i) const {
  return domain_.uMin + (domain_.uMax - domain_.uMin) * i / cellsU_;
}

double CellGrid::vAt(double j) const {
  return domain_.vMin + (domain_.vMax - domain_.vMin) * j / cellsV_;
}

void CellGrid::sample(const OffsetField& field) {
  const std::vector<double> us = gridParameters(domain_.uMin, domain_.uMax, cellsU_ + 1);
  const std::vector<double> vs = gridParameters(domain_.vMin, domain_.vMax, cellsV_ + 1);
  memory_.samples.resize(us.size() * vs.size());
  if (field.distance() == 0.0) {
    evaluateSurfaceGrid(field.surface(), us, vs, 0, memory_.samples.front().data());
  } else {
    std::size_t k = 0;
    for (const double u : us)
      for (const double v : vs) {
        const Jet jet = field.at(u, v);
        memory_.samples[k++] = jet.point;
      }
  }
  isFinite_ = std::all_of(memory_.samples.begin(), memory_.samples.end(),
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
  memory_.bends.resize(memory_.samples.size());
  for (int i = 0; i <= cellsU_; ++i)
    for (int j = 0; j <= cellsV_; ++j)
      memory_.bends[sampleIndex(i, j)] = bend(i, j);
  const std::size_t count = std::size_t(cellsU_) * std::size_t(cellsV_);
  memory_.margins.resize(count);
  memory_.boxes.resize(count);
  levels_.push_back({cellsU_, cellsV_, 0});
  for (int i = 0; i < cellsU_; ++i)
    for (int j = 0; j < cellsV_; ++j) {
      const std::size_t at[4] = {sampleIndex(i, j), sampleIndex(i + 1, j), sampleIndex(i, j + 1),
                                 sampleIndex(i + 1, j + 1)};
      Box box{memory_.samples[at[0]], memory_.samples[at[0]]};
      Vector3d most = memory_.bends[at[0]];
      for (int k = 1; k < 4; ++k) {
        box.add({memory_.samples[at[k]], memory_.samples[at[k]]});
        most = most.cwiseMax(memory_.bends[at[k]]);
      }
      most *= kBendShare;
      memory_.margins[cellIndex(i, j)] = most;
      memory_.boxes[cellIndex(i, j)] = {box.low - most, box.high + most};
    }
}

Vector3d CellGrid::normal(const Node& cell) const {
  const Vector3d d1 = corner(cell.i + 1, cell.j + 1) - corner(cell.i, cell.j);
  const Vector3d d2 = corner(cell.i, cell.j + 1) - corner(cell.i + 1, cell.j);
  return cross(d1, d2);
}

// Second differences across the surface are the turn over a cell times its side.
double CellGrid::turn(const Node& cell) const {
  const Vector3d& at = corner(cell.i, cell.j);
  const double side =
      std::min((corner(cell.i + 1, cell.j) - at).norm(), (corner(cell.i, cell.j + 1) - at).norm());
  const Vector3d across = normal(cell);
  return across.cwiseAbs().dot(margin(cell)) / (kBendShare * side * across.norm());
}

void CellGrid::makeLevels() {
  std::vector<Box>& boxes = memory_.boxes;
  while (levels_.back().nU > 1 || levels_.back().nV > 1) {
    const Level below = levels_.back();
    const Level above{(below.nU + 1) / 2, (below.nV + 1) / 2, boxes.size()};
    for (int i = 0; i < above.nU; ++i)
      for (int j = 0; j < above.nV; ++j) {
        const int i1 = std::min(2 * i + 1, below.nU - 1), j1 = std::min(2 * j + 1, below.nV - 1);
        Box box = boxes[below.index(2 * i, 2 * j)];
        box.add(boxes[below.index(i1, 2 * j)]);
        box.add(boxes[below.index(2 * i, j1)]);
        box.add(boxes[below.index(i1, j1)]);
        boxes.push_back(box);
      }
    levels_.push_back(above);
  }
}

const Box& CellGrid::box(const Node& node) const {
  return memory_.boxes[levels_[std::size_t(node.level)].index(node.i, node.j)];
}

}  // namespace trova::geometry::blend::internal
