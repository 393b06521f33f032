// Quarter turns.
#ifndef OZR_KERNELS_ROTATE_H
#define OZR_KERNELS_ROTATE_H

#include <stdint.h>

namespace ozr::kernels
{

// A picture to be turned: `width` x `height` elements, rows `src_stride` bytes apart.
struct RotateTask {
    const uint8_t* src;
    int32_t src_stride;
    int32_t width;
    int32_t height;
};

// Quarter turns. Clockwise, element (column x, row y) goes to column height - 1 - y of row x;
// counter-clockwise, to column y of row width - 1 - x. `dst_stride` is in bytes.
using Rotate = void(uint8_t* dst, int32_t dst_stride, const RotateTask& task);

struct RotateKernels {
    Rotate* bytes_cw;
    Rotate* bytes_ccw;
    Rotate* pairs_cw;
    Rotate* pairs_ccw;
};

namespace scalar
{
Rotate rotate_bytes_cw;
Rotate rotate_bytes_ccw;
Rotate rotate_pairs_cw;
Rotate rotate_pairs_ccw;

constexpr void fill(RotateKernels* table)
{
    table->bytes_cw = rotate_bytes_cw;
    table->bytes_ccw = rotate_bytes_ccw;
    table->pairs_cw = rotate_pairs_cw;
    table->pairs_ccw = rotate_pairs_ccw;
}
}  // namespace scalar

namespace sse2
{
Rotate rotate_bytes_cw;
Rotate rotate_bytes_ccw;
Rotate rotate_pairs_cw;
Rotate rotate_pairs_ccw;

constexpr void fill(RotateKernels* table)
{
    table->bytes_cw = rotate_bytes_cw;
    table->bytes_ccw = rotate_bytes_ccw;
    table->pairs_cw = rotate_pairs_cw;
    table->pairs_ccw = rotate_pairs_ccw;
}
}  // namespace sse2

namespace neon
{
Rotate rotate_bytes_cw;
Rotate rotate_bytes_ccw;
Rotate rotate_pairs_cw;
Rotate rotate_pairs_ccw;

constexpr void fill(RotateKernels* table)
{
    table->bytes_cw = rotate_bytes_cw;
    table->bytes_ccw = rotate_bytes_ccw;
    table->pairs_cw = rotate_pairs_cw;
    table->pairs_ccw = rotate_pairs_ccw;
}
}  // namespace neon

}  // namespace ozr::kernels

#endif
