#pragma once

#include <array>
#include <cstdint>
#include <streambuf>
#include <string>
#include <string_view>

namespace trova::files::internal {

/// The statements of an OBJ text, one line after the other, for a reader that takes what it gets.
///
/// The reader behind it takes "1,5" for 1 and "nan" for 0, knows no continued lines, and sums up
/// digits with an error in the last place. Hence each line is looked through before it is handed
/// on, and what its numbers are is kept here. Only vertices, normals, texture coordinates and faces
/// are handed on.
class ObjLines : public std::streambuf {
 public:
  static constexpr int kMaxNumbers = 7;  // x y z w and a colour

  /// @param path  for the texts of errors
  ObjLines(std::string text, std::string path);

  /// The numbers of the statement that was handed on last, if it is not a face; 0 for what it
  /// leaves out.
  const std::array<double, kMaxNumbers>& numbers() const { return numbers_; }
  /// The line on which it begins, from 1.
  std::int64_t line() const { return line_; }
  /// @throws FileError that names the path and a line
  [[noreturn]] void fail(std::int64_t line, const std::string& reason) const;
  /// @throws FileError that names the path
  [[noreturn]] void fail(const std::string& reason) const;

 protected:
  int_type underflow() override;

 private:
  void readStatement();
  std::string_view nextLine();
  bool isWanted();
  void readNumbers(std::string_view words, std::string_view what, int least, int most);
  double readNumber(std::string_view word) const;
  void checkFace(std::string_view words) const;
  void checkCorner(std::string_view word) const;

  std::string text_;
  std::string path_;
  std::size_t next_ = 0;      // where the next line begins
  std::size_t lineFeed_ = 0;  // the first one from there on
  std::int64_t passed_ = 0;   // lines before that
  std::int64_t line_ = 0;
  std::string statement_;  // without comment, continued lines joined, with a line feed
  std::array<double, kMaxNumbers> numbers_{};
};

}  // namespace trova::files::internal
