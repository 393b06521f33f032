// Working images: records, copying, resampling, rotation and conversion, against plain per-pixel formulas.
#include <gtest/gtest.h>

#include <algorithm>

#include "image/pano_result.h"
#include "image/panorama_img.h"
#include "support/pictures.h"
#include "support/wrapped_heap.h"

namespace
{

int64_t step(int32_t src, int32_t dst)
{
    return int64_t{src - 1} * 1024 / dst;
}

const int32_t kSizes[][4] =  // of source and destination
    {{640, 48, 160, 12}, {33, 21, 7, 5}, {20, 20, 20, 10}, {10, 6, 23, 13},
     {9, 9, 1, 4},       {1, 9, 3, 4},   {9, 1, 4, 3}};

}  // namespace

TEST(PanoImgRecords, CreateFollowsTheFormat)
{
    for (int32_t format = 0; format <= 5; ++format) {
        const WrappedHeap heap;
        PanoImg img = {};
        EXPECT_EQ(PanoImg_Create(&img, 5, 3, format), 0);
        const int32_t plane = 5 * 3 * kPixelBytes[format];
        EXPECT_EQ(img.stride, 5 * kPixelBytes[format]);
        EXPECT_EQ(img.size, format == 1 || format == 2 ? plane * 3 / 2 : plane);
        EXPECT_EQ(img.widthCopy, 0);
        EXPECT_TRUE(std::all_of(img.data, img.data + img.size, [](uint8_t byte) { return byte == 0; }));
        PanoImg aligned = {};
        void* raw = nullptr;
        EXPECT_EQ(PanoImg_CreateAligned(&aligned, 5, 3, format, &raw), 0);
        EXPECT_EQ(aligned.size, img.size);
        EXPECT_EQ(aligned.widthCopy, 5);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(aligned.data) % 4096, 0U);
        PanoImg_DestroyAligned(&aligned, &raw);
        EXPECT_EQ(aligned.width, 0);
        PanoImg_Destroy(&img);
        PanoImg_Destroy(&img);
        EXPECT_EQ(img.width, 5);
        EXPECT_EQ(heap.live_blocks(), 0);
    }
}

TEST(PanoImgRecords, CloneCopiesNoMoreThanEitherRecordSays)
{
    TestImg src(kPanoNv12, 6, 4, 3);
    src.randomize(1);
    for (int32_t size : {src.img.size, 10, 0, INT32_MAX}) {
        PanoImg record = src.img, clone = {};
        record.size = size;
        ASSERT_EQ(PanoImg_Clone(&record, &clone), 0);
        EXPECT_EQ(clone.stride, 9);
        EXPECT_EQ(clone.size, src.img.size);
        const int32_t copied = std::min(size, clone.size);
        EXPECT_TRUE(std::equal(clone.data, clone.data + copied, src.img.data));
        EXPECT_TRUE(
            std::all_of(clone.data + copied, clone.data + clone.size, [](uint8_t b) { return b == 0; }));
        PanoImg_Destroy(&clone);
    }
}

