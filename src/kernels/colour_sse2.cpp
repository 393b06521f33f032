// Colour conversion, SSE2, 16 pixels at a time.
//
// To RGBA everything stays within signed 16 bits once whole levels are taken out of the products: with y = Y - 16,
// d = U - 128 and e = V - 128,
//   R = y + e  + ((42 y         + 153 e + 128) >> 8)     -20 128 to 29 597 before the shift
//   G = y - e  + ((42 y - 100 d +  48 e + 128) >> 8)     -19 388 to 29 062
//   B = y + 2d + ((42 y +   4 d         + 128) >> 8)      -1 056 to 10 674
// as 298 = 256 + 42, 409 = 256 + 153, -208 = -256 + 48 and 516 = 2 * 256 + 4; the packing clamps. From RGBA, sums of
// three products are made in 32 bits.
#include <emmintrin.h>
#include <stdint.h>

#include "kernels_scalar.h"
#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 16;  // pixels
constexpr int32_t kRgbaBytes = 4;

__m128i _load(const uint8_t* src)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
}

void _store(uint8_t* dst, __m128i bytes)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst), bytes);
}

__m128i _low_bytes(__m128i words)
{
    return _mm_and_si128(words, _mm_set1_epi16(0xFF));
}

__m128i _times(__m128i words, int16_t factor)
{
    return _mm_mullo_epi16(words, _mm_set1_epi16(factor));
}

// Eight lanes of each component; or what the chroma of eight pairs adds to it, in levels or in 256ths of one.
struct Rgb {
    __m128i r;
    __m128i g;
    __m128i b;
};

Rgb _chroma_levels(__m128i d, __m128i e)
{
    return {e, _mm_sub_epi16(_mm_setzero_si128(), e), _mm_add_epi16(d, d)};
}

Rgb _chroma_rest(__m128i d, __m128i e)
{
    const __m128i half = _mm_set1_epi16(128);
    return {_mm_add_epi16(_times(e, 153), half),
            _mm_add_epi16(_mm_add_epi16(_times(d, -100), _times(e, 48)), half),
            _mm_add_epi16(_mm_slli_epi16(d, 2), half)};
}

__m128i _component(__m128i y, __m128i y42, __m128i levels, __m128i rest)
{
    return _mm_add_epi16(_mm_add_epi16(y, levels), _mm_srai_epi16(_mm_add_epi16(y42, rest), 8));
}

Rgb _mix(__m128i luma, const Rgb& levels, const Rgb& rest)
{
    const __m128i y = _mm_sub_epi16(luma, _mm_set1_epi16(16));
    const __m128i y42 = _times(y, 42);
    return {_component(y, y42, levels.r, rest.r), _component(y, y42, levels.g, rest.g),
            _component(y, y42, levels.b, rest.b)};
}

// Eight pixels as four and four.
struct Pixels {
    __m128i first;
    __m128i second;
};

Pixels _interleave(const Rgb& rgb)
{
    const __m128i rg = _mm_packus_epi16(rgb.r, rgb.g);
    const __m128i ba = _mm_packus_epi16(rgb.b, _mm_set1_epi16(255));
    const __m128i rb = _mm_unpacklo_epi8(rg, ba);
    const __m128i ga = _mm_unpackhi_epi8(rg, ba);
    return {_mm_unpacklo_epi8(rb, ga), _mm_unpackhi_epi8(rb, ga)};
}

// 16 luma bytes and the chroma of their eight pairs, 16 bits each.
void _write_rgba(uint8_t* dst, __m128i luma, __m128i u, __m128i v)
{
    const __m128i middle = _mm_set1_epi16(128);
    const __m128i d = _mm_sub_epi16(u, middle);
    const __m128i e = _mm_sub_epi16(v, middle);
    const Rgb levels = _chroma_levels(d, e);
    const Rgb rest = _chroma_rest(d, e);
    const Pixels even = _interleave(_mix(_low_bytes(luma), levels, rest));
    const Pixels odd = _interleave(_mix(_mm_srli_epi16(luma, 8), levels, rest));
    _store(dst, _mm_unpacklo_epi32(even.first, odd.first));
    _store(dst + 16, _mm_unpackhi_epi32(even.first, odd.first));
    _store(dst + 32, _mm_unpacklo_epi32(even.second, odd.second));
    _store(dst + 48, _mm_unpackhi_epi32(even.second, odd.second));
}

