// How points are given parameters: the methods of GeometricCore::parameterize_points.

#include <algorithm>
#include <cmath>
#include <numbers>

#include "morvel/curves/chord_length.h"
#include "morvel/fitting/geometric_core.h"
#include "morvel/foundation/principal_axes.h"
#include "morvel/foundation/status_line.h"

namespace trova::geometry::GeometricCore {
namespace {

namespace status = foundation::status;
using foundation::PrincipalAxes;

constexpr double kSmallestExtent = 1e-12;      // model units, or radians
constexpr double kSmallestInterval = 1e-12;    // of neighbouring parameters that are compared
constexpr double kVeryUnevenSpacing = 100.0;   // the ratio of neighbouring intervals
constexpr double kSmallestEigenvalue = 1e-12;  // squared model units
constexpr double kVeryPlanarRatio = 0.01;
constexpr double kPlanarRatio = 0.2;
constexpr double kCircularRatio = 0.6;
constexpr double kLinearRatio = 0.3;
constexpr std::size_t kFewestForPlane = 3;

std::vector<double> uniformParameters(std::size_t count) {
  std::vector<double> params(count);
  for (std::size_t i = 0; i < count; ++i)
    params[i] = double(i) / double(count - 1);
  return params;
}

// From cumulated lengths to [0, 1], in place.
std::vector<double> overTotal(std::vector<double> lengths) {
  const double total = lengths.back();
  if (!(total > kSmallestExtent) || !std::isfinite(total)) return uniformParameters(lengths.size());
  for (double& length : lengths)
    length /= total;
  return lengths;
}

std::vector<double> chordLength(const std::vector<Point3D>& points) {
  return overTotal(cumulativeChordLengths(points));
}

std::vector<double> centripetal(const std::vector<Point3D>& points) {
  std::vector<double> lengths(points.size(), 0.0);
  for (std::size_t i = 1; i < points.size(); ++i)
    lengths[i] = lengths[i - 1] + std::sqrt(points[i].distanceTo(points[i - 1]));
  return overTotal(std::move(lengths));
}

double largestSpacingRatio(const std::vector<double>& params) {
  double largest = 1.0;
  for (std::size_t i = 2; i < params.size(); ++i) {
    const double a = params[i - 1] - params[i - 2], b = params[i] - params[i - 1];
    if (a > kSmallestInterval && b > kSmallestInterval) largest = std::max({largest, a / b, b / a});
  }
  return largest;
}

std::vector<double> adaptive(const std::vector<Point3D>& points) {
  std::vector<double> params = chordLength(points);
  return largestSpacingRatio(params) > kVeryUnevenSpacing ? centripetal(points) : params;
}

// Over the range, oriented so that the last value does not come before the first.
std::vector<double> overRange(std::vector<double> values) {
  const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
  const double low = *least, high = *greatest, range = high - low;
  if (!(range > kSmallestExtent) || !std::isfinite(range)) return uniformParameters(values.size());
  const bool isBackward = values.back() < values.front();
  for (double& value : values)
    value = (isBackward ? high - value : value - low) / range;
  return values;
}

std::vector<double> lineProjection(const std::vector<Point3D>& points, const PrincipalAxes& axes) {
  std::vector<double> places;
  places.reserve(points.size());
  for (const Point3D& point : points)
    places.push_back((point - axes.centroid).dot(axes.axes[2]));
  return overRange(std::move(places));
}

// Steps of more than half a turn are taken the other way round.
void unwrap(std::vector<double>& angles) {
  constexpr double kFullTurn = 2.0 * std::numbers::pi;
  double turns = 0.0;
  double before = angles.front();
  for (double& angle : angles) {
    const double step = angle - before;
    before = angle;
    if (step > std::numbers::pi) turns -= kFullTurn;
    if (step < -std::numbers::pi) turns += kFullTurn;
    angle += turns;
  }
}

std::vector<double> circularArc(const std::vector<Point3D>& points, const PrincipalAxes& axes) {
  std::vector<double> angles;
  for (const Point3D& point : points) {
    const Vector3D arm = point - axes.centroid;
    const double angle = std::atan2(arm.dot(axes.axes[1]), arm.dot(axes.axes[2]));
    angles.push_back(angle < 0.0 ? angle + 2.0 * std::numbers::pi : angle);
  }
  unwrap(angles);
  return overRange(std::move(angles));
}

// What the spread of points says about their shape.
struct Spread {
  explicit Spread(const std::array<double, 3>& ev)
      : planarRatio(ev[1] > kSmallestEigenvalue ? ev[0] / ev[1] : 1.0),
        circularRatio(ev[2] > kSmallestEigenvalue ? ev[1] / ev[2] : 0.0) {}

