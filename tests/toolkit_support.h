// What the tests of the toolkit share: guarded buffers, images around them, and captured failure lines.
#ifndef OZR_TESTS_TOOLKIT_SUPPORT_H
#define OZR_TESTS_TOOLKIT_SUPPORT_H

#include <gtest/gtest.h>
#include <stdio.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "ozr_image.h"
#include "ozr_log.h"
#include "ozr_support.h"

using Bytes = std::vector<uint8_t>;

inline Bytes random_bytes(size_t count, uint32_t seed)
{
    std::mt19937 engine(seed);
    Bytes bytes(count);
    std::generate(bytes.begin(), bytes.end(), [&engine] { return static_cast<uint8_t>(engine() >> 11); });
    return bytes;
}

// `size` random bytes between two guards, so that writes before and behind are seen (reads: by the sanitised builds,
// since the block is exactly as long as the guards when those are 0).
class GuardedBuffer
{
public:
    GuardedBuffer(size_t size, uint32_t seed, size_t guard = 64)
        : _bytes(random_bytes(size + 2 * guard, seed)), _before(_bytes), _guard(guard)
    {
    }
    uint8_t* data() { return _bytes.data() + _guard; }
    Bytes bytes() const { return Bytes(_bytes.begin() + at(0), _bytes.end() - at(0)); }
    Bytes original() const { return Bytes(_before.begin() + at(0), _before.end() - at(0)); }
    bool guards_intact() const
    {
        return std::equal(_bytes.begin(), _bytes.begin() + at(0), _before.begin()) &&
               std::equal(_bytes.end() - at(0), _bytes.end(), _before.end() - at(0));
    }

private:
    ptrdiff_t at(size_t offset) const { return static_cast<ptrdiff_t>(_guard + offset); }
    Bytes _bytes, _before;
    size_t _guard;
};

inline int32_t plane_rows(ozr_image_format format, int32_t height)
{
    const bool is_12_bit =
        format == ozr_image_format_nv12 || format == ozr_image_format_nv21 || format == ozr_image_format_yv12;
    return is_12_bit ? height + height / 2 : height;
}

// An image of random bytes around a guarded buffer of the test's own.
struct TestImage {
    GuardedBuffer buffer;
    ozr_image image;

    TestImage(ozr_image_format format, int32_t width, int32_t height, int32_t stride, uint32_t seed,
              size_t guard = 0)
        : buffer(static_cast<size_t>(stride * plane_rows(format, height)), seed, guard),
          image{buffer.data(), stride * plane_rows(format, height), width, height, format, stride, 90}
    {
    }
};

// An image that the library owns.
struct OwnedImage : ozr_image {
    OwnedImage() : ozr_image{} {}
    ~OwnedImage() { ozr_image_destroy(this); }
    OwnedImage(const OwnedImage&) = delete;
    OwnedImage& operator=(const OwnedImage&) = delete;
    bool is_empty() const
    {
        return data == nullptr && size == 0 && width == 0 && height == 0 && format == 0 && stride == 0 &&
               rotation == 0;
    }
};

// Collects the error lines of its lifetime, without their line numbers.
class LogCapture
{
public:
    LogCapture()
    {
        lines().clear();
        ozr_log_set_external_error(&LogCapture::on_error);
    }
    ~LogCapture() { ozr_log_set_external_error(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    static std::vector<std::string>& lines()
    {
        static std::vector<std::string> collected;
        return collected;
    }

private:
    static void on_error(const char* format, va_list args) __attribute__((format(printf, 1, 0)))
    {
        char text[1024];
        vsnprintf(text, sizeof(text), format, args);
        const std::string line(text);
        lines().push_back(line.substr(0, line.rfind(':')));
    }
};

#endif
