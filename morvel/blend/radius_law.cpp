#include "morvel/blend/radius_law.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace trova::geometry::blend {

RadiusLaw::RadiusLaw(std::vector<double> parameters, std::vector<double> radii,
                     RadiusInterpolation interpolation)
    : parameters_(std::move(parameters)), radii_(std::move(radii)) {
  bool isUsable = parameters_.size() >= 2 && radii_.size() == parameters_.size();
  for (std::size_t k = 0; isUsable && k < radii_.size(); ++k)
    isUsable = std::isfinite(parameters_[k]) && std::isfinite(radii_[k]) &&
               (k == 0 || parameters_[k] > parameters_[k - 1]);
  if (!isUsable)
    throw std::invalid_argument("A radius law needs rising parameters and finite radii");
  if (interpolation == RadiusInterpolation::Smooth) findSlopes();
}

// Harmonic means of the slopes on both sides keep the cubics within the values.
void RadiusLaw::findSlopes() {
  const std::size_t n = radii_.size();
  std::vector<double> chords(n - 1);
  for (std::size_t k = 0; k + 1 < n; ++k)
    chords[k] = (radii_[k + 1] - radii_[k]) / (parameters_[k + 1] - parameters_[k]);
  slopes_.assign(n, 0.0);
  slopes_.front() = chords.front();
  slopes_.back() = chords.back();
  for (std::size_t k = 1; k + 1 < n; ++k) {
    const double a = chords[k - 1], b = chords[k];
    if (a * b > 0.0) slopes_[k] = 2.0 * a * b / (a + b);
  }
}

double RadiusLaw::at(double t) const {
  if (!(t > parameters_.front())) return radii_.front();
  if (t >= parameters_.back()) return radii_.back();
  const auto above = std::upper_bound(parameters_.begin(), parameters_.end(), t);
  const auto k = static_cast<std::size_t>(above - parameters_.begin());
  const double h = parameters_[k] - parameters_[k - 1];
  const double b = (t - parameters_[k - 1]) / h, a = 1.0 - b;
  if (slopes_.empty()) return a * radii_[k - 1] + b * radii_[k];
  return a * a * (1 + 2 * b) * radii_[k - 1] + b * b * (1 + 2 * a) * radii_[k] +
         h * a * b * (a * slopes_[k - 1] - b * slopes_[k]);
}

// Neither kind of law leaves its values.
double RadiusLaw::least() const { return *std::min_element(radii_.begin(), radii_.end()); }

}  // namespace trova::geometry::blend
