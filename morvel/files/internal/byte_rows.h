#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <ostream>
#include <string>
#include <type_traits>

namespace trova::files::internal {

/// The bytes of a number, the lowest first.
template <class Value>
std::array<char, sizeof(Value)> littleEndian(Value value) {
  static_assert(std::is_arithmetic_v<Value>);
  auto bytes = std::bit_cast<std::array<char, sizeof(Value)>>(value);
  if constexpr (std::endian::native == std::endian::big) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

/// Collects little-endian values and hands them to a stream in large pieces.
class ByteRows {
 public:
  explicit ByteRows(std::ostream& out) : out_(out) {}
  ~ByteRows() { flush(); }
  ByteRows(const ByteRows&) = delete;
  ByteRows& operator=(const ByteRows&) = delete;

  template <class Value>
  void append(Value value) {
    const auto bytes = littleEndian(value);
    rows_.append(bytes.data(), bytes.size());
    if (rows_.size() >= kPiece) flush();
  }

  template <class Value>
  void appendAs(const auto& vector) {
    for (const double value : vector.eigen())
      append(static_cast<Value>(value));
  }

 private:
  static constexpr std::size_t kPiece = 1 << 16;

  void flush() {
    out_.write(rows_.data(), static_cast<std::streamsize>(rows_.size()));
    rows_.clear();
  }

  std::ostream& out_;
  std::string rows_;
};

}  // namespace trova::files::internal
