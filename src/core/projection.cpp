#include "core/projection.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "image/pano_result.h"
#include "kernels/projection_block.h"
#include "support/buffer.h"

using namespace ozr;
using namespace ozr::core;
using namespace ozr::kernels;

namespace
{

int32_t _units(int32_t projected_width)
{
    return projected_width >> 5;
}

// 16 F.
int32_t _scale(int32_t projected_width)
{
    return kPixel * (_units(projected_width) * 345 / 10);
}

// R.
int32_t _radius(int32_t projected_width)
{
    return _units(projected_width) * 418 / 10;
}

// C(x), a quarter of a circle by the midpoint recurrence: sqrt(R^2 - x^2) to within a pixel.
void _fill_circle(int32_t* circle, int32_t radius, int32_t count)
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

// Output pixel k uses source columns from base + k on, so the base must lie low enough for the
// pixel that lags behind the others most.
int32_t _base_column(const int32_t* x)
{
    int32_t lag = 0;
    for (int32_t k = 1; k < kBlock; ++k)
        lag = std::min(lag, (x[k] >> kFracBits) - k - (x[0] >> kFracBits));
    return (*std::min_element(x, x + kBlock) + kPixel * lag) & -kPixel;
}

// Tent weights of four source columns for the position `behind` sixteenths behind the first: linear
// between the two next to it, nothing beyond the fourth. In the order of kernels::ProjectionRow.
void _fill_tent(uint8_t* weights, int32_t behind)
{
    for (int32_t j = 0; j < kPatch; ++j) {
        const int32_t weight = std::max(0, kPixel - abs(behind - kPixel * j));
        weights[j % 2 + 2 * kBlock * (j / 2)] = static_cast<uint8_t>(behind > kPatchReach ? 0 : weight);
    }
}

// u(x) to both sides of the centre.
void _fill_source_columns(int32_t* source_x, const int32_t* circle, int32_t width)
{
    const int32_t half_width = width / 2;
    for (int32_t x = 0; x < half_width; ++x) {
        const int32_t u = std::min(kPixel * (half_width - 1), x * _scale(width) / circle[x]);
        source_x[half_width + x] = kPixel * half_width + u;
        source_x[half_width - 1 - x] = kPixel * (half_width - 1) - u;
    }
}

void _fill_blocks(const Projection& projection, const int32_t* source_x)
{
    for (int32_t b = 0; b < projection.blocks; ++b, source_x += kBlock) {
        const int32_t base = _base_column(source_x);
        projection.bases[static_cast<size_t>(b)] = base >> kFracBits;
        uint8_t* weights = projection.columns.get() + ptrdiff_t{kColumnWeights} * b;
        for (int32_t k = 0; k < kBlock; ++k)
            _fill_tent(weights + 2 * k, source_x[k] - base - kPixel * k);
    }
}

// Positions right and left of the centre add up to the last pair. The stretch is less than two: the
// pairs of a block are within 8.
void _fill_pairs(const Projection& projection, const int32_t* source_x)
{
    const int32_t pairs = projection.blocks * kBlockPairs;
    const auto source_pair = [&](int32_t p) { return (source_x[ptrdiff_t{2} * p] >> kFracBits) / 2; };
    for (int32_t p = 0; p < pairs; ++p) {
        const int32_t pair = p >= pairs / 2 ? source_pair(p) : pairs - 1 - source_pair(pairs - 1 - p);
        int32_t* base = projection.pair_bases.get() + p / kBlockPairs;
        if (p % kBlockPairs == 0)
            *base = pair;
        uint8_t* order = projection.pair_order.get() + ptrdiff_t{2} * p;
        order[0] = static_cast<uint8_t>(2 * (pair - *base));
        order[1] = static_cast<uint8_t>(order[0] + 1);
    }
}

// A block on the centre begins with four columns that mirror the next four.
void _fill_curves(const Projection& projection, const int32_t* circle)
{
    const int32_t left = projection.blocks % 2 * (kBlock / 2);
    const int32_t scale = _scale(projection.blocks * kBlock);
    for (int32_t i = 0; i < projection.half_blocks * kBlock; ++i) {
        const int32_t divisor = circle[i < left ? left - 1 - i : i - left];
        ProjectionCurves* curves = &projection.curves[static_cast<size_t>(i / kBlock)];
        curves->divisors[i % kBlock] = divisor;
        curves->steps[i % kBlock] = scale / divisor;
        curves->step_rests[i % kBlock] = scale % divisor;
    }
}

void _restart(const Projection& projection)
{
    for (int32_t b = 0; b < projection.half_blocks; ++b) {
        ProjectionCurves* curves = &projection.curves[static_cast<size_t>(b)];
        memset(curves->values, 0, sizeof(curves->values));
        memset(curves->rests, 0, sizeof(curves->rests));
    }
}

ProjectionRowOut _out(const ProjectedRow& row)
{
    return {row.offsets.get(), row.rows.get()};
}

}  // namespace

