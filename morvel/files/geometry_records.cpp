#include "morvel/files/geometry_records.h"

#include <array>
#include <ostream>
#include <set>

#include "morvel/files/internal/atomic_file.h"
#include "morvel/files/internal/geometry_reader.h"
#include "morvel/files/internal/geometry_writer.h"
#include "morvel/files/internal/in_quotes.h"

namespace trova::files {
namespace {

constexpr const char* kFormat = "morvel geometry";
constexpr int kVersion = 1;
constexpr int kMaxNesting = 16;
constexpr std::size_t kMaxMembers = 64;    // of one object; the tree looks at all for every new one
constexpr std::size_t kBytesAround = 100;  // of the lines around the entities

using TreeBuilder = nlohmann::detail::json_sax_dom_parser<Json>;

/// Builds the tree of a text, and refuses members that are given twice, of which the last would win
/// in silence, and depths and widths that no document has, before they cost memory and time.
class CheckedTreeBuilder : public TreeBuilder {
 public:
  explicit CheckedTreeBuilder(Json& tree) : TreeBuilder(tree) {}

  bool start_object(std::size_t size) {
    enter();
    members_[depth_].clear();
    return TreeBuilder::start_object(size);
  }
  bool key(std::string& name) {
    if (!members_[depth_].insert(name).second)
      throw RecordError("The member " + inQuotes(name) + " is given twice in one object");
    if (members_[depth_].size() > kMaxMembers)
      throw RecordError("An object has more members than any record");
    return TreeBuilder::key(name);
  }
  bool end_object() {
    --depth_;
    return TreeBuilder::end_object();
  }
  bool start_array(std::size_t size) {
    enter();
    return TreeBuilder::start_array(size);
  }
  bool end_array() {
    --depth_;
    return TreeBuilder::end_array();
  }

 private:
  void enter() {
    if (++depth_ > kMaxNesting) throw RecordError("The text is nested too deeply for a document");
  }

  int depth_ = 0;
  std::array<std::set<std::string>, kMaxNesting + 1> members_;  // of the open object at a depth
};

/// The parser's words without its own name for the fault; they quote the text, whatever it holds.
std::string faultOf(const Json::exception& fault) {
  std::string text = fault.what();
  text.erase(0, text.find("] ") + 2);
  for (char& c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) c = '?';
  }
  return text;
}

Json parsed(std::string_view text) {
  // The parser would take one for the end, and leave the rest unread.
  if (text.find('\0') != std::string_view::npos)
    throw RecordError("Not a JSON text: it holds a zero byte");
  Json root;
  CheckedTreeBuilder builder(root);
  try {
    Json::sax_parse(text, &builder);
  } catch (const Json::exception& fault) {
    throw RecordError("Not a JSON text: " + faultOf(fault));
  }
  return root;
}

const Json::array_t& entitiesOf(const Json& document) {
  if (!document.is_object()) throw RecordError("The document must be a JSON object");
  for (const auto& [member, value] : document.items()) {
    if (member != "format" && member != "version" && member != "entities")
      throw RecordError("The document's member " + inQuotes(member) + " is unknown");
  }
  if (!document.contains("format") || document["format"] != kFormat)
    throw RecordError("The document's format must be " + inQuotes(kFormat));
  if (!document.contains("version") || document["version"] != kVersion)
    throw RecordError("The document's version must be " + std::to_string(kVersion));
  if (!document.contains("entities") || !document["entities"].is_array())
    throw RecordError("The document's entities must be an array");
  return document["entities"].get_ref<const Json::array_t&>();
}

std::string lineOf(const Json& entity) {
  try {
    return entity.dump();
  } catch (const Json::exception&) {
    throw RecordError(std::string(entity["kind"]) + " " + std::to_string(int(entity["id"])) +
                      ": a text is not UTF-8");
  }
}

}  // namespace

void writeGeometry(const Geometry& geometry, std::ostream& out) {
  std::size_t bytes = kBytesAround;
  const char* separator = "";
  out << "{\n\"format\": \"" << kFormat << "\",\n\"version\": " << kVersion
      << ",\n\"entities\": [\n";
  GeometryWriter(geometry, [&](const Json& entity) {
    const std::string line = lineOf(entity);
    bytes += line.size() + 2;
    if (bytes > kMaxDocumentBytes)
      throw RecordError("The document would have more than " + std::to_string(kMaxDocumentBytes) +
                        " bytes");
    out << separator << line;
    separator = ",\n";
  }).writeAll();
  out << "\n]\n}\n";
}

Geometry readGeometry(std::string_view text) {
  if (text.size() > kMaxDocumentBytes)
    throw RecordError("The document has more than " + std::to_string(kMaxDocumentBytes) + " bytes");
  const Json document = parsed(text);
  return GeometryReader(entitiesOf(document)).readAll();
}

void writeGeometryFile(const Geometry& geometry, const std::string& path) {
  writeFileAtomically(path, [&](std::ostream& out) { writeGeometry(geometry, out); });
}

Geometry readGeometryFile(const std::string& path) {
  return readGeometry(readWholeFile(path, kMaxDocumentBytes));
}

}  // namespace trova::files
