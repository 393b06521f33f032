// A number made of everything that an input's calls gave: results, records, pixels, lines of
// errors. Builds that do the same have the same number, which replay_main.cpp prints and
// scripts/compare-builds compares.
#ifndef FUZZ_DIGEST_H
#define FUZZ_DIGEST_H

#include <stdint.h>

#include <type_traits>

// FNV-1a. It also keeps what is read from being optimised away.
inline uint64_t g_fuzz_digest = 0xCBF29CE484222325U;

// Reads every byte, so that memory that is not there shows.
inline void fuzz_read_all(const void* data, int64_t bytes)
{
    uint64_t digest = g_fuzz_digest;
    for (int64_t i = 0; i < bytes; ++i)
        digest = (digest ^ static_cast<const uint8_t*>(data)[i]) * 0x100000001B3U;
    g_fuzz_digest = digest;
}

// A result, or a record of numbers without gaps; handed on.
template <class Value>
Value fuzz_note(Value value)
{
    static_assert(std::is_trivially_copyable_v<Value> && !std::is_pointer_v<Value>, "addresses differ");
    fuzz_read_all(&value, sizeof(value));
    return value;
}

// The fields of a public or working image, and as many of its bytes as it says: of a very large one
// those at both ends, as images are noted after every call.
template <class Image>
void fuzz_note_image(const Image& image)
{
    constexpr int64_t kMostAtAnEnd = 1 << 20;
    for (const int32_t field : {image.width, image.height, image.stride, image.size})
        fuzz_note(field);
    fuzz_note(static_cast<int32_t>(image.format));
    if (image.data == nullptr)
        return;
    const bool is_large = image.size > 2 * kMostAtAnEnd;
    fuzz_read_all(image.data, is_large ? kMostAtAnEnd : image.size);
    if (is_large)
        fuzz_read_all(image.data + image.size - kMostAtAnEnd, kMostAtAnEnd);
}

#endif
