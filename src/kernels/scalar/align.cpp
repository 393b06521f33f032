#include <stddef.h>

#include "kernels/align.h"

namespace ozr::kernels::scalar
{

namespace
{

// The sums of one half row.
CorrelationSums _correlate_run(const AreaPair& areas, const uint8_t* row_a, const uint8_t* row_b,
                               int32_t count)
{
    CorrelationSums sums = {};
    for (int32_t x = 0; x < count; ++x) {
        const int32_t a = row_a[x] - areas.a_mean;
        const int32_t b = row_b[x] - areas.b_mean;
        sums.aa += a * a;
        sums.bb += b * b;
        sums.ab += a * b;
    }
    return sums;
}

void _add_shifted(CorrelationSums* totals, const CorrelationSums& run, int32_t shift)
{
    const auto add = [](int32_t* total, int32_t part) {
        *total = static_cast<int32_t>(static_cast<uint32_t>(*total) + static_cast<uint32_t>(part));
    };
    add(&totals->aa, run.aa >> shift);
    add(&totals->bb, run.bb >> shift);
    add(&totals->ab, run.ab >> shift);
}

}  // namespace

void integral_row(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t width)
{
    integral_rest(out, above, pixels, width, 0);
}

void integral_rest(uint32_t* out, const uint32_t* above, const uint8_t* pixels, int32_t columns, uint32_t sum)
{
    for (int32_t x = 0; x < columns; ++x) {
        sum += pixels[x];
        out[x] = sum + (above != nullptr ? above[x] : 0);
    }
}

CorrelationSums correlate_areas(const AreaPair& areas, int32_t shift)
{
    CorrelationSums totals = {};
    const int32_t half = areas.columns >> 1;
    for (int32_t y = 0; y < areas.rows; ++y) {
        const uint8_t* row_a = areas.a + static_cast<ptrdiff_t>(y) * areas.a_stride;
        const uint8_t* row_b = areas.b + static_cast<ptrdiff_t>(y) * areas.b_stride;
        _add_shifted(&totals, _correlate_run(areas, row_a, row_b, half), shift);
        _add_shifted(&totals, _correlate_run(areas, row_a + half, row_b + half, areas.columns - half), shift);
    }
    return totals;
}

}  // namespace ozr::kernels::scalar
