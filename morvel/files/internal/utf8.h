#pragma once

#include <string_view>

namespace trova::files::internal {

/// Whether the bytes are UTF-8 (Unicode 15, table 3-7: no overlong forms, no surrogates) without a
/// zero.
bool isText(std::string_view bytes);

}  // namespace trova::files::internal
