// Small pictures for tests.
#ifndef PICTURES_H
#define PICTURES_H

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "image/panorama_img.h"
#include "support/random.h"

constexpr int32_t kPixelBytes[] = {1, 1, 1, 2, 3, 4};  // of the working formats

// The words of a record, and whether it has pixels.
inline std::vector<int32_t> fields(const PanoImg& img)
{
    return {img.format, img.width, img.height, img.stride, img.size, img.widthCopy, img.data != nullptr};
}

// A record and exactly the bytes of its geometry, between canaries that are checked at the end.
class TestImg
{
public:
    TestImg(int32_t format, int32_t width, int32_t height, int32_t padding = 0, uint8_t fill = 0x5A)
    {
        img.format = format;
        img.width = width;
        img.height = height;
        img.stride = width * kPixelBytes[format] + padding;
        const int32_t plane = img.stride * height;
        img.size = format == kPanoNv12 || format == kPanoNv21 ? plane * 3 / 2 : plane;
        bytes_.assign(static_cast<size_t>(img.size + 2 * kGuard), fill);
        std::fill_n(bytes_.begin(), kGuard, kCanary);
        std::fill_n(bytes_.rbegin(), kGuard, kCanary);
        img.data = bytes_.data() + kGuard;
    }
    ~TestImg()
    {
        EXPECT_EQ(std::count(bytes_.begin(), bytes_.begin() + kGuard, kCanary), kGuard);
        EXPECT_EQ(std::count(bytes_.end() - kGuard, bytes_.end(), kCanary), kGuard);
    }
    TestImg(const TestImg&) = delete;
    TestImg& operator=(const TestImg&) = delete;

    void randomize(uint32_t seed)
    {
        Random random(seed);
        for (int32_t i = 0; i < img.size; ++i)
            img.data[i] = random.byte();
    }
    std::vector<uint8_t> pixels() const { return {img.data, img.data + img.size}; }

    PanoImg img = {};

private:
    static constexpr int32_t kGuard = 64;
    static constexpr uint8_t kCanary = 0xC7;
    std::vector<uint8_t> bytes_;
};

#endif
