// Sums of absolute differences, NEON. A step adds two differences to a lane of 16 bits, 510 at
// most: after 128 steps it is emptied into one of 32 bits.
#include <arm_neon.h>
#include <stddef.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/last_lanes.h"
#include "kernels/motion.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kStep = 16;                // bytes
constexpr int32_t kMostBytes = 128 * kStep;  // that lanes of 16 bits take

// The sums of 8 lanes, of `count` bytes: whole steps, kMostBytes at most.
template <class Other>
uint16x8_t _run(const uint8_t* a, int32_t count, Other other)
{
    uint16x8_t sums = vdupq_n_u16(0);
    int32_t x = 0;
    for (; x <= count - 2 * kStep; x += 2 * kStep) {
        const uint8x16_t first = vabdq_u8(vld1q_u8(a + x), other(x));
        const uint8x16_t second = vabdq_u8(vld1q_u8(a + x + kStep), other(x + kStep));
        sums = vpadalq_u8(vpadalq_u8(sums, first), second);
    }
    if (x < count)
        sums = vpadalq_u8(sums, vabdq_u8(vld1q_u8(a + x), other(x)));
    return sums;
}

// Adds the differences of the whole steps of a row. `other(x)` loads what stands against a + x.
template <class Other>
uint32x4_t _add_row(uint32x4_t total, const uint8_t* a, int32_t whole, Other other)
{
    for (int32_t x = 0; x < whole; x += kMostBytes) {
        const int32_t count = whole - x < kMostBytes ? whole - x : kMostBytes;
        total = vpadalq_u16(total, _run(a + x, count, [=](int32_t i) { return other(x + i); }));
    }
    return total;
}

}  // namespace

uint32_t sad_area(FrameArea a, FrameArea b, int32_t columns, int32_t rows)
{
    if (columns < kStep)
        return scalar::sad_area(a, b, columns, rows);
    const int32_t last = columns - kStep;
    const uint8x16_t fresh = vld1q_u8(last_lanes(kStep, columns % kStep));
    uint32x4_t sums = vdupq_n_u32(0);
    for (int32_t y = 0; y < rows; ++y) {
        const uint8x16_t rest = vandq_u8(vabdq_u8(vld1q_u8(a.data + last), vld1q_u8(b.data + last)), fresh);
        const uint8_t* const other = b.data;
        sums = _add_row(sums, a.data, columns - columns % kStep,
                        [other](int32_t x) { return vld1q_u8(other + x); });
        sums = vpadalq_u16(sums, vpaddlq_u8(rest));
        a.data += static_cast<ptrdiff_t>(a.stride);
        b.data += static_cast<ptrdiff_t>(b.stride);
    }
    return total(sums);
}

uint32_t sad_const_row(const uint8_t* a, uint8_t value, int32_t count)
{
    const int32_t whole = count > 0 ? count - count % kStep : 0;
    const uint8x16_t values = vdupq_n_u8(value);
    const uint32x4_t sums = _add_row(vdupq_n_u32(0), a, whole, [values](int32_t) { return values; });
    return total(sums) + scalar::sad_const_row(a + whole, value, count - whole);
}

}  // namespace ozr::kernels::neon
