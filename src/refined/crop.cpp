#include "refined/crop.h"

#include <algorithm>

namespace ozr::refined
{

namespace
{

// Clears the columns [begin, end) that a picture does not show.
void _clear_hidden(int32_t* heights, const Layer& layer, int32_t begin, int32_t end, int32_t row)
{
    const uint8_t* shown = layer.shown_row(row) - layer.first;
    const int32_t first = std::min(std::max(begin, layer.first), end);
    const int32_t last = std::max(std::min(end, layer.first + layer.columns), first);
    std::fill(heights + begin, heights + first, 0);
    for (int32_t x = first; x < last; ++x)
        heights[x] &= -(shown[x] & 1);
    std::fill(heights + last, heights + end, 0);
}

// Counts, for every column, the covered points up to and with this row.
void _extend_heights(int32_t* heights, const Layers& layers, const Seams& seams, int32_t row)
{
    const int32_t columns = layers.frame.columns;
    const int32_t reach = (feather_width(layers.frame) / 2 >> layers.frame.step_bits) + 1;
    for (int32_t x = 0; x < columns; ++x)
        ++heights[x];
    for (int32_t i = 0; i < layers.count; ++i) {
        // Under a feather the neighbours show through.
        const int32_t first = i > 0 ? seams.begin(i, row) - reach : 0;
        const int32_t last = i + 1 < layers.count ? seams.end(i, row, columns) + reach : columns;
        const int32_t begin = std::min(std::max(first, 0), columns);
        _clear_hidden(heights, layers.at[i], begin, std::max(std::min(last, columns), begin), row);
    }
}

int64_t _area(const Crop& crop)
{
    return int64_t{crop.right - crop.left} * (crop.bottom - crop.top);
}

// The largest rectangle that ends with this row: each column's height is the smallest of some range
// of columns, which the columns that are still rising to it begin.
struct Rising {
    int32_t column;
    int32_t height;
};

void _try_row(const int32_t* heights, int32_t columns, int32_t row, Rising* rising, Crop* best)
{
    int32_t count = 0;
    for (int32_t x = 0; x <= columns; ++x) {
        const int32_t height = x < columns ? heights[x] : 0;
        int32_t first = x;
        for (; count > 0 && rising[count - 1].height >= height; --count) {
            const Rising& top = rising[count - 1];
            first = top.column;
            const Crop found = {top.column, row + 1 - top.height, x - 1, row};
            if (top.height > 1 && x - 1 > top.column && _area(found) > _area(*best))
                *best = found;
        }
        rising[count++] = {first, height};
    }
}

}  // namespace

PanoResult find_crop(const Layers& layers, const Seams& seams, Crop* crop)
{
    const int32_t columns = layers.frame.columns;
    const Buffer<int32_t> heights = make_buffer<int32_t>(columns);
    const Buffer<Rising> rising = make_unfilled_buffer<Rising>(int64_t{columns} + 1);
    if (!heights || !rising)
        return kPanoNoMemory;
    *crop = {};
    for (int32_t y = 0; y < layers.frame.rows; ++y) {
        _extend_heights(heights.get(), layers, seams, y);
        _try_row(heights.get(), columns, y, rising.get(), crop);
    }
    // Chroma is there at every second point.
    crop->left = (crop->left + 1) / 2 * 2;
    crop->top = (crop->top + 1) / 2 * 2;
    return crop->right > crop->left && crop->bottom > crop->top ? kPanoSuccess : kPanoNotSupported;
}

}  // namespace ozr::refined
