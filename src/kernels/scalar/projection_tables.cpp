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

int32_t _tent(int32_t behind, int32_t i)
{
    return std::max(0, kPixel - abs(behind - kPixel * i));
}

void _fill_weights(uint16_t* weights, const uint8_t* rows, const uint8_t* columns)
{
    for (int32_t i = 0; i < kPatch; ++i) {
        for (int32_t j = 0; j < kPatch; ++j) {
            const uint8_t* column = columns + j % 2 + 2 * kBlock * (j / 2);
            for (int32_t k = 0; k < kBlock; ++k)
                weights[(kPatch * i + j) * kBlock + k] =
                    static_cast<uint16_t>(_tent(rows[k], i) * column[2 * k]);
        }
    }
}

}  // namespace

void projection_tables_row(const ProjectionRowOut& out, const int32_t* positions,
                           const ProjectionColumns& columns, int32_t blocks)
{
    for (int32_t b = 0; b < blocks; ++b, positions += kBlock) {
        const int32_t base = *std::min_element(positions, positions + kBlock) & -kPixel;
        out.offsets[b] = (base >> kFracBits) * columns.stride + columns.bases[b];
        uint8_t* rows = out.rows + ptrdiff_t{kBlock} * b;
        for (int32_t k = 0; k < kBlock; ++k) {
            const int32_t behind = positions[k] - base;
            rows[k] = behind > kPatchReach ? kBeyond : static_cast<uint8_t>(behind);
        }
        _fill_weights(out.weights + ptrdiff_t{kBlockWeights} * b, rows,
                      columns.weights + ptrdiff_t{kColumnWeights} * b);
    }
}

}  // namespace ozr::kernels::scalar
