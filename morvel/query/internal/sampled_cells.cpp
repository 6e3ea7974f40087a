#include <algorithm>
#include <array>

#include "morvel/query/internal/surface_cell.h"

namespace trova::projection::internal {
namespace {

using geometry::ParameterDomain;

constexpr int kFirstCells = 16;  // in either direction
/// Each takes many evaluations, which are slow on swept surfaces.
constexpr int kMostSampledCells = 1 << 12;
constexpr int kMostHalvings = 12;
constexpr int kSamples = 5;  // in either direction, of one cell
constexpr int kMiddle = kSamples / 2;
constexpr int kLast = kSamples - 1;
/// The box of the samples grows by this share of the deviation from a parallelogram. Between
/// samples a parabola leaves it by a sixteenth of that; the rest is for what is rougher.
constexpr double kMarginShare = 0.25;

double between(double low, double high, int k, int count) { return low + (high - low) * k / count; }

class SampledCells {
 public:
  SampledCells(const geometry::Surface& surface, std::vector<SurfaceCell>& cells)
      : surface_(surface), cells_(cells) {}

  // `share` of the cells may be made of this rectangle.
  void append(const ParameterDomain& domain, int halvings, int share) {
    sample(domain);
    const double inU = bend(kSamples, 1);
    const double inV = bend(1, kSamples);
    const double deviation = std::max({inU, inV, twist()});
    if (halvings == 0 || share < 2 || isFlatEnough(deviation, extent())) {
      cells_.push_back(cellOf(domain, cellPoints(deviation)));
      return;
    }
    ParameterDomain first = domain, second = domain;
    if (inU > inV || (inU == inV && spanOf(kLast, 0) > spanOf(0, kLast)))
      first.uMax = second.uMin = (domain.uMin + domain.uMax) / 2;
    else
      first.vMax = second.vMin = (domain.vMin + domain.vMax) / 2;
    append(first, halvings - 1, share / 2);
    append(second, halvings - 1, share / 2);
  }

 private:
  void sample(const ParameterDomain& d) {
    for (int i = 0; i < kSamples; ++i) {
      for (int j = 0; j < kSamples; ++j)
        points_[i * kSamples + j] =
            surface_.evaluate(between(d.uMin, d.uMax, i, kLast), between(d.vMin, d.vMax, j, kLast))
                .eigen();
    }
  }

  const Vector3d& at(int i, int j) const { return points_[i * kSamples + j]; }

  // The largest distance of samples from the chord, over the lines whose samples lie `along` apart
  // and which lie `across` apart themselves.
  double bend(int along, int across) const {
    double largest = 0.0;
    for (int line = 0; line < kSamples; ++line) {
      const Vector3d& a = points_[line * across];
      const Vector3d& b = points_[line * across + kLast * along];
      for (int k = 1; k < kLast; ++k) {
        const Vector3d chord = a + (b - a) * (double(k) / kLast);
        largest = std::max(largest, (points_[line * across + k * along] - chord).norm());
      }
    }
    return largest;
  }

  double twist() const {
    return (at(0, 0) - at(kLast, 0) - at(0, kLast) + at(kLast, kLast)).norm() / 4;
  }

  double spanOf(int i, int j) const {
    return std::max((at(i, j) - at(0, 0)).norm(),
                    (at(kLast, kLast) - at(kLast - i, kLast - j)).norm());
  }

  double extent() const { return std::max(spanOf(kLast, 0), spanOf(0, kLast)); }

  CellPoints cellPoints(double deviation) const {
    return {points_,
            {{at(0, 0), at(0, kLast)}, {at(kLast, 0), at(kLast, kLast)}},
            at(kMiddle, kMiddle),
            kMarginShare * deviation};
  }

  const geometry::Surface& surface_;
  std::vector<SurfaceCell>& cells_;
  std::array<Vector3d, kSamples * kSamples> points_;
};

}  // namespace

void appendSampledCells(const geometry::Surface& surface, std::vector<SurfaceCell>& cells) {
  const ParameterDomain all = surface.getParameterDomain();
  SampledCells maker(surface, cells);
  for (int i = 0; i < kFirstCells; ++i) {
    for (int j = 0; j < kFirstCells; ++j)
      maker.append({between(all.uMin, all.uMax, i, kFirstCells),
                    between(all.uMin, all.uMax, i + 1, kFirstCells),
                    between(all.vMin, all.vMax, j, kFirstCells),
                    between(all.vMin, all.vMax, j + 1, kFirstCells)},
                   kMostHalvings, kMostSampledCells / (kFirstCells * kFirstCells));
  }
}

}  // namespace trova::projection::internal
