// Colour conversion, AVX2, 32 pixels at a time: the arithmetic of the SSE2 variant in two halves of 16 pixels.
#include <immintrin.h>
#include <stdint.h>

#include "kernels_x86.h"

namespace
{

constexpr int32_t kStep = 32;  // pixels
constexpr int32_t kRgbaBytes = 4;

__m256i _load(const uint8_t* src)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
}

void _store(uint8_t* dst, __m256i bytes)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), bytes);
}

__m256i _low_bytes(__m256i words)
{
    return _mm256_and_si256(words, _mm256_set1_epi16(0xFF));
}

__m256i _times(__m256i words, int16_t factor)
{
    return _mm256_mullo_epi16(words, _mm256_set1_epi16(factor));
}

// Words to bytes in order; the instruction alone packs each half by itself.
__m256i _pack(__m256i first, __m256i second)
{
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), _MM_SHUFFLE(3, 1, 2, 0));
}

// Sixteen lanes of each component; or what the chroma of sixteen pairs adds to it, in levels or in 256ths of one.
struct Rgb {
    __m256i r;
    __m256i g;
    __m256i b;
};

Rgb _chroma_levels(__m256i d, __m256i e)
{
    return {e, _mm256_sub_epi16(_mm256_setzero_si256(), e), _mm256_add_epi16(d, d)};
}

Rgb _chroma_rest(__m256i d, __m256i e)
{
    const __m256i half = _mm256_set1_epi16(128);
    return {_mm256_add_epi16(_times(e, 153), half),
            _mm256_add_epi16(_mm256_add_epi16(_times(d, -100), _times(e, 48)), half),
            _mm256_add_epi16(_mm256_slli_epi16(d, 2), half)};
}

__m256i _component(__m256i y, __m256i y42, __m256i levels, __m256i rest)
{
    return _mm256_add_epi16(_mm256_add_epi16(y, levels), _mm256_srai_epi16(_mm256_add_epi16(y42, rest), 8));
}

Rgb _mix(__m256i luma, const Rgb& levels, const Rgb& rest)
{
    const __m256i y = _mm256_sub_epi16(luma, _mm256_set1_epi16(16));
    const __m256i y42 = _times(y, 42);
    return {_component(y, y42, levels.r, rest.r), _component(y, y42, levels.g, rest.g),
            _component(y, y42, levels.b, rest.b)};
}

// Four pixels and four in each half.
struct Pixels {
    __m256i first;
    __m256i second;
};

Pixels _interleave(const Rgb& rgb)
{
    const __m256i rg = _mm256_packus_epi16(rgb.r, rgb.g);
    const __m256i ba = _mm256_packus_epi16(rgb.b, _mm256_set1_epi16(255));
    const __m256i rb = _mm256_unpacklo_epi8(rg, ba);
    const __m256i ga = _mm256_unpackhi_epi8(rg, ba);
    return {_mm256_unpacklo_epi8(rb, ga), _mm256_unpackhi_epi8(rb, ga)};
}

// The lower halves hold the first 16 pixels, the upper halves the others.
void _store_halves(uint8_t* dst, __m256i first, __m256i second)
{
    _store(dst, _mm256_permute2x128_si256(first, second, 0x20));
    _store(dst + 64, _mm256_permute2x128_si256(first, second, 0x31));
}

// 32 luma bytes and the chroma of their sixteen pairs, 16 bits each.
void _write_rgba(uint8_t* dst, __m256i luma, __m256i u, __m256i v)
{
    const __m256i middle = _mm256_set1_epi16(128);
    const __m256i d = _mm256_sub_epi16(u, middle);
    const __m256i e = _mm256_sub_epi16(v, middle);
    const Rgb levels = _chroma_levels(d, e);
    const Rgb rest = _chroma_rest(d, e);
    const Pixels even = _interleave(_mix(_low_bytes(luma), levels, rest));
    const Pixels odd = _interleave(_mix(_mm256_srli_epi16(luma, 8), levels, rest));
    _store_halves(dst, _mm256_unpacklo_epi32(even.first, odd.first),
                  _mm256_unpackhi_epi32(even.first, odd.first));
    _store_halves(dst + 32, _mm256_unpacklo_epi32(even.second, odd.second),
                  _mm256_unpackhi_epi32(even.second, odd.second));
}

// red R + green G + blue B + bias of eight pixels.
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

__m256i _weigh_eight(__m256i rgba, const Weights& weights)
{
    const __m256i red_blue = _mm256_set1_epi32((weights.blue * 0x10000) | (weights.red & 0xFFFF));
    const __m256i green = _mm256_set1_epi32(weights.green & 0xFFFF);
    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(_low_bytes(rgba), red_blue),
                                         _mm256_madd_epi16(_mm256_srli_epi16(rgba, 8), green));
    return _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(weights.bias)), 8);
}

// Sixteen pixels in 16 bits each, in order when the lower halves of both vectors come before the upper ones.
__m256i _weigh(__m256i first, __m256i second, const Weights& weights)
{
    return _mm256_packs_epi32(_weigh_eight(first, weights), _weigh_eight(second, weights));
}

// Pixels 0 to 3 and 8 to 11 of sixteen, and the others: what _weigh wants.
struct Sixteen {
    __m256i first;
    __m256i second;
};

