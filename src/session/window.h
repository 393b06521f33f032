// The window of the report page: what a session knows of its panorama, as plain records. It is the
// only internal header that a program outside the library includes.
//
// Of a classic sweep the core keeps the projected pictures and their alignment until the next
// sweep. The seams are found again by the exported function, with the layout and the mask of the
// composition. Everything here is inline, because the shared library exports no more than its list.
//
// Positions are pixels of the canvas: x runs along the sweep (pictures of vertical sweeps were
// turned clockwise) from the left edge of the leftmost picture, y from the first row of the
// panorama. Planes are luma, the session's, valid until its next sweep.
#ifndef SESSION_WINDOW_H
#define SESSION_WINDOW_H

#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <utility>

#include "base/plane.h"
#include "core/layout.h"
#include "core/panorama_core.h"
#include "core/panorama_seam.h"
#include "core/seam_mask.h"
#include "engine/panorama_engine.h"
#include "session/handle.h"
#include "session/panorama.h"
#include "session/refined_window.h"
#include "support/buffer.h"

namespace ozr::session
{

struct PictureRecord {
    ConstPlane luma;
    bool is_used;  // in the panorama, and so at (x, y)
    int32_t x;
    int32_t y;
    bool is_aligned;  // to the picture taken before, and so the rest is set
    int32_t step_x;   // from the corner of that picture
    int32_t step_y;
    int32_t shared_columns;  // with that picture
    bool has_score;          // false: no search could be made
    double score;            // sign(r) * r^2 of the correlation r
};

struct SeamRecord {
    int32_t left;   // picture, by its number in the order of the sweep
    int32_t right;  // likewise
    int32_t x;      // of the overlap
    int32_t y;
    ConstPlane left_luma;  // the overlap in both pictures; of one size
    ConstPlane right_luma;
    Buffer<int32_t> columns;  // of the overlap, one for each of its rows
};

struct PanoramaRecord {
    bool is_vertical;
    int32_t count;  // pictures of the sweep, in its order
    PictureRecord pictures[kMaxPictures];
    int32_t seam_count;  // from left to right; fewer than there are overlaps when memory is out
    SeamRecord seams[kMaxPictures];
};

namespace window
{

inline ConstPlane luma_of(const PanoImg& img)
{
    return {img.data, img.width, img.height, img.stride};
}

inline ConstPlane luma_of(const SeamRegion& region)
{
    return {core::region_row(&region, 0), region.width, region.height, region.img->stride};
}

inline void set_picture(const PanoramaCore& core, int32_t i, PictureRecord* picture)
{
    picture->luma = luma_of(core.frames[i]);
    picture->is_aligned = i > 0 && core.aligned[i] != 0;
    if (!picture->is_aligned)
        return;
    const AlignResult step = core::step_of(core, i);
    const int32_t right = core.forward != 0 ? step.x : -step.x;
    picture->step_x = step.x;
    picture->step_y = step.y;
    picture->shared_columns = std::clamp(core.frames[i].width - right, 0, core.frames[i].width);
    picture->has_score = step.score != core::kNoSearchScore;
    picture->score = static_cast<double>(step.score) / core::kScoreOne;
}

inline void place_pictures(const core::Canvas& canvas, PanoramaRecord* record)
{
    int32_t x = 0;
    int32_t y = 0;
    for (int32_t i = 0; i < canvas.count; ++i) {
        if (i > 0) {
            x += canvas.results[i].x;
            y += canvas.results[i].y;
        }
        PictureRecord& picture = record->pictures[canvas.indices[i]];
        picture.is_used = true;
        picture.x = x;
        picture.y = y - static_cast<int32_t>(canvas.lowest);
    }
}

// False when there is no seam, or memory is out.
inline bool find_seam(core::Canvas* canvas, int32_t i, int32_t margin)
{
    core::Seam* seam = &canvas->seams[i];
    if (!core::place_regions(*canvas, i, seam))
        return false;
    const int32_t width = seam->a.width;
    const int32_t height = seam->a.height;
    seam->columns = make_buffer<int32_t>(std::max(height, 1));
    const Buffer<uint8_t> row = make_buffer<uint8_t>(std::max(width, 1));
    const Buffer<uint8_t> mask = make_buffer<uint8_t>(std::max(int64_t{width} * height, int64_t{1}));
    if (!seam->columns || !row || !mask)
        return false;
    core::SeamMask rows(row.get(), seam->a, margin, i > 1 ? &canvas->seams[i - 1] : nullptr);
    for (int32_t y = 0; y < height; ++y)
        memcpy(mask.get() + ptrdiff_t{y} * width, rows.row(y), static_cast<size_t>(width));
    return panorama_seam_find(seam->columns.get(), mask.get(), &seam->a, &seam->b) == 0;
}

inline void set_seams(core::Canvas* canvas, int32_t margin, PanoramaRecord* record)
{
    int32_t found = 0;
    while (found + 1 < canvas->count && find_seam(canvas, found + 1, margin))
        ++found;
    for (int32_t i = 1; i <= found; ++i) {
        core::Seam& seam = canvas->seams[i];
        const PictureRecord& right = record->pictures[canvas->indices[i]];
        record->seams[i - 1] = {canvas->indices[i - 1], canvas->indices[i], right.x,
                                right.y + seam.b.y,     luma_of(seam.a),    luma_of(seam.b),
                                std::move(seam.columns)};
    }
    record->seam_count = found;
}

inline const PanoramaInternal* engine_of(const ozr_panorama* handle)
{
    const panorama_t* session = static_cast<const ozr_panorama_internal_t*>(handle)->panorama;
    const PanoramaInternal* engine = session != nullptr ? session->engine : nullptr;
    return engine != nullptr && engine->core != nullptr ? engine : nullptr;
}

inline int32_t picture_count(const ozr_panorama* handle)
{
    return std::clamp(static_cast<const ozr_panorama_internal_t*>(handle)->panorama->stitched_count, 0,
                      kMaxPictures);
}

// The pictures of the panorama; none while there is no panorama.
inline core::Canvas canvas_of(const ozr_panorama* handle)
{
    core::Canvas canvas = {};
    const PanoramaInternal* engine = engine_of(handle);
    if (engine == nullptr || engine->out_img.data == nullptr || refined_sweep_of(handle) != nullptr)
        return canvas;
    core::order_pictures(engine->core, picture_count(handle), &canvas);
    canvas.count = core::take_pictures(*engine->core, &canvas);
    return canvas;
}

}  // namespace window

// Returns how many pictures the panorama shows, 0 while there is none. A picture that drifts too
// far across the sweep is left out, with all to the right of it. Not while another thread works in
// the session, as with look.
inline int32_t pictures_used(const ozr_panorama* handle)
{
    return window::canvas_of(handle).count;
}

// Looks at the sweep of a session, and at its panorama if there is one.
inline PanoramaRecord look(const ozr_panorama* handle)
{
    PanoramaRecord record = {};
    const PanoramaInternal* engine = window::engine_of(handle);
    if (engine == nullptr)
        return record;
    record.is_vertical = is_vertical(engine->direction);
    record.count = window::picture_count(handle);
    for (int32_t i = 0; i < record.count; ++i)
        window::set_picture(*engine->core, i, &record.pictures[i]);
    core::Canvas canvas = window::canvas_of(handle);
    window::place_pictures(canvas, &record);
    window::set_seams(&canvas, engine->core->margin, &record);
    return record;
}

}  // namespace ozr::session

#endif
