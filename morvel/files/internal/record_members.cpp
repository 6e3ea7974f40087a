#include "morvel/files/internal/record_members.h"

#include <cmath>
#include <limits>
#include <stdexcept>

#include "morvel/files/geometry_records.h"
#include "morvel/files/internal/in_quotes.h"

namespace trova::files {
namespace {

constexpr int kMatrixSide = 4;

/// Thrown while a value is encoded; the writer knows the member.
struct NotFinite {};

[[noreturn]] void refuseValue(const std::string& text) { throw std::invalid_argument(text); }

// ---- values to JSON ----

Json toJson(bool value) { return value; }
Json toJson(int value) { return value; }
Json toJson(std::int64_t value) { return value; }
Json toJson(const std::string& value) { return value; }

Json toJson(double value) {
  if (!std::isfinite(value)) throw NotFinite{};
  return value;
}

Json toJson(const Point2D& p) { return Json::array({toJson(p.x()), toJson(p.y())}); }

template <class Triple>
Json tripleToJson(const Triple& value) {
  return Json::array({toJson(value.x()), toJson(value.y()), toJson(value.z())});
}
Json toJson(const Point3D& p) { return tripleToJson(p); }
Json toJson(const Vector3D& v) { return tripleToJson(v); }

template <class Value>
Json toJson(const std::vector<Value>& values) {
  Json array = Json::array();
  array.get_ref<Json::array_t&>().reserve(values.size());
  for (const Value& value : values)
    array.push_back(toJson(value));
  return array;
}

Json toJson(const ControlNet& net) { return toJson(net.rows()); }

Json toJson(const Transform3D& matrix) {
  Json rows = Json::array();
  for (int r = 0; r < kMatrixSide; ++r) {
    Json row = Json::array();
    for (int c = 0; c < kMatrixSide; ++c)
      row.push_back(toJson(matrix(r, c)));
    rows.push_back(std::move(row));
  }
  return rows;
}

// ---- JSON to values ----

const Json::array_t& arrayOf(const Json& json, const char* what) {
  if (!json.is_array()) refuseValue(std::string("must be an array of ") + what);
  return json.get_ref<const Json::array_t&>();
}

const Json::array_t& arrayOf(const Json& json, std::size_t count, const char* what) {
  const Json::array_t& array = arrayOf(json, what);
  if (array.size() != count) {
    refuseValue("must hold " + std::to_string(count) + " " + what + ", not " +
                std::to_string(array.size()));
  }
  return array;
}

void fromJson(const Json& json, bool& out) {
  if (!json.is_boolean()) refuseValue("must be true or false");
  out = json.get<bool>();
}

void fromJson(const Json& json, std::int64_t& out) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  const bool fits =
      json.is_number_unsigned() ? json.get<std::uint64_t>() <= kMost : json.is_number_integer();
  if (!fits) refuseValue("must be a whole number of 64 bits");
  out = json.get<std::int64_t>();
}

void fromJson(const Json& json, int& out) {
  using Limits = std::numeric_limits<int>;
  std::int64_t value = 0;
  fromJson(json, value);
  if (value < Limits::min() || value > Limits::max())
    refuseValue("must be a whole number of 32 bits");
  out = static_cast<int>(value);
}

void fromJson(const Json& json, double& out) {
  if (!json.is_number()) refuseValue("must be a number");
  out = json.get<double>();
  if (!std::isfinite(out)) refuseValue("must be finite");
}

void fromJson(const Json& json, std::string& out) {
  if (!json.is_string()) refuseValue("must be a text");
  out = json.get<std::string>();
}

void fromJson(const Json& json, Point2D& out) {
  const Json::array_t& pair = arrayOf(json, 2, "numbers");
  double x = 0.0, y = 0.0;
  fromJson(pair[0], x);
  fromJson(pair[1], y);
  out = {x, y};
}

template <class Triple>
void tripleFromJson(const Json& json, Triple& out) {
  const Json::array_t& triple = arrayOf(json, 3, "numbers");
  double x = 0.0, y = 0.0, z = 0.0;
  fromJson(triple[0], x);
  fromJson(triple[1], y);
  fromJson(triple[2], z);
  out = {x, y, z};
}
void fromJson(const Json& json, Point3D& out) { tripleFromJson(json, out); }
void fromJson(const Json& json, Vector3D& out) { tripleFromJson(json, out); }

template <class Value>
void fromJson(const Json& json, std::vector<Value>& out) {
  const Json::array_t& array = arrayOf(json, "values");
  out.resize(array.size());
  for (std::size_t k = 0; k < array.size(); ++k) {
    try {
      fromJson(array[k], out[k]);
    } catch (const std::invalid_argument& fault) {
      refuseValue("entry " + std::to_string(k) + " " + fault.what());
    }
  }
}

void fromJson(const Json& json, ControlNet& out) {
  std::vector<std::vector<Point3D>> rows;
  fromJson(json, rows);
  out = ControlNet(rows);
}

void fromJson(const Json& json, Transform3D& out) {
  const Json::array_t& rows = arrayOf(json, kMatrixSide, "rows");
  for (int r = 0; r < kMatrixSide; ++r) {
    const Json::array_t& row = arrayOf(rows[r], kMatrixSide, "numbers a row");
    for (int c = 0; c < kMatrixSide; ++c)
      fromJson(row[c], out(r, c));
  }
}

}  // namespace

