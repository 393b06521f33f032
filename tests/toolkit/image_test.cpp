// The public image record: geometry rules, copying, and the chains of failure lines.
#include <gtest/gtest.h>

#include <cstring>

#include "support/images.h"
#include "support/log_capture.h"
#include "support/wrapped_heap.h"

TEST(Image, CreateChoosesStrideAndSize)
{
    const struct {
        int32_t width, height, stride;
        ozr_image_format format;
        int32_t want_stride, want_size;
    } cases[] = {
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
    for (const auto& c : cases) {
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
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ ozr_image_create"});
    EXPECT_EQ(ozr_image_create(&filled, 2, 2, 0, ozr_image_format_gray, 0), ozr_err_invalid_argument);
    EXPECT_EQ(memcmp(&filled, &before, sizeof(filled)), 0);
    ozr_image huge = {};
    for (int32_t side : {100000, 30000})  // the plane, or three times the plane
        EXPECT_EQ(ozr_image_create(&huge, side, side, 0, ozr_image_format_nv12, 0), ozr_err_invalid_argument);
    EXPECT_EQ(huge.data, nullptr);
}

TEST(Image, RecreateKeepsWhatFits)
{
    OwnedImage image(ozr_image_format_nv12, 40, 30, 50);
    const struct {
        int32_t height, stride, want_stride;
        bool stays;
    } rows[] = {{30, 0, 50, true},   {30, 50, 50, true}, {30, 60, 60, false},
                {30, 50, 50, false}, {31, 0, 48, false}, {31, 48, 48, true}};
    for (const auto& [height, stride, want_stride, stays] : rows) {
        image.rotation = 270;
        const uint8_t* const data = image.data;
        EXPECT_EQ(ozr_image_recreate(&image, 40, height, stride, ozr_image_format_nv12), ozr_success);
        EXPECT_EQ(image.height, height);
        EXPECT_EQ(image.stride, want_stride);
        EXPECT_EQ(image.data, stays ? data : image.data);
        EXPECT_EQ(image.rotation, stays ? 270 : 0);  // a new block loses the tag
    }
    LogCapture log;
    EXPECT_EQ(ozr_image_recreate(nullptr, 1, 1, 0, ozr_image_format_gray), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(), Chain{"ozr_err_invalid_argument:  @ ozr_image_recreate"});
}

TEST(Image, CopyMovesRowsAndChromaAndNothingElse)
{
    for (ozr_image_format format : {ozr_image_format_nv12, ozr_image_format_nv21, ozr_image_format_yv12}) {
        for (int32_t width : {4, 5, 8, 11}) {
            const int32_t height = width + 1;
            const TestImage src({format, width, height, width + 3}, 1);
            TestImage dst({format, width, height, width + 6}, 2, 16);
            dst.rotation = 180;
            const auto expect_plane = [&](int from, int to, int bytes, int rows, int split) {
                for (int at = 0; at < bytes * rows; ++at)
                    dst.buffer.expect(to + at / bytes * (dst.stride / split) + at % bytes,
                                      src.data[from + at / bytes * (src.stride / split) + at % bytes]);
            };
            const int32_t from = height * src.stride, to = height * dst.stride;
            expect_plane(0, 0, width, height, 1);
            if (format == ozr_image_format_yv12) {
                expect_plane(from, to, width / 2, height / 2, 2);
                expect_plane(from + from / 4, to + to / 4, width / 2, height / 2, 2);
            } else {
                expect_plane(from, to, width / 2 * 2, height / 2, 1);
            }
            EXPECT_EQ(ozr_image_copy(&src, &dst), ozr_success);
            EXPECT_EQ(dst.buffer.now, dst.buffer.want) << "format " << format << " width " << width;
            EXPECT_EQ(dst.rotation, 90);
        }
    }
}

TEST(Image, CopyAndCloneNameTheirFaults)
{
    TestImage src({ozr_image_format_gray, 4, 4, 4}, 3), other({ozr_image_format_gray, 4, 5, 4}, 4);
    const LogCapture log;
    EXPECT_EQ(ozr_image_copy(&src, &other), ozr_err_invalid_argument);
    EXPECT_EQ(log.chain(),
              Chain{"ozr_err_invalid_argument: from validate_image_copy(src, dst) @ ozr_image_copy"});
    src.format = other.format = static_cast<ozr_image_format>(6);
    src.height = 5;
    EXPECT_EQ(ozr_image_copy(&src, &other), ozr_err_not_supported);
    src.format = other.format = ozr_image_format_rgba32;  // a row needs 16 bytes, the stride has 4
    EXPECT_EQ(ozr_image_copy(&src, &other), ozr_err_invalid_argument);
    EXPECT_EQ(ozr_image_clone(nullptr, &other), ozr_err_invalid_argument);
}

TEST(Image, CopyTakesRowsLongerThanTheStrideWhereTheSizeCoversThem)
{
    uint8_t from[13] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}, to[13] = {};
    const ozr_image src = {from, 13, 2, 2, ozr_image_format_rgba32, 5, 0};
    ozr_image dst = {to, 12, 2, 2, ozr_image_format_rgba32, 5, 0};
    EXPECT_EQ(ozr_image_copy(&src, &dst), ozr_err_invalid_argument);
    EXPECT_EQ(to[0], 0);
    dst.size = 13;
    EXPECT_EQ(ozr_image_copy(&src, &dst), ozr_success);
    EXPECT_EQ(memcmp(from, to, sizeof(to)), 0);
    // Three rows of luma and one of chroma, the last of five bytes.
    const ozr_image odd = {from, 11, 5, 3, ozr_image_format_nv12, 2, 0};
    ozr_image odd_copy = {to, 11, 5, 3, ozr_image_format_nv12, 2, 0};
    EXPECT_EQ(ozr_image_copy(&odd, &odd_copy), ozr_success);
}

// Each of these calls makes one allocation; when it fails, the lines name the
// calls that it failed in.
TEST(Image, NamesTheCallsWhoseMemoryIsOut)
{
    const std::string create =
        "image->data = (uint8_t*)ozr_malloc_aligned(image->size, 0x1000) @ ozr_image_create";
    const std::string recreate =
        "ozr_image_create(image, width, height, stride, format, image->rotation) @ ozr_image_recreate";
    const std::string clone =
        "ozr_image_recreate(dst, src->width, src->height, src->stride, src->format) @ ozr_image_clone";
    const std::string convert =
        "validate_image_format_conversion(src, dst, ozr_image_format_nv12) @ ozr_image_convert_to_nv12";
    const struct {
        ozr_err (*call)(const ozr_image* src, ozr_image* dst);
        Lines failed;
    } rows[] = {
        {[](auto src, auto dst) { return ozr_image_create(dst, 9, 9, 0, src->format, 0); }, {create}},
        {[](auto src, auto dst) { return ozr_image_sample_gray(dst, src, 2); }, {create}},
        {[](auto src, auto dst) { return ozr_image_recreate(dst, 9, 9, 0, src->format); },
         {create, recreate}},
        {ozr_image_clone, {create, recreate, clone}},
        {ozr_image_convert_to_nv12, {create, recreate, convert}},
    };
    const TestImage src({ozr_image_format_rgba32, 8, 8, 32}, 2);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.failed.back());
        Chain chain;
        for (const std::string& call : row.failed)
            chain.push_back("ozr_err_nomem: from " + call);
        for (int64_t failing : {1, 2}) {
            const LogCapture log;
            const WrappedHeap heap(failing);
            {
                OwnedImage dst;
                EXPECT_EQ(row.call(&src, &dst), failing == 1 ? ozr_err_nomem : ozr_success);
            }
            EXPECT_EQ(log.chain(), failing == 1 ? chain : Chain{});
            EXPECT_EQ(heap.live_blocks(), 0);
        }
    }
}

TEST(Image, BitsAndChannels)
{
    const int32_t rows[][3] = {{0, 12, 1}, {1, 12, 1}, {2, 8, 1},  {3, 32, 4},
                               {4, 16, 2}, {5, 12, 1}, {9, -2, 0}, {-1, -2, 0}};
    for (const auto& [format, bits, channels] : rows) {
        ozr_image image = {};
        image.format = static_cast<ozr_image_format>(format);
        EXPECT_EQ(ozr_image_get_bits_per_pixel(&image), bits);
        EXPECT_EQ(ozr_image_get_channel(&image), channels);
    }
}
