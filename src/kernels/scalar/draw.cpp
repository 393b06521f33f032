#include <algorithm>

#include "kernels/draw.h"

namespace ozr::kernels::scalar
{

namespace
{

constexpr int32_t kSubpixels = 128;  // places are told apart within a pixel
constexpr int32_t kPlaceOne = 1 << kDrawPlaceBits;

struct CubicWeights {
    int16_t row[4];     // Q7
    int16_t column[4];  // Q14
};

struct CubicTable {
    CubicWeights at[kSubpixels];
};

constexpr int32_t _product(int32_t a, int32_t b)
{
    return (a * b + (1 << 14)) >> 15;
}

constexpr CubicWeights _cubic_weights(int32_t subpixel)
{
    const int32_t t = subpixel << 8;
    const int32_t t2 = _product(t, t);
    const int32_t t3 = _product(t2, t);
    const int32_t w0 = (2 * t2 - t3 - t) >> 2;
    const int32_t w2 = (4 * t2 - 3 * t3 + t) >> 2;
    const int32_t w3 = (t3 - t2) >> 2;
    const int32_t w1 = (1 << 14) - w0 - w2 - w3;
    const int32_t r0 = (w0 + 64) >> 7;
    const int32_t r3 = (w3 + 64) >> 7;
    int32_t r1 = std::min(127, (w1 + 64) >> 7);
    int32_t r2 = 128 - r0 - r1 - r3;
    const int32_t excess = std::max(0, r2 - 127);
    r1 += excess;
    r2 -= excess;
    return {{static_cast<int16_t>(r0), static_cast<int16_t>(r1), static_cast<int16_t>(r2),
             static_cast<int16_t>(r3)},
            {static_cast<int16_t>(w0), static_cast<int16_t>(w1), static_cast<int16_t>(w2),
             static_cast<int16_t>(w3)}};
}

constexpr CubicTable _cubic_table()
{
    CubicTable table = {};
    for (int32_t t = 0; t < kSubpixels; ++t)
        table.at[t] = _cubic_weights(t);
    return table;
}

constexpr CubicTable kCubic = _cubic_table();

int32_t _limited(int32_t value, int32_t least, int32_t most)
{
    return std::min(std::max(value, least), most);
}

int32_t _within_16_bits(int32_t value)
{
    return _limited(value, INT16_MIN, INT16_MAX);
}

// Gains and shifts the sample, in Q6, and takes the fractional bits off.
uint8_t _finished(int32_t sample, int32_t gain, int32_t shift)
{
    const int32_t level = _within_16_bits(_within_16_bits(_product(sample, gain) + shift) + 8);
    return static_cast<uint8_t>(_limited(level >> kDrawShiftBits, 0, 255));
}

int32_t _between(int32_t node, int32_t next, int32_t steps, int32_t bits)
{
    return node + static_cast<int32_t>((int64_t{next - node} * steps) >> bits);
}

int32_t _luma_sample(const DrawPlane& plane, int32_t x, int32_t y)
{
    const int32_t column = x >> kDrawPlaceBits, row = y >> kDrawPlaceBits;
    const CubicWeights& across = kCubic.at[(x >> 3) & (kSubpixels - 1)];
    const CubicWeights& down = kCubic.at[(y >> 3) & (kSubpixels - 1)];
    const uint8_t* src = plane.src + (row - 1) * plane.stride + column - 1;
    int32_t sum = 0;
    for (int32_t i = 0; i < 4; ++i, src += plane.stride) {
        int32_t line = 0;
        for (int32_t j = 0; j < 4; ++j)
            line += src[j] * across.row[j];
        sum += _product(std::min<int32_t>(INT16_MAX, line), down.column[i]);
    }
    return sum;
}

}  // namespace

void draw_luma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    const int32_t most_x = ((plane.width - 2) << kDrawPlaceBits) - 1;
    const int32_t most_y = ((plane.height - 2) << kDrawPlaceBits) - 1;
    for (int32_t b = 0; b < blocks; ++b) {
        for (int32_t k = 0; k < kDrawBlock; ++k) {
            const int32_t x = _limited(_between(nodes.x[b], nodes.x[b + 1], k, 3), kPlaceOne, most_x);
            const int32_t y = _limited(_between(nodes.y[b], nodes.y[b + 1], k, 3), kPlaceOne, most_y);
            const int32_t gain = _between(nodes.gain[b], nodes.gain[b + 1], k, 3);
            const int32_t shift = _between(nodes.shift[0][b], nodes.shift[0][b + 1], k, 3);
            dst[kDrawBlock * b + k] = _finished(_luma_sample(plane, x, y), gain, shift);
        }
    }
}

void draw_chroma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    constexpr int32_t kHalf = kPlaceOne / 2, kNeutral = 128;
    const int32_t most_x = ((plane.width - 1) << kDrawPlaceBits) - 1;
    const int32_t most_y = ((plane.height - 1) << kDrawPlaceBits) - 1;
    for (int32_t b = 0; b < blocks; ++b) {
        for (int32_t k = 0; k < kDrawBlock / 2; ++k) {
            const int32_t steps = 4 * k + 1;
            const int32_t luma_x = _between(nodes.x[b], nodes.x[b + 1], steps, 4);
            const int32_t luma_y = _between(nodes.y[b], nodes.y[b + 1], steps, 4);
            const int32_t x = _limited((luma_x - kHalf) >> 1, 0, most_x);
            const int32_t y = _limited((luma_y - kHalf) >> 1, 0, most_y);
            const int32_t gain = _between(nodes.gain[b], nodes.gain[b + 1], steps, 4);
            const int32_t tx = (x >> 4) & 63, ty = (y >> 3) & (kSubpixels - 1);
            const uint8_t* src = plane.src + (y >> kDrawPlaceBits) * plane.stride + 2 * (x >> kDrawPlaceBits);
            for (int32_t byte = 0; byte < 2; ++byte, ++src) {
                const int16_t* shifts = nodes.shift[byte];
                const int32_t top = src[0] * (64 - tx) + src[2] * tx;
                const uint8_t* below = src + plane.stride;
                const int32_t bottom = below[0] * (64 - tx) + below[2] * tx;
                const int32_t sample = top + _product(bottom - top, ty << 8) - kNeutral * 64;
                const int32_t shift =
                    _between(shifts[b], shifts[b + 1], steps, 4) + (kNeutral << kDrawShiftBits);
                dst[kDrawBlock * b + 2 * k + byte] = _finished(sample, gain, shift);
            }
        }
    }
}

}  // namespace ozr::kernels::scalar
