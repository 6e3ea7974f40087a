#pragma once

#include <string>
#include <string_view>

namespace trova::files {

/// A text from elsewhere in quotes, for messages: control characters escaped, what is not UTF-8
/// replaced, a long text shortened in its middle.
std::string inQuotes(std::string_view text);

}  // namespace trova::files
