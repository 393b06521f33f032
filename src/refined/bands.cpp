// The small copies are blended by their Laplacian pyramids (Burt and Adelson), each level with
// masks as soft as the level is coarse. What the blend differs by from a picture's own copy is
// that picture's correction.
#include "refined/bands.h"

#include <algorithm>

namespace ozr::refined
{

namespace
{

constexpr int32_t kMaxLevels = 6;
constexpr int32_t kLeastLevelSide = 4;  // of the coarsest level of one picture
constexpr int32_t kBaseBits = 1;        // of level 0 against the lattice: finer is the feather's
constexpr int32_t kMaskOne = 1 << 14;

// Numbers on a lattice. Level 0 has the means of 2 x 2 points, as chroma pairs are; level l has
// every 2^l-th point of level 0, from the same first one.
struct Grid {
    Buffer<int16_t> at;
    int32_t width, height;
    int16_t* row(int32_t y) const { return at.get() + int64_t{y} * width; }
};

bool _make_grid(int32_t width, int32_t height, Grid* grid)
{
    grid->at = make_unfilled_buffer<int16_t>(int64_t{width} * height);
    grid->width = width;
    grid->height = height;
    return grid->at != nullptr;
}

int32_t _limited(int32_t value, int32_t most)
{
    return std::min(std::max(value, 0), most);
}

// Every second point of every second row, from five each way: 1 4 6 4 1. `line` has room for a row
// of the source.
void _reduce(const Grid& src, const Grid& dst, int32_t* line)
{
    for (int32_t y = 0; y < dst.height; ++y) {
        const int16_t* rows[5];
        for (int32_t i = 0; i < 5; ++i)
            rows[i] = src.row(_limited(2 * y + i - 2, src.height - 1));
        for (int32_t x = 0; x < src.width; ++x)
            line[x] = rows[0][x] + rows[4][x] + 4 * (rows[1][x] + rows[3][x]) + 6 * rows[2][x];
        int16_t* out = dst.row(y);
        const auto weighed = [](int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) {
            return static_cast<int16_t>((a + e + 4 * (b + d) + 6 * c + 128) >> 8);
        };
        const auto tap = [&](int32_t x) { return line[_limited(x, src.width - 1)]; };
        const int32_t inner = std::max(1, (src.width - 3) / 2 + 1);  // up to here there are five
        for (int32_t x = 0; x < dst.width; x = x + 1 == 1 && inner > 1 ? inner : x + 1)
            out[x] = weighed(tap(2 * x - 2), tap(2 * x - 1), tap(2 * x), tap(2 * x + 1), tap(2 * x + 2));
        for (int32_t x = 1; x < std::min(inner, dst.width); ++x) {
            const int32_t* at = line + 2 * x;
            out[x] = weighed(at[-2], at[-1], at[0], at[1], at[2]);
        }
    }
}

// Points of a row, [first, end).
struct Stretch {
    int32_t first;
    int32_t end;
};

// A stretch of a row of the finer lattice from the coarser one, in 64ths: between two points 4 4,
// on a point 1 6 1. `line` has room for a row of the coarser one and two points more.
void _expand_row(const Grid& coarse, int32_t y, const Stretch& stretch, int32_t* line, int32_t* out)
{
    const int32_t last = coarse.height - 1, last_x = coarse.width - 1, middle = y / 2;
    const int16_t* here = coarse.row(std::min(middle, last));
    const int16_t* next = coarse.row(std::min(middle + 1, last));
    const int16_t* before = coarse.row(std::max(std::min(middle, last + 1) - 1, 0));
    ++line;
    const int32_t first = std::max(stretch.first / 2 - 1, 0), end = std::min(stretch.end / 2 + 2, last_x + 1);
    if (y % 2 != 0) {
        for (int32_t x = first; x < end; ++x)
            line[x] = 4 * (here[x] + next[x]);
    } else {
        for (int32_t x = first; x < end; ++x)
            line[x] = before[x] + 6 * here[x] + next[x];
    }
    line[-1] = line[0];
    line[coarse.width] = line[last_x];
    const auto even = [&](int32_t at) { return line[at - 1] + 6 * line[at] + line[at + 1]; };
    const auto odd = [&](int32_t at) { return 4 * (line[at] + line[at + 1]); };
    const int32_t first_pair = (stretch.first + 1) / 2, end_pair = std::min(stretch.end / 2, last_x + 1);
    if (stretch.first % 2 != 0)
        out[stretch.first] = odd(std::min(stretch.first / 2, last_x));
    for (int32_t at = first_pair; at < end_pair; ++at) {
        out[2 * at] = even(at);
        out[2 * at + 1] = odd(at);
    }
    for (int32_t x = std::max(2 * end_pair, stretch.first); x < stretch.end; ++x)
        out[x] = x % 2 != 0 ? odd(std::min(x / 2, last_x)) : even(std::min(x / 2, last_x));
}

int32_t _expanded(int32_t in_64ths)
{
    return (in_64ths + 32) >> 6;
}

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
        if (!_make_grid((finer.width + 1) / 2, (finer.height + 1) / 2, &pyramid->level[l]))
            return kPanoNoMemory;
        _reduce(finer, pyramid->level[l], blend.line[0].get());
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
    const int32_t begin = _limited(blend.seams.begin(part.picture, row) - origin, width);
    const int32_t end = is_last ? width : _limited(blend.seams.end(part.picture, row, 0) - origin, width);
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
        const int32_t first = _limited((1 - origin) >> 1, base.width);
        const int32_t end = std::max(std::min(((last - origin) >> 1) + 1, base.width), first);
        std::fill_n(out, first, four_at(_limited(origin, last)));
        for (int32_t x = first; x < end; ++x)
            out[x] = four_at(origin + 2 * x);
        std::fill_n(out + end, base.width - end, four_at(last));
    }
}

