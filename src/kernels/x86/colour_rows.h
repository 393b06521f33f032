// Colour conversion in vectors of any width, `V` being Sse2 or Avx2: as many pixels at a time as a
// vector has bytes.
//
// To RGBA, the sums fit signed 16 bits once the multiples of 256 are taken out of the factors and
// added as whole levels: with y = Y - 16, d = U - 128 and e = V - 128,
//   R = y + e  + ((42 y         + 153 e + 128) >> 8)     -20 128 to 29 597 before the shift
//   G = y - e  + ((42 y - 100 d +  48 e + 128) >> 8)     -19 388 to 29 062
//   B = y + 2d + ((42 y +   4 d         + 128) >> 8)      -1 056 to 10 674
// as 298 = 256 + 42, 409 = 256 + 153, -208 = -256 + 48 and 516 = 2 * 256 + 4; the packing clamps.
// From RGBA, sums of three products are made in 32 bits.
#ifndef OZR_COLOUR_ROWS_H
#define OZR_COLOUR_ROWS_H

#include "kernels/colour.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

// red R + green G + blue B + bias, in 256ths.
struct ColourWeights {
    int16_t red;
    int16_t green;
    int16_t blue;
    uint32_t bias;
};

constexpr ColourWeights kGrayWeights = {77, 151, 28, 0};
constexpr ColourWeights kLumaWeights = {66, 128, 25, 128 + 16 * 256};
constexpr ColourWeights kUWeights = {-38, -74, 112, 32896};
constexpr ColourWeights kVWeights = {112, -94, -18, 32896};

template <class V>
struct ColourRows {
    static constexpr int32_t kStep = V::kBytes;  // pixels
    static constexpr int32_t kRgbaBytes = 4;
    using Vector = typename V::Vector;
    using Words = typename V::Words;
    using Ints = typename V::Ints;
    using Sums = typename V::Sums;
    using Two = typename V::Two;

    // --- To RGBA ---

    // The components of every second pixel; or what the chroma of a pair adds to them, in levels or
    // in 256ths of one.
    struct Rgb {
        Words r;
        Words g;
        Words b;
    };

    static Words component(Words y, Words levels, Words rest) { return y + levels + ((42 * y + rest) >> 8); }

    static Rgb mix(Words luma, const Rgb& levels, const Rgb& rest)
    {
        const Words y = luma - 16;
        return {component(y, levels.r, rest.r), component(y, levels.g, rest.g),
                component(y, levels.b, rest.b)};
    }

    static Two interleave(const Rgb& rgb)
    {
        const Vector rg = V::pack(rgb.r, rgb.g);
        const Vector ba = V::pack(rgb.b, V::all_words(255));
        const Vector rb = V::weave_low_bytes(rg, ba);
        const Vector ga = V::weave_high_bytes(rg, ba);
        return {V::weave_low_bytes(rb, ga), V::weave_high_bytes(rb, ga)};
    }

    // Writes the pixels of a vector of luma bytes and the chroma of their pairs. Always inlined:
    // g++ omits vzeroupper at the end of a function that has called another one with vectors, and
    // the SSE code after it would run at half speed.
    __attribute__((always_inline)) static void write_rgba(uint8_t* dst, Vector luma, Words u, Words v)
    {
        const Words d = u - 128;
        const Words e = v - 128;
        const Rgb levels = {e, -e, d + d};
        const Rgb rest = {153 * e + 128, -100 * d + 48 * e + 128, 4 * d + 128};
        const Two even = interleave(mix(V::low_bytes(luma), levels, rest));
        const Two odd = interleave(mix(V::high_bytes(luma), levels, rest));
        V::store_halves(
            dst, {V::weave_low_ints(even.first, odd.first), V::weave_high_ints(even.first, odd.first)},
            {V::weave_low_ints(even.second, odd.second), V::weave_high_ints(even.second, odd.second)});
    }

    template <bool kVFirst>
    static void pairs_to_rgba(uint8_t* dst, const uint8_t* luma, const uint8_t* chroma, int32_t pairs,
                              YuvToRgbaRow* rest)
    {
        int32_t x = 0;
        for (; x <= 2 * pairs - kStep; x += kStep, dst += kStep * kRgbaBytes) {
            const Vector both = V::load(chroma + x);
            const Words first = V::low_bytes(both);
            const Words second = V::high_bytes(both);
            write_rgba(dst, V::load(luma + x), kVFirst ? second : first, kVFirst ? first : second);
        }
        rest(dst, luma + x, chroma + x, pairs - x / 2);
    }

