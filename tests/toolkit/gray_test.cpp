// Grey pictures in plain memory: resizing, cropping, turning, subsampling, texture codes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "ozr_gray.h"
#include "reference/image.h"
#include "support/images.h"

namespace
{

struct Size {
    int32_t width, height;
};

// A source that ends with its last pixel, or with the row and the byte behind
// it that enlarging reads.
struct Picture {
    Size size;
    int32_t stride;
    Bytes bytes;

    Picture(Size s, int32_t padding, uint32_t seed, bool with_border, int32_t pixel = 1)
        : size(s), stride(s.width * pixel + padding),
          bytes(random_bytes(stride * s.height + (with_border ? stride + pixel : 0), seed))
    {
    }
    const uint8_t* data() const { return bytes.data(); }
    int at(int64_t x, int64_t y) const { return bytes[static_cast<size_t>(y * stride + x)]; }
};

// The position of a destination's column or row in the source, in 1/1024 pixel.
int64_t position(int32_t from, int32_t to, int at)
{
    return int64_t{at} * (from * 1024 / to);
}

int slow_nearest(const Picture& src, Size dst, int x, int y)
{
    return src.at(position(src.size.width, dst.width, x) / 1024,
                  position(src.size.height, dst.height, y) / 1024);
}

// The last column and row have no neighbours beyond them.
int slow_bilinear(const Picture& src, Size dst, int x, int y)
{
    const int64_t px = position(src.size.width, dst.width, x), py = position(src.size.height, dst.height, y);
    return ozr_reference::bilinear(px, py, [&](int64_t column, int64_t row) {
        return src.at(x + 1 < dst.width ? column : px / 1024, y + 1 < dst.height ? row : py / 1024);
    });
}

using Resize = ozr_err (*)(uint8_t*, int32_t, int32_t, int32_t, const uint8_t*, int32_t, int32_t, int32_t);
const Size kTargets[] = {{1, 1}, {2, 3}, {4, 4}, {17, 8}, {35, 33}, {50, 41}};

// Rows that overlap each other, and a picture that is reduced in place, have the bytes of rows
// resized one after the other.
TEST(Resize, OverlappingRowsAreMadeInOrder)
{
    constexpr int32_t kSide = 64, kHalf = kSide / 2;
    Bytes picture = random_bytes(kSide * kSide, 7);
    Bytes apart(kHalf * kHalf), close(kHalf * kHalf), want(kHalf * kHalf);
    const auto halve = [&](uint8_t* dst, int32_t stride) {
        return resize_grayimage_bi(dst, kHalf, kHalf, stride, picture.data(), kSide, kSide, kSide);
    };
    ASSERT_EQ(halve(apart.data(), kHalf), ozr_success);
    ASSERT_EQ(halve(close.data(), 3), ozr_success);
    for (size_t y = 0; y < kHalf; ++y)
        memcpy(&want[3 * y], &apart[kHalf * y], kHalf);
    EXPECT_EQ(close, want);
    // In place and enlarged, a row overtakes its source: bytes already written are read again.
    Bytes row(picture.begin(), picture.begin() + 60), row_want = row;
    for (int32_t x = 0; x < 60; ++x) {
        const auto read = [&](int32_t i, int32_t) { return row_want[static_cast<size_t>(x < 59 ? i : 29)]; };
        row_want[static_cast<size_t>(x)] = static_cast<uint8_t>(ozr_reference::bilinear(x * 512, 0, read));
    }
    ASSERT_EQ(resize_grayimage_bi(row.data(), 60, 1, 60, row.data(), 30, 1, 0), ozr_success);
    EXPECT_EQ(row, row_want);
    ASSERT_EQ(halve(picture.data(), kHalf), ozr_success);
    EXPECT_EQ(memcmp(picture.data(), apart.data(), apart.size()), 0);
}

TEST(Resize, FollowsAccumulatedPositions)
{
    for (bool bilinear : {false, true})
        for (Size from : {Size{1, 1}, Size{2, 2}, Size{3, 5}, Size{16, 7}, Size{35, 33}})
            for (Size to : kTargets) {
                SCOPED_TRACE(testing::Message() << from.width << 'x' << from.height << " to " << to.width
                                                << 'x' << to.height << (bilinear ? " bilinear" : ""));
                const Picture src(from, 3, 51,
                                  bilinear && (to.width > from.width || to.height > from.height));
                Buffer dst((to.width + 2) * to.height, 52, 16);
                ASSERT_EQ((bilinear ? resize_grayimage_bi
                                    : resize_grayimage_nn)(dst.data(), to.width, to.height, to.width + 2,
                                                           src.data(), from.width, from.height, src.stride),
                          ozr_success);
                for (int y = 0; y < to.height; ++y)
                    for (int x = 0; x < to.width; ++x)
                        dst.expect(y * (to.width + 2) + x,
                                   (bilinear ? slow_bilinear : slow_nearest)(src, to, x, y));
                EXPECT_EQ(dst.now, dst.want);
            }
}

TEST(Resize, RefusesEachFault)
{
    Bytes pixels(4, 9);
    uint8_t* const p = pixels.data();
    constexpr ozr_err kGood = ozr_success, kBad = ozr_err_invalid_argument;
    const struct {
        const char* what;
        int32_t dst_width, dst_height;
        uint8_t *dst, *src;
        int32_t src_width, src_height;
        ozr_err nearest, bilinear;
    } faults[] = {
        {"no columns", 0, 2, p, p, 2, 2, kBad, kBad},
        {"no rows", 2, 0, p, p, 2, 2, kBad, kBad},
        {"negative rows", 2, -1, p, p, 2, 2, kGood, kGood},
        {"negative rows, no columns", 0, -1, p, p, 2, 2, kBad, kBad},
        {"negative rows, no source", 2, -1, p, nullptr, 2, 2, kBad, kGood},
        {"negative columns", -1, 2, p, p, 2, 2, kBad, kBad},
        {"no source", 2, 2, p, nullptr, 2, 2, kBad, kBad},
        {"no destination", 2, 2, nullptr, p, 2, 2, kBad, kBad},
        {"empty source", 2, 2, p, p, 0, 2, kBad, kBad},
        {"negative source", 2, 2, p, p, 2, -5, kBad, kBad},
        {"negative positions", 1, 2, p, p, 1 << 21, 2, kBad, kBad},
    };
    for (const auto& f : faults) {
        const auto call = [&](Resize resize) {
            return resize(f.dst, f.dst_width, f.dst_height, 2, f.src, f.src_width, f.src_height, 2);
        };
        EXPECT_EQ(call(resize_grayimage_nn), f.nearest) << f.what;
        EXPECT_EQ(call(resize_grayimage_bi), f.bilinear) << f.what;
    }
    EXPECT_EQ(pixels, Bytes(4, 9));
    // A stride of 0 means the width, but for nearest neighbour only.
    const uint8_t src[] = {1, 2, 3, 4};
    ASSERT_EQ(resize_grayimage_nn(p, 2, 2, 0, src, 2, 2, 0), ozr_success);
    EXPECT_EQ(pixels, (Bytes{1, 2, 3, 4}));
    ASSERT_EQ(resize_grayimage_bi(p, 2, 2, 2, src, 2, 2, 0), ozr_success);
    EXPECT_EQ(pixels, (Bytes{1, 2, 1, 2}));
}

TEST(Crop, EqualsTheResizeOfThePart)
{
    const Picture src({35, 33}, 4, 53, true);
    for (const ozr_rect& crop : {ozr_rect{0, 0, 35, 33}, ozr_rect{3, 5, 20, 26}})
        for (Size to : kTargets) {
            const auto check = [&](Resize resize, auto crop_resize) {
                Bytes plain(50 * 41), cropped(50 * 41);
                const uint8_t* part = src.data() + crop.top * src.stride + crop.left;
                ASSERT_EQ(resize(plain.data(), to.width, to.height, 50, part, crop.right - crop.left,
                                 crop.bottom - crop.top, src.stride),
                          ozr_success);
                ASSERT_EQ(crop_resize(cropped.data(), to.width, to.height, 50, src.data(), 35, 33, src.stride,
                                      &crop),
                          ozr_success);
                EXPECT_EQ(cropped, plain) << to.width << 'x' << to.height;
            };
            check(resize_grayimage_nn, crop_resize_grayimage_nn);
            check(resize_grayimage_bi, crop_resize_grayimage_bi);
            check(resize_grayimage_nn,
                  [](auto... all) { return rotate_crop_resize_grayimage_nn(all..., 360); });
        }
}

TEST(Crop, RgbResizesEachByteForItself)
{
    const Picture src({12, 9}, 5, 54, false, 3);
    const ozr_rect crop = {2, 1, 11, 8};
    Bytes channel(12 * 9), gray(15 * 4), rgb(47 * 4);
    ASSERT_EQ(crop_resize_RGB(rgb.data(), 15, 4, 47, src.data(), 12, 9, src.stride, &crop), ozr_success);
    for (size_t c = 0; c < 3; ++c) {
        for (size_t i = 0; i < channel.size(); ++i)
            channel[i] = src.bytes[i / 12 * 41 + i % 12 * 3 + c];
        ASSERT_EQ(crop_resize_grayimage_bi(gray.data(), 15, 4, 15, channel.data(), 12, 9, 12, &crop),
                  ozr_success);
        for (size_t i = 0; i < gray.size(); ++i)
            ASSERT_EQ(rgb[i / 15 * 47 + i % 15 * 3 + c], gray[i]);
    }
}

TEST(Crop, Refuses)
{
    uint8_t pixels[48] = {}, out[12];
    const auto all = [&](uint8_t* dst, int32_t width, const uint8_t* src, const ozr_rect* crop) {
        const ozr_err result = crop_resize_grayimage_nn(dst, width, 2, 0, src, 4, 4, 0, crop);
        EXPECT_EQ(crop_resize_grayimage_bi(dst, width, 2, 2, src, 4, 4, 4, crop), result);
        EXPECT_EQ(crop_resize_RGB(dst, width, 2, 6, src, 4, 4, 12, crop), result);
        EXPECT_EQ(rotate_crop_resize_grayimage_nn(dst, width, 2, 0, src, 4, 4, 0, crop, 0), result);
        return result;
    };
    const ozr_rect good = {0, 0, 4, 4};
    EXPECT_EQ(all(out, 2, pixels, &good), ozr_success);
    for (const ozr_rect& crop : {ozr_rect{-1, 0, 4, 4}, ozr_rect{0, -1, 4, 4}, ozr_rect{0, 0, 5, 4},
                                 ozr_rect{0, 0, 4, 5}, ozr_rect{2, 0, 2, 4}, ozr_rect{0, 3, 4, 2}})
        EXPECT_EQ(all(out, 2, pixels, &crop), ozr_err_invalid_argument);
    EXPECT_EQ(all(out, 2, pixels, nullptr), ozr_err_invalid_argument);
    EXPECT_EQ(all(nullptr, 2, pixels, &good), ozr_err_invalid_argument);
    EXPECT_EQ(all(out, 2, nullptr, &good), ozr_err_invalid_argument);
    EXPECT_EQ(all(out, -2, pixels, &good), ozr_err_invalid_argument);
}

TEST(Turn, TakesTheNearestPixelAboutTheCentre)
{
    const Picture src({9, 7}, 2, 57, false);
    for (int32_t direction = 0; direction < 8; ++direction) {
        SCOPED_TRACE(direction);
        Buffer dst(13 * 15, 58, 16);
        ASSERT_EQ(rotate_grayimage_eighth(dst.data(), 13, 15, 0, src.data(), 9, 7, 11, direction),
                  ozr_success);
        const double angle = direction * 3.14159265358979323846 / 4;
        for (int y = 0; y < 15; ++y)
            for (int x = 0; x < 13; ++x) {
                const int64_t column = llround(4 + cos(angle) * (x - 6) + sin(angle) * (y - 7));
                const int64_t row = llround(3 - sin(angle) * (x - 6) + cos(angle) * (y - 7));
                const bool covered = column >= 0 && column < 9 && row >= 0 && row < 7;
                dst.expect(13 * y + x, covered ? src.at(column, row) : 0);
            }
        EXPECT_EQ(dst.now, dst.want);
    }
}

TEST(Turn, CropTurnsAboutItsOwnCentre)
{
    const Picture src({20, 20}, 0, 58, false);
    const ozr_rect crop = {4, 6, 13, 15};  // 9 x 9 in steps of 3
    Bytes dst(9);
    ASSERT_EQ(rotate_crop_resize_grayimage_nn(dst.data(), 3, 3, 0, src.data(), 20, 20, 0, &crop, 90),
              ozr_success);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(dst[static_cast<size_t>(i)], src.at(4 + 3 * (i / 3), 6 + 3 * (2 - i % 3)));
}

TEST(Turn, Refuses)
{
    uint8_t p[4] = {};
    const auto turn = [&](uint8_t* dst, uint8_t* src, int32_t dst_height, int32_t src_width,
                          int32_t direction) {
        EXPECT_EQ(rotate_grayimage_eighth(dst, 2, dst_height, 0, src, src_width, 2, 0, direction),
                  ozr_err_invalid_argument);
    };
    turn(p, p, 2, 2, -1);
    turn(p, p, 2, 2, 8);
    turn(nullptr, p, 2, 2, 0);
    turn(p, nullptr, 2, 2, 0);
    turn(p, p, 0, 2, 0);
    turn(p, p, 2, -2, 0);
}

TEST(SampleByN, AdvancesAsItsStepsSay)
{
    const struct {
        int32_t width, height, stride, step_x, step_y, dst_stride;
        int32_t out_width, rows, advance;  // by hand
    } cases[] = {
        {10, 4, 16, 1, 1, 0, 10, 4, 16},  {10, 4, 16, 1, 2, 12, 10, 4, 17}, {10, 5, 0, 1, 3, 0, 10, 5, 12},
        {10, 7, 12, 2, 1, 0, 5, 7, 12},   {10, 7, 12, 2, 3, 6, 5, 2, 16},   {11, 7, 12, 2, 3, 0, 5, 2, 15},
        {10, 4, 10, 3, 1, 0, 3, 4, 9},    {12, 9, 14, 3, 2, 5, 4, 4, 28},   {11, 9, 0, 4, 2, 0, 2, 4, 19},
        {70, 3, 80, 2, 1, 40, 35, 3, 80}, {10, 2, 0, 2, 3, 7, 5, 0, 0},     {4, 3, 0, 9, 1, 7, 0, 3, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " steps " << c.step_x << ',' << c.step_y);
        const int32_t dst_stride = c.dst_stride != 0 ? c.dst_stride : c.out_width;
        const Buffer src((c.rows - 1) * c.advance + c.width, 59);  // as far as the advance leads
        Buffer dst(dst_stride * c.height, 60, 16);
        ASSERT_EQ(sample_image_by_n(dst.data(), c.dst_stride, src.data(), c.width, c.height, c.stride,
                                    c.step_x, c.step_y),
                  ozr_success);
        for (int y = 0; y < c.rows; ++y)
            for (int x = 0; x < c.out_width; ++x)
                dst.expect(y * dst_stride + x, src.data()[y * c.advance + x * c.step_x]);
        EXPECT_EQ(dst.now, dst.want);
    }
}

TEST(SampleByN, ResultsThatOvertakeTheSourceAreReadAgain)
{
    Bytes row = random_bytes(160, 61), want = row;
    for (size_t x = 0; x < 70; ++x)
        want[20 + x] = want[2 * x];
    ASSERT_EQ(sample_image_by_n(&row[20], 0, row.data(), 140, 1, 0, 2, 1), ozr_success);
    EXPECT_EQ(row, want);
}

TEST(SampleByN, Refuses)
{
    uint8_t p[4] = {1, 2, 3, 4};
    EXPECT_EQ(sample_image_by_n(p, 0, p, 2, 2, 0, 0, 1), ozr_err_invalid_argument);
    EXPECT_EQ(sample_image_by_n(p, 0, p, 2, 2, 0, 1, 0), ozr_err_invalid_argument);
    EXPECT_EQ(sample_image_by_n(nullptr, 0, p, 2, 2, 0, 1, 1), ozr_err_invalid_argument);
    EXPECT_EQ(sample_image_by_n(p, 0, nullptr, 2, 2, 0, 1, 1), ozr_err_invalid_argument);
    for (int32_t step : {1, 2, 3}) {
        EXPECT_EQ(sample_image_by_n(p, 0, p, -2, 2, 0, step, 1), ozr_success);
        EXPECT_EQ(sample_image_by_n(p, 0, p, 2, -2, 0, step, 1), ozr_success);
    }
}

TEST(Census, CodesBrighterThanTheMeanAlongTheWholeWalk)
{
    const uint32_t walks[][2] = {{3, 3}, {4, 3}, {2, 4}, {1, 6}, {23, 9}, {5, 0},
                                 {5, 1}, {2, 2}, {1, 4}, {1, 3}, {0, 5}};
    for (const auto& [width, height] : walks) {
        const uint32_t count = width * height;
        Bytes src = random_bytes(count, 61);
        for (uint8_t& pixel : src)
            pixel |= 0xF8;  // many are equal to the mean, which is not brighter
        std::vector<uint16_t> dst(count, 0xBEEF), want = dst;
        image2mct(src.data(), width, height, dst.data());
        for (uint32_t k = 0; k + 2 * width + 2 < count; ++k) {
            int sum = 0, code = 0;
            for (uint32_t i = 0; i < 9; ++i)
                sum += src[k + i / 3 * width + i % 3];
            for (uint32_t i = 0; i < 9; ++i)
                code += src[k + i / 3 * width + i % 3] > sum / 9.0 ? 1 << i : 0;
            want[k + width + 1] = static_cast<uint16_t>(code);
        }
        EXPECT_EQ(dst, want) << width << 'x' << height;
    }
    const uint8_t src[9] = {0, 255};
    uint16_t dst[9] = {7};
    image2mct(nullptr, 3, 3, dst);
    image2mct(src, 3, 3, nullptr);
    EXPECT_EQ(dst[4], 0);
}

}  // namespace
