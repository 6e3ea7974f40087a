#include <array>

#include "morvel/morvel.hpp"
#include "tests/api/kernel_session.h"
#include "tests/support/near.h"

namespace morvel_test {
namespace {

using trova::foundation::Point3D;
using Matrix = std::array<double, 16>;
using testing::ElementsAreArray;

constexpr Matrix kIdentity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
// A quarter turn about z, then a move by (10, 20, 30).
constexpr Matrix kTurnAndMove{0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30, 0, 0, 0, 1};

// The five functions of one kind, and what its registry answers.
struct Family {
  const char* name;
  int (*set)(int, const double*);
  int (*get)(int, double*);
  int (*hasPending)(int);
  int (*apply)(int);
  int (*reset)(int);
  int done;
  int (*make)();
  Point3D (*start)(int);
};

const Family kFamilies[] = {
    {"curve", set_curve_matrix, get_curve_matrix, curve_has_pending_transform, apply_curve_matrix,
     reset_curve_matrix, 0, [] { return create_curve_line(1, 0, 0, 2, 0, 0); },
     [](int handle) { return get_curve_pointer_from_handle(handle)->evaluate(0.0); }},
    {"surface", set_surface_matrix, get_surface_matrix, surface_has_pending_transform,
     apply_surface_matrix, reset_surface_matrix, 1,
     [] {
       constexpr double origin[] = {1, 0, 0}, u[] = {1, 0, 0}, v[] = {0, 1, 0};
       return create_surface_plane(origin, u, v);
     },
     [](int handle) { return get_surface_from_registry(handle)->evaluate(0.0, 0.0); }},
};

using PendingTransforms = KernelSession;

TEST_F(PendingTransforms, WaitUntilTheyAreAppliedAndAreThenTheIdentity) {
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(family.name);
    const int handle = family.make();
    Matrix read{};
    EXPECT_EQ(family.get(handle, read.data()), family.done);
    EXPECT_THAT(read, ElementsAreArray(kIdentity));
    EXPECT_EQ(family.hasPending(handle), 0);

    EXPECT_EQ(family.set(handle, kTurnAndMove.data()), family.done);
    EXPECT_EQ(family.hasPending(handle), 1);
    EXPECT_EQ(family.get(handle, read.data()), family.done);
    EXPECT_THAT(read, ElementsAreArray(kTurnAndMove));
    EXPECT_THAT(family.start(handle), IsNear(Point3D(1, 0, 0), 0.0));

    EXPECT_EQ(family.apply(handle), family.done);
    EXPECT_THAT(family.start(handle), IsNear(Point3D(10, 21, 30), 1e-12));
    EXPECT_EQ(family.hasPending(handle), 0);
    EXPECT_EQ(family.apply(handle), family.done);
    EXPECT_THAT(family.start(handle), IsNear(Point3D(10, 21, 30), 1e-12)) << "applied once";

    family.set(handle, kTurnAndMove.data());
    EXPECT_EQ(family.reset(handle), family.done);
    EXPECT_EQ(family.hasPending(handle), 0);
    EXPECT_THAT(family.start(handle), IsNear(Point3D(10, 21, 30), 1e-12));
  }
}

TEST_F(PendingTransforms, NearTheIdentityAreNeitherAppliedNorReset) {
  Matrix near = kIdentity;
  near[3] = 1e-5;
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(family.name);
    const int handle = family.make();
    family.set(handle, near.data());
    EXPECT_EQ(family.hasPending(handle), 0);
    EXPECT_EQ(family.apply(handle), family.done);
    EXPECT_THAT(family.start(handle), IsNear(Point3D(1, 0, 0), 0.0));
    Matrix read{};
    family.get(handle, read.data());
    EXPECT_THAT(read, ElementsAreArray(near));
  }
}

TEST_F(PendingTransforms, RefuseNullsUnknownHandlesAndNonFiniteMatrices) {
  Matrix matrix = kIdentity;
  matrix[15] = kNaN;
  Matrix untouched{};
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(family.name);
    EXPECT_EQ(family.set(1, nullptr), -1);
    EXPECT_EQ(family.get(1, nullptr), -1);
    EXPECT_EQ(family.set(1, kIdentity.data()), -2);
    EXPECT_EQ(family.get(1, untouched.data()), -2);
    EXPECT_EQ(family.hasPending(1), -2);
    EXPECT_EQ(family.apply(1), -2);
    EXPECT_EQ(family.reset(1), -2);
    EXPECT_EQ(family.set(family.make(), matrix.data()), -1);
  }
  EXPECT_THAT(untouched, ElementsAreArray(Matrix{}));
}

TEST_F(PendingTransforms, OfASurfaceEntryWithoutAnObjectAreMinusThree) {
  g_surfaces[7] = nullptr;
  Matrix matrix = kIdentity;
  EXPECT_EQ(set_surface_matrix(7, matrix.data()), -3);
  EXPECT_EQ(get_surface_matrix(7, matrix.data()), -3);
  EXPECT_EQ(surface_has_pending_transform(7), -3);
  EXPECT_EQ(apply_surface_matrix(7), -3);
  EXPECT_EQ(reset_surface_matrix(7), -3);
}

TEST_F(PendingTransforms, ThatCannotBeAppliedStayPendingAndLeaveTheGeometry) {
  Matrix stretch = kIdentity, overflow = kIdentity;
  stretch[0] = 2.0;
  overflow[0] = overflow[3] = 1.7e308;
  const int circle = unitCircle();
  const double before = get_curve_pointer_from_handle(circle)->getTotalLength();
  EXPECT_EQ(set_curve_matrix(circle, stretch.data()), 0);
  EXPECT_EQ(apply_curve_matrix(circle), -4) << "a circle does not become an ellipse in place";
  EXPECT_NE(lastError(), "");
  EXPECT_EQ(curve_has_pending_transform(circle), 1);
  EXPECT_EQ(get_curve_pointer_from_handle(circle)->getTotalLength(), before);
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(family.name);
    const int handle = family.make();
    family.set(handle, overflow.data());
    EXPECT_EQ(family.apply(handle), -4);
    EXPECT_THAT(family.start(handle), IsNear(Point3D(1, 0, 0), 0.0));
    EXPECT_EQ(family.hasPending(handle), 1);
  }
}

}  // namespace
}  // namespace morvel_test
