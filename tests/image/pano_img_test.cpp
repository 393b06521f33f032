// Working images against their meaning: random sizes, strides, formats, contents and faults;
// every byte and code compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "image/panorama_img.h"
#include "reference/image.h"
#include "support/pictures.h"
#include "support/wrapped_heap.h"

namespace
{

using namespace ozr_reference;

constexpr uint32_t kCases = 3000;

// Usually small, sometimes as long as a few vectors.
int32_t random_side(Random* random)
{
    return 1 + random->below(random->below(4) == 0 ? 150 : 24);
}

// Noise, one value, or the extremes.
void fill(TestImg* picture, Random* random)
{
    const int32_t kind = random->below(4), value = random->below(256);
    picture->randomize(random->next());
    for (int32_t i = 0; i < picture->img.size && kind < 2; ++i)
        picture->img.data[i] = static_cast<uint8_t>(kind == 0 ? value : picture->img.data[i] < 128 ? 0 : 255);
}

// Puts at most one fault into an argument: in the record, or by a null pointer.
PanoImg* spoil(PanoImg* img, Random* random)
{
    const int32_t fault = random->below(60);
    if (fault == 1)
        img->data = nullptr;
    if (fault == 2)
        img->stride = static_cast<int32_t>(row_bytes(img->format, img->width)) - 1;
    if (fault == 3)
        img->stride = -img->stride;
    if (fault == 4)
        img->height = INT32_MAX / img->stride + 1;
    return fault == 0 ? nullptr : img;
}

enum Shape { kAny, kEqual, kHalf, kTurned, kPlaced };

ozr_point g_place;  // of a copy

// A function of two pictures, and its reference; bytes outside a picture read as `beyond`.
struct Operation {
    const char* name;
    int32_t (*library)(PanoImg* dst, const PanoImg* src);
    int32_t (*reference)(PanoImg* dst, const PanoImg* src, uint8_t beyond);
    int32_t dst_format, src_format;
    Shape shape;
};

template <int32_t (*function)(PanoImg*, const PanoImg*)>
int32_t by_itself(PanoImg* dst, const PanoImg* src, uint8_t)
{
    return function(dst, src);
}

int32_t copy_placed(PanoImg* dst, const PanoImg* src)
{
    return PanoImg_CopyEx(dst, src, g_place.x, g_place.y);
}

int32_t copy_by_itself(PanoImg* dst, const PanoImg* src, uint8_t)
{
    return copy(dst, src, g_place.x, g_place.y);
}

const Operation kOperations[] = {
    {"gray copy", copy_placed, copy_by_itself, kPanoGray, kPanoGray, kPlaced},
    {"NV12 copy", copy_placed, copy_by_itself, kPanoNv12, kPanoNv12, kPlaced},
    {"NV21 copy", copy_placed, copy_by_itself, kPanoNv21, kPanoNv21, kPlaced},
    {"YUYV copy", copy_placed, copy_by_itself, kPanoYuyv, kPanoYuyv, kPlaced},
    {"RGB copy", copy_placed, copy_by_itself, kPanoRgb, kPanoRgb, kPlaced},
    {"RGBA copy", copy_placed, copy_by_itself, kPanoRgba, kPanoRgba, kPlaced},
    {"gray", PanoImg_ResizeGray, by_itself<resize_gray>, kPanoGray, kPanoGray, kAny},
    {"equal gray", PanoImg_ResizeGray, by_itself<resize_gray>, kPanoGray, kPanoGray, kEqual},
    {"luma", PanoImg_ResizeGray, by_itself<resize_gray>, kPanoGray, kPanoNv21, kAny},
    {"yuyv", PanoImg_ResizeGrayYUYV, by_itself<resize_gray_yuyv>, kPanoGray, kPanoYuyv, kAny},
    {"equal yuyv", PanoImg_ResizeGrayYUYV, by_itself<resize_gray_yuyv>, kPanoGray, kPanoYuyv, kEqual},
    {"yuv", PanoImg_ResizeYUV, resize_yuv, kPanoNv21, kPanoNv21, kAny},
    {"half", PanoImg_ResizeHalfGray, by_itself<resize_half_gray>, kPanoGray, kPanoGray, kHalf},
    {"clockwise", PanoImg_RotateCW90, by_itself<turn_clockwise>, kPanoNv12, kPanoNv12, kTurned},
    {"counterclockwise", PanoImg_RotateCW270, by_itself<turn_counterclockwise>, kPanoNv12, kPanoNv12,
     kTurned},
    {"rgba", PanoImg_ConvertYUV2RGBA, by_itself<convert_to_rgba>, kPanoRgba, kPanoNv12, kAny},
};

// Sides of the destination for a source of this size.
ozr_point destination_size(Shape shape, const PanoImg& src, Random* random)
{
    if (shape == kTurned)
        return {src.height, src.width};
    if (shape == kHalf)
        return {src.width / 2 + (random->below(20) == 0 ? 1 : 0),
                src.height / 2 + (random->below(20) == 0 ? 1 : 0)};
    return shape == kEqual ? ozr_point{src.width, src.height}
                           : ozr_point{random_side(random), random_side(random)};
}

void compare(const Operation& operation, uint32_t seed)
{
    Random random(seed);
    // The chroma of odd sizes exceeds the geometry; some records own the bytes behind it.
    const int32_t more = random.below(2) * 2;
    const int32_t src_format = random.below(50) == 0 ? kPanoNv21 : operation.src_format,
                  dst_format = random.below(50) == 0 ? kPanoNv21 : operation.dst_format;
    const bool scales = operation.shape <= kHalf && operation.dst_format != kPanoRgba;
    if (scales && (src_format != operation.src_format || dst_format != operation.dst_format))
        return;  // scaling takes every format for its own
    TestImg src(src_format, random_side(&random), random_side(&random) + more, random.below(20));
    src.img.height -= more;
    fill(&src, &random);
    const ozr_point size = destination_size(operation.shape, src.img, &random);
    const int32_t padding = random.below(4) == 0 ? src.img.stride - size.x : random.below(20);
    const int32_t far[] = {INT32_MIN, INT32_MAX, 0, -src.img.height, size.x};
    const auto place = [&](int32_t side) {
        return random.below(20) == 0 ? far[random.below(5)] : random.below(2 * side + 1) - side;
    };
    g_place = {place(size.x), place(size.y)};
    const uint8_t old = random.byte();
    const auto blank = [&] {
        auto img = std::make_unique<TestImg>(dst_format, std::max(size.x, 1), std::max(size.y, 1) + more,
                                             std::max(padding, 0), old);
        img->img.width = size.x;
        img->img.height = size.y;
        return img;
    };
    const std::unique_ptr<TestImg> got = blank(), want = blank(), other = blank();
    PanoImg from = src.img, to[3] = {got->img, want->img, other->img};
    const PanoImg* const src_arg = spoil(&from, &random);
    const uint32_t spoiled = random.next();
    PanoImg* dst_arg[3];
    for (int32_t i = 0; i < 3; ++i) {
        Random same(spoiled);
        dst_arg[i] = spoil(&to[i], &same);
    }
    SCOPED_TRACE(testing::Message() << operation.name << " seed " << seed << ": " << from.width << "x"
                                    << from.height << "+" << from.stride << " to " << to[0].width << "x"
                                    << to[0].height << "+" << to[0].stride);
    EXPECT_EQ(operation.library(dst_arg[0], src_arg), operation.reference(dst_arg[1], src_arg, 0));
    operation.reference(dst_arg[2], src_arg, 255);
    const std::vector<uint8_t> now = got->pixels(), low = want->pixels(), high = other->pixels();
    for (size_t i = 0; i < now.size(); ++i)
        ASSERT_TRUE(now[i] == low[i] || low[i] != high[i])
            << "byte " << i << ": " << int32_t{now[i]} << ", not " << int32_t{low[i]};
    EXPECT_EQ(fields(to[0]), fields(to[1]));
}

}  // namespace

