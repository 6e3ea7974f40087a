// The R-tree and the k-d tree against every entry one by one; the engine; the validator.

#include <gmock/gmock.h>

#include <random>
#include <set>

#include "morvel/trimmed_surface/spatial_query_engine.h"
#include "morvel/trimmed_surface/topology_validator.h"
#include "morvel/trimmed_surface/trimmed_surface_factory.h"
#include "tests/trimmed_surface/bases.h"

using namespace morvel_test;
using testing::ElementsAre;

namespace {

double distance(const BoundingBox& b, const Point3D& p) {
  const double dx = std::max({b.getMin().x() - p.x(), 0.0, p.x() - b.getMax().x()});
  const double dy = std::max({b.getMin().y() - p.y(), 0.0, p.y() - b.getMax().y()});
  return std::hypot(dx, dy);
}

}  // namespace

TEST(RTree, FindsWhatALookAtEveryBoxFinds) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> number(0.0, 1.0);
  std::vector<TrimLoop> loops(700);
  std::vector<BoundingBox> boxes;
  RTreeSpatialIndex<TrimLoop, 2> tree;
  EXPECT_EQ(tree.nearestNeighbor({0, 0, 0}), nullptr);
  for (const TrimLoop& loop : loops) {
    const double u = number(random), v = number(random);
    boxes.emplace_back(Point3D(u, v, 0),
                       Point3D(u + 0.05 * number(random), v + 0.05 * number(random), 0));
    tree.insert(boxes.back(), &loop);
  }
  std::set<std::size_t> present;
  for (std::size_t k = 0; k < loops.size(); ++k)
    present.insert(k);
  for (int round = 0; round < 40; ++round) {
    const Point3D p(number(random), number(random), 0);
    const BoundingBox region(p, Point3D(number(random), number(random), 0));
    const double radius = 0.2 * number(random);
    std::set<const TrimLoop*> inRegion, inRadius;
    double nearest = 1e9;
    for (const std::size_t k : present) {
      if (boxes[k].intersects(region, {}) && distance(boxes[k], p) < 1e9) {
        const bool meets = boxes[k].getMin().x() <= region.getMax().x() &&
                           region.getMin().x() <= boxes[k].getMax().x() &&
                           boxes[k].getMin().y() <= region.getMax().y() &&
                           region.getMin().y() <= boxes[k].getMax().y();
        if (meets) inRegion.insert(&loops[k]);
      }
      if (distance(boxes[k], p) <= radius) inRadius.insert(&loops[k]);
      nearest = std::min(nearest, distance(boxes[k], p));
    }
    const auto found = tree.query(region), around = tree.radiusSearch(p, radius);
    EXPECT_EQ(std::set(found.begin(), found.end()), inRegion);
    EXPECT_EQ(std::set(around.begin(), around.end()), inRadius);
    EXPECT_EQ(distance(boxes[tree.nearestNeighbor(p) - loops.data()], p), nearest);
    for (int k = 0; k < 15; ++k) {
      const auto gone = present.begin();
      EXPECT_TRUE(tree.remove(&loops[*gone]));
      EXPECT_FALSE(tree.remove(&loops[*gone]));
      present.erase(gone);
    }
    ASSERT_TRUE(tree.validate());
    ASSERT_EQ(tree.size(), present.size());
  }
}

TEST(KdTree, FindsWhatALookAtEveryPointFinds) {
  std::mt19937 random(6);
  using Tree = KdTreePointLocator<CurveOnSurface, 2>;
  // On a raster, so that coordinates repeat.
  const auto coordinate = [&] { return double(random() % 40) / 40; };
  Tree tree;
  EXPECT_EQ(tree.findNearest({0, 0}), nullptr);
  std::vector<Tree::Entry> entries(300);
  for (auto& entry : entries)
    entry.position = {coordinate(), coordinate()};
  tree.build({entries.begin(), entries.begin() + 200});
  for (int k = 200; k < 300; ++k)
    tree.insert(entries[k]);
  for (int round = 0; round < 200; ++round) {
    const Tree::Position p{coordinate() + 0.01, coordinate()}, q{coordinate(), coordinate()};
    const Tree::Position low{std::min(p[0], q[0]), std::min(p[1], q[1])};
    const Tree::Position high{std::max(p[0], q[0]), std::max(p[1], q[1])};
    const auto squared = [&](const Tree::Entry& e) {
      return std::pow(e.position[0] - p[0], 2) + std::pow(e.position[1] - p[1], 2);
    };
    double nearest = 1e9;
    std::size_t near = 0, inside = 0;
    for (const auto& entry : entries) {
      nearest = std::min(nearest, squared(entry));
      near += squared(entry) <= 0.2 * 0.2;
      inside += low[0] <= entry.position[0] && entry.position[0] <= high[0] &&
                low[1] <= entry.position[1] && entry.position[1] <= high[1];
    }
    EXPECT_EQ(squared(*tree.findNearest(p)), nearest);
    EXPECT_EQ(tree.findWithinRadius(p, 0.2).size(), near);
    EXPECT_EQ(tree.findInRegion(low, high).size(), inside);
  }
}

