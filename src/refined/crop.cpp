// Rows are looked at from the top down, with the height to which each column is covered above them:
// the largest rectangle under such a skyline is found in one pass.
#include "refined/crop.h"

#include <string.h>

#include <algorithm>

#include "refined/interval.h"

namespace ozr::refined
{

namespace
{

// Columns that a picture does not show are covered from the next row on at the best.
void _skip_hidden(int32_t* tops, const Layer& layer, const Interval& columns, int32_t row)
{
    constexpr int32_t kAtOnce = 8;
    const uint8_t* shown = layer.shown_row(row) - layer.first;
    const int32_t first = std::min(std::max(columns.first, layer.first), columns.end);
    const int32_t last = std::max(std::min(columns.end, layer.end()), first);
    std::fill(tops + columns.first, tops + first, row + 1);
    for (int32_t x = first; x < last;) {
        uint64_t points = 0;
        if (x + kAtOnce <= last)
            memcpy(&points, shown + x, kAtOnce);
        if (points == UINT64_MAX) {
            x += kAtOnce;
            continue;
        }
        if (shown[x] == 0)
            tops[x] = row + 1;
        ++x;
    }
    std::fill(tops + last, tops + columns.end, row + 1);
}

// Finds, for every column, where the covered points up to and with this row begin.
void _extend(int32_t* tops, const Layers& layers, const Seams& seams, int32_t row)
{
    const int32_t columns = layers.frame.columns;
    const int32_t reach = feather_reach(layers.frame);
    for (int32_t i = 0; i < layers.count; ++i) {
        // Under a feather the neighbours show through.
        const int32_t first = i > 0 ? seams.begin(i, row) - reach : 0;
        const int32_t last = i + 1 < layers.count ? seams.end(i, row, columns) + reach : columns;
        const int32_t begin = std::min(std::max(first, 0), columns);
        _skip_hidden(tops, layers.at[i], {begin, std::max(std::min(last, columns), begin)}, row);
    }
}

int64_t _area(const Crop& crop)
{
    return int64_t{crop.right - crop.left} * (crop.bottom - crop.top);
}

// A rectangle that may still grow to the right: columns from `column` on are covered from `top` on.
// In a list, each begins further right and higher up than the one before.
struct Rising {
    int32_t column;
    int32_t top;
};

// Tries the largest rectangles whose last row this is. One ends before a column that is covered
// from further down only; its lower part may go on there.
void _try_row(const int32_t* tops, int32_t columns, int32_t row, Rising* rising, Crop* best)
{
    int32_t count = 0;
    for (int32_t x = 0; x <= columns; ++x) {
        const int32_t top = x < columns ? tops[x] : row + 1;
        int32_t first = x;
        for (; count > 0 && rising[count - 1].top < top; --count) {
            const Rising& last = rising[count - 1];
            first = last.column;
            const Crop found = {last.column, last.top, x - 1, row};
            if (_area(found) > _area(*best))
                *best = found;
        }
        // Columns as high as those before only make their rectangle wider.
        if (count == 0 || rising[count - 1].top > top)
            rising[count++] = {first, top};
    }
}

}  // namespace

PanoResult find_crop(const Cancel& cancel, const Layers& layers, const Seams& seams, Crop* crop)
{
    const int32_t columns = layers.frame.columns;
    const Buffer<int32_t> tops = make_buffer<int32_t>(columns);
    const Buffer<Rising> rising = make_unfilled_buffer<Rising>(int64_t{columns} + 1);
    if (!tops || !rising)
        return kPanoNoMemory;
    *crop = {};
    for (int32_t y = 0; y < layers.frame.rows; ++y) {
        if (cancel.asked())
            return kPanoCancelled;
        _extend(tops.get(), layers, seams, y);
        _try_row(tops.get(), columns, y, rising.get(), crop);
    }
    // Chroma is there at every second point.
    crop->left = (crop->left + 1) / 2 * 2;
    crop->top = (crop->top + 1) / 2 * 2;
    return crop->right > crop->left && crop->bottom > crop->top ? kPanoSuccess : kPanoNotSupported;
}

}  // namespace ozr::refined
