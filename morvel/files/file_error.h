#pragma once

#include <stdexcept>
#include <string>

#include "morvel/foundation/export.h"

namespace trova::files {

/// A file could not be read or written. The text names the path and the reason.
class MORVEL_API FileError : public std::runtime_error {
 public:
  explicit FileError(const std::string& text) : std::runtime_error(text) {}
};

}  // namespace trova::files
