// Pictures for fuzzers: memory that ends where the record says, painted cheaply.
#ifndef FUZZ_PICTURE_H
#define FUZZ_PICTURE_H

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <memory>

#include "fuzz_digest.h"
#include "fuzz_input.h"

// Above this, executions would become slow.
constexpr int64_t kMaxFuzzBytes = 1 << 18;

struct FreeBlock {
    void operator()(void* block) const { free(block); }
};

// A block of its own on the heap, so that the byte before and the byte behind belong to nobody.
using ExactBlock = std::unique_ptr<uint8_t[], FreeBlock>;

inline ExactBlock exact_block(int64_t bytes)
{
    return ExactBlock(static_cast<uint8_t*>(malloc(static_cast<size_t>(std::max<int64_t>(bytes, 0)))));
}

// What a picture shows: a texture without repetition (so that neighbours align), one value, or the
// input's bytes.
struct FuzzPaint {
    uint8_t kind = 0;
    uint8_t value = 0;
    int32_t x = 0;  // place of the picture's corner in the texture
    int32_t y = 0;
};

inline const uint8_t* fuzz_texture_row(int32_t y)
{
    constexpr int32_t kSide = 512;
    static const ExactBlock texture = [] {
        ExactBlock block = exact_block(kSide * kSide);
        uint32_t state = 1;
        for (int32_t i = 0; i < kSide * kSide; ++i) {
            state = state * 1664525U + 1013904223U;
            block[static_cast<size_t>(i)] = static_cast<uint8_t>(state >> 24);
        }
        return block;
    }();
    return texture.get() + static_cast<ptrdiff_t>(y & (kSide - 1)) * kSide;
}

inline void fuzz_paint_texture(uint8_t* row, int64_t bytes, int32_t x, int32_t y)
{
    constexpr int32_t kSide = 512;
    for (int64_t done = 0; done < bytes;) {
        const int32_t column = (x + static_cast<int32_t>(done)) & (kSide - 1);
        const int64_t run = std::min<int64_t>(kSide - column, bytes - done);
        memcpy(row + done, fuzz_texture_row(y) + column, static_cast<size_t>(run));
        done += run;
    }
}

// Fills a block of rows, and the bytes behind the last whole one.
inline void fuzz_paint(uint8_t* data, int64_t bytes, int64_t stride, const FuzzPaint& paint,
                       const FuzzInput& input)
{
    const int64_t distance = stride > 0 ? stride : bytes;
    int32_t y = paint.y;
    for (int64_t start = 0; start < bytes; start += distance, ++y) {
        const int64_t row_bytes = std::min(distance, bytes - start);
        uint8_t* row = data + start;
        if (paint.kind % 4 == 0)
            fuzz_paint_texture(row, row_bytes, paint.x, y);
        else if (paint.kind % 4 == 1 || input.empty())
            memset(row, paint.value, static_cast<size_t>(row_bytes));
        else if (paint.kind % 4 == 2)  // extremes
            memset(row, (y & 1) != 0 ? 255 : 0, static_cast<size_t>(row_bytes));
        else
            for (int64_t i = 0; i < row_bytes; ++i)
                row[i] = input.rest()[static_cast<size_t>(start + i) % input.left()];
    }
}

struct FuzzSize {
    int32_t width;
    int32_t height;
};

// Of the pictures of a sweep: usually small, sometimes large enough for work that small ones do not
// need.
inline FuzzSize fuzz_sweep_size(FuzzInput* input)
{
    const uint8_t shape = input->byte();
    const FuzzSize size = {input->between(1, 128), input->between(1, 72)};
    if (shape < 232)
        return size;
    if (shape < 240)  // pyramids of several levels
        return {size.width + 100, size.height + 120};
    if (shape < 248)  // long enough for transitions at the seams
        return {640 + size.width % 40, 16 + size.height % 32};
    return {16 + size.width % 32, 640 + size.height % 40};
}

// A stride this much longer than a row, clamped to 32 bits.
inline int32_t fuzz_stride(int64_t row_bytes, int32_t padding)
{
    return static_cast<int32_t>(std::clamp<int64_t>(row_bytes + padding, INT32_MIN, INT32_MAX));
}

// The bytes behind an honest record: none for a number that does not fit 32 bits or is negative.
inline int64_t fuzz_honest_bytes(int64_t bytes)
{
    return bytes < 0 || bytes > INT32_MAX ? 0 : bytes;
}

#endif
