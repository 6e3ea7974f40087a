#include "morvel/files/internal/obj_lines.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>
#include <utility>

#include "morvel/files/file_error.h"
#include "morvel/files/internal/in_quotes.h"
#include "morvel/files/internal/utf8.h"

namespace trova::files::internal {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr int kCoordinates = 3;
constexpr int kLeastCorners = 3;
constexpr int kIndicesPerCorner = 3;

/// The first word, which is taken off; empty where there is none left.
std::string_view takeWord(std::string_view& text) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
  const char* start = std::find_if_not(text.begin(), text.end(), isBlank);
  const char* end = std::find_if(start, text.end(), isBlank);
  text = {end, text.end()};
  return {start, end};
}

template <class Number>
bool isNumber(std::string_view word, Number& value) {
  const char* end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value);
  return error == std::errc() && stop == end;
}

}  // namespace

ObjLines::ObjLines(std::string text, std::string path)
    : text_(std::move(text)), path_(std::move(path)) {
  if (text_.starts_with(kByteOrderMark)) next_ = kByteOrderMark.size();
  lineFeed_ = text_.find('\n', next_);
}

void ObjLines::fail(const std::string& reason) const {
  throw FileError("Cannot read " + inQuotes(path_) + ": " + reason);
}

void ObjLines::fail(std::int64_t line, const std::string& reason) const {
  fail("Line " + std::to_string(line) + ": " + reason);
}

ObjLines::int_type ObjLines::underflow() {
  while (next_ < text_.size()) {
    readStatement();
    if (!isWanted()) continue;
    setg(statement_.data(), statement_.data(), statement_.data() + statement_.size());
    return traits_type::to_int_type(statement_[0]);
  }
  return traits_type::eof();
}

/// Lines end with a line feed, a carriage return or both.
std::string_view ObjLines::nextLine() {
  ++passed_;
  const std::string_view rest = std::string_view(text_).substr(next_);
  std::string_view line = rest.substr(0, lineFeed_ - next_);
  const std::size_t carriageReturn = line.find('\r');
  const bool isReturnAlone = carriageReturn < line.size() && carriageReturn + 1 != line.size();
  line = line.substr(0, carriageReturn);
  next_ = isReturnAlone ? next_ + carriageReturn + 1 : std::min(lineFeed_, text_.size() - 1) + 1;
  if (lineFeed_ < next_) lineFeed_ = text_.find('\n', next_);
  if (!isText(line)) fail(passed_, "The bytes are not UTF-8 text");
  return line;
}

void ObjLines::readStatement() {
  statement_.clear();
  line_ = passed_ + 1;
  for (bool isContinued = true; isContinued && next_ < text_.size();) {
    std::string_view line = nextLine();
    const std::size_t comment = line.find('#');
    isContinued = comment == std::string_view::npos && line.ends_with('\\');
    if (isContinued) line.remove_suffix(1);
    statement_ += line.substr(0, comment);
    statement_ += isContinued ? ' ' : '\n';
  }
  if (statement_.back() != '\n') statement_ += '\n';
}

bool ObjLines::isWanted() {
  std::string_view words = statement_;
  words.remove_suffix(1);
  const std::string_view keyword = takeWord(words);
  if (keyword == "v")
    readNumbers(words, "A vertex", kCoordinates, kMaxNumbers);
  else if (keyword == "vn")
    readNumbers(words, "A normal", kCoordinates, kCoordinates);
  else if (keyword == "vt")
    readNumbers(words, "A texture coordinate", 1, kCoordinates);
  else if (keyword == "f")
    checkFace(words);
  else
    return false;
  return true;
}

void ObjLines::readNumbers(std::string_view words, std::string_view what, int least, int most) {
  int count = 0;
  numbers_.fill(0.0);
  for (auto word = takeWord(words); !word.empty(); word = takeWord(words), ++count) {
    const double number = readNumber(word);
    if (count < most) numbers_[static_cast<std::size_t>(count)] = number;
  }
  if (least <= count && count <= most) return;
  std::string reason(what);
  reason += " has " + std::to_string(least);
  if (most > least) reason += " to " + std::to_string(most);
  reason += " numbers, not " + std::to_string(count);
  fail(line_, reason);
}

double ObjLines::readNumber(std::string_view word) const {
  double value = 0.0;
  const bool hasPlus = word.size() > 1 && word[0] == '+' && word[1] != '-';
  if (isNumber(word.substr(hasPlus ? 1 : 0), value) && std::isfinite(value)) return value;
  fail(line_, inQuotes(word) + " is no finite number (such as -1.5e3, with a point)");
}

void ObjLines::checkFace(std::string_view words) const {
  int corners = 0;
  for (auto word = takeWord(words); !word.empty(); word = takeWord(words), ++corners)
    checkCorner(word);
  if (corners < kLeastCorners)
    fail(line_, "A face has 3 corners or more, not " + std::to_string(corners));
}

/// v, v/vt, v//vn or v/vt/vn, whole numbers other than 0.
void ObjLines::checkCorner(std::string_view word) const {
  std::string_view rest = word;
  for (int k = 0; k < kIndicesPerCorner; ++k) {
    const std::string_view part = rest.substr(0, rest.find('/'));
    const bool isLast = part.size() == rest.size();
    std::int32_t index = 0;
    const bool isLeftOut = part.empty() && k == 1 && !isLast;
    if (!isLeftOut && (!isNumber(part, index) || index == 0)) break;
    if (isLast) return;
    rest.remove_prefix(part.size() + 1);
  }
  fail(line_, inQuotes(word) +
                  " is no corner: indices count from 1, or back from -1, as v, v/vt, "
                  "v//vn or v/vt/vn");
}

}  // namespace trova::files::internal
