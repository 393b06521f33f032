// Quarter turns, NEON: blocks of 16 x 16 bytes or 8 x 8 pairs are transposed in registers. Two rows
// that change every other element between them transpose squares of two; the same with elements of
// twice the size, squares of four, and so on.
#include <arm_neon.h>
#include <stddef.h>
#include <stdint.h>

#include "kernels/arm/vectors_neon.h"
#include "kernels/rotate.h"
#include "kernels/rotate_tiles.h"

namespace ozr::kernels::neon
{

namespace
{

struct ByEights {
    static uint8x16x2_t changed(uint8x16_t a, uint8x16_t b)
    {
        return {{vcombine_u8(vget_low_u8(a), vget_low_u8(b)), vcombine_u8(vget_high_u8(a), vget_high_u8(b))}};
    }
};

struct ByFours {
    static uint8x16x2_t changed(uint8x16_t a, uint8x16_t b)
    {
        const uint32x4x2_t both = vtrnq_u32(vreinterpretq_u32_u8(a), vreinterpretq_u32_u8(b));
        return {{vreinterpretq_u8_u32(both.val[0]), vreinterpretq_u8_u32(both.val[1])}};
    }
};

struct ByTwos {
    static uint8x16x2_t changed(uint8x16_t a, uint8x16_t b)
    {
        const uint16x8x2_t both = vtrnq_u16(vreinterpretq_u16_u8(a), vreinterpretq_u16_u8(b));
        return {{vreinterpretq_u8_u16(both.val[0]), vreinterpretq_u8_u16(both.val[1])}};
    }
};

struct ByOnes {
    static uint8x16x2_t changed(uint8x16_t a, uint8x16_t b) { return vtrnq_u8(a, b); }
};

// Changes elements between the rows whose numbers differ in the bit kApart.
template <class Elements, int32_t kApart, size_t kEdge>
OZR_INLINED void _change(uint8x16_t (&rows)[kEdge])
{
    unrolled<static_cast<int32_t>(kEdge / 2)>([&rows](int32_t k) {
        const int32_t i = k % kApart + k / kApart * 2 * kApart;
        const uint8x16x2_t both = Elements::changed(rows[i], rows[i + kApart]);
        rows[i] = both.val[0];
        rows[i + kApart] = both.val[1];
    });
}

template <class Element>
void _transpose(uint8_t* to, ptrdiff_t write_step, const uint8_t* from, ptrdiff_t read_step)
{
    uint8x16_t rows[static_cast<size_t>(Element::kEdge)];
    unrolled<Element::kEdge>([&](int32_t i) { rows[i] = vld1q_u8(from + i * read_step); });
    Element::transpose(rows);
    unrolled<Element::kEdge>([&](int32_t i) { vst1q_u8(to + i * write_step, rows[i]); });
}

struct Bytes {
    static constexpr int32_t kEdge = 16;
    static constexpr int32_t kBytes = 1;
    static constexpr Rotate* kClockwise = scalar::rotate_bytes_cw;
    static constexpr Rotate* kCounterClockwise = scalar::rotate_bytes_ccw;

    static void transpose(uint8x16_t (&rows)[kEdge])
    {
        _change<ByOnes, 1>(rows);
        _change<ByTwos, 2>(rows);
        _change<ByFours, 4>(rows);
        _change<ByEights, 8>(rows);
    }
    static void transpose(uint8_t* to, ptrdiff_t write_step, const uint8_t* from, ptrdiff_t read_step)
    {
        _transpose<Bytes>(to, write_step, from, read_step);
    }
};

struct Pairs {
    static constexpr int32_t kEdge = 8;
    static constexpr int32_t kBytes = 2;
    static constexpr Rotate* kClockwise = scalar::rotate_pairs_cw;
    static constexpr Rotate* kCounterClockwise = scalar::rotate_pairs_ccw;

    static void transpose(uint8x16_t (&rows)[kEdge])
    {
        _change<ByTwos, 1>(rows);
        _change<ByFours, 2>(rows);
        _change<ByEights, 4>(rows);
    }
    static void transpose(uint8_t* to, ptrdiff_t write_step, const uint8_t* from, ptrdiff_t read_step)
    {
        _transpose<Pairs>(to, write_step, from, read_step);
    }
};

}  // namespace

void rotate_bytes_cw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Bytes, true>::rotate(dst, dst_stride, task);
}

void rotate_bytes_ccw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Bytes, false>::rotate(dst, dst_stride, task);
}

void rotate_pairs_cw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Pairs, true>::rotate(dst, dst_stride, task);
}

void rotate_pairs_ccw(uint8_t* dst, int32_t dst_stride, const RotateTask& task)
{
    RotateTiles<Pairs, false>::rotate(dst, dst_stride, task);
}

}  // namespace ozr::kernels::neon
