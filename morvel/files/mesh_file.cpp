#include "morvel/files/mesh_file.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "morvel/files/internal/atomic_file.h"
#include "morvel/files/internal/in_quotes.h"
#include "morvel/files/internal/mesh_checks.h"
#include "morvel/files/internal/mesh_writers.h"

namespace trova::files {
namespace {

struct FormatEntry {
  std::string_view extension;
  MeshFormat format;
  void (*write)(const internal::MeshObjects& objects, std::ostream& out);
};
constexpr FormatEntry kFormats[] = {{".obj", MeshFormat::Obj, internal::writeObj},
                                    {".stl", MeshFormat::Stl, internal::writeStl},
                                    {".ply", MeshFormat::Ply, internal::writePly},
                                    {".glb", MeshFormat::Glb, internal::writeGlb}};

bool isSameLetter(char a, char b) {
  const auto lower = [](char c) {
    return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return lower(a) == lower(b);
}

bool hasExtension(std::string_view path, std::string_view extension) {
  return path.size() >= extension.size() &&
         std::equal(extension.rbegin(), extension.rend(), path.rbegin(), isSameLetter);
}

const FormatEntry& formatEntry(const std::string& path) {
  const auto* entry =
      std::find_if(std::begin(kFormats), std::end(kFormats),
                   [&](const FormatEntry& known) { return hasExtension(path, known.extension); });
  if (entry != std::end(kFormats)) return *entry;
  throw std::invalid_argument("Cannot write " + inQuotes(path) +
                              ": The extension must be .obj, .stl, .ply or .glb");
}

}  // namespace

MeshFormat meshFormatOf(const std::string& path) { return formatEntry(path).format; }

void writeMeshFile(const std::string& path, const std::function<std::vector<MeshObject>()>& make) {
  const FormatEntry& entry = formatEntry(path);
  writeFileAtomically(path, [&](std::ostream& out) {
    const std::vector<MeshObject> objects = make();
    internal::requireSound(objects, entry.format);
    entry.write(objects, out);
  });
}

}  // namespace trova::files
