// Levels are made row by row while the picture is copied: each row that completes a pair makes one
// of the next level.
#include "refined/picture.h"

#include <algorithm>

#include "kernels/kernels.h"
#include "refined/quarter_turn.h"

namespace ozr::refined
{

namespace
{

// No level is smaller than this to a side: there is nothing left to compare.
constexpr int32_t kLeastSide = 8;

// The longest side of the small level: finer seams were not seen to be better. And the finest level
// that it may be: nothing finer than 4 pixels hides under a feather.
constexpr int32_t kLongestSmall = 512;
constexpr int32_t kLeastSmall = 2;

int32_t _count_levels(int32_t width, int32_t height)
{
    int32_t count = 1;
    while (count < kMaxLevels && (std::min(width, height) >> count) >= kLeastSide)
        ++count;
    return count;
}

// Describes the levels and allocates them; the first is the picture's own.
PanoResult _lay_out(const PanoImg* kept, Pyramid* pyramid)
{
    pyramid->count = _count_levels(kept->width, kept->height);
    int64_t bytes = 0;
    for (int32_t i = 0; i < pyramid->count; ++i) {
        const int32_t width = kept->width >> i;
        const int32_t height = kept->height >> i;
        pyramid->levels[i] = {nullptr, width, height, width};
        bytes += i > 0 ? int64_t{width} * height : 0;
    }
    pyramid->small =
        std::min(std::max(level_within(*pyramid, kLongestSmall), kLeastSmall), pyramid->count - 1);
    ConstPlane* pairs = &pyramid->small_pairs;
    *pairs = {nullptr, kept->width / 2 >> pyramid->small, kept->height / 2 >> pyramid->small, 0};
    pairs->stride = 2 * pairs->width;
    pyramid->block = make_unfilled_buffer<uint8_t>(bytes + int64_t{pairs->stride} * pairs->height);
    if (!pyramid->block)
        return kPanoNoMemory;
    pyramid->levels[0].data = kept->data;
    pyramid->levels[0].stride = kept->stride;
    pairs->data = pyramid->block.get();
    const uint8_t* data = pairs->row(pairs->height);
    for (int32_t i = 1; i < pyramid->count; ++i) {
        pyramid->levels[i].data = data;
        data = pyramid->levels[i].row(pyramid->levels[i].height);
    }
    return kPanoSuccess;
}

// Fills a pyramid while the rows of its picture are at hand.
class PyramidFiller
{
public:
    PanoResult init(const PanoImg* kept, Pyramid* pyramid)
    {
        kept_ = kept;
        pyramid_ = pyramid;
        PANO_FORWARD(_lay_out(kept, pyramid));
        waiting_ = make_unfilled_buffer<uint8_t>(2 * int64_t{kept->width});
        return waiting_ ? kPanoSuccess : kPanoNoMemory;
    }

    // Row `y` of the picture's luma is there: so are all the rows of coarser levels
    // that it completes.
    void add_luma_row(int32_t y) const
    {
        for (int32_t level = 1; level < pyramid_->count && y % 2 != 0; ++level) {
            const ConstPlane &finer = pyramid_->levels[level - 1], &view = pyramid_->levels[level];
            y /= 2;
            table_->half_gray_row(to_fill(view, y), finer.row(2 * y), finer.row(2 * y + 1), view.width);
        }
    }

    // The same for chroma, of which the small level alone is kept: of each level between, two rows
    // wait for each other.
    void add_chroma_row(int32_t y) const
    {
        const uint8_t *lower = pano_chroma_row(kept_, y), *upper = lower - kept_->stride;
        uint8_t* waiting = waiting_.get();
        for (int32_t level = 1; level <= pyramid_->small && y % 2 != 0; ++level) {
            const int32_t pairs = kept_->width / 2 >> level;
            y /= 2;
            const bool is_last = level == pyramid_->small;
            table_->half_pairs_row(is_last ? to_fill(pyramid_->small_pairs, y) : waiting + y % 2 * 2 * pairs,
                                   upper, lower, pairs);
            upper = waiting;
            lower = waiting + 2 * ptrdiff_t{pairs};
            waiting += 4 * ptrdiff_t{pairs};
        }
    }

private:
    // The rows of the pyramid's block are the pyramid's to write.
    uint8_t* to_fill(const ConstPlane& view, int32_t y) const
    {
        return pyramid_->block.get() + (view.row(y) - pyramid_->small_pairs.data);
    }

    const PanoImg* kept_ = nullptr;
    const Pyramid* pyramid_ = nullptr;
    const kernels::ResampleKernels* table_ = &kernels::active()->resample;
    Buffer<uint8_t> waiting_;
};

// The filler may be null.
PanoResult _copy(const PanoImg* picture, const Cancel& cancel, const PanoImg* kept,
                 const PyramidFiller* filler)
{
    for (int32_t y = 0; y < kept->height; ++y) {
        if (cancel.asked())
            return kPanoCancelled;
        std::copy_n(pano_row(picture, y), kept->width, pano_row(kept, y));
        if (filler != nullptr)
            filler->add_luma_row(y);
    }
    for (int32_t y = 0; y < kept->height / 2; ++y) {
        if (cancel.asked())
            return kPanoCancelled;
        std::copy_n(pano_chroma_row(picture, y), kept->width, pano_chroma_row(kept, y));
        if (filler != nullptr)
            filler->add_chroma_row(y);
    }
    return kPanoSuccess;
}

}  // namespace

PanoResult build_pyramid(const PanoImg* kept, const Cancel& cancel, Pyramid* pyramid)
{
    PyramidFiller filler;
    PANO_FORWARD(filler.init(kept, pyramid));
    for (int32_t y = 0; y < kept->height; ++y) {
        if (cancel.asked())
            return kPanoCancelled;
        filler.add_luma_row(y);
        if (y % 2 != 0)
            filler.add_chroma_row(y / 2);
    }
    return kPanoSuccess;
}

PanoResult keep_picture(const PanoImg* picture, bool turn, const Cancel& cancel, PanoImg* kept,
                        Pyramid* pyramid)
{
    const int32_t width = picture->width & ~1;
    const int32_t height = picture->height & ~1;
    if (width < 2 || height < 2)
        return kPanoBadArgument;
    const bool is_even = width == picture->width && height == picture->height;
    if (turn && is_even) {
        PANO_FORWARD(quarter_turn(*picture, true, cancel, kept));
        return build_pyramid(kept, cancel, pyramid);
    }
    PanoImgOwner straight;
    PanoImg* copy = turn ? straight.get() : kept;
    PANO_FORWARD(pano_create_unfilled(copy, width, height, kPanoNv12));
    if (turn) {
        PANO_FORWARD(_copy(picture, cancel, copy, nullptr));
        PANO_FORWARD(quarter_turn(*copy, true, cancel, kept));
        return build_pyramid(kept, cancel, pyramid);
    }
    PyramidFiller filler;
    PANO_FORWARD(filler.init(kept, pyramid));
    return _copy(picture, cancel, kept, &filler);
}

int32_t level_within(const Pyramid& pyramid, int32_t side)
{
    int32_t level = 0;
    while (level + 1 < pyramid.count &&
           std::max(pyramid.levels[level].width, pyramid.levels[level].height) > side)
        ++level;
    return level;
}

}  // namespace ozr::refined
