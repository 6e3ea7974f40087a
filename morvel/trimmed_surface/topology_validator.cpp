#include "morvel/trimmed_surface/topology_validator.h"

#include <algorithm>
#include <cmath>
#include <exception>

#include "morvel/trimmed_surface/internal/polygon_winding.h"
#include "morvel/trimmed_surface/internal/sampled_loop.h"
#include "morvel/trimmed_surface/visible_region.h"

namespace trova::geometry::trimmed_surface {
namespace {

using internal::side;
using Ring = std::vector<Point2D>;

struct Edge {
  Point2D a;
  Point2D b;
  std::size_t loop;
  std::size_t number;
  std::size_t count;  // edges of its loop

  double low() const { return std::min(a.x(), b.x()); }
  double high() const { return std::max(a.x(), b.x()); }
  bool isBeside(const Edge& other) const {
    return loop == other.loop &&
           ((number + 1) % count == other.number || (other.number + 1) % count == number);
  }
};

/// The edges pass through each other; touching is not crossing.
bool crosses(const Edge& e, const Edge& f) {
  if (std::max(e.a.y(), e.b.y()) < std::min(f.a.y(), f.b.y()) ||
      std::max(f.a.y(), f.b.y()) < std::min(e.a.y(), e.b.y()))
    return false;
  return side(e.a, e.b, f.a) * side(e.a, e.b, f.b) < 0.0 &&
         side(f.a, f.b, e.a) * side(f.a, f.b, e.b) < 0.0;
}

/// One validation: the checks append what they find.
class Validation {
 public:
  Validation(const TrimmedSurface& surface, TopologyValidationResult& result)
      : surface_(surface), result_(result) {
    for (const VisibleRegion::Ring& ring : visibleRegionOf(surface).rings)
      rings_.push_back(ring.points);
    rings_.resize(surface.getNumTrimLoops());
  }

  void base() {
    if (!surface_.getBaseSurface()->isValid())
      add(ValidationSeverity::Fatal, "manifold", "Base surface is invalid", -1);
  }

