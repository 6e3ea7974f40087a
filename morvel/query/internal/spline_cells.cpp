#include <algorithm>
#include <cmath>
#include <cstdint>
#include <typeinfo>

#include "morvel/query/internal/surface_cell.h"
#include "morvel/surfaces/bezier_surface.h"
#include "morvel/surfaces/bspline_surface.h"
#include "morvel/surfaces/nurbs_surface.h"

namespace trova::projection::internal {
namespace {

using geometry::ControlNet;
using geometry::ParameterDomain;

constexpr int kMostHalvings = 12;
/// A surface has this many cells at least, however flat: a far point may have several nearest
/// points on a large one.
constexpr int kFewestCells = 256;

/// More patches than this would need more memory than their surface is worth; such a surface is
/// sampled.
constexpr std::int64_t kMostPatches = 1 << 20;
/// The cutting costs the cube of the degree for each patch.
constexpr int kHighestDegree = 29;

/// The knots of the clamped uniform basis over [0, 1], by index.
double uniformKnot(int k, int degree, int spans) {
  return double(std::clamp(k - degree, 0, spans)) / spans;
}

// Row i of the result: the i-th Bezier point of a span in terms of the degree + 1 control points
// that the span uses. It is the polar value at (degree - i) times the span's start and i times its
// end (Ramshaw, Blossoms are polar forms, 1989), by de Boor's triangle.
std::vector<double> bezierRows(int span, int degree, int spans) {
  const int width = degree + 1;
  std::vector<double> rows(std::size_t(width) * width);
  std::vector<double> triangle(std::size_t(width) * width);
  const double start = uniformKnot(span + degree, degree, spans);
  const double end = uniformKnot(span + degree + 1, degree, spans);
  for (int i = 0; i < width; ++i) {
    std::fill(triangle.begin(), triangle.end(), 0.0);
    for (int k = 0; k < width; ++k)
      triangle[std::size_t(k) * width + k] = 1.0;
    for (int level = 1; level <= degree; ++level) {
      const double at = level <= degree - i ? start : end;
      for (int k = degree; k >= level; --k) {
        const double low = uniformKnot(span + k, degree, spans);
        const double high = uniformKnot(span + k + width - level, degree, spans);
        const double share = (at - low) / (high - low);
        double* own = &triangle[std::size_t(k) * width];
        for (int x = 0; x < width; ++x)
          own[x] = (1.0 - share) * own[x - width] + share * own[x];
      }
    }
    std::copy_n(&triangle[std::size_t(degree) * width], width, &rows[std::size_t(i) * width]);
  }
  return rows;
}

// One direction of the net: a single Bezier piece, or spans on clamped uniform knots.
struct Direction {
  int degree;
  int spans;

  int width() const { return degree + 1; }
  std::vector<std::vector<double>> allBezierRows() const {
    std::vector<std::vector<double>> rows;
    rows.reserve(std::size_t(spans));
    for (int span = 0; span < spans; ++span)
      rows.push_back(bezierRows(span, degree, spans));
    return rows;
  }
};

using Point4 = Eigen::Vector4d;  // homogeneous; the weight is 1 for polynomial surfaces

Vector3d spatialOf(const Point4& point) { return point.head<3>() / point[3]; }

// The homogeneous Bezier points of one piece, widthU rows of widthV.
struct Piece {
  int widthU;
  int widthV;
  std::vector<Point4> points;

  const Point4& at(int i, int j) const { return points[std::size_t(i) * widthV + j]; }
  Point4& at(int i, int j) { return points[std::size_t(i) * widthV + j]; }
  Vector3d spatial(int i, int j) const { return spatialOf(at(i, j)); }
};

// Both halves in one direction, by de Casteljau's triangle.
template <bool InU>
std::pair<Piece, Piece> halves(const Piece& piece) {
  const int along = InU ? piece.widthU : piece.widthV;
  const int lines = InU ? piece.widthV : piece.widthU;
  Piece left = piece, right = piece;
  const auto in = [](Piece& of, int k, int line) -> Point4& {
    return InU ? of.at(k, line) : of.at(line, k);
  };
  for (int line = 0; line < lines; ++line) {
    for (int level = 1; level < along; ++level) {
      for (int k = 0; k < along - level; ++k)
        in(right, k, line) = (in(right, k, line) + in(right, k + 1, line)) / 2.0;
      in(left, level, line) = in(right, 0, line);
    }
  }
  return {std::move(left), std::move(right)};
}

class SplineCells {
 public:
  SplineCells(const geometry::Surface& surface, std::vector<SurfaceCell>& cells)
      : surface_(surface), cells_(cells) {}

