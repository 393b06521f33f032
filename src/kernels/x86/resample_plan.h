// The source bytes and weights of resampled columns, for variants that fetch samples with byte
// shuffles: computed once for a strip of columns and used in every row.
#ifndef RESAMPLE_PLAN_H
#define RESAMPLE_PLAN_H

#include "base/prefetch.h"
#include "kernels/resample.h"

namespace ozr::kernels
{

constexpr int32_t kPlanLanes = 4;    // columns of a group
constexpr int32_t kPlanLoad = 16;    // source bytes of one load
constexpr int32_t kPlanGroups = 80;  // of a strip: enough for the 320 columns of a small preview

// Four neighbouring columns. Lane k of the shuffled bytes holds the sample of column k and, two
// bytes further, its right-hand neighbour, each followed by a zero byte.
struct PlanGroup {
    uint8_t order[2][kPlanLoad];  // shuffles of the two loads, whose results are combined by or
    uint16_t weights[2 * kPlanLanes];
    int32_t loads[2];  // offsets in a row; the second only where one load is too short
};

struct ResamplePlan {
    bool two_loads;
    int32_t groups;
    int32_t dst[kPlanGroups];  // column of the first lane
    PlanGroup group[kPlanGroups];
};

// Whether shuffles can fetch the samples of this task, `pixel_bytes` bytes apart: a row is at least
// one load long, a load spans two columns, and the result has two groups or more.
bool resample_plan_fits(const ResampleTask& task, int32_t pixel_bytes);

// Plans a strip that begins with the column `first`, in an even number of groups. The groups at the
// end of a row are whole too, so they overlap those before them. Returns the column after the last
// one of the strip.
int32_t resample_plan_make(ResamplePlan* plan, const ResampleTask& task, int32_t pixel_bytes, int32_t first);

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

constexpr int32_t kPlanRowsAhead = 6;

// Prefetches the source bytes that row y + kPlanRowsAhead of the strip will read, or the last row.
OZR_PREFETCHING void resample_ask_ahead(const ResampleTask& task, const ResamplePlan& plan, int32_t y)
{
    const int32_t ahead = task.rows - y > kPlanRowsAhead ? y + kPlanRowsAhead : task.rows - 1;
    const ResampleRows rows = resample_rows(task, ahead);
    const int32_t begin = plan.group[0].loads[0];
    const int32_t bytes = plan.group[plan.groups - 1].loads[0] + kPlanLoad - begin;
    prefetch_bytes(rows.top + begin, 0, bytes);
    prefetch_bytes(rows.bottom + begin, 0, bytes);
}

// Resamples strip by strip. `Row` has resample<two_loads>, which writes a row of a strip.
template <class Row>
void resample_by_plan(uint8_t* dst, int32_t dst_stride, const ResampleTask& task, int32_t pixel_bytes)
{
    ResamplePlan plan;
    for (int32_t first = 0; first < task.width;) {
        first = resample_plan_make(&plan, task, pixel_bytes, first);
        for (int32_t y = 0; y < task.rows; ++y) {
            resample_ask_ahead(task, plan, y);
            uint8_t* out = dst + static_cast<ptrdiff_t>(y) * dst_stride;
            if (plan.two_loads)
                Row::template resample<true>(out, resample_rows(task, y), plan);
            else
                Row::template resample<false>(out, resample_rows(task, y), plan);
        }
    }
}

}  // namespace

}  // namespace ozr::kernels

#endif
