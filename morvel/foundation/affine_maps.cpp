#include "morvel/foundation/affine_maps.h"

#include <stdexcept>

namespace trova::foundation {
namespace {

constexpr double kSimilarityTolerance = 1e-9;  // relative

bool isFinite(const Transform3D& transform) {
  return transform.getMatrix().topRows<3>().allFinite();
}

}  // namespace

std::optional<double> similarityRatio(const Transform3D& transform) {
  const Eigen::Matrix3d linear = transform.getMatrix().topLeftCorner<3, 3>();
  const double ratio = linear.col(0).stableNorm();
  if (!(ratio > 0.0) || !isFinite(transform)) return std::nullopt;
  const Eigen::Matrix3d unscaled = linear / ratio;
  const double error =
      (unscaled.transpose() * unscaled - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff();
  return error <= kSimilarityTolerance ? std::optional(ratio) : std::nullopt;
}

void requireFinite(const Transform3D& transform) {
  if (!isFinite(transform)) throw std::invalid_argument("Transform must be finite");
}

}  // namespace trova::foundation
