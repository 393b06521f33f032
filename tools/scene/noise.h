// Reproducible randomness: integer hashes and value noise, the same on every machine.
#ifndef NOISE_H
#define NOISE_H

#include <stdint.h>

namespace ozr_pano
{

/** 32 well-mixed bits for a place. */
constexpr uint32_t hash_at(int32_t x, int32_t y, uint32_t seed)
{
    uint32_t h =
        static_cast<uint32_t>(x) * 0x9E3779B1U ^ static_cast<uint32_t>(y) * 0x85EBCA77U ^ seed * 0xC2B2AE3DU;
    h = (h ^ h >> 15) * 0x2C1B3C6DU;
    h = (h ^ h >> 12) * 0x297A2D39U;
    return h ^ h >> 15;
}

/**
 * Smooth noise, 0 to 65535.
 *
 * @param x, y  place; the noise takes a new value once in 4096 units (Q20.12 cells).
 */
uint32_t value_noise(uint32_t x, uint32_t y, uint32_t seed);

/** Sum of value noises, each of half the size and half the strength of the one before, 0 to 65535. */
uint32_t fractal_noise(uint32_t x, uint32_t y, int octaves, uint32_t seed);

/** Smooth noise along a line, -1 to 1, with a new value at every whole number; place is not negative. */
double wander(double place, uint32_t seed);

/** A sequence of random numbers. */
class Dice
{
public:
    explicit Dice(uint32_t seed) : seed_(seed) {}
    uint32_t roll() { return hash_at(count_++, 0x5EED, seed_); }
    /** 0 to count - 1. */
    uint32_t below(uint32_t count) { return static_cast<uint32_t>((uint64_t{roll()} * count) >> 32); }
    /** A number from low to high in 65536 steps. */
    double between(double low, double high) { return low + (high - low) * (below(65536) / 65536.0); }
    bool chance(uint32_t percent) { return below(100) < percent; }

private:
    uint32_t seed_;
    int32_t count_ = 0;
};

}  // namespace ozr_pano

#endif
