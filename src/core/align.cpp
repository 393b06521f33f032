// Intake of pictures: projection, pyramid with integral images, and alignment with the picture
// before, from coarse to fine by fixed-point normalised cross-correlation.
#include <algorithm>
#include <cstdlib>

#include "core/panorama_core.h"
#include "image/pano_result.h"
#include "kernels/kernels.h"
#include "support/buffer.h"

using namespace ozr;
using namespace ozr::core;

namespace
{

constexpr int32_t kLowestScore = -kScoreOne;  // r = -1

// An integral image: entry (x, y) is the sum of all pixels up to and including column x and row y.
PanoResult _panoMakeIntegralImg(const PanoImg* img, uint32_t** out)
{
    auto sums = make_unfilled_buffer<uint32_t>(int64_t{img->width} * img->height);
    *out = sums.get();
    if (!sums)
        return kPanoNoMemory;
    const kernels::Kernels* kernels = kernels::active();
    const uint32_t* above = nullptr;
    uint32_t* row = sums.release();
    for (int32_t y = 0; y < img->height; ++y) {
        kernels->align.integral_row(row, above, pano_row(img, y), img->width);
        above = row;
        row += img->width;
    }
    return kPanoSuccess;
}

// One level of a picture's pyramid.
struct Level {
    const PanoImg* img;
    const uint32_t* integral;
};

// Two pictures to be compared at one level.
struct LevelPair {
    Level first;
    Level second;
    int32_t margin;  // columns left out at both sides of each picture
    int32_t shift;   // of partial correlation sums
};

// Columns and rows of one picture, both ends inclusive.
struct Area {
    int32_t x0;
    int32_t x1;
    int32_t y0;
    int32_t y1;

