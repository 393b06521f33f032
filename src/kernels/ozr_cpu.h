// What the CPU and the operating system offer beyond the instructions that every build assumes.
#ifndef OZR_CPU_H
#define OZR_CPU_H

#include <stdint.h>

enum OzrCpuFeature : uint32_t {
    kOzrCpuSse2 = 1,
    kOzrCpuSsse3 = 2,
    kOzrCpuSse41 = 4,
    kOzrCpuAvx2 = 8,  // with the wide registers saved by the system
};

// A set of OzrCpuFeature; 0 on other processors than x86.
uint32_t ozr_cpu_features();

#endif
