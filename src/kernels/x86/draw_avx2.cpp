#include "kernels/draw.h"
#include "kernels/x86/draw_rows.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

// The bytes of the first number for the first half, those of the second one for the other: of
// words, and of the lower words of numbers of 32 bits.
alignas(32) constexpr uint16_t kSpreadWords[] = {0x0100, 0x0100, 0x0100, 0x0100, 0x0100, 0x0100,
                                                 0x0100, 0x0100, 0x0302, 0x0302, 0x0302, 0x0302,
                                                 0x0302, 0x0302, 0x0302, 0x0302};
alignas(32) constexpr uint16_t kSpreadInts[] = {0x0100, 0x0100, 0x0100, 0x0100, 0x0100, 0x0100,
                                                0x0100, 0x0100, 0x0504, 0x0504, 0x0504, 0x0504,
                                                0x0504, 0x0504, 0x0504, 0x0504};

struct DrawAvx2 : Avx2 {
    static Words spread(const int16_t* blocks)
    {
        const Vector both = _mm256_broadcastd_epi32(_mm_loadu_si32(blocks));
        return shuffled(both, Words(load(kSpreadWords)));
    }
    static Words spread(const int32_t* blocks)
    {
        const Vector both =
            _mm256_broadcastq_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(blocks)));
        return shuffled(both, Words(load(kSpreadInts)));
    }
    static Words repeated(const int16_t* words) { return Words(load_twice(words)); }
    static Vector repeated(const int8_t* bytes) { return load_twice(bytes); }
    static Words multiply_high(Words a, Words b) { return Words(_mm256_mulhi_epi16(Vector(a), Vector(b))); }
    static Words multiply_round(Words a, Words b) { return Words(_mm256_mulhrs_epi16(Vector(a), Vector(b))); }
    static Words add_limited(Words a, Words b) { return Words(_mm256_adds_epi16(Vector(a), Vector(b))); }
};

}  // namespace

void draw_luma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    DrawLuma<DrawAvx2>::draw_row<ssse3::draw_luma_row>(dst, plane, nodes, blocks);
}

void draw_chroma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    DrawChroma<DrawAvx2>::draw_row<ssse3::draw_chroma_row>(dst, plane, nodes, blocks);
}

}  // namespace ozr::kernels::avx2
