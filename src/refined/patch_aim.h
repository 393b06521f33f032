// Where patches of one picture are expected in another, at the levels of their pyramids, and where
// they were found there.
//
// Places are those of a LensPair, in base pixels from the middle of each picture. Levels are
// counted from the base; -1 is below it, twice as fine.
#ifndef REFINED_PATCH_AIM_H
#define REFINED_PATCH_AIM_H

#include "refined/lens_pair.h"
#include "refined/patch_fit.h"
#include "refined/sight.h"

namespace ozr::refined
{

constexpr int32_t kFinestLevel = -1;

// Places of a picture, and the same in pixels of one of its levels.
struct LevelFrame {
    double scale;     // level pixels to a base pixel
    double middle_x;  // of the picture, in base pixels
    double middle_y;

    Place at_level(Place p) const { return {(p.x + middle_x) * scale - 0.5, (p.y + middle_y) * scale - 0.5}; }
    Place from_level(double x, double y) const
    {
        return {(x + 0.5) / scale - middle_x, (y + 0.5) / scale - middle_y};
    }
    bool holds(Place p) const
    {
        return p.x > -middle_x && p.x < middle_x && p.y > -middle_y && p.y < middle_y;
    }
};

class PatchAim
{
public:
    // Pictures and lenses must outlive this.
    PatchAim(const SightPair& sights, const LensPair& lenses);

    const Sight& first() const { return sights_.first; }
    const LevelFrame& first_frame(int32_t level) const { return first_frames_[level - kFinestLevel]; }

    // Whether the second picture shows a place of the first one.
    bool shows(Place first) const;

    // Sets the task up for a level: the nearest whole pixel of the first picture, and where that is
    // expected in the second, which the levels above have moved by `off`. False at the edge of what
    // can be seen.
    bool aim(Place first, Place off, int32_t level, PatchTask* task) const;

    // How far the task has moved from where the lenses alone show it.
    Place off(int32_t level, const PatchTask& task) const;

    // The places of a task that was moved to the best ones.
    Match found(int32_t level, const PatchTask& task) const;

    // What the lens's falloff makes of the patch; none where it is not known.
    PatchFade fade(int32_t level, const PatchTask& task) const;

private:
    static constexpr int32_t kLevels = kSearchLevels + 1 - kFinestLevel;

    const LevelFrame& second_frame(int32_t level) const { return second_frames_[level - kFinestLevel]; }
    Place whole_place(int32_t level, const PatchTask& task) const;
    bool shape_at(Place first, Place second, PatchShape* shape) const;

    const SightPair sights_;
    const LensPair& lenses_;
    LevelFrame first_frames_[kLevels];
    LevelFrame second_frames_[kLevels];
};

}  // namespace ozr::refined

#endif