// Where a row of weights is not all zeros.
Stretch _weighted(const int16_t* weights, int32_t width)
{
    Stretch part = {0, width};
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
            const Stretch stretch = _weighted(own, width);
            if (stretch.first == stretch.end)
                continue;
            if (coarsest)
                std::fill_n(slow, width, 0);
            else
                _expand_row(picture.level[l + 1], y, stretch, blend.line[0].get(), slow);
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
    if (!_make_grid(part.columns, part.rows, &mask.level[0]))
        return kPanoNoMemory;
    _make_mask(blend, part, mask.level[0]);
    PANO_FORWARD(_build(blend, &mask));
    correction->first = part.first;
    correction->columns = part.columns;
    correction->rows = part.rows;
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        Pyramid values;
        if (!_make_grid(part.columns, part.rows, &values.level[0]))
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
        if (!_make_grid(sums.width[l], sums.height[l], &grid))
            return kPanoNoMemory;
        std::fill_n(slow, grid.width, 0);
        for (int32_t y = 0; y < grid.height; ++y) {
            if (coarse.at)
                _expand_row(coarse, y, {0, grid.width}, blend.line[0].get(), slow);
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

// A point is the mean of 2 x 2 points of the lattice, so it lies half a lattice step in from its
// own step's start.
int32_t _inset(const Corrections& corrections)
{
    return (1 << corrections.step_bits) / 4;
}

// Pixels below the first point of the correction.
int32_t _down(const Corrections& corrections, int32_t row)
{
    return std::max(row - _inset(corrections), 0);
}

// Shifts of a row of the correction at the nodes, times the pixels of a step.
void _shifts_at_nodes(int32_t* dst, const Corrections& corrections, const Correction& correction,
                      const int16_t* shifts, const NodeRange& range)
{
    const int32_t bits = corrections.step_bits, step = 1 << bits;
    const auto at = [&](int32_t column) {
        return int32_t{shifts[_limited(column - correction.first, correction.columns - 1)]};
    };
    int32_t place = range.first * kernels::kDrawBlock - _inset(corrections);
    for (int32_t node = range.first; node < range.end; ++node, place += kernels::kDrawBlock) {
        const int32_t across = place & (step - 1), column = place >> bits;
        dst[node] = at(column) * (step - across) + at(column + 1) * across;
    }
}

// Shifts of a group of nodes, `part` of 2^bits pixels below the row above.
void _mix(int16_t* __restrict dst, const int32_t* __restrict above, const int32_t* __restrict below,
          int32_t part, int32_t bits)
{
    for (int32_t i = 0; i < kNodesAtOnce; ++i) {
        const int32_t whole = static_cast<int32_t>(static_cast<uint32_t>(above[i]) << bits);
        dst[i] = static_cast<int16_t>((whole + (below[i] - above[i]) * part) >> (2 * bits));
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

PanoResult ShiftRows::init(int32_t nodes)
{
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        above_[channel] = make_buffer<int32_t>(whole_groups(nodes));
        below_[channel] = make_buffer<int32_t>(whole_groups(nodes));
        if (!above_[channel] || !below_[channel])
            return kPanoNoMemory;
    }
    return kPanoSuccess;
}

bool ShiftRows::needs(const Corrections& corrections, int32_t row) const
{
    return _down(corrections, row) >> corrections.step_bits != prepared_;
}

// The row below is the one above a step later, as far as it was made.
void ShiftRows::prepare(const Corrections& corrections, int32_t picture, int32_t row, const NodeRange& range)
{
    const Correction& correction = corrections.at[picture];
    const int32_t before = prepared_;
    prepared_ = _down(corrections, row) >> corrections.step_bits;
    const int32_t above = std::min(prepared_, correction.rows - 1);
    const int32_t below = std::min(above + 1, correction.rows - 1);
    const bool is_next = before >= 0 && prepared_ == before + 1;
    const NodeRange made = is_next ? made_ : NodeRange{range.first, range.first};
    made_ = range;
    for (int32_t channel = 0; channel < kChannels; ++channel) {
        const int16_t* shifts = correction.shift[channel].get();
        const int16_t* shifts_above = shifts + int64_t{above} * correction.columns;
        std::swap(above_[channel], below_[channel]);
        _shifts_at_nodes(above_[channel].get(), corrections, correction, shifts_above,
                         {range.first, std::min(made.first, range.end)});
        _shifts_at_nodes(above_[channel].get(), corrections, correction, shifts_above,
                         {std::max(made.end, range.first), range.end});
        _shifts_at_nodes(below_[channel].get(), corrections, correction,
                         shifts + int64_t{below} * correction.columns, range);
    }
}

void ShiftRows::fill(int16_t* dst, const Corrections& corrections, int32_t channel, int32_t row,
                     const NodeRange& range) const
{
    const int32_t bits = corrections.step_bits, part = _down(corrections, row) & ((1 << bits) - 1);
    const int32_t *above = above_[channel].get(), *below = below_[channel].get();
    for (int32_t node = first_of_group(range.first); node < range.end; node += kNodesAtOnce)
        _mix(dst + node, above + node, below + node, part, bits);
}

}  // namespace ozr::refined
