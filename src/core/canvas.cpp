// Writing the canvas: row by row, from the leftmost picture to the rightmost, each from its seam
// onward with a linear transition. What the next picture covers is not written first, and no byte
// is cleared that a picture covers.
#include <string.h>

#include <algorithm>

#include "base/prefetch.h"
#include "core/canvas.h"
#include "image/panorama_util.h"
#include "kernels/kernels.h"

using namespace ozr;
using namespace ozr::core;

namespace
{

constexpr int32_t kRowsAhead = 2;  // how far ahead rows are asked for

// A transition at a seam, in pixels for luma and in pairs for chroma: `reach` columns to either
// side, weights rising from 1 by `step` 128ths.
struct Ramp {
    int32_t reach;
    int32_t step;
};

struct Ramps {
    Ramp luma;
    Ramp chroma;
};

// Transitions exist for three margins; with any other the pictures are switched at the seam.
Ramps _ramps(int32_t margin)
{
    if (margin != 16 && margin != 32 && margin != 64)
        return {{0, 0}, {0, 0}};
    return {{margin, 64 / margin}, {margin / 2, 128 / margin}};
}

// What is written, and with which transitions.
struct CanvasTarget {
    const PanoImg* out;
    Ramps ramps;
};

struct Position {
    int32_t x;
    int32_t y;
};

// What one picture adds to one output row. `at` and all columns count units: luma pixels
// or chroma pairs.
struct Stroke {
    const uint8_t* src;
    ptrdiff_t src_step;   // bytes to the picture's next row
    int32_t at;           // of the picture on the canvas
    int32_t end;          // of the picture, as far as it lies on the canvas
    int32_t blend_begin;  // columns of the picture: the transition, then the picture alone
    int32_t copy_begin;
    int32_t first_weight;
};

// The strokes of one output row, in one of the two planes.
struct Strokes {
    uint8_t* row;
    ptrdiff_t step;   // bytes to the next row
    int32_t columns;  // of the row, in units
    int32_t unit;     // bytes: a pixel of luma or a pair of chroma
    int32_t count;
    Stroke of[kMaxPictures];
};

// Where the switch to a picture lies in a row: the seam and the width of the overlap, in units.
struct Switch {
    int32_t seam;
    int32_t overlap;
};

// A ramp that the overlap clips keeps the weights of the whole ramp.
void _set_transition(Stroke* stroke, Switch at, const Ramp& ramp)
{
    stroke->blend_begin = std::min(std::max(at.seam - ramp.reach, 0), stroke->end);
    const int32_t blend_end = std::min({at.seam + ramp.reach, at.overlap, stroke->end});
    stroke->copy_begin = std::max(stroke->blend_begin, blend_end);
    stroke->first_weight = 1 + (stroke->blend_begin - (at.seam - ramp.reach)) * ramp.step;
}

// The column up to which the picture is to be seen, or read by the transition to the next one. That
// covers the rest, unless it ends first: as wide a picture does not, but a narrower one, or chroma
// of an odd width that begins at an odd column.
int32_t _copy_end(const Stroke& stroke, const Stroke* next)
{
    if (next == nullptr || next->at + next->end < stroke.at + stroke.end)
        return stroke.end;
    return std::min(stroke.end, next->at + next->copy_begin - stroke.at);
}

// Clears what lies between two columns of the row, if anything.
void _clear(const Strokes& strokes, int32_t begin, int32_t end)
{
    if (begin < end)
        memset(strokes.row + ptrdiff_t{begin} * strokes.unit, 0,
               static_cast<size_t>(end - begin) * static_cast<size_t>(strokes.unit));
}

uint8_t* _out(const Strokes& strokes, const Stroke& stroke, int32_t column)
{
    return strokes.row + static_cast<ptrdiff_t>(stroke.at + column) * strokes.unit;
}

const uint8_t* _src(const Strokes& strokes, const Stroke& stroke, int32_t column)
{
    return stroke.src + static_cast<ptrdiff_t>(column) * strokes.unit;
}

// Asks for what the same stroke will read and write some rows on.
OZR_PREFETCHING void _ask_ahead(const Strokes& strokes, const Stroke& stroke, int32_t end)
{
    prefetch_bytes(_src(strokes, stroke, stroke.blend_begin), rows_on(kRowsAhead, stroke.src_step),
                   ptrdiff_t{end - stroke.blend_begin} * strokes.unit);
    prefetch_bytes(_out(strokes, stroke, stroke.copy_begin), rows_on(kRowsAhead, strokes.step),
                   ptrdiff_t{end - stroke.copy_begin} * strokes.unit);
}

void _write(const Strokes& strokes, int32_t weight_step, kernels::BlendRow* blend)
{
    int32_t written = 0;
    for (int32_t i = 0; i < strokes.count; ++i) {
        const Stroke& stroke = strokes.of[i];
        const int32_t end = _copy_end(stroke, i + 1 < strokes.count ? &strokes.of[i + 1] : nullptr);
        _ask_ahead(strokes, stroke, end);
        _clear(strokes, written, stroke.at + stroke.copy_begin);
        if (stroke.blend_begin < stroke.copy_begin)
            blend(_out(strokes, stroke, stroke.blend_begin), _src(strokes, stroke, stroke.blend_begin),
                  stroke.copy_begin - stroke.blend_begin, stroke.first_weight, weight_step);
        if (stroke.copy_begin < end)
            PanoMemcpy(_out(strokes, stroke, stroke.copy_begin), _src(strokes, stroke, stroke.copy_begin),
                       static_cast<uint32_t>((end - stroke.copy_begin) * strokes.unit));
        written = std::max(written, stroke.at + std::max(stroke.copy_begin, end));
    }
    _clear(strokes, written, strokes.columns);
}

// The luma of output row y; no columns when the picture has no such row.
Stroke _luma_stroke(const PanoImg* out, const PanoImg* picture, Position at, int32_t row)
{
    const bool shown = row >= 0 && row < picture->height;
    return {pano_row(picture, shown ? row : 0),
            picture->stride,
            at.x,
            shown ? std::min(picture->width, out->width - at.x) : 0,
            0,
            0,
            0};
}

// The chroma of output rows y and y + 1. Odd positions round down in the chroma plane.
Stroke _chroma_stroke(const PanoImg* out, const PanoImg* picture, Position at, int32_t row)
{
    const bool shown = row >= 0 && row >> 1 < picture->height / 2;
    const int32_t x = at.x >> 1;
    return {pano_chroma_row(picture, shown ? row >> 1 : 0),
            picture->stride,
            x,
            shown ? std::min(picture->width / 2, out->width / 2 - x) : 0,
            0,
            0,
            0};
}

// The row of the seam that output row y meets, or -1.
int32_t _seam_row(const Seam& seam, int32_t row)
{
    const int32_t overlap_row = row - seam.b.y;
    return overlap_row >= 0 && overlap_row < seam.b.height ? overlap_row : -1;
}

void _add(Strokes* strokes, const Stroke& stroke)
{
    if (stroke.end > 0)
        strokes->of[strokes->count++] = stroke;
}

// The luma of output row y and, when y is even, the chroma of rows y and y + 1.
struct RowStrokes {
    Strokes luma;
    Strokes chroma;
    int32_t y;
};

// Adds picture i of the canvas, whose origin is at `at`, to a row. A chroma row follows the seam of
// the first of its two rows.
void _add_picture(RowStrokes* strokes, const Canvas& canvas, int32_t i, Position at,
                  const CanvasTarget& target)
{
    const PanoImg* out = target.out;
    const int32_t y = strokes->y;
    const PanoImg* picture = canvas.pictures[i];
    const int32_t row = static_cast<int32_t>(canvas.lowest) + y - at.y;
    Stroke luma_stroke = _luma_stroke(out, picture, at, row);
    Stroke chroma_stroke = _chroma_stroke(out, picture, at, row);
    if (i > 0) {
        const Seam& seam = canvas.seams[i];
        const int32_t seam_row = _seam_row(seam, row);
        if (seam_row < 0)
            return;
        const int32_t column = seam.columns[static_cast<size_t>(seam_row)];
        _set_transition(&luma_stroke, {column, seam.b.width}, target.ramps.luma);
        _set_transition(&chroma_stroke, {column >> 1, seam.b.width >> 1}, target.ramps.chroma);
    }
    _add(&strokes->luma, luma_stroke);
    if (y % 2 == 0)
        _add(&strokes->chroma, chroma_stroke);
}

}  // namespace

void ozr::core::write_canvas(const Canvas& canvas, int32_t margin, PanoImg* out)
{
    const kernels::Kernels* kernels = kernels::active();
    const CanvasTarget target = {out, _ramps(margin)};
    RowStrokes strokes = {
        {nullptr, out->stride, out->width, 1, 0, {}}, {nullptr, out->stride, out->width / 2, 2, 0, {}}, 0};
    for (int32_t y = 0; y < out->height; ++y) {
        strokes.luma.row = pano_row(out, y);
        strokes.luma.count = 0;
        strokes.chroma.row = pano_chroma_row(out, y / 2);
        strokes.chroma.count = 0;
        strokes.y = y;
        Position at = {0, 0};
        for (int32_t i = 0; i < canvas.count; ++i) {
            if (i > 0)
                at = {at.x + canvas.results[i].x, at.y + canvas.results[i].y};
            _add_picture(&strokes, canvas, i, at, target);
        }
        _write(strokes.luma, target.ramps.luma.step, kernels->blend.row);
        if (y % 2 == 0)
            _write(strokes.chroma, target.ramps.chroma.step, kernels->blend.pairs_row);
    }
}
