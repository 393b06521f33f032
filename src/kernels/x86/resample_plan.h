// Where the samples of resampled columns stand, for variants that fetch them with byte shuffles: worked out once for a
// strip of columns and used in every row.
#ifndef RESAMPLE_PLAN_H
#define RESAMPLE_PLAN_H

#include "base/prefetch.h"
#include "kernels/resample.h"

namespace ozr::kernels
{

constexpr int32_t kPlanLanes = 4;    // columns of a group
constexpr int32_t kPlanLoad = 16;    // source bytes of one load
constexpr int32_t kPlanGroups = 80;  // of a strip, so that the 320 columns of a small preview fit one

// Four neighbouring columns. Lane k of the shuffled bytes holds the sample at its position and, two bytes on, the one
// right of it, each followed by a zero byte.
struct PlanGroup {
    uint8_t order[2][kPlanLoad];  // shuffles of the loads, whose results are united
    uint16_t weights[2 * kPlanLanes];
    int32_t loads[2];  // source bytes where they begin; the second only for steps that one does not span
};

struct ResamplePlan {
    bool two_loads;
    int32_t groups;
    int32_t dst[kPlanGroups];  // column of the first lane
    PlanGroup group[kPlanGroups];
};

// Whether shuffles reach the samples of a row of this task, `pitch` bytes apart: the row has a whole load, two columns
// lie within one, and there are two groups at least.
bool resample_plan_fits(const ResampleTask& task, int32_t pitch);

// The plan for columns `first` and on, an even number of groups. The last columns of a row fill whole groups too, so these
// overlap those before them. Returns the column after the strip's last.
int32_t resample_plan_make(ResamplePlan* plan, const ResampleTask& task, int32_t pitch, int32_t first);

// Unnamed: each file that includes this has a copy of its own, compiled for its own instruction set.
namespace
{

constexpr int32_t kPlanRowsAhead = 6;

// Asks for the source bytes that row y + kPlanRowsAhead of the strip will read, or the last row.
OZR_PREFETCHING void resample_ask_ahead(const ResampleTask& task, const ResamplePlan& plan, int32_t y)
{
    const int32_t ahead = task.rows - y > kPlanRowsAhead ? y + kPlanRowsAhead : task.rows - 1;
    const ResampleRows rows = resample_rows(task, ahead);
    const int32_t begin = plan.group[0].loads[0];
    const int32_t bytes = plan.group[plan.groups - 1].loads[0] + kPlanLoad - begin;
    prefetch_bytes(rows.top + begin, 0, bytes);
    prefetch_bytes(rows.bottom + begin, 0, bytes);
}

}  // namespace

}  // namespace ozr::kernels

#endif
