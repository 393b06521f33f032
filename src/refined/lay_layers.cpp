// A picture is laid a row of the lattice at a time, from its smallest useful level, in blocks of
// columns between which places are linear.
#include <string.h>

#include "kernels/kernels.h"
#include "refined/interval.h"
#include "refined/layers.h"
#include "refined/nodes.h"

namespace ozr::refined
{

namespace
{

// Marks the points of a row that a picture shows.
void _mark_shown(uint8_t* dst, const kernels::DrawNodes& nodes, const kernels::DrawPlane& small,
                 int32_t margin, int32_t blocks)
{
    const int32_t most_x = ((small.width - 1) << kernels::kDrawPlaceBits) - margin;
    const int32_t most_y = ((small.height - 1) << kernels::kDrawPlaceBits) - margin;
    const auto is_inside = [=](int32_t x, int32_t y) {
        return x >= margin && x <= most_x && y >= margin && y <= most_y;
    };
    for (int32_t b = 0; b < blocks; ++b, dst += kLayerBlock) {
        const int32_t step_x = (nodes.x[b + 1] - nodes.x[b]) / kLayerBlock;
        const int32_t step_y = (nodes.y[b + 1] - nodes.y[b]) / kLayerBlock;
        const int32_t last_x = nodes.x[b] + step_x * (kLayerBlock - 1);
        const int32_t last_y = nodes.y[b] + step_y * (kLayerBlock - 1);
        // What is between two places that are shown is shown too.
        if (is_inside(nodes.x[b], nodes.y[b]) && is_inside(last_x, last_y)) {
            memset(dst, 255, kLayerBlock);
            continue;
        }
        for (int32_t k = 0; k < kLayerBlock; ++k)
            dst[k] = is_inside(nodes.x[b] + step_x * k, nodes.y[b] + step_y * k) ? 255 : 0;
    }
}

bool _is_shown(const uint8_t* block)
{
    uint64_t points;
    memcpy(&points, block, sizeof(points));
    return points != 0;
}

// Draws the blocks of which something is shown, a run at a time; others repeat what is above them,
// so that slow waves run out there.
template <class Draw>
void _draw_shown(uint8_t* dst, const Layer& layer, int32_t y, Draw draw)
{
    const uint8_t* shown = layer.shown_row(y);
    const int32_t blocks = layer.columns / kLayerBlock;
    for (int32_t b = 0, end; b < blocks; b = end) {
        const bool drawn = y < 2 || _is_shown(shown + b * kLayerBlock);
        for (end = b + 1; end < blocks && (y < 2 || _is_shown(shown + end * kLayerBlock)) == drawn;)
            ++end;
        if (drawn)
            draw(dst + b * kLayerBlock, b, end - b);
        else
            memcpy(dst + b * kLayerBlock, dst + b * kLayerBlock - layer.columns,
                   static_cast<size_t>(end - b) * kLayerBlock);
    }
}

// In places of the small picture, the middles of whose outer pixels are half a pixel in from its
// edge.
int32_t _shown_margin(int32_t step_bits)
{
    return ((2 * kShownMargin + 1) << kernels::kDrawPlaceBits >> (step_bits + 1)) -
           (1 << (kernels::kDrawPlaceBits - 1));
}

// Luma of a row, and chroma of every second one, which is between it and the next.
void _lay_row(const kernels::DrawKernels& draw, const Frame& frame, int32_t y, NodeRows* nodes, Layer* layer)
{
    const int32_t blocks = layer->columns / kLayerBlock, part = 2 * (y % kNodeRows);
    const Interval all = {0, blocks + 1};
    const int64_t at = int64_t{y} * layer->columns;
    nodes->interpolate(part, frame.step_bits, all);
    _mark_shown(layer->shown.get() + at, nodes->at(0), layer->small_luma, _shown_margin(frame.step_bits),
                blocks);
    _draw_shown(layer->luma.get() + at, *layer, y, [&](uint8_t* dst, int32_t block, int32_t count) {
        draw.luma_row(dst, layer->small_luma, nodes->at(block), count);
    });
    if (y % 2 != 0)
        return;
    nodes->interpolate(part + 1, frame.step_bits, all);
    _draw_shown(layer->chroma.get() + at / 2, *layer, y, [&](uint8_t* dst, int32_t block, int32_t count) {
        draw.chroma_row(dst, layer->small_chroma, nodes->at(block), count);
    });
}

PanoResult _lay_layer(const Cancel& cancel, const Frame& frame, const Heading* headings, Layer* layer)
{
    const Interval all = {0, layer->columns / kLayerBlock + 1};
    const kernels::DrawKernels& draw = kernels::active()->draw;
    NodeRows nodes;
    PANO_FORWARD(nodes.init(all.end));
    nodes.advance(layer->view, headings, frame.height_of(0), all);
    for (int32_t y = 0; y < frame.rows; ++y) {
        if (y % kNodeRows == 0)
            nodes.advance(layer->view, headings, frame.height_of(y + kNodeRows), all);
        _lay_row(draw, frame, y, &nodes, layer);
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

}  // namespace

Buffer<Heading> make_block_headings(const Frame& frame)
{
    const double step = 1 << frame.step_bits;
    return make_headings(frame.radius, frame.first_column * step, kLayerBlock * step,
                         frame.columns / kLayerBlock + 1);
}

PanoResult lay_layers(const Cancel& cancel, Layers* layers)
{
    const Frame& frame = layers->frame;
    const Buffer<Heading> headings = make_block_headings(frame);
    if (!headings)
        return kPanoNoMemory;
    for (int32_t i = 0; i < layers->count; ++i) {
        Layer* layer = &layers->at[i];
        PANO_FORWARD(_lay_layer(cancel, frame, headings.get() + layer->first / kLayerBlock, layer));
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
