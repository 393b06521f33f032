// What 64-bit ARM does in one instruction and 32-bit ARM in two; for all else both have the same
// intrinsics. They put the halves of a vector together and take them apart without an instruction.
#ifndef OZR_VECTORS_NEON_H
#define OZR_VECTORS_NEON_H

#include <arm_neon.h>
#include <stdint.h>

namespace ozr::kernels
{

// Unnamed: each file that includes this has its own copy, compiled for its own instruction set.
namespace
{

// Inlined wherever they are called: functions, and steps of the one below.
#define OZR_INLINED __attribute__((always_inline)) inline
#define OZR_INLINED_STEP __attribute__((always_inline))

// Does a step for 0, 1 ... kCount - 1, unrolled: an array of vectors whose numbers the compiler
// knows is one of registers.
template <int32_t kCount, class Step>
OZR_INLINED void unrolled(Step step)
{
    if constexpr (kCount > 0) {
        unrolled<kCount - 1>(step);
        step(kCount - 1);
    }
}

#ifdef __aarch64__

// The bytes of a table by their numbers; numbers beyond it give 0.
inline uint8x8_t looked_up(uint8x16_t table, uint8x8_t numbers)
{
    return vqtbl1_u8(table, numbers);
}
inline uint8x16_t looked_up(uint8x16_t table, uint8x16_t numbers)
{
    return vqtbl1q_u8(table, numbers);
}
inline uint8x8_t looked_up(uint8x16x2_t table, uint8x8_t numbers)
{
    return vqtbl2_u8(table, numbers);
}
inline uint8x16_t looked_up(uint8x16x2_t table, uint8x16_t numbers)
{
    return vqtbl2q_u8(table, numbers);
}

// Bytes of both by turns.
inline uint8x16_t woven(uint8x8_t a, uint8x8_t b)
{
    constexpr uint8_t kTurns[] = {0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15};
    return vqtbl1q_u8(vcombine_u8(a, b), vld1q_u8(kTurns));
}

// The upper halves multiplied and added to a sum. The compiler knows this from halves taken apart,
// but not where they are used more than once.
inline int16x8_t plus_high_multiplied(int16x8_t sum, int8x16_t a, int8x16_t b)
{
    return vmlal_high_s8(sum, a, b);
}

// Sums of neighbours: those of `a`, then those of `b`.
inline int32x4_t neighbours_added(int32x4_t a, int32x4_t b)
{
    return vpaddq_s32(a, b);
}

inline uint32_t total(uint32x4_t sums)
{
    return vaddvq_u32(sums);
}

#else

// The same registers by another name; put together from halves, the compiler would send
// them through memory.
template <class To, class From>
inline To same_registers(const From& from)
{
    static_assert(sizeof(To) == sizeof(From), "as many registers");
    To to;
    __builtin_memcpy(&to, &from, sizeof(to));
    return to;
}

inline uint8x8_t looked_up(uint8x16_t table, uint8x8_t numbers)
{
    return vtbl2_u8(same_registers<uint8x8x2_t>(table), numbers);
}
inline uint8x16_t looked_up(uint8x16_t table, uint8x16_t numbers)
{
    return vcombine_u8(looked_up(table, vget_low_u8(numbers)), looked_up(table, vget_high_u8(numbers)));
}
inline uint8x8_t looked_up(uint8x16x2_t table, uint8x8_t numbers)
{
    return vtbl4_u8(same_registers<uint8x8x4_t>(table), numbers);
}
inline uint8x16_t looked_up(uint8x16x2_t table, uint8x16_t numbers)
{
    return vcombine_u8(looked_up(table, vget_low_u8(numbers)), looked_up(table, vget_high_u8(numbers)));
}

inline uint8x16_t woven(uint8x8_t a, uint8x8_t b)
{
    const uint8x8x2_t both = vzip_u8(a, b);
    return vcombine_u8(both.val[0], both.val[1]);
}

inline int16x8_t plus_high_multiplied(int16x8_t sum, int8x16_t a, int8x16_t b)
{
    return vmlal_s8(sum, vget_high_s8(a), vget_high_s8(b));
}

inline int32x4_t neighbours_added(int32x4_t a, int32x4_t b)
{
    return vcombine_s32(vpadd_s32(vget_low_s32(a), vget_high_s32(a)),
                        vpadd_s32(vget_low_s32(b), vget_high_s32(b)));
}

inline uint32_t total(uint32x4_t sums)
{
    const uint32x2_t halves = vadd_u32(vget_low_u32(sums), vget_high_u32(sums));
    return vget_lane_u32(vpadd_u32(halves, halves), 0);
}

#endif

}  // namespace

}  // namespace ozr::kernels

#endif