TEST(PanoImg, OperationsAreWhatTheyMean)
{
    for (const Operation& operation : kOperations) {
        for (uint32_t seed = 0; seed < kCases / 5 && !HasFailure(); ++seed)
            compare(operation, seed);
    }
}

TEST(PanoImg, RecordsAreMadeCheckedAndReleased)
{
    for (uint32_t seed = 0; seed < kCases && !HasFailure(); ++seed) {
        Random random(seed);
        const WrappedHeap heap;
        const int32_t big = random.below(10) == 0 ? 40000 : 1;
        const int32_t width = big * (random.below(20) - 1), height = big * (random.below(12) - 1),
                      format = random.below(8) - 1;
        const int32_t stride = width * kPixelBytes[std::clamp(format, 0, 5)] + random.below(8) - 3;
        SCOPED_TRACE(testing::Message()
                     << "seed " << seed << ": " << width << "x" << height << " format " << format);
        const bool is_made = random.below(2) == 0, is_aligned = is_made && random.below(2) == 0,
                   is_lent = !is_made && random.below(2) == 0;
        PanoImg img = {7, 7, 7, 7, 7, 7, nullptr}, want = img;
        PanoImg* const record = random.below(30) == 0 ? nullptr : &img;
        void* raw = nullptr;
        void** const block = random.below(30) == 0 ? nullptr : &raw;
        uint8_t lent = 0;
        const int32_t got =
            is_aligned ? PanoImg_CreateAligned(record, width, height, format, block)
            : is_made  ? PanoImg_Create(record, width, height, format)
                       : PanoImg_CreateRef(record, is_lent ? &lent : nullptr, width, height, stride, format);
        int32_t wanted = kBad;
        if (record != nullptr && (block != nullptr || !is_aligned))
            wanted = is_made ? create(&want, width, height, format, is_aligned)
                             : create_ref(&want, width, height, stride, format);
        want.data = wanted == 0 ? &lent : nullptr;
        EXPECT_EQ(got, wanted);
        EXPECT_EQ(fields(img), fields(want));
        EXPECT_EQ(heap.live_blocks(), wanted == 0 && !is_lent ? 1 : 0);
        EXPECT_EQ(img.data, is_lent ? want.data : img.data);
        if (got != 0 || is_lent)
            continue;
        EXPECT_EQ(std::count(img.data, img.data + img.size, 0), img.size);
        // Either step of the release is skipped when its pointer is null.
        if (is_aligned) {
            EXPECT_EQ(reinterpret_cast<uintptr_t>(img.data) % 4096, 0U);
            PanoImg_DestroyAligned(nullptr, nullptr);
            PanoImg_DestroyAligned(&img, nullptr);
            EXPECT_EQ(fields(img), fields(PanoImg{}));
            EXPECT_NE(raw, nullptr);
            PanoImg_DestroyAligned(nullptr, &raw);
            EXPECT_EQ(raw, nullptr);
        } else {
            want.data = nullptr;
            PanoImg_Destroy(nullptr);
            PanoImg_Destroy(&img);
            EXPECT_EQ(fields(img), fields(want));
        }
        PanoImg_Destroy(&img);
        EXPECT_EQ(heap.live_blocks(), 0);
    }
}

