#pragma once

#include "morvel/api/internal/refusals.h"

namespace trova_internal {

/// At most `max` handles of a table; returns how many, -1 for null or max below 1.
template <class Table>
int listHandles(const char* function, const Table& table, int* out, int max) {
  if (!out || max < 1) return refuseIn(function, "out must not be null and max at least 1");
  return table.handles(out, max);
}

}  // namespace trova_internal
