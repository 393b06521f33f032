// Bilinear resampling, NEON, eight columns at a time: lookups in what one or two loads
// brought fetch their samples. Where these are is worked out once for a strip of columns and
// used in every row.
#include <arm_neon.h>
#include <stddef.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/resample.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int32_t kLoad = 16;  // source bytes
constexpr int32_t kGroup = 8;  // columns
constexpr int32_t kHalf = kGroup / 2;
constexpr int32_t kGroups = 40;  // of a strip, so that the 320 columns of a small preview fit one

// How many source bytes the samples of a group are looked up in: 16 or 32, or 32 for the samples of
// half a group.
enum class Reach { kOneLoad, kTwoLoads, kTwoLoadsEach };

// Neighbouring columns. Each half has the samples at the positions of four columns, then those
// right of them; their weights likewise.
struct Group {
    uint8_t order[2 * kGroup];
    uint16_t weights[2 * kGroup];
    int32_t loads[2];  // source bytes where they begin, of each half
};

struct Plan {
    Reach reach;
    int32_t groups;
    int32_t dst[kGroups];  // column of the first sample
    Group group[kGroups];
};

int32_t _lesser(int32_t a, int32_t b)
{
    return a < b ? a : b;
}

int64_t _row_bytes(const ResampleTask& task, int32_t pixel_bytes)
{
    return int64_t{resample_last_column(task)} * pixel_bytes + 1;
}

// Bytes from the first sample of some columns to the right-hand neighbour of the last, at most.
int64_t _span(uint32_t step, int32_t pixel_bytes, int32_t columns)
{
    const int64_t whole_steps = ((columns - 1) * int64_t{step} + kResampleFracMask) >> kResampleFracBits;
    return whole_steps * pixel_bytes + pixel_bytes + 1;
}

Reach _reach(const ResampleTask& task, int32_t pixel_bytes)
{
    const int64_t span = _span(task.step_x, pixel_bytes, kGroup);
    return span <= kLoad ? Reach::kOneLoad : span <= 2 * kLoad ? Reach::kTwoLoads : Reach::kTwoLoadsEach;
}

// Whether lookups reach the samples of a row, `pixel_bytes` bytes apart, and the row has all that
// is loaded for them.
bool _is_in_reach(const ResampleTask& task, int32_t pixel_bytes)
{
    const int64_t row_bytes = _row_bytes(task, pixel_bytes);
    const int32_t loaded = _reach(task, pixel_bytes) == Reach::kOneLoad ? kLoad : 2 * kLoad;
    return task.width >= kGroup && row_bytes >= loaded && row_bytes <= INT32_MAX &&
           _span(task.step_x, pixel_bytes, kHalf) <= 2 * kLoad &&
           static_cast<uint64_t>(task.width) * task.step_x <= UINT32_MAX;
}

void _fill_group(Group* group, const ResampleTask& task, int32_t pixel_bytes, int32_t first, Reach reach)
{
    const int32_t loaded = reach == Reach::kOneLoad ? kLoad : 2 * kLoad;
    const int32_t last_load = static_cast<int32_t>(_row_bytes(task, pixel_bytes)) - loaded;
    for (int32_t k = 0; k < kGroup; ++k) {
        const uint32_t position = static_cast<uint32_t>(first + k) * task.step_x;
        const int32_t sample = static_cast<int32_t>(position >> kResampleFracBits) * pixel_bytes;
        const uint32_t fraction = position & kResampleFracMask;
        const int32_t half = k / kHalf;
        if (k % kHalf == 0)
            group->loads[half] =
                half == 1 && reach != Reach::kTwoLoadsEach ? group->loads[0] : _lesser(sample, last_load);
        const int32_t at = sample - group->loads[half];
        const int32_t lane = k % kHalf + half * kGroup;
        group->order[lane] = static_cast<uint8_t>(at);
        // The last sample of a row has no neighbour, and needs none.
        group->order[lane + kHalf] = static_cast<uint8_t>(fraction != 0 ? at + pixel_bytes : at);
        group->weights[lane] = static_cast<uint16_t>(kResampleOne - fraction);
        group->weights[lane + kHalf] = static_cast<uint16_t>(fraction);
    }
}

