#include <algorithm>
#include <cstdlib>

#include "reference/core.h"

namespace ozr_reference
{

Table<int32_t> cheapest_path(Table<uint32_t> sums, int32_t width, int32_t height)
{
    const auto best_above = [&](int32_t column, int32_t row) {
        const uint32_t* const above = &sums[(row - 1) * width];
        int32_t best = column;
        for (const int32_t other : {column - 1, column + 1}) {
            if (other >= 0 && other < width && above[other] < above[best])
                best = other;
        }
        return best;
    };
    for (int32_t i = width; i < width * height; ++i)
        sums[i] += sums[(i / width - 1) * width + best_above(i % width, i / width)];
    Table<int32_t> path(height);
    const auto last_row = sums.end() - width;
    path.back() = static_cast<int32_t>(std::min_element(last_row, sums.end()) - last_row);
    for (int32_t row = height - 1; row > 0; --row)
        path[row - 1] = best_above(path[row], row);
    return path;
}

namespace
{

// What picture i - 1 (A) and picture i (B) have in common. Its left edge is that of B.
struct Overlap {
    int32_t x = 0, width = 0, height = 0;  // x: column of A
    int32_t top_in_a = 0, top_in_b = 0;    // rows
    Table<int32_t> seam;
};

// A row of a later picture and where it goes, in units of a byte of luma or a pair of chroma:
// `x` and the width of the overlap, in this picture the seam and how far the transition
// reaches to both sides of it.
struct LaterRow {
    const uint8_t* bytes;
    int32_t width, x, seam, overlap, reach;
};

// One row of a plane of the panorama, in the same units.
struct Row {
    uint8_t* bytes;
    int32_t width, unit;

    // Writes the later row from the seam onward; or blended into what is there,
    // as far as the overlap goes.
    void write(const LaterRow& later)
    {
        const int32_t first = later.seam - later.reach,
                      end = std::min(later.seam + later.reach, later.overlap);
        for (int32_t i = std::max(first, 0); i < later.width && later.x + i < width; ++i) {
            const int32_t weight = later.reach == 0 ? 0 : 1 + (i - first) * 64 / later.reach;
            for (int32_t byte = i * unit; byte < (i + 1) * unit; ++byte) {
                uint8_t& e = bytes[later.x * unit + byte];
                const int32_t mixed =
                    std::min(255, (weight * later.bytes[byte] + (128 - weight) * e + 128) >> 7);
                e = i < end ? static_cast<uint8_t>(mixed) : later.bytes[byte];
            }
        }
    }
};

// The pictures of a sweep from left to right.
struct Canvas {
    int32_t height, half_height, margin;  // of each picture; columns that a seam keeps off
    Table<const Image*> pictures;
    Table<AlignResult> results;
    Table<Overlap> overlaps;
    int32_t used = 0;
    int64_t sum_x = 0, sum_y = 0, highest = 0, lowest = 0, score = 0;  // of those used

    // Whether enough rows remain in common.
    bool take(const AlignResult& result)
    {
        const int64_t y = sum_y + result.y, high = std::min(highest, y), low = std::max(lowest, y);
        if (height + high - low < half_height)
            return false;
        highest = high;
        lowest = low;
        sum_x += result.x;
        sum_y = y;
        score += result.score;
        ++used;
        return true;
    }

    // A seam keeps off both edges, and off what lies left of the seam before.
    bool is_barred(const Overlap& o, const Overlap& before, int32_t column, int32_t row) const
    {
        const int32_t band = std::min(margin, o.width / 2), row_before = row + o.top_in_a - before.top_in_b;
        const bool is_shared = row_before >= 0 && row_before < before.height;
        return column < band || column >= o.width - band ||
               (is_shared && column + o.x <= before.seam[row_before] + band);
    }

    int32_t find_seam(int32_t i)
    {
        const Image &a = *pictures[i - 1], &b = *pictures[i];
        const AlignResult at = results[i];
        if (at.x < 0 || at.x > a.width || a.width - at.x > b.width)
            return -4;
        Overlap& o = overlaps[i];
        o = {at.x, a.width - at.x, height - std::abs(at.y), std::max(at.y, 0), std::max(-at.y, 0), {}};
        if (o.width < 2 || o.height < 1)
            return -2;
        Table<uint32_t> cost(o.width * o.height);
        for (int32_t n = 0; n < o.width * o.height; ++n) {
            const int32_t x = n % o.width, y = n / o.width;
            const int32_t difference = a.at(o.x + x, o.top_in_a + y) - b.at(x, o.top_in_b + y);
            cost[n] = is_barred(o, overlaps[i - 1], x, y) ? 255 : static_cast<uint32_t>(std::abs(difference));
        }
        o.seam = cheapest_path(cost, o.width, o.height);
        return 0;
    }

