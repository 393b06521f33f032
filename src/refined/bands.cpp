// The small copies are blended by their Laplacian pyramids, each level with masks as soft as the
// level is coarse. What the blend differs by from a picture's own copy is that picture's
// correction.
#include "refined/bands.h"

#include <algorithm>

#include "refined/grid.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kMaxLevels = 6;
constexpr int32_t kLeastLevelSide = 4;  // of the coarsest level of one picture
constexpr int32_t kBaseBits = 1;        // of level 0 against the lattice: finer is the feather's
constexpr int32_t kMaskOne = 1 << 14;

int32_t _expanded(int32_t in_64ths)
{
    return (in_64ths + 32) >> 6;
}

// Level 0 has the means of 2 x 2 points of the copy, as chroma pairs are.
struct Pyramid {
    Grid level[kMaxLevels];
};

// What the pictures add up to.
struct Sums {
    Buffer<int32_t> sum[kChannels][kMaxLevels];
    Buffer<int32_t> weight[kMaxLevels];
    int32_t width[kMaxLevels], height[kMaxLevels];
    int32_t levels;
};

// Everything that the steps share.
struct Blend {
    const Layers& layers;
    const Seams& seams;
    const Crop& crop;
    Sums sums;
    Buffer<int32_t> line[2];
};

PanoResult _make_sums(Blend* blend)
{
    Sums& sums = blend->sums;
    int32_t width = ((blend->crop.right - blend->crop.left) >> kBaseBits) + 2;
    int32_t height = ((blend->crop.bottom - blend->crop.top) >> kBaseBits) + 2;
    for (int32_t l = 0; l < sums.levels; ++l) {
        const int64_t points = int64_t{width} * height;
        sums.width[l] = width;
        sums.height[l] = height;
        sums.weight[l] = make_buffer<int32_t>(points);
        if (!sums.weight[l])
            return kPanoNoMemory;
        for (auto& channel : sums.sum) {
            channel[l] = make_buffer<int32_t>(points);
            if (!channel[l])
                return kPanoNoMemory;
        }
        width = (width + 1) / 2;
        height = (height + 1) / 2;
    }
    const int64_t longest = sums.width[0] + 2;  // an end at each side
    for (Buffer<int32_t>& line : blend->line) {
        line = make_unfilled_buffer<int32_t>(longest);
        if (!line)
            return kPanoNoMemory;
    }
    return kPanoSuccess;
}

// Levels above 0; level 0 is there.
PanoResult _build(const Blend& blend, Pyramid* pyramid)
{
    for (int32_t l = 1; l < blend.sums.levels; ++l) {
        const Grid& finer = pyramid->level[l - 1];
        if (!make_grid((finer.width + 1) / 2, (finer.height + 1) / 2, &pyramid->level[l]))
            return kPanoNoMemory;
        reduce(finer, pyramid->level[l], blend.line[0].get());
    }
    return kPanoSuccess;
}

// Which points of level 0 a picture contributes to.
struct Part {
    int32_t picture;
    int32_t first, columns, rows;
};

Part _part(const Blend& blend, int32_t picture)
{
    const Layer& layer = blend.layers.at[picture];
    const int32_t unit = 1 << (blend.sums.levels - 1);
    const int32_t left = std::max(layer.first - blend.crop.left, 0) >> kBaseBits;
    const int32_t right = (layer.first + layer.columns - blend.crop.left) >> kBaseBits;
    const int32_t first = std::min(left, blend.sums.width[0] - 1) / unit * unit;
    return {picture, first, std::max(std::min(right + 1, blend.sums.width[0]) - first, 1),
            blend.sums.height[0]};
}

// The rows of the frame that a row of level 0 is the mean of; the last one goes on below.
struct FrameRows {
    int32_t upper;
    int32_t lower;
};

FrameRows _frame_rows(const Blend& blend, int32_t y)
{
    const int32_t upper = std::min(blend.crop.top + 2 * y, blend.layers.frame.rows - 2);
    return {upper, upper + 1};
}

// Adds half a picture's share of the points of a row of level 0: the columns of one row of the
// frame that it owns.
void _add_share(int16_t* out, const Blend& blend, const Part& part, int32_t row)
{
    const int32_t origin = blend.crop.left + 2 * part.first, width = 2 * part.columns;
    const bool is_last = part.picture + 1 == blend.layers.count;
    const int32_t begin = limited(blend.seams.begin(part.picture, row) - origin, width);
    const int32_t end = is_last ? width : limited(blend.seams.end(part.picture, row, 0) - origin, width);
    if (begin >= end)
        return;
    constexpr int16_t kHalf = kMaskOne / 2;
    for (int32_t x = begin / 2; x < (end + 1) / 2; ++x)
        out[x] = static_cast<int16_t>(out[x] + kHalf);
    if (begin % 2 != 0)
        out[begin / 2] = static_cast<int16_t>(out[begin / 2] - kHalf / 2);
    if (end % 2 != 0)
        out[end / 2] = static_cast<int16_t>(out[end / 2] - kHalf / 2);
}

void _make_mask(const Blend& blend, const Part& part, const Grid& base)
{
    for (int32_t y = 0; y < base.height; ++y) {
        const FrameRows rows = _frame_rows(blend, y);
        std::fill_n(base.row(y), base.width, int16_t{0});
        _add_share(base.row(y), blend, part, rows.upper);
        _add_share(base.row(y), blend, part, rows.lower);
    }
}

