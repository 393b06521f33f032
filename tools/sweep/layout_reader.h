// What the interface does not tell: where each picture was placed, how well it matched, where the
// seams run.
#ifndef LAYOUT_READER_H
#define LAYOUT_READER_H

#include "report/layout.h"

#include <ozr_panorama.h>

namespace ozr_pano
{

// How many pictures the panorama of a classic session shows.
int count_used(const ozr_panorama& session);

// The layout of the session's sweep, and of its panorama.
// `panorama`: as the session returned it; with no pixels the boxes and seams are missing.
// `joints`: of the panorama, as the session tells them.
Layout read_layout(const ozr_panorama& session, const ozr_image& panorama,
                   const std::vector<ozr_panorama_joint>& joints);

}  // namespace ozr_pano

#endif
