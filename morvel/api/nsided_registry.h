#pragma once

#include <memory>
#include <unordered_map>

#include "morvel/foundation/export.h"
#include "morvel/nsided/rbf_nsided_patch.h"

// Patch objects by number, from 30000, beside the surfaces that came out of them.

extern MORVEL_API int g_next_nsided_patch_id;

namespace trova_internal {

inline constexpr int kFirstNSidedPatchHandle = 30000;

extern MORVEL_API std::unordered_map<int, std::unique_ptr<trova::geometry::RBFNSidedPatch>>
    g_nsided_patches;

}  // namespace trova_internal
