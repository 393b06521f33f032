// The logarithm of a block's mean is that of the scene, plus what the picture's exposure adds, less what the lens takes
// away. Where two pictures show the same block, the scene drops out: one linear equation for the exposures of both and
// the two terms of the falloff, which all pictures share. Blocks that differ for other reasons, such as people who walk,
// count little.
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

struct Term {
    int32_t unknown;
    double factor;
};

void _add_equation(Equations* equations, const Term* terms, int32_t count, double value, double weight)
{
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t j = 0; j < count; ++j)
            equations->matrix[terms[i].unknown][terms[j].unknown] +=
                weight * terms[i].factor * terms[j].factor;
        equations->right[terms[i].unknown] += weight * terms[i].factor * value;
    }
}

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

Block _measure_block(const Layer& layer, const Frame& frame, int32_t column, int32_t row)
{
    uint32_t sum = 0;
    for (int32_t y = row; y < row + kBlock; ++y) {
        const uint8_t* luma = layer.luma_row(y) + column - layer.first;
        const uint8_t* shown = layer.shown_row(y) + column - layer.first;
        for (int32_t x = 0; x < kBlock; ++x) {
            if (shown[x] == 0 || luma[x] < kDarkest || luma[x] > kBrightest)
                return {};
            sum += luma[x];
        }
    }
    const double step = 1 << frame.step_bits, middle = (kBlock - 1) / 2.0;
    const double angle = (frame.first_column + column + middle) * step / frame.radius;
    const double height = (frame.first_row + row + middle) * step / frame.radius;
    int16_t gain;
    const NodePlace place = layer.view.place({sine(angle), cosine(angle)}, height, &gain);
    return {static_cast<float>(logarithm(sum / 64.0)), static_cast<float>(layer.view.spread(place))};
}

PanoResult _measure_blocks(const Cancel& cancel, const Layers& layers, Blocks* blocks)
{
    blocks->rows = layers.frame.rows / kBlock;
    for (int32_t i = 0; i < layers.count; ++i) {
        const Layer& layer = layers.at[i];
        blocks->first[i] = layer.first / kBlock;
        blocks->columns[i] = layer.columns / kBlock;
        blocks->at[i] = make_unfilled_buffer<Block>(int64_t{blocks->columns[i]} * blocks->rows);
        if (!blocks->at[i])
            return kPanoNoMemory;
        Block* block = blocks->at[i].get();
        for (int32_t y = 0; y < blocks->rows; ++y) {
            for (int32_t x = 0; x < blocks->columns[i]; ++x)
                *block++ = _measure_block(layer, layers.frame, layer.first + x * kBlock, y * kBlock);
        }
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

// The equations of two pictures, each weighted by how well the solution so far meets it.
void _add_pair(const Blocks& blocks, int32_t a, int32_t b, const double* solution, double scale,
               int32_t falloff, Equations* equations)
{
    const int32_t from = std::max(blocks.first[a], blocks.first[b]);
    const int32_t to = std::min(blocks.first[a] + blocks.columns[a], blocks.first[b] + blocks.columns[b]);
    for (int32_t y = 0; y < blocks.rows; ++y) {
        const Block* in_a = blocks.at[a].get() + int64_t{y} * blocks.columns[a] - blocks.first[a];
        const Block* in_b = blocks.at[b].get() + int64_t{y} * blocks.columns[b] - blocks.first[b];
        for (int32_t x = from; x < to; ++x) {
            if (in_a[x].light == 0.0F || in_b[x].light == 0.0F)
                continue;
            const double p = static_cast<double>(in_a[x].spread), q = static_cast<double>(in_b[x].spread);
            const Term terms[] = {{a, 1.0}, {b, -1.0}, {falloff, q - p}, {falloff + 1, q * q - p * p}};
            const double value = static_cast<double>(in_a[x].light) - static_cast<double>(in_b[x].light);
            double error = value;
            for (const Term& term : terms)
                error -= term.factor * solution[term.unknown];
            const double far = error / scale, near = 1.0 / (1.0 + far * far);
            _add_equation(equations, terms, 4, value, near * near);
        }
    }
}

// The exposures of the pictures, as logarithms, then the two terms of the falloff.
void _fit(const Blocks& blocks, int32_t count, double* solution)
{
    // Weights of one block at an error of 1: exposures are near each other, a lens loses little. They hold back what no
    // block tells, and are outvoted by a dozen blocks.
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
                _add_pair(blocks, a, b, solution, scale, count, &equations);
        }
        _solve(&equations, unknowns);
        std::copy_n(equations.right, unknowns, solution);
    }
}

// The level that all but a few of a picture's pixels stay below.
int32_t _highlight(const Layer& layer, int32_t rows)
{
    constexpr int64_t kFew = 200;  // one in so many
    int64_t counts[256] = {}, all = 0;
    const int64_t points = int64_t{layer.columns} * rows;
    const uint8_t *luma = layer.luma_row(0), *shown = layer.shown_row(0);
    for (int64_t i = 0; i < points; ++i) {
        if (shown[i] != 0) {
            ++counts[luma[i]];
            ++all;
        }
    }
    int32_t level = 255;
    for (int64_t above = counts[255]; level > 1 && above * kFew <= all; above += counts[level])
        --level;
    return level;
}

// What all gains are multiplied by, so that hardly anything is blown out that was not before.
double _common_gain(const Layers& layers, const double* exposures)
{
    constexpr double kWhite = 250.0, kLeastCommon = 0.7;
    double common = 1.0;
    for (int32_t i = 0; i < layers.count; ++i) {
        const double highlight = _highlight(layers.at[i], layers.frame.rows) * exponential(-exposures[i]);
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