// The copy has the stride of the source, and as many of its bytes as fit both records.
TEST(PanoImg, ClonesAreTheirOwn)
{
    for (uint32_t seed = 0; seed < kCases && !HasFailure(); ++seed) {
        Random random(seed);
        TestImg src(random.below(6), 1 + random.below(20), 1 + random.below(20), random.below(9));
        src.randomize(seed);
        const int32_t sizes[] = {src.img.size, src.img.size, 10, 0, INT32_MAX};
        PanoImg record = src.img, got = {}, want = {};
        record.size = sizes[random.below(5)];
        const PanoImg* const arg = spoil(&record, &random);
        const int32_t code =
            arg == nullptr || arg->data == nullptr
                ? int32_t{kBad}
                : create_ref(&want, record.width, record.height, record.stride, record.format);
        want.data = code == 0 ? record.data : nullptr;
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        EXPECT_EQ(PanoImg_Clone(arg, &got), code);
        EXPECT_EQ(PanoImg_Clone(arg, nullptr), kBad);
        ASSERT_EQ(fields(got), fields(want));
        for (int32_t i = 0; i < want.size && code == 0; ++i)
            ASSERT_EQ(got.data[i], i < record.size ? record.data[i] : 0) << "byte " << i;
        PanoImg_Destroy(&got);
    }
}
