#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/foundation/point.h"
#include "morvel/foundation/transform3d.h"
#include "morvel/foundation/vector.h"
#include "morvel/surfaces/control_net.h"
#include "morvel/surfaces/curve_on_surface.h"
#include "morvel/surfaces/surface.h"

// The members of one entity of a geometry document, as values of the kernel. Every fault becomes a
// RecordError that names the entity and the member.

namespace trova::files {

using foundation::Point2D;
using foundation::Point3D;
using foundation::Transform3D;
using foundation::Vector3D;
using geometry::ControlNet;
using geometry::Curve;
using geometry::CurveOnSurface;
using geometry::Surface;

/// Members in the order in which they were set.
using Json = nlohmann::ordered_json;

using CurvePointer = std::shared_ptr<const Curve>;
using CurveOnSurfacePointer = std::shared_ptr<CurveOnSurface>;
using SurfacePointer = std::shared_ptr<Surface>;

/// @throws RecordError `entity, member "member": fault`; without the middle for an empty member
[[noreturn]] void failAt(std::string_view entity, std::string_view member, std::string_view fault);

/// Turns objects into references to their entities.
class ReferenceSink {
 public:
  virtual ~ReferenceSink() = default;
  virtual Json referenceTo(const Curve& curve) = 0;
  virtual Json referenceTo(const Surface& surface) = 0;
};

/// Turns references into the objects of their entities.
class ReferenceSource {
 public:
  virtual ~ReferenceSource() = default;
  /// Each throws std::invalid_argument for what is no reference to an object of the kind.
  virtual CurvePointer curveAt(const Json& reference) = 0;
  virtual CurveOnSurfacePointer curveOnSurfaceAt(const Json& reference) = 0;
  virtual SurfacePointer surfaceAt(const Json& reference) = 0;
};

/// Fills a record. A number that is not finite is refused.
class MemberWriter {
 public:
  MemberWriter(std::string entity, ReferenceSink& sink, Json& record)
      : entity_(std::move(entity)), sink_(sink), record_(record) {}

  const std::string& entity() const { return entity_; }
  ReferenceSink& sink() const { return sink_; }

  void set(const char* member, bool value);
  void set(const char* member, int value);
  void set(const char* member, std::int64_t value);
  void set(const char* member, double value);
  void set(const char* member, const std::string& value);
  void set(const char* member, const char* value) { set(member, std::string(value)); }
  void set(const char* member, const Point2D& value);
  void set(const char* member, const Point3D& value);
  void set(const char* member, const Vector3D& value);
  void set(const char* member, const Transform3D& value);
  void set(const char* member, const std::vector<double>& values);
  void set(const char* member, const std::vector<Point2D>& values);
  void set(const char* member, const std::vector<Point3D>& values);
  void set(const char* member, const std::vector<std::vector<double>>& values);
  void set(const char* member, const ControlNet& value);
  void set(const char* member, Json&& value) { record_[member] = std::move(value); }
  /// A reference.
  void set(const char* member, const Curve& curve) { record_[member] = sink_.referenceTo(curve); }
  void set(const char* member, const Surface& surface) {
    record_[member] = sink_.referenceTo(surface);
  }

 private:
  template <class Value>
  void encode(const char* member, const Value& value);

  std::string entity_;
  ReferenceSink& sink_;
  Json& record_;
};

/// Reads a record. `get` fails for a member that is missing or of another type, `finish` for one
/// that nobody asked for.
class MemberReader {
 public:
  /// @throws RecordError where the record is no JSON object
  MemberReader(std::string entity, ReferenceSource& source, const Json& record);

  const std::string& entity() const { return entity_; }
  bool has(const char* member) const { return record_.contains(member); }

  /// `Value` is any type that MemberWriter sets.
  template <class Value>
  Value get(const char* member);
  CurvePointer curve(const char* member);
  SurfacePointer surface(const char* member);
  std::vector<CurvePointer> curves(const char* member);
  /// Entries may be null.
  std::vector<CurveOnSurfacePointer> curvesOnSurfaces(const char* member);
  /// A record within this one.
  MemberReader nested(const char* member);
  std::vector<MemberReader> list(const char* member);

  void finish() const;

 private:
  const Json& at(const char* member);
  /// decode(json), whose std::invalid_argument becomes a RecordError.
  template <class Decode>
  auto decoded(const char* member, Decode&& decode);

  std::string entity_;
  ReferenceSource* source_;
  const Json& record_;
  std::set<std::string, std::less<>> used_;
};

}  // namespace trova::files
