#include "kernels/match.h"

namespace ozr::kernels::scalar
{

void correlate_shifts(int32_t* sums, const ShiftedRows& both, int32_t shifts)
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

int32_t dot_product(const int16_t* a, const int16_t* b, int32_t count)
{
    int32_t sum = 0;
    for (int32_t i = 0; i < count; ++i)
        sum += a[i] * b[i];
    return sum;
}

}  // namespace ozr::kernels::scalar
