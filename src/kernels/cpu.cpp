// AVX2 needs more than the processor: the operating system has to save the upper halves of the
// registers too, or another process would overwrite them.
#include "kernels/cpu.h"

#if defined(__i386__) || defined(__x86_64__)

#include <cpuid.h>
#include <immintrin.h>

namespace ozr::kernels
{

namespace
{

constexpr uint32_t kXmmAndYmm = 0x6;  // of register XCR0: both kinds of vector registers are saved

// Only on processors with OSXSAVE.
__attribute__((target("xsave"))) bool _os_saves_ymm()
{
    return (static_cast<uint32_t>(_xgetbv(0)) & kXmmAndYmm) == kXmmAndYmm;
}

bool _has_avx2(uint32_t ecx_of_leaf_1)
{
    constexpr uint32_t kNeeded = bit_OSXSAVE | bit_AVX;
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
    return (ecx_of_leaf_1 & kNeeded) == kNeeded && _os_saves_ymm() &&
           __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0 && (ebx & bit_AVX2) != 0;
}

}  // namespace

uint32_t cpu_features()
{
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) == 0)
        return 0;
    return ((edx & bit_SSE2) != 0 ? kCpuSse2 : 0) | ((ecx & bit_SSSE3) != 0 ? kCpuSsse3 : 0) |
           (_has_avx2(ecx) ? kCpuAvx2 : 0);
}

}  // namespace ozr::kernels

#elif defined(OZR_IS_ARM) && defined(__aarch64__)

// Every 64-bit ARM has it.
uint32_t ozr::kernels::cpu_features()
{
    return kCpuNeon;
}

#elif defined(OZR_IS_ARM)

#include <asm/hwcap.h>
#include <sys/auxv.h>

// The kernel tells: a program cannot ask a 32-bit ARM itself.
uint32_t ozr::kernels::cpu_features()
{
    return (getauxval(AT_HWCAP) & HWCAP_NEON) != 0 ? kCpuNeon : 0;
}

#elif defined(__wasm_simd128__)

// An engine without these instructions refuses the whole module, so that this code never
// runs on one.
uint32_t ozr::kernels::cpu_features()
{
    return kCpuWasm128;
}

#else

uint32_t ozr::kernels::cpu_features()
{
    return 0;
}

#endif
