// Value noise in fixed point.
#include "scene/noise.h"

namespace ozr_pano
{

namespace
{

constexpr uint32_t kCellBits = 12, kCellMask = (1U << kCellBits) - 1;

/** 3t^2 - 2t^3 of t in Q12: at most 4096^3 * 3 before the shift, so 64 bits. */
uint32_t _smooth_step(uint32_t t)
{
    return static_cast<uint32_t>((uint64_t{t} * t * (3 * 4096 - 2 * t)) >> 24);
}

uint32_t _lattice(uint32_t x, uint32_t y, uint32_t seed)
{
    return hash_at(static_cast<int32_t>(x), static_cast<int32_t>(y), seed) >> 16;
}

/** a at weight 0, b at weight 4096; both at most 65535, so the sums stay below 2^28. */
uint32_t _blend(uint32_t a, uint32_t b, uint32_t weight)
{
    return (a * (4096 - weight) + b * weight) >> kCellBits;
}

}  // namespace

uint32_t value_noise(uint32_t x, uint32_t y, uint32_t seed)
{
    const uint32_t cx = x >> kCellBits, cy = y >> kCellBits;
    const uint32_t wx = _smooth_step(x & kCellMask), wy = _smooth_step(y & kCellMask);
    const uint32_t top = _blend(_lattice(cx, cy, seed), _lattice(cx + 1, cy, seed), wx);
    const uint32_t bottom = _blend(_lattice(cx, cy + 1, seed), _lattice(cx + 1, cy + 1, seed), wx);
    return _blend(top, bottom, wy);
}

uint32_t fractal_noise(uint32_t x, uint32_t y, int octaves, uint32_t seed)
{
    uint32_t sum = 0, weights = 0;
    for (int octave = 0; octave < octaves; ++octave) {
        const uint32_t weight = 256U >> octave;
        sum += (value_noise(x << octave, y << octave, seed + static_cast<uint32_t>(octave)) >> 8) * weight;
        weights += weight;
    }
    return weights == 0 ? 0 : sum / weights * 257;
}

double wander(double place, uint32_t seed)
{
    const uint32_t position = static_cast<uint32_t>(place * 4096.0);
    return value_noise(position, 0, seed) / 32767.5 - 1.0;
}

}  // namespace ozr_pano