  double planarRatio, circularRatio;
  bool isVeryPlanar = planarRatio < kVeryPlanarRatio;
  bool isPlanar = planarRatio < kPlanarRatio;
  bool isCircularDistribution = circularRatio > kCircularRatio;
  bool isLinearDistribution = circularRatio < kLinearRatio;
  bool isCircular = isVeryPlanar && isCircularDistribution;
  bool isFlatCurve = isPlanar && isLinearDistribution;
};

template <class... Parts>
void print(const Parts&... parts) {
  status::progress(status::Symbol::None, parts...);
}

void printAnalysis(const std::array<double, 3>& ev, const Spread& spread) {
  const auto answer = [](bool yes) { return yes ? "YES" : "NO"; };
  status::progress(status::Symbol::Check, "ADAPTIVE_AUTO GEOMETRIC ANALYSIS:");
  print("   Eigenvalues: ", ev[0], ", ", ev[1], ", ", ev[2]);
  print("   Planar ratio (ev1/ev2): ", spread.planarRatio);
  print("   Circular ratio (ev2/ev3): ", spread.circularRatio);
  print("   Is very planar: ", answer(spread.isVeryPlanar));
  print("   Is planar: ", answer(spread.isPlanar));
  print("   Is circular distribution: ", answer(spread.isCircularDistribution));
  print("   Is linear distribution: ", answer(spread.isLinearDistribution));
  print("   Is circular: ", answer(spread.isCircular));
  print("   Is flat curve: ", answer(spread.isFlatCurve));
}

void printDecision(const char* reason) {
  print("   ", status::symbolText(status::Symbol::Target), "DECISION: Using ", reason);
}

std::vector<double> bySpread(const std::vector<Point3D>& points, const PrincipalAxes& axes) {
  const Spread spread(axes.spread);
  printAnalysis(axes.spread, spread);
  if (spread.isCircular) {
    printDecision("CIRCULAR_ARC parameterization for smooth circles");
    return circularArc(points, axes);
  }
  if (spread.isFlatCurve) {
    printDecision("LINE_PROJECTION parameterization for flat curves");
    return lineProjection(points, axes);
  }
  printDecision("CENTRIPETAL parameterization for complex 3D geometry");
  return centripetal(points);
}

// Methods that rest on the axes; two points have no plane.
std::vector<double> byAxes(const std::vector<Point3D>& points, ParameterizationMethod method) {
  using enum ParameterizationMethod;
  if (method != LINE_PROJECTION && points.size() < kFewestForPlane)
    return uniformParameters(points.size());
  const auto axes = foundation::principalAxes(points);
  if (!axes)
    return method == ADAPTIVE_AUTO ? centripetal(points) : uniformParameters(points.size());
  if (method == LINE_PROJECTION) return lineProjection(points, *axes);
  return method == CIRCULAR_ARC ? circularArc(points, *axes) : bySpread(points, *axes);
}

}  // namespace

std::vector<double> parameterize_points(const std::vector<Point3D>& points,
                                        ParameterizationMethod method) {
  using enum ParameterizationMethod;
  if (points.size() < 2) return {};
  switch (method) {
    case UNIFORM:
      return uniformParameters(points.size());
    case CHORD_LENGTH:
      return chordLength(points);
    case CENTRIPETAL:
      return centripetal(points);
    case ADAPTIVE:
      return adaptive(points);
    case LINE_PROJECTION:
    case CIRCULAR_ARC:
    case ADAPTIVE_AUTO:
      return byAxes(points, method);
  }
  // By contract: no method, no parameters; the fit goes on with zeros.
  return std::vector<double>(points.size(), 0.0);
}

}  // namespace trova::geometry::GeometricCore
