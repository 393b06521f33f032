// The journal's stop-watch, and what its entries say together.
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

std::vector<bool> used_pictures(const Journal& journal)
{
    std::vector<bool> used(journal.pictures.size(), journal.pictures.size() == 1);
    for (size_t i = 0; i < journal.cameras.size(); ++i)
        used[i] = journal.cameras[i].used != 0;
    for (const ozr_panorama_joint& joint : journal.joints) {
        if (joint.used != 0)
            used[static_cast<size_t>(joint.first)] = used[static_cast<size_t>(joint.second)] = true;
    }
    return used;
}

}  // namespace ozr_pano
