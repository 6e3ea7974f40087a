#pragma once

#include "morvel/foundation/export.h"

// Silence that nests. The level and the sink of status_line.h stay as they are under it: whoever
// asks for silence need not know what was set before.

namespace trova::foundation::status {

/// From now on no line is made. Each call is undone by one `unmute`. Returns how many are in force.
MORVEL_API int mute() noexcept;

/// Undoes one `mute`. Returns how many are left; -1 where there was none.
MORVEL_API int unmute() noexcept;

}  // namespace trova::foundation::status
