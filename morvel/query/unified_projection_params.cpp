#include "morvel/query/unified_projection_params.h"

#include <array>
#include <utility>

#include "morvel/foundation/vector.h"

namespace trova::projection {
namespace {

constexpr double kShortestDirection = 1e-12;
constexpr std::int32_t kFewestSamples = 5;

template <class Value, std::size_t Size>
using Texts = std::array<std::pair<std::string_view, Value>, Size>;

constexpr Texts<ProjectionType, 4> kTypes{{{"view", ProjectionType::View},
                                           {"surface_normal", ProjectionType::SurfaceNormal},
                                           {"closest_point", ProjectionType::ClosestPoint},
                                           {"custom_vector", ProjectionType::CustomVector}}};
constexpr Texts<ProjectionResultType, 3> kResults{
    {{"curve_on_surface", ProjectionResultType::CurveOnSurface},
     {"3d_curve", ProjectionResultType::Curve3D},
     {"both", ProjectionResultType::Both}}};
constexpr Texts<ProjectionFitting, 3> kFittings{{{"loose", ProjectionFitting::Loose},
                                                 {"tight", ProjectionFitting::Tight},
                                                 {"adaptive", ProjectionFitting::Adaptive}}};
constexpr Texts<MultipleIntersections, 3> kMultiples{
    {{"nearest", MultipleIntersections::Nearest},
     {"all", MultipleIntersections::All},
     {"user_select", MultipleIntersections::UserSelect}}};

template <class Value, std::size_t Size>
Value valueOf(const Texts<Value, Size>& texts, std::string_view text, Value otherwise) {
  for (const auto& [name, value] : texts) {
    if (name == text) return value;
  }
  return otherwise;
}

template <class Value, std::size_t Size>
std::string textOf(const Texts<Value, Size>& texts, Value value, Value otherwise) {
  std::string_view fallback;
  for (const auto& [name, known] : texts) {
    if (known == value) return std::string(name);
    if (known == otherwise) fallback = name;
  }
  return std::string(fallback);
}

}  // namespace

bool UnifiedProjectionParams::validate() const {
  if (!(tolerance > 0.0) || sample_count < kFewestSamples) return false;
  if (projection_type != ProjectionType::CustomVector) return true;
  // The largest coordinate keeps long directions from overflowing.
  const Eigen::Vector3d along = direction.eigen();
  return along.allFinite() &&
         (along.cwiseAbs().maxCoeff() >= kShortestDirection || along.norm() >= kShortestDirection);
}

namespace utils {

ProjectionType string_to_projection_type(std::string_view text) {
  return valueOf(kTypes, text, ProjectionType::ClosestPoint);
}

std::string projection_type_to_string(ProjectionType type) {
  return textOf(kTypes, type, ProjectionType::ClosestPoint);
}

ProjectionResultType string_to_result_type(std::string_view text) {
  return valueOf(kResults, text, ProjectionResultType::CurveOnSurface);
}

std::string result_type_to_string(ProjectionResultType type) {
  return textOf(kResults, type, ProjectionResultType::CurveOnSurface);
}

ProjectionFitting string_to_fitting_method(std::string_view text) {
  return valueOf(kFittings, text, ProjectionFitting::Loose);
}

std::string fitting_method_to_string(ProjectionFitting method) {
  return textOf(kFittings, method, ProjectionFitting::Loose);
}

MultipleIntersections string_to_multiple_intersections(std::string_view text,
                                                       MultipleIntersections otherwise) {
  return valueOf(kMultiples, text, otherwise);
}

}  // namespace utils

}  // namespace trova::projection
