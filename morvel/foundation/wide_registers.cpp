#include "morvel/foundation/wide_registers.h"

namespace trova::foundation {
namespace {

bool hasWideRegisters() {
#if defined(__x86_64__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

}  // namespace

bool usesWideRegisters = hasWideRegisters();

}  // namespace trova::foundation
