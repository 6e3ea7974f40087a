#include "morvel/files/geometry_records.h"

#include <gmock/gmock.h>

#include <bit>
#include <clocale>
#include <cmath>
#include <sstream>

#include "morvel/curves/curve_batch.h"
#include "morvel/curves/spline_curve.h"
#include "tests/files/geometry_samples.h"

namespace morvel_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;
using trova::files::Geometry;
using trova::files::RecordError;

std::string written(const Geometry& geometry) {
  std::ostringstream out;
  trova::files::writeGeometry(geometry, out);
  return out.str();
}

Geometry read(const std::string& text) { return trova::files::readGeometry(text); }

/// Everything that an object answers, as bits.
class Bits {
 public:
  Bits& add(double x) {
    bits_.push_back(std::bit_cast<std::uint64_t>(x));
    return *this;
  }
  template <class Triple>
  requires requires(Triple t) { t.z(); }
  Bits& add(const Triple& p) { return add(p.x()).add(p.y()).add(p.z()); }
  Bits& add(const Point2D& p) { return add(p.x()).add(p.y()); }
  Bits& add(const std::string& text) {
    for (const char c : text)
      add(double(c));
    return *this;
  }
  template <class Value>
  Bits& add(const std::vector<Value>& values) {
    add(double(values.size()));
    for (const Value& value : values)
      add(value);
    return *this;
  }
  Bits& add(const Transform3D& m) {
    for (int k = 0; k < 16; ++k)
      add(m(k / 4, k % 4));
    return *this;
  }
  bool operator==(const Bits&) const = default;

 private:
  std::vector<std::uint64_t> bits_;
};

const Point3D kProbe(0.3, -0.7, 1.9);

void addPoints(Bits& bits, const Curve& curve) {
  const auto [start, end] = curve.getParameterInterval();
  bits.add(start).add(end);
  for (int k = -1; k <= 9; ++k)
    bits.add(curve.evaluateDerivatives(std::lerp(start, end, k / 8.0), 3));
}

Bits bitsOf(const Curve& curve) {
  Bits bits;
  bits.add(curve.getTypeIdentifier()).add(double(curve.isValid())).add(curve.getMatrix());
  addPoints(bits, curve);
  if (const auto* spline = dynamic_cast<const SplineCurve*>(&curve))
    bits.add(spline->getKnotVector()).add(spline->getControlPoints());
  bits.add(curve.getBoundingBox().min).add(curve.getBoundingBox().max);
  bits.add(curve.getClosestParameter(kProbe)).add(curve.getTotalLength());
  bits.add(curve.tessellate(0.01));
  addPoints(bits, *curve.reverse());
  addPoints(bits, *curve.transform(similarity()));
  return bits;
}

void addPoints(Bits& bits, const Surface& surface) {
  for (int k = 0; k < 25; ++k) {
    const SurfaceEvaluation at = surface.evaluateDerivatives(k / 5 / 4.0, k % 5 / 4.0, 2);
    bits.add(at.point).add(at.Su).add(at.Sv).add(at.normal).add(at.Suu).add(at.Suv).add(at.Svv);
  }
}

Bits bitsOf(const Surface& surface) {
  Bits bits;
  bits.add(surface.getTypeIdentifier()).add(double(surface.isValid())).add(surface.getMatrix());
  addPoints(bits, surface);
  if (const auto* spline = dynamic_cast<const SplineSurface*>(&surface))
    bits.add(spline->getUKnotVector()).add(spline->getVKnotVector());
  bits.add(surface.getBoundingBox().min).add(surface.getBoundingBox().max);
  const auto [u, v] = surface.getClosestParameter(kProbe);
  bits.add(u).add(v).add(double(surface.isPeriodicU())).add(double(surface.isClosed()));
  bits.add(surface.tessellateUniform(7, 6).vertices);
  addPoints(bits, *surface.reverseU());
  addPoints(bits, *surface.swapUV());
  addPoints(bits, *surface.transform(similarity()));
  if (const auto* trimmed = dynamic_cast<const TrimmedSurface*>(&surface)) {
    for (int k = 0; k < 400; ++k)
      bits.add(double(trimmed->classifyPoint(k / 20 / 19.0, k % 20 / 19.0)));
    for (const TrimLoop& loop : trimmed->getTrimLoops())
      bits.add(loop.polygon).add(loop.name).add(double(loop.id)).add(loop.computeLength());
    bits.add(trimmed->computeArea());
  }
  return bits;
}

