// Curves fitted to points.

#include "morvel/api/c/curve_fitting.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "morvel/api/copy_arrays.h"
#include "morvel/api/exception_guard.h"
#include "morvel/api/internal/refusals.h"
#include "morvel/api/last_error.h"
#include "morvel/api/registries.h"
#include "morvel/fitting/bspline_fitting_engine.h"
#include "morvel/fitting/bspline_interpolation_engine.h"
#include "morvel/fitting/constrained_bspline_engine.h"
#include "morvel/fitting/global_interpolation.h"
#include "morvel/foundation/progress.h"
#include "morvel/foundation/status_line.h"

using namespace trova_internal;
namespace status = trova::foundation::status;
using status::Symbol;
using trova::foundation::Point3D;
using trova::foundation::progress::Stage;
using trova::geometry::BSplineCurve;
using trova::geometry::BSplineFittingEngine;
using trova::geometry::BSplineInterpolationEngine;
using trova::geometry::ConstrainedBSplineEngine;
using enum trova::geometry::GeometricCore::ParameterizationMethod;

namespace {

constexpr double kRepeatDistance = 1e-12;  // model units
constexpr std::size_t kFewestUniquePoints = 4;
constexpr double kVerifiedDistance = 1e-6;  // model units
constexpr int kHighestConstrainedDegree = 5;
constexpr double kCheckedParameters[] = {0.0, 0.5, 1.0};
constexpr int kNoCurve = -1;

constexpr const char* kNotFinite = "Fitted curve contains NaN values - curve fitting failed";

// Every failure is -1.
constexpr FailureTexts kFitting{.printed = "Curve fitting failed: "};
// A failure that something else is tried after.
constexpr FailureTexts kAttempt{.printed = "Curve fitting failed: ", .keepsText = false};

// Prints a refusal and stores it.
int refuseAloud(const std::string& text) {
  status::failure(text);
  return refuse(kBadArgument, text);
}

int checkInput(const double* points, int count, int degree) {
  if (!points || count < 2) return refuseAloud("Invalid input: need at least 2 points");
  if (degree < 1 || degree >= count)
    return refuseAloud("Invalid degree: must be 1 <= degree < num_points");
  return kSuccess;
}

bool isFiniteWhereChecked(const BSplineCurve& curve) {
  return std::all_of(std::begin(kCheckedParameters), std::end(kCheckedParameters),
                     [&](double t) { return curve.evaluate(t).isFinite(); });
}

int storeFitted(std::unique_ptr<BSplineCurve> curve, const char* label, Stage* stage = nullptr) {
  if (!isFiniteWhereChecked(*curve)) return refuseAloud(kNotFinite);
  if (stage) stage->finish();
  const int handle = storeCurve(std::move(curve));
  status::debug("curve operation: ", label, " ", handle);
  return handle;
}

// ---- least squares ------------------------------------------------------------------------------

std::vector<Point3D> withoutRepeats(const std::vector<Point3D>& points) {
  std::vector<Point3D> kept;
  for (const Point3D& point : points)
    if (kept.empty() || point.distanceTo(kept.back()) > kRepeatDistance) kept.push_back(point);
  const auto report = [](const auto&... parts) {
    status::progress(Symbol::None, "   ", status::symbolText(Symbol::Chart), parts...);
  };
  report("Original points: ", points.size());
  report("Filtered points: ", kept.size());
  report("Removed ", points.size() - kept.size(), " duplicate points");
  return kept;
}

// A handle, or -1 where something else is to be tried.
int tryToFit(const double* points, int count, int degree,
             trova::geometry::GeometricCore::ParameterizationMethod method, Stage& stage) {
  return guarded(kNoCurve, kAttempt, [&] {
    const std::vector<Point3D> unique = withoutRepeats(copyPoints(points, count));
    if (unique.size() < kFewestUniquePoints) {
      status::failure("Insufficient unique points after filtering (", unique.size(), " < ",
                      kFewestUniquePoints, ")");
      return kNoCurve;
    }
    BSplineFittingEngine::FittingOptions options;
    options.degree = degree;
    options.parameterization = method;
    auto fit = BSplineFittingEngine::fit_points_detailed(unique, options);
    if (!fit.success) return kNoCurve;
    status::progress(Symbol::None, "   ", status::symbolText(Symbol::Chart),
                     "Maximum deviation: ", fit.max_error, ", RMS deviation: ", fit.rms_error);
    return isFiniteWhereChecked(*fit.curve)
               ? storeFitted(std::move(fit.curve), "Engine1_fit", &stage)
               : kNoCurve;
  });
}

int fitSimply(const double* points, int count, int degree, Stage& stage) {
  auto curve = BSplineFittingEngine::fit_points(copyPoints(points, count), degree);
  if (!curve) {
    status::failure("Engine 1 failed to create curve (returned null)");
    return refuse(kBadArgument, "Engine 1 failed to create curve");
  }
  return storeFitted(std::move(curve), "Engine1_fit", &stage);
}

int fitByLineProjection(const double* points, int count, int degree, Stage& stage) {
  const int curve = tryToFit(points, count, degree, LINE_PROJECTION, stage);
  if (curve >= 0) return curve;
  status::progress(Symbol::Working, "Fallback to original method...");
  return fitSimply(points, count, degree, stage);
}

int fitAdaptively(const double* points, int count, int degree, Stage& stage) {
  const int curve = tryToFit(points, count, degree, ADAPTIVE_AUTO, stage);
  if (curve >= 0) return curve;
  status::progress(Symbol::Working, "Fallback to LINE_PROJECTION method...");
  return fitByLineProjection(points, count, degree, stage);
}

// The fit and whatever is tried after it, as one operation.
template <class Fit>
int checkedFit(const double* points, int count, int degree, Fit fit) {
  if (const int refused = checkInput(points, count, degree)) return refused;
  return guarded(kNoCurve, kFitting, [&] {
    Stage stage("fitting a curve");
    return fit(points, count, degree, stage);
  });
}

// ---- interpolation ------------------------------------------------------------------------------

void printVerification(const BSplineCurve& curve, const std::vector<Point3D>& points) {
  if (!status::isShown(status::Level::Info)) return;
  status::progress(Symbol::Check, "INTERPOLATION VERIFICATION:");
  const std::vector<double> t = trova::geometry::getChordParameterization(points);
  bool isVerified = true;
  for (std::size_t i = 0; i < t.size(); ++i) {
    const double distance = curve.evaluate(t[i]).distanceTo(points[i]);
    const bool isNear = distance <= kVerifiedDistance;
    status::progress(Symbol::None, "   Point[", i, "] distance: ", distance,
                     isNear ? " ✅" : " ❌ EXCEEDS TOLERANCE");
    isVerified = isVerified && isNear;
  }
  if (isVerified) status::success("Interpolation verified - curve passes through all points");
}

// ---- constraints --------------------------------------------------------------------------------

// Points of one kind as callers hand them over; none where the array is null.
std::vector<Point3D> copyKind(const double* points, int count) {
  return points && count > 0 ? copyPoints(points, count) : std::vector<Point3D>();
}

std::int64_t kindCount(const double* points, int count) { return points ? std::max(count, 0) : 0; }

int checkConstraints(std::int64_t total, int degree) {
  if (total < 2) return refuseAloud("Invalid input: need at least 2 constraint points total");
  if (degree < 1 || degree > kHighestConstrainedDegree)
    return refuseAloud("Invalid degree: must be 1-5");
  if (degree >= total)
    return refuseAloud("Invalid degree: must be less than total number of points");
  return kSuccess;
}

// By contract: at the chord lengths of these points alone, which are not the parameters of the fit;
// a distance here need not be one of the curve.
void printInterpolationErrors(const BSplineCurve& curve, const std::vector<Point3D>& points) {
  if (!status::isShown(status::Level::Info)) return;
  const std::vector<double> t = trova::geometry::getChordParameterization(points);
  double largest = 0.0;
  for (std::size_t i = 0; i < t.size(); ++i) {
    const double distance = curve.evaluate(t[i]).distanceTo(points[i]);
    status::progress(Symbol::None, "  Interp[", i, "] error: ", distance);
    largest = std::max(largest, distance);
  }
  status::success("Max interpolation error: ", largest);
}

int storeConstrained(ConstrainedBSplineEngine::ConstrainedFittingResult fit,
                     const std::vector<Point3D>& interpolationPoints) {
  if (!fit.curve) {
    status::failure("Engine 3 failed to create curve (returned null)");
    return refuse(kBadArgument, "Engine 3 failed to create curve: " + fit.error_message);
  }
  if (!fit.curve->isValid()) return refuseAloud("Generated constrained curve is invalid");
  printInterpolationErrors(*fit.curve, interpolationPoints);
  return storeFitted(std::move(fit.curve), "Engine3_constrained");
}

void setParameters(ConstrainedBSplineEngine::PointConstraint* constraints, const double* parameters,
                   std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i)
    constraints[i].parameter = parameters[i];
}

