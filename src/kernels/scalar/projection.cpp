// What a projection is made from: where the pixels of a row come from, and their weights.
#include <stddef.h>
#include <stdlib.h>

#include <algorithm>

#include "kernels/project.h"
#include "kernels/projection_block.h"

namespace ozr::kernels::scalar
{

namespace
{

constexpr uint8_t kBeyond = 255;

uint8_t _limited(int32_t behind)
{
    return behind > kPatchReach ? kBeyond : static_cast<uint8_t>(behind);
}

// Where the patches of a block begin, and of its mirror image.
struct Places {
    int32_t below;
    int32_t above;
};

void _store_offsets(const ProjectionRowPair& out, const Places& line, int32_t block)
{
    out.below.offsets[block] = line.below * out.stride + out.bases[block];
    out.above.offsets[block] = line.above * out.stride + out.bases[block];
}

void _place_block(const ProjectionRowPair& out, const int32_t* values, int32_t right, int32_t left)
{
    const int32_t least = std::min(values[0], values[kBlock / 2]) >> kFracBits;
    const int32_t most = (values[kBlock - 1] + kPixel - 1) >> kFracBits;
    const Places lines = {out.centre + least, out.centre - 1 - most};
    _store_offsets(out, lines, right);
    _store_offsets(out, lines, left);
    const ptrdiff_t first = ptrdiff_t{kBlock} * right;
    const ptrdiff_t last = ptrdiff_t{kBlock} * left + kBlock - 1;
    for (int32_t k = 0; k < kBlock; ++k) {
        out.below.rows[first + k] = out.below.rows[last - k] = _limited(values[k] - kPixel * least);
        out.above.rows[first + k] = out.above.rows[last - k] = _limited(kPixel * most - values[k]);
    }
}

void _advance(ProjectionCurves* curves, int32_t k, int32_t farthest)
{
    int32_t rest = curves->rests[k] + curves->step_rests[k];
    int32_t value = curves->values[k] + curves->steps[k];
    if (rest >= curves->divisors[k]) {
        rest -= curves->divisors[k];
        ++value;
    }
    curves->rests[k] = rest;
    curves->values[k] = std::min(value, farthest);
}

int32_t _tent(int32_t behind, int32_t i)
{
    return std::max(0, kPixel - abs(behind - kPixel * i));
}

}  // namespace

void projection_rows_of_curves(const ProjectionRowPair& out, ProjectionCurves* curves, int32_t blocks)
{
    for (int32_t right = blocks / 2; right < blocks; ++right, ++curves) {
        _place_block(out, curves->values, right, blocks - 1 - right);
        for (int32_t k = 0; k < kBlock; ++k)
            _advance(curves, k, out.farthest);
    }
}

void projection_weights_row(uint16_t* weights, const ProjectionRow& row, int32_t blocks)
{
    for (ptrdiff_t b = 0; b < blocks; ++b) {
        for (int32_t i = 0; i < kPatch; ++i) {
            for (int32_t j = 0; j < kPatch; ++j) {
                const uint8_t* column = row.columns + kColumnWeights * b + j % 2 + 2 * kBlock * (j / 2);
                for (int32_t k = 0; k < kBlock; ++k)
                    *weights++ = static_cast<uint16_t>(_tent(row.rows[kBlock * b + k], i) * column[2 * k]);
            }
        }
    }
}

}  // namespace ozr::kernels::scalar
