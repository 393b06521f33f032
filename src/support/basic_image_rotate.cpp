// Turns grey pictures in the caller's own memory: the pixels of a destination row are those on a straight line through
// the source.
//
// Positions are Q10 in the destination's grid; multiplied by a sine or cosine in Q16 they are the Q26 of the kernel.
#include <stddef.h>

#include "base/fixed.h"
#include "base/plane.h"
#include "kernels/kernels.h"
#include "ozr_geometry.h"
#include "ozr_gray.h"
#include "support/raw_pictures.h"

using namespace ozr;

namespace
{

constexpr int32_t kPositionFracBits = 10;
constexpr int64_t kPositionOne = int64_t{1} << kPositionFracBits;
static_assert(kPositionFracBits + kTrigFracBits == kernels::kLineFracBits, "positions times cosines");

constexpr int32_t kEighths = 8;
constexpr int32_t kEighthDegrees = 45;

// The grid of destination pixels in the source before it is turned, Q10: the distance of its columns and of its rows, and
// its centre.
struct Grid {
    int64_t step_x;
    int64_t step_y;
    int64_t centre_x;
    int64_t centre_y;
};

// Half the extent of `count` positions, truncated; an odd extent is half a unit off, wherever it is used.
int64_t _half_extent(int32_t count, int64_t step)
{
    return ((count - 1) * step) >> 1;
}

// Fills the destination with the picture turned clockwise about the centre of the grid.
void _turn(const Plane& dst, const ConstPlane& src, const Grid& grid, int32_t degrees)
{
    kernels::LineGrayRow* const line_row = kernels::active()->warp.line_gray_row;
    const int64_t cosine = ozr_math_cosi16_d(degrees);
    const int64_t sine = ozr_math_sini16_d(degrees);
    const kernels::Line line = {src.data,   src.stride,           src.width,
                                src.height, cosine * grid.step_x, -sine * grid.step_x};
    const int64_t u = -_half_extent(dst.width, grid.step_x);
    for (int32_t y = 0; y < dst.height; ++y) {
        const int64_t v = y * grid.step_y - _half_extent(dst.height, grid.step_y);
        line_row(dst.row(y), dst.width, line, (grid.centre_x << kTrigFracBits) + cosine * u + sine * v,
                 (grid.centre_y << kTrigFracBits) - sine * u + cosine * v);
    }
}

}  // namespace

ozr_err rotate_grayimage_eighth(uint8_t* dst, int32_t dst_width, int32_t dst_height, int32_t dst_stride,
                                const uint8_t* src, int32_t src_width, int32_t src_height, int32_t src_stride,
                                int32_t direction)
{
    const Plane to = {dst, dst_width, dst_height, stride_or_width(dst_stride, dst_width)};
    const ConstPlane from = {src, src_width, src_height, stride_or_width(src_stride, src_width)};
    if (!to.has_pixels() || !from.has_pixels() || direction < 0 || direction >= kEighths)
        return ozr_err_invalid_argument;
    // The middle of the source plus half a pixel, so that truncated positions are rounded ones.
    const Grid grid = {kPositionOne, kPositionOne, src_width * kPositionOne / 2,
                       src_height * kPositionOne / 2};
    _turn(to, from, grid, direction * kEighthDegrees);
    return ozr_success;
}

ozr_err rotate_crop_resize_grayimage_nn(uint8_t* dst, int32_t dst_width, int32_t dst_height,
                                        int32_t dst_stride, const uint8_t* src, int32_t src_width,
                                        int32_t src_height, int32_t src_stride, const ozr_rect* crop,
                                        int32_t deg)
{
    const Plane to = {dst, dst_width, dst_height, stride_or_width(dst_stride, dst_width)};
    const ConstPlane from = {src, src_width, src_height, stride_or_width(src_stride, src_width)};
    if (!to.has_pixels() || !from.has_pixels() || !crop_is_inside(crop, src_width, src_height))
        return ozr_err_invalid_argument;
    const int64_t step_x = (crop->right - crop->left) * kPositionOne / dst_width;
    const int64_t step_y = (crop->bottom - crop->top) * kPositionOne / dst_height;
    const Grid grid = {step_x, step_y, crop->left * kPositionOne + _half_extent(dst_width, step_x),
                       crop->top * kPositionOne + _half_extent(dst_height, step_y)};
    _turn(to, from, grid, deg);
    return ozr_success;
}
