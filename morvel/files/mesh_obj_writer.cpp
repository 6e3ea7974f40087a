#include <charconv>
#include <ostream>
#include <string>

#include "morvel/files/internal/mesh_writers.h"

namespace trova::files::internal {
namespace {

constexpr std::size_t kCorners = 3;

/// Collects lines and hands them to a stream in large pieces. Numbers are the shortest that give
/// the same bits again, whatever the locale.
class Lines {
 public:
  explicit Lines(std::ostream& out) : out_(out) {}
  ~Lines() { flush(); }
  Lines(const Lines&) = delete;
  Lines& operator=(const Lines&) = delete;

  Lines& operator<<(std::string_view text) {
    lines_ += text;
    if (lines_.size() >= kPiece) flush();
    return *this;
  }

  template <class Number>
  requires std::is_arithmetic_v<Number> Lines& operator<<(Number number) {
    char digits[kMostDigits];
    const char* end = std::to_chars(digits, digits + kMostDigits, number).ptr;
    return *this << std::string_view(digits, static_cast<std::size_t>(end - digits));
  }

  Lines& row(std::string_view keyword, const auto& vector) {
    *this << keyword;
    for (const double number : vector.eigen())
      *this << " " << number;
    return *this << "\n";
  }

 private:
  static constexpr std::size_t kPiece = 1 << 16;
  static constexpr std::size_t kMostDigits = 32;

  void flush() {
    out_.write(lines_.data(), static_cast<std::streamsize>(lines_.size()));
    lines_.clear();
  }

  std::ostream& out_;
  std::string lines_;
};

/// How many there were of each kind before an object; the format counts through the whole file.
struct Before {
  std::int64_t vertices = 0;
  std::int64_t normals = 0;
  std::int64_t parameters = 0;
};

void writeCorner(const MeshObject& object, std::int32_t index, const Before& before, Lines& lines) {
  lines << " " << before.vertices + index + 1;
  if (!object.parameters.empty())
    lines << "/" << before.parameters + index + 1;
  else if (!object.normals.empty())
    lines << "/";
  if (!object.normals.empty()) lines << "/" << before.normals + index + 1;
}

void writePolyline(const MeshObject& object, const Before& before, Lines& lines) {
  lines << "l";
  for (std::size_t k = 0; k < object.vertices.size(); ++k)
    lines << " " << before.vertices + static_cast<std::int64_t>(k) + 1;
  lines << "\n";
}

void writeObject(const MeshObject& object, const Before& before, Lines& lines) {
  lines << "o " << object.name << "\n";
  for (const auto& vertex : object.vertices)
    lines.row("v", vertex);
  for (const auto& uv : object.parameters)
    lines.row("vt", uv);
  for (const auto& normal : object.normals)
    lines.row("vn", normal);
  if (object.isPolyline) return writePolyline(object, before, lines);
  for (std::size_t k = 0; k < object.triangles.size(); ++k) {
    if (k % kCorners == 0) lines << "f";
    writeCorner(object, object.triangles[k], before, lines);
    if (k % kCorners == kCorners - 1) lines << "\n";
  }
}

}  // namespace

void writeObj(const MeshObjects& objects, std::ostream& out) {
  Lines lines(out);
  lines << "# written by morvel\n";
  Before before;
  for (const MeshObject& object : objects) {
    writeObject(object, before, lines);
    before.vertices += std::ssize(object.vertices);
    before.normals += std::ssize(object.normals);
    before.parameters += std::ssize(object.parameters);
  }
}

}  // namespace trova::files::internal
