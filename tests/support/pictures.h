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

// Value of a bilinear sample at (x, y) in 1/1024 pixel; read(i, j) where its weight is not 0.
template <class Read>
int32_t bilinear(int64_t x, int64_t y, Read read)
{
    int64_t sum = 0;
    for (int64_t corner = 0; corner < 4; ++corner) {
        const int64_t right = corner % 2, below = corner / 2;
        const int64_t weight = (right ? x % 1024 : 1024 - x % 1024) * (below ? y % 1024 : 1024 - y % 1024);
        sum += weight == 0 ? 0
                           : weight * read(static_cast<int32_t>(x / 1024 + right),
                                           static_cast<int32_t>(y / 1024 + below));
    }
    return static_cast<int32_t>(sum / 1048576);
}

// Sets the luma of every pixel (x, y), and the chroma between the luma of packed formats, to value(x, y).
template <class Value>
void fill_luma(const PanoImg& img, Value value)
{
    const int32_t pixel_bytes = img.format == kPanoYuyv ? 2 : 1;
    for (int32_t y = 0; y < img.height; ++y) {
        for (int32_t byte = 0; byte < img.width * pixel_bytes; ++byte)
            ozr::pano_row(&img, y)[byte] = static_cast<uint8_t>(value(byte / pixel_bytes, y));
    }
}

#endif