  // At most `share` cells are made of this piece, and at least `fewest`.
  void append(const Piece& piece, const ParameterDomain& domain, int halvings, int share,
              int fewest) {
    takeHull(piece);
    const double inU = bend(piece, true);
    const double inV = bend(piece, false);
    const Vector3d corners[2][2] = {
        {piece.spatial(0, 0), piece.spatial(0, piece.widthV - 1)},
        {piece.spatial(piece.widthU - 1, 0), piece.spatial(piece.widthU - 1, piece.widthV - 1)}};
    const double lengthU =
        std::max((corners[1][0] - corners[0][0]).norm(), (corners[1][1] - corners[0][1]).norm());
    const double lengthV =
        std::max((corners[0][1] - corners[0][0]).norm(), (corners[1][1] - corners[1][0]).norm());
    const double twist = (corners[0][0] - corners[1][0] - corners[0][1] + corners[1][1]).norm() / 4;
    const bool isFlat = isFlatEnough(std::max({inU, inV, twist}), std::max(lengthU, lengthV));
    if (halvings == 0 || share < 2 || (isFlat && fewest < 2)) {
      appendCell(domain, corners);
      return;
    }
    const bool cutsU = isFlat ? lengthU > lengthV : inU > inV || (inU == inV && lengthU > lengthV);
    const auto [first, second] = cutsU ? halves<true>(piece) : halves<false>(piece);
    ParameterDomain before = domain, behind = domain;
    if (cutsU)
      before.uMax = behind.uMin = (domain.uMin + domain.uMax) / 2;
    else
      before.vMax = behind.vMin = (domain.vMin + domain.vMax) / 2;
    append(first, before, halvings - 1, share / 2, fewest / 2);
    append(second, behind, halvings - 1, share / 2, fewest / 2);
  }

 private:
  void takeHull(const Piece& piece) {
    hull_.clear();
    for (const Point4& point : piece.points)
      hull_.push_back(spatialOf(point));
  }

  // The largest distance of control points from evenly spaced ones on the chord of their line.
  double bend(const Piece& piece, bool inU) const {
    const int along = (inU ? piece.widthU : piece.widthV) - 1;
    const int lines = inU ? piece.widthV : piece.widthU;
    const auto at = [&](int line, int k) -> const Vector3d& {
      return hull_[inU ? std::size_t(k) * piece.widthV + line
                       : std::size_t(line) * piece.widthV + k];
    };
    double largest = 0.0;
    for (int line = 0; line < lines; ++line) {
      const Vector3d& a = at(line, 0);
      const Vector3d& b = at(line, along);
      for (int k = 1; k < along; ++k)
        largest = std::max(largest, (at(line, k) - a - (b - a) * (double(k) / along)).norm());
    }
    return largest;
  }

  void appendCell(const ParameterDomain& domain, const Vector3d (&corners)[2][2]) {
    const Vector3d middle =
        surface_.evaluate((domain.uMin + domain.uMax) / 2, (domain.vMin + domain.vMax) / 2).eigen();
    cells_.push_back(cellOf(
        domain,
        {hull_, {{corners[0][0], corners[0][1]}, {corners[1][0], corners[1][1]}}, middle, 0.0}));
  }

  const geometry::Surface& surface_;
  std::vector<SurfaceCell>& cells_;
  std::vector<Vector3d> hull_;
};

// A net with its weights, as a tensor product on clamped uniform knots (of one span: Bezier).
class WeightedNet {
 public:
  WeightedNet(const ControlNet& net, Direction u, Direction v) : net_(net), u_(u), v_(v) {}
  void setWeights(const geometry::NurbsSurface::Weights* weights) { weights_ = weights; }

