// The projection tables of a picture size. A source position has 4 fractional bits. Everything is symmetric about the
// picture's centre, so the tables follow from the offsets (x, y) of one quadrant:
//   u(x) = x F / C(x),  v(x, y) = y F / C(x)  with  C(x) ~ sqrt(R^2 - x^2),
// a tangent-like stretch that grows towards the left and right edges. u is the same in every row, and v grows row by row
// by a quotient and a remainder, so nothing is divided per pixel.
#include <algorithm>
#include <cstdlib>

#include "core/panorama_core.h"
#include "image/pano_result.h"
#include "kernels/kernels.h"
#include "kernels/projection_block.h"
#include "support/buffer.h"

using namespace ozr;
using namespace ozr::kernels;

namespace
{

// floor(y * scale / divisor) for y = 0, 1, 2, ...
struct RisingQuotient {
    int32_t divisor;
    int32_t step;
    int32_t step_rest;
    int32_t value;
    int32_t rest;

    void advance()
    {
        value += step;
        rest += step_rest;
        if (rest >= divisor) {
            rest -= divisor;
            ++value;
        }
    }
};

// What a row of blocks is made from, for one kind of row.
struct Columns {
    Buffer<int32_t> bases;
    Buffer<uint8_t> weights;

    bool allocate(int32_t blocks)
    {
        bases = make_buffer<int32_t>(blocks);
        weights = make_buffer<uint8_t>(int64_t{blocks} * kColumnWeights);
        return bases && weights;
    }
};

// The tables in the making.
struct Tables {
    Buffer<int32_t> offsets;
    Buffer<uint16_t> weights;
    Buffer<int32_t> chroma_map;
    Buffer<uint8_t> rows;
    Columns columns;

    bool allocate(int32_t width, int32_t height)
    {
        const int64_t pixels = int64_t{width} * height;
        offsets = make_buffer<int32_t>(pixels / kBlock);
        weights = make_buffer<uint16_t>(pixels * kPatch * kPatch);
        chroma_map = make_buffer<int32_t>(pixels / 4);
        rows = make_buffer<uint8_t>(pixels);
        return columns.allocate(width / kBlock) && offsets && weights && chroma_map && rows;
    }
};

// What they are made from.
struct Builder {
    int32_t width;  // W8
    int32_t height;
    int32_t half_width;
    int32_t half_height;
    int32_t stride;
    int32_t scale;                         // 16 F
    Buffer<int32_t> source_x;              // of every output column, the same in every row
    Buffer<int32_t> source_y;              // of every output column, for the row at hand
    Buffer<RisingQuotient> row_quotients;  // v of the right half's columns

    int32_t blocks() const { return width / kBlock; }

