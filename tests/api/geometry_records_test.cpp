#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/api/kernel_session.h"
#include "tests/support/temporary_folder.h"

namespace morvel_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class GeometryRecordsInterface : public KernelSession {
 protected:
  GeometryRecordsInterface() { set_log_level(MORVEL_LOG_ERROR); }
  ~GeometryRecordsInterface() override {
    std::vector<int> left(100);
    left.resize(std::max(0, get_all_curves_on_surfaces(left.data(), 100)));
    for (const int curve : left)
      delete_curve_on_surface(curve);
    set_log_level(MORVEL_LOG_INFO);
  }

  /// A point, a line, a plate with a hole, and a curve on the plate.
  void fill() {
    const double o[] = {0, 0, 0}, u[] = {2, 0, 0}, v[] = {0, 1, 0};
    const double uv[] = {0.1, 0.1, 0.9, 0.7};
    create_point(1, 2, 3);
    create_curve_line(0, 0, 0, 1, 1, 1);
    const int plate = create_surface_plane(o, u, v);
    create_trimmed_surface_with_circular_hole(plate, 0.5, 0.5, 0.2, nullptr);
    onSurface_ = create_curve_on_surface(plate, uv, 2, 1);
  }
  std::vector<int> counts() const {
    return {get_point_count(), get_curve_count(), get_surfaces_count(),
            get_curve_on_surface_count()};
  }
  std::string path(const std::string& name) const { return folder_.path() / name; }

  TemporaryFolder folder_;
  int onSurface_ = 0;
};

TEST_F(GeometryRecordsInterface, AFileTellsWhichOldHandleBecameWhichNewOne) {
  fill();
  int count = 0;
  ASSERT_EQ(write_geometry_json(path("all.json").c_str(), &count), 0);
  EXPECT_EQ(count, 5);
  Guarded<int> mapping(15);
  EXPECT_EQ(read_geometry_json(path("all.json").c_str(), mapping.data(), 4, &count), -2);
  EXPECT_EQ(count, 5);
  EXPECT_TRUE(mapping.isUntouched());
  EXPECT_EQ(read_geometry_json(path("all.json").c_str(), nullptr, 0, nullptr), -2);
  EXPECT_THAT(counts(), ElementsAre(1, 1, 2, 1));
  ASSERT_EQ(read_geometry_json(path("all.json").c_str(), mapping.data(), 5, &count), 0);
  EXPECT_TRUE(mapping.isIntact());
  EXPECT_THAT(std::vector(mapping.data(), mapping.data() + 15),
              ElementsAre(MORVEL_CURVES, 20000, 20001, MORVEL_SURFACES, 40000, 40002,
                          MORVEL_SURFACES, 40001, 40003, MORVEL_POINTS, 2000, 2001,
                          MORVEL_CURVES_ON_SURFACES, onSurface_, onSurface_ + 1));
  int base = 0;
  EXPECT_EQ(get_trimmed_surface_base_surface(40003, &base), 0);
  EXPECT_EQ(base, 40002);
  EXPECT_EQ(get_curve_on_surface_base(onSurface_ + 1), 40002);
}

TEST_F(GeometryRecordsInterface, OneObjectGoesThroughABufferOfTheSizeThatIsTold) {
  fill();
  int needed = 0;
  EXPECT_EQ(surface_to_json(40001, nullptr, 0, &needed), -2);
  Guarded<char> buffer(static_cast<std::size_t>(needed));
  EXPECT_EQ(surface_to_json(40001, buffer.data(), needed - 1, nullptr), -2);
  EXPECT_TRUE(buffer.isUntouched());
  ASSERT_EQ(surface_to_json(40001, buffer.data(), needed, &needed), 0);
  EXPECT_TRUE(buffer.isIntact());
  EXPECT_EQ(buffer[static_cast<std::size_t>(needed) - 1], '\0');
  EXPECT_EQ(create_surface_from_json(buffer.data(), needed - 1), 40002);
  EXPECT_EQ(get_surfaces_count(), 3);  // the base came without a handle
  EXPECT_EQ(create_curve_from_json(buffer.data(), needed - 1), -1);
  EXPECT_THAT(lastError(), HasSubstr("must register one curve"));
  EXPECT_EQ(curve_to_json(7, buffer.data(), needed, nullptr), -3);
  EXPECT_EQ(point_to_json(2000, nullptr, 5, nullptr), -1);
  EXPECT_EQ(create_point_from_json(nullptr, 5), -1);
  EXPECT_EQ(create_point_from_json("{}", -1), -1);
}

TEST_F(GeometryRecordsInterface, WhatFailsHalfWayRegistersNothing) {
  const std::string start = R"({"format": "morvel geometry", "version": 1, "entities": [
      {"id": 1, "kind": "point", "type": "Point3D", "coordinates": [0, 0, 0]},
      {"id": 1, "kind": "curve", "type": "LineCurve", "start": [0, 0, 0], "end": [1, 0, 0]},
      {"id": 1, "kind": "surface", "type": "PlaneSurface", "origin": [0, 0, 0],
       "uDirection": [1, 0, 0], "vDirection": [0, 1, 0], "uExtent": 1, "vExtent": 1},)";
  const std::pair<const char*, const char*> lasts[] = {
      {R"({"id": 2, "kind": "curve", "type": "LineCurve", "start": [0, 0, 0]}]})", "curve 2"},
      {R"({"id": 2, "kind": "surface", "type": "SphereSurface", "origin": [0, 0, 0],
           "xAxis": [1, 0, 0], "yAxis": [0, 1, 0], "zAxis": [0, 0, 1], "radius": -1}]})",
       "surface 2: its members make no valid SphereSurface"},
      {R"({"id": 2, "kind": "surface", "type": "TorusSurface", "origin": [1e308, 0, 0],
           "xAxis": [1, 0, 0], "yAxis": [0, 1, 0], "zAxis": [0, 0, 1], "majorRadius": 1.5e308,
           "minorRadius": 1}]})",
       "surface 2: has points that are not finite"}};
  int mapping[30];
  for (const auto& [last, fault] : lasts) {
    std::ofstream(path("f.json")) << start << last;
    EXPECT_LT(read_geometry_json(path("f.json").c_str(), mapping, 10, nullptr), 0);
    EXPECT_THAT(lastError(), HasSubstr(fault));
    EXPECT_THAT(counts(), ElementsAre(0, 0, 0, 0));
  }
}

TEST_F(GeometryRecordsInterface, FilesThatCannotBeAreNamed) {
  fill();
  for (const char* target : {"missing/f", "."}) {
    EXPECT_EQ(write_geometry_json(path(target).c_str(), nullptr), -4);
    EXPECT_THAT(lastError(), HasSubstr(target));
    EXPECT_EQ(read_geometry_json(path(target).c_str(), nullptr, 0, nullptr), -4);
  }
  EXPECT_EQ(write_geometry_json("/dev/full", nullptr), -4);
  EXPECT_EQ(write_geometry_json(nullptr, nullptr), -1);
  EXPECT_EQ(write_geometry_json("", nullptr), -4);
  EXPECT_EQ(read_geometry_json(nullptr, nullptr, 0, nullptr), -1);
  EXPECT_EQ(read_geometry_json("f", nullptr, 1, nullptr), -1);
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

}  // namespace
}  // namespace morvel_test