/// All samples, with ids in their order.
Geometry samples(unsigned seed) {
  Geometry geometry;
  int id = 100;
  for (const auto& curve : sampleCurves(seed))
    geometry.curves.emplace(id++, curve);
  for (const auto& surface : sampleSurfaces(seed))
    geometry.surfaces.emplace(id++, surface);
  const std::shared_ptr<Surface> base = geometry.surfaces.at(id - 2);
  for (const auto& surface : sampleTrimmed(base))
    geometry.surfaces.emplace(id++, surface);
  for (const auto& curve : sampleCurvesOn(base, seed))
    geometry.curvesOnSurfaces.emplace(id++, curve);
  const auto& onSurface = geometry.curvesOnSurfaces.begin()->second;
  geometry.curves.emplace(id++, std::make_shared<OffsetCurve>(onSurface, 0.1, Vector3D(1, 2, 3)));
  geometry.points.emplace(id++, Point3D(0.1, -0.0, std::numeric_limits<double>::denorm_min()));
  return geometry;
}

template <class Map>
void expectSameBits(const Map& before, const Map& after) {
  ASSERT_EQ(before.size(), after.size());
  for (const auto& [id, object] : before)
    EXPECT_EQ(bitsOf(*object), bitsOf(*after.at(id))) << id << " " << object->getTypeIdentifier();
}

TEST(GeometryRecords, RandomObjectsOfEveryClassComeBackToTheLastBit) {
  for (const unsigned seed : {1u, 2u, 3u}) {
    const Geometry before = samples(seed);
    const std::string text = written(before);
    const Geometry after = read(text);
    expectSameBits(before.curves, after.curves);
    expectSameBits(before.surfaces, after.surfaces);
    expectSameBits(before.curvesOnSurfaces, after.curvesOnSurfaces);
    EXPECT_EQ(Bits().add(before.points.begin()->second), Bits().add(after.points.begin()->second));
    // Surfaces that share a profile get copies of it: neither can be told from the other.
    const std::string again = written(after);
    EXPECT_EQ(written(read(again)), again);
  }
}

TEST(GeometryRecords, SharedObjectsAreSharedAgain) {
  Geometry before;
  const std::shared_ptr<Surface> hidden = plate();  // not registered itself
  before.surfaces = {{7, plate()}};
  const auto& base = before.surfaces.at(7);
  before.surfaces.emplace(3, std::make_shared<TrimmedSurface>(base));
  before.surfaces.emplace(9, std::make_shared<WireTrimmedSurface>(base));
  before.surfaces.emplace(10, std::make_shared<TrimmedSurface>(hidden));
  before.surfaces.emplace(11, std::make_shared<TrimmedSurface>(hidden));
  const auto curve =
      std::make_shared<CurveOnSurface>(base, std::make_unique<CircularCurve2D>(Point2D(0, 0), 1.0));
  before.curvesOnSurfaces.emplace(7, curve);
  TrimLoop loop;
  loop.curves = {curve};
  dynamic_cast<TrimmedSurface&>(*before.surfaces.at(9)).addInnerLoop(loop);
  const Geometry after = read(written(before));
  const auto trimmed = [&](int id) {
    return std::dynamic_pointer_cast<TrimmedSurface>(after.surfaces.at(id));
  };
  ASSERT_EQ(after.surfaces.size(), 5u);
  EXPECT_EQ(trimmed(3)->getBaseSurface(), after.surfaces.at(7));
  EXPECT_EQ(trimmed(9)->getBaseSurface(), after.surfaces.at(7));
  EXPECT_EQ(trimmed(10)->getBaseSurface(), trimmed(11)->getBaseSurface());
  EXPECT_EQ(trimmed(9)->getTrimLoop(0).curves[0], after.curvesOnSurfaces.at(7));
  EXPECT_EQ(after.curvesOnSurfaces.at(7)->getBaseSurface(), after.surfaces.at(7));
}

TEST(GeometryRecords, HostsInAnotherLocaleGetTheSameBits) {
  struct CommaNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  Geometry geometry;
  geometry.points.emplace(1234567, Point3D(1234567.25, -1e-7, 1.0 / 3.0));
  const std::string text = written(geometry);
  const std::locale before = std::locale::global(std::locale(std::locale(), new CommaNumbers));
  const bool hasCommas = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
  const std::string inLocale = written(geometry);
  const Geometry back = read(text);
  std::setlocale(LC_ALL, "C");
  std::locale::global(before);
  RecordProperty("c_locale_with_commas", hasCommas);
  EXPECT_EQ(inLocale, text);
  EXPECT_EQ(Bits().add(back.points.at(1234567)), Bits().add(geometry.points.at(1234567)));
}

