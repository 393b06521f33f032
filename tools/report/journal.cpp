// The journal's stop-watch.
#include "report/journal.h"

namespace ozr_pano
{

Journal::Lap Journal::time(const char* stage)
{
    size_t i = 0;
    while (i < stages.size() && stages[i].name != stage)
        ++i;
    if (i == stages.size()) {
        stages.emplace_back();
        stages.back().name = stage;
    }
    return Lap(this, i);
}

}  // namespace ozr_pano
