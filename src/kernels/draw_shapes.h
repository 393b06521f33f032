// What variants of drawing tell luma and chroma apart by.
#ifndef OZR_DRAW_SHAPES_H
#define OZR_DRAW_SHAPES_H

#include <stdint.h>

#include "kernels/draw.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

constexpr int32_t kMostStep = 16383;  // from a node to the next: twice as much is a word
constexpr int32_t kLoad = 16;         // bytes of a source row that a block is made from

// Places are Q10 luma pixels: a pair is two of them wide, and begins half a one in;
// places of luma are rounded to a 16th.
struct LumaShape {
    // Rows and columns of a pixel, and those of them before its place.
    static constexpr int32_t kTaps = 4, kBefore = 1;
    static constexpr int32_t kPixelBytes = 1, kUnitBits = kDrawPlaceBits, kInset = -32;
    // Where a block's first and last pixel lie, in 16ths of it.
    static constexpr int32_t kFirst = 0, kLast = 14;
};
struct ChromaShape {
    static constexpr int32_t kTaps = 2, kBefore = 0;
    static constexpr int32_t kPixelBytes = 2, kUnitBits = kDrawPlaceBits + 1,
                             kInset = 1 << (kDrawPlaceBits - 1);
    static constexpr int32_t kFirst = 1, kLast = 13;
};

}  // namespace

}  // namespace ozr::kernels

#endif
