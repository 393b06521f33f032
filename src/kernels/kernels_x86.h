// The vector variants for x86, a file per subject and instruction set. Their meaning is stated in ozr_kernels.h; what
// is left of a row after its last full vector goes to the scalar variant.
#ifndef OZR_KERNELS_X86_H
#define OZR_KERNELS_X86_H

#include "ozr_kernels.h"

// Motion
uint32_t sad_row_sse2(const uint8_t* a, const uint8_t* b, int32_t count);
uint32_t sad_row_avx2(const uint8_t* a, const uint8_t* b, int32_t count);
uint32_t sad_const_row_sse2(const uint8_t* a, uint8_t value, int32_t count);
uint32_t sad_const_row_avx2(const uint8_t* a, uint8_t value, int32_t count);

#endif