Sixteen _load_sixteen(const uint8_t* rgba)
{
    const __m256i low = _load(rgba);
    const __m256i high = _load(rgba + 32);
    return {_mm256_permute2x128_si256(low, high, 0x20), _mm256_permute2x128_si256(low, high, 0x31)};
}

__m256i _weigh_at(const uint8_t* rgba, const Weights& weights)
{
    const Sixteen pixels = _load_sixteen(rgba);
    return _weigh(pixels.first, pixels.second, weights);
}

int32_t _weigh_row(uint8_t* dst, const uint8_t* src, int32_t count, const Weights& weights)
{
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    int32_t x = 0;
    for (; x <= count - kStep; x += kStep, src += kStep * kRgbaBytes) {
        const __m256i low = _weigh(_load(src), _load(src + 32), weights);
        const __m256i high = _weigh(_load(src + 64), _load(src + 96), weights);
        _store(dst + x, _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), order));
    }
    return x;
}

// The eight pixels with even numbers out of sixteen, each half in order.
__m256i _even_pixels(const uint8_t* rgba)
{
    const Sixteen pixels = _load_sixteen(rgba);
    const __m256 even = _mm256_shuffle_ps(_mm256_castsi256_ps(pixels.first),
                                          _mm256_castsi256_ps(pixels.second), _MM_SHUFFLE(2, 0, 2, 0));
    return _mm256_castps_si256(even);
}

// U and V of the sixteen pairs of 32 pixels, 16 bits each.
struct Chroma {
    __m256i u;
    __m256i v;
};

Chroma _chroma(const uint8_t* rgba)
{
    const __m256i low = _even_pixels(rgba);
    const __m256i high = _even_pixels(rgba + 64);
    const __m256i first = _mm256_permute2x128_si256(low, high, 0x20);
    const __m256i second = _mm256_permute2x128_si256(low, high, 0x31);
    return {_weigh(first, second, kU), _weigh(first, second, kV)};
}

__m256i _as_pairs(__m256i low, __m256i high)
{
    return _mm256_or_si256(low, _mm256_slli_epi16(high, 8));
}

__m256i _load_words(const uint8_t* src)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src)));
}

}  // namespace

void yvu_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    int32_t x = 0;
    for (; x <= 2 * pairs - kStep; x += kStep, dst += kStep * kRgbaBytes) {
        const __m256i vu = _load(chroma + x);
        _write_rgba(dst, _load(luma + x), _mm256_srli_epi16(vu, 8), _low_bytes(vu));
    }
    yvu_to_rgba_row_sse2(dst, luma + x, chroma + x, pairs - x / 2);
}

void yuv_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs)
{
    int32_t x = 0;
    for (; x <= 2 * pairs - kStep; x += kStep, dst += kStep * kRgbaBytes) {
        const __m256i uv = _load(chroma + x);
        _write_rgba(dst, _load(luma + x), _low_bytes(uv), _mm256_srli_epi16(uv, 8));
    }
    yuv_to_rgba_row_sse2(dst, luma + x, chroma + x, pairs - x / 2);
}

void planar_to_rgba_row_avx2(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                             int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, dst += kStep * kRgbaBytes)
        _write_rgba(dst, _load(luma + 2 * p), _load_words(u + p), _load_words(v + p));
    planar_to_rgba_row_sse2(dst, luma + 2 * p, u + p, v + p, pairs - p);
}

void yuyv_to_rgba_row_avx2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, src += 2 * kStep, dst += kStep * kRgbaBytes) {
        const __m256i first = _load(src);
        const __m256i second = _load(src + 32);
        const __m256i luma = _pack(_low_bytes(first), _low_bytes(second));
        const __m256i uv = _pack(_mm256_srli_epi16(first, 8), _mm256_srli_epi16(second, 8));
        _write_rgba(dst, luma, _low_bytes(uv), _mm256_srli_epi16(uv, 8));
    }
    yuyv_to_rgba_row_sse2(dst, src, pairs - p);
}

void rgba_to_gray_row_avx2(uint8_t* dst, const uint8_t* src, int32_t count)
{
    const int32_t done = _weigh_row(dst, src, count, kGray);
    rgba_to_gray_row_sse2(dst + done, src + int64_t{done} * kRgbaBytes, count - done);
}

// In place, 32 bytes are written over pixels that were read long before.
void rgba_to_luma_row_avx2(uint8_t* dst, const uint8_t* src, int32_t count, int32_t step)
{
    const int32_t done = step == 1 ? _weigh_row(dst, src, count, kLuma) : 0;
    rgba_to_luma_row_sse2(dst + done, src + int64_t{done} * kRgbaBytes, count - done, step);
}

void rgba_to_yuyv_row_avx2(uint8_t* dst, const uint8_t* src, int32_t pairs)
{
    int32_t p = 0;
    for (; p <= pairs - kStep / 2; p += kStep / 2, src += kStep * kRgbaBytes, dst += 2 * kStep) {
        const Chroma chroma = _chroma(src);
        const __m256i low = _mm256_unpacklo_epi16(chroma.u, chroma.v);
        const __m256i high = _mm256_unpackhi_epi16(chroma.u, chroma.v);
        _store(dst, _as_pairs(_weigh_at(src, kLuma), _mm256_permute2x128_si256(low, high, 0x20)));
        _store(dst + 32, _as_pairs(_weigh_at(src + 64, kLuma), _mm256_permute2x128_si256(low, high, 0x31)));
    }
    rgba_to_yuyv_row_sse2(dst, src, pairs - p);
}