    template <PlanarToRgbaRow* kRest>
    static void planar_to_rgba(uint8_t* dst, const uint8_t* luma, const uint8_t* u, const uint8_t* v,
                               int32_t pairs)
    {
        int32_t p = 0;
        for (; p <= pairs - kStep / 2; p += kStep / 2, dst += kStep * kRgbaBytes)
            write_rgba(dst, V::load(luma + 2 * p), V::load_words(u + p), V::load_words(v + p));
        kRest(dst, luma + 2 * p, u + p, v + p, pairs - p);
    }

    static void yuyv_to_rgba(uint8_t* dst, const uint8_t* src, int32_t pairs, YuyvToRgbaRow* rest)
    {
        int32_t p = 0;
        for (; p <= pairs - kStep / 2; p += kStep / 2, src += 2 * kStep, dst += kStep * kRgbaBytes) {
            const Vector first = V::load(src);
            const Vector second = V::load(src + V::kBytes);
            const Vector luma = V::in_order(V::pack(V::low_bytes(first), V::low_bytes(second)));
            const Vector uv = V::in_order(V::pack(V::high_bytes(first), V::high_bytes(second)));
            write_rgba(dst, luma, V::low_bytes(uv), V::high_bytes(uv));
        }
        rest(dst, src, pairs - p);
    }

    // --- From RGBA ---

    static Sums weigh(Vector rgba, const ColourWeights& weights)
    {
        const Words red_blue = V::all_pairs(weights.red, weights.blue);
        const Words green = V::all_pairs(weights.green, 0);
        const Sums sum =
            V::multiply_add(V::low_bytes(rgba), red_blue) + V::multiply_add(V::high_bytes(rgba), green);
        return V::shift_right(sum + weights.bias, 8);
    }

    static Words weigh(const Two& rgba, const ColourWeights& weights)
    {
        return V::pack(Ints(weigh(rgba.first, weights)), Ints(weigh(rgba.second, weights)));
    }

    // Two vectors of pixels, arranged so that packing them leaves the pixels in order.
    static Two load_two(const uint8_t* rgba) { return V::halves(V::load(rgba), V::load(rgba + V::kBytes)); }

    // Weighs whole vectors of pixels; returns the number of pixels weighed.
    static int32_t weigh_row(uint8_t* dst, const uint8_t* src, int32_t count, const ColourWeights& weights)
    {
        int32_t x = 0;
        for (; x <= count - kStep; x += kStep, src += kStep * kRgbaBytes) {
            const Words low = weigh(Two{V::load(src), V::load(src + V::kBytes)}, weights);
            const Words high =
                weigh(Two{V::load(src + 2 * V::kBytes), V::load(src + 3 * V::kBytes)}, weights);
            V::store(dst + x, V::in_order_twice(V::pack(low, high)));
        }
        return x;
    }

    // U and V of the pairs of kStep pixels.
    struct Chroma {
        Words u;
        Words v;
    };

    // The pixels with even numbers out of two vectors.
    static Vector even_pixels(const uint8_t* rgba)
    {
        const Two pixels = load_two(rgba);
        return V::even_ints(pixels.first, pixels.second);
    }

    static Chroma chroma(const uint8_t* rgba)
    {
        const Two even = V::halves(even_pixels(rgba), even_pixels(rgba + 2 * V::kBytes));
        return {weigh(even, kUWeights), weigh(even, kVWeights)};
    }

    static Vector as_pairs(Words low, Words high) { return Vector(low | (high << 8)); }

    template <bool kVFirst>
    static void rgba_to_pairs(uint8_t* dst, const uint8_t* src, int32_t pairs, RgbaToChromaPairsRow* rest)
    {
        int32_t x = 0;
        for (; x <= 2 * pairs - kStep; x += kStep, src += kStep * kRgbaBytes) {
            const Chroma c = chroma(src);
            V::store(dst + x, kVFirst ? as_pairs(c.v, c.u) : as_pairs(c.u, c.v));
        }
        rest(dst + x, src, pairs - x / 2);
    }

    static void rgba_to_yuyv(uint8_t* dst, const uint8_t* src, int32_t pairs, RgbaToYuyvRow* rest)
    {
        int32_t p = 0;
        for (; p <= pairs - kStep / 2; p += kStep / 2, src += kStep * kRgbaBytes, dst += 2 * kStep) {
            const Chroma c = chroma(src);
            const Two uv = V::halves(V::weave_low_words(c.u, c.v), V::weave_high_words(c.u, c.v));
            V::store(dst, as_pairs(weigh(load_two(src), kLumaWeights), Words(uv.first)));
            V::store(dst + V::kBytes,
                     as_pairs(weigh(load_two(src + 2 * V::kBytes), kLumaWeights), Words(uv.second)));
        }
        rest(dst, src, pairs - p);
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
