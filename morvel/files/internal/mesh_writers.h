#pragma once

#include <iosfwd>
#include <vector>

#include "morvel/files/mesh_object.h"

// One function per format. The objects were found sound (mesh_checks.h); the stream tells whether
// the writing went well.

namespace trova::files::internal {

using MeshObjects = std::vector<MeshObject>;

void writeObj(const MeshObjects& objects, std::ostream& out);
void writePly(const MeshObjects& objects, std::ostream& out);
/// Corners closer than 1e-9 of the size of the whole become the same, so that a closed surface
/// gives a closed file also where its ends were computed twice. Triangles that lose a side by that
/// or by the rounding to single precision are left out. @throws std::length_error
void writeStl(const MeshObjects& objects, std::ostream& out);
/// @throws std::length_error for more than 4 GiB
void writeGlb(const MeshObjects& objects, std::ostream& out);

}  // namespace trova::files::internal