  /// A sweep over the edges by their left ends.
  void manifold() {
    std::vector<Edge> edges;
    for (std::size_t loop = 0; loop < rings_.size(); ++loop) {
      const Ring& ring = rings_[loop];
      for (std::size_t k = 0; k < ring.size(); ++k)
        edges.push_back({ring[k], ring[(k + 1) % ring.size()], loop, k, ring.size()});
    }
    std::sort(edges.begin(), edges.end(),
              [](const Edge& e, const Edge& f) { return e.low() < f.low(); });
    std::vector<std::pair<std::size_t, std::size_t>> found;
    for (std::size_t i = 0; i < edges.size(); ++i) {
      for (std::size_t j = i + 1; j < edges.size() && edges[j].low() <= edges[i].high(); ++j) {
        if (edges[i].isBeside(edges[j]) || !crosses(edges[i], edges[j])) continue;
        found.emplace_back(std::minmax(edges[i].loop, edges[j].loop));
      }
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
    for (const auto& [a, b] : found)
      add(ValidationSeverity::Error, "manifold",
          a == b ? "Trim loop crosses itself" : "Trim loop crosses loop " + std::to_string(b), a);
  }

  void orientation() {
    for (std::size_t k = 0; k < rings_.size(); ++k) {
      const TrimLoop& loop = surface_.getTrimLoop(k);
      const double area = loop.computeSignedPolygonArea();
      if (loop.polygon.size() >= 3 && (loop.isOuter ? area < 0.0 : area > 0.0))
        add(ValidationSeverity::Error, "orientation", "Trim loop runs against its role", k);
      if (loop.isOuter != (loop.type != kInnerHole))
        add(ValidationSeverity::Warning, "orientation", "Type and role of the trim loop differ", k);
    }
  }

  void continuity() {
    for (std::size_t k = 0; k < rings_.size(); ++k) {
      const TrimLoop& loop = surface_.getTrimLoop(k);
      if (!loop.curves.empty() && !loop.validate())
        add(ValidationSeverity::Error, "continuity", "Curves of the trim loop do not meet", k);
    }
  }

  void closure() {
    for (std::size_t k = 0; k < rings_.size(); ++k) {
      const TrimLoop& loop = surface_.getTrimLoop(k);
      if (rings_[k].size() < 3)
        add(ValidationSeverity::Error, "closure", "Trim loop has fewer than 3 points", k);
      else if (std::abs(internal::signedArea(rings_[k])) == 0.0)
        add(ValidationSeverity::Error, "closure", "Trim loop encloses nothing", k);
      if (loop.curves.size() == 1 && loop.curves[0] && isOpen(*loop.curves[0], loop.tolerance))
        add(ValidationSeverity::Error, "closure", "Trim loop does not close", k);
    }
  }

  void watertightness() {
    for (std::size_t k = 0; k < rings_.size(); ++k) {
      const TrimLoop& loop = surface_.getTrimLoop(k);
      if (!isInDomain(rings_[k]))
        add(ValidationSeverity::Warning, "watertightness", "Trim loop leaves the domain", k);
      if (!internal::isOuterLike(loop) && !rings_[k].empty() && !isHeld(rings_[k].front()))
        add(ValidationSeverity::Error, "watertightness", "Hole lies outside of the outer loops", k);
    }
  }

 private:
  template <class Index>
  void add(ValidationSeverity severity, const char* check, std::string message, Index loop) {
    result_.errors.push_back({severity, check, std::move(message), static_cast<int>(loop)});
  }

  static bool isOpen(const CurveOnSurface& curve, double tolerance) {
    const auto interval = curve.getParameterInterval();
    return !(curve.evaluate(interval.start).distanceTo(curve.evaluate(interval.end)) <= tolerance);
  }

  bool isInDomain(const Ring& ring) const {
    const double t = surface_.getOptions().boundaryTolerance;
    const ParameterDomain domain = surface_.getParameterDomain();
    return std::all_of(ring.begin(), ring.end(), [&](const Point2D& p) {
      return p.x() >= domain.uMin - t && p.x() <= domain.uMax + t && p.y() >= domain.vMin - t &&
             p.y() <= domain.vMax + t;
    });
  }

  bool isHeld(const Point2D& p) const {
    for (std::size_t k = 0; k < rings_.size(); ++k) {
      if (internal::isOuterLike(surface_.getTrimLoop(k)) &&
          internal::windingNumber(rings_[k], p) != 0)
        return true;
    }
    return false;
  }

  const TrimmedSurface& surface_;
  TopologyValidationResult& result_;
  std::vector<Ring> rings_;
};

}  // namespace

std::string severityText(ValidationSeverity severity) {
  switch (severity) {
    case ValidationSeverity::Info:
      return "INFO";
    case ValidationSeverity::Warning:
      return "WARNING";
    case ValidationSeverity::Error:
      return "ERROR";
    case ValidationSeverity::Fatal:
      return "FATAL";
  }
  return "UNKNOWN";
}

bool TopologyValidationResult::isValid() const {
  return std::none_of(errors.begin(), errors.end(), [](const ValidationError& error) {
    return error.severity == ValidationSeverity::Error ||
           error.severity == ValidationSeverity::Fatal;
  });
}

TopologyValidationResult TopologyValidator::validateTrimmedSurface(const TrimmedSurface& surface) {
  TopologyValidationResult result;
  try {
    Validation validation(surface, result);
    validation.base();
    if (options_.checksManifold) validation.manifold();
    if (options_.checksOrientation) validation.orientation();
    if (options_.checksContinuity) validation.continuity();
    if (options_.checksClosure) validation.closure();
    if (options_.checksWatertightness) validation.watertightness();
  } catch (const std::exception& e) {
    result.errors.push_back({ValidationSeverity::Error, "validation",
                             std::string("Validation failed with exception: ") + e.what(), -1});
  }
  ++statistics_.validations;
  statistics_.errorsFound += result.errors.size();
  return result;
}

bool TopologyValidator::isValidTopology(const TrimmedSurface& surface) {
  return validateTrimmedSurface(surface).isValid();
}

bool TopologyValidator::hasTopologyErrors(const TrimmedSurface& surface) {
  return !isValidTopology(surface);
}

}  // namespace trova::geometry::trimmed_surface
