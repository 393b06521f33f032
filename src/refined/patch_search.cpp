// The template moves over a window of the second picture, sampled once in the shape of the first.
// Sums over the window's parts are running ones, so that products are all that each place costs.
#include "refined/patch_search.h"

#include <algorithm>
#include <cmath>

#include "kernels/kernels.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kSearchHalf = kSearchSide / 2;
constexpr int32_t kSearchPixels = kSearchSide * kSearchSide;
constexpr int32_t kWindowSide = kSearchSide + 2 * kMaxReach;
static_assert(kSearchSide <= kVector, "a row of a template is one vector");

// The patch of the first picture less its mean in whole units; what is left of the sum is taken off
// at the end.
struct Template {
    int16_t values[kSearchSide * kVector];  // zeros behind each row
    int32_t sum;
    int32_t square;
};

void _make_template(const PatchTask& task, Template* out)
{
    int16_t values[kSearchPixels];
    int32_t sum = 0;
    int32_t at = 0;
    for (int32_t j = -kSearchHalf; j <= kSearchHalf; ++j) {
        const uint8_t* row = task.first_plane->row(task.first_y + j) + task.first_x;
        for (int32_t i = -kSearchHalf; i <= kSearchHalf; ++i, ++at) {
            values[at] = static_cast<int16_t>(row[i] << kSampleBits);
            sum += values[at];
        }
    }
    const int16_t mean = static_cast<int16_t>(sum / kSearchPixels);
    out->sum = sum - mean * kSearchPixels;
    out->square = 0;
    for (int16_t& value : values) {
        value = static_cast<int16_t>(value - mean);
        out->square += value * value;
    }
    std::fill_n(out->values, kSearchSide * kVector, int16_t{0});
    for (int32_t j = 0; j < kSearchSide; ++j)
        std::copy_n(values + j * kSearchSide, kSearchSide, out->values + j * kVector);
}

// Sums over a part of a window that is as large as a template.
struct PartSums {
    int32_t sum;
    int32_t square;  // of squares
};

// Sums of the values of each column of a window, and of their squares, over as many rows as a
// template has.
class ColumnSums
{
public:
    ColumnSums(const int16_t* window, int32_t side) : window_(window), side_(side)
    {
        for (int32_t y = 0; y < kSearchSide; ++y)
            add_row(window + y * side, 1);
    }

    // Goes one row down.
    void advance()
    {
        add_row(window_, -1);
        add_row(window_ + kSearchSide * side_, 1);
        window_ += side_;
    }

    // Of the part whose first column is given.
    PartSums part(int32_t column) const
    {
        PartSums part = {};
        for (int32_t x = column; x < column + kSearchSide; ++x) {
            part.sum += sums_[x];
            part.square += squares_[x];
        }
        return part;
    }

    // The first of its rows.
    const int16_t* window() const { return window_; }

private:
    void add_row(const int16_t* row, int32_t sign)
    {
        for (int32_t x = 0; x < side_; ++x) {
            sums_[x] += sign * row[x];
            squares_[x] += sign * row[x] * row[x];
        }
    }

    const int16_t* window_;
    int32_t side_;
    int32_t sums_[kWindowSide] = {};
    int32_t squares_[kWindowSide] = {};
};

// The template against the part of a window, `side` wide, whose top left corner is given.
PatchLikeness _likeness(const Template& patch, const int16_t* corner, int32_t side, const PartSums& part)
{
    const int32_t product =
        kernels::active()->match.dot_product({patch.values, kVector, corner, side, kVector, kSearchSide});
    const double mean = static_cast<double>(part.sum) / kSearchPixels;
    return {product - mean * patch.sum,
            patch.square - static_cast<double>(patch.sum) * patch.sum / kSearchPixels,
            part.square - mean * part.sum};
}

double _correlation(const PatchLikeness& likeness)
{
    if (likeness.product <= 0.0 || likeness.first_square <= 0.0 || likeness.second_square <= 0.0)
        return 0.0;
    return likeness.product / std::sqrt(likeness.second_square * likeness.first_square);
}

}  // namespace

double search_patch(PatchTask* task, int32_t reach)
{
    int16_t window[kWindowSide * kWindowSide + kVector];
    if (!task->first_plane_holds(kSearchHalf) || !sample_second(*task, kSearchHalf + reach, window))
        return -1.0;
    Template patch;
    _make_template(*task, &patch);
    const int32_t side = kSearchSide + 2 * reach;
    std::fill_n(window + side * side, kVector, int16_t{0});
    double best = -1.0;
    int32_t best_right = 0;
    int32_t best_down = 0;
    ColumnSums sums(window, side);
    for (int32_t down = 0; down <= 2 * reach; ++down) {
        if (down > 0)
            sums.advance();
        for (int32_t right = 0; right <= 2 * reach; ++right) {
            const double value =
                _correlation(_likeness(patch, sums.window() + right, side, sums.part(right)));
            if (value > best) {
                best = value;
                best_right = right - reach;
                best_down = down - reach;
            }
        }
    }
    task->move(best_right, best_down);
    return best;
}

bool compare_patch(const PatchTask& task, PatchLikeness* likeness)
{
    int16_t window[kSearchPixels + kVector] = {};
    if (!task.first_plane_holds(kSearchHalf) || !sample_second(task, kSearchHalf, window))
        return false;
    Template patch;
    _make_template(task, &patch);
    *likeness = _likeness(patch, window, kSearchSide, ColumnSums(window, kSearchSide).part(0));
    return true;
}

}  // namespace ozr::refined
