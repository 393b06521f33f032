// Random numbers for tests and benchmarks.
#ifndef RANDOM_H
#define RANDOM_H

#include <cstdint>

// Reproducible numbers: xorshift32.
class Random
{
public:
    explicit Random(uint32_t seed) : state_(seed * 2654435761U + 1) {}

    uint32_t next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 17;
        state_ ^= state_ << 5;
        return state_;
    }
    int32_t below(int32_t limit) { return static_cast<int32_t>(next() % static_cast<uint32_t>(limit)); }
    uint8_t byte() { return static_cast<uint8_t>(next() >> 24); }

private:
    uint32_t state_;
};

// The trials that a random test makes of those that it makes on the machine itself. Under
// emulation, which takes a hundred times as long, they show what the compiler and the processor do,
// not each path through the sources.
constexpr int32_t trials(int32_t count)
{
#ifdef OZR_TESTS_ARE_EMULATED
    return count / 8;
#else
    return count;
#endif
}

#endif
