// Where the samples of resampled columns stand, for variants that fetch them with byte shuffles: worked out once for a
// strip of columns and used in every row.
#ifndef RESAMPLE_PLAN_H
#define RESAMPLE_PLAN_H

#include "base/prefetch.h"
#include "kernels/kernels.h"

constexpr int32_t kOzrPlanLanes = 4;    // columns of a group
constexpr int32_t kOzrPlanLoad = 16;    // source bytes of one load
constexpr int32_t kOzrPlanGroups = 80;  // of a strip, so that the 320 columns of a small preview fit one

// Four neighbouring columns. Lane k of the shuffled bytes holds the sample at its position and, two bytes on, the one
// right of it, each followed by a zero byte.
struct OzrPlanGroup {
    uint8_t order[2][kOzrPlanLoad];  // shuffles of the loads, whose results are united
    uint16_t weights[2 * kOzrPlanLanes];
    int32_t loads[2];  // source bytes where they begin; the second only for steps that one does not span
};

struct OzrResamplePlan {
    bool two_loads;
    int32_t groups;
    int32_t dst[kOzrPlanGroups];  // column of the first lane
    OzrPlanGroup group[kOzrPlanGroups];
};

// Whether shuffles reach the samples of a row of this task, `pitch` bytes apart: the row has a whole load, two columns
// lie within one, and there are two groups at least.
bool ozr_resample_plan_fits(const OzrResample& task, int32_t pitch);

// The plan for columns `first` and on, an even number of groups. The last columns of a row fill whole groups too, so these
// overlap those before them. Returns the column after the strip's last.
int32_t ozr_resample_plan_make(OzrResamplePlan* plan, const OzrResample& task, int32_t pitch, int32_t first);

// The last source column that a row reads.
uint32_t ozr_resample_last_column(const OzrResample& task);

// Unnamed: each file that includes this has a copy of its own, compiled for its own instruction set.
namespace
{

constexpr int32_t kOzrPlanRowsAhead = 6;

// Asks for the source bytes that row y + kOzrPlanRowsAhead of the strip will read, or the last row.
OZR_PREFETCHING void ozr_resample_ask_ahead(const OzrResample& task, const OzrResamplePlan& plan, int32_t y)
{
    const int32_t ahead = task.rows - y > kOzrPlanRowsAhead ? y + kOzrPlanRowsAhead : task.rows - 1;
    const OzrResampleRows rows = ozr_resample_rows(task, ahead);
    const int32_t begin = plan.group[0].loads[0];
    const int32_t bytes = plan.group[plan.groups - 1].loads[0] + kOzrPlanLoad - begin;
    prefetch_bytes(rows.top + begin, 0, bytes);
    prefetch_bytes(rows.bottom + begin, 0, bytes);
}

}  // namespace

#endif
