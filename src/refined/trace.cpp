#include "refined/trace.h"

namespace ozr::refined
{

void trace_matches(const SweepView& view, const Solution& solution, Trace* trace)
{
    for (int32_t i = 0; i < view.count; ++i) {
        const Pair& pair = view.pairs[i];
        const bool has_cameras = solution.used[pair.first] && solution.used[pair.second];
        const LensPair lenses =
            has_cameras ? lens_pair(solution.lenses, pair.first, pair.second) : LensPair{};
        for (int32_t k = 0; k < pair.match.matches.count; ++k) {
            Place place = {};
            const bool is_known =
                has_cameras && place_in_second(lenses, pair.match.matches.at[k].first, &place);
            trace->shown[i][k] = {static_cast<float>(place.x), static_cast<float>(place.y), is_known};
        }
    }
}

}  // namespace ozr::refined
