#include "core_alignment.h"

#include <algorithm>
#include <cstdlib>

namespace ozr_reference
{

// Linear in between the pixels, at positions in 1/1024 pixel.
static Gray resized(const Yuv& source, int32_t width, int32_t height)
{
    Gray out = {width, height, {}};
    const bool is_same = width == source.width && height == source.height;
    const int32_t step_x = is_same ? 1024 : (source.width - 1) * 1024 / width;
    const int32_t step_y = is_same ? 1024 : (source.height - 1) * 1024 / height;
    for (int32_t i = 0; i < width * height; ++i) {
        const int32_t x = i % width * step_x, y = i / width * step_y;
        uint32_t sum = 0;
        for (int32_t corner = 0; corner < 4; ++corner) {
            const int32_t right = corner % 2, below = corner / 2;
            const int32_t weight =
                (right == 1 ? x % 1024 : 1024 - x % 1024) * (below == 1 ? y % 1024 : 1024 - y % 1024);
            if (weight != 0)
                sum += static_cast<uint32_t>(weight * source.at(x / 1024 + right, y / 1024 + below));
        }
        const bool is_black = !is_same && y / 1024 + 1 >= source.height;
        out.pixels.push_back(is_black ? uint8_t{0} : static_cast<uint8_t>(sum >> 20));
    }
    return out;
}

static Gray halved(const Gray& source)
{
    Gray out = {source.width / 2, source.height / 2, {}};
    for (int32_t i = 0; i < out.width * out.height; ++i) {
        const int32_t x = i % out.width * 2, y = i / out.width * 2;
        out.pixels.push_back(static_cast<uint8_t>(
            (source.at(x, y) + source.at(x + 1, y) + source.at(x, y + 1) + source.at(x + 1, y + 1)) / 4));
    }
    return out;
}

Pyramid make_pyramid(const Geometry& g, const Yuv& projected)
{
    const int32_t top = g.pyramid_levels - 1;
    if (g.work_width >> top < 1 || g.work_height >> top < 1)
        return {};
    Pyramid pyramid = {resized(projected, g.work_width, g.work_height)};
    for (int32_t level = 1; level <= top; ++level)
        pyramid.push_back(halved(pyramid.back()));
    return pyramid;
}

// Rounded mean of the pixels from (x0, y0) to (x1, y1) inclusive.
static int32_t mean(const Gray& img, int32_t x0, int32_t y0, int32_t x1, int32_t y1)
{
    const int32_t n = (x1 - x0 + 1) * (y1 - y0 + 1);
    int64_t sum = n / 2;
    for (int32_t y = y0; y <= y1; ++y) {
        for (int32_t x = x0; x <= x1; ++x)
            sum += img.at(x, y);
    }
    return static_cast<int32_t>(sum / n);
}

int32_t score(const Gray& a, const Gray& b, int32_t dx, int32_t dy, int32_t margin, int32_t shift)
{
    const int32_t xs = std::max(dx, 0) + margin, xe = std::min(a.width, b.width + dx) - 1 - margin;
    const int32_t ys = std::max(dy, 0), ye = std::min(a.height, b.height + dy) - 1;
    if (std::abs(dx) > a.width - 1 - margin || std::abs(dy) >= a.height || xe < xs || ye < ys)
        return 0;
    const int32_t mean_a = mean(a, xs, ys, xe, ye), mean_b = mean(b, xs - dx, ys - dy, xe - dx, ye - dy);
    // The sums lose their low bits half row by half row.
    int32_t aa = 0, bb = 0, ab = 0;
    const int32_t middle = xs + (xe - xs + 1) / 2;
    for (int32_t y = ys; y <= ye; ++y) {
        for (const bool is_second : {false, true}) {
            int32_t half_aa = 0, half_bb = 0, half_ab = 0;
            for (int32_t x = is_second ? middle : xs; x < (is_second ? xe + 1 : middle); ++x) {
                const int32_t p = a.at(x, y) - mean_a, q = b.at(x - dx, y - dy) - mean_b;
                half_aa += p * p;
                half_bb += q * q;
                half_ab += p * q;
            }
            aa += half_aa >> shift;
            bb += half_bb >> shift;
            ab += half_ab >> shift;
        }
    }
    if (aa >> 10 == 0 || bb >> 10 == 0)
        return 0;
    const int32_t magnitude = (ab * 16 / (bb >> 10)) * (ab * 16 / (aa >> 10));
    return ab < 0 ? -magnitude : magnitude;
}

namespace
{

// The best position so far. Only a higher score replaces it, whatever level it comes from.
struct Best {
    Match match = {0, 0, -268435456};

    void try_all(const Gray& a, const Gray& b, int64_t x0, int64_t x1, int64_t y0, int64_t y1, int32_t margin,
                 int32_t shift)
    {
        for (int64_t x = x0; x < x1; ++x) {
            for (int64_t y = y0; y < y1; ++y) {
                const int32_t dx = static_cast<int32_t>(x), dy = static_cast<int32_t>(y);
                const int32_t found = score(a, b, dx, dy, margin, shift);
                if (found > match.score)
                    match = {dx, dy, found};
            }
        }
    }
};

}  // namespace

Match search(const Geometry& g, const Pyramid& a, const Pyramid& b, int64_t x, int64_t y)
{
    const int32_t top = g.pyramid_levels - 1, k = g.levels;
    const Gray& coarse = a.back();
    const int64_t x_min = std::max<int64_t>((x + g.search_x_min) >> k, 0), x_max = (x + g.search_x_max) >> k;
    const int64_t y_min = (y + g.search_y_min) >> k, y_max = (y + g.search_y_max) >> k;
    if (coarse.width <= x_min || coarse.height <= y_min || coarse.width + x_max <= 0 ||
        coarse.height + y_max <= 0)
        return {a[0].width << g.half, a[0].height << g.half, -1};
    Best best;
    for (int32_t level = top; level >= 0; --level) {
        const Gray &p = a[static_cast<size_t>(level)], &q = b[static_cast<size_t>(level)];
        const int32_t margin = g.margin >> (level + k - top);
        const int32_t shift = std::max(g.ncc_shift + 2 * (g.half - k) + 2 * (top - level), 0);
        if (level == top) {
            best.try_all(p, q, x_min, x_max, y_min, y_max, margin, shift);
        } else {
            const int32_t bx = best.match.x *= 2, by = best.match.y *= 2;
            best.try_all(p, q, std::max(bx - 1, 0), bx + 2, by - 1, by + 2, margin, shift);
        }
    }
    return {best.match.x * (1 << g.half), best.match.y * (1 << g.half), best.match.score};
}

}  // namespace ozr_reference