    bool allocate()
    {
        source_x = make_buffer<int32_t>(width);
        source_y = make_buffer<int32_t>(width);
        row_quotients = make_buffer<RisingQuotient>(half_width);
        return source_x && source_y && row_quotients;
    }
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

// C(x), a quarter of a circle by the midpoint recurrence: sqrt(R^2 - x^2) to within a pixel.
void _prepare_rows(const Builder& b)
{
    int32_t acc = 0;
    int32_t circle = _radius(b.width);
    int32_t d = 1 - 2 * circle;
    for (int32_t x = 0; x < b.half_width; ++x) {
        acc += 2 * x + 1;
        b.row_quotients[static_cast<size_t>(x)] = {circle, b.scale / circle, b.scale % circle, 0, 0};
        const int32_t t = d + 2 * acc;
        if (t > 0) {
            acc = t - acc;
            circle -= 1;
            d += 2;
        }
    }
}

// u(x) to both sides of the centre.
void _fill_source_columns(const Builder& b)
{
    int32_t* right = b.source_x.get() + b.half_width;
    for (int32_t x = 0; x < b.half_width; ++x) {
        const int32_t circle = b.row_quotients[static_cast<size_t>(x)].divisor;
        const int32_t u = std::min(kPixel * (b.half_width - 1), x * b.scale / circle);
        right[x] = kPixel * b.half_width + u;
        right[-1 - x] = kPixel * (b.half_width - 1) - u;
    }
}

// Source rows of the next output row of the lower half.
void _fill_source_rows(const Builder& b)
{
    const int32_t farthest = kPixel * (b.half_height - 1);
    int32_t* right = b.source_y.get() + b.half_width;
    for (int32_t x = 0; x < b.half_width; ++x) {
        RisingQuotient* v = &b.row_quotients[static_cast<size_t>(x)];
        const int32_t row = kPixel * b.half_height + std::min(farthest, v->value);
        right[x] = row;
        right[-1 - x] = row;
        v->advance();
    }
}

// From an output row of the lower half to its mirror image in the upper one.
void _mirror_source_rows(const Builder& b)
{
    const int32_t last = kPixel * (2 * b.half_height - 1);
    int32_t* rows = b.source_y.get();
    for (int32_t x = 0; x < b.width; ++x)
        rows[x] = last - rows[x];
}

// Output pixel k uses source columns from base + k on, so the base must lie low enough for the pixel that lags behind
// the others most.
int32_t _base_column(const int32_t* x)
{
    int32_t lag = 0;
    for (int32_t k = 1; k < kBlock; ++k)
        lag = std::min(lag, (x[k] >> kFracBits) - k - (x[0] >> kFracBits));
    return (*std::min_element(x, x + kBlock) + kPixel * lag) & -kPixel;
}

// Tent weights of four source columns for the position `behind` sixteenths behind the first: linear between the two next
// to it, nothing beyond the fourth. In the order of kernels::ProjectionRow.
void _fill_tent(uint8_t* weights, int32_t behind)
{
    for (int32_t j = 0; j < kPatch; ++j) {
        const int32_t weight = std::max(0, kPixel - std::abs(behind - kPixel * j));
        weights[j % 2 + 2 * kBlock * (j / 2)] = static_cast<uint8_t>(behind > kPatchReach ? 0 : weight);
    }
}

void _fill_columns(const Columns& columns, const Builder& b)
{
    for (int32_t i = 0; i < b.blocks(); ++i) {
        const int32_t* x = b.source_x.get() + ptrdiff_t{kBlock} * i;
        const int32_t base = _base_column(x);
        columns.bases[static_cast<size_t>(i)] = base >> kFracBits;
        uint8_t* weights = columns.weights.get() + ptrdiff_t{kColumnWeights} * i;
        for (int32_t k = 0; k < kBlock; ++k)
            _fill_tent(weights + 2 * k, x[k] - base - kPixel * k);
    }
}

void _fill_luma_row(const Tables& tables, const Builder& b, const Columns& columns, int32_t row)
{
    const ptrdiff_t first = static_cast<ptrdiff_t>(row) * b.blocks();
    const kernels::ProjectionRowOut out = {tables.offsets.get() + first,
                                           tables.weights.get() + first * kBlockWeights,
                                           tables.rows.get() + first * kBlock};
    kernels::active()->project.tables_row(out, b.source_y.get(),
                                          {columns.bases.get(), columns.weights.get(), b.stride}, b.blocks());
}

// Chroma of the output rows half_height + y and half_height - 1 - y from the luma positions of the first. With an odd half
// height both share one chroma row at y = 0, and the upper one is written last.
void _fill_chroma_rows(int32_t* chroma_map, const Builder& b, int32_t y)
{
    const int32_t* source_x = b.source_x.get() + b.half_width;
    const int32_t* source_y = b.source_y.get() + b.half_width;
    const auto pair_row = [&b](int32_t row) { return (row >> 1) * b.stride / 2; };
    int32_t* bottom = chroma_map + static_cast<ptrdiff_t>((b.half_height + y) >> 1) * b.half_width;
    int32_t* top = chroma_map + static_cast<ptrdiff_t>((b.half_height - 1 - y) >> 1) * b.half_width;
    for (int32_t x = 0; x < b.half_width; x += 2) {
        const int32_t u = (source_x[x] >> kFracBits) - b.half_width;
        const int32_t v = (source_y[x] >> kFracBits) - b.half_height;
        const int32_t right = (b.half_width + u) / 2;
        const int32_t left = (b.half_width - 1 - u) / 2;
        const int32_t below = pair_row(b.half_height + v);
        const int32_t above = pair_row(b.half_height - 1 - v);
        const int32_t to_right = (b.half_width + x) >> 1;
        const int32_t to_left = (b.half_width - 1 - x) >> 1;
        bottom[to_right] = right + below;
        bottom[to_left] = left + below;
        top[to_right] = right + above;
        top[to_left] = left + above;
    }
}

// An odd last row keeps the source origin for all its pixels.
bool _fill_odd_last_row(const Tables& tables, const Builder& b)
{
    Columns origin;
    if (!origin.allocate(b.blocks()))
        return false;
    _fill_columns(origin, b);
    _fill_luma_row(tables, b, origin, b.height - 1);
    return true;
}

bool _fill_tables(const Tables& tables, const Builder& b)
{
    if (b.width == 0)
        return true;  // nothing is projected, however high the picture
    // All source positions are still zero.
    if (b.height % 2 != 0 && !_fill_odd_last_row(tables, b))
        return false;
    _prepare_rows(b);
    _fill_source_columns(b);
    _fill_columns(tables.columns, b);
    for (int32_t y = 0; y < b.half_height; ++y) {
        _fill_source_rows(b);
        _fill_luma_row(tables, b, tables.columns, b.half_height + y);
        if (y % 2 == 0)
            _fill_chroma_rows(tables.chroma_map.get(), b, y);
        _mirror_source_rows(b);
        _fill_luma_row(tables, b, tables.columns, b.half_height - 1 - y);
    }
    return true;
}

}  // namespace

void ozr::core::free_projection(ProjectionInfo* info)
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

void ozr::core::free_factors(ProjectionFactors* factors)
{
    ozr_free(factors->columns);
    ozr_free(factors->rows);
    *factors = ProjectionFactors{};
}

bool ozr::core::projection_fits(const PanoramaCore* pi)
{
    const int64_t width = projected_width(pi);
    const int64_t scale = int64_t{kPixel} * (width >> 5) * 345 / 10;
    const int64_t farthest = std::max<int64_t>(width, pi->height) / 2 - 1;
    const int64_t last_offset = int64_t{pi->height} * pi->stride - pi->stride + width;
    return product_fits_32_bits(farthest, scale) && fits_32_bits(last_offset);
}

int32_t ozr::core::build_projection(PanoramaCore* pi)
{
    const int32_t width = projected_width(pi);
    Builder builder = {};
    builder.width = width;
    builder.height = pi->height;
    builder.half_width = width >> 1;
    builder.half_height = pi->height >> 1;
    builder.stride = pi->stride;
    builder.scale = _scale(width);
    Tables tables;
    if (!tables.allocate(width, pi->height) || !builder.allocate() || !_fill_tables(tables, builder)) {
        free_projection(&pi->proj);
        return kPanoTablesNoMemory;
    }
    free_factors(&pi->factors);
    pi->factors = {tables.columns.weights.release(), tables.rows.release()};
    pi->proj.block_offsets = tables.offsets.release();
    pi->proj.weights = tables.weights.release();
    pi->proj.chroma_map = tables.chroma_map.release();
    return kPanoSuccess;
}
