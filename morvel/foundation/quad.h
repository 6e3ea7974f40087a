#pragma once

// Packs of four doubles. Arithmetic is lane by lane: whatever registers the compiler puts a pack
// in, every number goes through the same operations as in scalar code and has the same bits.
//
// What works on packs is always inlined into functions that are compiled for one kind of registers
// (wide_registers.h); packs are passed by reference, since the kinds pass values differently.

namespace trova::foundation {

using Quad = double __attribute__((vector_size(4 * sizeof(double))));
inline constexpr int kQuad = 4;

// Anywhere in an array of doubles. Copied as one pack: one copied in halves would have to wait for
// both when it is read as a whole.
using UnalignedQuad =
    double __attribute__((vector_size(4 * sizeof(double)), aligned(sizeof(double)), may_alias));

[[gnu::always_inline]] inline void load(const double* from, Quad& to) {
  to = *reinterpret_cast<const UnalignedQuad*>(from);
}

/// All four lanes.
[[gnu::always_inline]] inline void storeAll(const Quad& from, double* to) {
  *reinterpret_cast<UnalignedQuad*>(to) = from;
}

/// The first Dim lanes.
template <int Dim>
[[gnu::always_inline]] inline void store(const Quad& from, double* to) {
  for (int d = 0; d < Dim; ++d)
    to[d] = from[d];
}

/// Four points of Dim doubles without gaps, held in Dim packs, to one pack a point (for Dim = 3,
/// the last lane is of no meaning).
template <int Dim>
[[gnu::always_inline]] inline void unpackPoints(const Quad* packed, Quad* points) {
  static_assert(Dim == 3 || Dim == kQuad);
  if constexpr (Dim == kQuad) {
    for (int j = 0; j < kQuad; ++j)
      points[j] = packed[j];
  } else {
    points[0] = packed[0];
    points[1] = __builtin_shufflevector(packed[0], packed[1], 3, 4, 5, 5);
    points[2] = __builtin_shufflevector(packed[1], packed[2], 2, 3, 4, 4);
    points[3] = __builtin_shufflevector(packed[2], packed[2], 1, 2, 3, 3);
  }
}

/// sum over j of weights[j] * points[j], from the first on.
[[gnu::always_inline]] inline void weightedSum(const Quad& weights, const Quad* points, Quad& sum) {
  sum = weights[0] * points[0];
  for (int j = 1; j < kQuad; ++j)
    sum += weights[j] * points[j];
}

/// Rows to columns.
[[gnu::always_inline]] inline void transpose(const Quad* rows, Quad* columns) {
  const Quad low01 = __builtin_shufflevector(rows[0], rows[1], 0, 4, 2, 6);
  const Quad high01 = __builtin_shufflevector(rows[0], rows[1], 1, 5, 3, 7);
  const Quad low23 = __builtin_shufflevector(rows[2], rows[3], 0, 4, 2, 6);
  const Quad high23 = __builtin_shufflevector(rows[2], rows[3], 1, 5, 3, 7);
  columns[0] = __builtin_shufflevector(low01, low23, 0, 1, 4, 5);
  columns[1] = __builtin_shufflevector(high01, high23, 0, 1, 4, 5);
  columns[2] = __builtin_shufflevector(low01, low23, 2, 3, 6, 7);
  columns[3] = __builtin_shufflevector(high01, high23, 2, 3, 6, 7);
}

}  // namespace trova::foundation
