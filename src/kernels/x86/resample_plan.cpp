#include "kernels/x86/resample_plan.h"

#include <string.h>

#include <algorithm>

namespace
{

constexpr uint32_t kFracBits = 10;
constexpr uint32_t kOne = 1U << kFracBits;
constexpr uint32_t kFracMask = kOne - 1;
constexpr uint8_t kZero = 0x80;  // a shuffle's code for a zero byte

// Bytes from the first sample of a group to the right-hand neighbour of the last, at most.
int64_t _span(uint32_t step, int32_t pitch, int32_t columns)
{
    const int64_t whole_steps = ((columns - 1) * int64_t{step} + kFracMask) >> kFracBits;
    return whole_steps * pitch + pitch + 1;
}

int64_t _row_bytes(const OzrResample& task, int32_t pitch)
{
    return int64_t{ozr_resample_last_column(task)} * pitch + 1;
}

void _fill_group(OzrPlanGroup* group, const OzrResample& task, int32_t pitch, int32_t first, bool two_loads)
{
    const int32_t last_load = static_cast<int32_t>(_row_bytes(task, pitch)) - kOzrPlanLoad;
    memset(group->order, kZero, sizeof(group->order));
    for (int32_t k = 0; k < kOzrPlanLanes; ++k) {
        const uint32_t position = static_cast<uint32_t>(first + k) * task.step_x;
        const int32_t sample = static_cast<int32_t>(position >> kFracBits) * pitch;
        const uint32_t fraction = position & kFracMask;
        const int32_t load = two_loads && k >= kOzrPlanLanes / 2 ? 1 : 0;
        if (k == 0 || (two_loads && k == kOzrPlanLanes / 2))
            group->loads[load] = std::min(sample, last_load);
        const int32_t at = sample - group->loads[load];
        group->order[load][4 * k] = static_cast<uint8_t>(at);
        // The last sample of a row has no neighbour, and needs none.
        group->order[load][4 * k + 2] = static_cast<uint8_t>(fraction != 0 ? at + pitch : at);
        group->weights[2 * k] = static_cast<uint16_t>(kOne - fraction);
        group->weights[2 * k + 1] = static_cast<uint16_t>(fraction);
    }
}

}  // namespace

uint32_t ozr_resample_last_column(const OzrResample& task)
{
    const uint32_t last = task.width > 0 ? static_cast<uint32_t>(task.width - 1) * task.step_x : 0;
    return (last >> kFracBits) + ((last & kFracMask) != 0 ? 1U : 0U);
}

bool ozr_resample_plan_fits(const OzrResample& task, int32_t pitch)
{
    const int64_t row_bytes = _row_bytes(task, pitch);
    return task.width >= 2 * kOzrPlanLanes && row_bytes >= kOzrPlanLoad && row_bytes <= INT32_MAX &&
           _span(task.step_x, pitch, kOzrPlanLanes / 2) <= kOzrPlanLoad &&
           (int64_t{task.width} - 1) * task.step_x <= UINT32_MAX;
}

int32_t ozr_resample_plan_make(OzrResamplePlan* plan, const OzrResample& task, int32_t pitch, int32_t first)
{
    constexpr int32_t kPair = 2 * kOzrPlanLanes;
    plan->two_loads = _span(task.step_x, pitch, kOzrPlanLanes) > kOzrPlanLoad;
    plan->groups = 0;
    int32_t column = first;
    for (; column < task.width && plan->groups < kOzrPlanGroups; column += kPair) {
        const int32_t begin = std::min(column, task.width - kPair);
        for (int32_t x = begin; x < begin + kPair; x += kOzrPlanLanes) {
            plan->dst[plan->groups] = x;
            _fill_group(&plan->group[plan->groups++], task, pitch, x, plan->two_loads);
        }
    }
    return std::min(column, task.width);
}
