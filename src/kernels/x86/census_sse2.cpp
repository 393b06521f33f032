// Texture codes, SSE2: eight windows in 16-bit lanes. Nine times a pixel and the sum of nine are
// at most 2295.
#include <emmintrin.h>
#include <stddef.h>
#include <stdint.h>

#include "kernels/census.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

constexpr uint32_t kStep = 8;  // windows
constexpr size_t kEdge = 3;    // rows and columns of a window
constexpr size_t kPixels = kEdge * kEdge;

void _encode_eight(uint16_t* codes, const uint8_t* src, size_t stride)
{
    __m128i pixels[kPixels];
    __m128i sum = _mm_setzero_si128();
    for (size_t i = 0; i < kPixels; ++i) {
        const uint8_t* first = src + i / kEdge * stride + i % kEdge;
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(first));
        pixels[i] = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
        sum = _mm_add_epi16(sum, pixels[i]);
    }
    __m128i code = _mm_setzero_si128();
    for (size_t i = 0; i < kPixels; ++i) {
        const __m128i exceeds = _mm_cmpgt_epi16(_mm_mullo_epi16(pixels[i], _mm_set1_epi16(9)), sum);
        code = _mm_or_si128(code, _mm_and_si128(exceeds, _mm_set1_epi16(static_cast<int16_t>(1U << i))));
    }
    Sse2::store(codes, code);
}

}  // namespace

void census_run(uint16_t* dst, const uint8_t* src, uint32_t width, uint32_t count)
{
    const size_t stride = width;
    uint32_t k = 0;
    if (!scalar::census_overlaps(dst + stride + 1, src, stride, count)) {
        for (; count - k >= kStep; k += kStep)
            _encode_eight(dst + k + stride + 1, src + k, stride);
    }
    scalar::census_run(dst + k, src + k, width, count - k);
}

}  // namespace ozr::kernels::sse2
