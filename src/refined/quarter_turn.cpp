#include "refined/quarter_turn.h"

#include <algorithm>

#include "kernels/kernels.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kStripRows = 256;  // of luma, turned between two looks at the request to stop

// Rows of a plane become columns of the turned one: counter-clockwise the first of them the
// leftmost, clockwise the rightmost.
int32_t _first_column(int32_t row, int32_t rows, int32_t all_rows, bool clockwise)
{
    return clockwise ? all_rows - row - rows : row;
}

void _turn_strip(const PanoImg& from, int32_t row, int32_t rows, bool clockwise, PanoImg* to)
{
    const kernels::RotateKernels& kernels = kernels::active()->rotate;
    const int32_t column = _first_column(row, rows, from.height, clockwise);
    const auto turn_luma = clockwise ? kernels.bytes_cw : kernels.bytes_ccw;
    const auto turn_chroma = clockwise ? kernels.pairs_cw : kernels.pairs_ccw;
    turn_luma(pano_row(to, 0) + column, to->stride, {pano_row(&from, row), from.stride, from.width, rows});
    turn_chroma(pano_chroma_row(to, 0) + column, to->stride,
                {pano_chroma_row(&from, row / 2), from.stride, from.width / 2, rows / 2});
}

}  // namespace

PanoResult quarter_turn(const PanoImg& from, bool clockwise, const Cancel& cancel, PanoImg* to)
{
    PANO_FORWARD(pano_create_unfilled(to, from.height, from.width, kPanoNv12));
    for (int32_t row = 0; row < from.height; row += kStripRows) {
        if (cancel.asked())
            return kPanoCancelled;
        _turn_strip(from, row, std::min(kStripRows, from.height - row), clockwise, to);
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
