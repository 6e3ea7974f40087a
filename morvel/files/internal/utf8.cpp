#include "morvel/files/internal/utf8.h"

#include <algorithm>
#include <cstddef>

namespace trova::files::internal {
namespace {

constexpr unsigned char kFirstBeyondAscii = 0x80;

/// What may follow a first byte: how many bytes, and the range of the first of them; the others are
/// 0x80 to 0xBF.
struct Sequence {
  unsigned char first;
  unsigned char last;
  std::size_t following;
  unsigned char secondFrom;
  unsigned char secondTo;
};
constexpr Sequence kSequences[] = {
    {0xC2, 0xDF, 1, 0x80, 0xBF}, {0xE0, 0xE0, 2, 0xA0, 0xBF}, {0xE1, 0xEC, 2, 0x80, 0xBF},
    {0xED, 0xED, 2, 0x80, 0x9F}, {0xEE, 0xEF, 2, 0x80, 0xBF}, {0xF0, 0xF0, 3, 0x90, 0xBF},
    {0xF1, 0xF3, 3, 0x80, 0xBF}, {0xF4, 0xF4, 3, 0x80, 0x8F},
};

bool isBetween(char byte, unsigned char from, unsigned char to) {
  const auto value = static_cast<unsigned char>(byte);
  return from <= value && value <= to;
}

/// Without a zero. Looks at all bytes, so that it can take many at a time.
bool isAscii(std::string_view bytes) {
  int wrong = 0;
  for (const char byte : bytes)
    wrong |= static_cast<signed char>(byte) <= 0;
  return wrong == 0;
}

/// The bytes of the character that the text begins with; 0 where it is none.
std::size_t sequenceLength(std::string_view text) {
  for (const Sequence& sequence : kSequences) {
    if (!isBetween(text[0], sequence.first, sequence.last)) continue;
    if (text.size() <= sequence.following) return 0;
    const std::string_view others = text.substr(1, sequence.following);
    const bool fits = isBetween(others[0], sequence.secondFrom, sequence.secondTo) &&
                      std::all_of(others.begin(), others.end(),
                                  [](char byte) { return isBetween(byte, 0x80, 0xBF); });
    return fits ? 1 + sequence.following : 0;
  }
  return 0;
}

}  // namespace

bool isText(std::string_view bytes) {
  if (isAscii(bytes)) return true;
  while (!bytes.empty()) {
    if (bytes[0] == '\0') return false;
    const bool isPlain = static_cast<unsigned char>(bytes[0]) < kFirstBeyondAscii;
    const std::size_t length = isPlain ? 1 : sequenceLength(bytes);
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

}  // namespace trova::files::internal
