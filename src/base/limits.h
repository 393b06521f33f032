// Limits, defaults and directions that the engine and the core share, and 32-bit range checks.
#ifndef OZR_BASE_LIMITS_H
#define OZR_BASE_LIMITS_H

#include <stdint.h>

constexpr int32_t kMaxPictures = 10;            // of one sweep
constexpr int32_t kDefaultOverlapPercent = 70;  // of neighbouring pictures

struct PictureSize {
    int32_t width;
    int32_t height;
};

// Directions of a sweep as the engine stores them.
enum PanoDirection : int32_t {
    kDirectionUndecided = 0,
    kDirectionRight = 1,
    kDirectionLeft = 2,
    kDirectionDown = 3,
    kDirectionUp = 4,
};

namespace ozr
{

inline bool is_vertical(int32_t direction)
{
    return direction == kDirectionDown || direction == kDirectionUp;
}

inline bool fits_32_bits(int64_t value)
{
    return value >= INT32_MIN && value <= INT32_MAX;
}

// Whether a * b fits 32 bits, for factors whose product may exceed even 64 bits.
inline bool product_fits_32_bits(int64_t a, int64_t b)
{
    int64_t product = 0;
    return !__builtin_mul_overflow(a, b, &product) && fits_32_bits(product);
}

}  // namespace ozr

#endif
