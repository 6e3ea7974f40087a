#include "tests/api/surface_interface.h"

// The surfaces of the kernel object: identifiers and failures of their own.

namespace morvel_test {
namespace {

using testing::ElementsAre;

const double kKnots[] = {0, 0, 1, 1};
const double kCorners[] = {0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 4};  // u outer

int createBilinear(const double* points = kCorners) {
  return create_nurbs_surface(points, 2, 2, kKnots, 4, kKnots, 4, 1, 1);
}

class KernelSurface : public SurfaceInterface {
 protected:
  ~KernelSurface() override { cleanup_kernel(); }
};

TEST_F(KernelSurface, NeedsTheKernelObject) {
  cleanup_kernel();
  MorvelSurfaceData record{};
  EXPECT_EQ(createBilinear(), -1);
  EXPECT_EQ(get_surface_mesh(1, 5), nullptr);
  free_surface_data(&record);
  EXPECT_EQ(get_kernel_surface_count(), 0);
  const std::string line = "❌ Kernel not initialized\n";
  EXPECT_EQ(streams_.err(), line + line + line);
  EXPECT_EQ(streams_.out(), "");
}

TEST_F(KernelSurface, HasItsOwnNumbersFromOne) {
  ASSERT_EQ(initialize_kernel(), 1);
  EXPECT_EQ(createBilinear(), 1);
  EXPECT_EQ(createBilinear(), 2);
  EXPECT_EQ(get_kernel_surface_count(), 2);
  EXPECT_EQ(get_surfaces_count(), 0);
  EXPECT_EQ(get_surface_u_degree(1), -3);
  ASSERT_EQ(initialize_kernel(), 1);
  EXPECT_EQ(createBilinear(), 1);
  EXPECT_EQ(streams_.out(),
            "✅ C++ Surface Kernel initialized with TROVA curves\n"
            "✅ Created NURBS surface 1\n"
            "✅ Created NURBS surface 2\n"
            "✅ C++ Surface Kernel initialized with TROVA curves\n"
            "🧹 C++ Surface Kernel cleaned up\n"
            "✅ Created NURBS surface 1\n");
  EXPECT_EQ(streams_.err(), "");
}

TEST_F(KernelSurface, MeshRunsUOuterWithTwoTrianglesACell) {
  initialize_kernel();
  const int id = createBilinear();
  MorvelSurfaceData* mesh = get_surface_mesh(id, 3);
  ASSERT_NE(mesh, nullptr);
  EXPECT_EQ(mesh->surfaceId, id);
  ASSERT_EQ(mesh->vertexCount, 9);
  ASSERT_EQ(mesh->indexCount, 24);
  for (int k = 0; k < 9; ++k) {
    const double u = k / 3 / 2.0, v = k % 3 / 2.0;
    EXPECT_THAT(toPoint(mesh->vertices + 3 * k), IsNear(Point3D(u, v, 4 * u * v), 1e-14));
  }
  const std::vector<int> indices(mesh->indices, mesh->indices + 24);
  EXPECT_THAT(indices, ElementsAre(0, 1, 3, 1, 4, 3, 1, 2, 4, 2, 5, 4,  //
                                   3, 4, 6, 4, 7, 6, 4, 5, 7, 5, 8, 7));
  free_surface_data(mesh);
  free_surface_data(nullptr);
}

TEST_F(KernelSurface, FailuresArePrintedAndNotKept) {
  initialize_kernel();
  const int id = createBilinear();
  const double notFinite[] = {0, 0, 0, 0, 1, 0, 1, 0, 0, 1, kNaN, 4};
  const double unordered[] = {0, 1, 0, 1};
  const auto create = [&](const double* points, int count, const double* knots, int knotCount,
                          int degree) {
    return create_nurbs_surface(points, count, count, knots, knotCount, kKnots, 4, degree, 1);
  };
  EXPECT_EQ(create(nullptr, 2, kKnots, 4, 1), -1);
  EXPECT_EQ(create(kCorners, kMany, kKnots, 4, 1), -1);
  EXPECT_EQ(create(kCorners, 2, kKnots, 4, 0), -1);
  EXPECT_EQ(create(kCorners, 2, kKnots, 4, kMany), -1);
  EXPECT_EQ(create(kCorners, 2, kKnots, kMany, 1), -1);
  EXPECT_EQ(create(notFinite, 2, kKnots, 4, 1), -1);
  EXPECT_EQ(create(kCorners, 2, unordered, 4, 1), -1);
  const int smallestRefused = 18920;  // 6 (n - 1)^2 indices
  for (const int resolution : {1, smallestRefused, kMany})
    EXPECT_EQ(get_surface_mesh(id, resolution), nullptr) << resolution;
  EXPECT_EQ(get_surface_mesh(77, 5), nullptr);
  EXPECT_EQ(get_kernel_surface_count(), 1);
  EXPECT_EQ(lastError(), "");
  EXPECT_EQ(
      streams_.err(),
      "❌ Error creating NURBS surface: Points and knots cannot be null\n"
      "❌ Error creating NURBS surface: Control point counts must be at least 2 and fit an int\n"
      "❌ Error creating NURBS surface: Degrees must be at least 1\n"
      "❌ Error creating NURBS surface: Degree must be less than control point count\n"
      "❌ Error creating NURBS surface: Knot count must be control point count + degree + 1\n"
      "❌ Error creating NURBS surface: Control points must be finite\n"
      "❌ Error creating NURBS surface: Knots must be finite and never decrease\n"
      "❌ Error generating mesh: Resolution must be at least 2\n"
      "❌ Error generating mesh: Size out of range\n"
      "❌ Error generating mesh: Size out of range\n"
      "❌ Surface 77 not found\n");
}

}  // namespace
}  // namespace morvel_test
