#pragma once

#include <memory>
#include <string_view>

#include "morvel/api/registries.h"

// How a new surface gets into the registry: checked, stored, logged, and taken out again where the
// function that made it fails later on.

namespace trova_internal {

/// The check of every new surface: it is valid, its net (or its corners) and the point at the
/// middle of its domain are finite.
bool isSound(const Surface& surface);

/// A surface in the registry that is removed again unless `keep` is called.
class StoredSurface {
 public:
  /// Stores the surface and logs the operation. @throws std::overflow_error, std::bad_alloc
  StoredSurface(std::unique_ptr<Surface> surface, const char* operation);
  ~StoredSurface();
  StoredSurface(const StoredSurface&) = delete;
  StoredSurface& operator=(const StoredSurface&) = delete;

  int handle() const { return handle_; }
  /// The surface stays. Returns its handle.
  int keep();

 private:
  int handle_;
  bool isKept_ = false;
};

/// Stores, logs and returns the handle of a surface that is not null and sound; else stores `fault`
/// as the last error and returns `refused`.
int storeSound(std::unique_ptr<Surface> surface, const char* operation, int refused,
               std::string_view fault);

}  // namespace trova_internal
