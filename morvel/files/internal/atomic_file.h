#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

#include "morvel/files/file_error.h"

// Whole files, read or written: what fails on the way leaves nothing behind and changes nothing.

namespace trova::files {

/// What `write` gives to its stream becomes the file of that name, all of it or nothing: it goes to
/// a temporary file in the same folder, which is synced and renamed once it is complete. An earlier
/// file of the name stays until then, gives its permissions to the new one, and is not replaced
/// where it may not be written. A symbolic link stays and its target is written. A character device
/// takes the bytes directly; anything else that is no ordinary file is refused.
///
/// The stream is buffered, uses the classic locale and goes bad at the first fault, so that `write`
/// may stop early; it need not look.
/// @throws FileError, and whatever `write` throws
void writeFileAtomically(const std::string& path, const std::function<void(std::ostream&)>& write);

/// The bytes of an ordinary file of at most `maxBytes`; no more than one byte beyond is ever read.
/// @throws FileError, also for folders, devices and pipes
std::string readWholeFile(const std::string& path, std::int64_t maxBytes);

}  // namespace trova::files
