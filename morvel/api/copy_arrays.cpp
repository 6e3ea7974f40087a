#include "morvel/api/copy_arrays.h"

#include "morvel/api/exception_guard.h"
#include "morvel/foundation/quad.h"
#include "morvel/foundation/wide_registers.h"

namespace trova_internal {

using trova::foundation::checkedCount;
using trova::foundation::kQuad;
using trova::foundation::load;
using trova::foundation::Point3D;
using trova::foundation::Quad;
using trova::foundation::Transform3D;
using trova::geometry::ControlNet;

namespace {

using RowMajorMatrix = Eigen::Matrix<double, 4, 4, Eigen::RowMajor>;

// A product with zero is zero, or NaN where the value is not finite; the sums keep a NaN. Several
// sums, so that none waits for another.
[[gnu::always_inline]] inline bool allFiniteOf(const double* values, std::int64_t count) {
  constexpr int kSums = 4;
  constexpr std::int64_t kBlock = kSums * kQuad;
  Quad sums[kSums] = {};
  std::int64_t i = 0;
  for (; i + kBlock <= count; i += kBlock) {
    for (int k = 0; k < kSums; ++k) {
      Quad some;
      load(values + i + k * kQuad, some);
      sums[k] += 0.0 * some;
    }
  }
  const Quad sum = (sums[0] + sums[1]) + (sums[2] + sums[3]);
  double rest = (sum[0] + sum[1]) + (sum[2] + sum[3]);
  for (; i < count; ++i)
    rest += 0.0 * values[i];
  return rest == 0.0;
}

MORVEL_WIDE bool wideAllFinite(const double* values, std::int64_t count) {
  return allFiniteOf(values, count);
}

void requireFinite(const double* values, std::int64_t count, const char* message) {
  if (!allFinite(values, count)) throw std::invalid_argument(message);
}

}  // namespace

bool allFinite(const double* values, std::int64_t count) {
  return trova::foundation::usesWideRegisters ? wideAllFinite(values, count)
                                              : allFiniteOf(values, count);
}

bool countsFit(std::initializer_list<std::int64_t> factors) noexcept {
  return guarded(false, FailureTexts{.keepsText = false}, [&] {
    static_cast<void>(checkedCount(factors));
    return true;
  });
}

std::vector<Point3D> copyPoints(const double* points, int count) {
  requireFinite(points, checkedCount({count, kDoublesPerPoint}), "Coordinates must be finite");
  std::vector<Point3D> copied;
  copied.reserve(static_cast<std::size_t>(count));
  for (std::int64_t i = 0; i < count; ++i)
    copied.push_back(readPoint(points + kDoublesPerPoint * i));
  return copied;
}

std::vector<double> copyValues(const double* values, int count) {
  requireFinite(values, checkedCount({count}), "Values must be finite");
  return {values, values + count};
}

ControlNet copyNet(const double* points, int nU, int nV, NetOrder order) {
  requireFinite(points, checkedCount({nU, nV, kDoublesPerPoint}), "Coordinates must be finite");
  ControlNet net(nU, nV);
  const std::int64_t uStep = order == NetOrder::UOuter ? nV : 1;
  const std::int64_t vStep = order == NetOrder::UOuter ? 1 : nU;
  for (int i = 0; i < nU; ++i)
    for (int j = 0; j < nV; ++j)
      net(i, j) = readPoint(points + kDoublesPerPoint * (i * uStep + j * vStep));
  return net;
}

Transform3D readTransform(const double* m) {
  return Transform3D(Eigen::Map<const RowMajorMatrix>(m));
}

void writeTransform(const Transform3D& transform, double* out) {
  Eigen::Map<RowMajorMatrix> rows(out);
  rows = transform.getMatrix();
}

void writePoints(std::span<const Point3D> points, double* out) {
  for (const Point3D& point : points) {
    writeTriple(point, out);
    out += kDoublesPerPoint;
  }
}

bool isNonDecreasing(const double* knots, int count) {
  return std::is_sorted(knots, knots + count);
}

}  // namespace trova_internal
