// Projection: blocks of 8 pixels, each pixel from a patch of 4 x 4 source bytes.
#ifndef OZR_KERNELS_PROJECT_H
#define OZR_KERNELS_PROJECT_H

#include <stdint.h>

#include "kernels/projection_block.h"

namespace ozr::kernels
{

// What a row of blocks is made from. A source row or column `d` sixteenths of a pixel behind the
// first of a patch has the tent weights max(0, 16 - |d - 16 i|) for i < 4, or none when d exceeds
// 48; a pixel's weights are the products of those of its row and its column, 256 in sum.
struct ProjectionRow {
    const int32_t* offsets;  // a block: source byte at the top left of its first pixel's patch
    // A block: 32 column weights; those of pixel k at 2 k, 2 k + 1, 2 k + 16 and 2 k + 17.
    const uint8_t* columns;
    const uint8_t* rows;  // a pixel: d of its source row, 255 where it exceeds 48
};

// The luma plane of the source.
struct ProjectionSource {
    const uint8_t* data;
    int64_t bytes;  // readable from `data` on
    int32_t stride;
};

// One row of `blocks` blocks. Pixel k of block b, whose weights are w, is
//   (sum over i, j < 4 of src.data[offsets[b] + i * stride + k + j] * w[i][j] + 128) >> 8.
// The sum stays within 16 bits (255 * 256 + 128). Source bytes whose weight is 0 may lie outside
// the picture and are not read, unless they lie among the readable bytes.
using ProjectLumaRow = void(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row,
                            int32_t blocks);

// What a row of chroma is made from, in blocks of 4 pairs below the 8 pixels of luma. Most blocks
// come from one source row.
struct ProjectionChromaRow {
    // A block: source byte from which on its pairs are; -1 where they come from several rows.
    const int32_t* offsets;
    const uint8_t* order;  // a block: for each of its 8 bytes, how far behind; less than 16
    const int32_t* map;    // a pair: which one of the source it is, in blocks without an offset
};

// One row: both bytes of a pair together. `src` is the first pair of the chroma plane, of which
// `src_bytes` are readable.
using ProjectChromaRow = void(uint8_t* dst, const uint8_t* src, int64_t src_bytes,
                              const ProjectionChromaRow& row, int32_t blocks);

// How far above or below the centre the source of each of a block's columns is, in sixteenths
// of a pixel:
//   v = min(farthest, floor(y * scale / divisor))  for y = 0, 1, 2 and so on.
struct ProjectionCurves {
    int32_t divisors[kBlock];
    int32_t steps[kBlock];       // scale / divisor
    int32_t step_rests[kBlock];  // scale % divisor
    int32_t values[kBlock];      // v
    int32_t rests[kBlock];       // y * scale % divisor; of no meaning once v is the farthest
};

// A row in the making.
struct ProjectionRowOut {
    int32_t* offsets;
    uint8_t* rows;
};

// Two rows that mirror each other about the source's centre: pixels are v below row `centre`, and v
// above the row before it.
struct ProjectionRowPair {
    ProjectionRowOut below;
    ProjectionRowOut above;
    const int32_t* bases;  // a block: its first source column
    int32_t stride;        // of the source
    int32_t centre;
    int32_t farthest;
};

// Makes both rows of `blocks` blocks, and takes the curves to the next y. The curves are those of
// block `blocks` / 2 and following; the others mirror them. The patches of a block begin in the row
// of its topmost pixel. The values of a block must rise, or its first half mirror the second: the
// least is the first or the fifth, the greatest the last.
using ProjectionRowsOfCurves = void(const ProjectionRowPair& out, ProjectionCurves* curves, int32_t blocks);

// The products of the weights of a row: source row i, column j of pixel k of a block at 128
// b + (4 i + j) 8 + k.
using ProjectionWeightsRow = void(uint16_t* weights, const ProjectionRow& row, int32_t blocks);

struct ProjectKernels {
    ProjectLumaRow* luma_row;
    ProjectChromaRow* chroma_row;
    ProjectionRowsOfCurves* rows_of_curves;
    ProjectionWeightsRow* weights_row;
};

namespace scalar
{
ProjectLumaRow project_luma_row;
ProjectChromaRow project_chroma_row;
ProjectionRowsOfCurves projection_rows_of_curves;
ProjectionWeightsRow projection_weights_row;

// A single block, for variants that cannot read 16 bytes of the source.
void project_chroma_block(uint8_t* dst, const uint8_t* src, const ProjectionChromaRow& row, int32_t block);

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->chroma_row = project_chroma_row;
    table->rows_of_curves = projection_rows_of_curves;
    table->weights_row = projection_weights_row;
}
}  // namespace scalar

namespace sse2
{
ProjectLumaRow project_luma_row;
ProjectionRowsOfCurves projection_rows_of_curves;
ProjectionWeightsRow projection_weights_row;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->rows_of_curves = projection_rows_of_curves;
    table->weights_row = projection_weights_row;
}
}  // namespace sse2

namespace ssse3
{
ProjectLumaRow project_luma_row;
ProjectChromaRow project_chroma_row;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->chroma_row = project_chroma_row;
}
}  // namespace ssse3

namespace avx2
{
ProjectLumaRow project_luma_row;
ProjectionRowsOfCurves projection_rows_of_curves;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->rows_of_curves = projection_rows_of_curves;
}
}  // namespace avx2

namespace neon
{
ProjectLumaRow project_luma_row;
ProjectChromaRow project_chroma_row;
ProjectionRowsOfCurves projection_rows_of_curves;
ProjectionWeightsRow projection_weights_row;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->chroma_row = project_chroma_row;
    table->rows_of_curves = projection_rows_of_curves;
    table->weights_row = projection_weights_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