    int32_t columns() const { return x1 - x0 + 1; }
    int32_t rows() const { return y1 - y0 + 1; }
    Area moved(int32_t dx, int32_t dy) const { return {x0 + dx, x1 + dx, y0 + dy, y1 + dy}; }
};

// Sum of the pixels of an area.
uint32_t _panoGetSum(const Level& level, const Area& area)
{
    const auto at = [&level](int32_t x, int32_t y) {
        return x < 0 || y < 0 ? 0 : level.integral[static_cast<ptrdiff_t>(y) * level.img->width + x];
    };
    return at(area.x1, area.y1) - at(area.x0 - 1, area.y1) - at(area.x1, area.y0 - 1) +
           at(area.x0 - 1, area.y0 - 1);
}

// Where the two overlap, in the first one, when the second one's origin is at (dx, dy)
// of the first.
Area _overlap(const LevelPair& pair, int32_t dx, int32_t dy)
{
    const PanoImg* img0 = pair.first.img;
    const PanoImg* img1 = pair.second.img;
    const int32_t margin = pair.margin;
    return {std::max(dx + margin, margin), std::min(img0->width - 1 - margin, img1->width - 1 - margin + dx),
            std::max(dy, 0), std::min(img0->height - 1, dy + img1->height - 1)};
}

int32_t _rounded_mean(uint32_t sum, uint32_t count)
{
    return static_cast<int32_t>((sum + (count >> 1)) / count);
}

// sign(r) * r^2 in Q3.28 from the three sums, whose lowest 10 bits are dropped once more
// before the divisions.
int32_t _score(const kernels::CorrelationSums& sums)
{
    const int32_t a = sums.aa >> 10;
    const int32_t b = sums.bb >> 10;
    if (a == 0 || b == 0)
        return 0;
    const int64_t c = static_cast<int32_t>(static_cast<uint32_t>(sums.ab) << 4);
    const uint32_t r2 = static_cast<uint32_t>(c / a) * static_cast<uint32_t>(c / b);
    return static_cast<int32_t>(sums.ab < 0 ? 0U - r2 : r2);
}

// Score of the second picture with its origin at (dx, dy) of the first. Flat or empty
// overlaps score 0.
int32_t normalized_cross_correlation_fixed(const LevelPair& pair, int32_t dx, int32_t dy)
{
    const PanoImg* img0 = pair.first.img;
    const PanoImg* img1 = pair.second.img;
    if (std::abs(dx) > img0->width - 1 - pair.margin || std::abs(dy) >= img0->height)
        return 0;
    const Area o = _overlap(pair, dx, dy);
    if (o.columns() < 1 || o.rows() < 1)
        return 0;
    const uint32_t count = static_cast<uint32_t>(o.columns()) * static_cast<uint32_t>(o.rows());
    const uint32_t sum0 = _panoGetSum(pair.first, o);
    const uint32_t sum1 = _panoGetSum(pair.second, o.moved(-dx, -dy));
    const kernels::AreaPair areas = {pano_row(img1, o.y0 - dy) + (o.x0 - dx),
                                     img1->stride,
                                     _rounded_mean(sum1, count),
                                     pano_row(img0, o.y0) + o.x0,
                                     img0->stride,
                                     _rounded_mean(sum0, count),
                                     o.columns(),
                                     o.rows()};
    return _score(kernels::active()->align.correlate_areas(areas, pair.shift));
}

// Level 0 is the projected picture at the work size, every further level half the size of
// the one before.
PanoResult _fill_level(const PanoramaCore* pi, const PanoImg* projected, AlignItem* item, int32_t level)
{
    PanoImg* img = &item->pyramid[level];
    if (level == 0) {
        PANO_FORWARD(pano_create_unfilled(img, pi->pyramid.work_width, pi->pyramid.work_height, kPanoGray));
        PANO_FORWARD(PanoImg_ResizeGray(img, projected));
    } else {
        const PanoImg* finer = &item->pyramid[level - 1];
        PANO_FORWARD(pano_create_unfilled(img, finer->width >> 1, finer->height >> 1, kPanoGray));
        PANO_FORWARD(PanoImg_ResizeHalfGray(img, finer));
    }
    return _panoMakeIntegralImg(img, &item->integrals[level]);
}

PanoResult _fill_item(const PanoramaCore* pi, const PanoImg* projected, AlignItem* item)
{
    item->pyramid_levels = pi->pyramid.built_levels;
    item->pyramid = make_buffer<PanoImg>(pi->pyramid.built_levels).release();
    item->integrals = make_buffer<uint32_t*>(pi->pyramid.built_levels).release();
    if (item->pyramid == nullptr || item->integrals == nullptr)
        return kPanoNoMemory;
    for (int32_t level = 0; level < item->pyramid_levels; ++level)
        PANO_FORWARD(_fill_level(pi, projected, item, level));
    item->expected = {0, 0};
    return kPanoSuccess;
}

// The two pictures of a pair and where the second is expected in the first. 64 bits: any 32-bit
// position can be mirrored and widened by the search range.
struct Pair {
    const AlignItem* a;
    const AlignItem* b;
    int64_t expected_x;
    int64_t expected_y;
    AlignResult* result;
};

int32_t _low_32_bits(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

// The picture on the left is the reference, so the result is always the position of the right one,
// which notes where it is expected.
Pair _choose_pair(PanoramaCore* pi, int32_t index, int32_t x, int32_t y)
{
    const bool forward = pi->forward == 1;
    AlignItem* left = &pi->align[forward ? index - 1 : index];
    AlignItem* right = &pi->align[forward ? index : index - 1];
    const int64_t expected_x = forward ? int64_t{x} : -int64_t{x};
    const int64_t expected_y = forward ? int64_t{y} : -int64_t{y};
    right->expected = {_low_32_bits(expected_x), _low_32_bits(expected_y)};
    return {left, right, expected_x, expected_y, &pi->offsets[forward ? index : index - 1]};
}

bool _has_integrals(const AlignItem* item)
{
    return item->integrals != nullptr && std::all_of(item->integrals, item->integrals + item->pyramid_levels,
                                                     [](const uint32_t* sums) { return sums != nullptr; });
}

PanoResult _check_pair(const Pair& pair)
{
    if (pair.a->pyramid == nullptr || pair.b->pyramid == nullptr)
        return kPanoNullArgument;
    if (pair.a->pyramid_levels != pair.b->pyramid_levels)
        return kPanoBadArgument;
    return _has_integrals(pair.a) && _has_integrals(pair.b) ? kPanoSuccess : kPanoNullArgument;
}

// Positions to try, ends exclusive, in pixels of one level.
struct SearchArea {
    int64_t x_begin;
    int64_t x_end;
    int64_t y_begin;
    int64_t y_end;
};

SearchArea _coarse_area(const PanoramaCore* pi, const Pair& pair)
{
    const int32_t k = pi->pyramid.levels;
    return {std::max((pi->search.x_min + pair.expected_x) >> k, int64_t{0}),
            (pair.expected_x + pi->search.x_max) >> k, (pi->search.y_min + pair.expected_y) >> k,
            (pair.expected_y + pi->search.y_max) >> k};
}

bool _misses(const SearchArea& area, const PanoImg* img)
{
    return img->width <= area.x_begin || img->height <= area.y_begin || img->width + area.x_end <= 0 ||
           img->height + area.y_end <= 0;
}

// The best candidate so far, across all levels: a finer one replaces the position only by beating
// the best score found at any level.
struct Best {
    int32_t score;
    int32_t x;
    int32_t y;
};

Level _level(const AlignItem* item, int32_t level)
{
    return {&item->pyramid[level], item->integrals[level]};
}

// Column by column; of equal scores the first stays.
void _search(const LevelPair& pair, const SearchArea& area, Best* best)
{
    for (int32_t x = static_cast<int32_t>(area.x_begin); x < area.x_end; ++x) {
        for (int32_t y = static_cast<int32_t>(area.y_begin); y < area.y_end; ++y) {
            const int32_t score = normalized_cross_correlation_fixed(pair, x, y);
            if (score > best->score)
                *best = {score, x, y};
        }
    }
}

// One pixel around a position found at the level above, doubled; never left of column 0.
SearchArea _fine_area(const Best& best)
{
    return {std::max(best.x - 1, 0), best.x + 2, best.y - 1, best.y + 2};
}

void _align(const PanoramaCore* pi, const Pair& pair)
{
    const int32_t top = pair.a->pyramid_levels - 1;
    const SearchArea coarse = _coarse_area(pi, pair);
    if (_misses(coarse, &pair.a->pyramid[top])) {
        const PanoImg* finest = &pair.a->pyramid[0];
        *pair.result = {finest->width << pi->pyramid.half, finest->height << pi->pyramid.half,
                        kNoSearchScore};
        return;
    }
    // Fewer pixels sum up at a coarser level, so less has to be shifted away: two bits a level.
    const int32_t top_shift = pi->pyramid.ncc_shift + 2 * (pi->pyramid.half - pi->pyramid.levels);
    Best best = {kLowestScore, 0, 0};
    const auto at_level = [&](int32_t level) {
        return LevelPair{_level(pair.a, level), _level(pair.b, level),
                         pi->margin >> (level + pi->pyramid.levels - top),
                         std::max(top_shift + 2 * (top - level), 0)};
    };
    _search(at_level(top), coarse, &best);
    for (int32_t level = top - 1; level >= 0; --level) {
        best.x *= 2;
        best.y *= 2;
        _search(at_level(level), _fine_area(best), &best);
    }
    *pair.result = {best.x * (1 << pi->pyramid.half), best.y * (1 << pi->pyramid.half), best.score};
}

// The projection addresses the source by its stride, so another geometry would be read outside its
// buffer; and a geometry that init refused has the projection of an earlier one.
bool _fits_projection(const PanoramaCore* pi, const PanoImg* img)
{
    return is_usable(pi) && img->format == kPanoNv12 && img->width == pi->input.width &&
           img->height == pi->input.height && img->stride == pi->input.stride && img->stride >= img->width &&
           img->data != nullptr;
}

// The refusals of a picture, in order. The first three leave it to its owner, -5 does not.
PanoResult _check_slot(const PanoramaCore* pi, int32_t index)
{
    if (index < 0 || index >= kMaxPictures)
        return kPanoBadArgument;
    if (pi->frames[index].data != nullptr)
        return kPanoNotSupported;
    return pi->initialised == 0 && pi->cancel == 0 ? kPanoCoreNotInitialised : kPanoSuccess;
}

PanoResult _check_picture(const PanoramaCore* pi, const PanoImg* img)
{
    if (pi->cancel != 0)
        return kPanoCancelled;
    const bool lacks_tables = pi->has_tables != 0 && pi->proj.block_offsets == nullptr;
    if (img == nullptr || pi->projection == nullptr || lacks_tables)
        return kPanoNullArgument;
    return _fits_projection(pi, img) ? kPanoSuccess : kPanoBadArgument;
}

// Projects a picture into its slot.
PanoResult _project_input(PanoramaCore* pi, const PanoImg* img, int32_t index)
{
    PANO_FORWARD(_check_picture(pi, img));
    PanoImg* projected = &pi->frames[index];
    PANO_FORWARD(pano_create_unfilled(projected, projected_width(pi), pi->input.height, kPanoNv12));
    project(pi, projected, img);
    return kPanoSuccess;
}

// What follows the projection of picture `index`.
PanoResult _align_input(PanoramaCore* pi, int32_t index, int32_t x, int32_t y)
{
    if (pi->cancel != 0)
        return kPanoCancelled;
    const PanoResult filled = _fill_item(pi, &pi->frames[index], &pi->align[index]);
    if (filled < 0) {
        _panoFreeAlignmentItem(&pi->align[index]);
        return filled;
    }
    pi->added[index] = 1;
    if (index == 0) {
        pi->aligned[0] = 1;
        return kPanoSuccess;
    }
    if (pi->cancel != 0)
        return kPanoCancelled;
    if (pi->added[index - 1] == 0)
        return kPanoPreviousMissing;
    const Pair pair = _choose_pair(pi, index, x, y);
    PANO_FORWARD(_check_pair(pair));
    _align(pi, pair);
    _panoFreeAlignmentItem(&pi->align[index - 1]);
    pi->aligned[index] = 1;
    return kPanoSuccess;
}

}  // namespace

int32_t panorama_core_add_input(PanoramaCore* pi, PanoImg* img, int32_t index, int32_t x, int32_t y)
{
    if (pi == nullptr)
        return kPanoNullArgument;
    PANO_FORWARD(_check_slot(pi, index));
    const PanoResult projected = _project_input(pi, img, index);
    PanoImg_Destroy(img);
    PANO_FORWARD(projected);
    return _align_input(pi, index, x, y);
}

PanoResult ozr::core::add_lent(PanoramaCore* pi, const PanoImg* img, int32_t index, int32_t x, int32_t y)
{
    if (pi == nullptr)
        return kPanoNullArgument;
    PANO_FORWARD(_check_slot(pi, index));
    PANO_FORWARD(_project_input(pi, img, index));
    return _align_input(pi, index, x, y);
}
