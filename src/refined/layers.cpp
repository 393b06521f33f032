#include "refined/layers.h"

#include <string.h>

#include <algorithm>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kLeastSide = 32;  // of a picture
// Pixels at a picture's edge that are not drawn: the cubic reaches two further.
constexpr int32_t kShownMargin = 2;
constexpr int32_t kBlock = kernels::kDrawBlock;

// Bounds of what can be a camera; comparisons fail for what is not a number.
bool _is_camera(const Camera& camera, int32_t longer)
{
    constexpr double kLeastFocal = 0.2, kMostFocal = 20.0;  // longer sides
    constexpr double kMostRadial = 0.5;
    for (double number : camera.rotation) {
        if (!(number > -1.001 && number < 1.001))
            return false;
    }
    return camera.focal > kLeastFocal * longer && camera.focal < kMostFocal * longer &&
           camera.radial > -kMostRadial && camera.radial < kMostRadial;
}

bool _is_picture(const PanoImg* img)
{
    return img != nullptr && img->data != nullptr && img->format == kPanoNv12 && img->width >= kLeastSide &&
           img->height >= kLeastSide && img->width % 2 == 0 && img->height % 2 == 0 &&
           img->stride >= img->width;
}

kernels::DrawPlane _plane(const ConstPlane& view)
{
    return {view.data, view.stride, view.width, view.height};
}

// The pictures that are used, in order of capture.
PanoResult _collect(const DrawInput& input, Layers* layers)
{
    if (input.pictures == nullptr || input.count < 1 || input.count > kMaxPictures)
        return kPanoBadArgument;
    layers->count = 0;
    const PanoImg* first = nullptr;
    for (int32_t i = 0; i < input.count; ++i) {
        const DrawPicture& source = input.pictures[i];
        if (source.camera == nullptr || source.pyramid == nullptr || !_is_picture(source.picture))
            return kPanoBadArgument;
        if (first != nullptr &&
            (source.picture->width != first->width || source.picture->height != first->height))
            return kPanoBadArgument;
        first = source.picture;
        if (!source.camera->used)
            continue;
        if (!_is_camera(*source.camera, std::max(first->width, first->height)))
            return kPanoBadArgument;
        Layer& layer = layers->at[layers->count++];
        layer.source = &source;
        layer.index = i;
        layer.view = View(*source.camera, first->width, first->height);
        layer.small_luma = _plane(source.pyramid->levels[source.pyramid->small]);
        layer.small_chroma = _plane(source.pyramid->small_pairs);
    }
    return layers->count > 0 ? kPanoSuccess : kPanoBadArgument;
}

// Each picture lies within half a turn of the one before it: so a sweep may go round
// more than once.
void _follow_headings(Layers* layers)
{
    for (int32_t i = 0; i < layers->count; ++i) {
        double heading = layers->at[i].view.heading();
        if (i > 0) {
            const double turns = (layers->at[i - 1].heading - heading) / (2.0 * kPi);
            heading += 2.0 * kPi * static_cast<double>(nearest(turns));
        }
        layers->at[i].heading = heading;
    }
}

// A pan that turns back takes pictures out of order.
void _sort_by_heading(Layers* layers)
{
    std::sort(layers->at, layers->at + layers->count, [](const Layer& a, const Layer& b) {
        return a.heading != b.heading ? a.heading < b.heading : a.index < b.index;
    });
}

// What a picture shows of the cylinder, headings counted from its middle.
struct Extent {
    double left, right, top, bottom;
};

