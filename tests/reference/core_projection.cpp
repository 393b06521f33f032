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

// Wraps around.
static int32_t product(int32_t a, int32_t b, int32_t c)
{
    return static_cast<int32_t>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b) *
                                static_cast<uint32_t>(c));
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
    r.width = width;
    r.half_width = width >> 1;
    r.height = height;
    r.half_height = height >> 1;
    r.stride = stride;
    r.margin = static_cast<int32_t>(width * 0.025);
    // Halved until what overlaps has few enough pixels to try all positions.
    const auto is_large = [&](int32_t halvings) {
        return product(r.half_width >> halvings, r.half_height >> halvings, r.overlap) > 239999;
    };
    r.levels = r.half = is_large(0) ? 1 : 0;
    while (r.half == 1 && is_large(r.levels))
        ++r.levels;
    r.pyramid_levels = std::max(r.levels, 1);
    r.work_width = width >> r.half;
    r.work_height = height >> r.half;
    r.ncc_shift = 0;
    for (int32_t n = product(r.work_width, r.work_height, 1); n >= 2048; n /= 2)
        ++r.ncc_shift;
    r.search_x_min = static_cast<int32_t>(static_cast<float>(-width) * 0.1F);
    r.search_x_max = static_cast<int32_t>(static_cast<float>(width) * 0.3F);
    r.search_y_min = static_cast<int32_t>(static_cast<float>(-height) * 0.1F);
    r.search_y_max = static_cast<int32_t>(static_cast<float>(height) * 0.1F);
    projection = Projection();
    // A radius of 0 cannot be divided by, and nothing may exceed 32 bits.
    const int64_t w8 = width / 8 * 8, last_row = int64_t{stride} * (height - 1);
    const int64_t farthest = (std::max<int64_t>(w8, height) / 2 - 1) * 16 * (width / 32 * 345 / 10);
    if (width < 1 || height < 1 || stride < 1 || (w8 > 0 && w8 < 32) ||
        std::max(farthest, last_row + w8) > INT32_MAX)
        return -4;
    projection = Projection(width, height, stride);
    r.initialised = 1;
    return 0;
}

Projection::Projection(int32_t picture_width, int32_t picture_height, int32_t source_stride)
    : width(picture_width / 8 * 8), height(picture_height), stride(source_stride)
{
    const size_t pixels = static_cast<size_t>(width * height);
    x.resize(pixels);
    y.resize(pixels);
    chroma_map.resize(pixels / 4);
    block_offsets.resize(pixels / 8);
    weights.resize(pixels * 16);
    place_pixels();
    for (int32_t block = 0; block < width / 8 * height; ++block)
        weigh_block(block);
}

// Columns and rows are counted from the centre; the four quadrants mirror each other.
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
            for (const int32_t column : {hw + i, hw - 1 - i}) {
                for (const int32_t row : {hh + j, hh - 1 - j}) {
                    const size_t pixel = static_cast<size_t>(row * width + column);
                    x[pixel] = column >= hw ? 16 * hw + u : 16 * (hw - 1) - u;
                    y[pixel] = row >= hh ? 16 * hh + v : 16 * (hh - 1) - v;
                }
            }
            if (i % 2 == 0 && j % 2 == 0)
                place_chroma(i, j, u / 16, v / 16);
        }
        const int32_t t = d + 2 * acc;
        if (t > 0) {
            acc = t - acc;
            --circle;
            d += 2;
        }
    }
}

// The upper row comes last: with an odd half height both rows are one at the centre.
void Projection::place_chroma(int32_t i, int32_t j, int32_t u, int32_t v)
{
    const int32_t hw = width / 2, hh = height / 2;
    const int32_t right = (hw + i) >> 1, left = (hw - 1 - i) >> 1;
    const int32_t below = (hh + j) >> 1, above = (hh - 1 - j) >> 1;
    const int32_t from_right = (u + hw) / 2, from_left = (hw - 1 - u) / 2;
    const int32_t from_below = (hh + v) / 2 * stride / 2, from_above = (hh - 1 - v) / 2 * stride / 2;
    chroma_map[static_cast<size_t>(below * hw + right)] = from_right + from_below;
    chroma_map[static_cast<size_t>(below * hw + left)] = from_left + from_below;
    chroma_map[static_cast<size_t>(above * hw + right)] = from_right + from_above;
    chroma_map[static_cast<size_t>(above * hw + left)] = from_left + from_above;
}

// Weights of four neighbours for a position `d` sixteenths behind the first one.
static std::vector<int32_t> tent(int32_t d)
{
    std::vector<int32_t> weights(4);
    for (int32_t i = 0; i < 4; ++i)
        weights[static_cast<size_t>(i)] = d > 48 ? 0 : std::max(0, 16 - std::abs(d - 16 * i));
    return weights;
}

void Projection::weigh_block(int32_t block)
{
    const int32_t* const xs = &x[static_cast<size_t>(8 * block)];
    const int32_t* const ys = &y[static_cast<size_t>(8 * block)];
    int32_t lead = 0;
    for (int32_t k = 1; k < 8; ++k)
        lead = std::min(lead, (xs[k] >> 4) - k - (xs[0] >> 4));
    const int32_t left = (*std::min_element(xs, xs + 8) + 16 * lead) & ~15;
    const int32_t top = *std::min_element(ys, ys + 8) & ~15;
    block_offsets[static_cast<size_t>(block)] = (top >> 4) * stride + (left >> 4);
    for (int32_t k = 0; k < 8; ++k) {
        const std::vector<int32_t> columns = tent(xs[k] - left - 16 * k), rows = tent(ys[k] - top);
        for (int32_t patch = 0; patch < 16; ++patch)
            weights[static_cast<size_t>(block * 128 + patch * 8 + k)] = static_cast<uint16_t>(
                rows[static_cast<size_t>(patch / 4)] * columns[static_cast<size_t>(patch % 4)]);
    }
}

Image Projection::of(const Image& source) const
{
    Image out(kPanoNv12, width, height, width);
    for (int32_t pixel = 0; pixel < width * height; ++pixel) {
        int32_t sum = 128;
        for (int32_t patch = 0; patch < 16; ++patch) {
            const int32_t weight = weights[static_cast<size_t>(pixel / 8 * 128 + patch * 8 + pixel % 8)];
            const int32_t at =
                block_offsets[static_cast<size_t>(pixel / 8)] + patch / 4 * stride + patch % 4 + pixel % 8;
            sum += weight == 0 ? 0 : weight * source.bytes[static_cast<size_t>(at)];
        }
        out.bytes[static_cast<size_t>(pixel)] = static_cast<uint8_t>(sum >> 8);
    }
    for (int32_t byte = 0; byte < width * (height / 2); ++byte)
        out.at(byte, height) = source.at(2 * chroma_map[static_cast<size_t>(byte / 2)] + byte % 2, height);
    return out;
}

}  // namespace ozr_reference