bool ozr::core::ProjectedRow::allocate(int32_t width)
{
    offsets = make_unfilled_buffer<int32_t>(width / kBlock);
    rows = make_unfilled_buffer<uint8_t>(width);
    chroma_offsets = make_unfilled_buffer<int32_t>(width / kBlock);
    chroma_map = make_unfilled_buffer<int32_t>(width / 2);
    return offsets && rows && chroma_offsets && chroma_map;
}

Projection::Projection(int32_t width) : blocks(width / kBlock), half_blocks((blocks + 1) / 2) {}

Projection* Projection::create(int32_t width)
{
    std::unique_ptr<Projection> projection(new (std::nothrow_t{}) Projection(width));
    return projection && projection->allocate() && projection->fill() ? projection.release() : nullptr;
}

bool Projection::allocate()
{
    const int32_t width = blocks * kBlock;
    columns = make_unfilled_buffer<uint8_t>(int64_t{blocks} * kColumnWeights);
    bases = make_unfilled_buffer<int32_t>(blocks);
    pair_bases = make_unfilled_buffer<int32_t>(blocks);
    pair_order = make_unfilled_buffer<uint8_t>(width);
    curves = make_unfilled_buffer<ProjectionCurves>(half_blocks);
    return columns && bases && pair_bases && pair_order && curves && below.allocate(width) &&
           above.allocate(width);
}

bool Projection::fill()
{
    const int32_t width = blocks * kBlock;
    const auto circle = make_unfilled_buffer<int32_t>(width / 2);
    const auto source_x = make_unfilled_buffer<int32_t>(width);
    if (!circle || !source_x)
        return false;
    _fill_circle(circle.get(), _radius(width), width / 2);
    _fill_source_columns(source_x.get(), circle.get(), width);
    _fill_blocks(*this, source_x.get());
    _fill_curves(*this, circle.get());
    _fill_pairs(*this, source_x.get());
    return true;
}

void* Projection::operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return ozr_malloc(static_cast<uint32_t>(size));
}

void Projection::operator delete(void* projection, const std::nothrow_t& /*tag*/) noexcept
{
    ozr_free(projection);
}

void Projection::operator delete(void* projection) noexcept
{
    ozr_free(projection);
}

ProjectionWalk::ProjectionWalk(const PanoramaCore* pi)
    : kernels_(kernels::active()), projection_(pi->projection), stride_(pi->input.stride),
      half_height_(pi->input.half_height)
{
    _restart(*projection_);
}

bool ProjectionWalk::next()
{
    if (projection_->blocks == 0 || ++y_ >= half_height_)
        return false;
    if (has_chroma())
        place_chroma();
    const ProjectionRowPair pair = {
        _out(projection_->below),   _out(projection_->above), projection_->bases.get(), stride_, half_height_,
        kPixel * (half_height_ - 1)};
    kernels_->project.rows_of_curves(pair, projection_->curves.get(), projection_->blocks);
    return true;
}

// Source rows below and above the centre add up to the last one. A block on the
// centre mirrors itself.
void ProjectionWalk::place_chroma() const
{
    const int32_t blocks = projection_->blocks;
    const ProjectionCurves* curves = projection_->curves.get();
    for (int32_t right = blocks / 2, left = (blocks - 1) / 2; right < blocks; ++right, --left, ++curves) {
        const int32_t line = line_of(curves->values[left == right ? kBlock / 2 : 0]);
        if (line == line_of(curves->values[kBlock - 2])) {
            place_blocks(projection_->below, left, right, line);
            place_blocks(projection_->above, left, right, half_height_ - 1 - line);
        } else {
            place_pairs(left, right, *curves);
        }
    }
}

// Blocks whose pairs come from one source row.
void ProjectionWalk::place_blocks(const ProjectedRow& row, int32_t left, int32_t right, int32_t line) const
{
    const int32_t* bases = projection_->pair_bases.get();
    const int32_t first = pair_of(line);
    row.chroma_offsets.get()[right] = 2 * (first + bases[right]);
    row.chroma_offsets.get()[left] = 2 * (first + bases[left]);
}

// Blocks whose pairs come from several.
void ProjectionWalk::place_pairs(int32_t left, int32_t right, const ProjectionCurves& curves) const
{
    for (const ProjectedRow* row : {&projection_->below, &projection_->above})
        row->chroma_offsets.get()[left] = row->chroma_offsets.get()[right] = -1;
    for (int32_t k = 0; k < kBlockPairs; ++k) {
        const int32_t line = line_of(curves.values[2 * (left == right && k < 2 ? kBlockPairs - 1 - k : k)]);
        place_pair(kBlockPairs * right + k, line);
        place_pair(kBlockPairs * left + kBlockPairs - 1 - k, line);
    }
}

void ProjectionWalk::place_pair(int32_t pair, int32_t line) const
{
    const auto p = static_cast<size_t>(pair);
    const int32_t column = projection_->pair_bases[p / kBlockPairs] + projection_->pair_order[2 * p] / 2;
    projection_->below.chroma_map[p] = pair_of(line) + column;
    projection_->above.chroma_map[p] = pair_of(half_height_ - 1 - line) + column;
}
