#include <tmmintrin.h>

#include "kernels/draw.h"
#include "kernels/x86/draw_rows.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::ssse3
{

namespace
{

struct DrawSsse3 : Sse2 {
    // Numbers of the blocks, each in all words of its half; of 32 bits, the lower ones.
    static Words spread(const int16_t* blocks) { return all_words(blocks[0]); }
    static Words spread(const int32_t* blocks) { return all_words(static_cast<int16_t>(blocks[0])); }
    static Words repeated(const int16_t* words) { return Words(load(words)); }
    static Vector repeated(const int8_t* bytes) { return load(bytes); }
    static Words multiply_high(Words a, Words b) { return Words(_mm_mulhi_epi16(Vector(a), Vector(b))); }
    static Words multiply_round(Words a, Words b) { return Words(_mm_mulhrs_epi16(Vector(a), Vector(b))); }
    static Words multiply_add_bytes(Vector a, Words b) { return Words(_mm_maddubs_epi16(a, Vector(b))); }
    static Words add_limited(Words a, Words b) { return Words(_mm_adds_epi16(Vector(a), Vector(b))); }
    static Words shuffled(Vector bytes, Words order) { return Words(_mm_shuffle_epi8(bytes, Vector(order))); }
    static Vector load_blocks(const uint8_t* const* src, int64_t offset) { return load(src[0] + offset); }
    static void store_blocks(uint8_t* dst, Words pixels)
    {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), pack(pixels, pixels));
    }
};

}  // namespace

void draw_luma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    DrawLuma<DrawSsse3>::draw_row<scalar::draw_luma_row>(dst, plane, nodes, blocks);
}

void draw_chroma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    DrawChroma<DrawSsse3>::draw_row<scalar::draw_chroma_row>(dst, plane, nodes, blocks);
}

}  // namespace ozr::kernels::ssse3