  bool isBounded() const {
    return u_.degree >= 1 && v_.degree >= 1 && u_.degree <= kHighestDegree &&
           v_.degree <= kHighestDegree && u_.spans >= 1 && v_.spans >= 1 &&
           std::int64_t(u_.spans) * v_.spans <= kMostPatches && net_.isFinite() &&
           weightsArePositive();
  }

  void appendTo(const geometry::Surface& surface, std::vector<SurfaceCell>& cells) const {
    const auto rowsU = u_.allBezierRows();
    const auto rowsV = v_.allBezierRows();
    SplineCells maker(surface, cells);
    const std::int64_t pieces = std::int64_t(u_.spans) * v_.spans;
    const int share = int(kMostCells / pieces);
    const int fewest = int(kFewestCells / pieces);
    for (int i = 0; i < u_.spans; ++i) {
      for (int j = 0; j < v_.spans; ++j)
        maker.append(pieceAt(i, j, rowsU[i], rowsV[j]),
                     {double(i) / u_.spans, double(i + 1) / u_.spans, double(j) / v_.spans,
                      double(j + 1) / v_.spans},
                     kMostHalvings, share, fewest);
    }
  }

 private:
  bool weightsArePositive() const {
    if (!weights_) return true;
    if (weights_->size() != std::size_t(net_.uCount())) return false;
    for (const std::vector<double>& row : *weights_) {
      if (row.size() != std::size_t(net_.vCount())) return false;
      for (const double w : row)
        if (!(w > 0.0 && std::isfinite(w))) return false;
    }
    return true;
  }

  Point4 homogeneous(int i, int j) const {
    const double w = weights_ ? (*weights_)[i][j] : 1.0;
    Point4 point;
    point << w * net_(i, j).eigen(), w;
    return point;
  }

  Piece pieceAt(int spanU, int spanV, const std::vector<double>& rowsU,
                const std::vector<double>& rowsV) const {
    Piece piece{u_.width(), v_.width(), {}};
    piece.points.assign(std::size_t(u_.width()) * v_.width(), Point4::Zero());
    for (int k = 0; k < u_.width(); ++k) {
      for (int j = 0; j < v_.width(); ++j) {
        Point4 sum = Point4::Zero();
        for (int l = 0; l < v_.width(); ++l)
          sum += rowsV[std::size_t(j) * v_.width() + l] * homogeneous(spanU + k, spanV + l);
        for (int i = 0; i < u_.width(); ++i)
          piece.at(i, j) += rowsU[std::size_t(i) * u_.width() + k] * sum;
      }
    }
    return piece;
  }

  const ControlNet& net_;
  Direction u_;
  Direction v_;
  const geometry::NurbsSurface::Weights* weights_ = nullptr;
};

WeightedNet netOf(const geometry::SplineSurface& surface) {
  const ControlNet& net = surface.controlNet();
  const int p = surface.getUDegree();
  const int q = surface.getVDegree();
  return {net, {p, net.uCount() - p}, {q, net.vCount() - q}};
}

}  // namespace

bool appendSplineCells(const geometry::Surface& surface, std::vector<SurfaceCell>& cells) {
  // A class derived from these may evaluate in its own way.
  const auto appendNet = [&](const WeightedNet& net) {
    if (!net.isBounded()) return false;
    net.appendTo(surface, cells);
    return true;
  };
  if (typeid(surface) == typeid(geometry::BSplineSurface))
    return appendNet(netOf(static_cast<const geometry::BSplineSurface&>(surface)));
  if (typeid(surface) == typeid(geometry::NurbsSurface)) {
    const auto& rational = static_cast<const geometry::NurbsSurface&>(surface);
    WeightedNet net = netOf(rational);
    net.setWeights(&rational.getWeights());
    return appendNet(net);
  }
  if (typeid(surface) != typeid(geometry::BezierSurface)) return false;
  const ControlNet& net = static_cast<const geometry::BezierSurface&>(surface).controlNet();
  return appendNet({net, {net.uCount() - 1, 1}, {net.vCount() - 1, 1}});
}

}  // namespace trova::projection::internal
