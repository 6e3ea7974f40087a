// Classification against the rules worked out in whole numbers, and, for curves, term for term.

#include <gmock/gmock.h>

#include <cstdint>
#include <random>

#include "morvel/curves/curve2d.h"
#include "tests/trimmed_surface/bases.h"

using namespace morvel_test;

namespace {

// Parameters are multiples of 1 / 4096, hence exact in doubles; products of differences fit easily.
constexpr double kSteps = 4096.0;
constexpr std::int64_t kToleranceParts = 256;  // the tolerance is 1 / 256 of a step

struct Whole {
  std::int64_t x;
  std::int64_t y;
};
using Polygon = std::vector<Whole>;

struct RandomLoop {
  Polygon corners;
  int type;
  bool isOuter;
  bool isOuterLike() const { return type == 0 || isOuter; }
  bool isHoleLike() const { return type == 1 || (!isOuter && type != 0); }
};

std::int64_t cross(Whole a, Whole b, Whole p) {
  return (b.x - a.x) * (p.y - a.y) - (p.x - a.x) * (b.y - a.y);
}

bool contains(const Polygon& polygon, Whole p) {
  int winding = 0;
  for (std::size_t k = 0; k < polygon.size(); ++k) {
    const Whole a = polygon[k], b = polygon[(k + 1) % polygon.size()];
    if ((a.y <= p.y) == (b.y <= p.y)) continue;
    const std::int64_t of = cross(a, b, p);
    if (a.y <= p.y && of > 0) ++winding;
    if (b.y <= p.y && of < 0) --winding;
  }
  return winding != 0;
}

bool isOnEdge(Whole a, Whole b, Whole p) {
  const std::int64_t dx = b.x - a.x, dy = b.y - a.y;
  const std::int64_t along = (p.x - a.x) * dx + (p.y - a.y) * dy;
  const std::int64_t squared = dx * dx + dy * dy;
  if (along <= 0) return p.x == a.x && p.y == a.y;
  if (along >= squared) return p.x == b.x && p.y == b.y;
  const std::int64_t of = cross(a, b, p) * kToleranceParts;
  return static_cast<long double>(of) * of <= static_cast<long double>(squared);
}

bool isOnBoundary(const Polygon& polygon, Whole p) {
  for (std::size_t k = 0; k < polygon.size(); ++k) {
    if (isOnEdge(polygon[k], polygon[(k + 1) % polygon.size()], p)) return true;
  }
  return false;
}

/// In the box widened by the default geometric tolerance: less than a step.
bool isInBox(const Polygon& polygon, Whole p) {
  std::int64_t low[2] = {1 << 20, 1 << 20}, high[2] = {-(1 << 20), -(1 << 20)};
  for (Whole c : polygon) {
    low[0] = std::min(low[0], c.x), high[0] = std::max(high[0], c.x);
    low[1] = std::min(low[1], c.y), high[1] = std::max(high[1], c.y);
  }
  return low[0] <= p.x && p.x <= high[0] && low[1] <= p.y && p.y <= high[1];
}

PointClassification judged(const std::vector<const RandomLoop*>& loops, Whole p) {
  bool isInOuter = false, isInHole = false;
  for (const RandomLoop* loop : loops) {
    if (isOnBoundary(loop->corners, p)) return OnBoundary;
    isInOuter = isInOuter || (loop->isOuterLike() && contains(loop->corners, p));
    isInHole = isInHole || (loop->isHoleLike() && contains(loop->corners, p));
  }
  return isInOuter && !isInHole ? Inside : Outside;
}

std::vector<const RandomLoop*> candidates(const std::vector<RandomLoop>& loops, Whole p) {
  std::vector<const RandomLoop*> found, holes;
  bool isInOuter = false;
  for (const RandomLoop& loop : loops) {
    if (!isInBox(loop.corners, p)) continue;
    if (loop.isOuterLike()) found.push_back(&loop);
    if (loop.isOuterLike() && contains(loop.corners, p)) isInOuter = true;
    if (loop.isHoleLike()) holes.push_back(&loop);
  }
  if (isInOuter) found.insert(found.end(), holes.begin(), holes.end());
  if (!found.empty()) return found;
  for (std::size_t k = 0; k < std::min<std::size_t>(5, loops.size()); ++k)
    found.push_back(&loops[k]);
  return found;
}

struct Scene {
  std::vector<RandomLoop> loops;
  std::vector<Whole> points;
};

/// Few corners far apart, many close together, on a coarse raster (edges along each other, repeated
/// corners, needles) or a fine one; points at random, at corners and on edges.
Scene randomScene(std::mt19937& random) {
  const auto upTo = [&](int most) { return static_cast<int>(random() % (most + 1)); };
  Scene scene;
  const int raster = upTo(1) ? 256 : 1;
  const int count = 1 + upTo(7);
  for (int k = 0; k < count; ++k) {
    RandomLoop loop{{}, upTo(2), upTo(1) == 0};
    const int corners = 3 + upTo(k == 0 ? 40 : 9), size = 400 + upTo(3600);
    const Whole at{upTo(4096 - size), upTo(4096 - size)};
    for (int c = 0; c < corners; ++c)
      loop.corners.push_back(
          {(at.x + upTo(size)) / raster * raster, (at.y + upTo(size)) / raster * raster});
    scene.loops.push_back(loop);
  }
  for (int k = 0; k < 300; ++k) {
    const Polygon& corners = scene.loops[upTo(count - 1)].corners;
    const Whole a = corners[upTo(int(corners.size()) - 1)],
                b = corners[upTo(int(corners.size()) - 1)];
    scene.points.push_back({upTo(4500) - 200, upTo(4500) - 200});
    scene.points.push_back(a);
    scene.points.push_back({(a.x + b.x) / 2, (a.y + b.y) / 2});
  }
  return scene;
}

std::vector<TrimLoop> trimLoops(const Scene& scene) {
  std::vector<TrimLoop> loops;
  for (const RandomLoop& loop : scene.loops) {
    std::vector<Point2D> polygon;
    for (Whole c : loop.corners)
      polygon.emplace_back(double(c.x) / kSteps, double(c.y) / kSteps);
    loops.push_back(polygonLoop(polygon, loop.type, loop.isOuter));
  }
  return loops;
}

void expectRules(const Scene& scene, bool isSpatial, int number) {
  auto surface =
      trimmedPlate(trimLoops(scene), {.boundaryTolerance = 1.0 / kSteps / kToleranceParts});
  surface->setUseSpatialIndex(isSpatial);
  std::vector<double> uv;
  for (Whole p : scene.points)
    uv.insert(uv.end(), {double(p.x) / kSteps, double(p.y) / kSteps});
  std::vector<PointClassification> batch(scene.points.size());
  surface->classifyPoints(uv, batch.data());
  for (std::size_t k = 0; k < scene.points.size(); ++k) {
    const Whole p = scene.points[k];
    std::vector<const RandomLoop*> asked;
    for (const RandomLoop& loop : scene.loops)
      asked.push_back(&loop);
    if (isSpatial && scene.loops.size() > 2) asked = candidates(scene.loops, p);
    ASSERT_EQ(batch[k], judged(asked, p))
        << "scene " << number << ", spatial " << isSpatial << ", point " << p.x << " " << p.y;
    ASSERT_EQ(surface->classifyPoint(uv[2 * k], uv[2 * k + 1]), batch[k]);
  }
}

// ---- curves ----

double turns(const CurveOnSurface& curve, const Point2D& p) {
  double sum = 0.0;
  for (int k = 0; k < 50; ++k) {
    const Point2D a = curve.getUVCoordinates(k / 50.0) - p;
    const Point2D b = curve.getUVCoordinates((k + 1) / 50.0) - p;
    sum += std::atan2(a.x() * b.y() - a.y() * b.x(), a.x() * b.x() + a.y() * b.y());
  }
  return sum / (2 * std::numbers::pi);
}

double distance(const CurveOnSurface& curve, const Point2D& p) {
  double nearest = 10.0;
  for (int k = 0; k < 100; ++k) {
    const Point2D a = curve.getUVCoordinates(k / 100.0),
                  b = curve.getUVCoordinates((k + 1) / 100.0);
    const Point2D d = b - a;
    const double length = a.distanceTo(b);
    const double share =
        std::clamp(((p - a).x() * d.x() + (p - a).y() * d.y()) / (length * length), 0.0, 1.0);
    nearest = std::min(nearest, p.distanceTo(a + d * share));
  }
  return nearest;
}

/// A loop of arcs that need not meet: from whole circles to a few strokes.
TrimLoop arcs(const std::shared_ptr<Surface>& base, const Point2D& center, double radius, int count,
              double share) {
  TrimLoop loop;
  const double step = 2 * std::numbers::pi / count;
  for (int k = 0; k < count; ++k)
    loop.curves.push_back(std::make_shared<CurveOnSurface>(
        base,
        std::make_unique<CircularCurve2D>(center, radius, k * step, k * step + share * step)));
  return loop;
}

}  // namespace

