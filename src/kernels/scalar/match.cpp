#include "kernels/match.h"

namespace ozr::kernels::scalar
{

void correlate_shifts(int32_t* sums, const PairedRows& both, int32_t shifts)
{
    for (int32_t first = 0; first < shifts; first += kShiftGroup, sums += kShiftGroup) {
        int32_t group[kShiftGroup] = {};
        for (int32_t y = 0; y < both.rows; ++y) {
            const int16_t* a = both.a + y * both.a_stride + first;
            const int16_t* b = both.b + y * both.b_stride;
            for (int32_t x = 0; x < both.columns; ++x) {
                for (int32_t s = 0; s < kShiftGroup; ++s)
                    group[s] += a[x + s] * b[x];
            }
        }
        for (int32_t s = 0; s < kShiftGroup; ++s)
            sums[s] = group[s];
    }
}

int32_t dot_product(const PairedRows& both)
{
    int32_t sum = 0;
    for (int32_t y = 0; y < both.rows; ++y) {
        const int16_t* a = both.a + y * both.a_stride;
        const int16_t* b = both.b + y * both.b_stride;
        for (int32_t x = 0; x < both.columns; ++x)
            sum += a[x] * b[x];
    }
    return sum;
}

void sample_patch(int16_t* dst, const PatchPlane& plane, const PatchPlaces& places)
{
    for (int32_t j = 0; j < places.side; ++j) {
        for (int32_t i = 0; i < places.side; ++i) {
            const int32_t x = (places.x + i * places.right_x + j * places.down_x) >> 8;
            const int32_t y = (places.y + i * places.right_y + j * places.down_y) >> 8;
            const int32_t across = x & 255, down = y & 255;
            const uint8_t* top = plane.src + (y >> 8) * plane.stride + (x >> 8);
            const uint8_t* bottom = top + plane.stride;
            const int32_t upper = top[0] * (256 - across) + top[1] * across;
            const int32_t lower = bottom[0] * (256 - across) + bottom[1] * across;
            *dst++ = static_cast<int16_t>((upper * (256 - down) + lower * down) >> 13);
        }
    }
}

}  // namespace ozr::kernels::scalar
