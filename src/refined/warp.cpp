#include "refined/warp.h"

#include <string.h>

#include <algorithm>

#include "kernels/kernels.h"
#include "refined/nodes.h"
#include "refined/shift_rows.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kWeightBits = 8;

// Columns [begin, end) of the panorama, in pixels; the feather over the picture before begins at
// `ramp`, which may lie left of the panorama.
struct Span {
    int32_t begin;
    int32_t end;
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
    Span span = {0, warp.out->width, -warp.feather};
    if (picture > 0) {
        span.ramp = _crossing(warp, picture - 1, row) - warp.feather / 2;
        span.begin = std::max(0, span.ramp);
    }
    if (picture + 1 < warp.plan.layers.count)
        span.end = std::min(span.end, _crossing(warp, picture, row) + warp.feather / 2);
    return span;
}

// The nodes at both ends of all blocks that a row touches.
NodeRange _nodes_around(const Span& span)
{
    return {span.begin / kernels::kDrawBlock, (span.end + kernels::kDrawBlock - 1) / kernels::kDrawBlock + 1};
}

// All nodes that a picture's rows from `first` to before `end` need.
NodeRange _nodes_of_rows(const Warp& warp, int32_t picture, int32_t first, int32_t end)
{
    Span all = {INT32_MAX, INT32_MIN, 0};
    // Seams are straight from a row of the lattice to the next: those and the ends reach furthest.
    const int32_t last = std::min(end, warp.out->height) - 1, bits = warp.plan.layers.frame.step_bits;
    for (int32_t row = std::max(first, 0); row <= last;
         row = row < last ? std::min(((row >> bits) + 1) << bits, last) : last + 1) {
        const Span span = _span(warp, picture, row);
        all = {std::min(all.begin, span.begin), std::max(all.end, span.end), 0};
    }
    if (all.begin >= all.end)
        return {0, 0};
    return _nodes_around(all);
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
    int32_t x = span.begin;
    for (; x < std::min(span.ramp + feather, span.end); ++x) {
        const int32_t weight = ((2 * (x - span.ramp) + 1) << kWeightBits) / (2 * feather);
        for (int32_t byte = x * bytes; byte < (x + 1) * bytes; ++byte) {
            const int32_t mixed = (dst[byte] << kWeightBits) + (line[byte] - dst[byte]) * weight;
            dst[byte] = static_cast<uint8_t>((mixed + (1 << (kWeightBits - 1))) >> kWeightBits);
        }
    }
    if (x < span.end)
        memcpy(dst + x * bytes, line + x * bytes,
               static_cast<size_t>(span.end - x) * static_cast<size_t>(bytes));
}

void _draw_luma(Warp* warp, int32_t picture, int32_t row)
{
    const Span span = _span(*warp, picture, row);
    if (span.begin >= span.end)
        return;
    const NodeRange range = _nodes_around(span);
    const PanoImg* source = warp->plan.layers.at[picture].source->picture;
    NodeRows& nodes = warp->nodes[picture];
    nodes.interpolate(2 * (row % kNodeRows), 0, range);
    warp->shifts[picture].fill(nodes.shift(0), warp->plan.corrections, 0, row, range);
    const kernels::DrawPlane plane = {pano_row(source, 0), source->stride, source->width, source->height,
                                      warp->plan.softness};
    uint8_t* line = warp->line.get();
    warp->table->draw.luma_row(line + range.first * kernels::kDrawBlock, plane, nodes.at(range.first),
                               range.end - 1 - range.first);
    _compose(pano_row(warp->out, row), line, span, warp->feather, 1);
}

void _draw_chroma(Warp* warp, int32_t picture, int32_t row)
{
    Span span = _span(*warp, picture, row);
    if (span.begin >= span.end)
        return;
    const NodeRange range = _nodes_around(span);
    const PanoImg* source = warp->plan.layers.at[picture].source->picture;
    NodeRows& nodes = warp->nodes[picture];
    nodes.interpolate(2 * (row % kNodeRows) + 1, 0, range);
    for (int32_t channel = 0; channel < 2; ++channel)
        warp->shifts[picture].fill(nodes.shift(channel), warp->plan.corrections, channel + 1, row, range);
    const kernels::DrawPlane plane = {pano_chroma_row(source, 0), source->stride, source->width / 2,
                                      source->height / 2};
    uint8_t* line = warp->line.get();
    warp->table->draw.chroma_row(line + range.first * kernels::kDrawBlock, plane, nodes.at(range.first),
                                 range.end - 1 - range.first);
    span = {span.begin / 2, (span.end + 1) / 2, span.ramp >> 1};
    _compose(pano_chroma_row(warp->out, row / 2), line, span, warp->feather / 2, 2);
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
        PANO_FORWARD(warp->shifts[i].init(nodes));
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
        for (int32_t i = 0; i < plan.layers.count; ++i) {
            if (warp.shifts[i].needs(plan.corrections, row))
                warp.shifts[i].prepare(plan.corrections, i, row,
                                       _nodes_of_rows(warp, i, row, row + (2 << plan.corrections.step_bits)));
            _draw_luma(&warp, i, row);
            if (row % 2 == 0)
                _draw_chroma(&warp, i, row);
        }
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
