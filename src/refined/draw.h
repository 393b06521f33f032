// Stand-in until pictures are drawn.
#ifndef REFINED_DRAW_H
#define REFINED_DRAW_H

#include <stdint.h>

#include "base/limits.h"
#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "refined/camera.h"
#include "refined/cancel.h"

namespace ozr::refined
{
struct DrawPicture {
    const PanoImg* picture;  // NV12, even sides of 32 or more
    const PanoImg* reduced;
    int32_t reduced_bits;
    const Camera* camera;
};

struct DrawInput {
    const DrawPicture*
        pictures;   // all of one size, in order of capture; those whose camera is not used are left out
    int32_t count;  // at most kMaxPictures
    Cancel cancel;
};

struct DrawReport {
    float gain[kMaxPictures];  // that the middle of each picture was multiplied by; 1 where it was left out
    double radius;             // of the cylinder, in pixels of the panorama
    double
        first_heading;    // of the panorama's first column, in radians against the middle picture's direction
    double first_height;  // of its first row, in radii; negative above the horizon
};
inline PanoResult draw(const DrawInput& input, PanoImg* out, DrawReport* report)
{
    for (float& g : report->gain)
        g = 1.0F;
    report->radius = input.pictures[0].camera->focal;
    return static_cast<PanoResult>(PanoImg_Clone(input.pictures[0].picture, out));
}
}  // namespace ozr::refined

#endif
