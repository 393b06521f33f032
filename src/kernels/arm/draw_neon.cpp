// Drawing, NEON: a block's pixels have a lane of 16 bits each.
#include <arm_neon.h>
#include <stddef.h>

#include "kernels/arm/draw_blocks.h"
#include "kernels/arm/vectors_neon.h"
#include "kernels/draw.h"

namespace ozr::kernels::neon
{

namespace
{

// (a * b + 2^14) >> 15 of lanes
int16x8_t _product(int16x8_t a, int16x8_t b)
{
    return vqrdmulhq_s16(a, b);
}

// first + (way * steps >> 15); `way` and `steps` both count double
int16x8_t _on_the_way(int16_t first, int32_t way, int16x8_t steps)
{
    return vaddq_s16(vdupq_n_s16(first), vqdmulhq_n_s16(steps, static_cast<int16_t>(way)));
}

int16x8_t _between(const int16_t* nodes, int16x8_t steps)
{
    return _on_the_way(nodes[0], 2 * (nodes[1] - nodes[0]), steps);
}

int16x8_t _ramp(int32_t first, int32_t factor, int32_t pixels_of_lane)
{
    int16_t steps[kDrawBlock];
    for (int32_t k = 0; k < kDrawBlock; ++k)
        steps[k] = static_cast<int16_t>(first + factor * (k / pixels_of_lane));
    return vld1q_s16(steps);
}

// Rows per pixel from those per block: a pixel whose place is n rows further down has its taps n
// rows further down.
template <int32_t kTaps, int32_t kTurn, size_t kRows>
OZR_INLINED void _pick_rows(int16x8_t (&rows)[kRows], int16x8_t down)
{
    unrolled<kTurn>([&](int32_t n) OZR_INLINED_STEP {
        const uint16x8_t further = vcgtq_s16(down, vdupq_n_s16(static_cast<int16_t>(n)));
        unrolled<kTaps + kTurn - 1>([&](int32_t i) OZR_INLINED_STEP {
            if (i < kTaps + kTurn - 1 - n)
                rows[i] = vbslq_s16(further, rows[i + 1], rows[i]);
        });
    });
}

void _store_finished(uint8_t* dst, int16x8_t sample, int16x8_t gain, int16x8_t shift)
{
    vst1_u8(dst, vqrshrun_n_s16(vqaddq_s16(_product(sample, gain), shift), kDrawShiftBits));
}

// --- Luma ---

// The 7 bits below the point of places, as Q15.
int16x8_t _part(int16x8_t places)
{
    return vshlq_n_s16(vandq_s16(places, vdupq_n_s16(127 << 3)), 5);
}

// The 16ths of places of luma, which weights are tabulated for.
uint8x8_t _sixteenths(int16x8_t places)
{
    return vmovn_u16(vreinterpretq_u16_s16(vandq_s16(vshrq_n_s16(places, 6), vdupq_n_s16(15))));
}

// The weights of the four taps for every sixteenth.
struct Cubic {
    uint8x16_t of[4];

