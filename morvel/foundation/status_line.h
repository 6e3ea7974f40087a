#pragma once

#include <sstream>
#include <string>
#include <string_view>

#include "morvel/foundation/export.h"

// The one place that writes to the standard streams. A call site gives the words of a line; this
// module knows the symbols, the tags, which line goes to which stream, levels and flushing.
//
// A line can never disturb the call that prints it: exceptions (memory, streams set to throw) end
// here, streams keep their state and formats, and a pipe without a reader raises no signal.

namespace trova::foundation::status {

enum class Level { Debug = 0, Info = 1, Warning = 2, Error = 3 };
enum class Stream { Output, Error };

/// The leading symbol of a line.
enum class Symbol {
  None,
  Success,
  Failure,
  Warning,
  Working,
  Check,
  Step,
  Chart,
  Report,
  Cleanup,
  Target
};

/// What happens to a line: null restores the default, which prints every line above debug level.
/// A sink gets one whole line without its line feed a call.
using Sink = void (*)(Level level, std::string_view line, void* user);
MORVEL_API void setSink(Sink sink, void* user) noexcept;

/// Lines below this level are dropped, before they are formatted. The default is Info.
MORVEL_API void setLevel(Level level) noexcept;
MORVEL_API bool isShown(Level level) noexcept;

/// The symbol's text with the blank behind it ("✅ "); empty for Symbol::None.
MORVEL_API std::string_view symbolText(Symbol symbol) noexcept;

/// Writes one line: symbol, blank, text, line feed, flushed.
MORVEL_API void write(Level level, Stream stream, Symbol symbol, std::string_view text) noexcept;

/// Joins values the way a default stream formats them (classic locale).
template <class... Parts>
std::string join(const Parts&... parts) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  (text << ... << parts);
  return std::move(text).str();
}

template <class... Parts>
void line(Level level, Stream stream, Symbol symbol, const Parts&... parts) noexcept {
  if (!isShown(level)) return;
  try {
    write(level, stream, symbol, join(parts...));
  } catch (...) {  // no memory for a line: the work itself goes on
  }
}

/// "✅ ..." on standard output.
template <class... Parts>
void success(const Parts&... parts) noexcept {
  line(Level::Info, Stream::Output, Symbol::Success, parts...);
}

/// "❌ ..." on standard error.
template <class... Parts>
void failure(const Parts&... parts) noexcept {
  line(Level::Error, Stream::Error, Symbol::Failure, parts...);
}

/// A line with another symbol on standard output (a step under way, a report, a check).
template <class... Parts>
void progress(Symbol symbol, const Parts&... parts) noexcept {
  line(Level::Info, Stream::Output, symbol, parts...);
}

/// A diagnostic dump or log entry; not printed by default.
template <class... Parts>
void debug(const Parts&... parts) noexcept {
  line(Level::Debug, Stream::Output, Symbol::None, parts...);
}

}  // namespace trova::foundation::status
