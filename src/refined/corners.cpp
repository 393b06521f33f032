#include "refined/corners.h"

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

// Central differences, twice the gradient. The block lies inside the plane's border of one pixel.
Tensor _block_tensor(const ConstPlane& plane, int32_t left, int32_t top)
{
    Tensor sums = {};
    for (int32_t y = top; y < top + kCornerStep; ++y) {
        const uint8_t* above = plane.row(y - 1) + left;
        const uint8_t* row = plane.row(y) + left;
        const uint8_t* below = plane.row(y + 1) + left;
        for (int32_t x = 0; x < kCornerStep; ++x) {
            const int32_t gx = row[x + 1] - row[x - 1];
            const int32_t gy = below[x] - above[x];
            sums.xx += gx * gx;
            sums.yy += gy * gy;
            sums.xy += gx * gy;
        }
    }
    return sums;
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
        for (int32_t i = 0; i < blocks; ++i)
            below[i] = _block_tensor(plane, 1 + i * kCornerStep, 1 + row * kCornerStep);
        if (row == 0)
            continue;
        float* strength = out->strength.get() + int64_t{row - 1} * out->columns;
        for (int32_t i = 0; i < out->columns; ++i)
            strength[i] = _window_strength(above + i, below + i);
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