TEST(WireTrimmedSurface, AgreesWithTheRulesInWholeNumbers) {
  std::mt19937 random(20);
  for (int k = 0; k < 300; ++k) {
    const Scene scene = randomScene(random);
    expectRules(scene, true, k);
    expectRules(scene, false, k);
  }
}

TEST(WireTrimmedSurface, SumsTheAnglesOfCurvesThatDoNotMeet) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> number(0.0, 1.0);
  for (const double share : {1.0, 1.0 - 1e-9, 0.999, 0.9, 0.6, 0.3}) {
    for (const int count : {1, 2, 5}) {
      auto surface = std::make_unique<WireTrimmedSurface>(plate());
      const TrimLoop loop = arcs(surface->getBaseSurface(), {0.5, 0.4}, 0.3, count, share);
      surface->addOuterLoop(loop);
      for (int k = 0; k < 400; ++k) {
        const Point2D p(number(random), number(random));
        double sum = 0.0, nearest = 10.0;
        for (const auto& curve : loop.curves) {
          sum += turns(*curve, p);
          nearest = std::min(nearest, distance(*curve, p));
        }
        const auto expected = nearest <= 1e-6 ? OnBoundary : std::abs(sum) > 0.5 ? Inside : Outside;
        ASSERT_EQ(surface->classifyPoint(p.x(), p.y()), expected)
            << share << " of " << count << " arcs at " << p.x() << " " << p.y() << ", " << sum;
      }
    }
  }
}
