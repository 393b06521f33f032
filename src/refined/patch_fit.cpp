// Both steps sample the second picture in the shape of the first, with 3 fractional bits: a level
// is 8 units. The fit is that of Lucas and Kanade in its inverse form: gradients are the first
// picture's, so the normal equations are solved once; brightness and contrast are unknowns beside
// the two of the place.
#include "refined/patch_fit.h"

#include <algorithm>
#include <cmath>

#include "kernels/kernels.h"
#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kPlaceBits = 16;
constexpr int32_t kWeightBits = 8;
constexpr int32_t kLevelBits = 3;
constexpr int32_t kLevelOne = 1 << kLevelBits;

constexpr int32_t kSearchHalf = kSearchSide / 2;
constexpr int32_t kSearchPixels = kSearchSide * kSearchSide;
constexpr int32_t kWindowSide = kSearchSide + 2 * kMaxReach;

constexpr int32_t kFitHalf = 8;
constexpr int32_t kFitSide = 2 * kFitHalf + 1;
constexpr int32_t kFitPixels = kFitSide * kFitSide;

// Patches are multiplied in rows of 16 numbers, whole vectors of all kinds: zeros of one factor
// fill up what is less.
constexpr int32_t kVector = 16;
constexpr int32_t kFitRoom = (kFitPixels + kVector - 1) / kVector * kVector;
static_assert(kSearchSide <= kVector);

// Steps of a fit; most end after three or four.
constexpr int32_t kFitSteps = 6;
constexpr double kFitDone = 0.01;        // pixels
constexpr double kLeastContrast = 0.25;  // of the second patch against the first

// What was too bright for the camera has one value, white, and ends elsewhere than in a darker
// picture. Video's white is 235; some cameras go on to 255. A patch may have so many pixels of it.
constexpr int32_t kDarkestWhite = 234 << kLevelBits;
constexpr int32_t kSameLevel = kLevelOne / 2;
constexpr int32_t kMostWhite = 16;

bool _holds(const ConstPlane& plane, int32_t x, int32_t y, int32_t half)
{
    return x >= half && y >= half && x + half < plane.width && y + half < plane.height;
}

// Values of 3 fractional bits are at most 2550, so that the 289 products of a fit stay below 2^31.
// One of both has zeros behind them.
int32_t _dot(const int16_t* a, const int16_t* b)
{
    return kernels::active()->match.dot_product({a, kVector, b, kVector, kVector, kFitRoom / kVector});
}

// Samples (2 half + 1)^2 places around that of the second picture, bilinear. False where one lies
// outside.
bool _sample(const PatchTask& task, int32_t half, int16_t* out)
{
    const ConstPlane& plane = *task.second_plane;
    const PatchShape& shape = task.shape;
    const double x = task.second_x, y = task.second_y;
    const double reach_x = half * ((shape.right_x < 0 ? -shape.right_x : shape.right_x) +
                                   (shape.down_x < 0 ? -shape.down_x : shape.down_x));
    const double reach_y = half * ((shape.right_y < 0 ? -shape.right_y : shape.right_y) +
                                   (shape.down_y < 0 ? -shape.down_y : shape.down_y));
    if (!(x - reach_x >= 0.5 && y - reach_y >= 0.5 && x + reach_x <= plane.width - 2.5 &&
          y + reach_y <= plane.height - 2.5))
        return false;
    const double one = 1 << kPlaceBits;
    const auto fixed = [=](double v) { return static_cast<int32_t>(v < 0 ? v * one - 0.5 : v * one + 0.5); };
    kernels::PatchPlaces places = {};
    places.right_x = fixed(shape.right_x);
    places.right_y = fixed(shape.right_y);
    places.down_x = fixed(shape.down_x);
    places.down_y = fixed(shape.down_y);
    places.side = 2 * half + 1;
    // Half a weight is added once, so that cutting the lower bits off rounds.
    const int32_t rounding = 1 << (kPlaceBits - kWeightBits - 1);
    places.x = fixed(x) + rounding - half * (places.right_x + places.down_x);
    places.y = fixed(y) + rounding - half * (places.right_y + places.down_y);
    kernels::active()->match.sample_patch(out, {plane.data, plane.stride, plane.width, plane.height}, places);
    return true;
}

void _move(PatchTask* task, double right, double down)
{
    task->second_x += right * task->shape.right_x + down * task->shape.down_x;
    task->second_y += right * task->shape.right_y + down * task->shape.down_y;
}

// The patch of the first picture less its mean in whole units; what is left of the sum is taken off
// at the end.
struct Template {
    int16_t values[kSearchSide * kVector];  // zeros behind each row
    int32_t sum;
    int32_t square;
};

