// The blocks of a projection: 8 pixels, each from a patch of 4 x 4 source bytes.
#ifndef OZR_PROJECTION_BLOCK_H
#define OZR_PROJECTION_BLOCK_H

#include <stdint.h>

namespace ozr::kernels
{

constexpr int32_t kFracBits = 4;  // of a source position
constexpr int32_t kPixel = 1 << kFracBits;
constexpr int32_t kBlock = 8;                // pixels of a block
constexpr int32_t kBlockPairs = kBlock / 2;  // of chroma
constexpr int32_t kPatch = 4;                // source rows and columns of a pixel
// From the first row or column of a patch to its last.
constexpr int32_t kPatchReach = (kPatch - 1) * kPixel;
constexpr int32_t kBlockWeights = kBlock * kPatch * kPatch;  // weights of a block
constexpr int32_t kColumnWeights = kBlock * kPatch;          // of a block

}  // namespace ozr::kernels

#endif
