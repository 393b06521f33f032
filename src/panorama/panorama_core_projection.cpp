// Projection onto a cylinder by tables. A source position has 4 fractional bits; luma is interpolated from the 2 x 2
// pixels around it, chroma taken from the nearest pair. Everything is symmetric about the picture's centre, so the
// tables follow from the offsets (x, y) of one quadrant:
//   u(x) = x F / C(x),  v(x, y) = y F / C(x)  with  C(x) ~ sqrt(R^2 - x^2),
// a tangent-like stretch that grows towards the left and right edges.
#include <string.h>

#include <algorithm>
#include <memory>

#include "ozr_buffer.h"
#include "ozr_kernels.h"
#include "pano_result.h"
#include "panorama_core.h"

namespace
{

constexpr int32_t kFracBits = 4;  // of a source position
constexpr int32_t kPixel = 1 << kFracBits;
constexpr int32_t kBlock = 8;  // output pixels of a block
constexpr int32_t kPatch = 4;  // source rows and columns of a pixel's weights
constexpr int32_t kBlockWeights = kPatch * kPatch * kBlock;
constexpr int32_t kPatchReach = (kPatch - 1) * kPixel;
constexpr int32_t kFarAway = 0x0FFFFFFF;  // beyond every source position

// Tent weights of four source columns, or rows, for the pixels of a block: the shape of a row of the table's groups.
using TentWeights = uint16_t[kPatch][kBlock];

// What the blocks of one column have in common.
struct ColumnBlock {
    int32_t base;  // source column
    TentWeights weights;
};

// What the tables are made for, and the rows they are made from.
struct Builder {
    ProjectionInfo* proj;
    int32_t width;  // W8
    int32_t height;
    int32_t half_width;
    int32_t half_height;
    int32_t stride;
    int32_t scale;      // 16 F
    int32_t* circle;    // C(x) for the right half
    int32_t* source_x;  // source column of every output column, the same in every row
    int32_t* source_y;  // source row of every output column, for the row at hand
    ColumnBlock* columns;
};

int32_t _units(int32_t projected_width)
{
    return projected_width >> 5;
}

int32_t _scale(int32_t projected_width)
{
    return kPixel * (_units(projected_width) * 345 / 10);
}

int32_t _radius(int32_t projected_width)
{
    return _units(projected_width) * 418 / 10;
}

// A quarter of a circle by the midpoint recurrence: sqrt(R^2 - x^2) to within a pixel.
void _fill_circle(int32_t* circle, int32_t count, int32_t radius)
{
    int32_t acc = 0;
    int32_t y = radius;
    int32_t d = 1 - 2 * radius;
    for (int32_t x = 0; x < count; ++x) {
        acc += 2 * x + 1;
        circle[x] = y;
        const int32_t t = d + 2 * acc;
        if (t > 0) {
            acc = t - acc;
            y -= 1;
            d += 2;
        }
    }
}

// u(x): distance of the source column from the centre, in 1/16 pixel.
int32_t _column_offset(const Builder& b, int32_t x)
{
    return std::min(kPixel * (b.half_width - 1), x * b.scale / b.circle[x]);
}

// v(x, y): distance of the source row from the centre.
int32_t _row_offset(const Builder& b, int32_t x, int32_t y)
{
    return std::min(kPixel * (b.half_height - 1), y * b.scale / b.circle[x]);
}

void _fill_source_columns(const Builder& b)
{
    for (int32_t x = 0; x < b.half_width; ++x) {
        const int32_t u = _column_offset(b, x);
        b.source_x[b.half_width + x] = kPixel * b.half_width + u;
        b.source_x[b.half_width - 1 - x] = kPixel * (b.half_width - 1) - u;
    }
}

// Source rows of the output row half_height + y.
void _fill_source_rows(const Builder& b, int32_t y)
{
    for (int32_t x = 0; x < b.half_width; ++x) {
        const int32_t row = kPixel * b.half_height + _row_offset(b, x, y);
        b.source_y[b.half_width + x] = row;
        b.source_y[b.half_width - 1 - x] = row;
    }
}

// From the output row half_height + y to its mirror image, half_height - 1 - y.
void _mirror_source_rows(const Builder& b)
{
    const int32_t last = kPixel * (2 * b.half_height - 1);
    for (int32_t x = 0; x < b.width; ++x)
        b.source_y[x] = last - b.source_y[x];
}

// Weights of four source pixels in a row for positions `d` sixteenths behind the first: linear between the two next to
// it, nothing beyond the fourth.
void _tent(const int32_t (&d)[kBlock], TentWeights weights)
{
    for (int32_t i = 0; i < kPatch; ++i) {
        for (int32_t k = 0; k < kBlock; ++k) {
            const int32_t weight = std::max(0, kPixel - std::abs(d[k] - kPixel * i));
            weights[i][k] = static_cast<uint16_t>(d[k] > kPatchReach ? 0 : weight);
        }
    }
}

// Output pixel k uses source columns from base + k on, so the base must lie low enough for the pixel that lags behind
// the others most.
int32_t _base_column(const int32_t* x)
{
    int32_t lowest = kFarAway;
    int32_t lag = 0;
    for (int32_t k = 0; k < kBlock; ++k) {
        lowest = std::min(lowest, x[k]);
        lag = std::min(lag, (x[k] >> kFracBits) - k - (x[0] >> kFracBits));
    }
    return (lowest + kPixel * lag) & -kPixel;
}

int32_t _base_row(const int32_t* y)
{
    return std::min(*std::min_element(y, y + kBlock), kFarAway) & -kPixel;
}

void _fill_column_blocks(const Builder& b)
{
    for (int32_t i = 0; i < b.width / kBlock; ++i) {
        const int32_t* x = b.source_x + i * kBlock;
        const int32_t base = _base_column(x);
        b.columns[i].base = base >> kFracBits;
        int32_t behind[kBlock];
        for (int32_t k = 0; k < kBlock; ++k)
            behind[k] = x[k] - base - kPixel * k;
        _tent(behind, b.columns[i].weights);
    }
}

void _fill_block(const Builder& b, int32_t block, const ColumnBlock& column, const int32_t* y)
{
    const int32_t base = _base_row(y);
    b.proj->block_offsets[block] = (base >> kFracBits) * b.stride + column.base;
    int32_t behind[kBlock];
    for (int32_t k = 0; k < kBlock; ++k)
        behind[k] = y[k] - base;
    TentWeights rows;
    _tent(behind, rows);
    uint16_t* weights = b.proj->weights + static_cast<ptrdiff_t>(block) * kBlockWeights;
    for (int32_t i = 0; i < kPatch * kPatch; ++i, weights += kBlock) {
        uint16_t group[kBlock];  // apart from the table, so that the compiler can make it in one vector
        for (int32_t k = 0; k < kBlock; ++k)
            group[k] = static_cast<uint16_t>(rows[i / kPatch][k] * column.weights[i % kPatch][k]);
        memcpy(weights, group, sizeof(group));
    }
}

void _fill_luma_row(const Builder& b, int32_t row)
{
    const int32_t blocks = b.width / kBlock;
    for (int32_t i = 0; i < blocks; ++i)
        _fill_block(b, row * blocks + i, b.columns[i], &b.source_y[i * kBlock]);
}

// Chroma of the output rows half_height + y and half_height - 1 - y. With an odd half height both share one chroma row
// at y = 0, and the upper one is written last.
void _fill_chroma_rows(const Builder& b, int32_t y)
{
    const int32_t pairs = b.half_width;
    int32_t* bottom = b.proj->chroma_map + static_cast<ptrdiff_t>((b.half_height + y) >> 1) * pairs;
    int32_t* top = b.proj->chroma_map + static_cast<ptrdiff_t>((b.half_height - 1 - y) >> 1) * pairs;
    for (int32_t x = 0; x < b.half_width; x += 2) {
        const int32_t u = _column_offset(b, x) / kPixel;
        const int32_t v = _row_offset(b, x, y) / kPixel;
        const int32_t right = (u + b.half_width) / 2;
        const int32_t left = (b.half_width - 1 - u) / 2;
        const int32_t below = (b.half_height + v) / 2 * b.stride / 2;
        const int32_t above = (b.half_height - 1 - v) / 2 * b.stride / 2;
        const int32_t to_right = (b.half_width + x) >> 1;
        const int32_t to_left = (b.half_width - 1 - x) >> 1;
        bottom[to_right] = right + below;
        bottom[to_left] = left + below;
        top[to_right] = right + above;
        top[to_left] = left + above;
    }
}

void _fill_tables(const Builder& b)
{
    _fill_circle(b.circle, b.half_width, _radius(b.width));
    if (b.height % 2 != 0) {  // an odd last row keeps the source origin: all source positions are still zero
        _fill_column_blocks(b);
        _fill_luma_row(b, b.height - 1);
    }
    _fill_source_columns(b);
    _fill_column_blocks(b);
    for (int32_t y = 0; y < b.half_height; ++y) {
        _fill_source_rows(b, y);
        _fill_luma_row(b, b.half_height + y);
        _mirror_source_rows(b);
        _fill_luma_row(b, b.half_height - 1 - y);
        if (y % 2 == 0)
            _fill_chroma_rows(b, y);
    }
}

}  // namespace

