#include "morvel/surfaces/surface_mesh.h"

#include <gmock/gmock.h>

#include <stdexcept>

#include "morvel/surfaces/grid_sampling.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;
using trova::geometry::CellDiagonal;
using trova::geometry::gridTriangles;
using trova::geometry::SurfaceMesh;

TEST(SurfaceMesh, TriangulatesFacesOfAnySize) {
  SurfaceMesh mesh;
  EXPECT_TRUE(mesh.isEmpty());
  mesh.addTriangle(3, 1, 2);
  mesh.addQuad(4, 5, 6, 7);
  mesh.faces.push_back({8, 9});
  mesh.faces.push_back({});
  mesh.faces.push_back({10, 11, 12, 13, 14});
  EXPECT_THAT(mesh.getTriangulatedIndices(),
              ElementsAre(3, 1, 2, 4, 5, 6, 4, 6, 7, 10, 11, 12, 10, 12, 13, 10, 13, 14));
}

TEST(GridSampling, CutsCellsByEitherDiagonal) {
  EXPECT_THAT(gridTriangles(2, 3, CellDiagonal::Anti),
              ElementsAre(0, 1, 3, 1, 4, 3, 1, 2, 4, 2, 5, 4));
  EXPECT_THAT(gridTriangles(2, 3, CellDiagonal::Main),
              ElementsAre(0, 1, 4, 0, 4, 3, 1, 2, 5, 1, 5, 4));
}

TEST(GridSampling, RefusesGridsThatCannotBe) {
  EXPECT_THROW(gridTriangles(1, 3, CellDiagonal::Main), std::invalid_argument);
  EXPECT_THROW(gridTriangles(3, -7, CellDiagonal::Main), std::invalid_argument);
  EXPECT_THROW(gridTriangles(20'000, 20'000, CellDiagonal::Main), std::length_error);
}

}  // namespace
}  // namespace morvel_test
