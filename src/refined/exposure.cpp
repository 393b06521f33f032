// The logarithm of a block's mean is that of the scene, plus what the picture's exposure adds, less
// what the lens takes away. Where two pictures show the same block, the scene drops out: one linear
// equation for the exposures of both and the two terms of the falloff, which all pictures share.
// Blocks that differ for other reasons, such as people who walk, count little.
#include "refined/exposure.h"

#include <algorithm>

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kBlock = 8;  // points of the lattice
constexpr int32_t kTerms = 2;  // of the falloff
constexpr int32_t kUnknowns = kMaxPictures + kTerms;
constexpr int32_t kDarkest = 8;      // levels; below, a ratio is mostly noise
constexpr int32_t kBrightest = 248;  // levels; above, a pixel may be clipped
constexpr int32_t kLightBits = 4;    // of a level, where light is read between pixels

// What a picture has in one block.
struct Block {
    float light;   // logarithm of the mean; 0 where the block does not count
    float spread;  // square of the distance from the middle, 1 at the corners
};

struct Blocks {
    Buffer<Block> at[kMaxPictures];
    int32_t first[kMaxPictures], columns[kMaxPictures];
    int32_t rows;
};

// Normal equations, of which the lower triangle is kept.
struct Equations {
    double matrix[kUnknowns][kUnknowns];
    double right[kUnknowns];
};

// By Cholesky's method; priors keep the matrix far from singular.
void _solve(Equations* e, int32_t count)
{
    for (int32_t j = 0; j < count; ++j) {
        for (int32_t i = j; i < count; ++i) {
            double sum = e->matrix[i][j];
            for (int32_t k = 0; k < j; ++k)
                sum -= e->matrix[i][k] * e->matrix[j][k];
            e->matrix[i][j] = i == j ? __builtin_sqrt(sum) : sum / e->matrix[j][j];
        }
    }
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t k = 0; k < i; ++k)
            e->right[i] -= e->matrix[i][k] * e->right[k];
        e->right[i] /= e->matrix[i][i];
    }
    for (int32_t i = count - 1; i >= 0; --i) {
        for (int32_t k = i + 1; k < count; ++k)
            e->right[i] -= e->matrix[k][i] * e->right[k];
        e->right[i] /= e->matrix[i][i];
    }
}

// Where the corners of a block lie in the picture.
struct Corners {
    NodePlace left_top, right_top, left_bottom, right_bottom;
};

bool _is_inside(const NodePlace& place, const PanoImg& picture)
{
    constexpr int32_t kMargin = 2;  // pixels at a picture's edge that are not drawn
    return place.x >= kMargin << kNodePlaceBits && place.y >= kMargin << kNodePlaceBits &&
           place.x <= (picture.width - 1 - kMargin) << kNodePlaceBits &&
           place.y <= (picture.height - 1 - kMargin) << kNodePlaceBits;
}

// `part` of 16 of the way.
int32_t _between(int32_t from, int32_t to, int32_t part)
{
    return from + ((to - from) * part >> 4);
}

// A level of the pyramid at a place of the picture, between four pixels; 0 where one is too dark
// or too bright.
int32_t _light(const ConstPlane& plane, int32_t level, const NodePlace& place)
{
    constexpr int32_t kHalf = 1 << (kNodePlaceBits - 1), kBits = 6, kOne = 1 << kBits;
    constexpr int32_t kDropped = kNodePlaceBits - kBits;
    const int32_t x = std::min(std::max(((place.x + kHalf) >> level) - kHalf, 0) >> kDropped,
                               ((plane.width - 1) << kBits) - 1);
    const int32_t y = std::min(std::max(((place.y + kHalf) >> level) - kHalf, 0) >> kDropped,
                               ((plane.height - 1) << kBits) - 1);
    const uint8_t *top = plane.row(y >> kBits) + (x >> kBits), *bottom = top + plane.stride;
    const int32_t darkest = std::min(std::min(top[0], top[1]), std::min(bottom[0], bottom[1]));
    const int32_t brightest = std::max(std::max(top[0], top[1]), std::max(bottom[0], bottom[1]));
    if (darkest < kDarkest || brightest > kBrightest)
        return 0;
    const int32_t across = x & (kOne - 1), down = y & (kOne - 1);
    const int32_t upper = top[0] * (kOne - across) + top[1] * across;
    const int32_t lower = bottom[0] * (kOne - across) + bottom[1] * across;
    return (upper * (kOne - down) + lower * down) >> (2 * kBits - kLightBits);
}

