#include "kernels/x86/resample_plan.h"

#include <string.h>

#include <algorithm>

namespace ozr::kernels
{

namespace
{

constexpr uint8_t kZero = 0x80;  // a shuffle's code for a zero byte

// Bytes from the first sample of a group to the right-hand neighbour of the last, at most.
int64_t _span(uint32_t step, int32_t pixel_bytes, int32_t columns)
{
    const int64_t whole_steps = ((columns - 1) * int64_t{step} + kResampleFracMask) >> kResampleFracBits;
    return whole_steps * pixel_bytes + pixel_bytes + 1;
}

int64_t _row_bytes(const ResampleTask& task, int32_t pixel_bytes)
{
    return int64_t{resample_last_column(task)} * pixel_bytes + 1;
}

void _fill_group(PlanGroup* group, const ResampleTask& task, int32_t pixel_bytes, int32_t first,
                 bool two_loads)
{
    const int32_t last_load = static_cast<int32_t>(_row_bytes(task, pixel_bytes)) - kPlanLoad;
    memset(group->order, kZero, sizeof(group->order));
    for (int32_t k = 0; k < kPlanLanes; ++k) {
        const uint32_t position = static_cast<uint32_t>(first + k) * task.step_x;
        const int32_t sample = static_cast<int32_t>(position >> kResampleFracBits) * pixel_bytes;
        const uint32_t fraction = position & kResampleFracMask;
        const int32_t load = two_loads && k >= kPlanLanes / 2 ? 1 : 0;
        if (k == 0 || (two_loads && k == kPlanLanes / 2))
            group->loads[load] = std::min(sample, last_load);
        const int32_t at = sample - group->loads[load];
        group->order[load][4 * k] = static_cast<uint8_t>(at);
        // The last sample of a row has no neighbour, and needs none.
        group->order[load][4 * k + 2] = static_cast<uint8_t>(fraction != 0 ? at + pixel_bytes : at);
        group->weights[2 * k] = static_cast<uint16_t>(kResampleOne - fraction);
        group->weights[2 * k + 1] = static_cast<uint16_t>(fraction);
    }
}

}  // namespace

uint32_t resample_last_column(const ResampleTask& task)
{
    const uint32_t last = task.width > 0 ? static_cast<uint32_t>(task.width - 1) * task.step_x : 0;
    return (last >> kResampleFracBits) + ((last & kResampleFracMask) != 0 ? 1U : 0U);
}

bool resample_plan_fits(const ResampleTask& task, int32_t pixel_bytes)
{
    const int64_t row_bytes = _row_bytes(task, pixel_bytes);
    return task.width >= 2 * kPlanLanes && row_bytes >= kPlanLoad && row_bytes <= INT32_MAX &&
           _span(task.step_x, pixel_bytes, kPlanLanes / 2) <= kPlanLoad &&
           (int64_t{task.width} - 1) * task.step_x <= UINT32_MAX;
}

int32_t resample_plan_make(ResamplePlan* plan, const ResampleTask& task, int32_t pixel_bytes, int32_t first)
{
    constexpr int32_t kPair = 2 * kPlanLanes;
    plan->two_loads = _span(task.step_x, pixel_bytes, kPlanLanes) > kPlanLoad;
    plan->groups = 0;
    int32_t column = first;
    for (; column < task.width && plan->groups < kPlanGroups; column += kPair) {
        const int32_t begin = std::min(column, task.width - kPair);
        for (int32_t x = begin; x < begin + kPair; x += kPlanLanes) {
            plan->dst[plan->groups] = x;
            _fill_group(&plan->group[plan->groups++], task, pixel_bytes, x, plan->two_loads);
        }
    }
    return std::min(column, task.width);
}

}  // namespace ozr::kernels
