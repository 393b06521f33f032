// Where the pictures of a sweep lie on its panorama.
#ifndef LAYOUT_H
#define LAYOUT_H

#include "media/picture.h"

#include <ozr_support.h>

namespace ozr_pano
{

/** A picture, in the order of the sweep. */
struct Placement {
    bool is_used = false;  // false: left out of the panorama
    ozr_rect box = {0, 0, 0,
                    0};  // pixels of the panorama, ends exclusive; may reach beyond it. Only when used.

    // Against the picture before; the first one has none.
    bool has_step = false;
    ozr_point step = {0, 0};  // from its corner to this one's, pixels of the panorama
    double overlap = 0;       // share of a picture, along the sweep
    bool has_score = false;   // false: no search could be made
    double score = 0;         // sign(r) * r^2 of the correlation r: 1 for equal pictures
};

/** Where two neighbours overlap. */
struct OverlapView {
    size_t first = 0, second = 0;  // pictures, in the order of the sweep
    ozr_rect box = {0, 0, 0, 0};   // pixels of the panorama, ends exclusive; may reach beyond it
    std::vector<ozr_point> seam;   // corners of the line, pixels of the panorama
    Picture difference;            // of the two, grey: 0 where they are equal; reduced
    double mean_difference = 0;    // grey levels
};

struct Layout {
    std::vector<Placement> pictures;
    std::vector<OverlapView> overlaps;
};

}  // namespace ozr_pano

#endif