TEST(GeometryRecords, WhatCannotBeWrittenIsNamed) {
  const double nan = std::nan("");
  Geometry geometry;
  geometry.curves.emplace(
      20005, std::make_shared<BezierCurve>(std::vector<Point3D>{{0, 0, 0}, {1, nan, 0}}));
  EXPECT_THAT([&] { written(geometry); },
              ThrowsMessage<RecordError>("curve 20005, member \"points\": a number is not finite"));
  geometry.curves.clear();
  const auto base = plate();
  const auto trimmed = std::make_shared<TrimmedSurface>(base);
  trimmed->addOuterLoop(sampleLoop({{0, 0}}, true, "\xff"));
  geometry.surfaces.emplace(40000, trimmed);
  EXPECT_THAT([&] { written(geometry); },
              ThrowsMessage<RecordError>("surface 40000: a text is not UTF-8"));
  TrimLoop loop;
  loop.curves = {std::make_shared<CurveOnSurface>(
      trimmed, std::make_unique<LinearCurve2D>(Point2D(0, 0), Point2D(1, 1)))};
  trimmed->clearTrimLoops();
  trimmed->addOuterLoop(loop);
  EXPECT_THAT([&] { written(geometry); },
              ThrowsMessage<RecordError>("surface 40000: refers to itself"));
  trimmed->clearTrimLoops();
  std::shared_ptr<const Curve> chain = sampleCurves(1).front();
  for (int k = 0; k < trova::files::kMaxReferenceDepth; ++k)
    chain = std::make_shared<OffsetCurve>(chain, 0.1, Vector3D(1, 2, 3));
  geometry.curves.emplace(1, chain);
  EXPECT_THAT([&] { written(geometry); },
              ThrowsMessage<RecordError>(HasSubstr("too many objects")));
}

TEST(GeometryRecords, DegenerateObjectsAreReadOnlyAsSuch) {
  Geometry geometry;
  geometry.curves.emplace(1, std::make_shared<LineCurve>(Point3D(1, 1, 1), Point3D(1, 1, 1)));
  std::string text = written(geometry);
  EXPECT_EQ(written(read(text)), text);
  const std::string flag = ",\"valid\":false";
  text.erase(text.find(flag), flag.size());
  EXPECT_THAT([&] { read(text); }, ThrowsMessage<RecordError>(HasSubstr("no valid LineCurve")));
}

std::string document(const std::string& entities) {
  return R"({"format": "morvel geometry", "version": 1, "entities": [)" + entities + "]}";
}

std::string objectOf(int memberCount) {
  std::string text;
  for (int k = 0; k < memberCount; ++k)
    text += (k == 0 ? "{\"" : ",\"") + std::to_string(k) + "\":0";
  return text + "}";
}

