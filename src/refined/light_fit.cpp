#include "refined/light_fit.h"

#include "refined/elementary.h"

namespace ozr::refined
{

namespace
{

// Exposures are near each other: places that say so, each with an error of 1. They decide where no
// other place does, and are outvoted by a few.
constexpr double kExposurePrior = 0.1;

}  // namespace

LightRound::LightRound(int32_t pictures, double falloff_prior, const LightSolution& so_far, double scale)
    : pictures_(pictures), so_far_(so_far), scale_(scale)
{
    equations_.unknowns = pictures + kTerms;
    for (int32_t i = 0; i < pictures + kTerms; ++i)
        equations_.matrix[i][i] = i < pictures ? kExposurePrior : falloff_prior;
}

// The equations of the two pictures' unknowns are at hand while places are added.
void LightRound::add(int32_t a, int32_t b, const Light* in_a, const Light* in_b, int32_t count)
{
    constexpr int32_t kPairUnknowns = 2 + kTerms;
    const int32_t unknowns[kPairUnknowns] = {a, b, pictures_, pictures_ + 1};
    const double* exposures = so_far_.exposures;
    const Falloff& falloff = so_far_.falloff;
    double matrix[kPairUnknowns][kPairUnknowns] = {};
    double right[kPairUnknowns];
    for (int32_t i = 0; i < kPairUnknowns; ++i) {
        for (int32_t j = 0; j <= i; ++j)
            matrix[i][j] = equations_.matrix[unknowns[i]][unknowns[j]];
        right[i] = equations_.right[unknowns[i]];
    }
    for (int32_t n = 0; n < count; ++n) {
        if (in_a[n].level == 0.0F || in_b[n].level == 0.0F)
            continue;
        const double p = static_cast<double>(in_a[n].spread), q = static_cast<double>(in_b[n].spread);
        const double factors[kPairUnknowns] = {1.0, -1.0, q - p, q * q - p * p};
        const double value = static_cast<double>(in_a[n].level) - static_cast<double>(in_b[n].level);
        const double error =
            value - exposures[a] + exposures[b] - factors[2] * falloff.first - factors[3] * falloff.second;
        const double far = error / scale_, near = 1.0 / (1.0 + far * far), weight = near * near;
        // The whole square, which is quicker than its lower half.
        for (int32_t i = 0; i < kPairUnknowns; ++i) {
            const double weighted = weight * factors[i];
            for (int32_t j = 0; j < kPairUnknowns; ++j)
                matrix[i][j] += weighted * factors[j];
            right[i] += weighted * value;
        }
    }
    for (int32_t i = 0; i < kPairUnknowns; ++i) {
        for (int32_t j = 0; j <= i; ++j)
            equations_.matrix[unknowns[i]][unknowns[j]] = matrix[i][j];
        equations_.right[unknowns[i]] = right[i];
    }
}

// Priors keep the matrix far from singular.
LightSolution LightRound::solve()
{
    double numbers[kUnknowns] = {};
    equations_.solve(numbers);
    LightSolution solution = {};
    std::copy_n(numbers, pictures_, solution.exposures);
    solution.falloff = {numbers[pictures_], numbers[pictures_ + 1]};
    return solution;
}

float logarithm_of_light(double mean, int32_t level)
{
    constexpr double kLost = 0.375;  // levels that a halving loses on average, as it truncates
    return static_cast<float>(logarithm(mean + kLost * level));
}

}  // namespace ozr::refined
