#include "morvel/query/projection_records.h"

#include <algorithm>
#include <numeric>

namespace trova::projection {

bool ProjectionReport::succeeded() const { return pieceCount() > 0; }

std::size_t ProjectionReport::pieceCount() const {
  return std::accumulate(outcomes.begin(), outcomes.end(), std::size_t{0},
                         [](std::size_t sum, const ProjectionOutcome& outcome) {
                           return sum + outcome.pieces.size();
                         });
}

ProjectionQuality ProjectionReport::quality() const {
  ProjectionQuality all;
  double deviations = 0.0;
  bool isFirst = true;
  for (const ProjectionOutcome& outcome : outcomes) {
    for (const ProjectionResult& piece : outcome.pieces) {
      const ProjectionQuality& one = piece.quality;
      all.max_deviation = std::max(all.max_deviation, one.max_deviation);
      all.max_fit_deviation = std::max(all.max_fit_deviation, one.max_fit_deviation);
      all.max_distance = std::max(all.max_distance, one.max_distance);
      all.quality_score =
          isFirst ? one.quality_score : std::min(all.quality_score, one.quality_score);
      all.sample_count += one.sample_count;
      all.iterations += one.iterations;
      deviations += one.mean_deviation * one.sample_count;
      isFirst = false;
    }
  }
  if (all.sample_count > 0) all.mean_deviation = deviations / all.sample_count;
  return all;
}

}  // namespace trova::projection
