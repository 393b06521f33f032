// The layout of a refined panorama, by the library's window.
#ifndef REFINED_READER_H
#define REFINED_READER_H

#include "report/layout.h"

#include <ozr_panorama.h>

namespace ozr_pano
{

// What a refined panorama lies on: its pixel (x, y) looks along first_heading + x / radius, in
// radians to the right of the middle picture, and first_height + y / radius down for every 1 ahead.
// In sweeps up and down the panorama is turned clockwise for that.
struct Cylinder {
    double radius, first_heading, first_height;
};
Cylinder read_cylinder(const ozr_panorama& session);

// Whether the session has a refined panorama.
bool has_refined(const ozr_panorama& session);

// Its layout; parameters as those of read_layout.
Layout read_refined(const ozr_panorama& session, const ozr_image& panorama,
                    const std::vector<ozr_panorama_joint>& joints);

}  // namespace ozr_pano

#endif
