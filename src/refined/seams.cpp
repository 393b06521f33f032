#include "refined/seams.h"

#include <stdlib.h>

#include <algorithm>

#include "core/seam_paths.h"

namespace ozr::refined
{

namespace
{

constexpr uint8_t kForbidden = 255;
// A difference as noise and rounding make it costs nothing, one as people make it costs all: differences are squared.
// 45 levels and more reach the limit.
constexpr int32_t kSquareBits = 3;
constexpr int32_t kDearest = 254;
constexpr int32_t kSpread = 1;  // points around that a difference counts for too: a feather has some width

struct Region {  // columns [first, end) of the lattice
    int32_t first;
    int32_t end;
    int32_t width() const { return end - first; }
};

int32_t _difference(const Layer& a, const Layer& b, int32_t column, int32_t row)
{
    const int32_t in_a = column - a.first, in_b = column - b.first;
    const int32_t luma = abs(a.luma_row(row)[in_a] - b.luma_row(row)[in_b]);
    const uint8_t* pair_a = a.chroma_row(row / 2) + (in_a & ~1);
    const uint8_t* pair_b = b.chroma_row(row / 2) + (in_b & ~1);
    return luma + abs(pair_a[0] - pair_b[0]) + abs(pair_a[1] - pair_b[1]);
}

// What a seam through each point of a row costs; nothing counts where one of the two shows nothing within `reach` points.
void _cost_row(uint8_t* costs, uint8_t* forbidden, const Layer& a, const Layer& b, const Region& region,
               int32_t row, int32_t reach)
{
    for (int32_t x = 0; x < region.width(); ++x) {
        const int32_t column = region.first + x;
        const bool both = a.shows(column - reach, row) && a.shows(column + reach, row) &&
                          b.shows(column - reach, row) && b.shows(column + reach, row);
        forbidden[x] = both ? 0 : kForbidden;
        const bool comparable = a.shows(column, row) && b.shows(column, row);
        const int32_t difference = comparable ? _difference(a, b, column, row) : 0;
        costs[x] = static_cast<uint8_t>(std::min(kDearest, difference * difference >> kSquareBits));
    }
}

// The mean of 3 x 3 costs, of rows that may be the same.
void _spread_row(uint8_t* dst, const uint8_t* const rows[3], int32_t width)
{
    for (int32_t x = 0; x < width; ++x) {
        int32_t sum = 0;
        for (int32_t dx = -kSpread; dx <= kSpread; ++dx) {
            const int32_t column = std::min(std::max(x + dx, 0), width - 1);
            sum += rows[0][column] + rows[1][column] + rows[2][column];
        }
        dst[x] = static_cast<uint8_t>(sum / 9);
    }
}

// A pull to the middle between the two pictures: it decides where nothing else does.
void _pull_to_middle(uint8_t* costs, int32_t width)
{
    constexpr int32_t kPull = 6;  // at the ends
    for (int32_t x = 0; x < width; ++x) {
        const int64_t off = 2 * x + 1 - width;
        const int32_t pull = static_cast<int32_t>(kPull * off * off / (int64_t{width} * width));
        costs[x] = static_cast<uint8_t>(std::min(kDearest, costs[x] + pull));
    }
}

// Buffers of one seam.
struct Work {
    Buffer<uint8_t> costs, forbidden, spread, zeros;
    core::SeamWorkspace paths;
};

PanoResult _make_work(int32_t width, int32_t rows, Work* work)
{
    const int64_t points = int64_t{width} * rows;
    work->costs = make_unfilled_buffer<uint8_t>(points);
    work->forbidden = make_unfilled_buffer<uint8_t>(points);
    work->spread = make_unfilled_buffer<uint8_t>(width);
    work->zeros = make_buffer<uint8_t>(width);
    work->paths = core::make_seam_workspace(core::seam_workspace_size(width, rows));
    return work->costs && work->forbidden && work->spread && work->zeros && work->paths ? kPanoSuccess
                                                                                        : kPanoNoMemory;
}

PanoResult _find_seam(const Cancel& cancel, const Layers& layers, int32_t seam, int32_t* columns)
{
    const Layer &a = layers.at[seam], &b = layers.at[seam + 1];
    const int32_t rows = layers.frame.rows, last = rows - 1;
    const Region region = {a.middle, std::max(b.middle, a.middle + 1) + 1};
    const int32_t width = region.width();
    Work work;
    PANO_FORWARD(_make_work(width, rows, &work));
    const int32_t reach = (feather_width(layers.frame) / 2 >> layers.frame.step_bits) + 1;
    uint8_t* costs = work.costs.get();
    for (int32_t y = 0; y < rows; ++y) {
        const int64_t at = int64_t{y} * width;
        _cost_row(costs + at, work.forbidden.get() + at, a, b, region, y, reach);
        if (cancel.asked())
            return kPanoCancelled;
    }
    core::SeamPaths paths(work.paths.get(), width);
    for (int32_t y = 0; y < rows; ++y) {
        const uint8_t* around[] = {costs + int64_t{std::max(y - 1, 0)} * width, costs + int64_t{y} * width,
                                   costs + int64_t{std::min(y + 1, last)} * width};
        _spread_row(work.spread.get(), around, width);
        _pull_to_middle(work.spread.get(), width);
        paths.add_row(work.spread.get(), work.zeros.get(), work.forbidden.get() + int64_t{y} * width);
    }
    paths.trace(columns);
    for (int32_t y = 0; y < rows; ++y)
        columns[y] += region.first;
    return kPanoSuccess;
}

}  // namespace

int32_t feather_width(const Frame& frame)
{
    // As wide as the finest waves that the slow correction cannot carry.
    return 3 << frame.step_bits;
}

PanoResult find_seams(const Cancel& cancel, const Layers& layers, Seams* seams)
{
    seams->rows = layers.frame.rows;
    seams->count = layers.count;
    seams->columns = make_unfilled_buffer<int32_t>(int64_t{layers.count} * seams->rows);
    if (!seams->columns)
        return kPanoNoMemory;
    for (int32_t i = 0; i + 1 < layers.count; ++i)
        PANO_FORWARD(_find_seam(cancel, layers, i, seams->columns.get() + int64_t{i} * seams->rows));
    return kPanoSuccess;
}

}  // namespace ozr::refined
