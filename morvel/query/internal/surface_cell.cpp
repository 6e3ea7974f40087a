#include "morvel/query/internal/surface_cell.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace trova::projection::internal {
namespace {

/// A cell is left whole where it differs from a parallelogram by less than this share of its
/// extent: Newton's iteration starts well there, and the box is thin.
constexpr double kFlatShare = 0.06;

/// Boxes grow by this share of the coordinates, so that rounding never cuts a point off.
constexpr double kRoundingShare = 1e-14;

/// A side shorter than this share of the other one has no direction of its own.
constexpr double kShortShare = 1e-9;

Vector3d unitOr(const Vector3d& v, double shortest, const Vector3d& otherwise) {
  const double length = v.norm();
  return length > shortest ? Vector3d(v / length) : otherwise;
}

Vector3d anyPerpendicular(const Vector3d& unit) {
  return Vector3d(foundation::anyPerpendicular(foundation::Vector3D(unit)).eigen());
}

// An orthonormal frame from the two directions of a parallelogram, either of which may vanish.
void setFrame(const Vector3d& alongU, const Vector3d& alongV, SurfaceCell& cell) {
  const bool uIsLonger = alongU.squaredNorm() >= alongV.squaredNorm();
  const Vector3d& longer = uIsLonger ? alongU : alongV;
  const Vector3d& shorter = uIsLonger ? alongV : alongU;
  const double tiny = kShortShare * longer.norm();
  cell.axis[0] = unitOr(longer, 0.0, Vector3d::UnitX());
  const Vector3d across = shorter - cell.axis[0].dot(shorter) * cell.axis[0];
  cell.axis[1] = unitOr(across, tiny, anyPerpendicular(cell.axis[0]));
  cell.axis[2] =
      foundation::Vector3D(cell.axis[0]).cross(foundation::Vector3D(cell.axis[1])).eigen();
}

// The rows that give the parameters of the affine map middle + s alongU + t alongV back.
void setInverse(const Vector3d& alongU, const Vector3d& alongV, SurfaceCell& cell) {
  const double uu = alongU.squaredNorm();
  const double uv = alongU.dot(alongV);
  const double vv = alongV.squaredNorm();
  const double determinant = uu * vv - uv * uv;
  if (determinant > kShortShare * uu * vv) {
    cell.toU = (vv * alongU - uv * alongV) / determinant;
    cell.toV = (uu * alongV - uv * alongU) / determinant;
  } else {
    cell.toU = uu > vv ? Vector3d(alongU / uu) : Vector3d(Vector3d::Zero());
    cell.toV = vv >= uu && vv > 0.0 ? Vector3d(alongV / vv) : Vector3d(Vector3d::Zero());
  }
}

// Of one interval: the stretch of line parameters inside it is cut out of [from, to].
bool cutSlab(double low, double high, double origin, double slope, double& from, double& to) {
  if (slope == 0.0) return low <= origin && origin <= high;
  const double a = (low - origin) / slope;
  const double b = (high - origin) / slope;
  from = std::max(from, std::min(a, b));
  to = std::min(to, std::max(a, b));
  return from <= to;
}

double squaredOutside(double x, double low, double high) {
  const double outside = std::max({low - x, 0.0, x - high});
  return outside * outside;
}

}  // namespace

bool isFlatEnough(double deviation, double extent) { return !(deviation > kFlatShare * extent); }

bool SurfaceCell::contains(double u, double v) const {
  return u >= domain.uMin && u <= domain.uMax && v >= domain.vMin && v <= domain.vMax;
}

double SurfaceCell::uAt(double s) const {
  return domain.uMin + (domain.uMax - domain.uMin) * (s + 1.0) / 2;
}

double SurfaceCell::vAt(double t) const {
  return domain.vMin + (domain.vMax - domain.vMin) * (t + 1.0) / 2;
}

std::pair<double, double> SurfaceCell::startFor(const Vector3d& point) const {
  const Vector3d d = point - middle;
  double s = std::clamp(d.dot(toU), -1.0, 1.0);
  double t = std::clamp(d.dot(toV), -1.0, 1.0);
  const Vector3d below = ((1 - s) * ((1 - t) * corner[0][0] + (1 + t) * corner[0][1]) +
                          (1 + s) * ((1 - t) * corner[1][0] + (1 + t) * corner[1][1])) /
                         4.0;
  double least = (below - point).squaredNorm();
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 2; ++j) {
      const double square = (corner[i][j] - point).squaredNorm();
      if (!(square < least)) continue;
      least = square;
      s = 2 * i - 1.0;
      t = 2 * j - 1.0;
    }
  }
  return {uAt(s), vAt(t)};
}

