#include "morvel/surfaces/analytic_surface.h"

namespace trova::geometry {
namespace {

constexpr int kRecommendedCount = 16;

}  // namespace

std::pair<int, int> AnalyticSurface::getRecommendedNurbsParameters() const {
  return {kRecommendedCount, kRecommendedCount};
}

}  // namespace trova::geometry
