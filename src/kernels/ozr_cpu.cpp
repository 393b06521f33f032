#include "ozr_cpu.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <immintrin.h>

namespace
{

// The registers that the system saves: bit 1 the 128-bit ones, bit 2 their upper halves.
constexpr uint64_t kWideRegisters = 6;

__attribute__((target("xsave"))) bool _saves_wide_registers()
{
    return (_xgetbv(0) & kWideRegisters) == kWideRegisters;
}

bool _has_avx2(uint32_t leaf1_ecx)
{
    if ((leaf1_ecx & bit_OSXSAVE) == 0 || (leaf1_ecx & bit_AVX) == 0 || !_saves_wide_registers())
        return false;
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
    return __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & bit_AVX2) != 0;
}

}  // namespace

uint32_t ozr_cpu_features()
{
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0)
        return 0;
    return ((edx & bit_SSE2) != 0 ? kOzrCpuSse2 : 0U) | ((ecx & bit_SSSE3) != 0 ? kOzrCpuSsse3 : 0U) |
           ((ecx & bit_SSE4_1) != 0 ? kOzrCpuSse41 : 0U) | (_has_avx2(ecx) ? kOzrCpuAvx2 : 0U);
}
#else
uint32_t ozr_cpu_features()
{
    return 0;
}
#endif
