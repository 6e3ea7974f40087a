#pragma once

#include "morvel/files/internal/geometry_types.h"
#include "morvel/trimmed_surface/rectangular_trimmed_surface.h"
#include "morvel/trimmed_surface/trimmed_surface.h"
#include "morvel/trimmed_surface/wire_trimmed_surface.h"

// The records of trimmed surfaces: base, options, and the loops as they are.

namespace trova::files {

void writeMembers(const geometry::trimmed_surface::TrimmedSurface& surface, MemberWriter& out);
void writeMembers(const geometry::trimmed_surface::RectangularTrimmedSurface& surface,
                  MemberWriter& out);
void writeMembers(const geometry::trimmed_surface::WireTrimmedSurface& surface, MemberWriter& out);

std::unique_ptr<Surface> readMembers(As<geometry::trimmed_surface::TrimmedSurface>, MemberReader&);
std::unique_ptr<Surface> readMembers(As<geometry::trimmed_surface::RectangularTrimmedSurface>,
                                     MemberReader&);
std::unique_ptr<Surface> readMembers(As<geometry::trimmed_surface::WireTrimmedSurface>,
                                     MemberReader&);

}  // namespace trova::files
