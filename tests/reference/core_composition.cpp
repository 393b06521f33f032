#include "core_composition.h"

#include <algorithm>
#include <cstdlib>

namespace ozr_reference
{

Columns cheapest_path(const std::vector<uint32_t>& cost, int32_t width, int32_t height)
{
    std::vector<uint32_t> sums = cost;
    const auto sum = [&](int32_t column, int32_t row) -> uint32_t& {
        return sums[static_cast<size_t>(row * width + column)];
    };
    const auto best_above = [&](int32_t column, int32_t row) {
        int32_t best = column;
        for (const int32_t other : {column - 1, column + 1}) {
            if (other >= 0 && other < width && sum(other, row - 1) < sum(best, row - 1))
                best = other;
        }
        return best;
    };
    for (int32_t row = 1; row < height; ++row) {
        for (int32_t column = 0; column < width; ++column)
            sum(column, row) += sum(best_above(column, row), row - 1);
    }
    Columns path(static_cast<size_t>(height));
    const auto last_row = sums.end() - width;
    path.back() = static_cast<int32_t>(std::min_element(last_row, sums.end()) - last_row);
    for (int32_t row = height - 1; row > 0; --row)
        path[static_cast<size_t>(row - 1)] = best_above(path[static_cast<size_t>(row)], row);
    return path;
}

namespace
{

// What picture i - 1 (A) and picture i (B) have in common. Its left edge is that of B.
struct Overlap {
    int32_t x, width, height;    // column of A
    int32_t top_in_a, top_in_b;  // rows
    Columns seam;
};

// Pictures in canvas order; the sums of their results up to each are their positions.
struct Layout {
    int32_t used = 0, sum_x = 0, sum_y = 0, top = 0, bottom = 0;  // highest and lowest origin
    int64_t score = 0;
};

Layout lay_out(const Geometry& g, const std::vector<Match>& results)
{
    Layout layout;
    for (const Match& result : results) {
        Layout next = layout;
        ++next.used;
        next.sum_x += result.x;
        next.sum_y += result.y;
        next.score += result.score;
        next.top = std::min(next.top, next.sum_y);
        next.bottom = std::max(next.bottom, next.sum_y);
        if (g.height + next.top - next.bottom < g.height >> 1)
            break;
        layout = next;
    }
    return layout;
}

// Bars both edges of the overlap, and what lies left of the seam before (`previous`, of the pictures i - 2 and i - 1).
std::vector<uint8_t> make_mask(const Geometry& g, const Overlap& overlap, const Overlap* previous)
{
    const int32_t band = std::min(g.margin, overlap.width / 2);
    std::vector<uint8_t> mask;
    for (int32_t row = 0; row < overlap.height; ++row) {
        int32_t barred = band;
        const int32_t row_before = previous == nullptr ? -1 : row + overlap.top_in_a - previous->top_in_b;
        if (row_before >= 0 && row_before < previous->height)
            barred = std::max(barred, previous->seam[static_cast<size_t>(row_before)] - overlap.x + band + 1);
        for (int32_t column = 0; column < overlap.width; ++column)
            mask.push_back(column < barred || column >= overlap.width - band ? 255 : 0);
    }
    return mask;
}

int32_t find_seam(const Geometry& g, const Yuv& a, const Yuv& b, const Match& at, const Overlap* previous,
                  Overlap* overlap)
{
    if (at.x < 0 || at.x > a.width)
        return -4;
    *overlap = {at.x, a.width - at.x, a.height - std::abs(at.y), std::max(at.y, 0), std::max(-at.y, 0), {}};
    if (overlap->width > b.width)
        return -4;
    if (overlap->width < 2 || overlap->height < 1)
        return -2;
    const std::vector<uint8_t> mask = make_mask(g, *overlap, previous);
    std::vector<uint32_t> cost(mask.begin(), mask.end());
    for (int32_t i = 0; i < overlap->width * overlap->height; ++i) {
        const int32_t x = i % overlap->width, y = i / overlap->width;
        cost[static_cast<size_t>(i)] |= static_cast<uint32_t>(
            std::abs(a.at(overlap->x + x, overlap->top_in_a + y) - b.at(x, overlap->top_in_b + y)));
    }
    overlap->seam = cheapest_path(cost, overlap->width, overlap->height);
    return 0;
}

// Mixes a later byte into the output, `k` weights after the first of a ramp.
uint8_t blended(uint8_t earlier, uint8_t later, int32_t k, int32_t step)
{
    const int32_t weight = 1 + k * step;
    return static_cast<uint8_t>(std::min(255, (weight * later + (128 - weight) * earlier + 128) >> 7));
}

// One row of samples of the later picture, which reaches the canvas at sample `x`; it overlaps the earlier one for `overlap`
// samples, and the transition is `reach` samples wide to both sides of the seam.
struct Transition {
    int32_t x, overlap, seam, reach, step;

