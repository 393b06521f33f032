// The small copies are blended by their Laplacian pyramids, each level with masks as soft as the
// level is coarse. What the blend differs by from a picture's own copy is that picture's
// correction.
#include "refined/bands.h"

#include <algorithm>

#include "refined/band_base.h"
#include "refined/grid.h"
#include "refined/interval.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kMaxBands = 6;       // levels of the pyramids
constexpr int32_t kLeastBandSide = 4;  // of the coarsest level of one picture

struct BandPyramid {
    Grid level[kMaxBands];
};

// What the pictures add up to at one level.
struct BandSums {
    int32_t width, height;
    Buffer<int32_t> sum[kChannels];
    Buffer<int32_t> weight;

    int32_t* sum_row(int32_t channel, int32_t y) const { return sum[channel].get() + int64_t{y} * width; }
    int32_t* weight_row(int32_t y) const { return weight.get() + int64_t{y} * width; }
};

// Everything that the steps share.
struct Blend {
    BandSource source;
    int32_t levels;
    BandSums sums[kMaxBands];
    Buffer<int32_t> line;    // what the steps between levels work in
    Buffer<int32_t> coarse;  // a row of the next coarser level, expanded, in 64ths
};

// So many that the coarsest level of one picture still has a few points each way.
int32_t _count_levels(const Layers& layers)
{
    const kernels::DrawPlane& small = layers.at[0].small_luma;
    const int32_t side = std::min(small.width, small.height) >> kBaseBits;
    int32_t levels = 1;
    while (levels < kMaxBands && side >> levels >= kLeastBandSide)
        ++levels;
    return levels;
}

PanoResult _make_sums(Blend* blend)
{
    const Crop& crop = blend->source.crop;
    int32_t width = ((crop.right - crop.left) >> kBaseBits) + 2;
    int32_t height = ((crop.bottom - crop.top) >> kBaseBits) + 2;
    const int64_t longest = int64_t{width} + 2;  // an end at each side
    blend->line = make_unfilled_buffer<int32_t>(longest);
    blend->coarse = make_unfilled_buffer<int32_t>(longest);
    if (!blend->line || !blend->coarse)
        return kPanoNoMemory;
    for (int32_t l = 0; l < blend->levels; ++l) {
        BandSums& sums = blend->sums[l];
        const int64_t points = int64_t{width} * height;
        sums.width = width;
        sums.height = height;
        sums.weight = make_buffer<int32_t>(points);
        if (!sums.weight)
            return kPanoNoMemory;
        for (Buffer<int32_t>& sum : sums.sum) {
            sum = make_buffer<int32_t>(points);
            if (!sum)
                return kPanoNoMemory;
        }
        width = (width + 1) / 2;
        height = (height + 1) / 2;
    }
    return kPanoSuccess;
}

// Begins where points of all levels do.
BandPart _part(const Blend& blend, int32_t picture)
{
    const Layer& layer = blend.source.layers.at[picture];
    const int32_t from_crop = layer.first - blend.source.crop.left, width = blend.sums[0].width;
    const int32_t unit = 1 << (blend.levels - 1);
    const int32_t left = std::max(from_crop, 0) >> kBaseBits;
    const int32_t right = (from_crop + layer.columns) >> kBaseBits;
    const int32_t first = std::min(left, width - 1) / unit * unit;
    return {picture, {first, std::max(std::min(right + 1, width), first + 1)}};
}

PanoResult _make_base(const Blend& blend, const BandPart& part, BandPyramid* pyramid)
{
    return make_grid(part.columns.length(), blend.sums[0].height, &pyramid->level[0]) ? kPanoSuccess
                                                                                      : kPanoNoMemory;
}

// Levels above 0; level 0 is there.
PanoResult _build(const Blend& blend, BandPyramid* pyramid)
{
    for (int32_t l = 1; l < blend.levels; ++l) {
        const Grid& finer = pyramid->level[l - 1];
        if (!make_grid((finer.width + 1) / 2, (finer.height + 1) / 2, &pyramid->level[l]))
            return kPanoNoMemory;
        reduce(finer, pyramid->level[l], blend.line.get());
    }
    return kPanoSuccess;
}

// Where a row of weights is not all zeros.
Interval _weighted(const int16_t* weights, int32_t width)
{
    Interval part = {0, width};
    while (part.first < width && weights[part.first] == 0)
        ++part.first;
    while (part.end > part.first && weights[part.end - 1] == 0)
        --part.end;
    return part;
}

int32_t _rounded(int32_t in_64ths)
{
    return (in_64ths + 32) >> 6;
}

// One channel of a picture, and its share of the panorama.
struct Contribution {
    const BandPart& part;
    int32_t channel;
    const BandPyramid& values;
    const BandPyramid& mask;
};

