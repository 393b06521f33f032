#include <algorithm>
#include <cstdlib>

#include "reference/core.h"
#include "reference/image.h"

namespace ozr_reference
{

// Rounded mean of the pixels from (x0, y0) to (x1, y1) inclusive.
static int32_t mean(const Image& img, int32_t x0, int32_t y0, int32_t x1, int32_t y1)
{
    const int32_t n = (x1 - x0 + 1) * (y1 - y0 + 1);
    int32_t sum = n / 2;
    for (int32_t y = y0; y <= y1; ++y) {
        for (int32_t x = x0; x <= x1; ++x)
            sum += img.at(x, y);
    }
    return sum / n;
}

int32_t score(const Image& a, const Image& b, ozr_point at, int32_t margin, int32_t shift)
{
    const auto& [dx, dy] = at;
    const int32_t xs = std::max(dx, 0) + margin, xe = std::min(a.width, b.width + dx) - 1 - margin;
    const int32_t ys = std::max(dy, 0), ye = std::min(a.height, b.height + dy) - 1;
    if (std::abs(dx) > a.width - 1 - margin || std::abs(dy) >= a.height || xe < xs || ye < ys)
        return 0;
    const int32_t mean_a = mean(a, xs, ys, xe, ye), mean_b = mean(b, xs - dx, ys - dy, xe - dx, ye - dy);
    // The sums lose their low bits half row by half row.
    int32_t aa = 0, bb = 0, ab = 0;
    const int32_t ends[] = {xs, xs + (xe - xs + 1) / 2, xe + 1};
    for (int32_t half = 0; half < 2 * (ye - ys + 1); ++half) {
        const int32_t y = ys + half / 2;
        int32_t half_aa = 0, half_bb = 0, half_ab = 0;
        for (int32_t x = ends[half % 2]; x < ends[half % 2 + 1]; ++x) {
            const int32_t p = a.at(x, y) - mean_a, q = b.at(x - dx, y - dy) - mean_b;
            half_aa += p * p;
            half_bb += q * q;
            half_ab += p * q;
        }
        aa += half_aa >> shift;
        bb += half_bb >> shift;
        ab += half_ab >> shift;
    }
    if (aa >> 10 == 0 || bb >> 10 == 0)
        return 0;
    return (ab < 0 ? -1 : 1) * (ab * 16 / (bb >> 10)) * (ab * 16 / (aa >> 10));
}

void Core::free_pyramid(int32_t index)
{
    pyramids[index].clear();
    record.align[index] = {};
}

void Core::make_pyramid(int32_t index)
{
    const int32_t top = record.pyramid.built_levels - 1;
    PanoImg above = pictures[index].view();
    for (int32_t level = 0; level <= top; ++level) {
        const int32_t width = record.pyramid.work_width >> level;
        pyramids[index].push_back(Image(kPanoGray, width, record.pyramid.work_height >> level, width));
        PanoImg img = pyramids[index].back().view();
        level == 0 ? resize_gray(&img, &above) : resize_half_gray(&img, &above);
        above = img;
    }
    record.align[index].pyramid_levels = record.pyramid.built_levels;
}

// Where `b` fits `a` best around the position (x, y), which is counted in full-size pixels. Only a
// higher score replaces a position, whatever level it comes from.
AlignResult Core::search(const Table<Image>& a, const Table<Image>& b, int64_t x, int64_t y) const
{
    const int32_t top = record.pyramid.built_levels - 1, k = record.pyramid.levels,
                  half = record.pyramid.half;
    int64_t x0 = std::max<int64_t>((x + record.search.x_min) >> k, 0), x1 = (x + record.search.x_max) >> k;
    int64_t y0 = (y + record.search.y_min) >> k, y1 = (y + record.search.y_max) >> k;
    if (a[top].width <= x0 || a[top].height <= y0 || a[top].width + x1 <= 0 || a[top].height + y1 <= 0)
        return {a[0].width << half, a[0].height << half, -1};
    AlignResult best = {0, 0, -268435456};
    for (int32_t level = top; level >= 0; --level) {
        const int32_t margin = record.margin >> (level + k - top);
        const int32_t shift = std::max(record.pyramid.ncc_shift + 2 * (half - k) + 2 * (top - level), 0);
        if (level < top) {
            best = {best.x * 2, best.y * 2, best.score};
            x0 = std::max(best.x - 1, 0), x1 = best.x + 2, y0 = best.y - 1, y1 = best.y + 2;
        }
        for (int32_t dx = static_cast<int32_t>(x0); dx < x1; ++dx) {
            for (int32_t dy = static_cast<int32_t>(y0); dy < y1; ++dy) {
                const int32_t found = score(a[level], b[level], {dx, dy}, margin, shift);
                if (found > best.score)
                    best = {dx, dy, found};
            }
        }
    }
    return {best.x * (1 << half), best.y * (1 << half), best.score};
}

int32_t Core::add(const PanoImg* img, int32_t index, int32_t x, int32_t y, Event event)
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
    if (img->format != kPanoNv12 || img->width != r.input.width || img->height != r.input.height ||
        img->stride != r.input.stride)
        return -4;
    if (event == kNoFrame)
        return -8;
    Image source(kPanoNv12, r.input.width, r.input.height, r.input.stride);
    std::copy_n(img->data, img->size, source.bytes.begin());
    pictures[index] = projection.of(source);
    r.cancel = event == kCancelledProjection || event >= kCancelledPyramid ? 1 : 0;
    if (event == kCancelledProjection || event == kNoPyramid)
        return event == kNoPyramid ? -8 : -5;
    make_pyramid(index);
    r.added[index] = 1;
    if (index > 0) {
        const Table<Image>&before = pyramids[index - 1], &now = pyramids[index];
        if (event == kCancelledPyramid || r.added[index - 1] == 0)
            return event == kCancelledPyramid ? -5 : -202;
        if (before.empty())
            return -3;
        if (r.forward == 1) {
            r.align[index].expected = {x, y};
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
