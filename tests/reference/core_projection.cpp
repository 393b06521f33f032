#include <algorithm>
#include <cstdlib>

#include "reference/core.h"

namespace ozr_reference
{

Core::Core()
{
    record.overlap = 70;
    record.forward = 0xFF;
}

static int32_t wrapped(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

int32_t Core::init(int32_t forward, int32_t width, int32_t height, int32_t stride)
{
    PanoramaCore& r = record;
    r.forward = forward != 0 ? 1 : 0;
    for (int32_t i = 0; i < kMaxPictures; ++i) {
        pictures[i] = Image();
        free_pyramid(i);
        r.added[i] = r.aligned[i] = 0;
    }
    r.g_nCount = 0;
    r.input = {width, width >> 1, height, height >> 1, stride};
    r.margin = static_cast<int32_t>(width * 0.025);
    // Halved until what overlaps has few enough pixels to try all positions.
    const auto is_large = [&](int32_t halvings) {
        const int64_t a = r.input.half_width >> halvings, b = r.input.half_height >> halvings;
        return wrapped(wrapped(a * b) * int64_t{r.overlap}) > 239999;
    };
    r.pyramid.levels = r.pyramid.half = is_large(0) ? 1 : 0;
    while (r.pyramid.half == 1 && is_large(r.pyramid.levels))
        ++r.pyramid.levels;
    r.pyramid.built_levels = std::max(r.pyramid.levels, 1);
    r.pyramid.work_width = width >> r.pyramid.half;
    r.pyramid.work_height = height >> r.pyramid.half;
    r.pyramid.ncc_shift = 0;
    for (int32_t n = wrapped(int64_t{r.pyramid.work_width} * r.pyramid.work_height); n >= 2048; n /= 2)
        ++r.pyramid.ncc_shift;
    const float w = static_cast<float>(width), h = static_cast<float>(height);
    r.search = {static_cast<int32_t>(-w * 0.1F), static_cast<int32_t>(w * 0.3F),
                static_cast<int32_t>(-h * 0.1F), static_cast<int32_t>(h * 0.1F)};
    projection = Projection();
    // A radius of 0 cannot be divided by, and nothing may exceed 32 bits.
    const int64_t w8 = width / 8 * 8, end = int64_t{stride} * (height - 1) + w8;
    const int64_t farthest = (std::max<int64_t>(w8, height) / 2 - 1) * 16 * (width / 32 * 345 / 10);
    const bool has_radius = w8 == 0 || w8 >= 32;
    if (width < 1 || height < 1 || stride < 1 || !has_radius || std::max(farthest, end) > INT32_MAX)
        return -4;
    projection = Projection(width, height, stride);
    r.initialised = 1;
    return 0;
}

Projection::Projection(int32_t picture_width, int32_t picture_height, int32_t source_stride)
    : width(picture_width / 8 * 8), height(picture_height), stride(source_stride), x(width * height),
      y(width * height), block_offsets(width * height / 8), chroma_map(width * height / 4),
      weights(width * height * 16)
{
    place_pixels();
    for (int32_t block = 0; block < width / 8 * height; ++block)
        weigh_block(block);
}

// Columns and rows are counted from the centre; the four quadrants mirror each other. The upper row
// comes last: with an odd half height both rows have the chroma row at the centre.
void Projection::place_pixels()
{
    const int32_t hw = width / 2, hh = height / 2;
    const int32_t scale = width / 32 * 345 / 10, radius = width / 32 * 418 / 10;
    int32_t acc = 0, circle = radius, d = 1 - 2 * radius;
    for (int32_t i = 0; i < hw; ++i) {
        acc += 2 * i + 1;
        const int32_t u = std::min(16 * (hw - 1), i * 16 * scale / circle);
        for (int32_t j = 0; j < hh; ++j) {
            const int32_t v = std::min(16 * (hh - 1), j * 16 * scale / circle);
            for (const int32_t row : {hh + j, hh - 1 - j}) {
                for (const int32_t column : {hw + i, hw - 1 - i}) {
                    const bool right = column >= hw, below = row >= hh;
                    x[row * width + column] = right ? 16 * hw + u : 16 * (hw - 1) - u;
                    y[row * width + column] = below ? 16 * hh + v : 16 * (hh - 1) - v;
                    const int32_t pair = (right ? hw + u / 16 : hw - 1 - u / 16) / 2;
                    const int32_t line = (below ? hh + v / 16 : hh - 1 - v / 16) / 2;
                    if (i % 2 == 0 && j % 2 == 0)
                        chroma_map[row / 2 * hw + column / 2] = pair + line * stride / 2;
                }
            }
        }
        const int32_t t = d + 2 * acc;
        if (t > 0) {
            acc = t - acc;
            --circle;
            d += 2;
        }
    }
}

// The weight of the pixel that lies `i` pixels behind the first one, for a
// position `d` sixteenths behind it.
static int32_t tent(int32_t d, int32_t i)
{
    return d > 48 ? 0 : std::max(0, 16 - std::abs(d - 16 * i));
}

void Projection::weigh_block(int32_t block)
{
    const int32_t *const xs = &x[8 * block], *const ys = &y[8 * block];
    int32_t lead = 0;
    for (int32_t k = 1; k < 8; ++k)
        lead = std::min(lead, (xs[k] >> 4) - k - (xs[0] >> 4));
    const int32_t left = (*std::min_element(xs, xs + 8) + 16 * lead) & ~15;
    const int32_t top = *std::min_element(ys, ys + 8) & ~15;
    block_offsets[block] = (top >> 4) * stride + (left >> 4);
    for (int32_t i = 0; i < 128; ++i) {
        const int32_t k = i % 8, column = i / 8 % 4, row = i / 32;
        weights[block * 128 + i] =
            static_cast<uint16_t>(tent(ys[k] - top, row) * tent(xs[k] - left - 16 * k, column));
    }
}

Image Projection::of(const Image& source) const
{
    Image out(kPanoNv12, width, height, width);
    for (int32_t pixel = 0; pixel < width * height; ++pixel) {
        int32_t sum = 128;
        for (int32_t patch = 0; patch < 16; ++patch) {
            const int32_t weight = weights[pixel / 8 * 128 + patch * 8 + pixel % 8];
            const int32_t at = block_offsets[pixel / 8] + patch / 4 * stride + patch % 4 + pixel % 8;
            sum += weight == 0 ? 0 : weight * source.bytes[at];
        }
        out.bytes[pixel] = static_cast<uint8_t>(sum >> 8);
    }
    for (int32_t byte = 0; byte < width * (height / 2); ++byte)
        out.bytes[width * height + byte] = source.at(2 * chroma_map[byte / 2] + byte % 2, source.height);
    return out;
}

}  // namespace ozr_reference
