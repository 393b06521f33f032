// Public images for tests, and guarded buffers.
#ifndef IMAGES_H
#define IMAGES_H

#include <gtest/gtest.h>

#include <vector>

#include "ozr_image.h"
#include "support/pictures.h"

using Bytes = std::vector<uint8_t>;

inline Bytes random_bytes(int64_t count, uint32_t seed)
{
    Random random(seed);
    Bytes bytes(static_cast<size_t>(count));
    for (uint8_t& byte : bytes)
        byte = random.byte();
    return bytes;
}

// Random bytes that end with the plane, so that sanitised builds see reads beyond it. A destination
// has guards around it and the bytes that are expected in it, at first its own.
struct Buffer {
    int64_t guard;
    Bytes now, want;

    explicit Buffer(int64_t size, uint32_t seed, int64_t guard_size = 0)
        : guard(guard_size), now(random_bytes(size + 2 * guard_size, seed)), want(now)
    {
    }
    uint8_t* data() { return now.data() + guard; }
    const uint8_t* data() const { return now.data() + guard; }
    void expect(int64_t at, int value)
    {
        want[static_cast<size_t>(guard + at)] = static_cast<uint8_t>(value);
    }
};

inline bool is_12_bit(ozr_image_format format)
{
    return format == ozr_image_format_nv12 || format == ozr_image_format_nv21 ||
           format == ozr_image_format_yv12;
}

inline int32_t pixel_bytes(ozr_image_format format)
{
    return format == ozr_image_format_rgba32 ? 4 : format == ozr_image_format_yuy2 ? 2 : 1;
}

// Of an image; the stride in bytes.
struct Geometry {
    ozr_image_format format;
    int32_t width, height, stride;

    int32_t bytes() const { return stride * (is_12_bit(format) ? height + height / 2 : height); }
};

// An image of random bytes around a buffer of the test's own.
struct TestImage : ozr_image {
    Buffer buffer;

    TestImage(const Geometry& g, uint32_t seed, int64_t guard = 0)
        : ozr_image{nullptr, g.bytes(), g.width, g.height, g.format, g.stride, 90}, buffer(size, seed, guard)
    {
        data = buffer.data();
    }
};

// An image that the library owns.
struct OwnedImage : ozr_image {
    OwnedImage() : ozr_image{} {}
    OwnedImage(ozr_image_format f, int32_t w, int32_t h, int32_t s) : OwnedImage()
    {
        EXPECT_EQ(ozr_image_create(this, w, h, s, f, 33), ozr_success);
    }
    OwnedImage(const OwnedImage&) = delete;
    OwnedImage& operator=(const OwnedImage&) = delete;
    ~OwnedImage() { ozr_image_destroy(this); }
    bool is_empty() const
    {
        return data == nullptr && !size && !width && !height && !format && !stride && !rotation;
    }
};

#endif
