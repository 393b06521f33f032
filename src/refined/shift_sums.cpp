#include "refined/shift_sums.h"

#include <algorithm>
#include <cmath>

#include "kernels/kernels.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kGroup = kernels::kShiftGroup;
constexpr int32_t kMostAtOnce = kUnrolledMargin;  // shifts; more would need a wider margin
static_assert(kMaxContrast <= kernels::kMostCorrelated);

int32_t _whole_groups(int32_t count)
{
    return (count + kGroup - 1) / kGroup * kGroup;
}

// The rows of the first picture that both have.
Interval _common_rows(const Unrolled& a, const Unrolled& b, int32_t down)
{
    return common_part({0, a.height}, {down, b.height + down});
}

// The compiler makes vectors of loops whose length it knows.
void _add_between(int32_t* __restrict sums, const int32_t* __restrict ends, const int32_t* __restrict begins)
{
    for (int32_t i = 0; i < kGroup; ++i)
        sums[i] += ends[i] - begins[i];
}

}  // namespace

PanoResult SquaresBefore::init(const Unrolled& image, int32_t least_count, int32_t most_count)
{
    least = least_count;
    stride = most_count - least_count + 1;
    sums = make_unfilled_buffer<int32_t>(int64_t{stride} * image.height);
    if (!sums)
        return kPanoNoMemory;
    int32_t* out = sums.get();
    for (int32_t y = 0; y < image.height; ++y) {
        const int16_t* row = image.row(y);
        int32_t sum = 0;
        int32_t count = least_count;
        for (; count <= std::min(0, most_count); ++count)
            *out++ = 0;
        // What the first sum is there for already, if there are less than none before it.
        for (int32_t x = 0; x < std::min(count - 1, image.width); ++x)
            sum += row[x] * row[x];
        for (; count <= std::min(image.width, most_count); ++count) {
            sum += row[count - 1] * row[count - 1];
            *out++ = sum;
        }
        for (; count <= most_count; ++count)
            *out++ = sum;
    }
    return kPanoSuccess;
}

PanoResult ShiftSums::init(const Unrolled& a, const Unrolled& b, const Interval& shifts)
{
    a_ = &a;
    b_ = &b;
    // Groups reach beyond the last shift.
    const int32_t most = shifts.end + kGroup, capacity = _whole_groups(shifts.length());
    aa_ = make_unfilled_buffer<int32_t>(capacity);
    bb_ = make_unfilled_buffer<int32_t>(capacity);
    ab_ = make_unfilled_buffer<int32_t>(capacity);
    if (!aa_ || !bb_ || !ab_)
        return kPanoNoMemory;
    PANO_FORWARD(squares_a_.init(a, shifts.first, b.width + most));
    return squares_b_.init(b, -most, a.width - shifts.first);
}

void ShiftSums::measure(const Interval& shifts, int32_t down)
{
    first_ = shifts.first;
    count_ = _whole_groups(shifts.length());
    add_squares(down);
    multiply(down);
}

// Over what the other picture shows of a row; the row's own picture is 0 where it shows nothing.
void ShiftSums::add_squares(int32_t down)
{
    std::fill_n(aa_.get(), count_, 0);
    std::fill_n(bb_.get(), count_, 0);
    const Interval rows = _common_rows(*a_, *b_, down);
    const int32_t last = first_ + count_ - 1;
    for (int32_t y = rows.first; y < rows.end; ++y) {
        const Interval in_a = a_->shown.get()[y], in_b = b_->shown.get()[y - down];
        const int32_t *a_end = squares_a_.at(y, in_b.end + first_),
                      *a_begin = squares_a_.at(y, in_b.first + first_),
                      *b_end = squares_b_.at(y - down, in_a.end - last),
                      *b_begin = squares_b_.at(y - down, in_a.first - last);
        for (int32_t i = 0; i < count_; i += kGroup) {
            _add_between(aa_.get() + i, a_end + i, a_begin + i);
            _add_between(bb_.get() + i, b_end + i, b_begin + i);
        }
    }
}

void ShiftSums::multiply(int32_t down)
{
    const auto correlate = kernels::active()->match.correlate_shifts;
    const Interval rows = _common_rows(*a_, *b_, down);
    for (int32_t i = 0; i < count_; i += kMostAtOnce) {
        const int32_t shifts = std::min(kMostAtOnce, count_ - i), shift = first_ + i;
        // All columns of the second picture that meet the first one at any of the shifts.
        const Interval columns = common_part({0, b_->width}, {1 - shift - shifts, a_->width - shift});
        if (columns.is_empty() || rows.is_empty()) {
            std::fill_n(ab_.get() + i, shifts, 0);
            continue;
        }
        correlate(ab_.get() + i,
                  {a_->row(rows.first) + columns.first + shift, a_->stride,
                   b_->row(rows.first - down) + columns.first, b_->stride, columns.length(), rows.length()},
                  shifts);
    }
}

double ShiftSums::correlation(int32_t shift) const
{
    const int32_t at = shift - first_;
    const int32_t aa = aa_.get()[at], bb = bb_.get()[count_ - 1 - at];
    if (aa == 0 || bb == 0)
        return 0.0;
    return ab_.get()[at] / std::sqrt(static_cast<double>(aa) * bb);
}

int64_t count_shared(const Unrolled& a, const Unrolled& b, int32_t shift, int32_t down)
{
    int64_t shared = 0;
    const Interval rows = _common_rows(a, b, down);
    for (int32_t y = rows.first; y < rows.end; ++y) {
        const Interval in_a = a.shown.get()[y], in_b = b.shown.get()[y - down];
        shared += std::max(common_part(in_a, {in_b.first + shift, in_b.end + shift}).length(), 0);
    }
    return shared;
}

}  // namespace ozr::refined
