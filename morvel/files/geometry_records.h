#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "morvel/curves/curve.h"
#include "morvel/foundation/export.h"
#include "morvel/foundation/point.h"
#include "morvel/surfaces/curve_on_surface.h"
#include "morvel/surfaces/surface.h"

// Geometry as JSON, exact to the last bit: what is read evaluates, and can be asked and worked on,
// like what was written. docs/files.md describes the documents.

namespace trova::files {

/// A document cannot be written or read. The text names the entity and the member, or the place in
/// the text.
class MORVEL_API RecordError : public std::runtime_error {
 public:
  explicit RecordError(const std::string& text) : std::runtime_error(text) {}
};

/// The objects of a document under their ids (above 0), kind by kind. What they are built on need
/// not be among them: it is written as well, and read back as one object wherever it was one.
struct MORVEL_API Geometry {
  std::map<int, foundation::Point3D> points;
  std::map<int, std::shared_ptr<const geometry::Curve>> curves;
  std::map<int, std::shared_ptr<geometry::CurveOnSurface>> curvesOnSurfaces;
  std::map<int, std::shared_ptr<geometry::Surface>> surfaces;

  std::size_t size() const {
    return points.size() + curves.size() + curvesOnSurfaces.size() + surfaces.size();
  }
};

/// No document of more bytes is written or read.
inline constexpr std::int64_t kMaxDocumentBytes = std::int64_t{1} << 28;
/// Objects that are built on each other in longer chains are refused, both ways.
inline constexpr int kMaxReferenceDepth = 32;

/// @throws RecordError for a number that is not finite, a class without a record, an object that
/// refers to itself
MORVEL_API void writeGeometry(const Geometry& geometry, std::ostream& out);
/// @throws RecordError for whatever is not a document, or breaks a rule of the classes
MORVEL_API Geometry readGeometry(std::string_view text);

/// The file is written whole or not at all. @throws also FileError (file_error.h)
MORVEL_API void writeGeometryFile(const Geometry& geometry, const std::string& path);
MORVEL_API Geometry readGeometryFile(const std::string& path);

}  // namespace trova::files