void failAt(std::string_view entity, std::string_view member, std::string_view fault) {
  std::string text(entity);
  if (!member.empty()) {
    text += ", member ";
    text += inQuotes(member);
  }
  text += ": ";
  text += fault;
  throw RecordError(text);
}

// ---- writing ----

template <class Value>
void MemberWriter::encode(const char* member, const Value& value) {
  try {
    record_[member] = toJson(value);
  } catch (const NotFinite&) {
    failAt(entity_, member, "a number is not finite");
  }
}

void MemberWriter::set(const char* member, bool value) { encode(member, value); }
void MemberWriter::set(const char* member, int value) { encode(member, value); }
void MemberWriter::set(const char* member, std::int64_t value) { encode(member, value); }
void MemberWriter::set(const char* member, double value) { encode(member, value); }
void MemberWriter::set(const char* member, const std::string& value) { encode(member, value); }
void MemberWriter::set(const char* member, const Point2D& value) { encode(member, value); }
void MemberWriter::set(const char* member, const Point3D& value) { encode(member, value); }
void MemberWriter::set(const char* member, const Vector3D& value) { encode(member, value); }
void MemberWriter::set(const char* member, const Transform3D& value) { encode(member, value); }
void MemberWriter::set(const char* member, const std::vector<double>& values) {
  encode(member, values);
}
void MemberWriter::set(const char* member, const std::vector<Point2D>& values) {
  encode(member, values);
}
void MemberWriter::set(const char* member, const std::vector<Point3D>& values) {
  encode(member, values);
}
void MemberWriter::set(const char* member, const std::vector<std::vector<double>>& values) {
  encode(member, values);
}
void MemberWriter::set(const char* member, const ControlNet& value) { encode(member, value); }

// ---- reading ----

MemberReader::MemberReader(std::string entity, ReferenceSource& source, const Json& record)
    : entity_(std::move(entity)), source_(&source), record_(record) {
  if (!record.is_object()) failAt(entity_, "", "must be an object");
}

const Json& MemberReader::at(const char* member) {
  const auto found = record_.find(member);
  if (found == record_.end()) failAt(entity_, member, "is missing");
  used_.insert(member);
  return *found;
}

template <class Decode>
auto MemberReader::decoded(const char* member, Decode&& decode) {
  const Json& json = at(member);
  try {
    return decode(json);
  } catch (const std::logic_error& fault) {
    failAt(entity_, member, fault.what());
  }
}

template <class Value>
Value MemberReader::get(const char* member) {
  return decoded(member, [](const Json& json) {
    Value value{};
    fromJson(json, value);
    return value;
  });
}

template bool MemberReader::get<bool>(const char*);
template int MemberReader::get<int>(const char*);
template std::int64_t MemberReader::get<std::int64_t>(const char*);
template double MemberReader::get<double>(const char*);
template std::string MemberReader::get<std::string>(const char*);
template Point2D MemberReader::get<Point2D>(const char*);
template Point3D MemberReader::get<Point3D>(const char*);
template Vector3D MemberReader::get<Vector3D>(const char*);
template Transform3D MemberReader::get<Transform3D>(const char*);
template std::vector<double> MemberReader::get<std::vector<double>>(const char*);
template std::vector<Point2D> MemberReader::get<std::vector<Point2D>>(const char*);
template std::vector<Point3D> MemberReader::get<std::vector<Point3D>>(const char*);
template std::vector<std::vector<double>> MemberReader::get<std::vector<std::vector<double>>>(
    const char*);
template ControlNet MemberReader::get<ControlNet>(const char*);

CurvePointer MemberReader::curve(const char* member) {
  return decoded(member, [&](const Json& json) { return source_->curveAt(json); });
}

SurfacePointer MemberReader::surface(const char* member) {
  return decoded(member, [&](const Json& json) { return source_->surfaceAt(json); });
}

std::vector<CurvePointer> MemberReader::curves(const char* member) {
  return decoded(member, [&](const Json& json) {
    std::vector<CurvePointer> found;
    for (const Json& reference : arrayOf(json, "references"))
      found.push_back(source_->curveAt(reference));
    return found;
  });
}

std::vector<CurveOnSurfacePointer> MemberReader::curvesOnSurfaces(const char* member) {
  return decoded(member, [&](const Json& json) {
    std::vector<CurveOnSurfacePointer> found;
    for (const Json& reference : arrayOf(json, "references"))
      found.push_back(reference.is_null() ? nullptr : source_->curveOnSurfaceAt(reference));
    return found;
  });
}

MemberReader MemberReader::nested(const char* member) {
  return {entity_ + ", " + member, *source_, at(member)};
}

std::vector<MemberReader> MemberReader::list(const char* member) {
  return decoded(member, [&](const Json& json) {
    std::vector<MemberReader> readers;
    for (const Json& record : arrayOf(json, "objects")) {
      const std::string place = entity_ + ", " + member + " " + std::to_string(readers.size());
      readers.emplace_back(place, *source_, record);
    }
    return readers;
  });
}

void MemberReader::finish() const {
  for (const auto& [member, value] : record_.items()) {
    if (!used_.contains(member)) failAt(entity_, member, "is unknown");
  }
}

}  // namespace trova::files
