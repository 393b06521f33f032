// Subsampling, SSE2: a step of 2, the usual one; the scalar variant takes all other steps.
#include <emmintrin.h>
#include <stdint.h>

#include "kernels/resample.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

constexpr int32_t kStep = 16;

__m128i _even_bytes(const uint8_t* src)
{
    const __m128i bytes = Sse2::load(src);
    return _mm_and_si128(bytes, _mm_set1_epi16(0xFF));
}

}  // namespace

// A vector also reads the byte after its last sample, which may be beyond the row: the scalar
// function takes the last sample. In place, a store of 16 bytes overwrites only samples that
// were already read.
void sample_bytes_row(uint8_t* dst, const uint8_t* src, int32_t count, int64_t step)
{
    int32_t x = 0;
    if (step == 2) {
        for (; x < count - kStep; x += kStep, src += 2 * kStep)
            Sse2::store(dst + x, _mm_packus_epi16(_even_bytes(src), _even_bytes(src + kStep)));
    }
    scalar::sample_bytes_row(dst + x, src, count - x, step);
}

}  // namespace ozr::kernels::sse2