int checkParameters(const double* parameters, std::int64_t count) {
  const auto isInside = [](double t) { return t >= 0.0 && t <= 1.0; };
  if (count > 0 && !(parameters && std::all_of(parameters, parameters + count, isInside)))
    return refuseAloud("Invalid parameters: must be from 0 to 1, one for each point");
  return kSuccess;
}

}  // namespace

int fit_bspline_curve_simple(const double* points, int count, int degree) {
  return checkedFit(points, count, degree, fitSimply);
}

int fit_bspline_curve_with_line_projection(const double* points, int count, int degree) {
  return checkedFit(points, count, degree, fitByLineProjection);
}

int fit_bspline_curve_adaptive_parameterization(const double* points, int count, int degree) {
  return checkedFit(points, count, degree, fitAdaptively);
}

int interpolate_bspline_curve(const double* points, int count, int degree) {
  if (const int refused = checkInput(points, count, degree)) return refused;
  return guarded(kNoCurve, kFitting, [&] {
    const std::vector<Point3D> through = copyPoints(points, count);
    BSplineInterpolationEngine::InterpolationOptions options;
    options.degree = degree;
    auto result = BSplineInterpolationEngine::interpolate_points_detailed(through, options);
    if (!result.curve) {
      status::failure("Engine 2 failed to create curve (returned null)");
      return refuse(kBadArgument, "Engine 2 failed to create curve: " + result.error_message);
    }
    printVerification(*result.curve, through);
    return storeFitted(std::move(result.curve), "Engine2_interpolate");
  });
}

