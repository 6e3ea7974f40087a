#include "morvel/trimmed_surface/internal/classification_grid.h"

#include "morvel/trimmed_surface/internal/grid_builder.h"

namespace trova::geometry::trimmed_surface::internal {

ClassificationGrid::ClassificationGrid(const std::vector<SampledLoop>& loops, double tolerance) {
  GridBuilder(*this, loops, tolerance).build();
}

}  // namespace trova::geometry::trimmed_surface::internal
