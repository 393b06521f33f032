// The adjustment: the cameras that agree best with all matches together.
//
// Unknown are the turn of every picture and a small zoom of its own, one focal length and one
// radial term for all, and a small skew of every picture where the rest does not fit closely. What
// is made small is the distance, in base pixels, of where a match's first place shows in the second
// picture from where it was seen there. Far-off matches lose their say step by step (the weights of
// Geman and McClure), so wrong ones do no harm.
#ifndef REFINED_ADJUST_H
#define REFINED_ADJUST_H

#include "image/pano_result.h"
#include "refined/cancel.h"
#include "refined/lenses.h"
#include "refined/residual.h"

namespace ozr::refined
{

// What cameras are to be found from. Pictures that no link reaches keep their start.
struct AdjustTask {
    const Link* links;
    int32_t count;  // of links
    int32_t pictures;
    double assumed_focal;  // base pixels
};

// Finds the turns of all pictures and a plain lens, beginning with the guesses' turns at the
// assumed focal length, and with other focal lengths where that one fits badly. kPanoCancelled,
// kPanoNoMemory.
PanoResult adjust(const AdjustTask& task, const Cancel& cancel, Lenses* lenses);

// The same from cameras that are nearly right already.
PanoResult adjust_again(const AdjustTask& task, const Cancel& cancel, Lenses* lenses);

// Goes on with all that takes more than two pictures to find: zooms, the radial term, and skews
// where these explain much.
PanoResult adjust_lens(const AdjustTask& task, const Cancel& cancel, Lenses* lenses);

}  // namespace ozr::refined

#endif
