#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "morvel/files/mesh_object.h"
#include "morvel/foundation/export.h"

// Meshes in files: Wavefront OBJ read, and OBJ, STL, PLY and GLB written.

namespace trova::files {

enum class MeshFormat {
  Obj,  ///< text; several objects, polylines, normals, (u, v); coordinates keep every bit
  Stl,  ///< binary, single precision; triangles only
  Ply,  ///< binary little-endian; one body without names, edges, normals, (u, v); double precision
  Glb   ///< binary glTF 2.0, single precision; several objects, polylines, normals, (u, v)
};

/// By the extension, in any case. @throws std::invalid_argument for any other than the four
MORVEL_API MeshFormat meshFormatOf(const std::string& path);

/// Writes what `make` gives; an earlier file stays as it is until the new one is complete. `make`
/// runs once the file can be written at all.
/// @throws std::invalid_argument for an unknown extension; an empty object; numbers that are not
///   finite (in the file's precision); an index without vertex; polylines for STL
/// @throws std::length_error where the format's counts do not suffice
/// @throws FileError (file_error.h), and whatever `make` throws
MORVEL_API void writeMeshFile(const std::string& path,
                              const std::function<std::vector<MeshObject>()>& make);

/// All faces of an OBJ file as one mesh; objects, groups and materials are passed over.
///
/// The vertices are those of the file, in its order, used or not. Polygons are cut into triangles,
/// concave ones too. Where every corner names a normal (texture coordinate), the mesh has normals
/// of unit length (parameters); a vertex that its corners give more than one is repeated at the
/// end. Numbers keep every bit that doubles have. The locale has no influence.
///
/// Memory: less than twice the size of the file. Time: ten seconds of a processor for a gigabyte.
/// @throws FileError for a file that cannot be read or has more than `maxBytes`; bytes that are not
///   UTF-8, a number that is none or not finite, an index of 0 or without vertex, a face of fewer
///   than three corners, each with its line; a file without vertices
MORVEL_API MeshObject readObjMesh(const std::string& path, std::int64_t maxBytes);

}  // namespace trova::files
