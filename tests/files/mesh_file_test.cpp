#include "morvel/files/mesh_file.h"

#include <gmock/gmock.h>

#include <fstream>
#include <locale>
#include <random>
#include <sstream>

#include "morvel/files/internal/near_points.h"
#include "tests/support/temporary_folder.h"

namespace morvel_test {
namespace {

using trova::files::MeshObject;
using trova::files::readObjMesh;
using trova::files::writeMeshFile;
using trova::foundation::Point3D;

constexpr std::int64_t kPlenty = 1 << 20;

/// The program's locale writes 1234.5 as 1.234,5 while this lives.
class CommaLocale {
 public:
  CommaLocale() : before_(std::locale::global(std::locale(std::locale(), new Commas))) {}
  ~CommaLocale() { std::locale::global(before_); }

 private:
  struct Commas : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale before_;
};

/// A strip of triangles, of more vertices than three digits count.
MeshObject strip() {
  MeshObject mesh;
  mesh.name = "strip";
  for (int k = 0; k < 1500; ++k) {
    mesh.vertices.emplace_back(0.25 * k, k % 2, 0.1);
    if (k >= 2) mesh.triangles.insert(mesh.triangles.end(), {k - 2, k - 1, k});
  }
  return mesh;
}

std::string bytesOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

TEST(MeshFile, TheLocaleHasNoInfluence) {
  const TemporaryFolder folder;
  const MeshObject mesh = strip();
  const auto write = [&](const char* name) {
    writeMeshFile(folder.path() / name, [&] { return std::vector{mesh}; });
    return bytesOf(folder.path() / name);
  };
  for (const char* name : {"a.obj", "a.stl", "a.ply", "a.glb"}) {
    const std::string usual = write(name);
    const CommaLocale commas;
    EXPECT_EQ(write(name), usual) << name;
  }
  const CommaLocale commas;
  const MeshObject read = readObjMesh(folder.path() / "a.obj", kPlenty);
  ASSERT_EQ(read.vertices.size(), mesh.vertices.size());
  EXPECT_EQ(read.vertices.back().x(), mesh.vertices.back().x());
  EXPECT_EQ(read.triangles, mesh.triangles);
}

TEST(MeshFile, WhatIsThrownWhileWritingLeavesNoFile) {
  const TemporaryFolder folder;
  const auto fail = []() -> std::vector<MeshObject> { throw std::domain_error("no mesh"); };
  EXPECT_THROW(writeMeshFile(folder.path() / "a.glb", fail), std::domain_error);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(NearPoints, FindsWhatAComparisonOfAllFinds) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> place(-4.0, 4.0), step(-1.5, 1.5);
  constexpr double kTolerance = 1e-3;
  std::vector<Point3D> points;
  for (int k = 0; k < 400; ++k) {
    points.emplace_back(place(random), place(random), place(random));
    const Eigen::Vector3d near(step(random), step(random), step(random));
    points.emplace_back(points[points.size() / 2].eigen() + kTolerance * near);
  }
  const std::vector<std::int32_t> firsts = trova::files::internal::firstNear(points, kTolerance);
  int merged = 0;
  for (std::size_t k = 0; k < points.size(); ++k) {
    const auto first = static_cast<std::size_t>(firsts[k]);
    ASSERT_LE(points[k].distanceTo(points[first]), kTolerance);
    ASSERT_EQ(firsts[first], firsts[k]);  // itself one that stays
    merged += first != k;
    for (std::size_t other = 0; other < k && first == k; ++other) {
      const bool stays = firsts[other] == static_cast<std::int32_t>(other);
      EXPECT_FALSE(stays && points[k].distanceTo(points[other]) <= kTolerance);
    }
  }
  EXPECT_GT(merged, 50);
}

}  // namespace
}  // namespace morvel_test