// The plan for columns `first` and on. The last columns of a row fill a whole group too, so this
// overlaps the one before it. Returns the column after the strip's last.
int32_t _make_plan(Plan* plan, const ResampleTask& task, int32_t pixel_bytes, int32_t first)
{
    plan->reach = _reach(task, pixel_bytes);
    plan->groups = 0;
    int32_t column = first;
    for (; column < task.width && plan->groups < kGroups; column += kGroup) {
        const int32_t begin = _lesser(column, task.width - kGroup);
        plan->dst[plan->groups] = begin;
        _fill_group(&plan->group[plan->groups++], task, pixel_bytes, begin, plan->reach);
    }
    return _lesser(column, task.width);
}

uint8x16x2_t _load_two(const uint8_t* from)
{
    return {{vld1q_u8(from), vld1q_u8(from + kLoad)}};
}

template <Reach kReach>
uint8x16_t _samples(const uint8_t* row, const Group& group)
{
    const uint8x16_t order = vld1q_u8(group.order);
    const uint8_t* first = row + group.loads[0];
    if constexpr (kReach == Reach::kOneLoad)
        return looked_up(vld1q_u8(first), order);
    if constexpr (kReach == Reach::kTwoLoads)
        return looked_up(_load_two(first), order);
    return vcombine_u8(looked_up(_load_two(first), vget_low_u8(order)),
                       looked_up(_load_two(row + group.loads[1]), vget_high_u8(order)));
}

// Four columns' two samples in a row, weighed: at most 255 * 1024.
uint32x4_t _columns(uint8x8_t samples, const uint16_t* weights)
{
    const uint16x8_t words = vmovl_u8(samples);
    const uint16x8_t by = vld1q_u16(weights);
    return vmlal_u16(vmull_u16(vget_low_u16(words), vget_low_u16(by)), vget_high_u16(words),
                     vget_high_u16(by));
}

// floor((upper * above + lower * below) / 2^20) * 16, and some sixteenths.
uint16x4_t _rows(uint32x4_t upper, uint32x4_t lower, uint32_t fraction)
{
    return vshrn_n_u32(vmlaq_n_u32(vmulq_n_u32(upper, kResampleOne - fraction), lower, fraction), 16);
}

template <Reach kReach>
void _resample_row(uint8_t* dst, const ResampleRows& rows, const Plan& plan)
{
    for (int32_t g = 0; g < plan.groups; ++g) {
        const Group& group = plan.group[g];
        const uint8x16_t top = _samples<kReach>(rows.top, group);
        const uint8x16_t bottom = _samples<kReach>(rows.bottom, group);
        const uint16x4_t low = _rows(_columns(vget_low_u8(top), group.weights),
                                     _columns(vget_low_u8(bottom), group.weights), rows.fraction);
        const uint16x4_t high = _rows(_columns(vget_high_u8(top), group.weights + kGroup),
                                      _columns(vget_high_u8(bottom), group.weights + kGroup), rows.fraction);
        vst1_u8(dst + plan.dst[g], vshrn_n_u16(vcombine_u16(low, high), 2 * kResampleFracBits - 16));
    }
}

void _resample(uint8_t* dst, int32_t dst_stride, const ResampleTask& task, int32_t pixel_bytes)
{
    Plan plan;
    for (int32_t first = 0; first < task.width;) {
        first = _make_plan(&plan, task, pixel_bytes, first);
        for (int32_t y = 0; y < task.rows; ++y) {
            const ResampleRows rows = resample_rows(task, y);
            uint8_t* out = dst + static_cast<ptrdiff_t>(y) * dst_stride;
            if (plan.reach == Reach::kOneLoad)
                _resample_row<Reach::kOneLoad>(out, rows, plan);
            else if (plan.reach == Reach::kTwoLoads)
                _resample_row<Reach::kTwoLoads>(out, rows, plan);
            else
                _resample_row<Reach::kTwoLoadsEach>(out, rows, plan);
        }
    }
}

}  // namespace

void resample_gray(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    if (_is_in_reach(task, 1))
        _resample(dst, dst_stride, task, 1);
    else
        scalar::resample_gray(dst, dst_stride, task);
}

void resample_yuyv(uint8_t* dst, int32_t dst_stride, const ResampleTask& task)
{
    if (_is_in_reach(task, 2))
        _resample(dst, dst_stride, task, 2);
    else
        scalar::resample_yuyv(dst, dst_stride, task);
}

}  // namespace ozr::kernels::neon