void panorama_core_projection_free(ProjectionInfo* info)
{
    if (info == nullptr)
        return;
    ozr_free(info->unused[0]);
    ozr_free(info->unused[1]);
    ozr_free(info->block_offsets);
    ozr_free(info->weights);
    ozr_free(info->chroma_map);
    *info = ProjectionInfo{};
}

bool panorama_core_projection_fits(const PanoramaCore* pi)
{
    const int64_t width = panorama_core_projected_width(pi);
    const int64_t scale = int64_t{kPixel} * (width >> 5) * 345 / 10;
    const int64_t longer_half = std::max<int64_t>(width, pi->height) / 2;
    const int64_t weights = width * pi->height * kPatch * kPatch;
    const int64_t source = int64_t{pi->height} * pi->stride * 3;
    return pano_fits_32_bits(longer_half * scale) && pano_fits_32_bits(weights) && pano_fits_32_bits(source);
}

int32_t panorama_core_projection_build(PanoramaCore* pi)
{
    const int32_t width = panorama_core_projected_width(pi);
    const int64_t pixels = int64_t{width} * pi->height;
    auto offsets = ozr_make_buffer<int32_t>(pixels / kBlock);
    auto weights = ozr_make_buffer<uint16_t>(pixels * kPatch * kPatch);
    auto chroma_map = ozr_make_buffer<int32_t>(pixels / 4);
    auto circle = ozr_make_buffer<int32_t>(width >> 1);
    auto source_x = ozr_make_buffer<int32_t>(width);
    auto source_y = ozr_make_buffer<int32_t>(width);
    auto columns = ozr_make_buffer<ColumnBlock>(width / kBlock);
    if (!offsets || !weights || !chroma_map || !circle || !source_x || !source_y || !columns) {
        panorama_core_projection_free(&pi->proj);
        return kPanoTablesNoMemory;
    }
    ProjectionInfo tables = {{nullptr, nullptr}, offsets.get(), weights.get(), chroma_map.get()};
    const Builder builder = {&tables,         width,          pi->height,    width >> 1,
                             pi->height >> 1, pi->stride,     _scale(width), circle.get(),
                             source_x.get(),  source_y.get(), columns.get()};
    _fill_tables(builder);
    pi->proj.block_offsets = offsets.release();
    pi->proj.weights = weights.release();
    pi->proj.chroma_map = chroma_map.release();
    return kPanoSuccess;
}

void panorama_core_project(const PanoramaCore* pi, PanoImg* dst, const PanoImg* src)
{
    const OzrKernels* kernels = ozr_kernels();
    const int32_t blocks = dst->width / kBlock;
    const int64_t luma_bytes = int64_t{src->height} * src->stride;
    for (int32_t y = 0; y < dst->height; ++y) {
        const ptrdiff_t first = static_cast<ptrdiff_t>(y) * blocks;
        kernels->project_luma_row(pano_row(dst, y), src->data, luma_bytes, src->stride,
                                  pi->proj.block_offsets + first, pi->proj.weights + first * kBlockWeights,
                                  blocks);
    }
    const int32_t pairs = dst->width / 2;
    for (int32_t y = 0; y < dst->height / 2; ++y)
        kernels->project_chroma_row(pano_chroma_row(dst, y), pano_chroma_row(src, 0),
                                    pi->proj.chroma_map + static_cast<ptrdiff_t>(y) * pairs, pairs);
}
