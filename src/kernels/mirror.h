// Mirrors, in place.
#ifndef OZR_KERNELS_MIRROR_H
#define OZR_KERNELS_MIRROR_H

#include <stdint.h>

namespace ozr::kernels
{

// In place: byte i changes places with byte count - 1 - i for i < count / 2.
using MirrorBytesRow = void(uint8_t* row, int32_t count);

// In place: pair k, bytes 2k and 2k + 1, changes places with bytes bytes - 2 - 2k and
// bytes - 1 - 2k for k < bytes / 4; with an odd number of bytes too, where pairs on the right start
// at odd bytes.
using MirrorPairsRow = void(uint8_t* row, int32_t bytes);

// In place: four-byte pixel i changes places with pixel count - 1 - i for i < count / 2.
using MirrorQuadsRow = void(uint8_t* row, int32_t count);

struct MirrorKernels {
    MirrorBytesRow* bytes_row;
    MirrorPairsRow* pairs_row;
    MirrorQuadsRow* quads_row;
};

namespace scalar
{
MirrorBytesRow mirror_bytes_row;
MirrorPairsRow mirror_pairs_row;
MirrorQuadsRow mirror_quads_row;

constexpr void fill(MirrorKernels* table)
{
    table->bytes_row = mirror_bytes_row;
    table->pairs_row = mirror_pairs_row;
    table->quads_row = mirror_quads_row;
}
}  // namespace scalar

namespace ssse3
{
MirrorBytesRow mirror_bytes_row;
MirrorPairsRow mirror_pairs_row;
MirrorQuadsRow mirror_quads_row;

constexpr void fill(MirrorKernels* table)
{
    table->bytes_row = mirror_bytes_row;
    table->pairs_row = mirror_pairs_row;
    table->quads_row = mirror_quads_row;
}
}  // namespace ssse3

namespace avx2
{
MirrorBytesRow mirror_bytes_row;
MirrorPairsRow mirror_pairs_row;
MirrorQuadsRow mirror_quads_row;

constexpr void fill(MirrorKernels* table)
{
    table->bytes_row = mirror_bytes_row;
    table->pairs_row = mirror_pairs_row;
    table->quads_row = mirror_quads_row;
}
}  // namespace avx2

namespace neon
{
MirrorBytesRow mirror_bytes_row;
MirrorPairsRow mirror_pairs_row;
MirrorQuadsRow mirror_quads_row;

constexpr void fill(MirrorKernels* table)
{
    table->bytes_row = mirror_bytes_row;
    table->pairs_row = mirror_pairs_row;
    table->quads_row = mirror_quads_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
