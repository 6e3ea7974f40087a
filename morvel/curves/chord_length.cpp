#include "morvel/curves/chord_length.h"

namespace trova::geometry {

std::vector<double> cumulativeChordLengths(std::span<const foundation::Point3D> points) {
  std::vector<double> lengths(points.size(), 0.0);
  for (std::size_t k = 1; k < points.size(); ++k)
    lengths[k] = lengths[k - 1] + points[k].distanceTo(points[k - 1]);
  return lengths;
}

}  // namespace trova::geometry
