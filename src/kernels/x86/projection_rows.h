// Rows of a projection from the factors of the weights, in vectors of any width: one block of 8
// pixels to 16 bytes. A source row is weighed column by column with byte products, which give at
// most 255 * 16, and the sums then by rows: 255 * 256 and the rounding fit unsigned 16 bits. `V` is
// Sse2 or Avx2 with what else bytes need: first_pairs() are bytes k and k + 1 for k = 0, 1, ... 7,
// second_pairs() those two bytes on.
#ifndef OZR_PROJECTION_ROWS_H
#define OZR_PROJECTION_ROWS_H

#include <emmintrin.h>
#include <stddef.h>

#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

template <class V>
struct ProjectionRows {
    static constexpr int32_t kBlocks = V::kBytes / 16;
    static constexpr int32_t kLoad = 16;  // bytes of a source row; the patches cover 11
    using Vector = typename V::Vector;
    using Words = typename V::Words;
    using Sums = typename V::WordSums;
    using Two = typename V::Two;  // the weights of the first two and the last two columns

    // One source row under the column weights.
    static Sums weighed(Vector bytes, const Two& columns)
    {
        return Sums(V::multiply_add_bytes(V::first_pairs(bytes), Words(columns.first))) +
               Sums(V::multiply_add_bytes(V::second_pairs(bytes), Words(columns.second)));
    }

    // max(0, 16 - |behind - 16 i|).
    static Sums tent(Words behind, int32_t i)
    {
        const Words distance = V::absolute(behind - V::all_words(static_cast<int16_t>(kPixel * i)));
        return Sums(V::subtract_limited(V::all_words(kPixel), distance));
    }

    // Neighbouring pixels are at nearly one height, and the last row of the patches is seldom
    // reached: then the weights of the third are what exceeds the second, and those of the second
    // what is left of 16.
    static void project(uint8_t* dst, const uint8_t* src, ptrdiff_t stride, const ProjectionRow& row)
    {
        const Two columns = V::halves(V::load(row.columns), V::load(row.columns + V::kBytes));
        const Words behind = V::load_words(row.rows);
        const Words one = V::all_words(kPixel);
        const Sums rows[] = {weighed(V::load_blocks(src, row.offsets), columns),
                             weighed(V::load_blocks(src + stride, row.offsets), columns),
                             weighed(V::load_blocks(src + 2 * stride, row.offsets), columns)};
        const Sums first = Sums(V::subtract_limited(one, behind));
        Sums sum = Sums(V::all_words(128)) + rows[0] * first;
        if (V::any(behind > V::all_words(2 * kPixel))) {
            sum += rows[1] * tent(behind, 1) + rows[2] * tent(behind, 2);
            sum += weighed(V::load_blocks(src + 3 * stride, row.offsets), columns) * tent(behind, 3);
        } else {
            const Sums third = Sums(V::subtract_limited(behind, one));
            sum += rows[1] * (Sums(one) - first - third) + rows[2] * third;
        }
        V::store_packed(dst, V::high_bytes(Vector(sum)));
    }

    static ProjectionRow from(const ProjectionRow& row, int32_t block)
    {
        const ptrdiff_t b = block;
        return {row.offsets + b, row.columns + kColumnWeights * b, row.rows + kBlock * b};
    }

    // A row as a whole, as far as vectors go: without calls, constants stay in registers. The row
    // is a copy, which nothing that is stored can change.
    static void project_inside(uint8_t* dst, const uint8_t* src, int32_t stride, ProjectionRow row,
                               int32_t blocks)
    {
        for (int32_t b = 0; b < blocks; b += kBlocks)
            project(dst + ptrdiff_t{kBlock} * b, src, stride, from(row, b));
    }

    // Rows with loads that could leave the source, and blocks left over, go to another variant.
    static void project_row(uint8_t* dst, const ProjectionSource& src, const ProjectionRow& row,
                            int32_t blocks, ProjectLumaRow* narrow)
    {
        const int64_t last_offset = src.bytes - (kPatch - 1) * int64_t{src.stride} - kLoad;
        const int32_t whole = is_inside(row.offsets, blocks, last_offset) ? blocks / kBlocks * kBlocks : 0;
        project_inside(dst, src.data, src.stride, row, whole);
        if (whole < blocks)
            narrow(dst + ptrdiff_t{kBlock} * whole, src, from(row, whole), blocks - whole);
    }

    static bool is_inside(const int32_t* offsets, int32_t blocks, int64_t last_offset)
    {
        const int32_t last = static_cast<int32_t>(last_offset < INT32_MAX ? last_offset : INT32_MAX);
        constexpr int32_t kLanes = V::kBytes / 4;
        using Ints = typename V::Ints;
        Ints outside = {};
        int32_t b = 0;
        for (; b <= blocks - kLanes; b += kLanes) {
            const Ints offset = Ints(V::load(offsets + b));
            outside |= (offset > last) | (offset < 0);
        }
        bool is_outside = last_offset < 0 || V::any(Words(outside));
        for (; b < blocks; ++b)
            is_outside = is_outside || offsets[b] < 0 || offsets[b] > last;
        return !is_outside;
    }
};

}  // namespace

}  // namespace ozr::kernels

#endif
