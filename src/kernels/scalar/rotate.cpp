#include <stddef.h>
#include <string.h>

#include "kernels/rotate.h"

namespace ozr::kernels::scalar
{

namespace
{

// Element (x, y) of the source starts at src + y * src_stride + x * kBytes. The task is a copy,
// which nothing that is stored can change.
template <size_t kBytes, bool kClockwise>
void _rotate(uint8_t* dst, int32_t dst_stride, RotateTask task)
{
    for (int32_t y = 0; y < task.height; ++y) {
        const uint8_t* row = task.src + static_cast<ptrdiff_t>(y) * task.src_stride;
        const int32_t dst_column = kClockwise ? task.height - 1 - y : y;
        for (int32_t x = 0; x < task.width; ++x) {
            const int32_t dst_row = kClockwise ? x : task.width - 1 - x;
            memcpy(dst + static_cast<ptrdiff_t>(dst_row) * dst_stride +
                       static_cast<size_t>(dst_column) * kBytes,
                   row + static_cast<size_t>(x) * kBytes, kBytes);
        }
    }
}

}  // namespace

void rotate_bytes_cw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    _rotate<1, true>(dst, dst_stride, task);
}

void rotate_bytes_ccw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    _rotate<1, false>(dst, dst_stride, task);
}

void rotate_pairs_cw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    _rotate<2, true>(dst, dst_stride, task);
}

void rotate_pairs_ccw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    _rotate<2, false>(dst, dst_stride, task);
}

}  // namespace ozr::kernels::scalar
