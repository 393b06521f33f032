// Mirrors, NEON: two vectors from either end change places and order; the scalar function mirrors
// what remains in the middle.
#include <arm_neon.h>

#include "kernels/mirror.h"

namespace ozr::kernels::neon
{

namespace
{

constexpr int64_t kBytes = 16;
constexpr int64_t kStep = 2 * kBytes;

uint8x16_t _halves_swapped(uint8x16_t bytes)
{
    return vextq_u8(bytes, bytes, 8);
}

struct Bytes {
    static uint8x16_t reversed(uint8x16_t bytes) { return _halves_swapped(vrev64q_u8(bytes)); }
};

struct Pairs {
    static uint8x16_t reversed(uint8x16_t bytes)
    {
        return _halves_swapped(vreinterpretq_u8_u16(vrev64q_u16(vreinterpretq_u16_u8(bytes))));
    }
};

struct Quads {
    static uint8x16_t reversed(uint8x16_t bytes)
    {
        return _halves_swapped(vreinterpretq_u8_u32(vrev64q_u32(vreinterpretq_u32_u8(bytes))));
    }
};

// Two vectors at a time from either end, as long as they do not meet; returns the bytes done
// at either end.
template <class Element>
int64_t _swap_ends(uint8_t* row, int64_t bytes)
{
    int64_t x = 0;
    for (; 2 * (x + kStep) <= bytes; x += kStep) {
        uint8_t* left = row + x;
        uint8_t* right = row + bytes - x - kStep;
        const uint8x16_t left0 = Element::reversed(vld1q_u8(left));
        const uint8x16_t left1 = Element::reversed(vld1q_u8(left + kBytes));
        const uint8x16_t right0 = Element::reversed(vld1q_u8(right));
        const uint8x16_t right1 = Element::reversed(vld1q_u8(right + kBytes));
        vst1q_u8(left, right1);
        vst1q_u8(left + kBytes, right0);
        vst1q_u8(right, left1);
        vst1q_u8(right + kBytes, left0);
    }
    return x;
}

}  // namespace

void mirror_bytes_row(uint8_t* row, int32_t count)
{
    const int64_t x = _swap_ends<Bytes>(row, count);
    scalar::mirror_bytes_row(row + x, static_cast<int32_t>(count - 2 * x));
}

void mirror_pairs_row(uint8_t* row, int32_t bytes)
{
    const int64_t x = _swap_ends<Pairs>(row, bytes);
    scalar::mirror_pairs_row(row + x, static_cast<int32_t>(bytes - 2 * x));
}

void mirror_quads_row(uint8_t* row, int32_t count)
{
    const int64_t x = _swap_ends<Quads>(row, int64_t{count} * 4);
    scalar::mirror_quads_row(row + x, static_cast<int32_t>(count - x / 2));
}

}  // namespace ozr::kernels::neon
