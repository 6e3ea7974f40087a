#pragma once

#include <vector>

#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"

namespace trova::geometry {

/// A rectangular net of control points in one block of memory: nU rows of nV points, u outer, so
/// that point (i, j) has the flat index i * nV + j.
class MORVEL_API ControlNet {
 public:
  ControlNet() = default;
  /// All points at the origin. @throws std::length_error where a count is negative or the net would
  /// hold more than 2^31 - 1 doubles
  ControlNet(int nU, int nV);
  /// @throws std::invalid_argument "Control net rows must have equal lengths"
  explicit ControlNet(const std::vector<std::vector<foundation::Point3D>>& rows);
  /// From nU * nV points of three doubles each, u outer.
  ControlNet(int nU, int nV, const double* coordinates);

  int uCount() const { return nU_; }
  int vCount() const { return nV_; }
  bool isEmpty() const { return points_.empty(); }

  const foundation::Point3D& operator()(int i, int j) const { return points_[index(i, j)]; }
  foundation::Point3D& operator()(int i, int j) { return points_[index(i, j)]; }
  /// @throws std::out_of_range
  const foundation::Point3D& at(int i, int j) const;

  const std::vector<foundation::Point3D>& points() const { return points_; }
  /// The coordinates x, y, z of all points, u outer; null for an empty net.
  const double* data() const { return isEmpty() ? nullptr : points_.front().eigen().data(); }
  std::vector<std::vector<foundation::Point3D>> rows() const;
  ControlNet transposed() const;
  ControlNet reversedU() const;  ///< the rows in reverse order
  ControlNet reversedV() const;  ///< every row in reverse order
  bool isFinite() const;

 private:
  std::size_t index(int i, int j) const {
    return static_cast<std::size_t>(i) * static_cast<std::size_t>(nV_) +
           static_cast<std::size_t>(j);
  }

  int nU_ = 0;
  int nV_ = 0;
  std::vector<foundation::Point3D> points_;
};

}  // namespace trova::geometry
