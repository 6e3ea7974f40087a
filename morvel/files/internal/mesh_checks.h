#pragma once

#include "morvel/files/internal/mesh_writers.h"
#include "morvel/files/mesh_file.h"

namespace trova::files::internal {

/// What no format can hold, found before a byte is written.
/// @throws std::invalid_argument that names the object, see `writeMeshFile`; std::length_error for
///   more vertices than a 32-bit index reaches
void requireSound(const MeshObjects& objects, MeshFormat format);

}  // namespace trova::files::internal