    template <class Write>
    void write(int32_t later_width, int32_t canvas_width, Write write) const
    {
        for (int32_t i = std::max(seam - reach, 0); i < later_width && x + i < canvas_width; ++i) {
            const bool is_mixed = i < std::min(seam + reach, overlap);
            write(x + i, i, is_mixed ? i - (seam - reach) : -1);
        }
    }
};

void write_picture(const Geometry& g, const Yuv& later, const Overlap& overlap, int32_t x, int32_t y,
                   int32_t top, Yuv* out)
{
    const int32_t reach = g.margin == 16 || g.margin == 32 || g.margin == 64 ? g.margin : 0;
    const int32_t step = reach == 0 ? 0 : 64 / reach;
    for (int32_t r = 0; r < out->height; ++r) {
        const int32_t row = top + r - y, in_overlap = row - overlap.top_in_b;
        if (in_overlap < 0 || in_overlap >= overlap.height)
            continue;
        const int32_t seam = overlap.seam[static_cast<size_t>(in_overlap)];
        const auto luma = [&](int32_t at, int32_t from, int32_t k) {
            uint8_t& byte = out->at(at, r);
            byte = k < 0 ? later.at(from, row) : blended(byte, later.at(from, row), k, step);
        };
        Transition{x, overlap.width, seam, reach, step}.write(later.width, out->width, luma);
        if (r % 2 != 0 || row / 2 >= later.height / 2)
            continue;
        const auto chroma = [&](int32_t at, int32_t from, int32_t k) {
            for (const int32_t i : {0, 1}) {
                uint8_t& byte = out->chroma(2 * at + i, r / 2);
                const uint8_t value = later.chroma(2 * from + i, row / 2);
                byte = k < 0 ? value : blended(byte, value, k, 2 * step);
            }
        };
        Transition{x >> 1, overlap.width / 2, seam >> 1, reach / 2, step}.write(later.width / 2,
                                                                                out->width / 2, chroma);
    }
}

void copy_first(const Yuv& first, int32_t top, Yuv* out)
{
    for (int32_t r = 0; r < out->height; ++r) {
        for (int32_t x = 0; x < std::min(first.width, out->width); ++x)
            out->at(x, r) = first.at(x, top + r);
        for (int32_t byte = 0; byte < std::min(first.width, out->width) / 2 * 2; ++byte)
            out->chroma(byte, r / 2) = first.chroma(byte, (top + r / 2 * 2) / 2);
    }
}

}  // namespace

Composition compose(const Geometry& g, std::vector<Yuv> pictures, std::vector<Match> results)
{
    Composition c;
    const size_t count = pictures.size();
    const auto log = [&](const std::string& line) { c.log.push_back("panorama_core_panorama: " + line); };
    const auto number = [](size_t n) { return std::to_string(n); };
    log("start synthesis " + number(count) + " image(s), (size: " + std::to_string(g.width) + "x" +
        std::to_string(g.height) + ")");
    if (!g.forward) {
        std::reverse(pictures.begin(), pictures.end());
        std::reverse(results.begin(), results.end());
    }
    const Layout layout = lay_out(g, results);
    const size_t used = static_cast<size_t>(layout.used);
    c.used = layout.used;
    if (used < count)
        log("Actual # of image in synthesis is " + number(used) + ". (ignored after)");
    if (used == 1) {
        log("saving pProject[" + number(g.forward ? 0 : count - 1) + "]");
        log("Exiting synthesis: pi->g_nCount(1) == 1");
        c.out = pictures[0];
        return c;
    }
    if (used == 0) {
        log("Exiting synthesis: pi->g_nCount(0) < 1");
        c.code = -2;
        return c;
    }
    c.mean_score = static_cast<int32_t>(layout.score / (layout.used - 1));
    std::vector<Overlap> overlaps(used);
    for (size_t i = 1; i < used && c.code == 0; ++i)
        c.code = find_seam(g, pictures[i - 1], pictures[i], results[i], i > 1 ? &overlaps[i - 1] : nullptr,
                           &overlaps[i]);
    const int32_t width = (g.width + layout.sum_x) & 0xFFF0,
                  height = (g.height + layout.top - layout.bottom) & 0xFFF0;
    if (c.code == 0 && height == 0)
        c.code = -2;
    if (c.code == 0 && width == 0)
        c.code = -4;
    if (c.code != 0)
        return c;
    c.out = Yuv(width, height, width);
    copy_first(pictures[0], layout.bottom, &c.out);
    int32_t x = 0, y = 0;
    for (size_t i = 1; i < used; ++i) {
        x += results[i].x;
        y += results[i].y;
        write_picture(g, pictures[i], overlaps[i], x, y, layout.bottom, &c.out);
    }
    return c;
}

}  // namespace ozr_reference
