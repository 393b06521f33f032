// The instruction sets of the processor that the kernels have variants for.
#ifndef OZR_CPU_H
#define OZR_CPU_H

#include <stdint.h>

namespace ozr::kernels
{

// Instruction sets, one bit each.
constexpr uint32_t kCpuSse2 = 1;
constexpr uint32_t kCpuSsse3 = 2;
constexpr uint32_t kCpuAvx2 = 4;
constexpr uint32_t kCpuWasm128 = 16;  // WebAssembly's 128-bit vectors

// The sets that this processor has and the operating system lets programs use; 0 where it is neither x86 nor
// WebAssembly.
uint32_t cpu_features();

}  // namespace ozr::kernels

#endif
