#include "tests/api/surface_interface.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;
using SurfaceTessellate = SurfaceInterface;

/// The caller's side of get_surface_tessellation_data.
struct MeshRoom {
  MeshRoom(int forVertices, int forIndices)
      : vertices(3 * forVertices),
        indices(forIndices),
        vertexRoom(forVertices),
        indexRoom(forIndices) {}

  int fetch(int surface) {
    return get_surface_tessellation_data(surface, 1e-3, vertices.data(), vertexRoom, &vertexCount,
                                         indices.data(), indexRoom, &indexCount);
  }

  Guarded<double> vertices;
  Guarded<int> indices;
  int vertexRoom;
  int indexRoom;
  int vertexCount = 0;
  int indexCount = 0;
};

TEST_F(SurfaceTessellate, GridRunsUOuterWithTheCellsCutFromTheirSecondCorner) {
  const int patch = bilinearPatch(6.0);  // (2 u, 3 v, 6 u v)
  Guarded<double> vertices(27);
  Guarded<int> indices(24);
  int vertexCount = 0, triangleCount = 0;
  ASSERT_EQ(
      tessellate_surface(patch, 3, vertices.data(), &vertexCount, indices.data(), &triangleCount),
      0);
  EXPECT_EQ(vertexCount, 9);
  EXPECT_EQ(triangleCount, 8);
  for (int k = 0; k < 9; ++k) {
    const double u = k / 3 / 2.0, v = k % 3 / 2.0;
    EXPECT_THAT(toPoint(vertices.data() + 3 * k), IsNear(Point3D(2 * u, 3 * v, 6 * u * v), 1e-14));
  }
  EXPECT_THAT(std::vector<int>(indices.data(), indices.data() + 24),
              ElementsAre(0, 1, 3, 1, 4, 3, 1, 2, 4, 2, 5, 4,  //
                          3, 4, 6, 4, 7, 6, 4, 5, 7, 5, 8, 7));
  EXPECT_TRUE(vertices.isIntact() && indices.isIntact());
}

TEST_F(SurfaceTessellate, RefusesInTheStatedOrder) {
  const int patch = bilinearPatch();
  Guarded<double> vertices(27);
  Guarded<int> indices(24);
  int count = 0;
  const auto tessellate = [&](int surface, int resolution) {
    return tessellate_surface(surface, resolution, vertices.data(), &count, indices.data(), &count);
  };
  const char* resolution = "Resolution must be between 3 and 200";
  expectRefusals({
      {"Invalid output parameters", -1,
       [&] {
         return tessellate_surface(patch, 0, vertices.data(), &count, indices.data(), nullptr);
       }},
      {resolution, -1, [&] { return tessellate(kNoHandle, 2); }},
      {resolution, -1, [&] { return tessellate(patch, 201); }},
      {resolution, -1, [&] { return tessellate(patch, kMany); }},
      {"Invalid surface handle", -3, [&] { return tessellate(kNoHandle, 3); }},
      {"no point here", -4,
       [&, throwing = FaultyPlane::store(FaultyPlane::kThrows)] {
         return tessellate(throwing, 3);
       }},
  });
  EXPECT_TRUE(vertices.isUntouched() && indices.isUntouched());
}

// By contract vertices that cannot be used repeat the one before; the count never changes.
TEST_F(SurfaceTessellate, UnusableVerticesRepeatThePreviousOne) {
  std::vector<double> vertices(27), huge = {0, 0, 0, 0, 1, 0, 5e6, 0, 0, 5e6, 1, 0};
  std::vector<int> indices(24);
  int vertexCount = 0, triangleCount = 0;
  ASSERT_EQ(tessellate_surface(FaultyPlane::store(FaultyPlane::kNotANumber), 3, vertices.data(),
                               &vertexCount, indices.data(), &triangleCount),
            0);
  EXPECT_EQ(vertexCount, 9);
  for (int k = 0; k < 3; ++k)
    EXPECT_THAT(toPoint(&vertices[3 * k]), IsNear(Point3D(), 0.0));
  EXPECT_THAT(toPoint(&vertices[9]), IsNear(Point3D(0.5, 0, 0), 0.0));

  // Rows at x = 0, 2.5e6 and 5e6, of which only the first is within 1e6.
  const int wide = create_surface_bspline_clamped(huge.data(), 2, 2, 1, 1);
  ASSERT_EQ(
      tessellate_surface(wide, 3, vertices.data(), &vertexCount, indices.data(), &triangleCount),
      0);
  EXPECT_EQ(vertexCount, 9);
  for (int k = 2; k < 9; ++k)
    EXPECT_THAT(toPoint(&vertices[3 * k]), IsNear(Point3D(0, 1, 0), 0.0));
}

