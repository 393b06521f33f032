// Colour conversion, AVX2, 32 pixels at a time; the SSE2 variant converts the rest of a row.
#include "kernels/colour.h"
#include "kernels/x86/colour_rows.h"
#include "kernels/x86/vectors_avx2.h"

namespace ozr::kernels::avx2
{

namespace
{

using Rows = ColourRows<Avx2>;

}  // namespace

void yvu_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    Rows::pairs_to_rgba<true>(dst, luma, chroma, pairs, sse2::yvu_to_rgba_row);
}

void yuv_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    Rows::pairs_to_rgba<false>(dst, luma, chroma, pairs, sse2::yuv_to_rgba_row);
}

void planar_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v, int32_t pairs)
{
    Rows::planar_to_rgba<sse2::planar_to_rgba_row>(dst, luma, u, v, pairs);
}

void yuyv_to_rgba_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::yuyv_to_rgba(dst, src, pairs, sse2::yuyv_to_rgba_row);
}

void rgba_to_gray_row(uint8_t* dst, const uint8_t* src, int32_t count)
{
    const int32_t done = Rows::weigh_row(dst, src, count, kGrayWeights);
    sse2::rgba_to_gray_row(dst + done, src + int64_t{done} * Rows::kRgbaBytes, count - done);
}

// In place, a store of 32 bytes overwrites only pixels that were already read.
void rgba_to_luma_row(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step)
{
    const int32_t done = step == 1 ? Rows::weigh_row(dst, src, count, kLumaWeights) : 0;
    sse2::rgba_to_luma_row(dst + done, src + int64_t{done} * Rows::kRgbaBytes, count - done, step);
}

void rgba_to_yuyv_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::rgba_to_yuyv(dst, src, pairs, sse2::rgba_to_yuyv_row);
}

}  // namespace ozr::kernels::avx2