int fit_constrained_bspline_curve(const double* interpolationPoints, int interpolationCount,
                                  const double* approximationPoints, int approximationCount,
                                  int degree) {
  const std::int64_t total = kindCount(interpolationPoints, interpolationCount) +
                             kindCount(approximationPoints, approximationCount);
  if (const int refused = checkConstraints(total, degree)) return refused;
  return guarded(kNoCurve, kFitting, [&] {
    const std::vector<Point3D> through = copyKind(interpolationPoints, interpolationCount);
    ConstrainedBSplineEngine::ConstrainedFittingOptions options;
    options.degree = degree;
    return storeConstrained(
        ConstrainedBSplineEngine::fit_constrained_detailed(
            through, copyKind(approximationPoints, approximationCount), options),
        through);
  });
}

int fit_constrained_bspline_curve_at_parameters(
    const double* interpolationPoints, const double* interpolationParameters,
    int interpolationCount, const double* approximationPoints,
    const double* approximationParameters, int approximationCount, int degree, int controlCount) {
  const std::int64_t first = kindCount(interpolationPoints, interpolationCount);
  const std::int64_t second = kindCount(approximationPoints, approximationCount);
  if (const int refused = checkConstraints(first + second, degree)) return refused;
  if (const int refused = checkParameters(interpolationParameters, first)) return refused;
  if (const int refused = checkParameters(approximationParameters, second)) return refused;
  return guarded(kNoCurve, kFitting, [&] {
    auto constraints = ConstrainedBSplineEngine::create_mixed_constraints(
        copyKind(interpolationPoints, interpolationCount),
        copyKind(approximationPoints, approximationCount));
    setParameters(constraints.data(), interpolationParameters, first);
    setParameters(constraints.data() + first, approximationParameters, second);
    ConstrainedBSplineEngine::ConstrainedFittingOptions options;
    options.degree = degree;
    options.num_control_points = std::max(controlCount, 0);
    options.auto_assign_parameters = false;
    auto fit = ConstrainedBSplineEngine::fit_constrained_detailed(constraints, options);
    if (!fit.curve) return refuseAloud("Engine 3 failed to create curve: " + fit.error_message);
    status::success("Max interpolation error: ", fit.max_interpolation_error);
    return storeFitted(std::move(fit.curve), "Engine3_constrained");
  });
}
