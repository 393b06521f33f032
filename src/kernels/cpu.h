// The instruction sets of the processor that the kernels have variants for.
#ifndef OZR_CPU_H
#define OZR_CPU_H

#include <stdint.h>

// ARM from version 7 on has NEON, or may have it; its variants count lanes in the order of memory.
#if defined(__ARM_ARCH) && __ARM_ARCH >= 7 && !defined(__ARM_BIG_ENDIAN)
#define OZR_IS_ARM 1
#endif

namespace ozr::kernels
{

// Instruction sets, one bit each.
constexpr uint32_t kCpuSse2 = 1;
constexpr uint32_t kCpuSsse3 = 2;
constexpr uint32_t kCpuAvx2 = 4;
constexpr uint32_t kCpuNeon = 8;
constexpr uint32_t kCpuWasm128 = 16;  // WebAssembly's 128-bit vectors

// The sets that this processor has and the operating system lets programs use; 0 where it is
// neither x86, ARM nor WebAssembly.
uint32_t cpu_features();

}  // namespace ozr::kernels

#endif