bool _extent(const Layer& layer, Extent* extent)
{
    // Along each edge; in between the lens bends it by less than a lattice step.
    constexpr int32_t kSamples = 16;
    const double width = layer.source->picture->width - 1, height = layer.source->picture->height - 1;
    *extent = {1e9, -1e9, 1e9, -1e9};
    for (int32_t i = 0; i <= 2 * kSamples + 1; ++i) {
        for (int32_t j = 0; j <= kSamples; ++j) {
            const double along = static_cast<double>(j) / kSamples, side = i % 2;
            const int32_t half = i / 2;
            const double x = i < 2 ? side : i < 4 ? along : half / static_cast<double>(kSamples);
            const double y = i < 2 ? along : i < 4 ? side : along;
            double heading, tall;
            if (!layer.view.ray(x * width, y * height, &heading, &tall))
                continue;
            heading -= layer.view.heading();
            heading -= 2.0 * kPi * static_cast<double>(nearest(heading / (2.0 * kPi)));
            extent->left = std::min(extent->left, heading);
            extent->right = std::max(extent->right, heading);
            extent->top = std::min(extent->top, tall);
            extent->bottom = std::max(extent->bottom, tall);
        }
    }
    return extent->left < extent->right && extent->top < extent->bottom;
}

int32_t _floored(double value)
{
    return nearest_int(value - 0.5);
}

int32_t _rounded_up(int32_t value, int32_t unit)
{
    return (value + unit - 1) / unit * unit;
}

PanoResult _choose_frame(Layers* layers)
{
    Frame& frame = layers->frame;
    frame.step_bits = layers->at[0].source->pyramid->small;
    frame.radius = 0.0;
    for (int32_t i = 0; i < layers->count; ++i)
        frame.radius += layers->at[i].view.focal() / layers->count;

    const double steps = frame.radius / (1 << frame.step_bits);
    int32_t left = INT32_MAX, right = INT32_MIN, top = INT32_MAX, bottom = INT32_MIN;
    double reach = 0.0;
    for (int32_t i = 0; i < layers->count; ++i) {
        Layer& layer = layers->at[i];
        Extent extent;
        if (!_extent(layer, &extent))
            return kPanoBadArgument;
        if (i > 0 && layer.heading + extent.left > reach)
            return kPanoBadArgument;  // a gap that no picture shows
        reach = layer.heading + extent.right;
        layer.middle = nearest_int(layer.heading * steps);
        layer.first = _floored((layer.heading + extent.left) * steps);
        layer.columns = _floored((layer.heading + extent.right) * steps) + 2 - layer.first;
        left = std::min(left, layer.first);
        right = std::max(right, layer.first + layer.columns);
        top = std::min(top, _floored(extent.top * steps));
        bottom = std::max(bottom, _floored(extent.bottom * steps) + 2);
    }
    frame.first_column = left;
    frame.first_row = top;
    frame.columns = _rounded_up(right - left, kBlock);
    frame.rows = _rounded_up(bottom - top, 2);
    for (int32_t i = 0; i < layers->count; ++i) {
        Layer& layer = layers->at[i];
        const int32_t end = layer.first + layer.columns - left;
        layer.middle -= left;
        layer.first = (layer.first - left) / kBlock * kBlock;
        layer.columns = _rounded_up(end, kBlock) - layer.first;
    }
    return kPanoSuccess;
}

