// A seam is the cheapest path through costs of all points that it may run through: how far apart
// the two pictures are there, and a little for being off the middle between them.
#include "refined/seams.h"

#include <stdlib.h>

#include <algorithm>

#include "core/seam_paths.h"
#include "refined/interval.h"

namespace ozr::refined
{

namespace
{

constexpr uint8_t kForbidden = 255;

// A difference as noise and rounding make it costs nothing, one as people make it costs all:
// differences are squared. 55 levels and more reach the limit. Where no seam should be it costs
// more still, and more and more off the middle.
constexpr int32_t kSquareBits = 4;
constexpr int32_t kDearest = 191;

// What both pictures show of a row, from a column of the lattice on.
struct BothRows {
    const uint8_t *luma_a, *luma_b, *chroma_a, *chroma_b, *shown_a, *shown_b;
};

BothRows _both_rows(const Layer& a, const Layer& b, int32_t row)
{
    return {a.luma_row(row) - a.first,       b.luma_row(row) - b.first,  a.chroma_row(row / 2) - a.first,
            b.chroma_row(row / 2) - b.first, a.shown_row(row) - a.first, b.shown_row(row) - b.first};
}

// Two neighbours, and where a seam may run between them: a point counts where both show something
// `reach` points to either side.
struct Overlap {
    const Layer& a;
    const Layer& b;
    Interval region;  // columns of the lattice
    int32_t reach;
};

// How far the chroma of both pictures is apart at each point of a row: from an even column on.
void _off_colour(uint16_t* off, const uint8_t* a, const uint8_t* b, int32_t columns)
{
    for (int32_t x = 0; x < columns; x += 2)
        off[x] = off[x + 1] = static_cast<uint16_t>(abs(a[x] - b[x]) + abs(a[x + 1] - b[x + 1]));
}

// Beyond kMostOff a squared difference exceeds the limit, below it fits 16 bits.
uint8_t _cost(int32_t off_luma, uint16_t off_colour)
{
    constexpr uint16_t kMostOff = 60;
    const uint16_t off = std::min(kMostOff, static_cast<uint16_t>(off_luma + off_colour));
    const uint16_t square = static_cast<uint16_t>(off * off);
    return static_cast<uint8_t>(std::min<uint16_t>(kDearest, square >> kSquareBits));
}

// What a seam through each point of a row costs. `off` has room for a row, an even number
// of points.
void _cost_row(uint8_t* __restrict costs, uint8_t* __restrict forbidden, const Overlap& overlap, int32_t row,
               uint16_t* __restrict off)
{
    const Layer &a = overlap.a, &b = overlap.b;
    const Interval region = overlap.region;
    const int32_t reach = overlap.reach;
    std::fill_n(costs, region.length(), uint8_t{0});
    std::fill_n(forbidden, region.length(), kForbidden);
    const int32_t begin = std::max(region.first, std::max(a.first, b.first) + reach);
    const int32_t end = std::min(region.end, std::min(a.end(), b.end()) - reach);
    if (begin >= end)
        return;
    const BothRows both = _both_rows(a, b, row);
    const int32_t even = begin & ~1, columns = end - begin;
    _off_colour(off, both.chroma_a + even, both.chroma_b + even, end - even);
    off += begin - even;
    costs += begin - region.first;
    forbidden += begin - region.first;
    const uint8_t *luma_a = both.luma_a + begin, *luma_b = both.luma_b + begin;
    const uint8_t *shown_a = both.shown_a + begin, *shown_b = both.shown_b + begin;
    for (int32_t x = 0; x < columns; ++x)
        costs[x] = _cost(abs(luma_a[x] - luma_b[x]), off[x]) & shown_a[x] & shown_b[x];
    for (int32_t x = 0; x < columns; ++x)
        forbidden[x] = static_cast<uint8_t>(
            ~(shown_a[x - reach] & shown_a[x + reach] & shown_b[x - reach] & shown_b[x + reach]));
}

// What places cost for being off the middle between the two pictures, which decides where nothing
// else does: where a seam may be, and where it should not.
struct Pulls {
    Buffer<uint8_t> allowed;
    Buffer<uint8_t> forbidden;
};

void _make_pulls(const Pulls& pulls, int32_t width)
{
    constexpr int32_t kPull = 6, kForbiddenPull = 63, kPullBits = 16;  // at the ends
    const int64_t one = (int64_t{1} << kPullBits) / (int64_t{width} * width);
    for (int32_t x = 0; x < width; ++x) {
        const int64_t off = 2 * x + 1 - width, share = off * off * one;
        pulls.allowed.get()[x] = static_cast<uint8_t>(share * kPull >> kPullBits);
        pulls.forbidden.get()[x] = static_cast<uint8_t>(kDearest + 1 + (share * kForbiddenPull >> kPullBits));
    }
}

// Sums of three costs above each other, the ends once more before and behind them.
void _add_columns(uint16_t* __restrict sums, const uint8_t* const rows[3], int32_t width)
{
    const uint8_t *above = rows[0], *row = rows[1], *below = rows[2];
    for (int32_t x = 0; x < width; ++x)
        sums[x + 1] = static_cast<uint16_t>(above[x] + row[x] + below[x]);
    sums[0] = sums[1];
    sums[width + 1] = sums[width];
}

// The mean of 3 x 3 costs and the pull. A ninth is 7282 / 2^16: exact for sums of up to 9 * 255.
void _spread_row(uint8_t* __restrict dst, const uint16_t* __restrict sums,
                 const uint8_t* __restrict forbidden, const Pulls& pulls, int32_t width)
{
    const uint8_t *allowed = pulls.allowed.get(), *dear = pulls.forbidden.get();
    for (int32_t x = 0; x < width; ++x) {
        const uint16_t nine = static_cast<uint16_t>(sums[x] + sums[x + 1] + sums[x + 2]);
        const uint16_t mean = static_cast<uint16_t>(nine * 7282U >> 16);
        const uint16_t cost = std::min<uint16_t>(kDearest, static_cast<uint16_t>(mean + allowed[x]));
        dst[x] = static_cast<uint8_t>((cost & ~forbidden[x]) | (dear[x] & forbidden[x]));
    }
}

// Buffers of one seam.
struct Work {
    Buffer<uint8_t> costs, forbidden, spread, zeros;
    Buffer<uint16_t> sums;  // of a row, with room on both sides
    Pulls pulls;
    core::SeamWorkspace paths;
};

PanoResult _make_work(int32_t width, int32_t rows, Work* work)
{
    const int64_t points = int64_t{width} * rows;
    work->costs = make_unfilled_buffer<uint8_t>(points);
    work->forbidden = make_unfilled_buffer<uint8_t>(points);
    work->spread = make_unfilled_buffer<uint8_t>(width);
    work->zeros = make_buffer<uint8_t>(width);
    work->sums = make_unfilled_buffer<uint16_t>(int64_t{width} + 3);
    work->pulls.allowed = make_unfilled_buffer<uint8_t>(width);
    work->pulls.forbidden = make_unfilled_buffer<uint8_t>(width);
    work->paths = core::make_seam_workspace(core::seam_workspace_size(width, rows));
    return work->costs && work->forbidden && work->spread && work->zeros && work->sums &&
                   work->pulls.allowed && work->pulls.forbidden && work->paths
               ? kPanoSuccess
               : kPanoNoMemory;
}

// Where a seam may run: between the middles of its pictures and half as far again beyond both.
Interval _region(const Layers& layers, int32_t seam)
{
    const Layer &a = layers.at[seam], &b = layers.at[seam + 1];
    const int32_t beyond = (b.middle - a.middle) / 2;
    const int32_t first = std::max(a.middle - beyond, 0);
    return {first, std::max(std::min(b.middle + beyond + 1, layers.frame.columns), first + 2)};
}

// What the rows of an overlap cost, and where no seam may be. `before` is the seam to the left, or
// null: no seam crosses it.
PanoResult _cost_rows(const Cancel& cancel, const Overlap& overlap, int32_t rows, const int32_t* before,
                      const Work& work)
{
    const int32_t width = overlap.region.length();
    for (int32_t y = 0; y < rows; ++y) {
        uint8_t* forbidden = work.forbidden.get() + int64_t{y} * width;
        _cost_row(work.costs.get() + int64_t{y} * width, forbidden, overlap, y, work.sums.get());
        const int32_t crossing = before != nullptr ? before[y] + 2 * overlap.reach - overlap.region.first : 0;
        std::fill_n(forbidden, std::min(std::max(crossing, 0), width), kForbidden);
        if (cancel.asked())
            return kPanoCancelled;
    }
    return kPanoSuccess;
}

// The cheapest path through all rows, in columns from the region's first one.
PanoResult _find_path(const Cancel& cancel, int32_t width, int32_t rows, const Work& work, int32_t* columns)
{
    _make_pulls(work.pulls, width);
    core::SeamPaths paths(work.paths.get(), width);
    for (int32_t y = 0; y < rows; ++y) {
        const auto costs_of = [&](int32_t row) { return work.costs.get() + int64_t{row} * width; };
        const uint8_t* around[] = {costs_of(std::max(y - 1, 0)), costs_of(y),
                                   costs_of(std::min(y + 1, rows - 1))};
        const uint8_t* forbidden = work.forbidden.get() + int64_t{y} * width;
        _add_columns(work.sums.get(), around, width);
        _spread_row(work.spread.get(), work.sums.get(), forbidden, work.pulls, width);
        paths.add_row(work.spread.get(), work.zeros.get(), work.zeros.get());
        if (cancel.asked())
            return kPanoCancelled;
    }
    paths.trace(columns);
    return kPanoSuccess;
}

PanoResult _find_seam(const Cancel& cancel, const Layers& layers, int32_t seam, const int32_t* before,
                      int32_t* columns)
{
    const int32_t rows = layers.frame.rows;
    const Interval region = _region(layers, seam);
    const Overlap overlap = {layers.at[seam], layers.at[seam + 1], region, feather_reach(layers.frame)};
    Work work;
    PANO_FORWARD(_make_work(region.length(), rows, &work));
    PANO_FORWARD(_cost_rows(cancel, overlap, rows, before, work));
    PANO_FORWARD(_find_path(cancel, region.length(), rows, work, columns));
    for (int32_t y = 0; y < rows; ++y)
        columns[y] = std::max(columns[y] + region.first, before != nullptr ? before[y] : 0);
    return kPanoSuccess;
}

}  // namespace

int32_t feather_width(const Frame& frame)
{
    // As wide as the finest waves that the slow correction cannot carry.
    return 3 << frame.step_bits;
}

int32_t feather_reach(const Frame& frame)
{
    return (feather_width(frame) / 2 >> frame.step_bits) + 1;
}

PanoResult find_seams(const Cancel& cancel, const Layers& layers, Seams* seams)
{
    seams->rows = layers.frame.rows;
    seams->count = layers.count;
    seams->columns = make_unfilled_buffer<int32_t>(int64_t{layers.count} * seams->rows);
    if (!seams->columns)
        return kPanoNoMemory;
    int32_t *columns = seams->columns.get(), *before = nullptr;
    for (int32_t i = 0; i + 1 < layers.count; ++i, before = columns, columns += seams->rows)
        PANO_FORWARD(_find_seam(cancel, layers, i, before, columns));
    return kPanoSuccess;
}

}  // namespace ozr::refined
