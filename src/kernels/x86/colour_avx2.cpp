// Colour conversion, AVX2, 32 pixels at a time; what is left of a row goes to the SSE2 variant.
#include "kernels/x86/colour_rows.h"
#include "kernels/x86/vectors_avx2.h"
#include "kernels/x86/x86.h"

namespace
{

using Rows = ColourRows<Avx2>;

}  // namespace

void yvu_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    Rows::pairs_to_rgba<true>(dst, luma, chroma, pairs, yvu_to_rgba_row_sse2);
}

void yuv_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    Rows::pairs_to_rgba<false>(dst, luma, chroma, pairs, yuv_to_rgba_row_sse2);
}

void planar_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                             int32_t pairs)
{
    Rows::planar_to_rgba(dst, luma, u, v, pairs, planar_to_rgba_row_sse2);
}

void yuyv_to_rgba_row_avx2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::yuyv_to_rgba(dst, src, pairs, yuyv_to_rgba_row_sse2);
}

void rgba_to_gray_row_avx2(uint8_t* dst, const uint8_t* src, int32_t count)
{
    const int32_t done = Rows::weigh_row(dst, src, count, kGrayWeights);
    rgba_to_gray_row_sse2(dst + done, src + int64_t{done} * Rows::kRgbaBytes, count - done);
}

// In place, 32 bytes are written over pixels that were read long before.
void rgba_to_luma_row_avx2(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step)
{
    const int32_t done = step == 1 ? Rows::weigh_row(dst, src, count, kLumaWeights) : 0;
    rgba_to_luma_row_sse2(dst + done, src + int64_t{done} * Rows::kRgbaBytes, count - done, step);
}

void rgba_to_yuyv_row_avx2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::rgba_to_yuyv(dst, src, pairs, rgba_to_yuyv_row_sse2);
}