    explicit Cubic(const int8_t (&weights)[4][16])
    {
        unrolled<4>([&](int32_t i) OZR_INLINED_STEP { of[i] = vreinterpretq_u8_s8(vld1q_s8(weights[i])); });
    }
};

// A column weight as Q15.
OZR_INLINED int16x8_t _column_weight(uint8x16_t cubic, uint8x8_t sixteenths)
{
    return vshll_n_s8(vreinterpret_s8_u8(looked_up(cubic, sixteenths)), 8);
}

// What all rows of a block have in common: where their outer and inner taps are, and their weights.
struct Taps {
    uint8x16_t outer;
    uint8x16_t inner;
    int8x16_t outer_weights;
    int8x16_t inner_weights;
};

OZR_INLINED Taps _taps(int16x8_t x, const Cubic& cubic)
{
    const uint8x8_t column = vshrn_n_u16(vreinterpretq_u16_s16(vshrq_n_s16(x, 2)), kDrawPlaceBits - 2);
    const uint8x16_t columns = vcombine_u8(column, column);
    const uint8x8_t sixteenths = _sixteenths(x);
    const auto weights = [&](int32_t left, int32_t right) OZR_INLINED_STEP {
        return vreinterpretq_s8_u8(
            vcombine_u8(looked_up(cubic.of[left], sixteenths), looked_up(cubic.of[right], sixteenths)));
    };
    return {vaddq_u8(columns, vcombine_u8(vdup_n_u8(0), vdup_n_u8(3))),
            vaddq_u8(columns, vcombine_u8(vdup_n_u8(1), vdup_n_u8(2))), weights(0, 3), weights(1, 2)};
}

// A source row under the row weights, as signed numbers: the weights add up to 128, so what pixels
// are less by, 128, is 128 * 128 in the sum. Neither half of that leaves 16 bits, and the sum is
// limited.
OZR_INLINED int16x8_t _weighed_row(const uint8_t* src, const Taps& taps)
{
    const uint8x16_t bytes = veorq_u8(vld1q_u8(src), vdupq_n_u8(128));
    const int8x16_t outer = vreinterpretq_s8_u8(looked_up(bytes, taps.outer));
    const int8x16_t inner = vreinterpretq_s8_u8(looked_up(bytes, taps.inner));
    const int16x8_t of_outer =
        vmlal_s8(vdupq_n_s16(128 * 128), vget_low_s8(outer), vget_low_s8(taps.outer_weights));
    const int16x8_t of_inner = vmull_s8(vget_low_s8(inner), vget_low_s8(taps.inner_weights));
    return vqaddq_s16(plus_high_multiplied(of_outer, outer, taps.outer_weights),
                      plus_high_multiplied(of_inner, inner, taps.inner_weights));
}

template <int32_t kTurn>
OZR_INLINED int16x8_t _luma_samples(const uint8_t* src, int64_t stride, const Taps& taps, int16x8_t y,
                                    const Cubic& cubic)
{
    constexpr int32_t kTaps = LumaShape::kTaps;
    int16x8_t rows[size_t{kTaps} + kTurn];
    unrolled<kTaps + kTurn>([&](int32_t i) OZR_INLINED_STEP {
        rows[i] = _weighed_row(src, taps);
        src += static_cast<ptrdiff_t>(stride);
    });
    _pick_rows<kTaps, kTurn>(rows, vshrq_n_s16(y, kDrawPlaceBits));
    const uint8x8_t sixteenths = _sixteenths(y);
    const auto part = [&](int32_t i) OZR_INLINED_STEP {
        return _product(rows[i], _column_weight(cubic.of[i], sixteenths));
    };
    return vqaddq_s16(vqaddq_s16(part(1), vaddq_s16(part(0), part(3))), part(2));
}

OZR_INLINED int16x8_t _luma_samples(const DrawStart& start, int64_t stride, int16x8_t x, int16x8_t y,
                                    const Cubic& cubic)
{
    const Taps taps = _taps(x, cubic);
    switch (start.turn) {
    case 0:
        return _luma_samples<0>(start.src, stride, taps, y, cubic);
    case 1:
        return _luma_samples<1>(start.src, stride, taps, y, cubic);
    default:
        return _luma_samples<kMostTurn>(start.src, stride, taps, y, cubic);
    }
}

// --- Chroma ---

template <int32_t kTurn>
OZR_INLINED int16x8_t _chroma_samples(const uint8_t* src, int64_t stride, int16x8_t x, int16x8_t y)
{
    constexpr int32_t kTaps = ChromaShape::kTaps;
    const uint8x8_t part = vand_u8(vshrn_n_u16(vreinterpretq_u16_s16(x), 4), vdup_n_u8(63));
    const uint8x8_t left = vsub_u8(vdup_n_u8(64), part);
    const uint8x8_t column = vshrn_n_u16(vreinterpretq_u16_s16(vshrq_n_s16(x, 2)), kDrawPlaceBits - 2);
    const uint8x8_t first = vadd_u8(vshl_n_u8(column, 1), vreinterpret_u8_u16(vdup_n_u16(0x0100)));
    const uint8x16_t order = vcombine_u8(first, vadd_u8(first, vdup_n_u8(2)));
    int16x8_t rows[size_t{kTaps} + kTurn];
    unrolled<kTaps + kTurn>([&](int32_t i) OZR_INLINED_STEP {
        const uint8x16_t taps = looked_up(vld1q_u8(src), order);
        const uint16x8_t sum = vmlal_u8(vmull_u8(vget_low_u8(taps), left), vget_high_u8(taps), part);
        rows[i] = vreinterpretq_s16_u16(sum);
        src += static_cast<ptrdiff_t>(stride);
    });
    _pick_rows<kTaps, kTurn>(rows, vshrq_n_s16(y, kDrawPlaceBits));
    const int16x8_t change = _product(vsubq_s16(rows[1], rows[0]), _part(y));
    return vshlq_n_s16(vsubq_s16(vaddq_s16(rows[0], change), vdupq_n_s16(128 * 64)), 1);
}

int16x8_t _chroma_samples(const DrawStart& start, int64_t stride, int16x8_t x, int16x8_t y)
{
    switch (start.turn) {
    case 0:
        return _chroma_samples<0>(start.src, stride, x, y);
    case 1:
        return _chroma_samples<1>(start.src, stride, x, y);
    default:
        return _chroma_samples<kMostTurn>(start.src, stride, x, y);
    }
}

}  // namespace

void draw_luma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    const int16x8_t steps = _ramp(0, 2048, 1);
    const Cubic cubic(kDrawCubic[plane.softness]);
    const DrawLimits<LumaShape> limits(plane);
    for (int32_t b = 0; b < blocks; ++b, dst += kDrawBlock) {
        const DrawNodes here = {nodes.x + b, nodes.y + b, nodes.gain + b, {nodes.shift[0] + b, nullptr}};
        DrawStart start;
        if (!start_block(limits, here.x, here.y, &start) || !is_gentle(here.gain)) {
            scalar::draw_luma_row(dst, plane, here, 1);
            continue;
        }
        const int16x8_t x = _on_the_way(start.x, start.step_x, steps);
        const int16x8_t y = _on_the_way(start.y, start.step_y, steps);
        _store_finished(dst, _luma_samples(start, limits.stride, x, y, cubic), _between(here.gain, steps),
                        _between(here.shift[0], steps));
    }
}

