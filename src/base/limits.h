// Constants and arithmetic that several parts of the panorama path share.
#ifndef PANO_FIXED_H
#define PANO_FIXED_H

#include <stdint.h>

constexpr int32_t kMaxPictures = 10;  // of one sweep

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

// For products of several sizes, which may exceed 64 bits as well.
inline bool product_fits_32_bits(int64_t a, int64_t b)
{
    int64_t product = 0;
    return !__builtin_mul_overflow(a, b, &product) && fits_32_bits(product);
}

}  // namespace ozr

#endif
