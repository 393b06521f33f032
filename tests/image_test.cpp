// The public image record: geometry rules, copying, and the chains of failure lines.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "ozr_image.h"
#include "support/log_capture.h"
#include "support/pictures.h"
#include "support/wrapped_heap.h"

namespace
{

using Chain = std::vector<std::string>;

const Chain kBadArgument = {"ozr_err_invalid_argument:  @ ozr_image_create"};

struct Geometry {
    int32_t width, height, stride;
    ozr_image_format format;
    int32_t want_stride, want_size;
};

// An image of the caller's own, of exactly the bytes its geometry stands for.
struct OwnImage {
    OwnImage(int32_t width, int32_t height, int32_t stride, ozr_image_format format)
        : bytes(static_cast<size_t>(stride * height * 3 / 2), 0xEE)
    {
        image = {bytes.data(), 0, width, height, format, stride, 0};
    }
    std::vector<uint8_t> bytes;
    ozr_image image = {};
};

}  // namespace

TEST(Image, CreateChoosesStrideAndSize)
{
    const Geometry cases[] = {
        {640, 480, 0, ozr_image_format_nv12, 640, 460800},
        {640, 480, 650, ozr_image_format_nv12, 650, 468000},
        {100, 10, 0, ozr_image_format_rgba32, 400, 4000},
        {100, 10, 100, ozr_image_format_rgba32, 400, 4000},  // at most the width: the row bytes
        {100, 10, 101, ozr_image_format_rgba32, 101, 1010},  // more than the width: taken as it is
        {30, 2, -1, ozr_image_format_gray, 32, 64},          // rounded up to 16
        {30, 2, 30, ozr_image_format_gray, 30, 60},
        {7, 3, 1, ozr_image_format_yuy2, 14, 42},
        {5, 3, 5, ozr_image_format_yv12, 5, 22},  // 45 / 2, truncated
        {9, 3, 0, ozr_image_format_nv21, 16, 72},
        {4, 4, 20, static_cast<ozr_image_format>(9), -1, -1},
    };
    for (const Geometry& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << c.width << "x" << c.height << " stride " << c.stride << " format " << c.format);
        ozr_image image = {};
        EXPECT_EQ(ozr_image_create(&image, c.width, c.height, c.stride, c.format, 90), ozr_success);
        EXPECT_EQ(image.stride, c.want_stride);
        EXPECT_EQ(image.size, c.want_size);
        EXPECT_EQ(image.rotation, 90);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(image.data) % 4096, 0U);
        if (image.size > 0)
            memset(image.data, 1, static_cast<size_t>(image.size));
        ozr_image_destroy(&image);
        const ozr_image empty = {};
        EXPECT_EQ(memcmp(&image, &empty, sizeof(image)), 0);
    }
}

TEST(Image, CreateRefusesNullFilledAndHugeRecords)
{
    LogCapture log;
    uint8_t pixel = 0;
    ozr_image filled = {&pixel, 1, 1, 1, ozr_image_format_gray, 1, 5};
    const ozr_image before = filled;
    EXPECT_EQ(ozr_image_create(nullptr, 1, 1, 0, ozr_image_format_gray, 0), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), kBadArgument);
    EXPECT_EQ(ozr_image_create(&filled, 2, 2, 0, ozr_image_format_gray, 0), ozr_err_invalid_argument);
    EXPECT_EQ(memcmp(&filled, &before, sizeof(filled)), 0);
    ozr_image huge = {};
    EXPECT_EQ(ozr_image_create(&huge, 100000, 100000, 0, ozr_image_format_nv12, 0), ozr_err_invalid_argument);
    EXPECT_EQ(huge.data, nullptr);
}