TEST(PanoImgCopyEx, CopiesThePlacedOverlapPixelByPixel)
{
    const int32_t places[][2] = {{0, 0},  {-10, 5}, {3, 3},   {-3, -5},
                                 {19, 0}, {20, 0},  {0, -99}, {INT32_MIN, INT32_MAX}};
    for (int32_t format : {kPanoGray, kPanoNv12, kPanoNv21, kPanoRgb, kPanoRgba}) {
        for (const auto& place : places) {
            SCOPED_TRACE(testing::Message() << "format " << format << " at " << place[0] << "," << place[1]);
            TestImg dst(format, 20, 14, 2), src(format, 15, 12, 5), want(format, 20, 14, 2);
            src.randomize(7);
            const int32_t bytes = kPixelBytes[format];
            const int64_t x = place[0], y = place[1];
            for (int32_t row = 0; row < 14; ++row) {
                for (int32_t byte = 0; byte < 20 * bytes; ++byte) {
                    const int64_t from_byte = byte - x * bytes, from_row = row - y;
                    if (from_byte >= 0 && from_byte < 15 * bytes && from_row >= 0 && from_row < 12)
                        want.at(byte, row) =
                            src.at(static_cast<int32_t>(from_byte), static_cast<int32_t>(from_row));
                }
            }
            // Whole pairs of the pictures' overlap, from the pair of its first pixel on.
            const int32_t left = std::max(place[0], 0), top = std::max(place[1], 0);
            const int64_t width = std::min(int64_t{20}, x + 15) - left;
            const int64_t height = std::min(int64_t{14}, y + 12) - top;
            const bool has_chroma = format == kPanoNv12 || format == kPanoNv21;
            for (int32_t r = 0; has_chroma && width > 0 && r < height / 2; ++r) {
                for (int32_t b = 0; b < width / 2 * 2; ++b)
                    want.chroma(left / 2 * 2 + b, top / 2 + r) =
                        src.chroma((left - place[0]) / 2 * 2 + b, (top - place[1]) / 2 + r);
            }
            EXPECT_EQ(PanoImg_CopyEx(&dst.img, &src.img, place[0], place[1]), 0);
            EXPECT_EQ(dst.pixels(), want.pixels());
        }
    }
}

TEST(PanoImgResize, FollowsTheBilinearFormula)
{
    for (int32_t format : {kPanoGray, kPanoYuyv, kPanoNv21}) {
        for (const auto& [src_width, src_height, dst_width, dst_height] : kSizes) {
            SCOPED_TRACE(testing::Message() << "format " << format << " " << src_width << "x" << src_height);
            const bool yuv = format == kPanoNv21;
            TestImg src(format, src_width, src_height, yuv ? 0 : 3);
            TestImg dst(yuv ? kPanoNv21 : kPanoGray, dst_width, dst_height, 1);
            src.randomize(3);
            const auto luma = [&](int32_t x, int32_t y) {
                return src.at(format == kPanoYuyv ? 2 * x : x, y);
            };
            const int64_t step_x = step(src_width, dst_width), step_y = step(src_height, dst_height);
            ASSERT_EQ((yuv                   ? PanoImg_ResizeYUV
                       : format == kPanoGray ? PanoImg_ResizeGray
                                             : PanoImg_ResizeGrayYUYV)(&dst.img, &src.img),
                      0);
            // A single source row has none below it: grey becomes black.
            const bool black = src_height == 1 && !yuv;
            for (int32_t y = 0; y < dst_height; ++y) {
                for (int32_t x = 0; x < dst_width; ++x)
                    ASSERT_EQ(dst.at(x, y), black ? 0 : bilinear(x * step_x, y * step_y, luma));
                ASSERT_EQ(dst.at(dst_width, y), 0x5A);  // padding
            }
            // Chroma takes the luma's steps; compared where all four source pairs exist.
            for (int32_t y = 0; yuv && y < dst_height / 2; ++y) {
                for (int32_t x = 0; x < dst_width / 2 * 2; ++x) {
                    const int64_t px = x / 2 * step_x, py = y * step_y;
                    if (px / 1024 + 1 >= src_width / 2 || py / 1024 + 1 >= src_height / 2)
                        continue;
                    ASSERT_EQ(dst.chroma(x, y), bilinear(px, py, [&](int32_t i, int32_t j) {
                                  return src.chroma(2 * i + x % 2, j);
                              }));
                }
            }
        }
    }
}

