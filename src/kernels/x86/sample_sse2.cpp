// Subsampling, SSE2: every other byte, the usual step; other steps are left to the scalar variant.
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

// The last sample of a vector has a neighbour that is not read: a vector counts only when another sample follows. In
// place, 16 bytes are written over samples that were read before.
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
