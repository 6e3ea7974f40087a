#pragma once

#include <string>

#include "morvel/foundation/export.h"

namespace trova_internal {

/// The last error of the trimmed-surface functions. By contract it is a text of its own:
/// `get_last_error` does not give it, and no exported function reads it; hosts in C++ can.
MORVEL_API const std::string& trimmedSurfaceError() noexcept;

}  // namespace trova_internal
