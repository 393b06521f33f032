// What the tests of the summary and of the report page let a run have done.
#ifndef JOURNALS_H
#define JOURNALS_H

#include "report/journal.h"

// A sweep of so many pictures from files "<0", "<1" and so on, all but one in the panorama: with a
// joint that is trusted and one that is not.
inline ozr_pano::Journal swept_journal(int count, ozr_panorama_direction direction)
{
    ozr_pano::Journal journal;
    journal.command = "demo";
    journal.direction = direction;
    journal.picture_width = 320;
    journal.picture_height = 240;
    journal.pictures_used = count - 1;
    journal.width = 900;
    journal.height = 200;
    for (int i = 0; i < count; ++i)
        journal.pictures.push_back(
            {"<" + std::to_string(i), i > 0, {-90 - i, 3 * i}, i > 0, -88.25 - i, i + 0.5, {}});
    journal.joints = {{0, 1, 201.25F, -3, -1, 0.8125F, 1, 1}, {1, 2, 5, 6, 7.5F, 0.496F, 0.5F, 0}};
    return journal;
}

#endif
