#include "morvel/api/kernel_object.h"

#include <limits>
#include <stdexcept>

#include "morvel/api/internal/net_arguments.h"
#include "morvel/foundation/status_line.h"
#include "morvel/surfaces/grid_sampling.h"

namespace status = trova::foundation::status;
using trova::foundation::Point3D;
using trova::geometry::BSplineSurface;
using namespace trova_internal;

namespace {

constexpr int kVerticesPerTriangle = 3;

void require(bool condition, const char* message) {
  if (!condition) throw std::invalid_argument(message);
}

std::vector<Point3D> finiteGrid(const BSplineSurface& surface, int resolution) {
  std::vector<Point3D> points = trova::geometry::sampleGrid(surface, resolution, resolution);
  for (const Point3D& point : points) {
    if (!point.isFinite())
      throw std::runtime_error("Surface evaluation gave a point that is not finite");
  }
  return points;
}

std::int64_t indexCountOf(int resolution) {
  const std::int64_t cells = resolution - 1;
  return trova::foundation::checkedCount({2, kVerticesPerTriangle, cells, cells});
}

}  // namespace

PythonNURBSSurface::PythonNURBSSurface(std::unique_ptr<BSplineSurface> surface)
    : surface_(std::move(surface)) {
  require(surface_ && surface_->isValid(), "Counts, degrees and knots do not make a valid surface");
}

Point3D PythonNURBSSurface::evaluate(double u, double v) const { return surface_->evaluate(u, v); }

PythonSurfaceKernel::PythonSurfaceKernel() {
  status::success("C++ Surface Kernel initialized with TROVA curves");
}

PythonSurfaceKernel::~PythonSurfaceKernel() {
  surfaces_.clear();
  status::progress(status::Symbol::Cleanup, "C++ Surface Kernel cleaned up");
}

int PythonSurfaceKernel::createNURBSSurface(const double* points, int nU, int nV,
                                            const double* uKnots, int uKnotCount,
                                            const double* vKnots, int vKnotCount, int degreeU,
                                            int degreeV) {
  const SplineArguments given{{points, nU, nV}, degreeU, degreeV,   uKnots,
                              uKnotCount,       vKnots,  vKnotCount};
  require(given.hasArrays(), "Points and knots cannot be null");
  require(given.net.hasCounts(), "Control point counts must be at least 2 and fit an int");
  require(given.hasDegrees(), "Degrees must be at least 1");
  require(given.hasPointsForDegrees(), "Degree must be less than control point count");
  require(given.hasKnotCounts(), "Knot count must be control point count + degree + 1");
  require(given.net.hasFinitePoints(), "Control points must be finite");
  require(given.hasOrderedKnots(), "Knots must be finite and never decrease");
  if (nextId_ == std::numeric_limits<int>::max())
    throw std::overflow_error("Surface identifiers are used up");
  auto surface = std::make_unique<PythonNURBSSurface>(given.surface(NetOrder::UOuter));
  surfaces_.emplace(nextId_, std::move(surface));
  return nextId_++;
}

MorvelSurfaceData* PythonSurfaceKernel::getSurfaceMesh(int id, int resolution) const {
  const auto entry = surfaces_.find(id);
  require(entry != surfaces_.end(), "Unknown surface identifier");
  require(resolution >= 2, "Resolution must be at least 2");
  const std::int64_t indexCount = indexCountOf(resolution);
  const std::vector<Point3D> points = finiteGrid(entry->second->surface(), resolution);
  const auto vertexCount = static_cast<std::int32_t>(points.size());

  auto vertices = std::make_unique<double[]>(points.size() * kDoublesPerPoint);
  auto indices = std::make_unique<std::int32_t[]>(static_cast<std::size_t>(indexCount));
  writePoints(points, vertices.get());
  trova::geometry::writeGridTriangles(resolution, resolution, trova::geometry::CellDiagonal::Anti,
                                      indices.get());
  auto record = std::make_unique<MorvelSurfaceData>(MorvelSurfaceData{
      vertices.get(), vertexCount, indices.get(), static_cast<std::int32_t>(indexCount), id});
  // The record owns the arrays from here on, until freeSurfaceData.
  static_cast<void>(vertices.release());
  static_cast<void>(indices.release());
  return record.release();
}

void PythonSurfaceKernel::freeSurfaceData(MorvelSurfaceData* record) {
  if (!record) return;
  delete[] record->vertices;
  delete[] record->indices;
  delete record;
}

int PythonSurfaceKernel::getSurfaceCount() const { return static_cast<int>(surfaces_.size()); }

bool PythonSurfaceKernel::hasSurface(int id) const { return surfaces_.contains(id); }