// Marks the points of a row that a picture shows.
void _mark_shown(uint8_t* dst, const kernels::DrawNodes& nodes, const kernels::DrawPlane& small,
                 int32_t margin, int32_t blocks)
{
    const int32_t most_x = ((small.width - 1) << kernels::kDrawPlaceBits) - margin;
    const int32_t most_y = ((small.height - 1) << kernels::kDrawPlaceBits) - margin;
    const auto is_inside = [=](int32_t x, int32_t y) {
        return x >= margin && x <= most_x && y >= margin && y <= most_y;
    };
    for (int32_t b = 0; b < blocks; ++b, dst += kBlock) {
        const int32_t step_x = (nodes.x[b + 1] - nodes.x[b]) / kBlock;
        const int32_t step_y = (nodes.y[b + 1] - nodes.y[b]) / kBlock;
        const int32_t last_x = nodes.x[b] + step_x * (kBlock - 1);
        const int32_t last_y = nodes.y[b] + step_y * (kBlock - 1);
        // What is between two places that are shown is shown too.
        if (is_inside(nodes.x[b], nodes.y[b]) && is_inside(last_x, last_y)) {
            memset(dst, 255, kBlock);
            continue;
        }
        for (int32_t k = 0; k < kBlock; ++k)
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
    const int32_t blocks = layer.columns / kBlock;
    for (int32_t b = 0, end; b < blocks; b = end) {
        const bool drawn = y < 2 || _is_shown(shown + b * kBlock);
        for (end = b + 1; end < blocks && (y < 2 || _is_shown(shown + end * kBlock)) == drawn;)
            ++end;
        if (drawn)
            draw(dst + b * kBlock, b, end - b);
        else
            memcpy(dst + b * kBlock, dst + b * kBlock - layer.columns, static_cast<size_t>(end - b) * kBlock);
    }
}

PanoResult _lay_layer(const Cancel& cancel, const Frame& frame, const Heading* headings, Layer* layer)
{
    const int32_t blocks = layer->columns / kBlock;
    const Interval all = {0, blocks + 1};
    const kernels::Kernels* table = kernels::active();
    NodeRows nodes;
    PANO_FORWARD(nodes.init(blocks + 1));
    // The small picture's middle pixels lie half a small pixel in from the picture's edge.
    const int32_t margin = ((2 * kShownMargin + 1) << kernels::kDrawPlaceBits >> (frame.step_bits + 1)) -
                           (1 << (kernels::kDrawPlaceBits - 1));
    const Heading* own = headings + layer->first / kBlock;
    const auto height = [&](int32_t y) {
        return (frame.first_row + y) * (1 << frame.step_bits) / frame.radius;
    };
    nodes.advance(layer->view, own, height(0), all);
    for (int32_t y = 0; y < frame.rows; ++y) {
        const int32_t part = 2 * (y % kNodeRows);
        if (part == 0)
            nodes.advance(layer->view, own, height(y + kNodeRows), all);
        const int64_t at = int64_t{y} * layer->columns;
        nodes.interpolate(part, frame.step_bits, all);
        _mark_shown(layer->shown.get() + at, nodes.at(0), layer->small_luma, margin, blocks);
        _draw_shown(layer->luma.get() + at, *layer, y, [&](uint8_t* dst, int32_t b, int32_t count) {
            table->draw.luma_row(dst, layer->small_luma, nodes.at(b), count);
        });
        if (y % 2 == 0) {
            nodes.interpolate(part + 1, frame.step_bits, all);
            _draw_shown(layer->chroma.get() + at / 2, *layer, y, [&](uint8_t* dst, int32_t b, int32_t count) {
                table->draw.chroma_row(dst, layer->small_chroma, nodes.at(b), count);
            });
        }
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

}  // namespace

PanoResult arrange_layers(const DrawInput& input, Layers* layers)
{
    PANO_FORWARD(_collect(input, layers));
    _follow_headings(layers);
    _sort_by_heading(layers);
    PANO_FORWARD(_choose_frame(layers));
    const Frame& frame = layers->frame;
    for (int32_t i = 0; i < layers->count; ++i) {
        Layer& layer = layers->at[i];
        const int64_t points = int64_t{layer.columns} * frame.rows;
        layer.luma = make_unfilled_buffer<uint8_t>(points);
        layer.chroma = make_unfilled_buffer<uint8_t>(points / 2);
        layer.shown = make_unfilled_buffer<uint8_t>(points);
        if (!layer.luma || !layer.chroma || !layer.shown)
            return kPanoNoMemory;
    }
    return kPanoSuccess;
}

PanoResult lay_layers(const Cancel& cancel, Layers* layers)
{
    const Frame& frame = layers->frame;
    const double step = 1 << frame.step_bits;
    const Buffer<Heading> headings =
        make_headings(frame.radius, frame.first_column * step, kBlock * step, frame.columns / kBlock + 1);
    if (!headings)
        return kPanoNoMemory;
    for (int32_t i = 0; i < layers->count; ++i)
        PANO_FORWARD(_lay_layer(cancel, frame, headings.get(), &layers->at[i]));
    return kPanoSuccess;
}

}  // namespace ozr::refined