TEST(Image, RecreateKeepsWhatFits)
{
    ozr_image image = {};
    ASSERT_EQ(ozr_image_recreate(&image, 40, 30, 50, ozr_image_format_nv12), ozr_success);
    image.rotation = 270;
    uint8_t* const data = image.data;
    EXPECT_EQ(ozr_image_recreate(&image, 40, 30, 0, ozr_image_format_nv12), ozr_success);
    EXPECT_EQ(ozr_image_recreate(&image, 40, 30, 50, ozr_image_format_nv12), ozr_success);
    EXPECT_EQ(image.data, data);
    EXPECT_EQ(image.rotation, 270);
    EXPECT_EQ(ozr_image_recreate(&image, 40, 30, 60, ozr_image_format_nv12), ozr_success);
    EXPECT_EQ(image.stride, 60);
    EXPECT_EQ(image.rotation, 0);  // a new block loses the tag
    EXPECT_EQ(ozr_image_recreate(&image, 40, 31, 0, ozr_image_format_nv12), ozr_success);
    EXPECT_EQ(image.height, 31);
    ozr_image_destroy(&image);
    LogCapture log;
    EXPECT_EQ(ozr_image_recreate(nullptr, 1, 1, 0, ozr_image_format_gray), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ ozr_image_recreate"});
}

TEST(Image, CopyMovesRowsAndChromaAndNothingElse)
{
    const ozr_image_format formats[] = {ozr_image_format_nv12, ozr_image_format_nv21, ozr_image_format_yv12};
    for (ozr_image_format format : formats) {
        for (int32_t size : {4, 5, 8, 11}) {
            const int32_t width = size, height = size + 1;
            OwnImage src(width, height, width + 3, format), dst(width, height, width + 6, format);
            Random random(static_cast<uint32_t>(size));
            for (uint8_t& byte : src.bytes)
                byte = static_cast<uint8_t>(random.byte() & 0x7F);
            src.image.rotation = 180;
            std::vector<uint8_t> want = dst.bytes;
            const auto copy_plane = [&](int32_t from, int32_t to, int32_t bytes, int32_t rows,
                                        int32_t split) {
                for (int32_t y = 0; y < rows; ++y)
                    memcpy(&want[static_cast<size_t>(to + y * (dst.image.stride / split))],
                           &src.bytes[static_cast<size_t>(from + y * (src.image.stride / split))],
                           static_cast<size_t>(bytes));
            };
            const int32_t from = height * src.image.stride, to = height * dst.image.stride;
            copy_plane(0, 0, width, height, 1);
            if (format == ozr_image_format_yv12) {
                copy_plane(from, to, width / 2, height / 2, 2);
                copy_plane(from + from / 4, to + to / 4, width / 2, height / 2, 2);
            } else {
                copy_plane(from, to, width / 2 * 2, height / 2, 1);
            }
            EXPECT_EQ(ozr_image_copy(&src.image, &dst.image), ozr_success);
            EXPECT_EQ(dst.bytes, want) << "format " << format << " width " << width;
            EXPECT_EQ(dst.image.rotation, 180);
        }
    }
}

TEST(Image, CopyAndCloneNameTheirFaults)
{
    OwnImage src(4, 4, 4, ozr_image_format_gray), other(4, 5, 4, ozr_image_format_gray);
    LogCapture log;
    EXPECT_EQ(ozr_image_copy(&src.image, &other.image), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(),
              Chain{"ozr_err_invalid_argument: from validate_image_copy(src, dst) @ ozr_image_copy"});
    src.image.format = other.image.format = static_cast<ozr_image_format>(6);
    src.image.height = 5;
    EXPECT_EQ(ozr_image_copy(&src.image, &other.image), ozr_err_not_supported);
    src.image.format = other.image.format =
        ozr_image_format_rgba32;  // a row needs 16 bytes, the stride has 4
    EXPECT_EQ(ozr_image_copy(&src.image, &other.image), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_clone(nullptr, &other.image), ozr_err_invalid_argument);
}

TEST(Image, CloneReportsEveryStepOfAFailedAllocation)
{
    OwnImage src(8, 8, 8, ozr_image_format_nv12);
    src.image.rotation = 90;
    ozr_image dst = {};
    LogCapture log;
    {
        const WrappedHeap heap(1);
        EXPECT_EQ(ozr_image_clone(&src.image, &dst), ozr_err_nomem);
        EXPECT_EQ(heap.live_blocks(), 0);
    }
    const Chain want = {
        "ozr_err_nomem: from image->data = (uint8_t*)ozr_malloc_aligned(image->size, 0x1000) @ "
        "ozr_image_create",
        "ozr_err_nomem: from ozr_image_create(image, width, height, stride, format, image->rotation) @ "
        "ozr_image_recreate",
        "ozr_err_nomem: from ozr_image_recreate(dst, src->width, src->height, src->stride, src->format) @ "
        "ozr_image_clone",
    };
    EXPECT_EQ(log.chain(), want);
    EXPECT_EQ(ozr_image_clone(&src.image, &dst), ozr_success);
    EXPECT_EQ(dst.rotation, 90);
    ozr_image_destroy(&dst);
}

TEST(Image, BitsAndChannels)
{
    const int32_t bits[] = {12, 12, 8, 32, 16, 12, -2, -2};
    const int32_t channels[] = {1, 1, 1, 4, 2, 1, 0, 0};
    const int32_t formats[] = {0, 1, 2, 3, 4, 5, 9, -1};
    for (int32_t i = 0; i < 8; ++i) {
        ozr_image image = {};
        image.format = static_cast<ozr_image_format>(formats[i]);
        EXPECT_EQ(ozr_image_get_bits_per_pixel(&image), bits[i]);
        EXPECT_EQ(ozr_image_get_channel(&image), channels[i]);
    }
}
