#include <algorithm>
#include <cstdlib>

#include "reference/core.h"

namespace ozr_reference
{

// Rounded mean of the pixels from (x0, y0) to (x1, y1) inclusive.
static int32_t mean(const Image& img, int32_t x0, int32_t y0, int32_t x1, int32_t y1)
{
    const int32_t n = (x1 - x0 + 1) * (y1 - y0 + 1);
    int64_t sum = n / 2;
    for (int32_t y = y0; y <= y1; ++y) {
        for (int32_t x = x0; x <= x1; ++x)
            sum += img.at(x, y);
    }
    return static_cast<int32_t>(sum / n);
}

int32_t score(const Image& a, const Image& b, int32_t dx, int32_t dy, int32_t margin, int32_t shift)
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

void Core::free_pyramid(int32_t index)
{
    pyramids[index].clear();
    record.align[index] = {};
}

// Whether every level has pixels.
bool Core::make_pyramid(int32_t index)
{
    const PanoImg picture = pictures[index].view();
    for (int32_t level = 0; level < record.pyramid_levels; ++level) {
        const int32_t width = record.work_width >> level, height = record.work_height >> level;
        if (width < 1 || height < 1) {
            free_pyramid(index);
            return false;
        }
        const Image img(kPanoGray, width, height, width);
        PanoImg to = img.view();
        const PanoImg above = level == 0 ? picture : pyramids[index].back().view();
        level == 0 ? PanoImg_ResizeGray(&to, &above) : PanoImg_ResizeHalfGray(&to, &above);
        pyramids[index].push_back(img);
    }
    record.align[index].pyramid_levels = record.pyramid_levels;
    return true;
}

// Where `b` fits `a` best around the position (x, y), which is counted in full-size pixels. Only a higher score replaces a
// position, whatever level it comes from.
AlignResult Core::search(const std::vector<Image>& a, const std::vector<Image>& b, int64_t x, int64_t y) const
{
    const int32_t top = record.pyramid_levels - 1, k = record.levels, half = record.half;
    int64_t x0 = std::max<int64_t>((x + record.search_x_min) >> k, 0), x1 = (x + record.search_x_max) >> k;
    int64_t y0 = (y + record.search_y_min) >> k, y1 = (y + record.search_y_max) >> k;
    if (a.back().width <= x0 || a.back().height <= y0 || a.back().width + x1 <= 0 ||
        a.back().height + y1 <= 0)
        return {a[0].width << half, a[0].height << half, -1};
    AlignResult best = {0, 0, -268435456};
    for (int32_t level = top; level >= 0; --level) {
        const int32_t margin = record.margin >> (level + k - top);
        const int32_t shift = std::max(record.ncc_shift + 2 * (half - k) + 2 * (top - level), 0);
        if (level < top) {
            best = {best.x * 2, best.y * 2, best.score};
            x0 = std::max(best.x - 1, 0), x1 = best.x + 2, y0 = best.y - 1, y1 = best.y + 2;
        }
        for (int32_t dx = static_cast<int32_t>(x0); dx < x1; ++dx) {
            for (int32_t dy = static_cast<int32_t>(y0); dy < y1; ++dy) {
                const size_t l = static_cast<size_t>(level);
                const int32_t found = score(a[l], b[l], dx, dy, margin, shift);
                if (found > best.score)
                    best = {dx, dy, found};
            }
        }
    }
    return {best.x * (1 << half), best.y * (1 << half), best.score};
}

int32_t Core::add(const PanoImg* img, int32_t index, int32_t x, int32_t y)
{
    PanoramaCore& r = record;
    if (index < 0 || index >= kMaxPictures)
        return -4;
    if (!pictures[index].bytes.empty())
        return -2;
    if (r.cancel != 0)
        return -5;
    if (r.initialised == 0)
        return -201;
    if (img == nullptr || projection.height == 0)
        return -3;
    if (img->format != kPanoNv12 || img->width != r.width || img->height != r.height ||
        img->stride != r.stride || img->data == nullptr || projection.width == 0)
        return -4;
    Image source(kPanoNv12, r.width, r.height, r.stride);
    source.bytes.assign(img->data, img->data + img->size);
    pictures[index] = projection.of(source);
    if (!make_pyramid(index))
        return -4;
    r.added[index] = 1;
    if (index > 0 && r.added[index - 1] == 0)
        return -202;
    if (index > 0) {
        const std::vector<Image>&before = pyramids[index - 1], &now = pyramids[index];
        if (before.empty())
            return -3;
        if (r.forward == 1) {
            r.align[index].expected_x = x;
            r.align[index].expected_y = y;
            r.offsets[index] = search(before, now, x, y);
        } else {
            r.offsets[index - 1] = search(now, before, -int64_t{x}, -int64_t{y});
        }
        free_pyramid(index - 1);
    }
    r.aligned[index] = 1;
    return 0;
}

}  // namespace ozr_reference
