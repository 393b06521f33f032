#include "refined/reduce.h"

#include <algorithm>

namespace ozr::refined
{

namespace
{

// Means of blocks of 2^bits x 2^bits elements, `bytes` interleaved bytes each; the last block is repeated where the
// destination is wider than the source has blocks.
struct Blocks {
    const uint8_t* src;
    int64_t stride;
    int32_t columns;  // whole blocks of the source
    int32_t rows;
    int32_t bits;
    int32_t bytes;
};

// Of 2 x 2, the usual case.
void _halve_row(uint8_t* dst, int32_t count, const uint8_t* row, int64_t stride, int32_t bytes)
{
    const uint8_t *upper = row, *lower = row + stride;
    for (int32_t x = 0; x < count; ++x) {
        for (int32_t byte = 0; byte < bytes; ++byte, ++upper, ++lower)
            *dst++ = static_cast<uint8_t>((upper[0] + upper[bytes] + lower[0] + lower[bytes] + 2) >> 2);
        upper += bytes;
        lower += bytes;
    }
}

uint8_t _mean(const uint8_t* src, const Blocks& blocks)
{
    const int32_t side = 1 << blocks.bits;
    uint32_t sum = 1U << (2 * blocks.bits) >> 1;
    for (int32_t y = 0; y < side; ++y, src += blocks.stride) {
        for (int32_t x = 0; x < side; ++x)
            sum += src[x * blocks.bytes];
    }
    return static_cast<uint8_t>(sum >> (2 * blocks.bits));
}

void _reduce_row(uint8_t* dst, int32_t width, int32_t y, const Blocks& blocks)
{
    const uint8_t* row = blocks.src + (int64_t{std::min(y, blocks.rows - 1)} << blocks.bits) * blocks.stride;
    if (blocks.bits == 1 && width <= blocks.columns) {
        _halve_row(dst, width, row, blocks.stride, blocks.bytes);
        return;
    }
    for (int32_t x = 0; x < width; ++x) {
        const int64_t column = int64_t{std::min(x, blocks.columns - 1)} << blocks.bits;
        for (int32_t byte = 0; byte < blocks.bytes; ++byte)
            *dst++ = _mean(row + column * blocks.bytes + byte, blocks);
    }
}

}  // namespace

int32_t reduced_side(int32_t side, int32_t bits)
{
    return std::max(4, (side >> bits) & ~1);
}

Buffer<uint8_t> reduce_picture(const PanoImg& picture, int32_t bits, const Cancel& cancel)
{
    const int32_t width = reduced_side(picture.width, bits), height = reduced_side(picture.height, bits);
    Buffer<uint8_t> small = make_unfilled_buffer<uint8_t>(int64_t{width} * height / 2 * 3);
    if (!small)
        return small;
    const Blocks luma = {pano_row(&picture, 0),
                         picture.stride,
                         std::max(1, picture.width >> bits),
                         std::max(1, picture.height >> bits),
                         bits,
                         1};
    const Blocks chroma = {pano_chroma_row(&picture, 0),
                           picture.stride,
                           std::max(1, picture.width / 2 >> bits),
                           std::max(1, picture.height / 2 >> bits),
                           bits,
                           2};
    uint8_t* dst = small.get();
    for (int32_t y = 0; y < height && !cancel.asked(); ++y, dst += width)
        _reduce_row(dst, width, y, luma);
    for (int32_t y = 0; y < height / 2 && !cancel.asked(); ++y, dst += width)
        _reduce_row(dst, width / 2, y, chroma);
    return small;
}

}  // namespace ozr::refined