TEST(PanoImgResize, EqualSizesAreCopiedInOneBlockOrRowByRow)
{
    TestImg src(kPanoGray, 5, 4, 3), padded(kPanoGray, 5, 4, 3), other(kPanoGray, 5, 4, 1);
    src.randomize(4);
    TestImg want_padded(kPanoGray, 5, 4, 3), want_other(kPanoGray, 5, 4, 1);
    std::copy_n(src.img.data, 20, want_padded.img.data);  // 4 x 5 bytes, row padding among them
    for (int32_t y = 0; y < 4; ++y)
        std::copy_n(&src.at(0, y), 5, &want_other.at(0, y));
    EXPECT_EQ(PanoImg_ResizeGray(&padded.img, &src.img), 0);
    EXPECT_EQ(PanoImg_ResizeGray(&other.img, &src.img), 0);
    EXPECT_EQ(padded.pixels(), want_padded.pixels());
    EXPECT_EQ(other.pixels(), want_other.pixels());
}

TEST(PanoImgResize, HalfTakesTruncatedMeans)
{
    TestImg src(kPanoGray, 101, 75, 2), dst(kPanoGray, 50, 37);
    src.randomize(5);
    ASSERT_EQ(PanoImg_ResizeHalfGray(&dst.img, &src.img), 0);
    for (int32_t y = 0; y < 37; ++y) {
        for (int32_t x = 0; x < 50; ++x)
            ASSERT_EQ(dst.at(x, y), (src.at(2 * x, 2 * y) + src.at(2 * x + 1, 2 * y) +
                                     src.at(2 * x, 2 * y + 1) + src.at(2 * x + 1, 2 * y + 1)) /
                                        4);
    }
}

TEST(PanoImgRotate, MovesEveryPixelAndPair)
{
    const int32_t sizes[][2] = {{4, 2}, {16, 6}, {6, 16}, {5, 4}, {4, 5}, {7, 3}, {1, 1}, {34, 18}};
    for (const auto& size : sizes) {
        const int32_t width = size[0], height = size[1];
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        TestImg src(kPanoNv12, width, height, 4), cw(kPanoNv12, height, width, 2),
            ccw(kPanoNv12, height, width, 2);
        src.randomize(8);
        ASSERT_EQ(PanoImg_RotateCW90(&cw.img, &src.img), 0);
        ASSERT_EQ(PanoImg_RotateCW270(&ccw.img, &src.img), 0);
        for (int32_t y = 0; y < height; ++y) {
            for (int32_t x = 0; x < width; ++x) {
                ASSERT_EQ(cw.at(height - 1 - y, x), src.at(x, y));
                ASSERT_EQ(ccw.at(y, width - 1 - x), src.at(x, y));
            }
        }
        for (int32_t k = 0; k < height / 2 && height % 2 == 0; ++k) {
            for (int32_t b = 0; b < width / 2 * 2 && width % 2 == 0; ++b) {
                ASSERT_EQ(cw.chroma(height - 2 - 2 * k + b % 2, b / 2), src.chroma(b, k));
                ASSERT_EQ(ccw.chroma(2 * k + b % 2, width / 2 - 1 - b / 2), src.chroma(b, k));
            }
        }
    }
}

TEST(PanoImgConvert, GivesTheKnownColours)
{
    const uint8_t cases[][7] = {// Y, first byte, second byte, then R, G, B, A
                                {16, 128, 128, 0, 0, 0, 255},
                                {235, 128, 128, 255, 255, 255, 255},
                                {81, 240, 90, 255, 0, 0, 255}};
    for (const auto& c : cases) {
        TestImg src(kPanoNv12, 7, 5, 0, 0), dst(kPanoRgba, 7, 5);
        std::fill_n(src.img.data, 35, c[0]);
        for (int32_t i = 0; i < 12; ++i)
            src.chroma(i % 6, i / 6) = c[1 + i % 2];
        ASSERT_EQ(PanoImg_ConvertYUV2RGBA(&dst.img, &src.img), 0);
        for (int32_t y = 0; y < 5; ++y) {
            for (int32_t b = 0; b < 28; ++b)
                ASSERT_EQ(dst.at(b, y), y < 4 && b < 24 ? c[3 + b % 4] : 0) << b << "," << y;
        }
    }
}

