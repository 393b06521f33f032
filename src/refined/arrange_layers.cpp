// Pictures are ordered by where they look; the frame is as large as all that they show.
#include <algorithm>

#include "refined/elementary.h"
#include "refined/layers.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kLeastSide = 32;  // of a picture

// Bounds of what can be a camera; comparisons fail for what is not a number.
bool _is_camera(const Camera& camera, int32_t longer)
{
    constexpr double kLeastFocal = 0.2, kMostFocal = 20.0;  // longer sides
    for (double number : camera.rotation.m) {
        if (!(number > -1.001 && number < 1.001))
            return false;
    }
    return camera.focal > kLeastFocal * longer && camera.focal < kMostFocal * longer &&
           camera.radial >= -kMostRadial && camera.radial <= kMostRadial;
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

// Each picture is within half a turn of the one before it: so a sweep may go round more than once.
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
    double left = 1e9, right = -1e9, top = 1e9, bottom = -1e9;

    void add(double heading, double height)
    {
        left = std::min(left, heading);
        right = std::max(right, heading);
        top = std::min(top, height);
        bottom = std::max(bottom, height);
    }
};

// False where nothing of a picture fits the cylinder.
bool _find_extent(const Layer& layer, Extent* extent)
{
    // In between, the lens bends an edge by less than a lattice step.
    constexpr int32_t kSamples = 16;
    const double width = layer.source->picture->width - 1, height = layer.source->picture->height - 1;
    const double middle = layer.view.heading();
    const auto add = [&](int32_t column, int32_t row) {
        double heading, tall;
        if (!layer.view.ray(static_cast<double>(column) / kSamples * width,
                            static_cast<double>(row) / kSamples * height, &heading, &tall))
            return;
        heading -= middle;
        heading -= 2.0 * kPi * static_cast<double>(nearest(heading / (2.0 * kPi)));
        extent->add(heading, tall);
    };
    for (int32_t i = 0; i <= kSamples; ++i) {
        add(0, i);
        add(kSamples, i);
        add(i, 0);
        add(i, kSamples);
    }
    // Where edges are too steep for the cylinder, what is inside counts.
    for (int32_t column = 1; column < kSamples; ++column) {
        for (int32_t row = 1; row < kSamples; ++row)
            add(column, row);
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

// Points of the lattice that some picture shows.
struct Bounds {
    int32_t left = INT32_MAX, right = INT32_MIN, top = INT32_MAX, bottom = INT32_MIN;
};

// Places a layer on the lattice, with `steps` of it to a radian, in columns from heading 0.
void _place_layer(const Extent& extent, double steps, Layer* layer, Bounds* bounds)
{
    layer->middle = nearest_int(layer->heading * steps);
    layer->first = _floored((layer->heading + extent.left) * steps);
    layer->columns = _floored((layer->heading + extent.right) * steps) + 2 - layer->first;
    bounds->left = std::min(bounds->left, layer->first);
    bounds->right = std::max(bounds->right, layer->end());
    bounds->top = std::min(bounds->top, _floored(extent.top * steps));
    bounds->bottom = std::max(bounds->bottom, _floored(extent.bottom * steps) + 2);
}

PanoResult _place_layers(Layers* layers, Bounds* bounds)
{
    const double steps = layers->frame.radius / (1 << layers->frame.step_bits);
    double reach = 0.0;
    for (int32_t i = 0; i < layers->count; ++i) {
        Layer& layer = layers->at[i];
        Extent extent;
        if (!_find_extent(layer, &extent))
            return kPanoBadArgument;
        if (i > 0 && layer.heading + extent.left > reach)
            return kPanoBadArgument;  // a gap that no picture shows
        reach = layer.heading + extent.right;
        _place_layer(extent, steps, &layer, bounds);
    }
    return kPanoSuccess;
}

PanoResult _choose_frame(Layers* layers)
{
    Frame& frame = layers->frame;
    frame.step_bits = layers->at[0].source->pyramid->small;
    frame.radius = 0.0;
    for (int32_t i = 0; i < layers->count; ++i)
        frame.radius += layers->at[i].view.focal() / layers->count;
    Bounds bounds;
    PANO_FORWARD(_place_layers(layers, &bounds));
    frame.first_column = bounds.left;
    frame.first_row = bounds.top;
    frame.columns = _rounded_up(bounds.right - bounds.left, kLayerBlock);
    frame.rows = _rounded_up(bounds.bottom - bounds.top, 2);
    for (int32_t i = 0; i < layers->count; ++i) {
        Layer& layer = layers->at[i];
        const int32_t end = layer.end() - bounds.left;
        layer.middle -= bounds.left;
        layer.first = (layer.first - bounds.left) / kLayerBlock * kLayerBlock;
        layer.columns = _rounded_up(end, kLayerBlock) - layer.first;
    }
    return kPanoSuccess;
}

PanoResult _allocate(Layers* layers)
{
    for (int32_t i = 0; i < layers->count; ++i) {
        Layer& layer = layers->at[i];
        const int64_t points = int64_t{layer.columns} * layers->frame.rows;
        layer.luma = make_unfilled_buffer<uint8_t>(points);
        layer.chroma = make_unfilled_buffer<uint8_t>(points / 2);
        layer.shown = make_unfilled_buffer<uint8_t>(points);
        if (!layer.luma || !layer.chroma || !layer.shown)
            return kPanoNoMemory;
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
    return _allocate(layers);
}

}  // namespace ozr::refined