// The mean of 4 x 4 places of a level whose pixels are a quarter of a block; 0 where one is too
// dark or too bright.
double _mean(const ConstPlane& plane, int32_t level, const Corners& corners)
{
    constexpr int32_t kSide = 4;
    int32_t sum = 0;
    for (int32_t j = 0; j < kSide; ++j) {
        const int32_t down = 1 + 4 * j;
        const NodePlace left = {_between(corners.left_top.x, corners.left_bottom.x, down),
                                _between(corners.left_top.y, corners.left_bottom.y, down)};
        const NodePlace right = {_between(corners.right_top.x, corners.right_bottom.x, down),
                                 _between(corners.right_top.y, corners.right_bottom.y, down)};
        for (int32_t i = 0; i < kSide; ++i) {
            const int32_t across = 1 + 4 * i;
            const int32_t light =
                _light(plane, level, {_between(left.x, right.x, across), _between(left.y, right.y, across)});
            if (light == 0)
                return 0.0;
            sum += light;
        }
    }
    return sum / static_cast<double>(kSide * kSide << kLightBits);
}

Block _measure_block(const Layer& layer, const Corners& corners)
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
    const NodePlace middle = {_between(corners.left_top.x, corners.right_bottom.x, 8),
                              _between(corners.left_top.y, corners.right_bottom.y, 8)};
    constexpr double kLost = 0.375;  // levels that a halving loses on average, as it truncates
    return {static_cast<float>(logarithm(mean + kLost * level)),
            static_cast<float>(layer.view.spread(middle))};
}

// A row of blocks from the corners above and below them.
void _measure_row(const Layer& layer, const NodePlace* above, const NodePlace* below, int32_t columns,
                  Block* blocks)
{
    for (int32_t x = 0; x < columns; ++x)
        blocks[x] = _measure_block(layer, {above[x], above[x + 1], below[x], below[x + 1]});
}

// `headings` are those of the frame's corners.
PanoResult _measure_layer(const Cancel& cancel, const Layers& layers, int32_t i, const Heading* headings,
                          Blocks* blocks)
{
    const Layer& layer = layers.at[i];
    const Frame& frame = layers.frame;
    const int32_t columns = layer.columns / kBlock, corners = columns + 1;
    blocks->first[i] = layer.first / kBlock;
    blocks->columns[i] = columns;
    blocks->at[i] = make_unfilled_buffer<Block>(int64_t{columns} * blocks->rows);
    const Buffer<NodePlace> places = make_unfilled_buffer<NodePlace>(2 * int64_t{corners});
    if (!blocks->at[i] || !places)
        return kPanoNoMemory;
    for (int32_t y = 0; y <= blocks->rows; ++y) {
        if (cancel.asked())
            return kPanoCancelled;
        NodePlace* row = places.get() + y % 2 * ptrdiff_t{corners};
        const double height = (frame.first_row + y * kBlock) * (1 << frame.step_bits) / frame.radius;
        int16_t gain;
        for (int32_t x = 0; x < corners; ++x)
            row[x] = layer.view.place(headings[blocks->first[i] + x], height, &gain);
        if (y > 0)
            _measure_row(layer, places.get() + (y - 1) % 2 * ptrdiff_t{corners}, row, columns,
                         blocks->at[i].get() + int64_t{y - 1} * columns);
    }
    return kPanoSuccess;
}

PanoResult _measure_blocks(const Cancel& cancel, const Layers& layers, Blocks* blocks)
{
    const Frame& frame = layers.frame;
    const double step = 1 << frame.step_bits;
    const Buffer<Heading> headings =
        make_headings(frame.radius, frame.first_column * step, kBlock * step, frame.columns / kBlock + 1);
    if (!headings)
        return kPanoNoMemory;
    blocks->rows = frame.rows / kBlock;
    for (int32_t i = 0; i < layers.count; ++i)
        PANO_FORWARD(_measure_layer(cancel, layers, i, headings.get(), blocks));
    return kPanoSuccess;
}

// One round of the fit: errors are weighed by how far they are beyond `scale` with the solution so
// far, whose terms of the falloff follow the exposures.
struct Round {
    const double* solution;
    int32_t falloff;
    double scale;
};

// The unknowns of two pictures' blocks: their exposures and the terms of the falloff. While blocks
// are added their equations are at hand, going on from what other pairs left.
constexpr int32_t kPairUnknowns = 2 + kTerms;