TEST(PanoImg, RefusalsInOrder)
{
    TestImg gray(kPanoGray, 8, 8), small(kPanoGray, 4, 4), nv12(kPanoNv12, 4, 4), nv21(kPanoNv21, 4, 4);
    TestImg a(kPanoYuyv, 4, 4), b(kPanoYuyv, 4, 4), rgba(kPanoRgba, 4, 4);
    PanoImg img = {}, no_pixels = nv12.img, narrow = gray.img, no_columns = small.img;
    no_pixels.data = nullptr;
    narrow.stride = 7;
    no_columns.width = 0;
    EXPECT_EQ(PanoImg_Create(&img, 0, 3, 9), kPanoBadArgument);
    EXPECT_EQ(PanoImg_Create(nullptr, 1, 1, 0), kPanoBadArgument);
    EXPECT_EQ(PanoImg_Create(&img, 4, 3, 6), kPanoNotSupported);
    EXPECT_TRUE(img.width == 4 && img.data == nullptr);
    EXPECT_EQ(PanoImg_Create(&img, 4, 3, -1), kPanoNotSupported);
    EXPECT_EQ(PanoImg_Create(&img, 50000, 50000, 1), kPanoBadArgument);
    EXPECT_EQ(PanoImg_CreateAligned(&img, 4, 3, 0, nullptr), kPanoBadArgument);
    EXPECT_EQ(PanoImg_CreateRef(&img, nullptr, 100, 2, 199, kPanoYuyv), kPanoBadArgument);
    EXPECT_TRUE(img.stride == 199 && img.size == 0);
    EXPECT_EQ(PanoImg_CreateRef(&img, a.img.data, 2, 2, 4, kPanoYuyv), 0);
    EXPECT_EQ(img.data, a.img.data);
    EXPECT_EQ(PanoImg_Clone(&no_pixels, &img), kPanoBadArgument);
    EXPECT_EQ(PanoImg_Clone(nullptr, &img), kPanoBadArgument);
    EXPECT_EQ(PanoImg_CopyEx(&a.img, &b.img, 0, 0), kPanoNotSupported);
    EXPECT_EQ(PanoImg_CopyEx(&a.img, &b.img, 4, 0), 0);  // nothing overlaps
    EXPECT_EQ(PanoImg_CopyEx(&a.img, &gray.img, 4, 0), kPanoNotSupported);
    EXPECT_EQ(PanoImg_CopyEx(nullptr, &gray.img, 0, 0), kPanoNullArgument);
    EXPECT_EQ(PanoImg_CopyEx(&small.img, &narrow, 0, 0), kPanoBadArgument);
    EXPECT_EQ(PanoImg_CopyEx(&nv12.img, &no_pixels, 0, 0), kPanoNullArgument);
    EXPECT_EQ(PanoImg_ResizeGray(&no_columns, &gray.img), kPanoBadArgument);
    EXPECT_EQ(PanoImg_ResizeGray(&small.img, &narrow), kPanoBadArgument);
    EXPECT_EQ(PanoImg_ResizeYUV(&small.img, nullptr), kPanoBadArgument);
    EXPECT_EQ(PanoImg_ResizeHalfGray(&nv12.img, &small.img), kPanoBadArgument);
    EXPECT_EQ(PanoImg_ConvertYUV2RGBA(&rgba.img, &nv21.img), kPanoNotSupported);
    for (auto rotate : {PanoImg_RotateCW90, PanoImg_RotateCW270}) {
        EXPECT_EQ(rotate(nullptr, &nv12.img), kPanoBadArgument);
        EXPECT_EQ(rotate(&nv12.img, &nv21.img), kPanoNotSupported);
        EXPECT_EQ(rotate(&no_pixels, &nv12.img), kPanoNullArgument);
    }
}
