// Projection: blocks of 8 pixels, each pixel from a patch of 4 x 4 source bytes.
#ifndef OZR_KERNELS_PROJECT_H
#define OZR_KERNELS_PROJECT_H

#include <stdint.h>

namespace ozr::kernels
{

// The tables of one row of blocks. A source row or column `d` sixteenths of a pixel behind the first of a patch has the
// tent weights max(0, 16 - |d - 16 i|) for i < 4, or none when d exceeds 48; a pixel's weights are the products of those of
// its row and its column, 256 in sum.
struct ProjectionRow {
    const int32_t* offsets;   // a block: source byte at the top left of its first pixel's patch
    const uint16_t* weights;  // a block: 128 products; source row i, column j of pixel k at (4 i + j) 8 + k
    const uint8_t*
        columns;  // a block: 32 column weights; those of pixel k at 2 k, 2 k + 1, 2 k + 16 and 2 k + 17
    const uint8_t* rows;  // a pixel: d of its source row, 255 where it exceeds 48
};

// One row of `blocks` blocks. Pixel k of block b is
//   (sum over i, j < 4 of src[offsets[b] + i * stride + k + j] * weights[128 b + (4 i + j) 8 + k] + 128) >> 8.
// The sum stays within 16 bits (255 * 256 + 128). Source bytes whose weight is 0 may lie outside the picture and are not
// read, unless they lie among the `src_bytes` readable ones from src on. Variants may work from the factors, which are a
// sixteenth of the weights in size: reading these is what bounds them otherwise.
using ProjectLumaRow = void(uint8_t* dst, const uint8_t* src, int64_t src_bytes, int32_t stride,
                            const ProjectionRow& row, int32_t blocks);

// Where the tables of one row go.
struct ProjectionRowOut {
    int32_t* offsets;
    uint16_t* weights;
    uint8_t* rows;
};

// What the rows of blocks have in common.
struct ProjectionColumns {
    const int32_t* bases;    // a block: its first source column
    const uint8_t* weights;  // as ProjectionRow has them
    int32_t stride;          // of the source
};

// Makes them from the source rows of its pixels, in sixteenths, none negative and the smallest of a block less than 2^27:
// the patches of a block begin in the row of the smallest.
using ProjectionTablesRow = void(const ProjectionRowOut& out, const int32_t* positions,
                                 const ProjectionColumns& columns, int32_t blocks);

// dst pair p = src pair map[p], both bytes together.
using ProjectChromaRow = void(uint8_t* dst, const uint8_t* src, const int32_t* map, int32_t pairs);

struct ProjectKernels {
    ProjectLumaRow* luma_row;
    ProjectChromaRow* chroma_row;
    ProjectionTablesRow* tables_row;
};

namespace scalar
{
ProjectLumaRow project_luma_row;
ProjectChromaRow project_chroma_row;
ProjectionTablesRow projection_tables_row;

// A single block of a row, for variants that cannot read what surrounds its patches.
void project_luma_block(uint8_t* dst, const uint8_t* src, int32_t stride, const ProjectionRow& row,
                        int32_t block);

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->chroma_row = project_chroma_row;
    table->tables_row = projection_tables_row;
}
}  // namespace scalar

namespace sse2
{
ProjectLumaRow project_luma_row;
ProjectionTablesRow projection_tables_row;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->tables_row = projection_tables_row;
}
}  // namespace sse2

namespace ssse3
{
ProjectLumaRow project_luma_row;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
}
}  // namespace ssse3

namespace avx2
{
ProjectLumaRow project_luma_row;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
}
}  // namespace avx2

namespace neon
{
ProjectLumaRow project_luma_row;
ProjectionTablesRow projection_tables_row;

constexpr void fill(ProjectKernels* table)
{
    table->luma_row = project_luma_row;
    table->tables_row = projection_tables_row;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
