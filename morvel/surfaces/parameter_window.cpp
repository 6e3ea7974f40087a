#include "morvel/surfaces/parameter_window.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "morvel/surfaces/internal/unit_normal.h"

namespace trova::geometry {
namespace {

ParameterStretch part(const ParameterStretch& whole, double start, double end) {
  return {whole.at(start), whole.at(end)};
}

ParameterStretch reversed(const ParameterStretch& stretch) { return {stretch.to, stretch.from}; }

bool isPartOfUnit(double start, double end) { return 0.0 <= start && start < end && end <= 1.0; }

}  // namespace

double ParameterStretch::at(double fraction) const { return std::lerp(from, to, fraction); }

bool ParameterStretch::isFull() const {
  return std::min(from, to) == 0.0 && std::max(from, to) == 1.0;
}

ParameterWindow::ParameterWindow(const ParameterStretch& s, const ParameterStretch& t,
                                 bool isTransposed)
    : s_(s), t_(t), transposed_(isTransposed) {
  for (const double end : {s.from, s.to, t.from, t.to}) {
    if (!(0.0 <= end && end <= 1.0))
      throw std::invalid_argument("Parameter window must lie in [0, 1]");
  }
}

NaturalParameters ParameterWindow::natural(double u, double v) const {
  const double a = std::clamp(u, 0.0, 1.0);
  const double b = std::clamp(v, 0.0, 1.0);
  return transposed_ ? NaturalParameters{s_.at(b), t_.at(a)}
                     : NaturalParameters{s_.at(a), t_.at(b)};
}

void ParameterWindow::toOuter(SurfaceEvaluation& evaluation, int order) const {
  if (order < 1) return;
  const double ds = s_.length();
  const double dt = t_.length();
  evaluation.Su = evaluation.Su * ds;
  evaluation.Sv = evaluation.Sv * dt;
  if (transposed_) std::swap(evaluation.Su, evaluation.Sv);
  evaluation.normal = internal::evaluationNormal(evaluation.Su, evaluation.Sv);
  if (order < 2) return;
  evaluation.Suu = evaluation.Suu * (ds * ds);
  evaluation.Suv = evaluation.Suv * (ds * dt);
  evaluation.Svv = evaluation.Svv * (dt * dt);
  if (transposed_) std::swap(evaluation.Suu, evaluation.Svv);
}

ParameterWindow ParameterWindow::trimmed(double uStart, double uEnd, double vStart,
                                         double vEnd) const {
  if (!isPartOfUnit(uStart, uEnd) || !isPartOfUnit(vStart, vEnd))
    throw std::invalid_argument("Invalid trim parameters");
  ParameterWindow result = *this;
  result.s_ = transposed_ ? part(s_, vStart, vEnd) : part(s_, uStart, uEnd);
  result.t_ = transposed_ ? part(t_, uStart, uEnd) : part(t_, vStart, vEnd);
  return result;
}

ParameterWindow ParameterWindow::reversedU() const {
  ParameterWindow result = *this;
  ParameterStretch& alongU = transposed_ ? result.t_ : result.s_;
  alongU = reversed(alongU);
  return result;
}

ParameterWindow ParameterWindow::reversedV() const {
  ParameterWindow result = *this;
  ParameterStretch& alongV = transposed_ ? result.s_ : result.t_;
  alongV = reversed(alongV);
  return result;
}

ParameterWindow ParameterWindow::transposed() const {
  ParameterWindow result = *this;
  result.transposed_ = !transposed_;
  return result;
}

}  // namespace trova::geometry
