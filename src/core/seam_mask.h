// The mask that seams keep to, made row by row.
//
// Inline: the composition uses it inside the library, session/window.h outside.
#ifndef SEAM_MASK_H
#define SEAM_MASK_H

#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "core/canvas.h"
#include "core/panorama_seam.h"

namespace ozr::core
{

// Bars both edges of an overlap, `margin` columns each, and everything up to the seam before, with
// as many columns after it: seams do not cross.
class SeamMask
{
public:
    // `bytes`: as many as the overlap has columns. `before`: the seam of the overlap to the left,
    // null for none; the two overlaps share a picture. The bars on both sides may touch, not cross.
    SeamMask(uint8_t* bytes, const SeamRegion& region, int32_t margin, const Seam* before)
        : bytes_(bytes), region_(region), before_(before), band_(std::clamp(margin, 0, region.width / 2)),
          free_end_(region.width - band_), barred_(band_)
    {
        memset(bytes, 0, static_cast<size_t>(region.width));
        bar(0, band_);
        bar(free_end_, region.width);
    }

    // The mask of row y, valid until the next call. The bar on the left moves little from one row
    // to the next.
    const uint8_t* row(int32_t y)
    {
        const int32_t end = std::clamp(first_free_column(y), band_, free_end_);
        if (end > barred_)
            bar(barred_, end);
        else
            memset(bytes_ + end, 0, static_cast<size_t>(barred_ - end));
        barred_ = end;
        return bytes_;
    }

private:
    // First column that row y may use: `band_` columns right of the seam before, where that has
    // such a row. Both are known in columns and rows of the shared picture.
    int32_t first_free_column(int32_t y) const
    {
        const int32_t row = before_ != nullptr ? region_.y + y - before_->b.y : -1;
        if (row < 0 || row >= before_->b.height)
            return 0;
        return before_->columns[static_cast<size_t>(row)] - region_.x + band_ + 1;
    }

    void bar(int32_t begin, int32_t end)
    {
        memset(bytes_ + begin, kSeamBarred, static_cast<size_t>(end - begin));
    }

    uint8_t* bytes_;
    const SeamRegion& region_;
    const Seam* before_;
    int32_t band_;
    int32_t free_end_;
    int32_t barred_;
};

}  // namespace ozr::core

#endif
