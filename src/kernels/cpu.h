// What the processor can do, as far as the kernels care.
#ifndef OZR_CPU_H
#define OZR_CPU_H

#include <stdint.h>

// Instruction sets, one bit each.
constexpr uint32_t kOzrCpuSse2 = 1;
constexpr uint32_t kOzrCpuSsse3 = 2;
constexpr uint32_t kOzrCpuAvx2 = 4;

// The sets that this processor has and the operating system lets programs use. WebAssembly with vectors counts as SSSE3,
// whose intrinsics it takes; 0 elsewhere.
uint32_t ozr_cpu_features();

#endif