// Beyond its ends a layer goes on as it ends.
void _make_channel(const Blend& blend, const Part& part, int32_t channel, const Grid& base)
{
    const Layer& layer = blend.layers.at[part.picture];
    const int32_t origin = blend.crop.left - layer.first + 2 * part.first, last = layer.columns - 2;
    for (int32_t y = 0; y < base.height; ++y) {
        const FrameRows rows = _frame_rows(blend, y);
        const uint8_t *upper = layer.luma_row(rows.upper), *lower = layer.luma_row(rows.lower);
        const uint8_t* chroma = layer.chroma_row(rows.upper / 2) + channel - 1;
        int16_t* out = base.row(y);
        const auto four_at = [&](int32_t at) {
            const int32_t four =
                channel == 0 ? upper[at] + upper[at + 1] + lower[at] + lower[at + 1] : 4 * chroma[at];
            return static_cast<int16_t>(four << (kernels::kDrawShiftBits - 2));
        };
        const int32_t first = limited((1 - origin) >> 1, base.width);
        const int32_t end = std::max(std::min(((last - origin) >> 1) + 1, base.width), first);
        std::fill_n(out, first, four_at(limited(origin, last)));
        for (int32_t x = first; x < end; ++x)
            out[x] = four_at(origin + 2 * x);
        std::fill_n(out + end, base.width - end, four_at(last));
    }
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

// Adds the details of each level, weighted, to what is there.
void _add(const Blend& blend, const Part& part, const Pyramid& mask, const Pyramid& picture, int32_t channel)
{
    const Sums& sums = blend.sums;
    int32_t* slow = blend.line[1].get();
    for (int32_t l = 0; l < sums.levels; ++l) {
        const Grid &values = picture.level[l], &weights = mask.level[l];
        const bool coarsest = l + 1 == sums.levels;
        const int32_t first = part.first >> l, width = std::min(values.width, sums.width[l] - first);
        for (int32_t y = 0; y < std::min(values.height, sums.height[l]); ++y) {
            const int16_t *value = values.row(y), *own = weights.row(y);
            const Interval stretch = _weighted(own, width);
            if (stretch.is_empty())
                continue;
            if (coarsest)
                std::fill_n(slow, width, 0);
            else
                expand_row(picture.level[l + 1], y, stretch, blend.line[0].get(), slow);
            int32_t* sum = sums.sum[channel][l].get() + int64_t{y} * sums.width[l] + first;
            int32_t* weight = sums.weight[l].get() + int64_t{y} * sums.width[l] + first;
            for (int32_t x = stretch.first; x < stretch.end; ++x)
                sum[x] += (value[x] - _expanded(slow[x])) * own[x];
            for (int32_t x = stretch.first; channel == 0 && x < stretch.end; ++x)
                weight[x] += own[x];
        }
    }
}

PanoResult _add_picture(const Blend& blend, int32_t picture, Correction* correction)
{
    const Part part = _part(blend, picture);
    Pyramid mask;
    if (!make_grid(part.columns, part.rows, &mask.level[0]))
        return kPanoNoMemory;
    _make_mask(blend, part, mask.level[0]);
    PANO_FORWARD(_build(blend, &mask));
    correction->first = part.first;
    correction->columns = part.columns;
    correction->rows = part.rows;
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        Pyramid values;
        if (!make_grid(part.columns, part.rows, &values.level[0]))
            return kPanoNoMemory;
        _make_channel(blend, part, channel, values.level[0]);
        PANO_FORWARD(_build(blend, &values));
        _add(blend, part, mask, values, channel);
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
    const Sums& sums = blend.sums;
    int32_t* slow = blend.line[1].get();
    Grid coarse = {};
    for (int32_t l = sums.levels - 1; l >= 0; --l) {
        Grid grid = {};
        if (!make_grid(sums.width[l], sums.height[l], &grid))
            return kPanoNoMemory;
        std::fill_n(slow, grid.width, 0);
        for (int32_t y = 0; y < grid.height; ++y) {
            if (coarse.at)
                expand_row(coarse, y, {0, grid.width}, blend.line[0].get(), slow);
            const int32_t* sum = sums.sum[channel][l].get() + int64_t{y} * grid.width;
            const int32_t* weight = sums.weight[l].get() + int64_t{y} * grid.width;
            int16_t* out = grid.row(y);
            for (int32_t x = 0; x < grid.width; ++x)
                out[x] = static_cast<int16_t>(_expanded(slow[x]) + _mean(sum[x], weight[x]));
        }
        coarse = std::move(grid);
    }
    *blended = std::move(coarse);
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

// So many that the coarsest level of one picture still has a few points each way.
int32_t _count_levels(const Layers& layers)
{
    const kernels::DrawPlane& small = layers.at[0].small_luma;
    const int32_t side = std::min(small.width, small.height) >> kBaseBits;
    int32_t levels = 1;
    while (levels < kMaxLevels && side >> levels >= kLeastLevelSide)
        ++levels;
    return levels;
}

}  // namespace

PanoResult find_corrections(const Cancel& cancel, const Layers& layers, const Seams& seams, const Crop& crop,
                            Corrections* corrections)
{
    Blend blend = {layers, seams, crop, {}, {}};
    blend.sums.levels = _count_levels(layers);
    corrections->step_bits = layers.frame.step_bits + kBaseBits;
    PANO_FORWARD(_make_sums(&blend));
    for (int32_t i = 0; i < layers.count; ++i) {
        PANO_FORWARD(_add_picture(blend, i, &corrections->at[i]));
        if (cancel.asked())
            return kPanoCancelled;
    }
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        Grid blended;
        PANO_FORWARD(_collapse(blend, channel, &blended));
        for (int32_t i = 0; i < layers.count; ++i)
            _subtract(blended, channel, &corrections->at[i]);
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
