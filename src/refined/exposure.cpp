// Light is compared by blocks, the same of the lattice in every picture that shows them.
#include "refined/exposure.h"

#include <algorithm>

#include "refined/elementary.h"
#include "refined/interval.h"
#include "refined/light_fit.h"

namespace ozr::refined
{

namespace
{

// Each kLayerBlock points of the lattice wide and high.
struct Blocks {
    Buffer<Light> at[kMaxPictures];
    Interval columns[kMaxPictures];
    int32_t rows;
};

// Where the corners of a block are in the picture.
struct BlockCorners {
    NodePlace left_top, right_top, left_bottom, right_bottom;
};

bool _is_inside(const NodePlace& place, const PanoImg& picture)
{
    return place.x >= kShownMargin << kNodePlaceBits && place.y >= kShownMargin << kNodePlaceBits &&
           place.x <= (picture.width - 1 - kShownMargin) << kNodePlaceBits &&
           place.y <= (picture.height - 1 - kShownMargin) << kNodePlaceBits;
}

// `part` of 16 of the way.
NodePlace _between(const NodePlace& from, const NodePlace& to, int32_t part)
{
    return {from.x + ((to.x - from.x) * part >> 4), from.y + ((to.y - from.y) * part >> 4)};
}

// The mean of 4 x 4 places of a level whose pixels are a quarter of a block; 0 where one is too
// dark or too bright.
double _mean(const ConstPlane& plane, int32_t level, const BlockCorners& corners)
{
    constexpr int32_t kSide = 4;
    int32_t sum = 0;
    for (int32_t j = 0; j < kSide; ++j) {
        const int32_t down = 1 + 4 * j;
        const NodePlace left = _between(corners.left_top, corners.left_bottom, down);
        const NodePlace right = _between(corners.right_top, corners.right_bottom, down);
        for (int32_t i = 0; i < kSide; ++i) {
            const int32_t across = 1 + 4 * i;
            const int32_t light = light_at(plane, level, _between(left, right, across));
            if (light == 0)
                return 0.0;
            sum += light;
        }
    }
    return sum / static_cast<double>(kSide * kSide << kLightBits);
}

Light _measure_block(const Layer& layer, const BlockCorners& corners)
{
    const PanoImg& picture = *layer.source->picture;
    const Pyramid& pyramid = *layer.source->pyramid;
    if (!_is_inside(corners.left_top, picture) || !_is_inside(corners.right_top, picture) ||
        !_is_inside(corners.left_bottom, picture) || !_is_inside(corners.right_bottom, picture))
        return {};
    const int32_t level = std::min(pyramid.small + 1, pyramid.count - 1);
    const double mean = _mean(pyramid.levels[level], level, corners);
    if (mean == 0.0)
        return {};
    const NodePlace middle = _between(corners.left_top, corners.right_bottom, 8);
    return {logarithm_of_light(mean, level), static_cast<float>(layer.view.spread(middle))};
}

// A row of blocks from the corners above and below them.
void _measure_row(const Layer& layer, const NodePlace* above, const NodePlace* below, int32_t columns,
                  Light* blocks)
{
    for (int32_t x = 0; x < columns; ++x)
        blocks[x] = _measure_block(layer, {above[x], above[x + 1], below[x], below[x + 1]});
}

// `headings` are those of the blocks' corners.
PanoResult _measure_layer(const Cancel& cancel, const Layers& layers, int32_t i, const Heading* headings,
                          Blocks* blocks)
{
    const Layer& layer = layers.at[i];
    const Frame& frame = layers.frame;
    const int32_t columns = layer.columns / kLayerBlock, corners = columns + 1;
    blocks->columns[i] = {layer.first / kLayerBlock, layer.end() / kLayerBlock};
    blocks->at[i] = make_unfilled_buffer<Light>(int64_t{columns} * blocks->rows);
    const Buffer<NodePlace> places = make_unfilled_buffer<NodePlace>(2 * int64_t{corners});
    if (!blocks->at[i] || !places)
        return kPanoNoMemory;
    NodePlace *above = places.get(), *below = above + corners;
    for (int32_t y = 0; y <= blocks->rows; ++y) {
        if (cancel.asked())
            return kPanoCancelled;
        std::swap(above, below);
        const double height = frame.height_of(y * kLayerBlock);
        int16_t gain;
        for (int32_t x = 0; x < corners; ++x)
            below[x] = layer.view.place(headings[x], height, &gain);
        if (y > 0)
            _measure_row(layer, above, below, columns, blocks->at[i].get() + int64_t{y - 1} * columns);
    }
    return kPanoSuccess;
}

PanoResult _measure_blocks(const Cancel& cancel, const Layers& layers, Blocks* blocks)
{
    const Frame& frame = layers.frame;
    const Buffer<Heading> headings = make_block_headings(frame);
    if (!headings)
        return kPanoNoMemory;
    blocks->rows = frame.rows / kLayerBlock;
    for (int32_t i = 0; i < layers.count; ++i)
        PANO_FORWARD(
            _measure_layer(cancel, layers, i, headings.get() + layers.at[i].first / kLayerBlock, blocks));
    return kPanoSuccess;
}

// What two pictures have in common.
void _add_pair(const Blocks& blocks, int32_t a, int32_t b, LightRound* round)
{
    const Interval both = common_part(blocks.columns[a], blocks.columns[b]);
    if (both.is_empty())
        return;
    const auto row_of = [&](int32_t picture, int32_t y) {
        const Interval& columns = blocks.columns[picture];
        return blocks.at[picture].get() + int64_t{y} * columns.length() + (both.first - columns.first);
    };
    for (int32_t y = 0; y < blocks.rows; ++y)
        round->add(a, b, row_of(a, y), row_of(b, y), both.length());
}

LightSolution _fit(const Blocks& blocks, int32_t count)
{
    constexpr double kFalloffPrior = 3.0;  // against blocks in hundreds
    return fit_light(count, kFalloffPrior, [&](LightRound* round) {
        for (int32_t a = 0; a < count; ++a) {
            for (int32_t b = a + 1; b < count; ++b)
                _add_pair(blocks, a, b, round);
        }
    });
}

// The level that all but a few of a picture's pixels stay below.
int32_t _highlight(const kernels::DrawPlane& small)
{
    constexpr int32_t kFew = 200;  // one pixel in this many
    int32_t counts[256] = {};
    for (int32_t y = 0; y < small.height; y += 2) {
        const uint8_t* luma = small.src + y * small.stride;
        for (int32_t x = 0; x < small.width; ++x)
            ++counts[luma[x]];
    }
    const int32_t all = (small.height + 1) / 2 * small.width;
    int32_t level = 255;
    for (int32_t above = counts[255]; level > 1 && above * kFew <= all; above += counts[level])
        --level;
    return level;
}

// What all gains are multiplied by, so that hardly anything is blown out that was not before.
double _common_gain(const Layers& layers, const double* exposures)
{
    constexpr double kWhite = 250.0, kLeastCommon = 0.7;
    double common = 1.0;
    for (int32_t i = 0; i < layers.count; ++i) {
        const double highlight = _highlight(layers.at[i].small_luma) * exponential(-exposures[i]);
        common = std::min(common, kWhite / highlight);
    }
    return std::max(common, kLeastCommon);
}

}  // namespace

PanoResult even_exposure(const Cancel& cancel, Layers* layers, DrawReport* report)
{
    constexpr double kLeastGain = 0.25, kMostGain = 3.5;
    Blocks blocks;
    PANO_FORWARD(_measure_blocks(cancel, *layers, &blocks));
    LightSolution solution = _fit(blocks, layers->count);
    double* exposures = solution.exposures;
    double mean = 0.0;
    for (int32_t i = 0; i < layers->count; ++i)
        mean += exposures[i] / layers->count;
    for (int32_t i = 0; i < layers->count; ++i)
        exposures[i] -= mean;
    const double common = _common_gain(*layers, exposures);
    for (int32_t i = 0; i < layers->count; ++i) {
        const double gain = std::min(std::max(common * exponential(-exposures[i]), kLeastGain), kMostGain);
        layers->at[i].view.set_gain(gain, solution.falloff);
        report->gain[layers->at[i].index] = static_cast<float>(gain);
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
