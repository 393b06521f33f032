// A texture for simulated cameras.
#ifndef NOISE_TEXTURE_H
#define NOISE_TEXTURE_H

#include <cstdint>

// A texture without repetition, as a function of the place.
inline int32_t noise(int32_t x, int32_t y)
{
    const auto cell = [](int32_t i, int32_t j) {
        uint32_t h = static_cast<uint32_t>(i) * 73856093U ^ static_cast<uint32_t>(j) * 19349663U;
        h = (h ^ (h >> 13)) * 1274126177U;
        return static_cast<int32_t>((h >> 16) & 255);
    };
    // Cells of 4 x 4 pixels, linear in between.
    const int32_t i = x >> 2, j = y >> 2, fx = x & 3, fy = y & 3;
    return (cell(i, j) * (4 - fx) * (4 - fy) + cell(i + 1, j) * fx * (4 - fy) +
            cell(i, j + 1) * (4 - fx) * fy + cell(i + 1, j + 1) * fx * fy) /
           16;
}

#endif
