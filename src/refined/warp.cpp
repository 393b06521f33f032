// Rows are drawn from top to bottom, in each the pictures from left to right; a picture's left end
// is mixed with what the one before has drawn there.
#include "refined/warp.h"

#include <string.h>

#include <algorithm>

#include "kernels/kernels.h"
#include "refined/interval.h"
#include "refined/nodes.h"
#include "refined/shift_rows.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kWeightBits = 8;

// Columns of the panorama, in pixels; the feather over the picture before begins at `ramp`, which
// may be left of the panorama.
struct Span {
    Interval columns;
    int32_t ramp;
};

struct Warp {
    const Cancel& cancel;
    const Plan& plan;
    PanoImg* out;
    const kernels::Kernels* table;
    Buffer<Heading> headings;
    Buffer<uint8_t> line;  // what one picture shows of a row, in whole blocks
    NodeRows nodes[kMaxPictures];
    ShiftRows shifts[kMaxPictures];
    int32_t feather;
};

// Where a seam crosses a row, in pixels.
int32_t _crossing(const Warp& warp, int32_t seam, int32_t row)
{
    const int32_t bits = warp.plan.layers.frame.step_bits, part = row & ((1 << bits) - 1);
    const int32_t above = std::min(warp.plan.crop.top + (row >> bits), warp.plan.seams.rows - 1);
    const int32_t below = std::min(above + 1, warp.plan.seams.rows - 1);
    const int32_t* columns = warp.plan.seams.at(seam);
    const int32_t left = warp.plan.crop.left;
    return (columns[above] - left) * (1 << bits) + (columns[below] - columns[above]) * part;
}

// What a picture is drawn for: its own columns and half a feather on each side; may be empty.
Span _span(const Warp& warp, int32_t picture, int32_t row)
{
    Span span = {{0, warp.out->width}, -warp.feather};
    if (picture > 0) {
        span.ramp = _crossing(warp, picture - 1, row) - warp.feather / 2;
        span.columns.first = std::max(0, span.ramp);
    }
    if (picture + 1 < warp.plan.layers.count)
        span.columns.end = std::min(span.columns.end, _crossing(warp, picture, row) + warp.feather / 2);
    return span;
}

// The nodes at both ends of all blocks that a row touches.
Interval _nodes_around(const Interval& columns)
{
    return {columns.first / kernels::kDrawBlock,
            (columns.end + kernels::kDrawBlock - 1) / kernels::kDrawBlock + 1};
}

// All nodes that a picture's rows from `first` to before `end` need.
Interval _nodes_of_rows(const Warp& warp, int32_t picture, int32_t first, int32_t end)
{
    Interval all = {INT32_MAX, INT32_MIN};
    const auto add_row = [&](int32_t row) {
        const Interval columns = _span(warp, picture, row).columns;
        all = {std::min(all.first, columns.first), std::max(all.end, columns.end)};
    };
    // Seams are straight from a row of the lattice to the next: those and the ends reach furthest.
    const int32_t last = std::min(end, warp.out->height) - 1, bits = warp.plan.layers.frame.step_bits;
    for (int32_t row = std::max(first, 0); row < last; row = ((row >> bits) + 1) << bits)
        add_row(row);
    add_row(last);
    return all.is_empty() ? Interval{0, 0} : _nodes_around(all);
}

// The exact row of nodes at `row`, which the rows before and behind it need.
void _advance(Warp* warp, int32_t row)
{
    const Frame& frame = warp->plan.layers.frame;
    const double height =
        ((frame.first_row + warp->plan.crop.top) * (1 << frame.step_bits) + row) / frame.radius;
    for (int32_t i = 0; i < warp->plan.layers.count; ++i)
        warp->nodes[i].advance(warp->plan.layers.at[i].view, warp->headings.get(), height,
                               _nodes_of_rows(*warp, i, row - kNodeRows, row + kNodeRows));
}

// Writes one picture's part of a row over the one before it. Units are pixels or pairs
// of `bytes` bytes.
void _compose(uint8_t* dst, const uint8_t* line, const Span& span, int32_t feather, int32_t bytes)
{
    int32_t x = span.columns.first;
    for (; x < std::min(span.ramp + feather, span.columns.end); ++x) {
        const int32_t weight = ((2 * (x - span.ramp) + 1) << kWeightBits) / (2 * feather);
        for (int32_t byte = x * bytes; byte < (x + 1) * bytes; ++byte) {
            const int32_t mixed = (dst[byte] << kWeightBits) + (line[byte] - dst[byte]) * weight;
            dst[byte] = static_cast<uint8_t>((mixed + (1 << (kWeightBits - 1))) >> kWeightBits);
        }
    }
    if (x < span.columns.end)
        memcpy(dst + x * bytes, line + x * bytes,
               static_cast<size_t>(span.columns.end - x) * static_cast<size_t>(bytes));
}

