// The bytes of a fuzzer read as decisions: choices, sizes, numbers from the ends of their ranges.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <stddef.h>
#include <stdint.h>

#include <iterator>

// What libFuzzer calls; replay_main.cpp calls it with the bytes of files.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Reads from the front. Bytes behind the end are 0, so that an input of any length is complete.
class FuzzInput
{
public:
    FuzzInput(const uint8_t* data, size_t size) : next_(data), end_(data + size) {}

    bool empty() const { return next_ == end_; }
    size_t left() const { return static_cast<size_t>(end_ - next_); }
    const uint8_t* rest() const { return next_; }

    uint8_t byte() { return next_ == end_ ? uint8_t{0} : *next_++; }
    bool flag() { return (byte() & 1) != 0; }

    // A number from `first` to `last`.
    int32_t between(int32_t first, int32_t last)
    {
        const uint32_t count = static_cast<uint32_t>(last - first) + 1;
        const uint32_t number = count > 256 ? byte() * 256U + byte() : byte();
        return first + static_cast<int32_t>(number % count);
    }

    int32_t word()
    {
        uint32_t value = 0;
        for (int i = 0; i < 4; ++i)
            value = value << 8 | byte();
        return static_cast<int32_t>(value);
    }

    // A small number, one at or beside the limits of some field, or any.
    int32_t number()
    {
        static constexpr int32_t kEdges[] = {
            INT32_MIN, INT32_MIN + 1, INT32_MAX, INT32_MAX - 1, INT32_MAX / 2, INT32_MAX / 3, -1,    -2,
            1 << 30,   1 << 24,       1 << 21,   1 << 20,       65536,         65535,         46341, 46340,
            32768,     32767,         16384,     4096,          1024,          256,           255,   32};
        const uint8_t kind = byte();
        if (kind < 128)
            return kind;
        if (kind < 192)
            return kEdges[kind % std::size(kEdges)];
        return kind < 224 ? between(-1024, 1024) : word();
    }

private:
    const uint8_t* next_;
    const uint8_t* end_;
};

#endif
