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

ProjectionRowOut _out(const ProjectedRow& row, int32_t first_block)
{
    return {row.offsets.get() + first_block, row.rows.get() + ptrdiff_t{kBlock} * first_block};
}

void _reverse_block(uint8_t* dst, const uint8_t* src)
{
    uint64_t bytes = 0;
    memcpy(&bytes, src, kBlock);
    bytes = __builtin_bswap64(bytes);
    memcpy(dst, &bytes, kBlock);
}

}  // namespace

bool ozr::core::ProjectedRow::allocate(int32_t width)
{
    offsets = make_unfilled_buffer<int32_t>(width / kBlock);
    rows = make_unfilled_buffer<uint8_t>(width);
    chroma_map = make_unfilled_buffer<int32_t>(width / 2);
    return offsets && rows && chroma_map;
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
    chroma_pairs = make_unfilled_buffer<int32_t>(width / 4);
    curves = make_unfilled_buffer<ProjectionCurves>(half_blocks);
    return columns && bases && chroma_pairs && curves && below.allocate(width) && above.allocate(width);
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
    for (int32_t x = width / 2; x < width; x += 2)
        chroma_pairs[static_cast<size_t>((x - width / 2) / 2)] =
            (source_x[static_cast<size_t>(x)] >> kFracBits) / 2;
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
    if (++y_ >= half_height_)
        return false;
    if (has_chroma())
        map_chroma();
    const int32_t left_blocks = projection_->blocks - projection_->half_blocks;
    const ProjectionRowPair pair = {_out(projection_->below, left_blocks),
                                    _out(projection_->above, left_blocks),
                                    projection_->bases.get() + left_blocks,
                                    stride_,
                                    half_height_,
                                    kPixel * (half_height_ - 1)};
    kernels_->project.rows_of_curves(pair, projection_->curves.get(), projection_->half_blocks);
    mirror(projection_->below);
    mirror(projection_->above);
    return true;
}

// The left half from the right one.
void ProjectionWalk::mirror(const ProjectedRow& row) const
{
    const int32_t* bases = projection_->bases.get();
    int32_t* offsets = row.offsets.get();
    uint8_t* rows = row.rows.get();
    for (int32_t left = 0, right = projection_->blocks - 1; left < right; ++left, --right) {
        offsets[left] = offsets[right] - bases[right] + bases[left];
        _reverse_block(rows + ptrdiff_t{kBlock} * left, rows + ptrdiff_t{kBlock} * right);
    }
}

// Positions below and above the centre add up to the last row, those right and left of it to the last pair.
void ProjectionWalk::map_chroma()
{
    const int32_t half_pairs = projection_->blocks * kBlock / 4;
    const ProjectionCurves* curves = projection_->curves.get();
    const int32_t first = projection_->blocks % 2 * (kBlock / 2);
    int32_t* below = projection_->below.chroma_map.get() + half_pairs;
    int32_t* above = projection_->above.chroma_map.get() + half_pairs;
    for (int32_t p = 0; p < half_pairs; ++p) {
        const int32_t column = first + 2 * p;
        const int32_t v = curves[column / kBlock].values[column % kBlock] >> kFracBits;
        const int32_t line = (half_height_ + v) / 2;
        const int32_t to_below = line * stride_ / 2;
        const int32_t to_above = (half_height_ - 1 - line) * stride_ / 2;
        const int32_t right = projection_->chroma_pairs[static_cast<size_t>(p)];
        const int32_t left = 2 * half_pairs - 1 - right;
        below[p] = right + to_below;
        below[-1 - p] = left + to_below;
        above[p] = right + to_above;
        above[-1 - p] = left + to_above;
    }
}
