// Documents that were changed at random: each is read, or refused with a text.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/files/geometry_samples.h"

namespace morvel_test {
namespace {

using nlohmann::json;
using trova::files::Geometry;
using trova::files::RecordError;

constexpr int kMutations = 3000;

std::string written(const Geometry& geometry) {
  std::ostringstream out;
  trova::files::writeGeometry(geometry, out);
  return out.str();
}

/// A document for every sample.
std::vector<std::string> documents() {
  std::vector<std::string> all;
  const auto add = [&](auto Geometry::*kind, const auto& object) {
    Geometry geometry;
    (geometry.*kind).emplace(1, object);
    all.push_back(written(geometry));
  };
  for (const auto& curve : sampleCurves(5))
    add(&Geometry::curves, curve);
  const auto surfaces = sampleSurfaces(5);
  for (const auto& surface : surfaces)
    add(&Geometry::surfaces, surface);
  for (const auto& surface : sampleTrimmed(surfaces[1]))
    add(&Geometry::surfaces, surface);
  for (const auto& curve : sampleCurvesOn(surfaces[2], 5))
    add(&Geometry::curvesOnSurfaces, curve);
  return all;
}

/// What is read can be asked, and written again.
bool isReadOrRefused(const std::string& text) {
  try {
    const Geometry geometry = trova::files::readGeometry(text);
    for (const auto& [id, curve] : geometry.curves)
      curve->evaluateDerivatives(curve->getParameterInterval().start, 2);
    for (const auto& [id, surface] : geometry.surfaces)
      surface->evaluateDerivatives(0.3, 0.6, 2);
    for (const auto& [id, curve] : geometry.curvesOnSurfaces)
      curve->evaluate(0.5);
    const std::string again = written(geometry);
    EXPECT_EQ(written(trova::files::readGeometry(again)), again);
    return true;
  } catch (const RecordError& error) {
    EXPECT_STRNE(error.what(), "");
    return false;
  }
}

std::string withChangedBytes(std::string text, Random& random) {
  static constexpr std::string_view kPieces = "0123456789-+.eE,:[]{}\" \\ntu\xff\x80\x01";
  for (int k = random.whole(1, 4); k > 0; --k) {
    const auto at = static_cast<std::size_t>(random.whole(0, static_cast<int>(text.size()) - 1));
    const char piece = kPieces[random.whole(0, static_cast<int>(kPieces.size()) - 1)];
    switch (random.whole(0, 3)) {
      case 0:
        text[at] = piece;
        break;
      case 1:
        text.insert(at, 1, piece);
        break;
      case 2:
        text.erase(at, random.whole(1, 20));
        break;
      default:
        text.insert(at, text.substr(random.whole(0, static_cast<int>(at)), 30));
    }
    if (text.empty()) text = "{";
  }
  return text;
}

/// Some value within, by a random way down.
json& someValue(json& value, Random& random) {
  if (value.empty() || !value.is_structured() || random.whole(0, 5) == 0) return value;
  auto entry = value.begin();
  std::advance(entry, random.whole(0, static_cast<int>(value.size()) - 1));
  return someValue(*entry, random);
}

json hostileValue(Random& random) {
  const json values[] = {nullptr,
                         true,
                         0,
                         -1,
                         1,
                         2147483647,
                         -2147483648.0,
                         1e300,
                         -1e-300,
                         0.5,
                         "x",
                         json::array(),
                         json::object(),
                         {0, 0, 0},
                         {1e308, 1e308, 1e308},
                         {{"kind", "surface"}, {"id", 1}},
                         {{"kind", "curve"}, {"id", -1}}};
  return values[random.whole(0, static_cast<int>(std::size(values)) - 1)];
}

std::string withChangedMembers(const std::string& text, Random& random) {
  json document = json::parse(text);
  for (int k = random.whole(1, 3); k > 0; --k) {
    json& place = someValue(document["entities"], random);
    const int kind = random.whole(0, 3);
    if (kind == 0 && place.is_structured() && !place.empty()) {
      place.erase(place.begin());
    } else if (kind == 1 && place.is_array() && !place.empty()) {
      place.push_back(place.front());
    } else if (kind == 2 && place.is_number()) {
      place = -2.0 * place.get<double>();
    } else {
      place = hostileValue(random);
    }
    if (!document["entities"].is_array()) break;
  }
  return document.dump();
}

using Mutation = std::string (*)(const std::string&, Random&);

class MutatedDocuments : public testing::TestWithParam<std::pair<const char*, Mutation>> {};

TEST_P(MutatedDocuments, AreReadOrRefused) {
  Random random(11);
  const std::vector<std::string> originals = documents();
  int readCount = 0;
  for (int k = 0; k < kMutations; ++k) {
    const std::string text = GetParam().second(originals[k % originals.size()], random);
    SCOPED_TRACE(text);
    readCount += isReadOrRefused(text);
    ASSERT_FALSE(HasFailure());
  }
  EXPECT_GT(readCount, kMutations / 100);  // both ends are reached
  EXPECT_LT(readCount, kMutations * 3 / 4);
}

INSTANTIATE_TEST_SUITE_P(All, MutatedDocuments,
                         testing::Values(std::pair("Bytes", Mutation([](const std::string& text,
                                                                        Random& random) {
                                                     return withChangedBytes(text, random);
                                                   })),
                                         std::pair("Members", Mutation(withChangedMembers))),
                         [](const auto& param) { return param.param.first; });

TEST(TruncatedDocuments, AreRefusedAtEveryLength) {
  const std::string text = documents().front();
  const std::size_t whole = text.rfind('}') + 1;
  for (std::size_t length = 0; length < whole; ++length)
    EXPECT_THROW(trova::files::readGeometry(text.substr(0, length)), RecordError) << length;
}

}  // namespace
}  // namespace morvel_test
