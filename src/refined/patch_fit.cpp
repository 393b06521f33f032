// The fit is that of Lucas and Kanade in its inverse form: gradients are the first picture's, so
// the normal equations are solved once; brightness and contrast are unknowns beside the two of the
// place.
#include "refined/patch_fit.h"

#include <algorithm>
#include <cmath>

#include "kernels/kernels.h"
#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

constexpr int32_t kFitHalf = 8;
constexpr int32_t kFitSide = 2 * kFitHalf + 1;
constexpr int32_t kFitPixels = kFitSide * kFitSide;
constexpr int32_t kFitRoom = (kFitPixels + kVector - 1) / kVector * kVector;

// Steps of a fit; most end after three or four.
constexpr int32_t kFitSteps = 6;
constexpr double kFitDone = 0.01;        // pixels
constexpr double kLeastContrast = 0.25;  // of the second patch against the first

// What was too bright for the camera has one value, white, and ends elsewhere than in a darker
// picture. Video's white is 235; some cameras go on to 255. A patch may have this many pixels of
// it.
constexpr int32_t kDarkestWhite = 234 << kSampleBits;
constexpr int32_t kSameWhite = kSampleOne / 2;
constexpr int32_t kMostWhite = 16;

enum FitUnknown { kRight, kDown, kContrast, kBrightness };
constexpr int32_t kUnknowns = 4;

// What a fit keeps of the first picture: the patch, its gradients, ones; and the inverse of
// their normal equations.
struct FitBasis {
    int16_t values[kUnknowns][kFitRoom] = {};
    double inverse[kUnknowns][kUnknowns];
    double sum;     // of the patch
    double square;  // of the patch less its mean
};

// Values are at most 2550, that of a white pixel and a quarter more, so that the 289 products of a
// fit stay below 2^31.
int32_t _dot(const int16_t* a, const int16_t* b)
{
    return kernels::active()->match.dot_product({a, kVector, b, kVector, kVector, kFitRoom / kVector});
}

void _fill_basis(const PatchTask& task, FitBasis* basis)
{
    const ConstPlane& plane = *task.first_plane;
    int32_t at = 0;
    for (int32_t j = -kFitHalf; j <= kFitHalf; ++j) {
        const uint8_t* row = plane.row(task.first_y + j) + task.first_x - kFitHalf;
        const uint8_t* above = row - plane.stride;
        const uint8_t* below = row + plane.stride;
        for (int32_t i = 0; i < kFitSide; ++i, ++at) {
            basis->values[kRight][at] = static_cast<int16_t>((row[i + 1] - row[i - 1]) * (kSampleOne / 2));
            basis->values[kDown][at] = static_cast<int16_t>((below[i] - above[i]) * (kSampleOne / 2));
            basis->values[kContrast][at] = static_cast<int16_t>(row[i] << kSampleBits);
            basis->values[kBrightness][at] = 1;
        }
    }
}

// Makes of the patch and of its gradients what the second picture's light makes of them. Shares of
// light have 16 bits: vectors multiply 16-bit numbers and keep the upper half at once.
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
    return _invert(normal, basis->inverse);
}

bool _is_overexposed(const int16_t* patch)
{
    // The compiler makes vectors of this loop, not of std::max_element.
    int16_t brightest = patch[0];
    for (int32_t i = 1; i < kFitPixels; ++i)
        brightest = std::max(brightest, patch[i]);
    if (brightest < kDarkestWhite)
        return false;
    const auto is_white = [=](int16_t value) { return value + kSameWhite >= brightest; };
    return std::count_if(patch, patch + kFitPixels, is_white) > kMostWhite;
}

// False where a patch has nothing to hold on to.
bool _make_basis(const PatchTask& task, const PatchFade& fade, FitBasis* basis)
{
    _fill_basis(task, basis);
    if (_is_overexposed(basis->values[kContrast]))
        return false;
    if (fade.right != 0.0 || fade.down != 0.0)
        _fade(fade, basis);
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

double fit_patch(PatchTask* task, const PatchFade& fade, double drift)
{
    // The gradients reach one pixel further than the patch.
    if (!task->first_plane_holds(kFitHalf + 1))
        return -1.0;
    FitBasis basis;
    if (!_make_basis(*task, fade, &basis))
        return -1.0;
    const double start_x = task->second_x;
    const double start_y = task->second_y;
    int16_t sampled[kFitRoom] = {};
    FitState state = {};
    for (int32_t step = 0; step < kFitSteps; ++step) {
        if (!sample_second(*task, kFitHalf, sampled))
            return -1.0;
        state = _measure(basis, sampled);
        if (state.contrast < kLeastContrast)
            return -1.0;
        // What is seen a little to the right must be looked for a little to the left.
        task->move(-state.right, -state.down);
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
