// Colour conversion, SSE2, 16 pixels at a time; colour_rows.h holds what it shares with AVX2.
#include "kernels/colour.h"
#include "kernels/x86/colour_rows.h"
#include "kernels/x86/vectors_sse2.h"

namespace ozr::kernels::sse2
{

namespace
{

using Rows = ColourRows<Sse2>;

constexpr int32_t kStep = Rows::kStep;
constexpr int32_t kRgbaBytes = Rows::kRgbaBytes;

}  // namespace

void yvu_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    Rows::pairs_to_rgba<true>(dst, luma, chroma, pairs, scalar::yvu_to_rgba_row);
}

void yuv_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    Rows::pairs_to_rgba<false>(dst, luma, chroma, pairs, scalar::yuv_to_rgba_row);
}

void planar_to_rgba_row(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v, int32_t pairs)
{
    Rows::planar_to_rgba<scalar::planar_to_rgba_row>(dst, luma, u, v, pairs);
}

void yuyv_to_rgba_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::yuyv_to_rgba(dst, src, pairs, scalar::yuyv_to_rgba_row);
}

void gray_to_rgba_row(uint8_t* dst, const uint8_t* src, int32_t count)
{
    const __m128i opaque = _mm_set1_epi32(-1);
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep, dst += kStep * kRgbaBytes) {
        const __m128i gray = Sse2::load(src + x);
        const __m128i rg_low = _mm_unpacklo_epi8(gray, gray);
        const __m128i rg_high = _mm_unpackhi_epi8(gray, gray);
        const __m128i ba_low = _mm_unpacklo_epi8(gray, opaque);
        const __m128i ba_high = _mm_unpackhi_epi8(gray, opaque);
        Sse2::store_halves(dst, {_mm_unpacklo_epi16(rg_low, ba_low), _mm_unpackhi_epi16(rg_low, ba_low)},
                           {_mm_unpacklo_epi16(rg_high, ba_high), _mm_unpackhi_epi16(rg_high, ba_high)});
    }
    scalar::gray_to_rgba_row(dst, src + x, count - x);
}

void rgba_to_gray_row(uint8_t* dst, const uint8_t* src, int32_t count)
{
    const int32_t done = Rows::weigh_row(dst, src, count, kGrayWeights);
    scalar::rgba_to_gray_row(dst + done, src + int64_t{done} * kRgbaBytes, count - done);
}

// In place, a store of 16 bytes overwrites only pixels that were already read.
void rgba_to_luma_row(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step)
{
    const int32_t done = step == 1 ? Rows::weigh_row(dst, src, count, kLumaWeights) : 0;
    scalar::rgba_to_luma_row(dst + done, src + int64_t{done} * kRgbaBytes, count - done, step);
}

void rgba_to_uv_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::rgba_to_pairs<false>(dst, src, pairs, scalar::rgba_to_uv_row);
}

void rgba_to_vu_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::rgba_to_pairs<true>(dst, src, pairs, scalar::rgba_to_vu_row);
}

void rgba_to_u_v_rows(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, src += kStep * kRgbaBytes) {
        const Rows::Chroma chroma = Rows::chroma(src);
        const __m128i u_v = Sse2::pack(chroma.u, chroma.v);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(u + p), u_v);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(v + p), _mm_srli_si128(u_v, 8));
    }
    scalar::rgba_to_u_v_rows(u + p, v + p, src, pairs - p);
}

void rgba_to_yuyv_row(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    Rows::rgba_to_yuyv(dst, src, pairs, scalar::rgba_to_yuyv_row);
}

}  // namespace ozr::kernels::sse2
