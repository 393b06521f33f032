// A picture of the sweep with all that matching needs to know of it.
#ifndef REFINED_SIGHT_H
#define REFINED_SIGHT_H

#include "refined/cancel.h"
#include "refined/corners.h"
#include "refined/grain.h"
#include "refined/picture.h"
#include "refined/shift.h"

namespace ozr::refined
{

struct Sight {
    PanoImgOwner picture;  // NV12, the sweep along x
    Pyramid pyramid;
    Corners corners;  // of the level above the base
    UnrolledPair unrolled;
    Grain grain;
    int32_t base;   // the level whose pixels places are measured in
    bool is_plain;  // too small or too plain to be matched with anything

    const ConstPlane& plane(int32_t above_base) const { return pyramid.levels[base + above_base]; }
    double base_scale() const { return static_cast<double>(1 << base); }
};

// Two pictures that are compared.
struct SightPair {
    const Sight& first;
    const Sight& second;
};

// Levels above the base that the search for patches needs.
constexpr int32_t kSearchLevels = 2;

// The focal length that is assumed of a picture, in its pixels: that of a camera which sees about
// 50 degrees along the sweep, as the classic projection assumes.
double assumed_focal(int32_t width);

// The same of a sight, in base pixels.
double assumed_base_focal(const Sight& sight);

// Looks at the picture that `sight` holds: everything but the picture, its pyramid and its grain.
// kPanoNoMemory.
PanoResult look_at(Sight* sight);

// Unrolls a picture that is rolled by `roll` radians at the two sizes of the rough search.
// kPanoNoMemory.
PanoResult unroll_pair(const Sight& sight, double roll, UnrolledPair* unrolled);

}  // namespace ozr::refined

#endif