    // Picture i, which lies at (x, y). The first one has no seam.
    void write_picture(int32_t i, int32_t x, int32_t y, Image* out) const
    {
        const Image& b = *pictures[i];
        const Overlap& o = overlaps[i];
        const int32_t reach = i > 0 && (margin == 16 || margin == 32 || margin == 64) ? margin : 0;
        for (int32_t r = 0; r < out->height; ++r) {
            const int32_t row = static_cast<int32_t>(lowest) + r - y, in_overlap = row - o.top_in_b;
            if (i > 0 && (in_overlap < 0 || in_overlap >= o.height))
                continue;
            const int32_t seam = i > 0 ? o.seam[in_overlap] : 0;
            Row{&out->bytes[r * out->width], out->width, 1}.write(
                {&b.bytes[row * b.stride], b.width, x, seam, o.width, reach});
            if (r % 2 == 0 && row / 2 < b.height / 2)
                Row{&out->bytes[(out->height + r / 2) * out->width], out->width / 2, 2}.write(
                    {&b.bytes[(b.height + row / 2) * b.stride], b.width / 2, x >> 1, seam / 2, o.width / 2,
                     reach / 2});
        }
    }
};

}  // namespace

int32_t Core::compose(int32_t count, Image* out, std::vector<std::string>* lines)
{
    PanoramaCore& r = record;
    const auto log = [&](const std::string& line) { lines->push_back("panorama_core_panorama: " + line); };
    const auto text = [](int32_t n) { return std::to_string(n); };
    if (count < 0)
        return -2;
    if (count > kMaxPictures)
        return -4;
    r.g_nCount = count;
    r.overlaps = count - 1;
    log("start synthesis " + text(count) + " image(s), (size: " + text(r.input.width) + "x" +
        text(r.input.height) + ")");
    if (std::count(r.aligned, r.aligned + count, 1) != count)
        return -203;
    if (count > 0)
        free_pyramid(count - 1);
    Canvas canvas = {r.input.height, r.input.half_height, r.margin, {}, {}, Table<Overlap>(count)};
    for (int32_t i = 0; i < count; ++i) {
        const int32_t index = r.forward == 1 ? i : count - 1 - i;
        canvas.pictures.push_back(&pictures[index]);
        canvas.results.push_back(r.offsets[index]);
    }
    while (canvas.used < count && canvas.take(canvas.results[canvas.used])) {
    }
    const int32_t used = r.g_nCount = canvas.used;
    r.overlaps = used - 1;
    if (used < count)
        log("Actual # of image in synthesis is " + text(used) + ". (ignored after)");
    if (used == 1) {
        log("saving pProject[" + text(r.forward == 1 ? 0 : count - 1) + "]");
        *out = *canvas.pictures[0];
    }
    if (used <= 1) {
        log("Exiting synthesis: pi->g_nCount(" + text(used) + ") " + (used == 1 ? "== 1" : "< 1"));
        return used == 1 ? 0 : -2;
    }
    r.mean_score = static_cast<int32_t>(canvas.score / r.overlaps);
    if (r.cancel != 0) {
        r.cancel = 0;
        return -5;
    }
    for (int32_t i = 1; i < used; ++i) {
        if (const int32_t code = canvas.find_seam(i); code != 0)
            return code;
    }
    const int32_t width = static_cast<int32_t>((r.input.width + canvas.sum_x) & 0xFFF0);
    const int32_t height = static_cast<int32_t>((r.input.height + canvas.highest - canvas.lowest) & 0xFFF0);
    if (height == 0 || width == 0)
        return height == 0 ? -2 : -4;
    *out = Image(kPanoNv12, width, height, width);
    int32_t x = 0, y = 0;
    for (int32_t i = 0; i < used; ++i) {
        x += i > 0 ? canvas.results[i].x : 0;
        y += i > 0 ? canvas.results[i].y : 0;
        canvas.write_picture(i, x, y, out);
    }
    return 0;
}

}  // namespace ozr_reference
