// Draws a panorama from pictures whose cameras are known: brightness is evened out, seams are laid
// where neighbours agree, and every pixel is computed once, straight from its picture.
//
// All of it in the orientation in which the sweep runs along x; sweeps up or down hand over turned
// pictures and turn the result back.
#ifndef REFINED_DRAW_H
#define REFINED_DRAW_H

#include <stdint.h>

#include "base/limits.h"
#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "refined/camera.h"
#include "refined/cancel.h"
#include "refined/grain.h"
#include "refined/picture.h"
#include "support/buffer.h"

namespace ozr::refined
{

struct DrawPicture {
    const PanoImg* picture;  // NV12, even sides of 32 or more
    const Pyramid* pyramid;  // of the picture
    const Camera* camera;
    Grain grain;
};

struct DrawInput {
    // All of one size, in order of capture; those whose camera is not used are left out.
    const DrawPicture* pictures;
    int32_t count;  // at most kMaxPictures
    Cancel cancel;
};

// The seams of a panorama, as coarsely as they were found: a point every `step` rows. Pixels of the
// panorama, some of which are beyond it.
struct SeamLines {
    Buffer<int32_t> columns;  // `rows` for each seam
    int32_t rows;
    int32_t step;
    int32_t first_row;               // of the first point of each seam
    int32_t count;                   // pictures; one seam fewer
    int32_t pictures[kMaxPictures];  // by their number in order of capture, from left to right
};

struct DrawReport {
    // What the middle of each picture was multiplied by; 1 where it was left out.
    float gain[kMaxPictures];
    double radius;         // of the cylinder, in pixels of the panorama
    double first_heading;  // of its first column, radians against the middle picture's direction
    double first_height;   // of its first row, in radii; negative above the horizon
    SeamLines seams;
};

// Draws a panorama into *out, which is created (NV12, even sides, to be released with
// PanoImg_Destroy) if and only if the call succeeds. kPanoBadArgument: no picture is used, pictures
// of different sizes, cameras that do not look along one sweep; kPanoNotSupported: pictures or a
// panorama too large for 32 bits, or nothing that all rows cover; kPanoCancelled; kPanoNoMemory.
PanoResult draw(const DrawInput& input, PanoImg* out, DrawReport* report);

}  // namespace ozr::refined

#endif
