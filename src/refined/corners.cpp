// Gradients are summed over blocks of a step's size, so that windows, which overlap, share them.
#include "refined/corners.h"

#include <stddef.h>

#include <algorithm>
#include <cmath>

#include "image/pano_result.h"

namespace ozr::refined
{

namespace
{

// Sums of products of the gradient over a block of kCornerStep x kCornerStep pixels.
struct Tensor {
    int32_t xx;
    int32_t yy;
    int32_t xy;
};

// Sums over some columns of a block's rows. The compiler makes vectors of loops whose length it
// knows, if that is 16 bytes.
template <size_t kColumns>
struct ColumnTensors {
    int32_t xx[kColumns];
    int32_t yy[kColumns];
    int32_t xy[kColumns];

    // Central differences, twice the gradient.
    void add(const uint8_t* above, const uint8_t* row, const uint8_t* below)
    {
        const uint8_t *before = row - 1, *behind = row + 1;
        for (size_t x = 0; x < kColumns; ++x) {
            const int16_t gx = static_cast<int16_t>(behind[x] - before[x]);
            const int16_t gy = static_cast<int16_t>(below[x] - above[x]);
            xx[x] += gx * gx;
            yy[x] += gy * gy;
            xy[x] += gx * gy;
        }
    }
};

int32_t _block_sum(const int32_t* columns)
{
    int32_t sum = 0;
    for (int32_t x = 0; x < kCornerStep; ++x)
        sum += columns[x];
    return sum;
}

// Blocks side by side, inside the plane's border of one pixel.
template <int32_t kBlocks>
void _measure_blocks(const ConstPlane& plane, int32_t left, int32_t top, Tensor* blocks)
{
    ColumnTensors<size_t{kBlocks}* kCornerStep> columns = {};
    for (int32_t y = top; y < top + kCornerStep; ++y)
        columns.add(plane.row(y - 1) + left, plane.row(y) + left, plane.row(y + 1) + left);
    for (int32_t i = 0; i < kBlocks; ++i) {
        const int32_t first = i * kCornerStep;
        blocks[i] = {_block_sum(columns.xx + first), _block_sum(columns.yy + first),
                     _block_sum(columns.xy + first)};
    }
}

void _measure_row(const ConstPlane& plane, int32_t row, int32_t count, Tensor* blocks)
{
    constexpr int32_t kAtOnce = 4;
    const int32_t top = 1 + row * kCornerStep;
    int32_t i = 0;
    for (; i + kAtOnce <= count; i += kAtOnce)
        _measure_blocks<kAtOnce>(plane, 1 + i * kCornerStep, top, blocks + i);
    for (; i < count; ++i)
        _measure_blocks<1>(plane, 1 + i * kCornerStep, top, blocks + i);
}

float _smaller_eigenvalue(double xx, double yy, double xy)
{
    const double difference = xx - yy;
    return static_cast<float>(0.5 * (xx + yy - std::sqrt(difference * difference + 4.0 * xy * xy)));
}

// A window is two blocks in each direction.
float _window_strength(const Tensor* above, const Tensor* below)
{
    return _smaller_eigenvalue(above[0].xx + above[1].xx + below[0].xx + below[1].xx,
                               above[0].yy + above[1].yy + below[0].yy + below[1].yy,
                               above[0].xy + above[1].xy + below[0].xy + below[1].xy);
}

}  // namespace

PanoResult find_corners(const ConstPlane& plane, Corners* out)
{
    const int32_t blocks = std::max((plane.width - 2) / kCornerStep, 0);
    out->columns = std::max(blocks - 1, 0);
    out->rows = std::max((plane.height - 2) / kCornerStep - 1, 0);
    out->strength = make_unfilled_buffer<float>(std::max(int64_t{out->columns} * out->rows, int64_t{1}));
    auto tensors = make_unfilled_buffer<Tensor>(2 * int64_t{blocks} + 1);
    if (!out->strength || !tensors)
        return kPanoNoMemory;
    Tensor* above = tensors.get();
    Tensor* below = above + blocks;
    for (int32_t row = 0; row <= out->rows && out->rows > 0; ++row) {
        std::swap(above, below);
        _measure_row(plane, row, blocks, below);
        if (row == 0)
            continue;
        float* strength = out->strength.get() + int64_t{row - 1} * out->columns;
        for (int32_t i = 0; i < out->columns; ++i)
            strength[i] = _window_strength(above + i, below + i);
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