TEST(GeometryRecords, FaultsAreNamedWithTheirPlace) {
  const std::string line = R"({"id": 5, "kind": "curve", "type": "LineCurve", )";
  const std::string spline = R"({"id": 5, "kind": "curve", "type": "NurbsCurve",
      "points": [[0,0,0],[1,0,0],[2,1,0]], )";
  const std::string offset = R"("kind": "curve", "type": "OffsetCurve", "distance": 1,
      "planeNormal": [0,0,1], "base": {"kind": "curve", "id": )";
  const std::string pointZero =
      R"({"id": 0, "kind": "point", "type": "Point3D", "coordinates": [0,0,0]})";
  const std::string point =
      R"({"id": 1, "kind": "point", "type": "Point3D", "coordinates": [0,0,0]})";
  const std::pair<std::string, std::string> cases[] = {
      {"", "parse error at line 1, column 1"},
      {"{} x", "parse error"},
      {document("") + std::string(1, '\0') + "x", "zero byte"},
      {document("").substr(0, 40), "parse error"},
      {document("\"\xff\""), "ill-formed UTF-8"},
      {document("1,5"), "entity 0: must be an object"},
      {document(line + R"("start": [0,0,0], "end": [0,5,0,0]})"),
       "curve 5, member \"end\": must hold 3 numbers, not 4"},
      {document(line + R"("start": [0,0,0], "end": [0,1e999,0]})"), "number overflow"},
      {document(line + R"("start": [0,0,0], "end": [0,NaN,0]})"), "parse error"},
      {document(line + R"("start": [0,0,0], "end": [0,null,0]})"), "must be a number"},
      {document(line + R"("start": [0,0,0]})"), "curve 5, member \"end\": is missing"},
      {document(line + R"("start": [0,0,0], "end": [1,0,0], "stop": 1})"),
       "curve 5, member \"stop\": is unknown"},
      {document(line + R"("start": [0,0,0], "end": [1,0,0], "id": 6})"), "given twice"},
      {document(line + R"("start": [0,0,0], "end": [1,0,0], "pending": [[1]]})"),
       "curve 5, member \"pending\": must hold 4 rows, not 1"},
      {document(spline + R"("weights": [1,1,1], "degree": 2, "knots": [0,0,0,1,1]})"),
       "curve 5: 6 knots (points + degree + 1) are needed, not 5"},
      {document(spline + R"("weights": [1,1,1], "degree": 9, "knots": [0,0,0,1,1,1]})"),
       "13 knots"},
      {document(spline + R"("weights": [1,1,1], "degree": 0, "knots": [0,0,1,1]})"),
       "degree must be at least 1"},
      {document(spline + R"("weights": [1,1,1], "degree": 1e9, "knots": [0,0,0,1,1,1]})"),
       "member \"degree\": must be a whole number"},
      {document(spline + R"("weights": [1,1,1], "degree": 2147483647, "knots": [0]})"),
       "curve 5: 2147483651 knots"},
      {document(spline + R"("weights": [1,1,1], "degree": 2, "knots": [0,0,0,1,0.5,1]})"),
       "curve 5: knots must never decrease"},
      {document(spline + R"("weights": [1,0,1], "degree": 2, "knots": [0,0,0,1,1,1]})"),
       "curve 5: weights must be above 0"},
      {document(spline + R"("weights": [1,1], "degree": 2, "knots": [0,0,0,1,1,1]})"),
       "one weight for each"},
      {document(R"({"id": 5, "kind": "curve", "type": "Spline"})"), "is unknown: \"Spline\""},
      {document(R"({"id": 5, "kind": "shape", "type": "LineCurve"})"), "is unknown: \"shape\""},
      {document(pointZero), "must not be 0"},
      {document(point + "," + point), "entity 1, member \"id\": is that of another point 1"},
      {document("{\"id\": 1, " + offset + "1}}"), "curve 1: refers to itself"},
      {document("{\"id\": 1, " + offset + "2}}, {\"id\": 2, " + offset + "1}}"),
       "refers to itself"},
      {document("{\"id\": 1, " + offset + "3}}"), "refers to curve 3, which is not there"},
      {R"({"format": "morvel geometry", "version": 2, "entities": []})", "version must be 1"},
      {R"({"format": "other", "version": 1, "entities": []})", "format must be"},
      {R"({"format": "morvel geometry", "version": 1})", "entities must be an array"},
      {std::string(1000000, '['), "nested too deeply"},
      {objectOf(1000000), "more members than any record"},
  };
  for (const auto& entry : cases) {
    const std::string& text = entry.first;
    EXPECT_THAT([&] { read(text); }, ThrowsMessage<RecordError>(HasSubstr(entry.second)))
        << text.substr(0, 300);
  }
}

TEST(GeometryRecords, LongChainsAreRefusedInEitherOrder) {
  for (const bool isRising : {true, false}) {
    std::string entities = R"({"id": 1, "kind": "curve", "type": "LineCurve", "start": [0,0,0],
        "end": [1,0,0]})";
    for (int k = 2; k <= 10000; ++k) {
      const std::string next = R"({"id": )" + std::to_string(k) +
                               R"(, "kind": "curve", "type": "OffsetCurve", "distance": 0.1,
          "planeNormal": [0,0,1], "base": {"kind": "curve", "id": )" +
                               std::to_string(k - 1) + "}}";
      if (isRising)
        entities += "," + next;
      else
        entities.insert(0, next + ",");
    }
    EXPECT_THAT([&] { read(document(entities)); },
                ThrowsMessage<RecordError>(HasSubstr("too many objects")));
  }
}

}  // namespace
}  // namespace morvel_test
