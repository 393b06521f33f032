#include "refined/band_base.h"

#include <algorithm>

namespace ozr::refined
{

namespace
{

// The rows of the frame that a row of level 0 is the mean of; the last one goes on below.
struct FrameRows {
    int32_t upper;
    int32_t lower;
};

FrameRows _frame_rows(const BandSource& source, int32_t y)
{
    const int32_t upper = std::min(source.crop.top + 2 * y, source.layers.frame.rows - 2);
    return {upper, upper + 1};
}

// Adds half a picture's share of the points of a row of level 0: the columns of one row of the
// frame that it owns.
void _add_share(int16_t* out, const BandSource& source, const BandPart& part, int32_t row)
{
    const int32_t origin = source.crop.left + 2 * part.columns.first, width = 2 * part.columns.length();
    const bool is_last = part.picture + 1 == source.layers.count;
    const int32_t begin = limited(source.seams.begin(part.picture, row) - origin, width);
    const int32_t end = is_last ? width : limited(source.seams.end(part.picture, row, 0) - origin, width);
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

// A row of level 0 that begins at point `origin` of a layer's row, whose last pair is at `last`.
// `four_at` returns the sum of the four numbers at a point.
template <class FourAt>
void _fill_row(int16_t* out, int32_t width, int32_t origin, int32_t last, const FourAt& four_at)
{
    const auto at = [&](int32_t point) {
        return static_cast<int16_t>(four_at(point) << (kernels::kDrawShiftBits - 2));
    };
    const int32_t first = limited((1 - origin) >> 1, width);
    const int32_t end = std::max(std::min(((last - origin) >> 1) + 1, width), first);
    std::fill_n(out, first, at(limited(origin, last)));
    for (int32_t x = first; x < end; ++x)
        out[x] = at(origin + 2 * x);
    std::fill_n(out + end, width - end, at(last));
}

}  // namespace

void make_mask(const BandSource& source, const BandPart& part, const Grid& base)
{
    for (int32_t y = 0; y < base.height; ++y) {
        const FrameRows rows = _frame_rows(source, y);
        std::fill_n(base.row(y), base.width, int16_t{0});
        _add_share(base.row(y), source, part, rows.upper);
        _add_share(base.row(y), source, part, rows.lower);
    }
}

void make_channel(const BandSource& source, const BandPart& part, int32_t channel, const Grid& base)
{
    const Layer& layer = source.layers.at[part.picture];
    const int32_t origin = source.crop.left - layer.first + 2 * part.columns.first, last = layer.columns - 2;
    for (int32_t y = 0; y < base.height; ++y) {
        const FrameRows rows = _frame_rows(source, y);
        if (channel == 0) {
            const uint8_t *upper = layer.luma_row(rows.upper), *lower = layer.luma_row(rows.lower);
            _fill_row(base.row(y), base.width, origin, last,
                      [=](int32_t at) { return upper[at] + upper[at + 1] + lower[at] + lower[at + 1]; });
        } else {
            const uint8_t* chroma = layer.chroma_row(rows.upper / 2) + (channel - 1);
            _fill_row(base.row(y), base.width, origin, last, [=](int32_t at) { return 4 * chroma[at]; });
        }
    }
}

}  // namespace ozr::refined
