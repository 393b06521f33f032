#include "kernels/draw.h"
#include "kernels/x86/draw_rows.h"
#include "kernels/x86/vectors_ssse3.h"

namespace ozr::kernels::ssse3
{

namespace
{

struct DrawSsse3 : Ssse3 {
    // Numbers of the blocks, each in all words of its half; of 32 bits, the lower ones.
    static Words spread(const int16_t* blocks) { return all_words(blocks[0]); }
    static Words spread(const int32_t* blocks) { return all_words(static_cast<int16_t>(blocks[0])); }
    static Words repeated(const int16_t* words) { return Words(load(words)); }
    static Vector repeated(const int8_t* bytes) { return load(bytes); }
    static Words multiply_high(Words a, Words b) { return Words(_mm_mulhi_epi16(Vector(a), Vector(b))); }
    static Words multiply_round(Words a, Words b) { return Words(_mm_mulhrs_epi16(Vector(a), Vector(b))); }
    static Words add_limited(Words a, Words b) { return Words(_mm_adds_epi16(Vector(a), Vector(b))); }
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