void _make_template(const ConstPlane& plane, int32_t x, int32_t y, Template* out)
{
    int16_t values[kSearchPixels];
    int32_t sum = 0;
    int32_t at = 0;
    for (int32_t j = -kSearchHalf; j <= kSearchHalf; ++j) {
        for (int32_t i = -kSearchHalf; i <= kSearchHalf; ++i, ++at) {
            values[at] = static_cast<int16_t>(plane.row(y + j)[x + i] << kLevelBits);
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

// Of a part of a window, as large as a template.
struct PartSums {
    int32_t sum;
    int32_t square;  // the sum of squares
};

// Sums over as many rows of a window as a template has, for each of its columns: of values and
// of their squares.
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

    // Of the part of the window from a column on.
    PartSums part(int32_t column) const
    {
        PartSums part = {};
        for (int32_t x = column; x < column + kSearchSide; ++x) {
            part.sum += sums_[x];
            part.square += squares_[x];
        }
        return part;
    }

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

// The template against the part of a window whose top left corner is given.
PatchLikeness _likeness(const Template& patch, const int16_t* window, int32_t side, const PartSums& part)
{
    const int32_t product =
        kernels::active()->match.dot_product({patch.values, kVector, window, side, kVector, kSearchSide});
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

constexpr int32_t kUnknowns = 4;  // right, down, contrast, brightness

// What a fit keeps of the first picture: the patch, its gradients, ones; and the inverse of
// their normal equations.
struct FitBasis {
    int16_t values[kUnknowns][kFitRoom] = {};
    double inverse[kUnknowns][kUnknowns];
    double sum;     // of the patch
    double square;  // of the patch less its mean
};

enum FitUnknown { kRight, kDown, kContrast, kBrightness };

void _fill_basis(const ConstPlane& plane, int32_t x, int32_t y, FitBasis* basis)
{
    int32_t at = 0;
    for (int32_t j = -kFitHalf; j <= kFitHalf; ++j) {
        const uint8_t* row = plane.row(y + j) + x - kFitHalf;
        const uint8_t* above = row - plane.stride;
        const uint8_t* below = row + plane.stride;
        for (int32_t i = 0; i < kFitSide; ++i, ++at) {
            basis->values[kRight][at] = static_cast<int16_t>((row[i + 1] - row[i - 1]) * (kLevelOne / 2));
            basis->values[kDown][at] = static_cast<int16_t>((below[i] - above[i]) * (kLevelOne / 2));
            basis->values[kContrast][at] = static_cast<int16_t>(row[i] << kLevelBits);
            basis->values[kBrightness][at] = 1;
        }
    }
}

// What the second picture's light makes of the patch and of its gradients. Products of 16 bits of
// which the upper half counts are quick; shares of light are so small that they fit. Numbers stay
// below 2560: the 289 products of two are below 2^31.
void _fade(const PatchFade& fade, FitBasis* basis)
{
    constexpr int32_t kBits = 16, kOne = 1 << kBits;
    static_assert(2 * kFitHalf * kMostFade * kOne < INT16_MAX);
    const int32_t right = nearest_int(fade.right * kOne);
    const int32_t down = nearest_int(fade.down * kOne);
    int16_t light[kFitRoom] = {};  // what is added
    int32_t at = 0;
    for (int32_t j = -kFitHalf; j <= kFitHalf; ++j) {
        for (int32_t i = -kFitHalf; i <= kFitHalf; ++i, ++at)
            light[at] = static_cast<int16_t>(right * i + down * j);
    }
    const auto share = [](int32_t value, int32_t of_it) { return value * of_it >> kBits; };
    int16_t *value = basis->values[kContrast], *rightward = basis->values[kRight],
            *downward = basis->values[kDown];
    for (int32_t i = 0; i < kFitRoom; ++i) {
        rightward[i] =
            static_cast<int16_t>(rightward[i] + share(rightward[i], light[i]) + share(value[i], right));
        downward[i] =
            static_cast<int16_t>(downward[i] + share(downward[i], light[i]) + share(value[i], down));
        value[i] = static_cast<int16_t>(value[i] + share(value[i], light[i]));
    }
}

// Gauss-Jordan on a positive definite matrix; false where it is nearly singular.
bool _invert(double a[kUnknowns][kUnknowns], double inverse[kUnknowns][kUnknowns])
{
    for (int32_t i = 0; i < kUnknowns; ++i) {
        for (int32_t j = 0; j < kUnknowns; ++j)
            inverse[i][j] = i == j ? 1.0 : 0.0;
    }
    for (int32_t i = 0; i < kUnknowns; ++i) {
        const double pivot = a[i][i];
        if (!(pivot > 1.0))
            return false;
        for (int32_t j = 0; j < kUnknowns; ++j) {
            a[i][j] /= pivot;
            inverse[i][j] /= pivot;
        }
        for (int32_t k = 0; k < kUnknowns; ++k) {
            const double factor = a[k][i];
            if (k == i || factor == 0.0)
                continue;
            for (int32_t j = 0; j < kUnknowns; ++j) {
                a[k][j] -= factor * a[i][j];
                inverse[k][j] -= factor * inverse[i][j];
            }
        }
    }
    return true;
}

// Works out the normal equations of a filled basis. False where they have no solution.
bool _solve_basis(FitBasis* basis)
{
    double normal[kUnknowns][kUnknowns];
    for (int32_t i = 0; i < kUnknowns; ++i) {
        for (int32_t j = 0; j <= i; ++j) {
            normal[i][j] = _dot(basis->values[i], basis->values[j]);
            normal[j][i] = normal[i][j];
        }
    }
    const double sum = normal[kContrast][kBrightness];
    basis->sum = sum;
    basis->square = normal[kContrast][kContrast] - sum * sum / kFitPixels;
    // Elimination from the last unknown to the first leaves the gradients what brightness and
    // contrast do not explain.
    return _invert(normal, basis->inverse);
}

bool _is_overexposed(const int16_t* patch)
{
    // The compiler makes vectors of this one, not of std::max_element.
    int16_t brightest = patch[0];
    for (int32_t i = 1; i < kFitPixels; ++i)
        brightest = std::max(brightest, patch[i]);
    if (brightest < kDarkestWhite)
        return false;
    const auto is_white = [=](int16_t value) { return value + kSameLevel >= brightest; };
    return std::count_if(patch, patch + kFitPixels, is_white) > kMostWhite;
}

// False where a patch has nothing to hold on to.
bool _make_basis(const PatchTask& task, FitBasis* basis)
{
    _fill_basis(*task.first_plane, task.first_x, task.first_y, basis);
    if (_is_overexposed(basis->values[kContrast]))
        return false;
    if (task.fade.right != 0.0 || task.fade.down != 0.0)
        _fade(task.fade, basis);
    return _solve_basis(basis);
}

// The patch as it was sampled, in the terms of the basis.
struct FitState {
    double right;
    double down;
    double contrast;
    double correlation;
};

FitState _measure(const FitBasis& basis, const int16_t* sampled)
{
    double products[kUnknowns];
    for (int32_t i = 0; i < kUnknowns; ++i)
        products[i] = _dot(basis.values[i], sampled);
    double solution[kUnknowns];
    for (int32_t i = 0; i < kUnknowns; ++i) {
        solution[i] = 0.0;
        for (int32_t j = 0; j < kUnknowns; ++j)
            solution[i] += basis.inverse[i][j] * products[j];
    }
    const double sum = products[kBrightness];
    const double square = _dot(sampled, sampled) - sum * sum / kFitPixels;
    const double product = products[kContrast] - sum * basis.sum / kFitPixels;
    FitState state = {0.0, 0.0, solution[kContrast], 0.0};
    if (product > 0.0 && square > 0.0 && basis.square > 0.0)
        state.correlation = product / std::sqrt(square * basis.square);
    if (state.contrast >= kLeastContrast) {
        state.right = solution[kRight] / state.contrast;
        state.down = solution[kDown] / state.contrast;
    }
    return state;
}

}  // namespace

bool compare_patch(const PatchTask& task, PatchLikeness* likeness)
{
    int16_t window[kSearchPixels + kVector] = {};
    if (!_holds(*task.first_plane, task.first_x, task.first_y, kSearchHalf) ||
        !_sample(task, kSearchHalf, window))
        return false;
    Template patch;
    _make_template(*task.first_plane, task.first_x, task.first_y, &patch);
    *likeness = _likeness(patch, window, kSearchSide, ColumnSums(window, kSearchSide).part(0));
    return true;
}

double search_patch(PatchTask* task, int32_t reach)
{
    int16_t window[kWindowSide * kWindowSide + kVector];
    if (!_holds(*task->first_plane, task->first_x, task->first_y, kSearchHalf) ||
        !_sample(*task, kSearchHalf + reach, window))
        return -1.0;
    Template patch;
    _make_template(*task->first_plane, task->first_x, task->first_y, &patch);
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
    _move(task, best_right, best_down);
    return best;
}

double fit_patch(PatchTask* task, double drift)
{
    // The gradients reach one pixel further than the patch.
    if (!_holds(*task->first_plane, task->first_x, task->first_y, kFitHalf + 1))
        return -1.0;
    FitBasis basis;
    if (!_make_basis(*task, &basis))
        return -1.0;
    const double start_x = task->second_x;
    const double start_y = task->second_y;
    int16_t sampled[kFitRoom] = {};
    FitState state = {};
    for (int32_t step = 0; step < kFitSteps; ++step) {
        if (!_sample(*task, kFitHalf, sampled))
            return -1.0;
        state = _measure(basis, sampled);
        if (state.contrast < kLeastContrast)
            return -1.0;
        // What is seen a little to the right must be looked for a little to the left.
        _move(task, -state.right, -state.down);
        const double drift_x = task->second_x - start_x;
        const double drift_y = task->second_y - start_y;
        if (!(drift_x * drift_x + drift_y * drift_y <= drift * drift))
            return -1.0;
        if (state.right * state.right + state.down * state.down <= kFitDone * kFitDone)
            break;
    }
    return _is_overexposed(sampled) ? -1.0 : state.correlation;
}

}  // namespace ozr::refined