double SurfaceCell::squaredDistance(const Vector3d& point) const {
  const Vector3d d = point - middle;
  double sum = 0.0;
  for (int k = 0; k < 3; ++k)
    sum += squaredOutside(d.dot(axis[k]), low[k], high[k]);
  return sum;
}

bool SurfaceCell::isMetBy(const Vector3d& point, const Vector3d& direction, double margin) const {
  const Vector3d d = point - middle;
  double from = -std::numeric_limits<double>::infinity();
  double to = std::numeric_limits<double>::infinity();
  for (int k = 0; k < 3; ++k) {
    if (!cutSlab(low[k] - margin, high[k] + margin, d.dot(axis[k]), direction.dot(axis[k]), from,
                 to))
      return false;
  }
  return true;
}

void AxisBox::add(const AxisBox& other) {
  low = low.cwiseMin(other.low);
  high = high.cwiseMax(other.high);
}

double AxisBox::squaredDistance(const Vector3d& point) const {
  return (low - point).cwiseMax(point - high).cwiseMax(0.0).squaredNorm();
}

bool AxisBox::isMetBy(const Vector3d& point, const Vector3d& direction, double margin) const {
  double from = -std::numeric_limits<double>::infinity();
  double to = std::numeric_limits<double>::infinity();
  for (int k = 0; k < 3; ++k) {
    if (!cutSlab(low[k] - margin, high[k] + margin, point[k], direction[k], from, to)) return false;
  }
  return true;
}

AxisBox axisBoxOf(const SurfaceCell& cell) {
  const Vector3d center = (cell.low + cell.high) / 2.0;
  const Vector3d half = (cell.high - cell.low) / 2.0;
  Vector3d middle = cell.middle;
  Vector3d reach = Vector3d::Zero();
  for (int k = 0; k < 3; ++k) {
    middle += center[k] * cell.axis[k];
    reach += half[k] * cell.axis[k].cwiseAbs();
  }
  reach += Vector3d::Constant(kRoundingShare * middle.cwiseAbs().maxCoeff());
  return {middle - reach, middle + reach};
}

SurfaceCell cellOf(const geometry::ParameterDomain& domain, const CellPoints& points) {
  SurfaceCell cell;
  cell.domain = domain;
  cell.middle = points.middle;
  const auto& c = points.corner;
  for (int i = 0; i < 2; ++i)
    for (int j = 0; j < 2; ++j)
      cell.corner[i][j] = c[i][j];
  const Vector3d alongU = (c[1][0] - c[0][0] + c[1][1] - c[0][1]) / 4.0;
  const Vector3d alongV = (c[0][1] - c[0][0] + c[1][1] - c[1][0]) / 4.0;
  setFrame(alongU, alongV, cell);
  setInverse(alongU, alongV, cell);
  cell.low = cell.high = Vector3d::Zero();
  double largest = points.middle.cwiseAbs().maxCoeff();
  for (const Vector3d& point : points.hull) {
    const Vector3d d = point - cell.middle;
    const Vector3d in(d.dot(cell.axis[0]), d.dot(cell.axis[1]), d.dot(cell.axis[2]));
    cell.low = cell.low.cwiseMin(in);
    cell.high = cell.high.cwiseMax(in);
    largest = std::max(largest, point.cwiseAbs().maxCoeff());
  }
  const Vector3d wider = Vector3d::Constant(points.margin + kRoundingShare * largest);
  cell.low -= wider;
  cell.high += wider;
  return cell;
}

std::vector<SurfaceCell> cellsOf(const geometry::Surface& surface) {
  std::vector<SurfaceCell> cells;
  if (!appendSplineCells(surface, cells)) appendSampledCells(surface, cells);
  const bool areFinite = std::all_of(cells.begin(), cells.end(), [](const SurfaceCell& cell) {
    return cell.middle.allFinite() && cell.low.allFinite() && cell.high.allFinite();
  });
  if (!areFinite) cells.clear();
  return cells;
}

}  // namespace trova::projection::internal
