#pragma once

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "morvel/curves/curve.h"
#include "morvel/files/internal/record_members.h"
#include "morvel/surfaces/surface.h"

// The record of every concrete class: how its members are written, and how it is made of them.

namespace trova::files {

/// What a class keeps of itself in a record. `Object` is Curve or Surface.
template <class Object>
struct RecordType {
  const std::type_info* type;
  const char* name;
  void (*write)(const Object&, MemberWriter&);
  std::unique_ptr<Object> (*read)(MemberReader&);
};

/// The record of an object's own class, or of a name; null where there is none.
const RecordType<Curve>* curveRecordType(const Curve& curve);
const RecordType<Curve>* curveRecordType(const std::string& name);
const RecordType<Surface>* surfaceRecordType(const Surface& surface);
const RecordType<Surface>* surfaceRecordType(const std::string& name);

/// Picks the overload that makes a `T`.
template <class T>
struct As {};

/// The entry of the class `T`.
template <class T, class Object, void (*Write)(const T&, MemberWriter&),
          std::unique_ptr<Object> (*Read)(As<T>, MemberReader&)>
constexpr RecordType<Object> recordType(const char* name) {
  return {
      &typeid(T), name,
      [](const Object& object, MemberWriter& out) { Write(static_cast<const T&>(object), out); },
      [](MemberReader& in) { return Read(As<T>{}, in); }};
}

/// The first of the entries that is meant, or null.
template <class Entries, class IsMeant>
constexpr auto findRecordType(const Entries& entries, IsMeant isMeant) {
  const auto found = std::find_if(entries.begin(), entries.end(), isMeant);
  return found == entries.end() ? nullptr : &*found;
}

/// What a spline's parts have to be. @throws std::invalid_argument
void requireSpline(const char* direction, std::size_t pointCount, int degree,
                   const std::vector<double>& knots);
void requireWeights(const std::vector<double>& weights, std::size_t pointCount);

/// An object that is not yet there is made by `work`; what a constructor refuses names the entity.
template <class Work>
auto madeFor(const std::string& entity, Work&& work) -> decltype(work()) {
  try {
    return work();
  } catch (const std::logic_error& fault) {
    failAt(entity, "", fault.what());
  }
}

}  // namespace trova::files
