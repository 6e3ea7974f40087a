#pragma once

// The inner functions of cubic splines are compiled twice: for the registers that every x86-64
// machine has, and for wide ones. Both do the same operations in the same order on every number,
// without fusing any, and give the same bits.

#if defined(__x86_64__)
#define MORVEL_WIDE [[gnu::noinline, gnu::target("avx2")]]
#else
#define MORVEL_WIDE [[gnu::noinline]]
#endif

namespace trova::foundation {

/// Whether the wide functions serve: where the processor has the registers. Only tests change it,
/// to compare the two.
extern bool usesWideRegisters;

}  // namespace trova::foundation
