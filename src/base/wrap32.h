// A signed 32-bit number that wraps around where plain signed arithmetic would overflow, for
// results whose wrap-around is part of their meaning.
#ifndef OZR_WRAP32_H
#define OZR_WRAP32_H

#include <stdint.h>

namespace ozr
{

struct Wrap32 {
    int32_t value;

    // Implicit, so that formulas may mix it with plain numbers.
    constexpr Wrap32(int32_t number) : value(number) {}  // NOLINT(google-explicit-constructor)
    constexpr explicit Wrap32(uint32_t bits) : value(static_cast<int32_t>(bits)) {}
    constexpr uint32_t bits() const { return static_cast<uint32_t>(value); }

    friend constexpr Wrap32 operator+(Wrap32 a, Wrap32 b) { return Wrap32(a.bits() + b.bits()); }
    friend constexpr Wrap32 operator-(Wrap32 a, Wrap32 b) { return Wrap32(a.bits() - b.bits()); }
    friend constexpr Wrap32 operator*(Wrap32 a, Wrap32 b) { return Wrap32(a.bits() * b.bits()); }
    friend constexpr Wrap32 operator<<(Wrap32 a, uint32_t count) { return Wrap32(a.bits() << count); }
    friend constexpr Wrap32 operator>>(Wrap32 a, uint32_t count) { return Wrap32(a.value >> count); }
    // Truncates; b is not 0. The smallest number divided by -1 wraps to itself, where the processor
    // would trap.
    friend constexpr Wrap32 operator/(Wrap32 a, Wrap32 b)
    {
        return b.value == -1 ? Wrap32(0U - a.bits()) : Wrap32(a.value / b.value);
    }
    friend constexpr bool operator==(Wrap32 a, Wrap32 b) { return a.value == b.value; }
    friend constexpr bool operator<(Wrap32 a, Wrap32 b) { return a.value < b.value; }
    friend constexpr bool operator>(Wrap32 a, Wrap32 b) { return b < a; }
};

}  // namespace ozr

#endif