TEST(SpatialQueryEngine, AnswersAboutTheLoops) {
  const auto surface = WireTrimmedSurface::createSurfaceWithMultipleHoles(
      plate(), {{HoleDescription::Shape::Circle, {0.25, 0.5}, 0.1, 0},
                {HoleDescription::Shape::Rectangle, {0.7, 0.5}, 0.1, 0.2}});
  const auto engine = SpatialQueryEngine::createFromTrimmedSurface(*surface);
  EXPECT_THAT(engine->findContainingGeometry(0.7, 0.5), ElementsAre(0, 2));
  EXPECT_THAT(engine->findContainingGeometry(0.7, 0.5), ElementsAre(0, 2));
  EXPECT_THAT(engine->findIntersectingGeometry(0.1, 0.2, 0.4, 0.6), ElementsAre(0, 1));
  EXPECT_THAT(engine->findWithinDistance(0.5, 0.5, 0.11), ElementsAre(2));
  EXPECT_THAT(engine->findInPolygonRegion(box(0.5, 0.9, 0.2, 0.8)), ElementsAre(2));
  const auto nearest = engine->findNearestBoundary(0.5, 0.45);
  ASSERT_TRUE(nearest);
  EXPECT_EQ(nearest->loop, 2u);
  EXPECT_NEAR(nearest->distance, 0.1, 1e-12);
  EXPECT_NEAR(nearest->point.y(), 0.45, 1e-12);
  EXPECT_EQ(engine->getStatistics().queries, 3u);
  EXPECT_EQ(engine->getStatistics().cacheHits, 1u);
}

TEST(TopologyValidator, NamesWhatIsWrong) {
  const auto outer = polygonLoop(box(0.1, 0.9, 0.1, 0.9));
  const auto hole = [](std::vector<Point2D> p) {
    return polygonLoop(std::move(p), kInnerHole, false);
  };
  const struct {
    std::vector<TrimLoop> loops;
    const char* message;
    bool isValid;
  } cases[] = {
      {{outer, hole(box(0.2, 0.3, 0.2, 0.3))}, nullptr, true},
      {{outer, hole(box(0.8, 1.0, 0.2, 0.3))}, "Trim loop crosses loop 1", false},
      {{polygonLoop({{0, 0}, {1, 1}, {1, 0}, {0, 0.9}})}, "Trim loop crosses itself", false},
      {{outer, hole(box(0.92, 0.95, 0.2, 0.3))}, "Hole lies outside of the outer loops", false},
      {{polygonLoop({{0.1, 0.1}, {0.9, 0.9}})}, "Trim loop has fewer than 3 points", false},
      {{polygonLoop({{0.1, 0.1}, {0.9, 0.9}, {0.5, 0.5}})}, "Trim loop encloses nothing", false},
      {{polygonLoop(box(-1, 2, -1, 2))}, "Trim loop leaves the domain", true},
      {{polygonLoop(box(0, 1, 0, 1), kInnerHole, true)},
       "Type and role of the trim loop differ",
       true},
  };
  TopologyValidator validator;
  for (const auto& each : cases) {
    const auto result = validator.validateTrimmedSurface(*trimmedPlate(each.loops));
    EXPECT_EQ(result.isValid(), each.isValid) << "case " << &each - cases;
    EXPECT_EQ(std::any_of(
                  result.errors.begin(), result.errors.end(),
                  [&](const auto& error) { return each.message && error.message == each.message; }),
              each.message != nullptr)
        << "case " << &each - cases;
  }
  EXPECT_EQ(validator.getStatistics().validations, std::size(cases));
  EXPECT_EQ(severityText(ValidationSeverity::Fatal), "FATAL");
  EXPECT_EQ(severityText(static_cast<ValidationSeverity>(9)), "UNKNOWN");
}
