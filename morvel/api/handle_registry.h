#pragma once

#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

#include "morvel/api/exception_guard.h"
#include "morvel/foundation/progress.h"

namespace trova_internal {

/// The operations on one table of objects by handle. The map and the counter are plain globals with
/// documented names; this is a view of them, so that a table may share another's numbering. What is
/// removed inside the host's progress callback lives until the operation ends.
template <class Map>
class HandleRegistry {
 public:
  using Object = typename Map::mapped_type;

  /// `generation` counts the restarts of the numbering.
  HandleRegistry(Map& map, int& next, int first, int& generation)
      : map_(map), next_(next), first_(first), generation_(generation) {}

  /// The next number; it is consumed, whatever becomes of it.
  /// @throws std::overflow_error where the counter stands at the largest int
  int reserve() {
    if (next_ == std::numeric_limits<int>::max())
      throw std::overflow_error("Handle numbers are used up");
    return next_++;
  }

  int store(Object object) {
    const int handle = reserve();
    map_.insert_or_assign(handle, std::move(object));
    return handle;
  }

  void storeAt(int handle, Object object) { map_.insert_or_assign(handle, std::move(object)); }

  bool contains(int handle) const { return map_.find(handle) != map_.end(); }

  /// The entry, or null.
  Object* find(int handle) const {
    const auto entry = map_.find(handle);
    return entry == map_.end() ? nullptr : &entry->second;
  }

  /// The stored object as a `T`, or null where the handle is absent, its entry empty or no `T`.
  template <class T>
  T* findAs(int handle) const {
    const Object* entry = find(handle);
    return entry ? dynamic_cast<T*>(entry->get()) : nullptr;
  }

  bool erase(int handle) {
    const auto entry = map_.find(handle);
    if (entry == map_.end()) return false;
    Object destroyedLast = std::move(entry->second);
    map_.erase(entry);
    letGo(destroyedLast);
    return true;
  }

  /// Moves the object under `from` to `to`, both present. Equal handles leave it in place.
  void replace(int to, int from) {
    if (to == from) return;
    const auto source = map_.find(from);
    std::swap(map_.at(to), source->second);
    letGo(source->second);
    map_.erase(source);
  }

  int count() const { return static_cast<int>(map_.size()); }

  /// Writes at most `max` handles in the map's order; returns how many.
  int handles(int* out, int max) const {
    int written = 0;
    for (auto entry = map_.begin(); entry != map_.end() && written < max; ++entry)
      out[written++] = entry->first;
    return written;
  }

  const Map& map() const { return map_; }

  /// Removes all objects, restarts the numbering, and returns how many there were.
  int clearAndRestart() {
    const int removed = count();
    Map doomed;
    doomed.swap(map_);
    next_ = first_;
    generation_ = generation_ == std::numeric_limits<int>::max() ? 0 : generation_ + 1;
    letGo(doomed);
    return removed;
  }

 private:
  template <class Doomed>
  static void letGo(Doomed& doomed) noexcept {
    namespace progress = trova::foundation::progress;
    if (progress::isCallingHost())
      endsWell([&] { progress::keepUntilEnd(std::make_shared<Doomed>(std::move(doomed))); });
  }

  Map& map_;
  int& next_;
  int first_;
  int& generation_;
};

}  // namespace trova_internal
