#include "morvel/surfaces/control_net.h"

#include <algorithm>
#include <stdexcept>

#include "morvel/foundation/checked_count.h"

namespace trova::geometry {
namespace {

using foundation::Point3D;

constexpr int kCoordinates = 3;

std::size_t checkedSize(std::int64_t nU, std::int64_t nV) {
  return static_cast<std::size_t>(foundation::checkedCount({nU, nV, kCoordinates}) / kCoordinates);
}

int rowCount(const std::vector<std::vector<Point3D>>& rows) {
  return static_cast<int>(foundation::checkedCount({static_cast<std::int64_t>(rows.size())}));
}

int columnCount(const std::vector<std::vector<Point3D>>& rows) {
  if (rows.empty()) return 0;
  return static_cast<int>(foundation::checkedCount({static_cast<std::int64_t>(rows[0].size())}));
}

}  // namespace

ControlNet::ControlNet(int nU, int nV) : nU_(nU), nV_(nV), points_(checkedSize(nU, nV)) {}

ControlNet::ControlNet(const std::vector<std::vector<Point3D>>& rows)
    : ControlNet(rowCount(rows), columnCount(rows)) {
  auto next = points_.begin();
  for (const std::vector<Point3D>& row : rows) {
    if (row.size() != rows[0].size())
      throw std::invalid_argument("Control net rows must have equal lengths");
    next = std::copy(row.begin(), row.end(), next);
  }
}

ControlNet::ControlNet(int nU, int nV, const double* coordinates) : ControlNet(nU, nV) {
  for (Point3D& point : points_) {
    point = {coordinates[0], coordinates[1], coordinates[2]};
    coordinates += kCoordinates;
  }
}

const Point3D& ControlNet::at(int i, int j) const {
  if (i < 0 || i >= nU_ || j < 0 || j >= nV_)
    throw std::out_of_range("Control point index out of range");
  return (*this)(i, j);
}

std::vector<std::vector<Point3D>> ControlNet::rows() const {
  std::vector<std::vector<Point3D>> result(nU_);
  for (int i = 0; i < nU_; ++i) {
    const auto first = points_.begin() + static_cast<std::ptrdiff_t>(i) * nV_;
    result[i].assign(first, first + nV_);
  }
  return result;
}

ControlNet ControlNet::transposed() const {
  ControlNet result(nV_, nU_);
  for (int i = 0; i < nU_; ++i) {
    for (int j = 0; j < nV_; ++j)
      result(j, i) = (*this)(i, j);
  }
  return result;
}

ControlNet ControlNet::reversedU() const {
  ControlNet result(nU_, nV_);
  for (int i = 0; i < nU_; ++i) {
    for (int j = 0; j < nV_; ++j)
      result(nU_ - 1 - i, j) = (*this)(i, j);
  }
  return result;
}

ControlNet ControlNet::reversedV() const {
  ControlNet result(nU_, nV_);
  for (int i = 0; i < nU_; ++i) {
    for (int j = 0; j < nV_; ++j)
      result(i, nV_ - 1 - j) = (*this)(i, j);
  }
  return result;
}

bool ControlNet::isFinite() const {
  return std::all_of(points_.begin(), points_.end(),
                     [](const Point3D& point) { return point.isFinite(); });
}

}  // namespace trova::geometry