void draw_chroma_row(uint8_t* dst, const DrawPlane& plane, const DrawNodes& nodes, int32_t blocks)
{
    const int16x8_t steps = _ramp(1024, 4 * 1024, 2);
    const uint16x8_t odd = vreinterpretq_u16_u32(vdupq_n_u32(0xFFFF0000U));
    const DrawLimits<ChromaShape> limits(plane);
    for (int32_t b = 0; b < blocks; ++b, dst += kDrawBlock) {
        const DrawNodes here = {
            nodes.x + b, nodes.y + b, nodes.gain + b, {nodes.shift[0] + b, nodes.shift[1] + b}};
        DrawStart start;
        if (!start_block(limits, here.x, here.y, &start) || !is_gentle(here.gain)) {
            scalar::draw_chroma_row(dst, plane, here, 1);
            continue;
        }
        const int16x8_t x = vshrq_n_s16(_on_the_way(start.x, start.step_x, steps), 1);
        const int16x8_t y = vshrq_n_s16(_on_the_way(start.y, start.step_y, steps), 1);
        const int16x8_t shift =
            vbslq_s16(odd, _between(here.shift[1], steps), _between(here.shift[0], steps));
        _store_finished(dst, _chroma_samples(start, limits.stride, x, y), _between(here.gain, steps),
                        vaddq_s16(shift, vdupq_n_s16(128 << kDrawShiftBits)));
    }
}

}  // namespace ozr::kernels::neon