TEST_F(SurfaceTessellate, DataIsTwentyByTwentyUntilItIsRegenerated) {
  const int patch = bilinearPatch(6.0);
  MeshRoom room(400, 19 * 19 * 6);
  ASSERT_EQ(room.fetch(patch), 0);
  EXPECT_EQ(room.vertexCount, 400);
  EXPECT_EQ(room.indexCount, 19 * 19 * 6);
  EXPECT_THAT(toPoint(room.vertices.data() + 3 * 21),
              IsNear(Point3D(2. / 19, 3. / 19, 6. / 361), 1e-14));
  EXPECT_TRUE(room.vertices.isIntact() && room.indices.isIntact());

  ASSERT_EQ(regenerate_surface_tessellation(patch, 2, 3), 0);
  ASSERT_EQ(room.fetch(patch), 0);
  EXPECT_EQ(room.vertexCount, 6);
  EXPECT_THAT(std::vector<int>(room.indices.data(), room.indices.data() + room.indexCount),
              ElementsAre(0, 1, 4, 0, 4, 3, 1, 2, 5, 1, 5, 4));
  EXPECT_THAT(toPoint(room.vertices.data() + 12), IsNear(Point3D(2, 1.5, 3), 1e-14));
}

TEST_F(SurfaceTessellate, CachedMeshGoesWhenTheSurfaceChanges) {
  const int patch = bilinearPatch();
  const int other = bilinearPatch(1.0);
  MeshRoom room(400, 19 * 19 * 6);
  const double shift[] = {1, 0, 0, 9, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const std::function<void()> changes[] = {
      [&] { modify_surface_control_point(patch, 0, 0, -1, 0, 0); },
      [&] {
        set_surface_matrix(patch, shift);
        apply_surface_matrix(patch);
      },
      [&] { replace_surface_handle(patch, other); },
  };
  for (const auto& change : changes) {
    ASSERT_EQ(regenerate_surface_tessellation(patch, 2, 2), 0);
    ASSERT_EQ(room.fetch(patch), 0);
    EXPECT_EQ(room.vertexCount, 4);
    change();
    ASSERT_EQ(room.fetch(patch), 0);
    EXPECT_EQ(room.vertexCount, 400);
    EXPECT_THAT(toPoint(room.vertices.data()), IsNear(pointOf(patch, 0, 0), 1e-14));
  }
}

TEST_F(SurfaceTessellate, DataSaysHowMuchRoomItNeeds) {
  const int patch = bilinearPatch();
  regenerate_surface_tessellation(patch, 3, 3);
  MeshRoom fewVertices(8, 24), fewIndices(9, 23), enough(9, 24);
  double vertex = 0;
  int count = 0;
  expectRefusals({
      {"Invalid output arrays", -1,
       [&] {
         return get_surface_tessellation_data(kNoHandle, 0, &vertex, 1, &count, nullptr, 1, &count);
       }},
      {"Invalid surface handle", -3, [&] { return enough.fetch(kNoHandle); }},
      {"Insufficient vertex buffer size", -5, [&] { return fewVertices.fetch(patch); }},
      {"Insufficient index buffer size", -5, [&] { return fewIndices.fetch(patch); }},
  });
  EXPECT_TRUE(fewVertices.vertices.isUntouched() && fewIndices.vertices.isUntouched());
  EXPECT_EQ(fewVertices.vertexCount, 9);
  EXPECT_EQ(fewIndices.indexCount, 24);
  EXPECT_EQ(enough.fetch(patch), 0);
  EXPECT_TRUE(enough.vertices.isIntact() && enough.indices.isIntact());
}

TEST_F(SurfaceTessellate, MeshesThatAreNotFiniteFail) {
  const int loft = FaultyPlane::store(FaultyPlane::kNotANumber, "LoftSurface");
  const int plane = FaultyPlane::store(FaultyPlane::kNotANumber);
  const int good = unitPlane();
  MeshRoom room(400, 19 * 19 * 6);
  const char* vertex = "PlaneSurface evaluation gave a vertex that is not finite";
  const char* counts = "regenerate_surface_tessellation: counts must be at least 2";
  const char* most = "regenerate_surface_tessellation: a cached mesh has at most 1048576 vertices";
  expectRefusals({
      {"LoftSurface evaluation failed", -4, [&] { return room.fetch(loft); }},
      {vertex, -4, [&] { return room.fetch(plane); }},
      {vertex, -4, [&] { return regenerate_surface_tessellation(plane, 2, 2); }},
      {counts, -1, [&] { return regenerate_surface_tessellation(kNoHandle, 1, 5); }},
      {most, -1, [&] { return regenerate_surface_tessellation(good, kMany, kMany); }},
      {"Invalid surface handle", -3, [] { return regenerate_surface_tessellation(0, 2, 2); }},
  });
  EXPECT_TRUE(room.vertices.isUntouched());
}

}  // namespace
}  // namespace morvel_test