// red R + green G + blue B + bias of four pixels.
struct Weights {
    int16_t red;
    int16_t green;
    int16_t blue;
    int32_t bias;
};

constexpr Weights kGray = {77, 151, 28, 0};
constexpr Weights kLuma = {66, 128, 25, 128 + 16 * 256};
constexpr Weights kU = {-38, -74, 112, 32896};
constexpr Weights kV = {112, -94, -18, 32896};

__m128i _weigh_four(__m128i rgba, const Weights& weights)
{
    const __m128i red_blue = _mm_set1_epi32((weights.blue * 0x10000) | (weights.red & 0xFFFF));
    const __m128i green = _mm_set1_epi32(weights.green & 0xFFFF);
    const __m128i sum = _mm_add_epi32(_mm_madd_epi16(_low_bytes(rgba), red_blue),
                                      _mm_madd_epi16(_mm_srli_epi16(rgba, 8), green));
    return _mm_srli_epi32(_mm_add_epi32(sum, _mm_set1_epi32(weights.bias)), 8);
}

// Eight pixels in 16 bits each, from two vectors of four.
__m128i _weigh(__m128i first, __m128i second, const Weights& weights)
{
    return _mm_packs_epi32(_weigh_four(first, weights), _weigh_four(second, weights));
}

__m128i _weigh_at(const uint8_t* rgba, const Weights& weights)
{
    return _weigh(_load(rgba), _load(rgba + 16), weights);
}

int32_t _weigh_row(uint8_t* dst, const uint8_t* src, int32_t count, const Weights& weights)
{
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep, src += kStep * kRgbaBytes)
        _store(dst + x, _mm_packus_epi16(_weigh_at(src, weights), _weigh_at(src + 32, weights)));
    return x;
}

// The pixels with even numbers out of eight.
__m128i _even_pixels(const uint8_t* rgba)
{
    const __m128 first = _mm_castsi128_ps(_load(rgba));
    const __m128 second = _mm_castsi128_ps(_load(rgba + 16));
    return _mm_castps_si128(_mm_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0)));
}

// U and V of the eight pairs of 16 pixels, 16 bits each.
struct Chroma {
    __m128i u;
    __m128i v;
};

Chroma _chroma(const uint8_t* rgba)
{
    const __m128i first = _even_pixels(rgba);
    const __m128i second = _even_pixels(rgba + 32);
    return {_weigh(first, second, kU), _weigh(first, second, kV)};
}

__m128i _as_pairs(__m128i low, __m128i high)
{
    return _mm_or_si128(low, _mm_slli_epi16(high, 8));
}

}  // namespace

void yvu_to_rgba_row_sse2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    int32_t x = 0;
    for (; x <= 2 * pairs - kStep; x += kStep, dst += kStep * kRgbaBytes) {
        const __m128i vu = _load(chroma + x);
        _write_rgba(dst, _load(luma + x), _mm_srli_epi16(vu, 8), _low_bytes(vu));
    }
    yvu_to_rgba_row_scalar(dst, luma + x, chroma + x, pairs - x / 2);
}

void yuv_to_rgba_row_sse2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    int32_t x = 0;
    for (; x <= 2 * pairs - kStep; x += kStep, dst += kStep * kRgbaBytes) {
        const __m128i uv = _load(chroma + x);
        _write_rgba(dst, _load(luma + x), _low_bytes(uv), _mm_srli_epi16(uv, 8));
    }
    yuv_to_rgba_row_scalar(dst, luma + x, chroma + x, pairs - x / 2);
}

void planar_to_rgba_row_sse2(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                             int32_t pairs)
{
    const __m128i zero = _mm_setzero_si128();
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, dst += kStep * kRgbaBytes) {
        const __m128i u_bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(u + p));
        const __m128i v_bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(v + p));
        _write_rgba(dst, _load(luma + 2 * p), _mm_unpacklo_epi8(u_bytes, zero),
                    _mm_unpacklo_epi8(v_bytes, zero));
    }
    planar_to_rgba_row_scalar(dst, luma + 2 * p, u + p, v + p, pairs - p);
}

