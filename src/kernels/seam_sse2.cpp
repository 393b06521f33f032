#include "kernels_scalar.h"
#include "kernels_x86.h"
#include "seam_rows.h"
#include "vectors_sse2.h"

namespace
{

struct SeamSse2 : Sse2 {
    static Ints lesser(Ints a, Ints b)
    {
        const Ints b_is_less = a > b;
        return (b_is_less & b) | and_not(b_is_less, a);
    }

    template <int32_t kQuarter>
    static Ints quarter(Vector bytes)
    {
        const Vector zero = _mm_setzero_si128();
        const Vector half = kQuarter < 2 ? _mm_unpacklo_epi8(bytes, zero) : _mm_unpackhi_epi8(bytes, zero);
        return Ints(kQuarter % 2 == 0 ? _mm_unpacklo_epi16(half, zero) : _mm_unpackhi_epi16(half, zero));
    }

    static Ints widened(Ints costs) { return costs; }  // they were unpacked as numbers
};

using Rows = SeamRows<SeamSse2>;

}  // namespace

void seam_cost_row_sse2(uint32_t* cost, const uint8_t* a, const uint8_t* b, const uint8_t* mask,
                        int32_t width)
{
    int32_t x = 0;
    for (; x <= width - Rows::kStep; x += Rows::kStep) {
        const __m128i costs = Rows::costs(a + x, b + x, mask + x);
        Sse2::store(cost + x, __m128i(SeamSse2::quarter<0>(costs)));
        Sse2::store(cost + x + Rows::kLanes, __m128i(SeamSse2::quarter<1>(costs)));
        Sse2::store(cost + x + 2 * Rows::kLanes, __m128i(SeamSse2::quarter<2>(costs)));
        Sse2::store(cost + x + 3 * Rows::kLanes, __m128i(SeamSse2::quarter<3>(costs)));
    }
    seam_cost_row_scalar(cost + x, a + x, b + x, mask + x, width - x);
}

void seam_sum_row_sse2(uint32_t* sums, int8_t* steps, const uint32_t* above, const OzrSeamRow& row)
{
    Rows::sum_row(sums, steps, above, row, seam_sum_row_scalar);
}
