#include "morvel/nsided/internal/thin_plate_kernel.h"

#include <bit>
#include <cstdint>
#include <numbers>

#include "morvel/foundation/quad.h"
#include "morvel/foundation/wide_registers.h"

namespace trova::geometry::internal {
namespace {

using foundation::kQuad;
using foundation::load;
using foundation::Point2D;
using foundation::Quad;
using foundation::storeAll;
using QuadBits = std::uint64_t __attribute__((vector_size(kQuad * sizeof(std::uint64_t))));

constexpr double kSmallestSquare = kSmallestRadius * kSmallestRadius;
constexpr int kMantissaBits = 52;
constexpr std::uint64_t kMantissaMask = (std::uint64_t(1) << kMantissaBits) - 1;
constexpr std::uint64_t kOneBits = std::bit_cast<std::uint64_t>(1.0);
constexpr std::uint64_t kRootBits = std::bit_cast<std::uint64_t>(std::numbers::sqrt2 / 2.0);
// A whole number below 2^52 in the mantissa of 2^52: subtracting 2^52 makes it a double.
constexpr double kTwo52 = 4503599627370496.0;
constexpr std::uint64_t kTwo52Bits = std::bit_cast<std::uint64_t>(kTwo52);
constexpr double kExponentBias = 1023.0;
// ln 2 in two parts: the first has so few digits that its products with exponents are exact.
constexpr double kLn2High = 0x1.62e42fefap-1;
constexpr double kLn2Low = 0x1.cf79abc9e3b3ap-40;

/// ln x for x > 0: x = 2^k z with z near 1, and ln z = 2 (s + s^3/3 + s^5/5 + ...) with
/// s = (z - 1) / (z + 1), |s| < 0.172; what is left out is below the rounding.
[[gnu::always_inline]] inline void naturalLog(const Quad& x, Quad& result) {
  const QuadBits shifted = (QuadBits)x + (kOneBits - kRootBits);
  const Quad k = (Quad)((shifted >> kMantissaBits) | kTwo52Bits) - (kTwo52 + kExponentBias);
  const Quad z = (Quad)((shifted & kMantissaMask) + kRootBits);
  const Quad s = (z - 1.0) / (z + 1.0);
  const Quad t = s * s;
  Quad series = t * (1.0 / 19) + 1.0 / 17;
  series = series * t + 1.0 / 15;
  series = series * t + 1.0 / 13;
  series = series * t + 1.0 / 11;
  series = series * t + 1.0 / 9;
  series = series * t + 1.0 / 7;
  series = series * t + 1.0 / 5;
  series = series * t + 1.0 / 3;
  const Quad twice = s + s;
  result = k * kLn2High + (twice + (k * kLn2Low + twice * (t * series)));
}

/// What one pack of offsets adds, over the factors that the kernel and its derivatives share.
struct KernelPack {
  Quad square;  // r^2, 1 where r counts as 0
  Quad log;     // ln r^2
  Quad mask;    // 0 where r counts as 0, else 1
};

[[gnu::always_inline]] inline void kernelPack(const Quad& du, const Quad& dv, KernelPack& pack) {
  const Quad square = du * du + dv * dv;
  const Quad one = {1.0, 1.0, 1.0, 1.0};
  const Quad zero = {0.0, 0.0, 0.0, 0.0};
  const auto isZero = square < kSmallestSquare;
  pack.square = isZero ? one : square;
  pack.mask = isZero ? zero : one;
  naturalLog(pack.square, pack.log);
}

/// The columns of a sum, and where its packs are added up.
struct SumColumns {
  const double* u;
  const double* v;
  const double* weights;
  std::size_t count;
};

constexpr int kSumCount = 6;

template <int Order>
[[gnu::always_inline]] inline void addUp(const SumColumns& columns, double u, double v,
                                         Quad* sums) {
  for (std::size_t j = 0; j < columns.count; j += kQuad) {
    Quad du, dv, weight;
    load(columns.u + j, du);
    load(columns.v + j, dv);
    load(columns.weights + j, weight);
    du = u - du;
    dv = v - dv;
    KernelPack pack;
    kernelPack(du, dv, pack);
    sums[0] += weight * (0.5 * pack.square * pack.log);
    if constexpr (Order >= 1) {
      const Quad slope = weight * pack.mask * (pack.log + 1.0);  // w phi'(r) / r
      sums[1] += slope * du;
      sums[2] += slope * dv;
      if constexpr (Order >= 2) {
        const Quad bend = weight * pack.mask * (2.0 / pack.square);  // w (phi'' - phi' / r) / r^2
        sums[3] += slope + bend * (du * du);
        sums[4] += bend * (du * dv);
        sums[5] += slope + bend * (dv * dv);
      }
    }
  }
}

template <int Order>
void addUpNarrow(const SumColumns& columns, double u, double v, Quad* sums) {
  addUp<Order>(columns, u, v, sums);
}

template <int Order>
MORVEL_WIDE void addUpWide(const SumColumns& columns, double u, double v, Quad* sums) {
  addUp<Order>(columns, u, v, sums);
}

template <int Order>
ThinPlateSums summed(const SumColumns& columns, double u, double v) {
  Quad packs[kSumCount] = {};
  if (foundation::usesWideRegisters)
    addUpWide<Order>(columns, u, v, packs);
  else
    addUpNarrow<Order>(columns, u, v, packs);
  double lanes[kSumCount];
  for (int k = 0; k < kSumCount; ++k)
    lanes[k] = (packs[k][0] + packs[k][1]) + (packs[k][2] + packs[k][3]);
  return {lanes[0], lanes[1], lanes[2], lanes[3], lanes[4], lanes[5]};
}

[[gnu::always_inline]] inline void kernelColumn(const SumColumns& columns, double u, double v,
                                                double* out) {
  for (std::size_t j = 0; j < columns.count; j += kQuad) {
    Quad du, dv;
    load(columns.u + j, du);
    load(columns.v + j, dv);
    KernelPack pack;
    kernelPack(u - du, v - dv, pack);
    storeAll(0.5 * pack.square * pack.log, out + j);
  }
}

void kernelColumnNarrow(const SumColumns& columns, double u, double v, double* out) {
  kernelColumn(columns, u, v, out);
}

MORVEL_WIDE void kernelColumnWide(const SumColumns& columns, double u, double v, double* out) {
  kernelColumn(columns, u, v, out);
}

std::size_t paddedCount(std::size_t count) { return (count + kQuad - 1) / kQuad * kQuad; }

}  // namespace

ThinPlateSum::ThinPlateSum(const std::vector<Point2D>& centers, const Eigen::VectorXd& weights)
    : u_(paddedCount(centers.size()), 0.0), v_(u_.size(), 0.0), weights_(u_.size(), 0.0) {
  for (std::size_t j = 0; j < centers.size(); ++j) {
    u_[j] = centers[j].x();
    v_[j] = centers[j].y();
    weights_[j] = weights[static_cast<Eigen::Index>(j)];
  }
}

ThinPlateSums ThinPlateSum::at(double u, double v, int order) const {
  const SumColumns columns{u_.data(), v_.data(), weights_.data(), u_.size()};
  if (order <= 0) return summed<0>(columns, u, v);
  return order == 1 ? summed<1>(columns, u, v) : summed<2>(columns, u, v);
}

Eigen::MatrixXd thinPlateMatrix(const std::vector<Point2D>& centers) {
  std::vector<double> us(paddedCount(centers.size()), 0.0);
  std::vector<double> vs(us.size(), 0.0);
  for (std::size_t j = 0; j < centers.size(); ++j) {
    us[j] = centers[j].x();
    vs[j] = centers[j].y();
  }
  const SumColumns columns{us.data(), vs.data(), nullptr, us.size()};
  const auto size = static_cast<Eigen::Index>(centers.size());
  Eigen::MatrixXd matrix(size, size);
  std::vector<double> column(us.size());
  for (Eigen::Index i = 0; i < size; ++i) {
    if (foundation::usesWideRegisters)
      kernelColumnWide(columns, us[i], vs[i], column.data());
    else
      kernelColumnNarrow(columns, us[i], vs[i], column.data());
    matrix.col(i) = Eigen::Map<const Eigen::VectorXd>(column.data(), size);
  }
  return matrix;
}

ThinPlateSums thinPlateAt(double du, double dv) {
  const double u[kQuad] = {};
  const double v[kQuad] = {};
  const double weights[kQuad] = {1.0};
  return summed<2>({u, v, weights, kQuad}, du, dv);
}

}  // namespace trova::geometry::internal
