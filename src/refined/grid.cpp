#include "refined/grid.h"

#include <algorithm>

namespace ozr::refined
{

bool make_grid(int32_t width, int32_t height, Grid* grid)
{
    grid->at = make_unfilled_buffer<int16_t>(int64_t{width} * height);
    grid->width = width;
    grid->height = height;
    return grid->at != nullptr;
}

void reduce(const Grid& src, const Grid& dst, int32_t* line)
{
    for (int32_t y = 0; y < dst.height; ++y) {
        const int16_t* rows[5];
        for (int32_t i = 0; i < 5; ++i)
            rows[i] = src.row(limited(2 * y + i - 2, src.height - 1));
        for (int32_t x = 0; x < src.width; ++x)
            line[x] = rows[0][x] + rows[4][x] + 4 * (rows[1][x] + rows[3][x]) + 6 * rows[2][x];
        int16_t* out = dst.row(y);
        const auto weighed = [](int32_t a, int32_t b, int32_t c, int32_t d, int32_t e) {
            return static_cast<int16_t>((a + e + 4 * (b + d) + 6 * c + 128) >> 8);
        };
        const auto tap = [&](int32_t x) { return line[limited(x, src.width - 1)]; };
        const auto at_end = [&](int32_t x) {
            return weighed(tap(2 * x - 2), tap(2 * x - 1), tap(2 * x), tap(2 * x + 1), tap(2 * x + 2));
        };
        const int32_t inner = std::max(1, (src.width - 3) / 2 + 1);  // up to here there are five
        out[0] = at_end(0);
        for (int32_t x = 1; x < std::min(inner, dst.width); ++x) {
            const int32_t* at = line + 2 * x;
            out[x] = weighed(at[-2], at[-1], at[0], at[1], at[2]);
        }
        for (int32_t x = inner; x < dst.width; ++x)
            out[x] = at_end(x);
    }
}

void expand_row(const Grid& coarse, int32_t y, const Interval& stretch, int32_t* line, int32_t* out)
{
    const int32_t last = coarse.height - 1, last_x = coarse.width - 1, middle = y / 2;
    const int16_t* here = coarse.row(std::min(middle, last));
    const int16_t* next = coarse.row(std::min(middle + 1, last));
    const int16_t* before = coarse.row(std::max(std::min(middle, last + 1) - 1, 0));
    ++line;
    const int32_t first = std::max(stretch.first / 2 - 1, 0), end = std::min(stretch.end / 2 + 2, last_x + 1);
    if (y % 2 != 0) {
        for (int32_t x = first; x < end; ++x)
            line[x] = 4 * (here[x] + next[x]);
    } else {
        for (int32_t x = first; x < end; ++x)
            line[x] = before[x] + 6 * here[x] + next[x];
    }
    line[-1] = line[0];
    line[coarse.width] = line[last_x];
    const auto even = [&](int32_t at) { return line[at - 1] + 6 * line[at] + line[at + 1]; };
    const auto odd = [&](int32_t at) { return 4 * (line[at] + line[at + 1]); };
    const int32_t first_pair = (stretch.first + 1) / 2, end_pair = std::min(stretch.end / 2, last_x + 1);
    if (stretch.first % 2 != 0)
        out[stretch.first] = odd(std::min(stretch.first / 2, last_x));
    for (int32_t at = first_pair; at < end_pair; ++at) {
        out[2 * at] = even(at);
        out[2 * at + 1] = odd(at);
    }
    for (int32_t x = std::max(2 * end_pair, stretch.first); x < stretch.end; ++x)
        out[x] = x % 2 != 0 ? odd(std::min(x / 2, last_x)) : even(std::min(x / 2, last_x));
}

}  // namespace ozr::refined