void yuyv_to_rgba_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, src += 2 * kStep, dst += kStep * kRgbaBytes) {
        const __m128i first = _load(src);
        const __m128i second = _load(src + 16);
        const __m128i luma = _mm_packus_epi16(_low_bytes(first), _low_bytes(second));
        const __m128i uv = _mm_packus_epi16(_mm_srli_epi16(first, 8), _mm_srli_epi16(second, 8));
        _write_rgba(dst, luma, _low_bytes(uv), _mm_srli_epi16(uv, 8));
    }
    yuyv_to_rgba_row_scalar(dst, src, pairs - p);
}

void gray_to_rgba_row_sse2(uint8_t* dst, const uint8_t* src, int32_t count)
{
    const __m128i opaque = _mm_set1_epi32(-1);
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep, dst += kStep * kRgbaBytes) {
        const __m128i gray = _load(src + x);
        const __m128i rg_low = _mm_unpacklo_epi8(gray, gray);
        const __m128i rg_high = _mm_unpackhi_epi8(gray, gray);
        const __m128i ba_low = _mm_unpacklo_epi8(gray, opaque);
        const __m128i ba_high = _mm_unpackhi_epi8(gray, opaque);
        _store(dst, _mm_unpacklo_epi16(rg_low, ba_low));
        _store(dst + 16, _mm_unpackhi_epi16(rg_low, ba_low));
        _store(dst + 32, _mm_unpacklo_epi16(rg_high, ba_high));
        _store(dst + 48, _mm_unpackhi_epi16(rg_high, ba_high));
    }
    gray_to_rgba_row_scalar(dst, src + x, count - x);
}

void rgba_to_gray_row_sse2(uint8_t* dst, const uint8_t* src, int32_t count)
{
    const int32_t done = _weigh_row(dst, src, count, kGray);
    rgba_to_gray_row_scalar(dst + done, src + int64_t{done} * kRgbaBytes, count - done);
}

// In place, 16 bytes are written over pixels that were read long before.
void rgba_to_luma_row_sse2(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step)
{
    const int32_t done = step == 1 ? _weigh_row(dst, src, count, kLuma) : 0;
    rgba_to_luma_row_scalar(dst + done, src + int64_t{done} * kRgbaBytes, count - done, step);
}

void rgba_to_uv_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t x = 0;
    for (; x <= 2 * pairs - kStep; x += kStep, src += kStep * kRgbaBytes) {
        const Chroma chroma = _chroma(src);
        _store(dst + x, _as_pairs(chroma.u, chroma.v));
    }
    rgba_to_uv_row_scalar(dst + x, src, pairs - x / 2);
}

void rgba_to_vu_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t x = 0;
    for (; x <= 2 * pairs - kStep; x += kStep, src += kStep * kRgbaBytes) {
        const Chroma chroma = _chroma(src);
        _store(dst + x, _as_pairs(chroma.v, chroma.u));
    }
    rgba_to_vu_row_scalar(dst + x, src, pairs - x / 2);
}

void rgba_to_u_v_rows_sse2(uint8_t* u, uint8_t* v, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, src += kStep * kRgbaBytes) {
        const Chroma chroma = _chroma(src);
        const __m128i u_v = _mm_packus_epi16(chroma.u, chroma.v);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(u + p), u_v);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(v + p), _mm_srli_si128(u_v, 8));
    }
    rgba_to_u_v_rows_scalar(u + p, v + p, src, pairs - p);
}

void rgba_to_yuyv_row_sse2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, src += kStep * kRgbaBytes, dst += 2 * kStep) {
        const Chroma chroma = _chroma(src);
        const __m128i first = _weigh_at(src, kLuma);
        const __m128i second = _weigh_at(src + 32, kLuma);
        _store(dst, _as_pairs(first, _mm_unpacklo_epi16(chroma.u, chroma.v)));
        _store(dst + 16, _as_pairs(second, _mm_unpackhi_epi16(chroma.u, chroma.v)));
    }
    rgba_to_yuyv_row_scalar(dst, src, pairs - p);
}