// Adds the details of a level, weighted, to what is there: what the coarser level does not have,
// and all of the coarsest level.
void _add_level(const Blend& blend, const Contribution& picture, int32_t l)
{
    const BandSums& sums = blend.sums[l];
    const Grid &values = picture.values.level[l], &weights = picture.mask.level[l];
    const int32_t first = picture.part.columns.first >> l, channel = picture.channel;
    const int32_t width = std::min(values.width, sums.width - first);
    int32_t* coarse = blend.coarse.get();
    for (int32_t y = 0; y < std::min(values.height, sums.height); ++y) {
        const int16_t *value = values.row(y), *own = weights.row(y);
        const Interval stretch = _weighted(own, width);
        if (stretch.is_empty())
            continue;
        if (l + 1 == blend.levels)
            std::fill_n(coarse, width, 0);
        else
            expand_row(picture.values.level[l + 1], y, stretch, blend.line.get(), coarse);
        int32_t* sum = sums.sum_row(channel, y) + first;
        int32_t* weight = sums.weight_row(y) + first;
        for (int32_t x = stretch.first; x < stretch.end; ++x)
            sum[x] += (value[x] - _rounded(coarse[x])) * own[x];
        for (int32_t x = stretch.first; channel == 0 && x < stretch.end; ++x)
            weight[x] += own[x];
    }
}

PanoResult _add_picture(const Blend& blend, int32_t picture, Correction* correction)
{
    const BandPart part = _part(blend, picture);
    BandPyramid mask;
    PANO_FORWARD(_make_base(blend, part, &mask));
    make_mask(blend.source, part, mask.level[0]);
    PANO_FORWARD(_build(blend, &mask));
    correction->first = part.columns.first;
    correction->columns = part.columns.length();
    correction->rows = blend.sums[0].height;
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        BandPyramid values;
        PANO_FORWARD(_make_base(blend, part, &values));
        make_channel(blend.source, part, channel, values.level[0]);
        PANO_FORWARD(_build(blend, &values));
        for (int32_t l = 0; l < blend.levels; ++l)
            _add_level(blend, {part, channel, values, mask}, l);
        correction->shift[channel] = std::move(values.level[0].at);
    }
    return kPanoSuccess;
}

// Far from seams one picture has all the weight, and no division is needed.
int32_t _mean(int32_t sum, int32_t weight)
{
    return weight == kMaskOne ? sum / kMaskOne : sum / std::max(weight, 1);
}

// The blended numbers of level 0, from the coarsest level down.
PanoResult _collapse(const Blend& blend, int32_t channel, Grid* blended)
{
    int32_t* coarse = blend.coarse.get();
    *blended = {};
    for (int32_t l = blend.levels - 1; l >= 0; --l) {
        const BandSums& sums = blend.sums[l];
        Grid grid = {};
        if (!make_grid(sums.width, sums.height, &grid))
            return kPanoNoMemory;
        std::fill_n(coarse, grid.width, 0);
        for (int32_t y = 0; y < grid.height; ++y) {
            if (blended->at)
                expand_row(*blended, y, {0, grid.width}, blend.line.get(), coarse);
            const int32_t *sum = sums.sum_row(channel, y), *weight = sums.weight_row(y);
            int16_t* out = grid.row(y);
            for (int32_t x = 0; x < grid.width; ++x)
                out[x] = static_cast<int16_t>(_rounded(coarse[x]) + _mean(sum[x], weight[x]));
        }
        *blended = std::move(grid);
    }
    return kPanoSuccess;
}

// Shifts instead of a picture's own numbers.
void _subtract(const Grid& blended, int32_t channel, Correction* correction)
{
    int16_t* shift = correction->shift[channel].get();
    for (int32_t y = 0; y < correction->rows; ++y, shift += correction->columns) {
        const int16_t* want = blended.row(y) + correction->first;
        for (int32_t x = 0; x < correction->columns; ++x) {
            const int32_t difference = want[x] - shift[x];
            shift[x] = static_cast<int16_t>(
                std::min(std::max(difference, -kernels::kDrawMaxShift), kernels::kDrawMaxShift));
        }
    }
}

}  // namespace

PanoResult find_corrections(const Cancel& cancel, const Layers& layers, const Seams& seams, const Crop& crop,
                            Corrections* corrections)
{
    Blend blend = {{layers, seams, crop}, _count_levels(layers), {}, {}, {}};
    corrections->step_bits = layers.frame.step_bits + kBaseBits;
    PANO_FORWARD(_make_sums(&blend));
    for (int32_t i = 0; i < layers.count; ++i) {
        PANO_FORWARD(_add_picture(blend, i, &corrections->at[i]));
        if (cancel.asked())
            return kPanoCancelled;
    }
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        Grid blended = {};
        PANO_FORWARD(_collapse(blend, channel, &blended));
        for (int32_t i = 0; i < layers.count; ++i)
            _subtract(blended, channel, &corrections->at[i]);
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
