// The layout of a canvas: which pictures it takes, where they lie, and where two neighbours
// overlap.
//
// Inline: the composition uses it inside the library, session/window.h outside.
#ifndef CORE_LAYOUT_H
#define CORE_LAYOUT_H

#include <stdint.h>

#include <algorithm>

#include "core/canvas.h"
#include "core/panorama_core.h"

namespace ozr::core
{

// Fills in the pictures from left to right. When the sweep runs backwards, the last picture is the
// leftmost one.
inline void order_pictures(PanoramaCore* pi, int32_t count, Canvas* canvas)
{
    canvas->count = count;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t index = pi->forward != 0 ? i : count - 1 - i;
        canvas->indices[i] = index;
        canvas->pictures[i] = &pi->frames[index];
        canvas->items[i] = &pi->align[index];
        canvas->results[i] = pi->offsets[index];
    }
}

// Where picture `index` lies against the one taken before it, which there is, and how well they
// correlate there. The core measures the right one of two pictures against the left one.
inline AlignResult step_of(const PanoramaCore& pi, int32_t index)
{
    const bool forward = pi.forward != 0;
    const AlignResult& result = pi.offsets[forward ? index : index - 1];
    return {forward ? result.x : -result.x, forward ? result.y : -result.y, result.score};
}

// Takes pictures while at least half a picture's height remains in common, and adds up the sums of
// the canvas for them. Returns how many.
inline int32_t take_pictures(const PanoramaCore& pi, Canvas* canvas)
{
    int64_t y = 0;
    for (int32_t i = 0; i < canvas->count; ++i) {
        const AlignResult& result = canvas->results[i];
        y += result.y;
        const int64_t highest = std::min(canvas->highest, y);
        const int64_t lowest = std::max(canvas->lowest, y);
        if (pi.input.height + highest - lowest < pi.input.half_height)
            return i;
        canvas->shift_sum += result.x;
        canvas->score_sum += result.score;
        canvas->highest = highest;
        canvas->lowest = lowest;
    }
    return canvas->count;
}

inline bool is_inside(const SeamRegion& region)
{
    return region.x >= 0 && region.y >= 0 && int64_t{region.x} + region.width <= region.img->width &&
           int64_t{region.y} + region.height <= region.img->height;
}

// Sets the overlap of picture i - 1 and picture i: two regions of one size, each in its own
// picture. An overlap without columns or rows is left to the seam finder. False when the overlap
// reaches outside a picture.
inline bool place_regions(const Canvas& canvas, int32_t i, Seam* seam)
{
    const PanoImg* earlier = canvas.pictures[i - 1];
    const PanoImg* later = canvas.pictures[i];
    const AlignResult& at = canvas.results[i];
    const int64_t width = int64_t{earlier->width} - at.x;
    const int64_t height = at.y >= 0 ? int64_t{earlier->height} - at.y : int64_t{later->height} + at.y;
    if (at.x < 0 || width < 0 || height < 0)
        return false;
    seam->a = {earlier, at.x, std::max(at.y, 0), static_cast<int32_t>(width), static_cast<int32_t>(height)};
    seam->b = {later, 0, -std::min(at.y, 0), static_cast<int32_t>(width), static_cast<int32_t>(height)};
    return is_inside(seam->a) && is_inside(seam->b);
}

}  // namespace ozr::core

#endif
