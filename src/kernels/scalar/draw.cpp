#include <algorithm>

#include "kernels/draw.h"

namespace ozr::kernels::scalar
{

namespace
{

constexpr int32_t kPlaceOne = 1 << kDrawPlaceBits;
constexpr int32_t kStepBits = 4;  // luma: places are told apart within a pixel
constexpr int32_t kStepOne = 1 << kStepBits;
constexpr int32_t kDroppedBits = kDrawPlaceBits - kStepBits;

int32_t _product(int32_t a, int32_t b)
{
    return (a * b + (1 << 14)) >> 15;
}

int32_t _limited(int32_t value, int32_t least, int32_t most)
{
    return std::min(std::max(value, least), most);
}

int32_t _within_16_bits(int32_t value)
{
    return _limited(value, INT16_MIN, INT16_MAX);
}

// Gains and shifts the sample, in Q7, and takes the fractional bits off.
uint8_t _finished(int32_t sample, int32_t gain, int32_t shift)
{
    const int32_t level =
        _within_16_bits(_within_16_bits(_product(sample, gain) + shift) + (1 << (kDrawShiftBits - 1)));
    return static_cast<uint8_t>(_limited(level >> kDrawShiftBits, 0, 255));
}

int32_t _between(int32_t node, int32_t next, int32_t steps, int32_t bits)
{
    return node + static_cast<int32_t>((int64_t{next - node} * steps) >> bits);
}

// x and y in Q4.
int32_t _luma_sample(const DrawPlane& plane, int32_t x, int32_t y)
{
    const int32_t across = x & (kStepOne - 1), down = y & (kStepOne - 1);
    const uint8_t* src = plane.src + ((y >> kStepBits) - 1) * plane.stride + (x >> kStepBits) - 1;
    const auto& weights = kDrawCubic[plane.softness];
    int32_t parts[4];
    for (int32_t i = 0; i < 4; ++i, src += plane.stride) {
        int32_t line = 0;
        for (int32_t j = 0; j < 4; ++j)
            line += src[j] * weights[j][across];
        parts[i] = (std::min<int32_t>(INT16_MAX, line) * weights[i][down] + 64) >> 7;
    }
    return _within_16_bits(_within_16_bits(parts[1] + (parts[0] + parts[3])) + parts[2]);
}

// The place of pixel k of a block, in Q4.
int32_t _luma_place(const int32_t* nodes, int32_t k, int32_t pixels)
{
    const int32_t place = _between(nodes[0], nodes[1], k, 3) + (1 << (kDroppedBits - 1));
    return _limited(place >> kDroppedBits, kStepOne, kStepOne * (pixels - 2) - 1);
}

}  // namespace

void draw_luma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    for (int32_t b = 0; b < blocks; ++b) {
        for (int32_t k = 0; k < kDrawBlock; ++k) {
            const int32_t x = _luma_place(nodes.x + b, k, plane.width);
            const int32_t y = _luma_place(nodes.y + b, k, plane.height);
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
            const int32_t tx = (x >> 4) & 63, ty = (y >> 3) & 127;
            const uint8_t* src = plane.src + (y >> kDrawPlaceBits) * plane.stride + 2 * (x >> kDrawPlaceBits);
            for (int32_t byte = 0; byte < 2; ++byte, ++src) {
                const int16_t* shifts = nodes.shift[byte];
                const int32_t top = src[0] * (64 - tx) + src[2] * tx;
                const uint8_t* below = src + plane.stride;
                const int32_t bottom = below[0] * (64 - tx) + below[2] * tx;
                const int32_t sample = 2 * (top + _product(bottom - top, ty << 8) - kNeutral * 64);
                const int32_t shift =
                    _between(shifts[b], shifts[b + 1], steps, 4) + (kNeutral << kDrawShiftBits);
                dst[kDrawBlock * b + 2 * k + byte] = _finished(sample, gain, shift);
            }
        }
    }
}

}  // namespace ozr::kernels::scalar
