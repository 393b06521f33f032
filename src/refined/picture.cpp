#include "refined/picture.h"

#include <algorithm>

#include "image/pano_result.h"
#include "kernels/kernels.h"

namespace ozr::refined
{

namespace
{

// No level is smaller than this to a side: there is nothing left to compare.
constexpr int32_t kLeastSide = 8;

int32_t _count_levels(int32_t width, int32_t height)
{
    int32_t count = 1;
    while (count < kMaxLevels && (std::min(width, height) >> count) >= kLeastSide)
        ++count;
    return count;
}

// Describes the levels and allocates them; the first is the picture's own.
int32_t _lay_out(const PanoImg* kept, Pyramid* pyramid)
{
    pyramid->count = _count_levels(kept->width, kept->height);
    pyramid->levels[0] = {kept->data, kept->stride, kept->width, kept->height};
    int64_t bytes = 0;
    for (int32_t i = 1; i < pyramid->count; ++i)
        bytes += int64_t{kept->width >> i} * (kept->height >> i);
    pyramid->block = make_unfilled_buffer<uint8_t>(bytes);
    if (!pyramid->block)
        return kPanoNoMemory;
    uint8_t* data = pyramid->block.get();
    for (int32_t i = 1; i < pyramid->count; ++i) {
        const int32_t width = kept->width >> i;
        const int32_t height = kept->height >> i;
        pyramid->levels[i] = {data, width, width, height};
        data += int64_t{width} * height;
    }
    return kPanoSuccess;
}

// The rows of the pyramid's block are the pyramid's to write.
uint8_t* _row_to_fill(const Pyramid* pyramid, int32_t level, int32_t y)
{
    const GrayView& view = pyramid->levels[level];
    return pyramid->block.get() + (view.data - pyramid->levels[1].data) + y * view.stride;
}

void _halve_row(const Pyramid* pyramid, int32_t level, int32_t y)
{
    const GrayView& finer = pyramid->levels[level - 1];
    kernels::active()->resample.half_gray_row(_row_to_fill(pyramid, level, y), finer.row(2 * y),
                                              finer.row(2 * y + 1), pyramid->levels[level].width);
}

// Row `y` of level 1 is due; whatever rows of the coarser levels it completes follow while it is at hand.
void _halve_rows_at(const Pyramid* pyramid, int32_t y)
{
    for (int32_t level = 1; level < pyramid->count; ++level) {
        if (y >= pyramid->levels[level].height)
            return;
        _halve_row(pyramid, level, y);
        if (y % 2 == 0)
            return;
        y /= 2;
    }
}

// The pyramid may be null.
void _copy(const PanoImg* picture, PanoImg* kept, const Pyramid* pyramid)
{
    for (int32_t y = 0; y < kept->height; ++y) {
        std::copy_n(pano_row(picture, y), kept->width, pano_row(kept, y));
        if (y % 2 != 0 && pyramid != nullptr && pyramid->count > 1)
            _halve_rows_at(pyramid, y / 2);
    }
    for (int32_t y = 0; y < kept->height / 2; ++y)
        std::copy_n(pano_chroma_row(picture, y), kept->width, pano_chroma_row(kept, y));
}

int32_t _turn(const PanoImg* picture, PanoImg* kept)
{
    PANO_FORWARD(pano_create_unfilled(kept, picture->height, picture->width, kPanoNv12));
    return PanoImg_RotateCW90(kept, picture);
}

}  // namespace

int32_t build_pyramid(const PanoImg* kept, Pyramid* pyramid)
{
    PANO_FORWARD(_lay_out(kept, pyramid));
    for (int32_t y = 0; pyramid->count > 1 && y < pyramid->levels[1].height; ++y)
        _halve_rows_at(pyramid, y);
    return kPanoSuccess;
}

int32_t keep_picture(const PanoImg* picture, bool turn, PanoImg* kept, Pyramid* pyramid)
{
    const int32_t width = picture->width & ~1;
    const int32_t height = picture->height & ~1;
    if (width < 2 || height < 2)
        return kPanoBadArgument;
    const bool is_even = width == picture->width && height == picture->height;
    if (turn && is_even) {
        PANO_FORWARD(_turn(picture, kept));
        return build_pyramid(kept, pyramid);
    }
    PanoImgOwner straight;
    PanoImg* copy = turn ? straight.get() : kept;
    PANO_FORWARD(pano_create_unfilled(copy, width, height, kPanoNv12));
    if (turn) {
        _copy(picture, copy, nullptr);
        PANO_FORWARD(_turn(copy, kept));
        return build_pyramid(kept, pyramid);
    }
    PANO_FORWARD(_lay_out(kept, pyramid));
    _copy(picture, kept, pyramid);
    return kPanoSuccess;
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