class PairEquations
{
public:
    PairEquations(Equations* all, int32_t a, int32_t b, int32_t falloff)
        : all_(all), places_{a, b, falloff, falloff + 1}
    {
        for (int32_t i = 0; i < kPairUnknowns; ++i) {
            for (int32_t j = 0; j <= i; ++j)
                matrix_[i][j] = all_->matrix[places_[i]][places_[j]];
            right_[i] = all_->right[places_[i]];
        }
    }
    void put_back() const
    {
        for (int32_t i = 0; i < kPairUnknowns; ++i) {
            for (int32_t j = 0; j <= i; ++j)
                all_->matrix[places_[i]][places_[j]] = matrix_[i][j];
            all_->right[places_[i]] = right_[i];
        }
    }
    // The whole square, which is quicker than its lower half.
    void add(const double factors[kPairUnknowns], double value, double weight)
    {
        for (int32_t i = 0; i < kPairUnknowns; ++i) {
            const double weighted = weight * factors[i];
            for (int32_t j = 0; j < kPairUnknowns; ++j)
                matrix_[i][j] += weighted * factors[j];
            right_[i] += weighted * value;
        }
    }

private:
    Equations* all_;
    int32_t places_[kPairUnknowns];
    double matrix_[kPairUnknowns][kPairUnknowns] = {};
    double right_[kPairUnknowns];
};

// The equations of two pictures.
void _add_pair(const Blocks& blocks, int32_t a, int32_t b, const Round& round, Equations* equations)
{
    const int32_t from = std::max(blocks.first[a], blocks.first[b]);
    const int32_t to = std::min(blocks.first[a] + blocks.columns[a], blocks.first[b] + blocks.columns[b]);
    const double *exposures = round.solution, *terms = round.solution + round.falloff;
    PairEquations pair(equations, a, b, round.falloff);
    for (int32_t y = 0; y < blocks.rows; ++y) {
        const Block* in_a = blocks.at[a].get() + int64_t{y} * blocks.columns[a] - blocks.first[a];
        const Block* in_b = blocks.at[b].get() + int64_t{y} * blocks.columns[b] - blocks.first[b];
        for (int32_t x = from; x < to; ++x) {
            if (in_a[x].light == 0.0F || in_b[x].light == 0.0F)
                continue;
            const double p = static_cast<double>(in_a[x].spread), q = static_cast<double>(in_b[x].spread);
            const double factors[] = {1.0, -1.0, q - p, q * q - p * p};
            const double value = static_cast<double>(in_a[x].light) - static_cast<double>(in_b[x].light);
            const double error =
                value - exposures[a] + exposures[b] - factors[2] * terms[0] - factors[3] * terms[1];
            const double far = error / round.scale, near = 1.0 / (1.0 + far * far);
            pair.add(factors, value, near * near);
        }
    }
    pair.put_back();
}

// The exposures of the pictures, as logarithms, then the two terms of the falloff.
void _fit(const Blocks& blocks, int32_t count, double* solution)
{
    // Weights of one block at an error of 1: exposures are near each other, a lens loses little.
    // They hold back what no block tells, and are outvoted by a dozen blocks.
    constexpr double kExposurePrior = 0.1, kFalloffPrior = 3.0;
    constexpr double kScales[] = {1.0, 0.5, 0.25, 0.12, 0.06, 0.06};  // logarithms
    const int32_t unknowns = count + kTerms;
    std::fill_n(solution, unknowns, 0.0);
    for (double scale : kScales) {
        Equations equations = {};
        for (int32_t i = 0; i < unknowns; ++i)
            equations.matrix[i][i] = i < count ? kExposurePrior : kFalloffPrior;
        for (int32_t a = 0; a < count; ++a) {
            for (int32_t b = a + 1; b < count; ++b)
                _add_pair(blocks, a, b, {solution, count, scale}, &equations);
        }
        _solve(&equations, unknowns);
        std::copy_n(equations.right, unknowns, solution);
    }
}

// The level that all but a few of a picture's pixels stay below.
int32_t _highlight(const kernels::DrawPlane& small)
{
    constexpr int32_t kFew = 200;  // one in so many
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
    double solution[kUnknowns];
    _fit(blocks, layers->count, solution);
    double mean = 0.0;
    for (int32_t i = 0; i < layers->count; ++i)
        mean += solution[i] / layers->count;
    for (int32_t i = 0; i < layers->count; ++i)
        solution[i] -= mean;
    const double common = _common_gain(*layers, solution);
    const Falloff falloff = {solution[layers->count], solution[layers->count + 1]};
    for (int32_t i = 0; i < layers->count; ++i) {
        const double gain = std::min(std::max(common * exponential(-solution[i]), kLeastGain), kMostGain);
        layers->at[i].view.set_gain(gain, falloff);
        report->gain[layers->at[i].index] = static_cast<float>(gain);
    }
    return kPanoSuccess;
}

}  // namespace ozr::refined