// A row of the panorama as far as one picture is drawn for it.
struct PictureRow {
    int32_t picture;
    int32_t row;
    Span span;
    Interval nodes;  // around its columns

    int32_t first_pixel() const { return nodes.first * kernels::kDrawBlock; }
    int32_t blocks() const { return nodes.length() - 1; }
};

void _draw_luma(Warp* warp, const PictureRow& part)
{
    const PanoImg* source = warp->plan.layers.at[part.picture].source->picture;
    NodeRows& nodes = warp->nodes[part.picture];
    nodes.interpolate(2 * (part.row % kNodeRows), 0, part.nodes);
    warp->shifts[part.picture].fill(nodes.shift(0), 0, part.row, part.nodes);
    const kernels::DrawPlane plane = {pano_row(source, 0), source->stride, source->width, source->height,
                                      warp->plan.softness};
    uint8_t* line = warp->line.get();
    warp->table->draw.luma_row(line + part.first_pixel(), plane, nodes.at(part.nodes.first), part.blocks());
    _compose(pano_row(warp->out, part.row), line, part.span, warp->feather, 1);
}

// Of every second row; chroma is between it and the next.
void _draw_chroma(Warp* warp, const PictureRow& part)
{
    const PanoImg* source = warp->plan.layers.at[part.picture].source->picture;
    NodeRows& nodes = warp->nodes[part.picture];
    nodes.interpolate(2 * (part.row % kNodeRows) + 1, 0, part.nodes);
    for (int32_t channel = 0; channel < 2; ++channel)
        warp->shifts[part.picture].fill(nodes.shift(channel), channel + 1, part.row, part.nodes);
    const kernels::DrawPlane plane = {pano_chroma_row(source, 0), source->stride, source->width / 2,
                                      source->height / 2};
    uint8_t* line = warp->line.get();
    warp->table->draw.chroma_row(line + part.first_pixel(), plane, nodes.at(part.nodes.first), part.blocks());
    const Interval& columns = part.span.columns;
    const Span pairs = {{columns.first / 2, (columns.end + 1) / 2}, part.span.ramp >> 1};
    _compose(pano_chroma_row(warp->out, part.row / 2), line, pairs, warp->feather / 2, 2);
}

void _draw_row(Warp* warp, int32_t picture, int32_t row)
{
    ShiftRows& shifts = warp->shifts[picture];
    if (shifts.needs(row)) {
        // The row of shifts below is looked at again as the one above, a step later.
        const int32_t two_steps = 2 << warp->plan.corrections.step_bits;
        shifts.prepare(row, _nodes_of_rows(*warp, picture, row, row + two_steps));
    }
    const Span span = _span(*warp, picture, row);
    if (span.columns.is_empty())
        return;
    const PictureRow part = {picture, row, span, _nodes_around(span.columns)};
    _draw_luma(warp, part);
    if (row % 2 == 0)
        _draw_chroma(warp, part);
}

PanoResult _make_buffers(Warp* warp)
{
    const Frame& frame = warp->plan.layers.frame;
    const int32_t nodes = warp->out->width / kernels::kDrawBlock + 2;
    const double first =
        (frame.first_column + warp->plan.crop.left) * static_cast<double>(1 << frame.step_bits);
    warp->headings = make_headings(frame.radius, first, kernels::kDrawBlock, nodes);
    warp->line = make_buffer<uint8_t>(int64_t{nodes} * kernels::kDrawBlock);
    if (!warp->headings || !warp->line)
        return kPanoNoMemory;
    for (int32_t i = 0; i < warp->plan.layers.count; ++i) {
        PANO_FORWARD(warp->nodes[i].init(nodes));
        PANO_FORWARD(warp->shifts[i].init(warp->plan.corrections, i, nodes));
    }
    return kPanoSuccess;
}

}  // namespace

PanoResult warp_panorama(const Cancel& cancel, const Plan& plan, PanoImg* out)
{
    Warp warp = {
        cancel, plan, out, kernels::active(), nullptr, nullptr, {}, {}, feather_width(plan.layers.frame)};
    PANO_FORWARD(_make_buffers(&warp));
    _advance(&warp, 0);
    for (int32_t row = 0; row < out->height; ++row) {
        if (row % kNodeRows == 0)
            _advance(&warp, row + kNodeRows);
        for (int32_t i = 0; i < plan.layers.count; ++i)
            _draw_row(&warp, i, row);
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
